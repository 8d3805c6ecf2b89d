// The QuickOrvTLDeviceC module: quickOrvTLDeviceInit fills its structure from
// a camera's transport-layer device node map.
#include "QuickOrvCModules.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& QuickOrvTLDeviceCRecord() { return g_record; }

orvError quickOrvTLDeviceInit(orvCamera hCamera, quickOrvTLDevice* pQuickOrvTLDevice) {
    return TLInit(g_record, orvCameraGetTLDeviceNodeMap, hCamera, orvQuickOrvTLDeviceFields, pQuickOrvTLDevice);
}
