// Orvane::DeviceEventHandler: receives the events a camera sends (SFNC device
// events such as ExposureEnd, AcquisitionStart, Test).
//
// Registered on a camera with CameraBase::RegisterEventHandler, for every
// event of the camera or for the event of one name. Receiving events does not
// turn them on in the device: select the event with EventSelector and set
// EventNotification to On in the camera's node map.
//
// Thread: OnDeviceEvent runs on the camera's event thread (one per camera,
// running while device event handlers are registered), never on the caller's
// thread, with no SDK lock held. Before the call the camera's Event* data
// nodes of the event (EventExposureEndFrameID, EventExposureEndTimestamp, ...)
// hold the event's values; during the call GetDeviceEventID,
// GetEventPayloadData and GetEventPayloadDataSize describe the event. The
// handler may read and write nodes of the camera and call the SDK, but must
// not unregister other handlers of the same camera and wait for them, nor
// DeInit the camera: both wait for the event thread.
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
