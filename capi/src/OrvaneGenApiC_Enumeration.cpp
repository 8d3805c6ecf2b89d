// Enumeration and category nodes. Entry and feature handles are cached in the
// enumeration's or category's own record, under its own mutex.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

orvError orvEnumerationGetNumEntries(orvNodeHandle hNode, size_t* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_ENUMERATION_NODE, hNode);
        node_vector entries;
        CEnumerationPtr(NodeOf(hNode))->GetEntries(entries);
        *pValue = entries.size();
        return ORV_OK;
    });
}

orvError orvEnumerationGetEntryByIndex(orvNodeHandle hNode, size_t index, orvNodeHandle* phEntry) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(phEntry);
        checkObjectType(ORV_HANDLE_ENUMERATION_NODE, hNode);
        CEnumerationPtr enumeration(NodeOf(hNode));
        node_vector entries;
        enumeration->GetEntries(entries);
        INode* entry = entries.at(index);
        *phEntry = CachedNodeByName(asRecord(hNode), entry, true);
        return ORV_OK;
    });
}

orvError orvEnumerationGetEntryByName(orvNodeHandle hNode, const char* pName, orvNodeHandle* phEntry) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(phEntry);
        CheckNullParam(pName);
        checkObjectType(ORV_HANDLE_ENUMERATION_NODE, hNode);
        CEnumerationPtr enumeration(NodeOf(hNode));
        *phEntry = CachedNode(asRecord(hNode), pName, true, [&]() -> INode* {
            IEnumEntry* entry = enumeration->GetEntryByName(pName);
            return entry ? CEnumEntryPtr(entry)->GetNode() : nullptr;
        });
        return ORV_OK;
    });
}

orvError orvEnumerationGetCurrentEntry(orvNodeHandle hNode, orvNodeHandle* phEntry) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(phEntry);
        checkObjectType(ORV_HANDLE_ENUMERATION_NODE, hNode);
        IEnumEntry* entry = CEnumerationPtr(NodeOf(hNode))->GetCurrentEntry(false, false);
        *phEntry = CachedNodeByName(asRecord(hNode), entry->GetNode(), true);
        return ORV_OK;
    });
}

orvError orvEnumerationReleaseNode(orvNodeHandle hEnum, orvNodeHandle hEntry) {
    return ReleaseCachedNode(hEnum, ORV_HANDLE_ENUMERATION_NODE, hEntry, ORV_HANDLE_ENUM_ENTRY_NODE);
}

orvError orvEnumerationSetIntValue(orvNodeHandle hNode, int64_t value) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(ORV_HANDLE_ENUMERATION_NODE, hNode);
        CEnumerationPtr(NodeOf(hNode))->SetIntValue(value, true);
        return ORV_OK;
    });
}

orvError orvEnumerationEntryGetIntValue(orvNodeHandle hNode, int64_t* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_ENUM_ENTRY_NODE, hNode);
        const int64_t value = CEnumEntryPtr(NodeOf(hNode))->GetValue();
        *pValue = value;
        return ORV_OK;
    });
}

orvError orvEnumerationEntryGetSymbolic(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pBufLen);
        checkObjectType(ORV_HANDLE_ENUM_ENTRY_NODE, hNode);
        SetString(CEnumEntryPtr(NodeOf(hNode))->GetSymbolic(), pBuf, pBufLen);
        return ORV_OK;
    });
}

orvError orvCategoryGetNumFeatures(orvNodeHandle hNode, size_t* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_CATEGORY_NODE, hNode);
        value_vector features;
        CCategoryPtr(NodeOf(hNode))->GetFeatures(features);
        *pValue = features.size();
        return ORV_OK;
    });
}

orvError orvCategoryGetFeatureByIndex(orvNodeHandle hNode, size_t index, orvNodeHandle* phFeature) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(phFeature);
        checkObjectType(ORV_HANDLE_CATEGORY_NODE, hNode);
        value_vector features;
        CCategoryPtr(NodeOf(hNode))->GetFeatures(features);
        IValue* feature = features.at(index);
        *phFeature = CachedNodeByName(asRecord(hNode), feature->GetNode(), false);
        return ORV_OK;
    });
}

orvError orvCategoryReleaseNode(orvNodeHandle hCategory, orvNodeHandle hFeature) {
    return ReleaseCachedNode(hCategory, ORV_HANDLE_CATEGORY_NODE, hFeature, ORV_HANDLE_NODE);
}
