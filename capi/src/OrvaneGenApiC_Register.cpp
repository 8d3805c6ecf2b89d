// Register nodes: raw bytes, address and length, and binding to another node.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

orvError orvRegisterGet(orvNodeHandle hNode, uint8_t* pBuffer, int64_t length) {
    return TypedNodeCall<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode,
                                       [&](CRegisterPtr& r) { r->Get(pBuffer, length, false, false); });
}

orvError orvRegisterGetEx(orvNodeHandle hNode, bool8_t bVerify, bool8_t bIgnoreCache, uint8_t* pBuffer,
                          int64_t length) {
    return TypedNodeCall<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode, [&](CRegisterPtr& r) {
        r->Get(pBuffer, length, bVerify != 0, bIgnoreCache != 0);
    });
}

orvError orvRegisterGetAddress(orvNodeHandle hNode, int64_t* pAddress) {
    return TypedNodeGet<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode, pAddress,
                                      [](CRegisterPtr& r) { return r->GetAddress(); });
}

orvError orvRegisterGetLength(orvNodeHandle hNode, int64_t* pLength) {
    return TypedNodeGet<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode, pLength,
                                      [](CRegisterPtr& r) { return r->GetLength(); });
}

orvError orvRegisterSet(orvNodeHandle hNode, const uint8_t* pBuffer, int64_t length) {
    return TypedNodeCall<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode,
                                       [&](CRegisterPtr& r) { r->Set(pBuffer, length, true); });
}

orvError orvRegisterSetEx(void* hNode, const unsigned char* pBuffer, long long length, unsigned char bVerify) {
    return TypedNodeCall<CRegisterPtr>(ORV_HANDLE_REGISTER_NODE, hNode, [&](CRegisterPtr& r) {
        r->Set(pBuffer, static_cast<int64_t>(length), bVerify != 0);
    });
}

orvError orvRegisterSetReference(orvNodeHandle hNode, orvNodeHandle hRef) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullHandle(hRef);
        checkObjectType(ORV_HANDLE_REGISTER_NODE, hNode);
        IRegister* reg = CRegisterPtr(NodeOf(hNode)).operator->();
        // The handle itself is passed: the SDK accepts only what is one of its
        // own nodes and refuses anything else.
        CReferencePtr(reg)->SetReference(static_cast<IBase*>(hRef));
        return ORV_OK;
    });
}
