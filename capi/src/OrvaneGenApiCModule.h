// The OrvaneGenApiC module: node maps, nodes and node callbacks. Its source
// files share one last-error record (not read by the orvErrorGetLast*
// getters).
#ifndef ORVANE_GENAPI_C_MODULE_H
#define ORVANE_GENAPI_C_MODULE_H

#include "Orvane/GenApi/GenApi.h"
#include "OrvaneC.h"
#include "OrvaneInternalC.h"
#include "OrvaneUtilsC.h"

ErrorRecord& OrvaneGenApiCRecord();

namespace {

// The node module's copy of the type check: an expected ORV_HANDLE_NODE
// accepts every node kind.
inline void checkObjectType(orvHandleType expected, const void* handle) { checkObjectTypeWith(true, expected, handle); }

template <class Body>
inline orvError GenApiFrame(Body&& body) {
    return CallFrame(OrvaneGenApiCRecord(), std::forward<Body>(body));
}

inline Orvane::GenApi::INode* NodeOf(const void* handle) {
    return static_cast<Orvane::GenApi::INode*>(static_cast<const orvObject*>(handle)->target);
}

// The node, or the GenApi logical error (-2005) for a handle without one.
inline Orvane::GenApi::INode* CheckedNode(const void* handle) {
    return Orvane::GenApi::CNodePtr(NodeOf(handle)).operator->();
}

inline Orvane::GenApi::INodeMap* NodeMapOf(const void* handle) {
    return static_cast<Orvane::GenApi::INodeMap*>(static_cast<const orvObject*>(handle)->target);
}

// The tag of a node's handle, from its principal interface type.
inline orvHandleType assignNodeType(Orvane::GenApi::INode* node) {
    using namespace Orvane::GenApi;
    if (!node) return ORV_HANDLE_UNAVAILABLE_NODE;
    switch (node->GetPrincipalInterfaceType()) {
    case intfIInteger: return ORV_HANDLE_INTEGER_NODE;
    case intfIBoolean: return ORV_HANDLE_BOOLEAN_NODE;
    case intfICommand: return ORV_HANDLE_COMMAND_NODE;
    case intfIFloat: return ORV_HANDLE_FLOAT_NODE;
    case intfIString: return ORV_HANDLE_STRING_NODE;
    case intfIRegister: return ORV_HANDLE_REGISTER_NODE;
    case intfICategory: return ORV_HANDLE_CATEGORY_NODE;
    case intfIEnumeration: return ORV_HANDLE_ENUMERATION_NODE;
    case intfIEnumEntry: return ORV_HANDLE_ENUM_ENTRY_NODE;
    default:
        RaiseError(304, "./OrvaneUtilsC", "assignNodeType", "Orvane Exception: internal node type assignment failure.",
                   ORVANE_ERR_ERROR);
    }
}

// A node record built for `node` under `parent`'s cache: tag 0 and no node
// until the tag is assigned (a failing assignment leaves the record behind).
inline orvObject* NewNodeRecord(Orvane::GenApi::INode* node, bool entry) {
    return BuildRecord(static_cast<orvHandleType>(0), [&](orvObject* r) {
        r->tag = entry ? ORV_HANDLE_ENUM_ENTRY_NODE : assignNodeType(node);
        r->target = node;
    });
}

// Looks `key` up in parent's cache; on a miss asks make() for the node
// (null: no handle, nothing cached) and caches a new record for it.
template <class Make>
inline orvObject* CachedNode(orvObject* parent, const char* key, bool entry, Make&& make) {
    boost::lock_guard<boost::mutex> lock(parent->guard);
    auto it = parent->children.find(std::string_view(key)); // the key's length taken once, not per comparison
    if (it != parent->children.end()) return it->second;
    Orvane::GenApi::INode* node = make();
    if (!node) return nullptr;
    orvObject* record = NewNodeRecord(node, entry);
    parent->children.emplace(key, record);
    return record;
}

// The same, for a node already in hand, keyed by its own name.
inline orvObject* CachedNodeByName(orvObject* parent, Orvane::GenApi::INode* node, bool entry) {
    const Orvane::GenICam::gcstring name = node->GetName();
    return CachedNode(parent, name.c_str(), entry, [node] { return node; });
}

// Drops `child` from parent's cache (the first entry holding it) and frees
// it, whether or not it was found.
inline void ReleaseChild(orvObject* parent, orvObject* child) {
    {
        boost::lock_guard<boost::mutex> lock(parent->guard);
        for (auto it = parent->children.begin(); it != parent->children.end(); ++it) {
            if (it->second == child) {
                parent->children.erase(it);
                break;
            }
        }
    }
    destroyRecord(child);
}

} // namespace

#endif
