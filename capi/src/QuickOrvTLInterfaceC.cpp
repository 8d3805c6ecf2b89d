// The QuickOrvTLInterfaceC module: quickOrvTLInterfaceInit fills its structure from
// an interface's transport-layer node map.
#include "QuickOrvCModules.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& QuickOrvTLInterfaceCRecord() { return g_record; }

orvError quickOrvTLInterfaceInit(orvInterface hInterface, quickOrvTLInterface* pQuickOrvTLInterface) {
    return TLInit(g_record, orvInterfaceGetTLNodeMap, hInterface, orvQuickOrvTLInterfaceFields, pQuickOrvTLInterface);
}
