// VirtualCameraClock: the clock of one virtual camera: its timestamp counter
// (1 GHz: nanoseconds since power-up or the last TimestampReset, on the
// steady clock) and the time of its last power-up (for DeviceUptime and the
// sensor's warm-up).
//
// Ownership: one per VirtualCameraRuntime.
// Threads and locks: Ns() is lock-free and may run on any thread (stream
// threads stamp frames and chunk data with it). PowerUp, Reset and
// PowerUpTime run with the session's node map lock held.
#ifndef ORVANE_VIRTUAL_VIRTUAL_CAMERA_CLOCK_H
#define ORVANE_VIRTUAL_VIRTUAL_CAMERA_CLOCK_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace Orvane {
namespace internal {

class VirtualCameraClock {
public:
    using Clock = std::chrono::steady_clock;

    // Power-up at `now`: the counter starts from zero.
    void PowerUp(Clock::time_point now) {
        m_powerUp = now;
        m_epochNs.store(std::chrono::duration_cast<std::chrono::nanoseconds>(now.time_since_epoch()).count());
    }

    // TimestampReset: the counter starts from zero again, now.
    void Reset() {
        m_epochNs.store(std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count());
    }

    // The timestamp counter, ns.
    uint64_t Ns() const {
        const int64_t now =
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
        return static_cast<uint64_t>(std::max<int64_t>(0, now - m_epochNs.load()));
    }

    Clock::time_point PowerUpTime() const { return m_powerUp; }

private:
    std::atomic<int64_t> m_epochNs{0}; // steady clock at power-up or TimestampReset, ns
    Clock::time_point m_powerUp;
};

} // namespace internal
} // namespace Orvane

#endif
