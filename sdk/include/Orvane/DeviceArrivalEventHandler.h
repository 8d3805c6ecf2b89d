// Orvane::DeviceArrivalEventHandler and DeviceRemovalEventHandler: told when
// a camera appears on or disappears from an interface.
//
// Registered on the system (every interface of the enabled transports) or on
// one interface. While any arrival or removal handler is registered, the SDK's
// device monitor runs: it repeats discovery on every interface concerned (a
// GigE Vision discovery takes about a second, then the next follows a second
// later; the virtual interface every 200 ms) and compares the result with the
// previous one, and it turns a transport's report of a lost device (a GigE
// Vision camera that stops answering its heartbeat, about 5.5 s after it
// died; an unplugged virtual camera) into a removal at once. Changes the
// application's own discoveries find (GetCameras, UpdateCameras, a write of
// VirtualCameraCount) are reported too, each once. Removal is reported once
// per camera object; a device that comes back is a new camera object and an
// arrival again. A camera open through the SDK is not removed because one
// discovery missed it, only when its connection reports the loss.
//
// Thread: the handlers run on the device monitor's dispatch thread
// ("orv-devmon"), never on the caller's thread, one event at a time in the
// order the changes happened, with no SDK lock held (discovery runs on a
// second thread, "orv-discover", so a slow discovery does not hold events
// back). They may call the SDK (open the arrived camera, read its nodes), and
// register or unregister arrival and removal handlers, themselves included;
// they must not wait for another thread that unregisters them. Both threads
// run only while handlers are registered. The camera passed to
// OnDeviceArrival is the object the camera lists hand out; the one passed to
// OnDeviceRemoval is no longer valid (IsValid false); its identity getters
// still answer. An exception from a handler is logged and goes no further.
#ifndef ORVANE_DEVICE_ARRIVAL_EVENT_HANDLER_H
#define ORVANE_DEVICE_ARRIVAL_EVENT_HANDLER_H

#include "Orvane/Camera.h"
#include "Orvane/EventHandler.h"

namespace Orvane {

class ORVANE_API DeviceArrivalEventHandler : public virtual EventHandler {
public:
    DeviceArrivalEventHandler();
    ~DeviceArrivalEventHandler() override;
    virtual void OnDeviceArrival(CameraPtr camera) = 0;
};

class ORVANE_API DeviceRemovalEventHandler : public virtual EventHandler {
public:
    DeviceRemovalEventHandler();
    ~DeviceRemovalEventHandler() override;
    virtual void OnDeviceRemoval(CameraPtr camera) = 0;
};

// Both at once: one registration receives arrivals and removals.
class ORVANE_API InterfaceEventHandler : public DeviceArrivalEventHandler, public DeviceRemovalEventHandler {
public:
    InterfaceEventHandler();
    ~InterfaceEventHandler() override;
};

} // namespace Orvane

#endif
