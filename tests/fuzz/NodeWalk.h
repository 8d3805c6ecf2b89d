// Reads every node of a node map as a generic client would: access mode,
// the value's text for readable nodes, and the bounds, length or entries of
// the node's interface. Errors raised as Orvane::Exception are expected
// (nodes that cannot be read); anything else reaches the fuzzer.
#ifndef ORVANE_TESTS_FUZZ_NODE_WALK_H
#define ORVANE_TESTS_FUZZ_NODE_WALK_H

#include <cstdint>
#include <vector>

#include "Orvane/Exception.h"
#include "Orvane/GenApi/GenApi.h"

namespace orvfuzz {

inline bool Readable(Orvane::GenApi::EAccessMode mode) {
    return mode == Orvane::GenApi::RO || mode == Orvane::GenApi::RW;
}

inline void ReadNode(Orvane::GenApi::INode* node) {
    using namespace Orvane::GenApi;
    (void)node->GetName();
    const EAccessMode mode = node->GetAccessMode();
    if (!Readable(mode)) return;
    const EInterfaceType type = node->GetPrincipalInterfaceType();
    if (CValuePtr value = node) (void)value->ToString();
    if (type == intfIInteger) {
        CIntegerPtr p = node;
        (void)p->GetMin();
        (void)p->GetMax();
        (void)p->GetValue();
    } else if (type == intfIFloat) {
        CFloatPtr p = node;
        (void)p->GetMin();
        (void)p->GetMax();
        (void)p->GetValue();
    } else if (type == intfIString) {
        CStringPtr p = node;
        (void)p->GetMaxLength();
    } else if (type == intfIRegister) {
        CRegisterPtr p = node;
        const int64_t length = p->GetLength();
        if (length > 0 && length <= (1 << 16)) {
            std::vector<uint8_t> bytes(static_cast<size_t>(length));
            p->Get(bytes.data(), length);
        }
    } else if (type == intfIEnumeration) {
        CEnumerationPtr p = node;
        NodeList_t entries;
        p->GetEntries(entries);
        for (INode* entry : entries) (void)entry->GetAccessMode();
    }
}

// Reads every node of the map; returns how many could be read without error.
inline size_t ReadAllNodes(Orvane::GenApi::INodeMap& map) {
    Orvane::GenApi::NodeList_t nodes;
    map.GetNodes(nodes);
    size_t read = 0;
    for (Orvane::GenApi::INode* node : nodes) {
        try {
            ReadNode(node);
            ++read;
        } catch (const Orvane::Exception&) {}
    }
    return read;
}

} // namespace orvfuzz

#endif
