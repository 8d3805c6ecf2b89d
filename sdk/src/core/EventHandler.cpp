#include "Orvane/EventHandler.h"

#include "Orvane/DeviceArrivalEventHandler.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageListEventHandler.h"
#include "core/EventPayloadScope.h"

namespace Orvane {

namespace internal {

namespace {
// The innermost payload scope of this thread (EventPayloadScope.h).
thread_local const EventPayload* t_payload = nullptr;
} // namespace

EventPayloadScope::EventPayloadScope(const EventHandler& handler, uint64_t eventId, const uint8_t* data, size_t size) {
    m_payload.handler = &handler;
    m_payload.eventId = eventId;
    m_payload.data = data;
    m_payload.size = size;
    m_payload.outer = t_payload;
    t_payload = &m_payload;
}

EventPayloadScope::~EventPayloadScope() { t_payload = m_payload.outer; }

const EventPayload* EventPayloadScope::Current() { return t_payload; }

} // namespace internal

namespace {

// The payload scope of this thread for `handler`, if any (the innermost one).
const internal::EventPayload* ScopeOf(const EventHandler* handler) {
    for (const internal::EventPayload* p = internal::EventPayloadScope::Current(); p; p = p->outer)
        if (p->handler == handler) return p;
    return nullptr;
}

} // namespace

EventHandler::EventHandler() = default;
EventHandler::EventHandler(const EventHandler&) = default;
EventHandler& EventHandler::operator=(const EventHandler&) = default;
EventHandler::~EventHandler() = default;

const uint8_t* EventHandler::GetEventPayloadData() const {
    const internal::EventPayload* p = ScopeOf(this);
    return p ? p->data : m_payload;
}

size_t EventHandler::GetEventPayloadDataSize() const {
    const internal::EventPayload* p = ScopeOf(this);
    return p ? p->size : m_payloadSize;
}

uint64_t EventHandler::GetDeviceEventID() const {
    const internal::EventPayload* p = ScopeOf(this);
    return p ? p->eventId : m_eventId;
}

void EventHandler::SetEventPayload(uint64_t eventId, const uint8_t* data, size_t size) {
    m_eventId = eventId;
    m_payload = data;
    m_payloadSize = size;
}

DeviceEventHandler::DeviceEventHandler() = default;
DeviceEventHandler::~DeviceEventHandler() = default;
ImageEventHandler::ImageEventHandler() = default;
ImageEventHandler::~ImageEventHandler() = default;
ImageListEventHandler::ImageListEventHandler() = default;
ImageListEventHandler::~ImageListEventHandler() = default;
DeviceArrivalEventHandler::DeviceArrivalEventHandler() = default;
DeviceArrivalEventHandler::~DeviceArrivalEventHandler() = default;
DeviceRemovalEventHandler::DeviceRemovalEventHandler() = default;
DeviceRemovalEventHandler::~DeviceRemovalEventHandler() = default;
InterfaceEventHandler::InterfaceEventHandler() = default;
InterfaceEventHandler::~InterfaceEventHandler() = default;

} // namespace Orvane
