// The QuickOrv modules, one source file each: QuickOrvC (quickOrvInit), the
// four transport-layer initialisers (QuickOrvTLSystemC, QuickOrvTLInterfaceC,
// QuickOrvTLDeviceC, QuickOrvTLStreamC) and CameraC (the enumeration
// constants). Each owns one last-error record and its mutex (a static object
// of its file); the orvErrorGetLast* getters read none of them.
#ifndef ORVANE_QUICKORV_C_MODULES_H
#define ORVANE_QUICKORV_C_MODULES_H

#include "OrvaneC.h"
#include "OrvaneInternalC.h"
#include "OrvaneUtilsC.h"
#include "QuickOrvTables.h"

ErrorRecord& QuickOrvCRecord();
ErrorRecord& QuickOrvTLSystemCRecord();
ErrorRecord& QuickOrvTLInterfaceCRecord();
ErrorRecord& QuickOrvTLDeviceCRecord();
ErrorRecord& QuickOrvTLStreamCRecord();
ErrorRecord& CameraCRecord();

// A structure is a run of node handles and nothing else: field i is the
// handle of the node named names[i].
static_assert(sizeof(quickOrv) == QUICKORV_CAMERA_FIELD_COUNT * sizeof(orvNodeHandle), "quickOrv layout");
static_assert(sizeof(quickOrvTLSystem) == QUICKORV_TL_SYSTEM_FIELD_COUNT * sizeof(orvNodeHandle),
              "quickOrvTLSystem layout");
static_assert(sizeof(quickOrvTLInterface) == QUICKORV_TL_INTERFACE_FIELD_COUNT * sizeof(orvNodeHandle),
              "quickOrvTLInterface layout");
static_assert(sizeof(quickOrvTLDevice) == QUICKORV_TL_DEVICE_FIELD_COUNT * sizeof(orvNodeHandle),
              "quickOrvTLDevice layout");
static_assert(sizeof(quickOrvTLStream) == QUICKORV_TL_STREAM_FIELD_COUNT * sizeof(orvNodeHandle),
              "quickOrvTLStream layout");

namespace {

// Looks every name up in the node map, in field order, each through the
// exported orvNodeMapGetNode (its own call frame and record). The results
// are deliberately not examined: a missing node leaves a null field and a
// failing lookup does not stop the loop.
template <class Structure, size_t Count>
inline void FillFields(orvNodeMapHandle nodeMap, const char* const (&names)[Count], Structure* structure) {
    static_assert(sizeof(Structure) == Count * sizeof(orvNodeHandle), "one field per name");
    orvNodeHandle* fields = reinterpret_cast<orvNodeHandle*>(structure);
    for (size_t i = 0; i < Count; ++i) orvNodeMapGetNode(nodeMap, names[i], &fields[i]);
}

// A transport-layer initialiser: the level's node map from getNodeMap (a
// failure there is returned as it is; that function keeps it in the OrvaneC
// record), then every field. No check of the handle or the structure of its
// own.
template <class Handle, class Structure, size_t Count>
inline orvError TLInit(ErrorRecord& record, orvError (*getNodeMap)(Handle, orvNodeMapHandle*), Handle handle,
                       const char* const (&names)[Count], Structure* structure) {
    return CallFrame(record, [&]() -> orvError {
        orvNodeMapHandle nodeMap = nullptr;
        const orvError error = getNodeMap(handle, &nodeMap);
        if (error != ORVANE_ERR_SUCCESS) return error;
        FillFields(nodeMap, names, structure);
        return ORVANE_ERR_SUCCESS;
    });
}

} // namespace

#endif
