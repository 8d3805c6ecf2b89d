// StreamSlot: one buffer of an acquisition, and FrameRecord, what is known
// about the frame it holds.
//
// Memory: each slot owns `capacity` bytes aligned to kStreamBufferAlignment,
// allocated once when the acquisition starts, and one Aravis buffer
// (arv_buffer_new_full) over that memory whose user data is the slot; frames
// are received in place. The slot keeps one reference on the ArvBuffer for its
// whole life; a buffer handed to an Aravis stream carries one more reference,
// which comes back when the buffer is popped. Slots are shared
// (std::shared_ptr): the acquisition holds all of them while it runs, and every
// image made from a slot holds it too, so an image kept past the end of its
// acquisition still owns valid memory.
//
// Hand-off: a slot is owned by exactly one party at a time: the stream (the
// stream source's queues, or the virtual camera filling it), the acquisition's
// delivery thread and queue, or the caller's image. Buffers travel between
// threads through GLib queues, whose locking the thread sanitizer does not see;
// every hand-off also goes through `handoff` (an acquire-release increment),
// which orders the writes of one owner before the reads of the next for the
// sanitizer as well as for the hardware.
#ifndef ORVANE_TRANSPORT_STREAM_SLOT_H
#define ORVANE_TRANSPORT_STREAM_SLOT_H

#include <arv.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "Orvane/ImageDefs.h"

namespace Orvane {
namespace internal {

// Alignment of stream buffer memory, bytes (StreamBufferAlignment).
constexpr size_t kStreamBufferAlignment = 64;

struct FrameRecord {
    // Virtual cameras: set by the camera when it produced a frame into the
    // buffer; a buffer that comes back from the stream without it carries no
    // frame (it was handed out while the stream was closing) and is discarded.
    bool produced = false;
    ImageStatus status = IMAGE_STATUS_OK;
    uint64_t frameId = 0;
    uint64_t timestamp = 0; // device timestamp, ns
    uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0, paddingX = 0, paddingY = 0;
    uint32_t pixelFormat = 0;    // PFNC code
    uint32_t payloadType = 0;    // transport code: 0x0001 image, 0x4001 image with chunks, ...
    size_t payloadSize = 0;      // bytes of the payload: image data, then chunk data
    size_t validPayloadSize = 0; // bytes actually received
    uint64_t chunkLayoutId = 0;
    uint64_t imageId = 0; // the SDK's number of the image (GetID), given on arrival
};

class StreamSlot {
public:
    // Allocates `capacity` bytes (rounded up to the alignment). Raises
    // ORVANE_ERR_OUT_OF_MEMORY when the memory is not there.
    StreamSlot(uint32_t index, size_t capacity);
    ~StreamSlot();
    StreamSlot(const StreamSlot&) = delete;
    StreamSlot& operator=(const StreamSlot&) = delete;

    uint32_t Index() const { return m_index; }
    uint8_t* Data() const { return m_data; }
    size_t Capacity() const { return m_capacity; }
    ArvBuffer* Buffer() const { return m_buffer; }
    // The slot of an Aravis buffer made by a StreamSlot; null for other buffers.
    static StreamSlot* Of(ArvBuffer* buffer);

    // Marks a hand-off to the next owner of the slot (see the header comment).
    void HandOff() { m_handoff.fetch_add(1, std::memory_order_acq_rel); }

    // The frame in the buffer; written by the party that owns the slot.
    FrameRecord record;

private:
    uint32_t m_magic;
    uint32_t m_index;
    uint8_t* m_data = nullptr;
    size_t m_capacity = 0;
    ArvBuffer* m_buffer = nullptr;
    std::atomic<uint64_t> m_handoff{0};
};

} // namespace internal
} // namespace Orvane

#endif
