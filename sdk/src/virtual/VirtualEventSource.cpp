#include "virtual/VirtualEventSource.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "genapi/ArvNodeMap.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraClock.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;
namespace reg = vcam::reg;
namespace value = vcam::value;

void VirtualEventSource::SetSink(Sink sink) {
    NodeMapBase::MapLock lock(m_registers.Map());
    m_sink = std::move(sink);
}

bool VirtualEventSource::IsNotificationOn(uint16_t eventId) {
    NodeMapBase::MapLock lock(m_registers.Map());
    for (const vcam::EventInfo& e : vcam::kEvents)
        if (e.id == eventId)
            return static_cast<int64_t>(m_registers.ReadUInt(reg::EventNotification.At(e.selectorValue), 4)) ==
                   value::EventNotification::On;
    return false;
}

void VirtualEventSource::Emit(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize) {
    NodeMapBase::MapLock lock(m_registers.Map());
    if (!m_sink || !IsNotificationOn(eventId)) return;
    Deliver(eventId, frameId, fields, fieldsSize);
}

void VirtualEventSource::EmitAlways(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize) {
    NodeMapBase::MapLock lock(m_registers.Map());
    if (!m_sink) return;
    Deliver(eventId, frameId, fields, fieldsSize);
}

// Node map lock held, sink set.
void VirtualEventSource::Deliver(uint16_t eventId, uint64_t frameId, const uint8_t* fields, size_t fieldsSize) {
    uint8_t data[vcam::kEventDataSize] = {0};
    StoreBigEndian64(data, m_clock.Ns());
    StoreBigEndian64(data + 8, frameId);
    if (fields && fieldsSize > 0) std::memcpy(data + 16, fields, std::min<size_t>(fieldsSize, sizeof data - 16));
    m_sink(eventId, data, sizeof data);
}

} // namespace internal
} // namespace Orvane
