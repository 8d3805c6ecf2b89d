// Orvane::DeviceArrivalEventHandler and DeviceRemovalEventHandler: told when
// a camera appears on or disappears from an interface.
//
// Registered on the system (every interface of the enabled transports) or on
// one interface. While any arrival or removal handler is registered, the SDK's
// device monitor runs: it repeats discovery on every interface concerned (a
// GigE Vision discovery takes about a second) and compares the result with the
// previous one, and it turns a transport's report of a lost device (a GigE
// Vision camera that stops answering its heartbeat, an unplugged USB3 Vision
// or virtual camera) into a removal at once. Removal is reported once per
// device; a device that comes back is an arrival again.
//
// Thread: the handlers run on the device monitor thread, never on the
// caller's thread, with no SDK lock held. They may call the SDK (open the
// arrived camera, read its nodes), but must not unregister arrival or removal
// handlers other than themselves: unregistering waits for the monitor thread.
// The camera passed to OnDeviceRemoval is no longer valid (IsValid false);
// its identity getters still answer.
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
