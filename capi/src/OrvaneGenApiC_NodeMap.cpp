// Node maps: node handles by name and by index, release, polling. Also the
// OrvaneGenApiC module's last-error record.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

namespace {
ErrorRecord g_record;
}

ErrorRecord& OrvaneGenApiCRecord() { return g_record; }

orvError orvNodeMapGetNode(orvNodeMapHandle hNodeMap, const char* pName, orvNodeHandle* phNode) {
    return GenApiFrame([&] {
        CheckNullHandle(hNodeMap);
        CheckNullParam(phNode);
        CheckNullParam(pName);
        checkObjectType(ORV_HANDLE_NODEMAP, hNodeMap);
        INodeMap* map = NodeMapOf(hNodeMap);
        *phNode = CachedNode(asRecord(hNodeMap), pName, false, [&] { return map->GetNode(pName); });
        return ORV_OK;
    });
}

orvError orvNodeMapGetNumNodes(orvNodeMapHandle hNodeMap, size_t* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNodeMap);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_NODEMAP, hNodeMap);
        *pValue = NodeMapOf(hNodeMap)->GetNumNodes();
        return ORV_OK;
    });
}

orvError orvNodeMapGetNodeByIndex(orvNodeMapHandle hNodeMap, size_t index, orvNodeHandle* phNode) {
    return GenApiFrame([&] {
        CheckNullHandle(hNodeMap);
        CheckNullParam(phNode);
        checkObjectType(ORV_HANDLE_NODEMAP, hNodeMap);
        node_vector nodes;
        NodeMapOf(hNodeMap)->GetNodes(nodes);
        INode* node = nodes.at(index);
        *phNode = node ? CachedNodeByName(asRecord(hNodeMap), node, false) : nullptr;
        return ORV_OK;
    });
}

orvError orvNodeMapReleaseNode(orvNodeMapHandle hNodeMap, orvNodeHandle hNode) {
    return ReleaseCachedNode(hNodeMap, ORV_HANDLE_NODEMAP, hNode, ORV_HANDLE_NODE);
}

orvError orvNodeMapPoll(orvNodeMapHandle hNodeMap, int64_t elapsedTime) {
    return GenApiFrame([&] {
        CheckNullHandle(hNodeMap);
        checkObjectType(ORV_HANDLE_NODEMAP, hNodeMap);
        NodeMapOf(hNodeMap)->Poll(elapsedTime);
        return ORV_OK;
    });
}
