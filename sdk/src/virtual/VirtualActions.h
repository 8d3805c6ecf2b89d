// VirtualActions: how the virtual cameras answer action commands
// (Transport::SendActionCommand of the virtual transport).
//
// Every open, not lost virtual camera receives the command; those whose keys
// match (VirtualDeviceConnection::MatchActions) act:
//   - an immediate command: the matching actions fire at once, on the
//     sender's thread (a frame starts when a trigger's source is Action<n>);
//   - a scheduled command whose time (the camera's clock,
//     VirtualCameraRuntime::TimestampNs) is still ahead: the action waits in
//     the camera's queue (16 places, as ActionQueueSize says) and fires on the
//     scheduler thread when the camera's clock reaches the time. A full queue
//     drops the action and answers kActionStatusOverflow;
//   - a scheduled command whose time has passed: the actions fire at once,
//     the camera raises its ActionLate event, and answers kActionStatusLate.
// Each acting camera acknowledges (when asked to) as "0.0.0.N", N its
// instance number, 1-based; cameras that do not act stay silent, as GigE
// Vision devices do.
//
// Threads and ownership: one VirtualActions per virtual transport. Send runs
// on any caller thread, concurrently. The scheduler thread ("orv-vaction")
// starts with the first scheduled action and runs until the object is
// destroyed (the destructor joins it); it holds the cameras it waits for
// weakly (a camera closed or lost meanwhile does not act) and runs
// FireActions with no lock of its own held. m_mutex guards the queue.
#ifndef ORVANE_VIRTUAL_VIRTUAL_ACTIONS_H
#define ORVANE_VIRTUAL_VIRTUAL_ACTIONS_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "transport/ActionCommand.h"

namespace Orvane {
namespace internal {

class VirtualDeviceConnection;

class VirtualActions {
public:
    // Scheduled actions one camera holds at most (its ActionQueueSize).
    static constexpr size_t kQueueSize = 16;

    VirtualActions() = default;
    ~VirtualActions();
    VirtualActions(const VirtualActions&) = delete;
    VirtualActions& operator=(const VirtualActions&) = delete;

    // Sends `command` to `cameras` (open virtual cameras, in the order their
    // acknowledgements are to be appended to `results`).
    void Send(const std::vector<std::shared_ptr<VirtualDeviceConnection>>& cameras, const ActionCommand& command,
              std::vector<ActionResult>& results);

private:
    using Clock = std::chrono::steady_clock;
    struct Pending {
        Clock::time_point due;
        uint64_t order; // ties keep the order of arrival
        std::weak_ptr<VirtualDeviceConnection> camera;
        uint32_t actions;
    };
    struct Later {
        bool operator()(const Pending& a, const Pending& b) const {
            return a.due != b.due ? a.due > b.due : a.order > b.order;
        }
    };

    // Queues an action; false when the camera's queue is full.
    bool Schedule(const std::shared_ptr<VirtualDeviceConnection>& camera, uint32_t actions, Clock::time_point due);
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Pending> m_queue; // a heap, earliest first (Later)
    uint64_t m_order = 0;
    bool m_stop = false;
    std::thread m_thread; // started by the first Schedule
};

} // namespace internal
} // namespace Orvane

#endif
