#include "Orvane/EventHandler.h"

#include "Orvane/DeviceArrivalEventHandler.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageListEventHandler.h"

namespace Orvane {

EventHandler::EventHandler() = default;
EventHandler::EventHandler(const EventHandler&) = default;
EventHandler& EventHandler::operator=(const EventHandler&) = default;
EventHandler::~EventHandler() = default;

const uint8_t* EventHandler::GetEventPayloadData() const { return m_payload; }
size_t EventHandler::GetEventPayloadDataSize() const { return m_payloadSize; }
uint64_t EventHandler::GetDeviceEventID() const { return m_eventId; }

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
