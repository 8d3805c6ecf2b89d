// Register nodes: raw bytes, address and length, and binding to another node.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

namespace {
template <class Work>
orvError RegisterCall(orvNodeHandle hNode, Work&& work) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        checkObjectType(ORV_HANDLE_REGISTER_NODE, hNode);
        CRegisterPtr reg(NodeOf(hNode));
        work(reg);
        return ORV_OK;
    });
}

template <class Work>
orvError RegisterGetter(orvNodeHandle hNode, int64_t* out, Work&& work) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(out);
        checkObjectType(ORV_HANDLE_REGISTER_NODE, hNode);
        CRegisterPtr reg(NodeOf(hNode));
        const int64_t value = work(reg);
        *out = value;
        return ORV_OK;
    });
}
} // namespace

orvError orvRegisterGet(orvNodeHandle hNode, uint8_t* pBuffer, int64_t length) {
    return RegisterCall(hNode, [&](CRegisterPtr& r) { r->Get(pBuffer, length, false, false); });
}

orvError orvRegisterGetEx(orvNodeHandle hNode, bool8_t bVerify, bool8_t bIgnoreCache, uint8_t* pBuffer,
                          int64_t length) {
    return RegisterCall(hNode, [&](CRegisterPtr& r) { r->Get(pBuffer, length, bVerify != 0, bIgnoreCache != 0); });
}

orvError orvRegisterGetAddress(orvNodeHandle hNode, int64_t* pAddress) {
    return RegisterGetter(hNode, pAddress, [](CRegisterPtr& r) { return r->GetAddress(); });
}

orvError orvRegisterGetLength(orvNodeHandle hNode, int64_t* pLength) {
    return RegisterGetter(hNode, pLength, [](CRegisterPtr& r) { return r->GetLength(); });
}

orvError orvRegisterSet(orvNodeHandle hNode, const uint8_t* pBuffer, int64_t length) {
    return RegisterCall(hNode, [&](CRegisterPtr& r) { r->Set(pBuffer, length, true); });
}

orvError orvRegisterSetEx(void* hNode, const unsigned char* pBuffer, long long length, unsigned char bVerify) {
    return RegisterCall(hNode, [&](CRegisterPtr& r) { r->Set(pBuffer, static_cast<int64_t>(length), bVerify != 0); });
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
