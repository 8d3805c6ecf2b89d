// The QuickOrvTLSystemC module: quickOrvTLSystemInit fills its structure from
// the system's transport-layer node map.
#include "QuickOrvCModules.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& QuickOrvTLSystemCRecord() { return g_record; }

orvError quickOrvTLSystemInit(orvSystem hSystem, quickOrvTLSystem* pQuickOrvTLSystem) {
    return TLInit(g_record, orvSystemGetTLNodeMap, hSystem, orvQuickOrvTLSystemFields, pQuickOrvTLSystem);
}
