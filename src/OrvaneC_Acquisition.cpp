// Acquisition functions of the OrvaneC module: starting and ending a camera's
// stream and retrieving its images. Each retrieved image or image list is a
// new handle the caller owns (orvImageRelease, orvImageListDestroy).
#include "Orvane/Camera.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

CameraPtr& CameraOf(void* handle) { return *static_cast<CameraPtr*>(asRecord(handle)->target); }

// Camera null check, type check, then the work.
template <class Work>
orvError AcquisitionCall(orvCamera camera, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        work(CameraOf(camera));
        return ORV_OK;
    });
}

// The record and its empty image holder exist before the SDK is asked for
// the image; when the SDK fails they are not freed (BuildRecord and
// NewHeldPointer abandon them) and the out-pointer is left as it was.
orvError RetrieveImage(orvCamera camera, uint64_t timeout, orvImage* image) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(image);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        orvObject* record = BuildRecord(ORV_HANDLE_IMAGE_FROM_CAMERA, [&](orvObject* r) {
            r->target = NewHeldPointer<ImagePtr>([&] { return CameraOf(camera)->GetNextImage(timeout, 0); });
        });
        *image = record;
        return ORV_OK;
    });
}

} // namespace

orvError orvCameraBeginAcquisition(orvCamera camera) {
    return AcquisitionCall(camera, [](CameraPtr& c) { c->BeginAcquisition(); });
}

orvError orvCameraEndAcquisition(orvCamera camera) {
    return AcquisitionCall(camera, [](CameraPtr& c) { c->EndAcquisition(); });
}

orvError orvCameraGetNextImage(orvCamera camera, orvImage* image) {
    return RetrieveImage(camera, ORV_INFINITE_TIMEOUT, image);
}

orvError orvCameraGetNextImageEx(orvCamera camera, uint64_t grabTimeout, orvImage* image) {
    return RetrieveImage(camera, grabTimeout, image);
}

orvError orvCameraGetNextImageSync(orvCamera camera, uint64_t grabTimeout, orvImageList* imageList) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(imageList);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        orvObject* record = BuildRecord(ORV_HANDLE_IMAGE_LIST, [&](orvObject* r) {
            r->target = NewHeldPointer<ImageList>([&] { return CameraOf(camera)->GetNextImageSync(grabTimeout); });
        });
        *imageList = record;
        return ORV_OK;
    });
}
