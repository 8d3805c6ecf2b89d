#include "acquisition/StreamRun.h"

#include <chrono>
#include <cstring>
#include <limits>
#include <string>

#include "acquisition/DeviceChunkDecoder.h"
#include "acquisition/ImageLeasePool.h"
#include "camera/CameraEvents.h"
#include "core/Raise.h"
#include "image/Crc32.h"
#include "image/PixelFormatInfo.h"
#include "logging/Log.h"
#include "logging/ThreadName.h"
#include "transport/DeviceConnection.h"
#include "transport/StreamSource.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

// The delivery thread looks at the stream this often (statistics, lost device).
constexpr auto kWatchPeriod = std::chrono::milliseconds(20);
// Timeouts above this many milliseconds (about 35 years) wait forever.
constexpr uint64_t kLongestTimeoutMs = uint64_t(1) << 40;

TLPayloadType TLPayloadTypeOf(uint32_t code) {
    const bool chunks = (code & 0x4000) != 0;
    switch (code & 0x3FFF) {
    case 0x0001: return chunks ? PayloadType_ChunkData : PayloadType_Image;
    case 0x0002: return PayloadType_RawData;
    case 0x0003: return PayloadType_File;
    case 0x0004: return PayloadType_ChunkOnly;
    case 0x0005: return PayloadType_ChunkData; // extended chunk data (deprecated code)
    case 0x0006: return PayloadType_JPEG;
    case 0x0007: return PayloadType_JPEG2000;
    case 0x0008: return PayloadType_H264;
    case 0x000A: return PayloadType_MultiPart;
    case 0x0000: return PayloadType_Unknown;
    default: return PayloadType_DeviceSpecific;
    }
}

ImageMetadata MetadataOf(const FrameRecord& r) {
    ImageMetadata m;
    m.width = r.width;
    m.height = r.height;
    m.offsetX = r.offsetX;
    m.offsetY = r.offsetY;
    m.paddingX = r.paddingX;
    m.paddingY = r.paddingY;
    const PixelFormatInfo* info = FindPixelFormatByPfnc(r.pixelFormat);
    m.pixelFormat = info ? info->format : UNKNOWN_PIXELFORMAT;
    m.tlPixelFormat = r.pixelFormat;
    m.pixelFormatNamespace = PixelFormatNamespace_PFNC_32Bit;
    m.payloadType = r.payloadType;
    m.tlPayloadType = TLPayloadTypeOf(r.payloadType);
    m.id = r.imageId;
    m.frameId = r.frameId;
    m.timestamp = r.timestamp;
    m.chunkLayoutId = r.chunkLayoutId;
    m.status = r.status;
    m.validPayloadSize = r.validPayloadSize;
    m.colorProcessing = COLOR_PROCESSING_NONE;
    return m;
}

void Relaxed(std::atomic<uint64_t>& counter, uint64_t value) { counter.store(value, std::memory_order_relaxed); }

// The owner of the run whose delivery thread this is, or null.
thread_local const void* t_deliveryOwner = nullptr;
void Bump(std::atomic<uint64_t>& counter) { counter.fetch_add(1, std::memory_order_relaxed); }

} // namespace

std::shared_ptr<StreamRun> StreamRun::Create(StreamRunConfig config) {
    std::shared_ptr<StreamRun> run(new StreamRun(std::move(config)));
    const int64_t count = run->m_config.bufferCount;
    run->m_slots.reserve(static_cast<size_t>(count));
    for (int64_t i = 0; i < count; ++i)
        run->m_slots.push_back(std::make_shared<StreamSlot>(static_cast<uint32_t>(i), run->m_config.payloadSize));
    return run;
}

StreamRun::StreamRun(StreamRunConfig config)
    : m_config(std::move(config)), m_stats(m_config.state->statistics), m_losesFrames(m_config.source->LosesFrames()),
      m_queue(static_cast<size_t>(m_config.bufferCount)), m_handlerQueue(static_cast<size_t>(m_config.bufferCount)),
      m_frameReport(kLogCategoryAcquisition, LOG_LEVEL_WARN, "camera " + m_config.cameraName,
                    {"frames lost", "frames incomplete"}),
      m_resendReport(kLogCategoryAcquisition, LOG_LEVEL_NOTICE, "camera " + m_config.cameraName,
                     {"packet resend requests", "packets resent"}) {}

uint64_t StreamRun::MissedBetween(uint64_t last, uint64_t id, uint64_t unnumbered) {
    if (last == 0) return 0; // the first ID: nothing before it counts
    uint64_t ahead = 0;      // how far `id` is past `last`
    if (last <= 0xFFFF && id <= 0xFFFF) {
        // 16-bit block IDs run 1 to 65535, then wrap to 1 (0 is no ID). An ID
        // more than half the range behind is taken as late or repeated, not
        // as a wrap past 65535 more frames.
        ahead = id >= last ? id - last : (0xFFFF - last) + id;
        if (ahead == 0 || ahead > 0x7FFF) return 0;
    } else {
        if (id <= last) return 0; // 64-bit IDs never wrap: a restart
        ahead = id - last;
    }
    const uint64_t between = ahead - 1;
    return between > unnumbered ? between - unnumbered : 0;
}

bool StreamRun::OnDeliveryThread(const void* owner) { return owner && t_deliveryOwner == owner; }

StreamRun::~StreamRun() {
    try {
        Close();
    } catch (...) {
        // A run being destroyed never throws.
    }
}

void StreamRun::Open() {
    StreamSourceOptions options;
    options.payloadSize = m_config.payloadSize;
    options.expected = m_config.expected;
    options.packetResend = m_config.packetResend;
    options.packetTimeoutMs = m_config.packetTimeoutMs;
    options.cameraName = m_config.cameraName;
    m_config.source->Start(options, &StreamRun::Completed, this);
    m_popsItself = m_config.source->CompletesSilently();
    m_stats.announcedBuffers.store(m_config.bufferCount);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_streamOpen = true;
        for (const std::shared_ptr<StreamSlot>& slot : m_slots) RequeueLocked(*slot);
    }
    m_delivery = std::thread([this] { DeliveryLoop(); });
}

void StreamRun::EndWaits() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ended = true;
        m_stopDelivery = true;
    }
    m_ready.notify_all();
    m_watch.notify_all();
    if (m_delivery.joinable()) m_delivery.join();
}

void StreamRun::DestroyStream() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_streamOpen = false;
        while (!m_queue.Empty()) m_queue.PopFront();
        while (!m_handlerQueue.Empty()) m_handlerQueue.PopFront();
        m_withStream = 0;
    }
    // Joins the stream's thread, which may still be in Completed (it finds
    // the run ended and leaves the buffer alone).
    m_config.source->Destroy();
    m_stats.inputBuffers.store(0);
    m_stats.outputBuffers.store(0);
}

void StreamRun::Close() {
    if (m_closed) return;
    m_closed = true;
    EndWaits();
    // The device side stops first, so that a virtual camera's fill no longer
    // blocks the stream's thread that Destroy joins.
    m_config.source->Stop();
    DestroyStream();
    // Images may keep the run alive long after: they must not keep the
    // device open (nor its stream source).
    m_config.source.reset();
    m_config.connection.reset();
}

void StreamRun::RequeueLocked(StreamSlot& slot) {
    if (!m_streamOpen || m_ended) return;
    ArvBuffer* buffer = slot.Buffer();
    slot.record.produced = false;
    arv_buffer_set_frame_id(buffer, 0);
    arv_buffer_set_timestamp(buffer, 0);
    slot.HandOff();
    g_object_ref(buffer);
    m_config.source->Push(buffer);
    ++m_withStream;
    m_stats.inputBuffers.store(m_withStream, std::memory_order_relaxed);
}

void StreamRun::ReturnBuffer(std::shared_ptr<void> storage) {
    auto* slot = static_cast<StreamSlot*>(storage.get());
    if (!slot) return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        RequeueLocked(*slot);
    }
    // storage dies here, outside the lock: it may be the slot's last owner.
}

void StreamRun::DeliveryLoop() {
    SetThreadName("orv-deliver");
    t_deliveryOwner = m_config.owner;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopDelivery) {
        if (!m_handlerQueue.Empty()) {
            StreamSlot* slot = m_config.handlingMode == BufferHandlingMode::NewestFirst ? m_handlerQueue.PopBack()
                                                                                        : m_handlerQueue.PopFront();
            m_stats.outputBuffers.store(static_cast<int64_t>(m_queue.Size() + m_handlerQueue.Size()),
                                        std::memory_order_relaxed);
            lock.unlock();
            DeliverToHandlers(*slot);
            lock.lock();
        } else if (m_popsItself) {
            lock.unlock();
            if (ArvBuffer* buffer =
                    m_config.source->Pop(std::chrono::duration_cast<std::chrono::microseconds>(kWatchPeriod).count()))
                OnBuffer(buffer);
            lock.lock();
        } else {
            m_watch.wait_for(lock, kWatchPeriod);
        }
        if (m_stopDelivery) break;
        const auto now = std::chrono::steady_clock::now();
        if (now < m_nextWatch) continue;
        m_nextWatch = now + kWatchPeriod;
        lock.unlock();
        // A buffer the stream completed without telling (Aravis has such
        // paths) is taken here.
        while (ArvBuffer* stray = m_config.source->Pop(0)) OnBuffer(stray);
        UpdateTransportStatistics();
        m_frameReport.Update({m_stats.lostFrames.load(std::memory_order_relaxed),
                              m_stats.incompleteFrames.load(std::memory_order_relaxed)});
        const bool lost = m_config.connection->ControlLost();
        lock.lock();
        if (lost && !m_lost) {
            m_lost = true;
            m_ready.notify_all();
        }
    }
    lock.unlock();
    t_deliveryOwner = nullptr;
}

void StreamRun::DeliverToHandlers(StreamSlot& slot) {
    if (!m_config.events || !m_config.events->HasFrameHandlers()) {
        // The handlers went away meanwhile: the frame is GetNextImage's.
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            QueueLocked(&slot, false);
        }
        m_ready.notify_one();
        return;
    }
    Bump(m_stats.deliveredFrames);
    const ImagePtr image = MakeImage(slot);
    m_config.events->DispatchFrame(image);
    // The buffer goes back to the stream here unless a handler kept the image.
}

void StreamRun::Completed(void* run, ArvBuffer* buffer) { static_cast<StreamRun*>(run)->OnBuffer(buffer); }

void StreamRun::OnBuffer(ArvBuffer* buffer) {
    StreamSlot* slot = StreamSlot::Of(buffer);
    g_object_unref(buffer); // the reference the stream held; the slot keeps its own
    if (!slot) return;
    slot->HandOff();
    m_config.source->Describe(buffer, *slot);
    const bool carriesFrame = slot->record.produced;
    const bool toHandlers = m_config.events && m_config.events->HasFrameHandlers();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_losesFrames && carriesFrame) {
            const uint64_t id = slot->record.frameId;
            if (id == 0) {
                // An incomplete frame whose leader (which carries the ID) was
                // lost: it arrived, and fills one of the gap's places.
                ++m_unnumbered;
            } else {
                m_gapFrames += MissedBetween(m_lastFrameId, id, m_unnumbered);
                m_lastFrameId = id;
                m_unnumbered = 0;
            }
            Relaxed(m_stats.lostFrames, m_gapFrames);
        }
        --m_withStream;
        m_stats.inputBuffers.store(m_withStream, std::memory_order_relaxed);
        if (m_ended) return;
        if (!carriesFrame) {
            // A virtual camera's buffer that came back empty (the frame did
            // not fit it): nothing to deliver.
            ++m_discarded;
            Relaxed(m_stats.lostFrames, m_discarded);
            RequeueLocked(*slot);
            return;
        }
        Bump(m_stats.startedFrames);
        if (slot->record.status == IMAGE_STATUS_OK)
            Bump(m_stats.receivedFrames);
        else
            Bump(m_stats.incompleteFrames);
        slot->record.imageId = m_nextImageId++;
        QueueLocked(slot, toHandlers);
    }
    if (toHandlers)
        m_watch.notify_one();
    else
        m_ready.notify_one();
}

void StreamRun::QueueLocked(StreamSlot* slot, bool toHandlers) {
    FrameQueue& queue = toHandlers ? m_handlerQueue : m_queue;
    switch (m_config.handlingMode) {
    case BufferHandlingMode::OldestFirst: break;
    case BufferHandlingMode::NewestOnly:
        while (!queue.Empty()) {
            RequeueLocked(*queue.PopFront());
            Bump(m_stats.droppedFrames);
        }
        break;
    case BufferHandlingMode::OldestFirstOverwrite:
    case BufferHandlingMode::NewestFirst:
        if (m_withStream == 0 && !queue.Empty()) {
            RequeueLocked(*queue.PopFront());
            Bump(m_stats.droppedFrames);
        }
        break;
    }
    queue.PushBack(slot);
    m_stats.outputBuffers.store(static_cast<int64_t>(m_queue.Size() + m_handlerQueue.Size()),
                                std::memory_order_relaxed);
}

void StreamRun::CheckCrc(StreamSlot& slot) {
    FrameRecord& r = slot.record;
    if (r.status != IMAGE_STATUS_OK) return;
    const PixelFormatInfo* info = FindPixelFormatByPfnc(r.pixelFormat);
    const size_t payload = std::min(r.validPayloadSize, slot.Capacity());
    if (!info) return;
    const size_t imageSize = PackedImageBytes(*info, r.width, r.height);
    if (imageSize >= payload) return; // no chunks
    uint32_t expected = 0;
    try {
        if (!m_config.crcChecker->ReadCrc(slot.Data(), payload, imageSize, expected)) return;
    } catch (const Exception&) {
        return; // the camera was closed
    }
    if (Crc32(slot.Data(), imageSize) != expected) {
        r.status = IMAGE_STATUS_CRC_FAILED;
        m_stats.receivedFrames.fetch_sub(1, std::memory_order_relaxed);
        Bump(m_stats.incompleteFrames);
    }
}

void StreamRun::UpdateTransportStatistics() {
    StreamCounters c;
    if (!m_config.source->ReadCounters(c)) return; // the transport counts no packets
    Relaxed(m_stats.receivedPackets, c.receivedPackets);
    Relaxed(m_stats.missedPackets, c.missingPackets);
    Relaxed(m_stats.resendRequests, c.resendRequests);
    Relaxed(m_stats.resendRequestedPackets, c.resendRequests);
    Relaxed(m_stats.resendReceivedPackets, c.resentPackets);
    Relaxed(m_stats.resendRequestTimeouts, c.timeouts);
    Relaxed(m_stats.duplicatedPackets, c.duplicatedPackets);
    m_resendReport.Update({c.resendRequests, c.resentPackets});
}

ImagePtr StreamRun::Next(uint64_t timeoutMs) {
    const bool forever = timeoutMs > kLongestTimeoutMs;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(forever ? 0 : timeoutMs);
    int failure = ORVANE_ERR_SUCCESS;
    StreamSlot* slot = nullptr;
    std::shared_ptr<DeviceConnection> connection; // to ask after a timeout
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_queue.Empty()) {
            // A loss found by a device access is not left for the delivery
            // thread's next look (the connection stays until m_ended).
            if (!m_lost && !m_ended && m_config.connection && m_config.connection->ControlLost()) m_lost = true;
            if (m_ended) {
                failure = ORVANE_ERR_ABORT;
                break;
            }
            if (m_lost) {
                failure = ORVANE_ERR_DEVICE_LOST;
                break;
            }
            if (forever) {
                m_ready.wait(lock);
            } else if (m_ready.wait_until(lock, deadline) == std::cv_status::timeout && m_queue.Empty() && !m_ended &&
                       !m_lost) {
                failure = ORVANE_ERR_TIMEOUT;
                break;
            }
        }
        // Close drops the connection only after ending the waits (m_ended).
        if (failure == ORVANE_ERR_TIMEOUT && !m_ended) connection = m_config.connection;
        if (!failure) {
            slot = m_config.handlingMode == BufferHandlingMode::NewestFirst ? m_queue.PopBack() : m_queue.PopFront();
            m_stats.outputBuffers.store(static_cast<int64_t>(m_queue.Size() + m_handlerQueue.Size()),
                                        std::memory_order_relaxed);
            Bump(m_stats.deliveredFrames);
        }
    }
    switch (failure) {
    case ORVANE_ERR_SUCCESS: break;
    case ORVANE_ERR_ABORT:
        ORV_RAISE(ORVANE_ERR_ABORT,
                  "camera " + m_config.cameraName + ": the acquisition ended while waiting for an image");
    case ORVANE_ERR_DEVICE_LOST:
        ORV_RAISE(ORVANE_ERR_DEVICE_LOST, "camera " + m_config.cameraName + " was lost: no more images will arrive");
    default:
        // No image: a device that died mid-stream says nothing until asked.
        if (connection && !connection->CheckAnswering())
            ORV_RAISE(ORVANE_ERR_DEVICE_LOST, connection->LostMessage() + ": no more images will arrive");
        ORV_RAISE(ORVANE_ERR_TIMEOUT,
                  "camera " + m_config.cameraName + ": no image arrived within " + std::to_string(timeoutMs) + " ms");
    }
    return MakeImage(*slot);
}

ImagePtr StreamRun::MakeImage(StreamSlot& slot) {
    if (m_config.crcChecker) CheckCrc(slot);
    ImagePtr image = m_config.pool->NewImage();
    ImageAccess::Attach(*image, MetadataOf(slot.record), slot.Data(), slot.record.payloadSize,
                        std::shared_ptr<void>(m_slots[slot.Index()]), shared_from_this(), m_config.chunkDecoder);
    return image;
}

} // namespace internal
} // namespace Orvane
