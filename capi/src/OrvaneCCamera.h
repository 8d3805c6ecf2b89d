// Camera handles inside the OrvaneC module: the SDK camera a handle holds, and
// the frame of functions that take a camera and return nothing else.
#ifndef ORVANE_C_CAMERA_H
#define ORVANE_C_CAMERA_H

#include "Orvane/Camera.h"
#include "OrvaneCModule.h"

namespace {

inline Orvane::CameraPtr& CameraOf(void* handle) { return *static_cast<Orvane::CameraPtr*>(asRecord(handle)->target); }

// Camera null check, type check, then the work.
template <class Work>
orvError CameraCall(orvCamera camera, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        work(CameraOf(camera));
        return ORV_OK;
    });
}

} // namespace

#endif
