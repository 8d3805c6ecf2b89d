// StreamRun: one acquisition of one camera, from BeginAcquisition to
// EndAcquisition: its buffers, its stream source (the transport's stream,
// StreamSource), its delivery thread and the queue GetNextImage takes frames
// from.
//
// Data path (no frame is allocated or copied on it):
//   stream source (input queue) -> the camera fills a buffer in place (GigE
//   Vision receive thread, or the virtual camera's fill hook on the fake
//   stream's thread) -> the source's output queue -> its completion
//   callback (same thread) takes it at once: frame record, handling mode,
//   FrameQueue, wakes one waiting caller -> GetNextImage (caller's thread): a
//   pooled Image over the buffer (and the CRC check when enabled) ->
//   Image::Release or the image's destruction (any thread): ReturnBuffer ->
//   back to the source's input queue.
// Queueing in the completion callback costs a mutex and a queue push on the
// receiving thread, nothing long; it spares every frame a thread hand-off
// (about 20-30 us of CPU a frame on the machines the project builds on).
//
// Image events: while image or image list handlers are registered on the
// camera (CameraEvents::HasFrameHandlers, asked once per frame), the
// completion callback queues frames for the delivery thread instead
// (m_handlerQueue, the same handling modes), and the delivery thread makes
// each one a pooled Image (the CRC check too) and calls the handlers
// (CameraEvents::DispatchFrame) outside every lock. Meanwhile GetNextImage
// gets nothing: it waits, and times out, until the handlers are removed.
// A frame the delivery thread takes after the last handler went away goes
// to the GetNextImage queue.
//
// Buffer handling modes, when the caller is slower than the camera:
//   OldestFirst           frames are queued in arrival order and none is
//                         discarded by the SDK. Once every buffer is queued or
//                         held by the caller the camera has none to fill: a
//                         GigE Vision camera's next frames are lost (counted in
//                         StreamLostFrameCount), a virtual camera waits for a
//                         buffer (it loses nothing). The caller gets the
//                         oldest frames, without gaps, late.
//   OldestFirstOverwrite  arrival order; when a frame arrives and no buffer is
//                         left with the camera, the oldest queued frame is
//                         discarded (StreamDroppedFrameCount) and its buffer
//                         goes back to the camera, which so keeps running. The
//                         queue holds the newest (buffer count - 1 - held)
//                         frames, oldest first.
//   NewestOnly            the queue holds at most one frame: each arriving
//                         frame discards the queued one. The caller always
//                         gets the newest frame.
//   NewestFirst           like OldestFirstOverwrite, but GetNextImage takes
//                         the newest queued frame first (last in, first out).
// Images the caller holds keep their buffers (the caller gets no more than
// the buffer count at once); releasing an image, or dropping the last
// ImagePtr to it, returns its buffer at once. So an image held forever takes
// one buffer out of circulation and nothing more: the stream only stalls when
// the caller holds every buffer.
//
// Threads and locks (owner: the camera's Acquisition, which opens and closes
// the run):
//   - the source's receiving thread runs OnBuffer (its completion
//     callback): short work under m_mutex only, never the node map's lock.
//     Sources that complete buffers silently (USB3 Vision) give them only
//     through Pop: the delivery thread pops them and runs OnBuffer;
//   - the delivery thread ("orv-deliver"), started by Open and joined by
//     Close, keeps watch: every 20 ms it copies the transport's counters into
//     the stream statistics, notices a lost device (waking the callers
//     waiting in Next), takes any buffer the source completed without a
//     callback and logs lost and incomplete frames and packet resends (at
//     most one record of each a second, CounterReport); with image handlers
//     registered it calls them, frame by frame (see above). OnDeliveryThread
//     tells code that must not wait for this thread (EndAcquisition, DeInit)
//     that it runs on it;
//   - m_mutex guards the queue, the count of buffers with the stream, the
//     ended and lost flags, whether returns may be pushed to the source, and
//     the frame ID bookkeeping; it is held for queue operations and source
//     pushes only, never while calling out of the SDK or raising;
//   - callers' threads wait on m_ready in Next; Close wakes them.
#ifndef ORVANE_ACQUISITION_STREAM_RUN_H
#define ORVANE_ACQUISITION_STREAM_RUN_H

#include <arv.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/Image.h"
#include "acquisition/FrameQueue.h"
#include "camera/StreamSettings.h"
#include "image/ImageAccess.h"
#include "logging/CounterReport.h"
#include "transport/StreamSlot.h"

namespace Orvane {
namespace internal {

class CameraEvents;
class DeviceConnection;
class DeviceChunkDecoder;
class ImageLeasePool;
class StreamSource;

struct StreamRunConfig {
    std::shared_ptr<DeviceConnection> connection;
    std::shared_ptr<StreamSource> source; // made by the connection for this run
    StreamState* state = nullptr;         // the camera's stream settings and statistics
    int64_t bufferCount = 10;
    BufferHandlingMode handlingMode = BufferHandlingMode::OldestFirst;
    size_t payloadSize = 0;       // bytes per buffer
    bool packetResend = true;     // packet transports (GigE Vision)
    int64_t packetTimeoutMs = 20; // packet transports (GigE Vision)
    // The image format when the acquisition started (metadata of frames that
    // lost their leader).
    FrameRecord expected;
    std::shared_ptr<ImageLeasePool> pool;
    std::shared_ptr<const ChunkDecoder> chunkDecoder;
    // StreamCRCCheckEnable: GetNextImage checks each frame carrying a CRC
    // chunk against its image data (on the caller's thread, taking the node
    // map's lock to read ChunkCRC); a mismatch makes the frame
    // IMAGE_STATUS_CRC_FAILED (and counts it incomplete).
    std::shared_ptr<const DeviceChunkDecoder> crcChecker;
    std::string cameraName; // for messages
    // The camera's event handlers (image events); may be null.
    std::shared_ptr<CameraEvents> events;
    // Identifies the camera's acquisition for OnDeliveryThread.
    const void* owner = nullptr;
};

class StreamRun : public ImageBufferOwner, public std::enable_shared_from_this<StreamRun> {
public:
    // Allocates the buffers. Raises ORVANE_ERR_OUT_OF_MEMORY.
    static std::shared_ptr<StreamRun> Create(StreamRunConfig config);
    ~StreamRun() override;

    // Starts the stream source, gives it every buffer and starts the
    // delivery thread.
    void Open();
    // Ends the run: wakes waiting callers (ORVANE_ERR_ABORT), joins the
    // delivery thread, stops the source's device side and destroys its
    // stream. Queued frames are discarded; images the caller holds stay
    // valid. Idempotent.
    void Close();

    // The next frame (see the handling modes above). timeoutMs: all ones
    // waits forever. Raises ORVANE_ERR_TIMEOUT, ORVANE_ERR_ABORT (the
    // acquisition ended meanwhile), ORVANE_ERR_DEVICE_LOST. Before a
    // timeout the device is asked whether it still answers
    // (DeviceConnection::CheckAnswering): a device that died mid-stream
    // raises ORVANE_ERR_DEVICE_LOST instead, after that request's timeout.
    ImagePtr Next(uint64_t timeoutMs);

    // ImageBufferOwner: an image hands its buffer back (any thread).
    void ReturnBuffer(std::shared_ptr<void> storage) override;

    // Whether the calling thread is the delivery thread of a run whose
    // config named `owner`.
    static bool OnDeliveryThread(const void* owner);

    // Frames that never arrived between the frame IDs `last` and `id` (next
    // to each other in arrival order), of which `unnumbered` arrived without
    // an ID: 16-bit GigE Vision block IDs wrap from 65535 to 1; `last` 0 is
    // no frame yet.
    static uint64_t MissedBetween(uint64_t last, uint64_t id, uint64_t unnumbered);

private:
    explicit StreamRun(StreamRunConfig config);
    void EndWaits();
    void DestroyStream();
    void DeliveryLoop();
    static void Completed(void* run, ArvBuffer* buffer);
    void OnBuffer(ArvBuffer* buffer);
    // With m_mutex held: gives the slot back to the stream.
    void RequeueLocked(StreamSlot& slot);
    // With m_mutex held: queues a frame for GetNextImage or for the image
    // handlers, as the handling mode says.
    void QueueLocked(StreamSlot* slot, bool toHandlers);
    // Delivery thread: one frame to the image handlers.
    void DeliverToHandlers(StreamSlot& slot);
    // The image the caller or a handler gets for a frame.
    ImagePtr MakeImage(StreamSlot& slot);
    void UpdateTransportStatistics();
    void CheckCrc(StreamSlot& slot);

    StreamRunConfig m_config;
    StreamStatistics& m_stats;
    std::vector<std::shared_ptr<StreamSlot>> m_slots;
    const bool m_losesFrames; // the source may lose frames: gaps in frame IDs count as lost
    std::thread m_delivery;

    std::mutex m_mutex;              // see the header comment
    std::condition_variable m_ready; // callers waiting in Next
    std::condition_variable m_watch; // the delivery thread's pause
    bool m_stopDelivery = false;
    // Set by Open before any buffer is queued: the delivery thread pops the
    // completed buffers itself (sources that complete silently).
    std::atomic<bool> m_popsItself{false};
    std::chrono::steady_clock::time_point m_nextWatch{}; // delivery thread only
    FrameQueue m_queue;                                  // frames for GetNextImage
    FrameQueue m_handlerQueue;                           // frames for the image handlers (the delivery thread)
    int64_t m_withStream = 0;                            // buffers in the stream's hands (queued or being filled)
    bool m_ended = false;
    bool m_lost = false;
    bool m_streamOpen = false; // returns may be pushed to the source
    uint64_t m_nextImageId = 1;
    uint64_t m_discarded = 0; // buffers that came back without a frame (virtual cameras)
    bool m_closed = false;
    // The last frame ID received (sources that lose frames: gaps in the IDs
    // are frames that never arrived).
    uint64_t m_lastFrameId = 0;
    uint64_t m_gapFrames = 0;
    uint64_t m_unnumbered = 0; // frames since m_lastFrameId that arrived without an ID (their leader was lost)
    // Log records of lost and incomplete frames, and of packet resends (the
    // delivery thread's, at most one of each a second).
    CounterReport m_frameReport;
    CounterReport m_resendReport;
};

} // namespace internal
} // namespace Orvane

#endif
