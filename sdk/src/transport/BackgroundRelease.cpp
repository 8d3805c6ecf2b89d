#include "transport/BackgroundRelease.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "logging/ThreadName.h"

namespace Orvane {
namespace internal {

namespace {

struct ReleaseQueue {
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<gpointer> objects;
    bool started = false;
};

// Never destroyed: the release thread may still run while the process exits.
ReleaseQueue& Queue() {
    static auto* queue = new ReleaseQueue;
    return *queue;
}

void Serve(ReleaseQueue& queue) {
    SetThreadName("orv-release");
    std::unique_lock<std::mutex> lock(queue.mutex);
    for (;;) {
        queue.ready.wait(lock, [&] { return !queue.objects.empty(); });
        gpointer object = queue.objects.front();
        queue.objects.pop_front();
        lock.unlock();
        g_object_unref(object);
        lock.lock();
    }
}

} // namespace

void ReleaseInBackground(gpointer object) {
    if (!object) return;
    ReleaseQueue& queue = Queue();
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(queue.mutex);
        if (!queue.started) {
            try {
                std::thread(&Serve, std::ref(queue)).detach();
                queue.started = true;
            } catch (...) {
                // No thread to be had: released here, waiting as it must.
            }
        }
        if (queue.started) {
            queue.objects.push_back(object);
            queued = true;
        }
    }
    if (queued)
        queue.ready.notify_one();
    else
        g_object_unref(object);
}

} // namespace internal
} // namespace Orvane
