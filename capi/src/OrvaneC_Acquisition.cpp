// Acquisition functions of the OrvaneC module: starting and ending a camera's
// stream and retrieving its images. Each retrieved image or image list is a
// new handle the caller owns (orvImageRelease, orvImageListDestroy).
#include "OrvaneCCamera.h"

using namespace Orvane;

namespace {

// Camera null, out-pointer null, camera type; then the record and its empty
// holder are made before the SDK is asked for the images. When the SDK fails
// they are not freed (BuildRecord and NewHeldPointer abandon them) and the
// out-pointer is left as it was.
template <class Holder, class Out, class Get>
orvError Retrieve(orvCamera camera, orvHandleType tag, Out* out, Get&& get) {
    return OrvaneCFrame([&] {
        CheckNullHandle(camera);
        CheckNullParam(out);
        checkObjectType(ORV_HANDLE_CAMERA, camera);
        orvObject* record = BuildRecord(
            tag, [&](orvObject* r) { r->target = NewHeldPointer<Holder>([&] { return get(CameraOf(camera)); }); });
        *out = record;
        return ORV_OK;
    });
}

orvError RetrieveImage(orvCamera camera, uint64_t timeout, orvImage* image) {
    return Retrieve<ImagePtr>(camera, ORV_HANDLE_IMAGE_FROM_CAMERA, image,
                              [timeout](CameraPtr& c) { return c->GetNextImage(timeout, 0); });
}

} // namespace

orvError orvCameraBeginAcquisition(orvCamera camera) {
    return CameraCall(camera, [](CameraPtr& c) { c->BeginAcquisition(); });
}

orvError orvCameraEndAcquisition(orvCamera camera) {
    return CameraCall(camera, [](CameraPtr& c) { c->EndAcquisition(); });
}

orvError orvCameraGetNextImage(orvCamera camera, orvImage* image) {
    return RetrieveImage(camera, ORV_INFINITE_TIMEOUT, image);
}

orvError orvCameraGetNextImageEx(orvCamera camera, uint64_t grabTimeout, orvImage* image) {
    return RetrieveImage(camera, grabTimeout, image);
}

orvError orvCameraGetNextImageSync(orvCamera camera, uint64_t grabTimeout, orvImageList* imageList) {
    return Retrieve<ImageList>(camera, ORV_HANDLE_IMAGE_LIST, imageList,
                               [grabTimeout](CameraPtr& c) { return c->GetNextImageSync(grabTimeout); });
}
