#include "virtual/VirtualStatusValues.h"

#include <algorithm>
#include <cmath>

#include "genapi/ArvNodeMap.h"
#include "genapi/Node.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraClock.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualIoLines.h"
#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

namespace reg = vcam::reg;
namespace value = vcam::value;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kTwoPi = 6.283185307179586;

int64_t ElapsedUs(Clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - since).count();
}

} // namespace

VirtualStatusValues::VirtualStatusValues(VirtualRegisters& registers, VirtualCameraClock& clock, VirtualIoLines& lines)
    : m_registers(registers), m_clock(clock), m_lines(lines) {
    m_temperatureSelectors = m_registers.SelectorValues("DeviceTemperatureSelector");
    for (const char* f : {"Timestamp", "DeviceUptime", "DeviceTemperature", "LineStatus", "LineStatusAll",
                          "CounterValue", "CounterStatus", "TimerValue", "TimerStatus"})
        if (GenApi::impl::Node* n = m_registers.RegisterNode(f)) m_registers.Map().WatchReads(*n);
}

void VirtualStatusValues::PowerUp(Clock::time_point now) {
    for (Counter& c : m_counters) c = Counter{now, 0};
    for (Timer& t : m_timers) t = Timer{now, false};
}

void VirtualStatusValues::Refresh() {
    m_registers.WriteUInt(reg::Timestamp.address, 8, m_clock.Ns());
    const double seconds = static_cast<double>(ElapsedUs(m_clock.PowerUpTime())) / 1e6;
    m_registers.WriteUInt(reg::DeviceUptime.address, 8, static_cast<uint64_t>(seconds));
    // The sensor and the mainboard warm up after power-up (3 degrees, time
    // constant 5 minutes), with a slow ripple of a twentieth of a degree.
    for (int64_t sel : m_temperatureSelectors) {
        const uint32_t at = reg::DeviceTemperature.At(sel);
        const double base = LoadBigEndianDouble(m_registers.Initial().data() + at);
        const double t = base + 3.0 * (1.0 - std::exp(-seconds / 300.0)) + 0.05 * std::sin(seconds * kTwoPi / 60.0);
        m_registers.WriteDouble(at, t);
    }
    m_lines.RefreshLineStatus();
    for (int64_t c = 0; c < 2; ++c) {
        const int64_t status = static_cast<int64_t>(m_registers.ReadUInt(reg::CounterStatus.At(c), 4));
        const int64_t source = static_cast<int64_t>(m_registers.ReadUInt(reg::CounterEventSource.At(c), 4));
        if (status != value::CounterStatus::CounterActive || source != value::CounterEventSource::MHzTick) continue;
        const uint64_t duration = m_registers.ReadUInt(reg::CounterDuration.At(c), reg::CounterDuration.length);
        uint64_t count =
            m_counters[c].base + static_cast<uint64_t>(std::max<int64_t>(0, ElapsedUs(m_counters[c].start)));
        if (count >= duration) {
            count = duration;
            m_registers.WriteUInt(reg::CounterStatus.At(c), 4, value::CounterStatus::CounterCompleted);
        }
        m_registers.WriteUInt(reg::CounterValue.At(c), 8, count);
    }
    for (int64_t t = 0; t < 2; ++t) {
        if (!m_timers[t].active) continue;
        const double delay = m_registers.ReadDouble(reg::TimerDelay.At(t));
        const double duration = m_registers.ReadDouble(reg::TimerDuration.At(t));
        const double elapsed = static_cast<double>(ElapsedUs(m_timers[t].start)) - delay;
        m_registers.WriteDouble(reg::TimerValue.At(t), std::min(std::max(elapsed, 0.0), duration));
        if (elapsed >= duration) {
            m_timers[t].active = false;
            m_registers.WriteUInt(reg::TimerStatus.At(t), 4, value::TimerStatus::TimerCompleted);
        }
    }
}

// Clock ----------------------------------------------------------------------------

void VirtualStatusValues::TimestampLatch() {
    m_registers.WriteUInt(reg::TimestampLatchValue.address, 8, m_clock.Ns());
    m_registers.Changed("TimestampLatchValue");
}

void VirtualStatusValues::TimestampReset() {
    m_clock.Reset();
    m_registers.Changed("Timestamp");
}

// Counters and timers -----------------------------------------------------------------

void VirtualStatusValues::CounterReset(int64_t c) {
    if (c < 0 || c > 1) return;
    Refresh();
    const uint64_t current = m_registers.ReadUInt(reg::CounterValue.At(c), 8);
    m_registers.WriteUInt(reg::CounterValueAtReset.At(c), 8, current);
    m_registers.WriteUInt(reg::CounterValue.At(c), 8, 0);
    m_counters[c] = Counter{Clock::now(), 0};
    const int64_t source = static_cast<int64_t>(m_registers.ReadUInt(reg::CounterEventSource.At(c), 4));
    m_registers.WriteUInt(reg::CounterStatus.At(c), 4,
                          source == value::CounterEventSource::Off ? value::CounterStatus::CounterIdle
                                                                   : value::CounterStatus::CounterActive);
    for (const char* f : {"CounterValue", "CounterValueAtReset", "CounterStatus"}) m_registers.Changed(f);
}

void VirtualStatusValues::TimerReset(int64_t t) {
    if (t < 0 || t > 1) return;
    m_timers[t] = Timer{Clock::now(), true};
    m_registers.WriteDouble(reg::TimerValue.At(t), 0.0);
    m_registers.WriteUInt(reg::TimerStatus.At(t), 4, value::TimerStatus::TimerActive);
    for (const char* f : {"TimerValue", "TimerStatus"}) m_registers.Changed(f);
}

void VirtualStatusValues::OnCounterValueWritten(int64_t c, uint32_t address) {
    if (c >= 0 && c < 2) m_counters[c] = Counter{Clock::now(), m_registers.ReadUInt(address, 8)};
}

void VirtualStatusValues::OnTimerValueWritten(int64_t t, uint32_t address) {
    if (t < 0 || t >= 2 || !m_timers[t].active) return;
    const double value = m_registers.ReadDouble(address);
    const double delay = m_registers.ReadDouble(reg::TimerDelay.At(t));
    m_timers[t].start = Clock::now() - std::chrono::microseconds(static_cast<int64_t>(std::llround(value + delay)));
}

} // namespace internal
} // namespace Orvane
