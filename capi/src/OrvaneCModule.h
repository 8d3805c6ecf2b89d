// The OrvaneC module: errors, system, lists, interfaces, cameras, images and
// the rest of the object functions. Its source files share one last-error
// record, the one the orvErrorGetLast* getters read.
#ifndef ORVANE_C_MODULE_H
#define ORVANE_C_MODULE_H

#include "OrvaneC.h"
#include "OrvaneInternalC.h"
#include "OrvaneUtilsC.h"

ErrorRecord& OrvaneCRecord();

namespace {

// The OrvaneC copy of the type check: node handles must match exactly.
inline void checkObjectType(orvHandleType expected, const void* handle) {
    checkObjectTypeWith(false, expected, handle);
}

template <class Body>
inline orvError OrvaneCFrame(Body&& body) {
    return CallFrame(OrvaneCRecord(), std::forward<Body>(body));
}

// Returns the cached node map handle under `key`, creating it from get() on a miss.
template <class GetNodeMap>
inline orvObject* CachedNodeMap(orvObject* parent, const char* key, GetNodeMap&& get) {
    boost::lock_guard<boost::mutex> lock(parent->guard);
    auto it = parent->children.find(key);
    if (it != parent->children.end()) return it->second;
    orvObject* map = BuildRecord(ORV_HANDLE_NODEMAP, [&](orvObject* r) { r->target = static_cast<void*>(&get()); });
    parent->children.emplace(key, map);
    return map;
}

} // namespace

#endif
