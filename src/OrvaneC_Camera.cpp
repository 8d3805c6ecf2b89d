// Camera functions of the OrvaneC module.
#include "Orvane/Camera.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

CameraPtr& CameraOf(void* handle) { return *static_cast<CameraPtr*>(asRecord(handle)->target); }

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
