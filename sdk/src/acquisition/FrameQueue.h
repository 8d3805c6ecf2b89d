// FrameQueue: the frames of an acquisition waiting for GetNextImage, a
// double-ended ring of slots with a fixed capacity (the acquisition's buffer
// count), so queueing never allocates. Not synchronised: StreamRun guards it.
#ifndef ORVANE_ACQUISITION_FRAME_QUEUE_H
#define ORVANE_ACQUISITION_FRAME_QUEUE_H

#include <cstddef>
#include <vector>

namespace Orvane {
namespace internal {

class StreamSlot;

class FrameQueue {
public:
    explicit FrameQueue(size_t capacity) : m_ring(capacity ? capacity : 1) {}

    bool Empty() const { return m_size == 0; }
    size_t Size() const { return m_size; }
    // Never fails: the queue holds at most every buffer of the acquisition.
    void PushBack(StreamSlot* slot) {
        m_ring[(m_head + m_size) % m_ring.size()] = slot;
        ++m_size;
    }
    StreamSlot* PopFront() {
        StreamSlot* slot = m_ring[m_head];
        m_head = (m_head + 1) % m_ring.size();
        --m_size;
        return slot;
    }
    StreamSlot* PopBack() {
        --m_size;
        return m_ring[(m_head + m_size) % m_ring.size()];
    }

private:
    std::vector<StreamSlot*> m_ring;
    size_t m_head = 0;
    size_t m_size = 0;
};

} // namespace internal
} // namespace Orvane

#endif
