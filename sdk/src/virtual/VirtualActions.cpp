#include "virtual/VirtualActions.h"

#include <algorithm>

#include "logging/Log.h"
#include "logging/ThreadName.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDeviceConnection.h"

namespace Orvane {
namespace internal {

VirtualActions::~VirtualActions() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
}

void VirtualActions::Send(const std::vector<std::shared_ptr<VirtualDeviceConnection>>& cameras,
                          const ActionCommand& command, std::vector<ActionResult>& results) {
    for (const std::shared_ptr<VirtualDeviceConnection>& camera : cameras) {
        const uint32_t actions = camera->MatchActions(command.deviceKey, command.groupKey, command.groupMask);
        if (actions == 0) continue;
        uint32_t status = kActionStatusSuccess;
        if (!command.scheduled) {
            camera->FireActions(actions);
        } else {
            // The camera's clock, then the steady clock (not earlier): the
            // action's time on the steady clock follows, never before the
            // camera's clock reaches it.
            const uint64_t deviceNow = camera->Runtime().TimestampNs();
            const Clock::time_point now = Clock::now();
            if (command.actionTime <= deviceNow) {
                camera->FireActions(actions);
                camera->ReportLateAction();
                status = kActionStatusLate;
            } else if (!Schedule(camera, actions, now + std::chrono::nanoseconds(command.actionTime - deviceNow))) {
                status = kActionStatusOverflow;
            }
        }
        if (command.acknowledge)
            results.push_back(ActionResult{"0.0.0." + std::to_string(camera->Info().index + 1), status});
    }
}

bool VirtualActions::Schedule(const std::shared_ptr<VirtualDeviceConnection>& camera, uint32_t actions,
                              Clock::time_point due) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::weak_ptr<VirtualDeviceConnection> weak = camera;
        const size_t queued = static_cast<size_t>(std::count_if(m_queue.begin(), m_queue.end(), [&](const Pending& p) {
            return !p.camera.owner_before(weak) && !weak.owner_before(p.camera);
        }));
        if (queued >= kQueueSize) return false;
        m_queue.push_back(Pending{due, m_order++, weak, actions});
        std::push_heap(m_queue.begin(), m_queue.end(), Later());
        if (!m_thread.joinable()) m_thread = std::thread([this] { Run(); });
    }
    m_changed.notify_all();
    return true;
}

void VirtualActions::Run() {
    SetThreadName("orv-vaction");
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        if (m_queue.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const Clock::time_point due = m_queue.front().due;
        if (Clock::now() < due) {
            m_changed.wait_until(lock, due);
            continue;
        }
        std::pop_heap(m_queue.begin(), m_queue.end(), Later());
        const Pending next = m_queue.back();
        m_queue.pop_back();
        lock.unlock();
        if (std::shared_ptr<VirtualDeviceConnection> camera = next.camera.lock()) {
            try {
                camera->FireActions(next.actions);
            } catch (const std::exception& e) {
                ORV_LOG(kLogCategoryVirtual, LOG_LEVEL_ERROR, std::string("scheduled action failed: ") + e.what());
            }
        }
        lock.lock();
    }
}

} // namespace internal
} // namespace Orvane
