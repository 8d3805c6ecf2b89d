// Orvane::DeviceEventHandler: receives the events a camera sends (SFNC device
// events such as ExposureEnd, AcquisitionStart, Test).
//
// Registered on a camera with CameraBase::RegisterEventHandler, for every
// event of the camera or for the event of one name. Receiving events does not
// turn them on in the device: select the event with EventSelector and set
// EventNotification to On in the camera's node map.
//
// Thread: OnDeviceEvent runs on the camera's event thread (one per camera,
// running while the camera is initialised and device event handlers are
// registered), never on the caller's thread, with no SDK lock held; events
// come one at a time in the order the device sent them, first to the handlers
// for every event, then to those for the event's name. Before the call the
// camera's Event* data nodes of the event (EventExposureEndFrameID,
// EventExposureEndTimestamp, ...) hold the event's values (they keep them
// until the next event of that kind, or until the event thread stops: then
// they are not available); during the call GetDeviceEventID,
// GetEventPayloadData and GetEventPayloadDataSize describe the event. An
// event the camera's XML does not describe reaches the handlers for every
// event with an empty name. The handler may read and write nodes of the
// camera, call the SDK and register or unregister handlers; DeInit of the
// camera raises ORVANE_ERR_INVALID_STATE there (it stops the event thread).
// Events arriving while the handlers are still busy with earlier ones are
// queued (a few hundred); beyond that they are dropped and the SDK logs a
// warning counting the "events dropped".
#ifndef ORVANE_DEVICE_EVENT_HANDLER_H
#define ORVANE_DEVICE_EVENT_HANDLER_H

#include "Orvane/EventHandler.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {

class ORVANE_API DeviceEventHandler : public virtual EventHandler {
public:
    DeviceEventHandler();
    ~DeviceEventHandler() override;
    // eventName: the SFNC name of the event without its "Event" prefix
    // ("ExposureEnd", "Test").
    virtual void OnDeviceEvent(GenICam::gcstring eventName) = 0;
};

} // namespace Orvane

#endif
