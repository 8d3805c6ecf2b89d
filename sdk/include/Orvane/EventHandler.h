// Orvane::EventHandler: the common base of every handler class the SDK calls
// back (logging now; images, devices and arrivals share it).
#ifndef ORVANE_EVENT_HANDLER_H
#define ORVANE_EVENT_HANDLER_H

#include <cstddef>
#include <cstdint>

#include "Orvane/Export.h"

namespace Orvane {

class ORVANE_API EventHandler {
public:
    virtual ~EventHandler();

    // Payload of the device event being dispatched to this handler; valid only
    // inside the handler's callback. Empty outside one.
    const uint8_t* GetEventPayloadData() const;
    size_t GetEventPayloadDataSize() const;
    uint64_t GetDeviceEventID() const;

protected:
    EventHandler();
    EventHandler(const EventHandler&);
    EventHandler& operator=(const EventHandler&);

    // Set by the SDK's event dispatcher around a device-event callback.
    void SetEventPayload(uint64_t eventId, const uint8_t* data, size_t size);

private:
    const uint8_t* m_payload = nullptr;
    size_t m_payloadSize = 0;
    uint64_t m_eventId = 0;
};

} // namespace Orvane

#endif
