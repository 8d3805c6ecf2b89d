// The QuickOrvTLStreamC module: quickOrvTLStreamInit fills its structure from
// a camera's transport-layer stream node map (stream 0).
#include "QuickOrvCModules.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& QuickOrvTLStreamCRecord() { return g_record; }

orvError quickOrvTLStreamInit(orvCamera hCamera, quickOrvTLStream* pQuickOrvTLStream) {
    return TLInit(g_record, orvCameraGetTLStreamNodeMap, hCamera, orvQuickOrvTLStreamFields, pQuickOrvTLStream);
}
