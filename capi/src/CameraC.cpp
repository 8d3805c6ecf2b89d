// The CameraC module: the QuickOrv enumeration constants.
// orvEnumerationSetEnumValue sets an enumeration to the entry a constant
// names; orvEnumerationEntryGetEnumValue gives an entry node's constant. Both
// go by names (the enumeration's node name with the constant, the entry's
// node name), never by the device's integers.
//
// The mapping is the table compiled into the library (QuickOrvTables.c, one
// row per constant) searched through its two sorted indices: immutable data
// shared by every thread, nothing built per call and no lock besides the
// record's.
#include <algorithm>
#include <string_view>

#include "Orvane/GenApi/GenApi.h"
#include "QuickOrvCModules.h"

using namespace Orvane::GenApi;

namespace {

ErrorRecord g_record;

std::string_view View(const Orvane::GenICam::gcstring& s) { return std::string_view(s.data(), s.size()); }

// The symbolic name of the entry that the constant `value` names in the
// enumeration `feature`, or null when the pair is not in the table.
const char* EntryNamed(std::string_view feature, uint32_t value) {
    const uint16_t* first = orvQuickOrvEnumFeaturesByName;
    const uint16_t* last = first + QUICKORV_ENUM_FEATURE_COUNT;
    const uint16_t* it = std::lower_bound(first, last, feature, [](uint16_t i, std::string_view name) {
        return std::string_view(orvQuickOrvEnumFeatures[i].name) < name;
    });
    if (it == last || std::string_view(orvQuickOrvEnumFeatures[*it].name) != feature) return nullptr;
    const OrvQuickOrvEnumFeature& f = orvQuickOrvEnumFeatures[*it];
    if (value >= f.count) return nullptr;
    return orvQuickOrvEnumRows[f.first + value].entry;
}

// The row of the entry node named `entryNode` ("EnumEntry_<feature>_<entry>"), or null.
const OrvQuickOrvEnumRow* RowOfEntryNode(std::string_view entryNode) {
    const uint16_t* first = orvQuickOrvEnumRowsByEntryNode;
    const uint16_t* last = first + QUICKORV_ENUM_ROW_COUNT;
    const uint16_t* it = std::lower_bound(first, last, entryNode, [](uint16_t i, std::string_view name) {
        return std::string_view(orvQuickOrvEnumRows[i].entryNode) < name;
    });
    if (it == last || std::string_view(orvQuickOrvEnumRows[*it].entryNode) != entryNode) return nullptr;
    return &orvQuickOrvEnumRows[*it];
}

// A node without the interface asked for: the GenApi pointer's failure,
// raised directly (no trace is logged for it).
[[noreturn]] void NullPointerDereferenced() {
    throw Orvane::Exception(160, "../../include/OrvGenApi/Pointer.h", "operator->",
                            "LogicalErrorException NULL pointer dereferenced", ORVANE_ERR_GENICAM_LOGICAL_ERROR);
}

INode* NodeOfHandle(const void* handle) { return static_cast<INode*>(static_cast<const orvObject*>(handle)->target); }

void quickOrvEnumerationSetEnumValue(INode* node, size_t value) {
    IEnumeration* enumeration = dynamic_cast<IEnumeration*>(node);
    if (!enumeration) NullPointerDereferenced();
    const Orvane::GenICam::gcstring name = node->GetName();
    const char* entry = EntryNamed(View(name), static_cast<uint32_t>(value)); // the low 32 bits only
    if (!entry)
        RaiseError(1528, "CameraC", "quickOrvEnumerationSetEnumValue", "QuickOrv enumeration entry was not found.",
                   ORVANE_ERR_INVALID_PARAMETER);
    // The device is trusted to have an entry of that name: the lookup's result
    // is used as it comes, and a missing entry fails when it is dereferenced.
    CEnumEntryPtr device(enumeration->GetEntryByName(entry));
    const int64_t integer = device->GetValue();
    enumeration->SetIntValue(integer, true);
}

void quickOrvEnumerationEntryGetEnumValue(INode* node, size_t* pValue) {
    if (!dynamic_cast<IEnumEntry*>(node)) NullPointerDereferenced();
    const OrvQuickOrvEnumRow* row = RowOfEntryNode(View(node->GetName()));
    if (!row)
        RaiseError(3030, "CameraC", "quickOrvEnumerationEntryGetEnumValue", "QuickOrv enum value not found.",
                   ORVANE_ERR_INVALID_PARAMETER);
    *pValue = static_cast<size_t>(row->value);
}

} // namespace

ErrorRecord& CameraCRecord() { return g_record; }

orvError orvEnumerationSetEnumValue(orvNodeHandle hEnumeration, size_t value) {
    return CallFrame(g_record, [&]() -> orvError {
        CheckNullHandle(hEnumeration);
        if (asRecord(hEnumeration)->tag != ORV_HANDLE_ENUMERATION_NODE)
            RaiseError(3050, "CameraC", "orvEnumerationSetEnumValue",
                       "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Node Handle.",
                       ORVANE_ERR_INVALID_HANDLE);
        quickOrvEnumerationSetEnumValue(NodeOfHandle(hEnumeration), value);
        return ORV_OK;
    });
}

orvError orvEnumerationEntryGetEnumValue(orvNodeHandle hEntry, size_t* pValue) {
    return CallFrame(g_record, [&]() -> orvError {
        CheckNullHandle(hEntry);
        CheckNullParam(pValue); // before the tag: a null pValue is reported first
        if (asRecord(hEntry)->tag != ORV_HANDLE_ENUM_ENTRY_NODE)
            RaiseError(3068, "CameraC", "orvEnumerationEntryGetEnumValue",
                       "Orvane Exception: Incorrect handle exception thrown. Expected: Enumeration Entry Node Handle.",
                       ORVANE_ERR_INVALID_HANDLE);
        quickOrvEnumerationEntryGetEnumValue(NodeOfHandle(hEntry), pValue);
        return ORV_OK;
    });
}
