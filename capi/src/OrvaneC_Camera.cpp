// Camera functions of the OrvaneC module.
#include "OrvaneCCamera.h"

using namespace Orvane;

namespace {

template <class Text>
orvError CameraText(orvCamera camera, char* buffer, size_t* length, Text&& text) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(buffer);
        CheckNullParam(length);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        SetString(text(CameraOf(camera)), buffer, length);
        return ORV_OK;
    });
}

} // namespace

orvError orvCameraGetDeviceID(orvCamera camera, char* buffer, size_t* length) {
    return CameraText(camera, buffer, length, [](CameraPtr& c) { return c->GetDeviceID(); });
}

orvError orvCameraGetUniqueID(orvCamera camera, char* buffer, size_t* length) {
    return CameraText(camera, buffer, length, [](CameraPtr& c) { return c->GetUniqueID(); });
}

orvError orvCameraGetGuiXml(orvCamera camera, char* buffer, size_t* length) {
    return CameraText(camera, buffer, length, [](CameraPtr& c) { return c->GetGuiXml(); });
}

namespace {

// Camera null, out-pointer null, camera type, then the value.
template <class Out, class Get>
orvError CameraGetter(orvCamera camera, Out* out, Get&& get) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(out);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        const Out value = get(CameraOf(camera));
        *out = value;
        return ORV_OK;
    });
}

// The cached node map handle under `key`; `get` asks the SDK on a miss.
template <class Get>
orvError CameraNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap, const char* key, Get&& get) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(nodeMap);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        *nodeMap = CachedNodeMap(asRecord(camera), key, [&]() -> GenApi::INodeMap& { return get(); });
        return ORV_OK;
    });
}

} // namespace

orvError orvCameraInit(orvCamera camera) {
    return CameraCall(camera, [](CameraPtr& c) { c->Init(); });
}

orvError orvCameraDeInit(orvCamera camera) {
    return CameraCall(camera, [&](CameraPtr& c) {
        c->DeInit();
        // The device node map died with DeInit: drop its handle and the node
        // handles under it. The transport-layer node map handles stay.
        orvObject* record = asRecord(camera);
        auto it = record->children.find("NodeMap");
        if (it != record->children.end()) {
            emptyPackageRecursively(it->second);
            record->children.erase(it);
        }
    });
}

orvError orvCameraGetNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(nodeMap);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        CameraBase* sdk = CameraOf(camera).operator->();
        *nodeMap = CachedNodeMap(asRecord(camera), "NodeMap", [&]() -> GenApi::INodeMap& { return sdk->GetNodeMap(); });
        return ORV_OK;
    });
}

orvError orvCameraGetTLDeviceNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap) {
    return CameraNodeMap(camera, nodeMap, "TLDeviceNodeMap",
                         [&]() -> GenApi::INodeMap& { return CameraOf(camera)->GetTLDeviceNodeMap(); });
}

orvError orvCameraGetTLStreamNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap) {
    return CameraNodeMap(camera, nodeMap, "TLStreamNodeMap",
                         [&]() -> GenApi::INodeMap& { return CameraOf(camera)->GetTLStreamNodeMap(0); });
}

orvError orvCameraGetAccessMode(orvCamera camera, int32_t* accessMode) {
    return CameraGetter(camera, accessMode, [](CameraPtr& c) { return static_cast<int32_t>(c->GetAccessMode()); });
}

orvError orvCameraReadPort(orvCamera camera, uint64_t address, void* buffer, uint64_t length) {
    return CameraCall(camera, [&](CameraPtr& c) { c->ReadPort(address, buffer, length); });
}

orvError orvCameraWritePort(orvCamera camera, uint64_t address, void* buffer, uint64_t length) {
    return CameraCall(camera, [&](CameraPtr& c) { c->WritePort(address, buffer, length); });
}

orvError orvCameraIsStreaming(orvCamera camera, bool8_t* isStreaming) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullHandle(isStreaming); // the out-pointer gets the handle check
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        const bool streaming = CameraOf(camera)->IsStreaming();
        *isStreaming = streaming ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvCameraIsValid(orvCamera camera, bool8_t* isValid) {
    return CameraGetter(camera, isValid, [](CameraPtr& c) { return static_cast<bool8_t>(c->IsValid() ? 1 : 0); });
}

orvError orvCameraIsInitialized(orvCamera camera, bool8_t* isInitialized) {
    return CameraGetter(camera, isInitialized,
                        [](CameraPtr& c) { return static_cast<bool8_t>(c->IsInitialized() ? 1 : 0); });
}

orvError orvCameraDiscoverMaxPacketSize(orvCamera camera, unsigned int* packetSize) {
    return CameraGetter(camera, packetSize, [](CameraPtr& c) { return c->DiscoverMaxPacketSize(); });
}

orvError orvCameraRelease(orvCamera camera) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        orvObject* record = asRecord(camera);
        if (record->target) delete static_cast<CameraPtr*>(record->target);
        record->target = nullptr;
        emptyPackageRecursively(record);
        return ORV_OK;
    });
}
