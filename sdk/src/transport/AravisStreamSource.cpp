#include "transport/AravisStreamSource.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/Raise.h"
#include "image/ChunkLayout.h"
#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

ImageStatus StatusOf(ArvBufferStatus status) {
    switch (status) {
    case ARV_BUFFER_STATUS_SUCCESS: return IMAGE_STATUS_OK;
    case ARV_BUFFER_STATUS_MISSING_PACKETS: return IMAGE_STATUS_MISSING_PACKETS;
    case ARV_BUFFER_STATUS_WRONG_PACKET_ID: return IMAGE_STATUS_WRONG_PACKET_ID;
    case ARV_BUFFER_STATUS_SIZE_MISMATCH: return IMAGE_STATUS_SIZE_MISMATCH;
    case ARV_BUFFER_STATUS_TIMEOUT: return IMAGE_STATUS_TIMEOUT;
    case ARV_BUFFER_STATUS_ABORTED: return IMAGE_STATUS_ABORTED;
    case ARV_BUFFER_STATUS_CLEARED:
    case ARV_BUFFER_STATUS_FILLING: return IMAGE_STATUS_INCOMPLETE;
    default: return IMAGE_STATUS_UNKNOWN_ERROR;
    }
}

} // namespace

AravisStreamSource::AravisStreamSource(std::shared_ptr<DeviceConnection> connection)
    : m_connection(std::move(connection)) {
    for (int& id : m_infoIds) id = -1;
}

AravisStreamSource::~AravisStreamSource() {
    try {
        Destroy();
    } catch (...) {
        // A source being destroyed never throws.
    }
}

void AravisStreamSource::Start(const StreamSourceOptions& options, Completion completed, void* context) {
    m_options = options;
    m_completed = completed;
    m_context = context;
    m_silent = CompletesSilently();
    {
        NodeMapBase::MapLock lock(m_connection->NodeMap());
        GError* error = nullptr;
        ArvStream* stream =
            arv_device_create_stream(m_connection->Device(), &AravisStreamSource::StreamCallback, this, &error);
        m_stream.store(stream);
        if (!stream) {
            const std::string message = error && error->message ? error->message : "unknown error";
            if (error) g_error_free(error);
            ORV_RAISE(ORVANE_ERR_IO, "camera " + options.cameraName + ": cannot open its stream: " + message);
        }
        if (error) g_error_free(error);
        Configure(stream, options);
    }
    static const char* const names[InfoCount] = {"n_received_packets", "n_missing_packets",    "n_resend_requests",
                                                 "n_resent_packets",   "n_duplicated_packets", "n_timeouts",
                                                 "n_transferred_bytes"};
    ArvStream* stream = m_stream.load();
    const guint n = arv_stream_get_n_infos(stream);
    for (guint i = 0; i < n; ++i) {
        const char* name = arv_stream_get_info_name(stream, i);
        for (int k = 0; k < InfoCount; ++k)
            if (name && std::strcmp(name, names[k]) == 0 && arv_stream_get_info_type(stream, i) == G_TYPE_UINT64)
                m_infoIds[k] = static_cast<int>(i);
    }
}

void AravisStreamSource::Configure(ArvStream*, const StreamSourceOptions&) {}

void AravisStreamSource::StreamCallback(void* source, ArvStreamCallbackType type, ArvBuffer*) {
    if (type != ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE) return;
    auto* self = static_cast<AravisStreamSource*>(source);
    if (self->m_silent) return;
    // The buffer is in the output queue already; nobody else pops it, so
    // each completion takes exactly the buffer it announces.
    if (ArvBuffer* buffer = arv_stream_try_pop_buffer(self->m_stream.load()))
        self->m_completed(self->m_context, buffer);
}

void AravisStreamSource::Push(ArvBuffer* buffer) { arv_stream_push_buffer(m_stream.load(), buffer); }

ArvBuffer* AravisStreamSource::Pop(uint64_t waitUs) {
    ArvStream* stream = m_stream.load();
    if (!stream) return nullptr;
    return waitUs == 0 ? arv_stream_try_pop_buffer(stream) : arv_stream_timeout_pop_buffer(stream, waitUs);
}

void AravisStreamSource::Describe(ArvBuffer* buffer, StreamSlot& slot) {
    FrameRecord r;
    r.produced = true;
    r.status = StatusOf(arv_buffer_get_status(buffer));
    r.frameId = arv_buffer_get_frame_id(buffer);
    r.timestamp = arv_buffer_get_timestamp(buffer);
    r.payloadType = static_cast<uint32_t>(arv_buffer_get_payload_type(buffer));
    size_t received = 0;
    arv_buffer_get_data(buffer, &received);
    r.payloadSize = m_options.payloadSize;
    const bool complete = arv_buffer_get_status(buffer) == ARV_BUFFER_STATUS_SUCCESS;
    ArvStream* stream = m_stream.load();
    if (stream && m_infoIds[InfoTransferredBytes] >= 0 && m_infoIds[InfoReceivedPackets] >= 0) {
        // Aravis records the bytes received only for complete buffers (an
        // incomplete one keeps the figure of its previous frame): what
        // arrived since the previous buffer, less the 8-byte GVSP header of
        // each packet, is this buffer's share.
        const uint64_t bytes = arv_stream_get_info_uint64(stream, guint(m_infoIds[InfoTransferredBytes]));
        const uint64_t packets = arv_stream_get_info_uint64(stream, guint(m_infoIds[InfoReceivedPackets]));
        const uint64_t newBytes = bytes - m_describedBytes, newPackets = packets - m_describedPackets;
        m_describedBytes = bytes;
        m_describedPackets = packets;
        if (!complete) {
            const uint64_t data = newBytes > 8 * newPackets ? newBytes - 8 * newPackets : 0;
            received = static_cast<size_t>(std::min<uint64_t>(data, m_options.payloadSize));
        }
    } else if (!complete) {
        received = 0; // unknown
    }
    r.validPayloadSize = received;
    // Aravis describes the image part of complete buffers only.
    if (complete && arv_buffer_get_n_parts(buffer) >= 1 &&
        arv_buffer_get_part_data_type(buffer, 0) == ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE) {
        gint x = 0, y = 0, w = 0, h = 0;
        arv_buffer_get_part_region(buffer, 0, &x, &y, &w, &h);
        gint px = 0, py = 0;
        arv_buffer_get_part_padding(buffer, 0, &px, &py);
        r.width = static_cast<uint32_t>(std::max(w, 0));
        r.height = static_cast<uint32_t>(std::max(h, 0));
        r.offsetX = static_cast<uint32_t>(std::max(x, 0));
        r.offsetY = static_cast<uint32_t>(std::max(y, 0));
        r.paddingX = static_cast<uint32_t>(std::max(px, 0));
        r.paddingY = static_cast<uint32_t>(std::max(py, 0));
        r.pixelFormat = static_cast<uint32_t>(arv_buffer_get_part_pixel_format(buffer, 0));
    }
    if (r.width == 0 || r.height == 0 || r.pixelFormat == 0) {
        // The leader never arrived: the format the acquisition started with.
        const FrameRecord& e = m_options.expected;
        r.width = e.width;
        r.height = e.height;
        r.offsetX = e.offsetX;
        r.offsetY = e.offsetY;
        r.pixelFormat = e.pixelFormat;
        r.paddingX = r.paddingY = 0;
        if (r.status == IMAGE_STATUS_OK) r.status = IMAGE_STATUS_INCOMPLETE;
    }
    if (r.payloadType == 0) r.payloadType = 0x0001;
    if ((r.payloadType & 0x4000) || (r.payloadType & 0x3FFF) == 0x0004 || (r.payloadType & 0x3FFF) == 0x0005)
        r.chunkLayoutId = ChunkLayoutId(slot.Data(), std::min(received, slot.Capacity()));
    slot.record = r;
}

bool AravisStreamSource::ReadCounters(StreamCounters& c) {
    ArvStream* stream = m_stream.load();
    if (!stream) return false;
    auto info = [this, stream](Info which) -> uint64_t {
        return m_infoIds[which] >= 0 ? arv_stream_get_info_uint64(stream, static_cast<guint>(m_infoIds[which])) : 0;
    };
    c.receivedPackets = info(InfoReceivedPackets);
    c.missingPackets = info(InfoMissingPackets);
    c.resendRequests = info(InfoResendRequests);
    c.resentPackets = info(InfoResentPackets);
    c.duplicatedPackets = info(InfoDuplicatedPackets);
    c.timeouts = info(InfoTimeouts);
    return true;
}

void AravisStreamSource::Destroy() {
    if (ArvStream* stream = m_stream.load()) {
        // Joins the stream's thread, which may still be in StreamCallback
        // (the acquisition finds itself ended and leaves the buffer alone).
        NodeMapBase::MapLock lock(m_connection->NodeMap());
        g_object_unref(stream);
        m_stream.store(nullptr);
    }
}

} // namespace internal
} // namespace Orvane
