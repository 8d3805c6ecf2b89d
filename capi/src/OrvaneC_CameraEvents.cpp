// Event handler registration on cameras (OrvaneC module). The camera object
// of the SDK keeps the registrations; this layer keeps none.
#include "OrvaneCCamera.h"
#include "OrvaneCEvents.h"

using namespace Orvane;

namespace {

// Camera null, handler null, camera type, handler type, then
// work(camera, adapter).
template <class Adapter, class Work>
orvError CameraHandlerCall(orvCamera camera, void* handler, Work&& work) {
    return HandlerCall<Adapter>(camera, ORV_HANDLE_CAMERA, handler,
                                [&](Adapter& adapter) { work(CameraOf(camera), adapter); });
}

} // namespace

orvError orvCameraRegisterDeviceEventHandler(orvCamera camera, orvDeviceEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::DeviceEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->RegisterEventHandler(h); });
}

// The name is not checked: a null one reaches the SDK as an empty name.
orvError orvCameraRegisterDeviceEventHandlerEx(orvCamera camera, orvDeviceEventHandler handler, const char* eventName) {
    return CameraHandlerCall<OrvaneCInternal::DeviceEventHandler>(
        camera, handler,
        [&](CameraPtr& c, DeviceEventHandler& h) { c->RegisterEventHandler(h, GenICam::gcstring(eventName)); });
}

orvError orvCameraUnregisterDeviceEventHandler(orvCamera camera, orvDeviceEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::DeviceEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->UnregisterEventHandler(h); });
}

orvError orvCameraRegisterImageEventHandler(orvCamera camera, orvImageEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::ImageEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->RegisterEventHandler(h); });
}

orvError orvCameraRegisterImageEventHandlerEx(orvCamera camera, orvImageEventHandler handler, uint64_t streamIndex) {
    return CameraHandlerCall<OrvaneCInternal::ImageEventHandler>(
        camera, handler, [&](CameraPtr& c, ImageEventHandler& h) { c->RegisterEventHandler(h, streamIndex); });
}

orvError orvCameraUnregisterImageEventHandler(orvCamera camera, orvImageEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::ImageEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->UnregisterEventHandler(h); });
}

orvError orvCameraRegisterImageListEventHandler(orvCamera camera, orvImageListEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::ImageListEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->RegisterEventHandler(h); });
}

orvError orvCameraUnregisterImageListEventHandler(orvCamera camera, orvImageListEventHandler handler) {
    return CameraHandlerCall<OrvaneCInternal::ImageListEventHandler>(
        camera, handler, [](CameraPtr& c, EventHandler& h) { c->UnregisterEventHandler(h); });
}
