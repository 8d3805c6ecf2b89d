// Operations every node handle supports.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

namespace {

// The common shape: null handle, null out-pointer, generic node type, then
// the work.
template <class Out, class Work>
orvError NodeGetter(orvNodeHandle hNode, Out* out, Work&& work) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(out);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        *out = work(CheckedNode(hNode));
        return ORV_OK;
    });
}

template <class Text>
orvError NodeText(orvNodeHandle hNode, char* pBuf, size_t* pBufLen, Text&& text) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pBufLen);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        SetString(text(CheckedNode(hNode)), pBuf, pBufLen);
        return ORV_OK;
    });
}

// Access tests answer 0 for a handle without a node.
template <class Test>
orvError AccessTest(orvNodeHandle hNode, bool8_t* pResult, Test&& test) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pResult);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        INode* node = NodeOf(hNode);
        if (!node) {
            *pResult = 0;
            return ORV_OK;
        }
        const EAccessMode mode = static_cast<IBase*>(node)->GetAccessMode();
        *pResult = test(mode) ? 1 : 0;
        return ORV_OK;
    });
}

int32_t NodeTypeOf(EInterfaceType type) {
    switch (type) {
    case intfIValue: return NodeTypeValue;
    case intfIBase: return NodeTypeBase;
    case intfIInteger: return NodeTypeInteger;
    case intfIBoolean: return NodeTypeBoolean;
    case intfICommand: return NodeTypeCommand;
    case intfIFloat: return NodeTypeFloat;
    case intfIString: return NodeTypeString;
    case intfIRegister: return NodeTypeRegister;
    case intfICategory: return NodeTypeCategory;
    case intfIEnumeration: return NodeTypeEnumeration;
    case intfIEnumEntry: return NodeTypeEnumEntry;
    case intfIPort: return NodeTypePort;
    default: return NodeTypeUnknown;
    }
}

} // namespace

orvError orvNodeGetAccessMode(orvNodeHandle hNode, int32_t* pAccessMode) {
    return NodeGetter(hNode, pAccessMode,
                      [](INode* n) { return static_cast<int32_t>(static_cast<IBase*>(n)->GetAccessMode()); });
}

orvError orvNodeGetName(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return NodeText(hNode, pBuf, pBufLen, [](INode* n) { return n->GetName(false); });
}

orvError orvNodeGetNameSpace(orvNodeHandle hNode, int32_t* pNamespace) {
    return NodeGetter(hNode, pNamespace, [](INode* n) { return static_cast<int32_t>(n->GetNameSpace()); });
}

orvError orvNodeGetVisibility(orvNodeHandle hNode, int32_t* pVisibility) {
    return NodeGetter(hNode, pVisibility, [](INode* n) { return static_cast<int32_t>(n->GetVisibility()); });
}

orvError orvNodeInvalidateNode(orvNodeHandle hNode) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        CheckedNode(hNode)->InvalidateNode();
        return ORV_OK;
    });
}

orvError orvNodeGetCachingMode(orvNodeHandle hNode, int32_t* pCachingMode) {
    return NodeGetter(hNode, pCachingMode, [](INode* n) { return static_cast<int32_t>(n->GetCachingMode()); });
}

orvError orvNodeGetToolTip(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return NodeText(hNode, pBuf, pBufLen, [](INode* n) { return n->GetToolTip(); });
}

orvError orvNodeGetDescription(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return NodeText(hNode, pBuf, pBufLen, [](INode* n) { return n->GetDescription(); });
}

orvError orvNodeGetDisplayName(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return NodeText(hNode, pBuf, pBufLen, [](INode* n) { return n->GetDisplayName(); });
}

orvError orvNodeGetType(orvNodeHandle hNode, int32_t* pType) {
    return NodeGetter(hNode, pType, [](INode* n) { return NodeTypeOf(n->GetPrincipalInterfaceType()); });
}

orvError orvNodeGetPollingTime(orvNodeHandle hNode, int64_t* pPollingTime) {
    return NodeGetter(hNode, pPollingTime, [](INode* n) { return n->GetPollingTime(); });
}

orvError orvNodeGetImposedAccessMode(orvNodeHandle hNode, int32_t accessMode) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        CheckedNode(hNode)->ImposeAccessMode(static_cast<EAccessMode>(accessMode));
        return ORV_OK;
    });
}

orvError orvNodeGetImposedVisibility(orvNodeHandle hNode, int32_t visibility) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        CheckedNode(hNode)->ImposeVisibility(static_cast<EVisibility>(visibility));
        return ORV_OK;
    });
}

namespace {
orvError ToString(orvNodeHandle hNode, bool verify, char* pBuf, size_t* pBufLen) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pBufLen);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        CValuePtr value(NodeOf(hNode));
        SetString(value->ToString(verify, false), pBuf, pBufLen);
        return ORV_OK;
    });
}

orvError FromString(orvNodeHandle hNode, bool verify, const char* pValue) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(pValue);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        CValuePtr value(NodeOf(hNode));
        value->FromString(pValue, verify);
        return ORV_OK;
    });
}
} // namespace

orvError orvNodeToString(orvNodeHandle hNode, char* pBuf, size_t* pBufLen) {
    return ToString(hNode, false, pBuf, pBufLen);
}
orvError orvNodeToStringEx(orvNodeHandle hNode, bool8_t bVerify, char* pBuf, size_t* pBufLen) {
    return ToString(hNode, bVerify != 0, pBuf, pBufLen);
}
orvError orvNodeFromString(orvNodeHandle hNode, const char* pValue) { return FromString(hNode, true, pValue); }
orvError orvNodeFromStringEx(orvNodeHandle hNode, bool8_t bVerify, const char* pValue) {
    return FromString(hNode, bVerify != 0, pValue);
}

orvError orvNodeIsImplemented(orvNodeHandle hNode, bool8_t* pResult) {
    return AccessTest(hNode, pResult, [](EAccessMode m) { return m != NI; });
}
orvError orvNodeIsReadable(orvNodeHandle hNode, bool8_t* pResult) {
    return AccessTest(hNode, pResult, [](EAccessMode m) { return m == RO || m == RW; });
}
orvError orvNodeIsWritable(orvNodeHandle hNode, bool8_t* pResult) {
    return AccessTest(hNode, pResult, [](EAccessMode m) { return m == WO || m == RW; });
}
orvError orvNodeIsAvailable(orvNodeHandle hNode, bool8_t* pResult) {
    return AccessTest(hNode, pResult, [](EAccessMode m) { return static_cast<unsigned>(m) > 1; });
}

orvError orvNodeIsEqual(orvNodeHandle hNodeFirst, orvNodeHandle hNodeSecond, bool8_t* pResult) {
    return GenApiFrame([&] {
        CheckNullHandle(hNodeFirst);
        CheckNullHandle(hNodeSecond);
        CheckNullParam(pResult);
        checkObjectType(ORV_HANDLE_NODE, hNodeFirst);
        checkObjectType(ORV_HANDLE_NODE, hNodeSecond);
        *pResult = NodeOf(hNodeFirst) == NodeOf(hNodeSecond) ? 1 : 0;
        return ORV_OK;
    });
}
