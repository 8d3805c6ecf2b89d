// The QuickOrvC module: quickOrvInit fills the camera structure from the
// camera's node map.
#include "QuickOrvCModules.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& QuickOrvCRecord() { return g_record; }

orvError quickOrvInit(orvCamera hCamera, quickOrv* pQuickOrv) {
    return CallFrame(g_record, [&]() -> orvError {
        // The camera's own functions check the handle and keep their failures
        // in the OrvaneC record; this module's record stays clear then.
        bool8_t initialised = 0;
        orvError error = orvCameraIsInitialized(hCamera, &initialised);
        if (error != ORVANE_ERR_SUCCESS) return error;
        if (!initialised)
            RaiseError(38, "QuickOrvC", "quickOrvInit",
                       "Unable to initialized QuickOrv without first initializing camera.", ORVANE_ERR_NOT_INITIALIZED);
        orvNodeMapHandle nodeMap = nullptr;
        error = orvCameraGetNodeMap(hCamera, &nodeMap);
        if (error != ORVANE_ERR_SUCCESS) return error;
        FillFields(nodeMap, orvQuickOrvCameraFields, pQuickOrv);
        return ORVANE_ERR_SUCCESS;
    });
}
