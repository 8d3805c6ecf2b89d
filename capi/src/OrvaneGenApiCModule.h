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

// Call shapes of the typed-node functions (values, registers): null handle,
// for getters the null out-pointer, the type, then the work on the node cast
// to its interface (a node without that interface gives -2005).
template <class Ptr, class Work>
inline orvError TypedNodeCall(orvHandleType tag, void* hNode, Work&& work) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(tag, hNode);
        Ptr ptr(NodeOf(hNode));
        work(ptr);
        return ORV_OK;
    });
}

template <class Ptr, class Out, class Work>
inline orvError TypedNodeGet(orvHandleType tag, void* hNode, Out* out, Work&& work) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(out);
        checkObjectType(tag, hNode);
        Ptr ptr(NodeOf(hNode));
        const Out value = work(ptr);
        *out = value;
        return ORV_OK;
    });
}

// The tag of a node's handle, from its principal interface type.
inline orvHandleType assignNodeType(Orvane::GenApi::INode* node) {
    if (!node) return ORV_HANDLE_UNAVAILABLE_NODE;
    const orvHandleType tag = NodeHandleTag(node->GetPrincipalInterfaceType());
    if (tag == 0)
        RaiseError(304, "./OrvaneUtilsC", "assignNodeType", "Orvane Exception: internal node type assignment failure.",
                   ORVANE_ERR_ERROR);
    return tag;
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

// Releases a node handle cached under `parent` (a node map, enumeration or
// category handle): both handles non-null, the child's tag, the parent's tag,
// then ReleaseChild.
inline orvError ReleaseCachedNode(void* parent, orvHandleType parentTag, void* child, orvHandleType childTag) {
    return GenApiFrame([&] {
        CheckNullHandle(parent);
        CheckNullHandle(child);
        checkObjectType(childTag, child);
        checkObjectType(parentTag, parent);
        ReleaseChild(asRecord(parent), asRecord(child));
        return ORV_OK;
    });
}

} // namespace

#endif
