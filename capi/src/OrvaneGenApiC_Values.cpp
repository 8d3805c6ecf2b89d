// String, integer, boolean, float and command nodes. Each function accepts
// exactly its own node kind and reaches the node through a checked cast
// (a node without the interface gives -2005).
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

namespace {

template <class Ptr, class Text>
orvError GetText(orvHandleType tag, orvNodeHandle hNode, char* pBuf, size_t* pBufLen, Text&& text) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pBufLen);
        checkObjectType(tag, hNode);
        Ptr ptr(NodeOf(hNode));
        SetString(text(ptr), pBuf, pBufLen);
        return ORV_OK;
    });
}

orvError SetStringValue(orvNodeHandle hNode, bool verify, const char* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_STRING_NODE, hNode);
        CStringPtr(NodeOf(hNode))->SetValue(pValue, verify);
        return ORV_OK;
    });
}

} // namespace

// Strings
orvError orvStringSetValue(orvNodeHandle hNode, const char* pValue) { return SetStringValue(hNode, true, pValue); }
orvError orvStringSetValueEx(orvNodeHandle hNode, bool8_t bVerify, const char* pValue) {
    return SetStringValue(hNode, bVerify != 0, pValue);
}
orvError orvStringGetValue(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return GetText<CStringPtr>(ORV_HANDLE_STRING_NODE, hNode, pBuf, pBufLen,
                               [](CStringPtr& p) { return p->GetValue(false, false); });
}
orvError orvStringGetValueEx(orvNodeHandle hNode, bool8_t bVerify, char* pBuf, size_t* pBufLen) {
    return GetText<CStringPtr>(ORV_HANDLE_STRING_NODE, hNode, pBuf, pBufLen,
                               [&](CStringPtr& p) { return p->GetValue(bVerify != 0, false); });
}
orvError orvStringGetMaxLength(orvNodeHandle hNode, int64_t* pValue) {
    return TypedNodeGet<CStringPtr>(ORV_HANDLE_STRING_NODE, hNode, pValue,
                                    [](CStringPtr& p) { return p->GetMaxLength(); });
}

// Integers
orvError orvIntegerSetValue(orvNodeHandle hNode, int64_t value) {
    return TypedNodeCall<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode,
                                      [&](CIntegerPtr& p) { p->SetValue(value, true); });
}
orvError orvIntegerSetValueEx(orvNodeHandle hNode, bool8_t bVerify, int64_t value) {
    return TypedNodeCall<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode,
                                      [&](CIntegerPtr& p) { p->SetValue(value, bVerify != 0); });
}
orvError orvIntegerGetValue(orvNodeHandle hNode, int64_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [](CIntegerPtr& p) { return p->GetValue(false, false); });
}
orvError orvIntegerGetValueEx(orvNodeHandle hNode, bool8_t bVerify, int64_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [&](CIntegerPtr& p) { return p->GetValue(bVerify != 0, false); });
}
orvError orvIntegerGetMin(orvNodeHandle hNode, int64_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [](CIntegerPtr& p) { return p->GetMin(); });
}
orvError orvIntegerGetMax(orvNodeHandle hNode, int64_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [](CIntegerPtr& p) { return p->GetMax(); });
}
orvError orvIntegerGetInc(orvNodeHandle hNode, int64_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [](CIntegerPtr& p) { return p->GetInc(); });
}
orvError orvIntegerGetRepresentation(orvNodeHandle hNode, int32_t* pValue) {
    return TypedNodeGet<CIntegerPtr>(ORV_HANDLE_INTEGER_NODE, hNode, pValue,
                                     [](CIntegerPtr& p) { return static_cast<int32_t>(p->GetRepresentation()); });
}

// Booleans
orvError orvBooleanSetValue(orvNodeHandle hNode, bool8_t value) {
    return TypedNodeCall<CBooleanPtr>(ORV_HANDLE_BOOLEAN_NODE, hNode,
                                      [&](CBooleanPtr& p) { p->SetValue(value != 0, true); });
}
orvError orvBooleanGetValue(orvNodeHandle hNode, bool8_t* pValue) {
    return TypedNodeGet<CBooleanPtr>(ORV_HANDLE_BOOLEAN_NODE, hNode, pValue, [](CBooleanPtr& p) {
        return static_cast<bool8_t>(p->GetValue(false, false) ? 1 : 0);
    });
}

// Floats
orvError orvFloatSetValue(orvNodeHandle hNode, double value) {
    return TypedNodeCall<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, [&](CFloatPtr& p) { p->SetValue(value, true); });
}
orvError orvFloatSetValueEx(orvNodeHandle hNode, bool8_t bVerify, double value) {
    return TypedNodeCall<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode,
                                    [&](CFloatPtr& p) { p->SetValue(value, bVerify != 0); });
}
orvError orvFloatGetValue(orvNodeHandle hNode, double* pValue) {
    return TypedNodeGet<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pValue,
                                   [](CFloatPtr& p) { return p->GetValue(false, false); });
}
orvError orvFloatGetValueEx(orvNodeHandle hNode, bool8_t bVerify, double* pValue) {
    return TypedNodeGet<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pValue,
                                   [&](CFloatPtr& p) { return p->GetValue(bVerify != 0, false); });
}
orvError orvFloatGetMin(orvNodeHandle hNode, double* pValue) {
    return TypedNodeGet<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pValue, [](CFloatPtr& p) { return p->GetMin(); });
}
orvError orvFloatGetMax(orvNodeHandle hNode, double* pValue) {
    return TypedNodeGet<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pValue, [](CFloatPtr& p) { return p->GetMax(); });
}
orvError orvFloatGetRepresentation(orvNodeHandle hNode, int32_t* pValue) {
    return TypedNodeGet<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pValue,
                                   [](CFloatPtr& p) { return static_cast<int32_t>(p->GetRepresentation()); });
}
orvError orvFloatGetUnit(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return GetText<CFloatPtr>(ORV_HANDLE_FLOAT_NODE, hNode, pBuf, pBufLen, [](CFloatPtr& p) { return p->GetUnit(); });
}

// Commands
orvError orvCommandExecute(orvNodeHandle hNode) {
    return TypedNodeCall<CCommandPtr>(ORV_HANDLE_COMMAND_NODE, hNode, [](CCommandPtr& p) { p->Execute(true); });
}
orvError orvCommandIsDone(orvNodeHandle hNode, bool8_t* pValue) {
    return TypedNodeGet<CCommandPtr>(ORV_HANDLE_COMMAND_NODE, hNode, pValue,
                                     [](CCommandPtr& p) { return static_cast<bool8_t>(p->IsDone(true) ? 1 : 0); });
}
