// EventPayloadScope: the device event a handler is being called for, as its
// EventHandler::GetDeviceEventID, GetEventPayloadData and
// GetEventPayloadDataSize report it.
//
// The camera's event dispatcher makes one on its own thread around each
// handler call. The record is thread-local and names the handler it is for:
// during the scope that handler's getters, called on that thread, describe
// the event; on other threads, and for other handlers, they describe what the
// handler holds itself (nothing, unless a subclass called SetEventPayload).
// So one handler object may be registered on several cameras whose events
// are dispatched at the same time, and nothing the dispatcher does writes to
// the handler. Scopes nest (a handler dispatching to another restores the
// outer record when the inner scope ends).
#ifndef ORVANE_CORE_EVENT_PAYLOAD_SCOPE_H
#define ORVANE_CORE_EVENT_PAYLOAD_SCOPE_H

#include <cstddef>
#include <cstdint>

#include "Orvane/EventHandler.h"

namespace Orvane {
namespace internal {

struct EventPayload {
    const EventHandler* handler = nullptr;
    uint64_t eventId = 0;
    const uint8_t* data = nullptr;
    size_t size = 0;
    const EventPayload* outer = nullptr;
};

class EventPayloadScope {
public:
    // `data` must stay valid for the scope's life.
    EventPayloadScope(const EventHandler& handler, uint64_t eventId, const uint8_t* data, size_t size);
    ~EventPayloadScope();
    EventPayloadScope(const EventPayloadScope&) = delete;
    EventPayloadScope& operator=(const EventPayloadScope&) = delete;

    // The innermost payload of this thread, or null.
    static const EventPayload* Current();

private:
    EventPayload m_payload;
};

} // namespace internal
} // namespace Orvane

#endif
