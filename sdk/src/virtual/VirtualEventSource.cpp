#include "virtual/VirtualEventSource.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraClock.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

static_assert(std::size(vcam::kEvents) <= 64, "one notification bit per event");

namespace {

// The index of an event in vcam::kEvents, or -1.
int IndexOf(uint16_t eventId) {
    for (size_t i = 0; i < std::size(vcam::kEvents); ++i)
        if (vcam::kEvents[i].id == eventId) return static_cast<int>(i);
    return -1;
}

} // namespace

void VirtualEventSource::SetSink(Sink sink) {
    Sink old;
    {
        std::lock_guard<std::mutex> lock(m_sinkMutex);
        old = std::move(m_sink);
        m_sink = std::move(sink);
        m_hasSink.store(static_cast<bool>(m_sink), std::memory_order_release);
    }
    // The old sink (and what it captured) goes here, outside the mutex.
}

bool VirtualEventSource::IsNotificationOn(uint16_t eventId) const {
    const int i = IndexOf(eventId);
    return i >= 0 && (m_notify.load(std::memory_order_acquire) >> i & 1) != 0;
}

void VirtualEventSource::Emit(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize) {
    if (!m_hasSink.load(std::memory_order_acquire) || !IsNotificationOn(eventId)) return;
    Deliver(eventId, m_clock.Ns(), frameId, fields, fieldsSize);
}

void VirtualEventSource::EmitAt(uint16_t eventId, uint64_t timestampNs, uint64_t frameId, const uint8_t* fields,
                                size_t fieldsSize) {
    if (!m_hasSink.load(std::memory_order_acquire) || !IsNotificationOn(eventId)) return;
    Deliver(eventId, timestampNs, frameId, fields, fieldsSize);
}

void VirtualEventSource::EmitAlways(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize) {
    if (!m_hasSink.load(std::memory_order_acquire)) return;
    Deliver(eventId, m_clock.Ns(), frameId, fields, fieldsSize);
}

void VirtualEventSource::OnWrite(uint64_t address, uint64_t length) {
    for (const vcam::EventInfo& e : vcam::kEvents) {
        const uint64_t at = reg::EventNotification.At(e.selectorValue);
        if (address < at + 4 && at < address + length) {
            Refresh();
            return;
        }
    }
}

void VirtualEventSource::Refresh() {
    uint64_t bits = 0;
    for (size_t i = 0; i < std::size(vcam::kEvents); ++i)
        if (static_cast<int64_t>(m_registers.ReadUInt(reg::EventNotification.At(vcam::kEvents[i].selectorValue), 4)) ==
            value::EventNotification::On)
            bits |= uint64_t(1) << i;
    m_notify.store(bits, std::memory_order_release);
}

void VirtualEventSource::Deliver(uint16_t eventId, uint64_t timestampNs, uint64_t frameId, const uint8_t* fields,
                                 size_t fieldsSize) {
    uint8_t data[vcam::kEventDataSize] = {0};
    StoreBigEndian64(data, timestampNs);
    StoreBigEndian64(data + 8, frameId);
    if (fields && fieldsSize > 0) std::memcpy(data + 16, fields, std::min<size_t>(fieldsSize, sizeof data - 16));
    std::lock_guard<std::mutex> lock(m_sinkMutex);
    if (m_sink) m_sink(eventId, data, sizeof data);
}

} // namespace internal
} // namespace Orvane
