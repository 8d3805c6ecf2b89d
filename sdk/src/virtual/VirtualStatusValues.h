// VirtualStatusValues: the registers of one virtual camera whose values change
// with time, computed when they are read (the node map reads them past its
// cache, ArvNodeMap::WatchReads, and Camera::ReadPort refreshes first; both
// end in Refresh):
//   Timestamp (the camera clock), DeviceUptime, DeviceTemperature (warms up
//   slowly after power-up), LineStatus and LineStatusAll (VirtualIoLines),
//   CounterValue/CounterStatus (counters of the MHzTick source) and
//   TimerValue/TimerStatus;
// and what acts on them: TimestampLatch, TimestampReset, CounterReset,
// TimerReset, and writes of CounterValue and TimerValue (they rebase the
// running count).
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: every member runs with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_STATUS_VALUES_H
#define ORVANE_VIRTUAL_VIRTUAL_STATUS_VALUES_H

#include <chrono>
#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {

class VirtualCameraClock;
class VirtualIoLines;
class VirtualRegisters;

class VirtualStatusValues {
public:
    // Marks the registers above with WatchReads.
    VirtualStatusValues(VirtualRegisters& registers, VirtualCameraClock& clock, VirtualIoLines& lines);

    // Power-up at `now`: counters from zero, timers stopped.
    void PowerUp(std::chrono::steady_clock::time_point now);
    // Writes every value above as it is now (not notified: they are read
    // past the cache).
    void Refresh();

    // Commands.
    void TimestampLatch();
    void TimestampReset();
    void CounterReset(int64_t counter);
    void TimerReset(int64_t timer);
    // Write rules: CounterValue (TimerValue) of `counter` (`timer`), at
    // `address`, was written.
    void OnCounterValueWritten(int64_t counter, uint32_t address);
    void OnTimerValueWritten(int64_t timer, uint32_t address);

private:
    struct Counter {
        std::chrono::steady_clock::time_point start;
        uint64_t base = 0;
    };
    struct Timer {
        std::chrono::steady_clock::time_point start;
        bool active = false;
    };

    VirtualRegisters& m_registers;
    VirtualCameraClock& m_clock;
    VirtualIoLines& m_lines;
    std::vector<int64_t> m_temperatureSelectors;
    Counter m_counters[2];
    Timer m_timers[2];
};

} // namespace internal
} // namespace Orvane

#endif
