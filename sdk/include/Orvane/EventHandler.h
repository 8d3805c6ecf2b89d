// Orvane::EventHandler: the common base of every handler class the SDK calls
// back (logging, images, image lists, device events, arrivals and removals).
#ifndef ORVANE_EVENT_HANDLER_H
#define ORVANE_EVENT_HANDLER_H

#include <cstddef>
#include <cstdint>

#include "Orvane/Export.h"

namespace Orvane {

class ORVANE_API EventHandler {
public:
    virtual ~EventHandler();

    // The device event being dispatched to this handler: inside its
    // OnDeviceEvent call, on the thread making the call, the event's ID and
    // payload (the bytes are valid during that call only). Elsewhere (other
    // threads, outside a call) what SetEventPayload set: nothing by default.
    // A handler registered on several cameras may so run on several event
    // threads at once, each call seeing its own event.
    const uint8_t* GetEventPayloadData() const;
    size_t GetEventPayloadDataSize() const;
    uint64_t GetDeviceEventID() const;

protected:
    EventHandler();
    EventHandler(const EventHandler&);
    EventHandler& operator=(const EventHandler&);

    // What the getters report outside a dispatch, for handlers that present an
    // event of their own (a replay, a test). The SDK's event dispatcher does
    // not write to the handler: it gives the getters the event of the call on
    // its own thread.
    void SetEventPayload(uint64_t eventId, const uint8_t* data, size_t size);

private:
    const uint8_t* m_payload = nullptr;
    size_t m_payloadSize = 0;
    uint64_t m_eventId = 0;
};

} // namespace Orvane

#endif
