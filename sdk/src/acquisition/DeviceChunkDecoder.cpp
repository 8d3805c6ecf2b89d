#include "acquisition/DeviceChunkDecoder.h"

#include "Orvane/GenApi/GenApi.h"
#include "core/Raise.h"
#include "image/ChunkLayout.h"
#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

using GenApi::impl::NodeMapBase;

namespace {

bool Readable(GenApi::INode* node) {
    if (!node) return false;
    const GenApi::EAccessMode mode = node->GetAccessMode();
    return mode == GenApi::RO || mode == GenApi::RW;
}

// The value of an integer or float feature as the type asked for; false when
// the feature cannot be read now.
template <class T>
bool ReadNumber(GenApi::INode* node, T& out) {
    if (!Readable(node)) return false;
    try {
        if (auto* i = dynamic_cast<GenApi::IInteger*>(node)) {
            out = static_cast<T>(i->GetValue());
            return true;
        }
        if (auto* f = dynamic_cast<GenApi::IFloat*>(node)) {
            out = static_cast<T>(f->GetValue());
            return true;
        }
    } catch (const Exception&) {
        // Not in this image after all.
    }
    return false;
}

} // namespace

DeviceChunkDecoder::DeviceChunkDecoder(const std::shared_ptr<DeviceConnection>& connection, std::string cameraName)
    : m_connection(connection), m_connectionAddress(connection.get()), m_cameraName(std::move(cameraName)) {
    GenApi::impl::ArvNodeMap& map = connection->NodeMap();
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i)
        m_integers[i] = map.GetNode(ChunkData::GetName(static_cast<ChunkData::IntegerItem>(i)));
    for (int i = 0; i < ChunkData::FloatItemCount; ++i)
        m_floats[i] = map.GetNode(ChunkData::GetName(static_cast<ChunkData::FloatItem>(i)));
    m_crc = map.GetNode("ChunkCRC");
}

DeviceChunkDecoder::~DeviceChunkDecoder() {
    std::shared_ptr<DeviceConnection> connection = m_connection.lock();
    if (!connection) return;
    try {
        NodeMapBase::MapLock lock(connection->NodeMap());
        if (m_attached) connection->NodeMap().DetachChunkData();
    } catch (...) {
        // Detaching never throws past the decoder's end.
    }
}

bool DeviceChunkDecoder::ChunkStart(const uint8_t* payload, size_t payloadSize, size_t imageSize, size_t& begin) {
    // The first chunk starts the payload; when it is the image, only what
    // follows it is copied.
    size_t first = 0, firstLength = 0;
    bool any = false;
    if (!WalkChunks(payload, payloadSize,
                    [&](const ChunkEntry& e) {
                        first = e.offset;
                        firstLength = e.length;
                        any = true;
                        return true;
                    }) ||
        !any)
        return false;
    begin = (first == 0 && firstLength >= imageSize && imageSize > 0) ? firstLength + kChunkTrailerBytes : 0;
    return true;
}

bool DeviceChunkDecoder::ReadCrc(const uint8_t* payload, size_t payloadSize, size_t imageSize, uint32_t& crc) const {
    if (!m_crc) return false;
    std::shared_ptr<DeviceConnection> connection = m_connection.lock();
    if (!connection) ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE, "camera " + m_cameraName + " was closed");
    size_t begin = 0;
    if (!ChunkStart(payload, payloadSize, imageSize, begin)) return false;
    GenApi::impl::ArvNodeMap& map = connection->NodeMap();
    NodeMapBase::MapLock lock(map);
    m_crcChunks.assign(payload + begin, payload + payloadSize);
    map.AttachChunkData(m_crcChunks.data(), m_crcChunks.size());
    int64_t value = 0;
    const bool found = ReadNumber(m_crc, value);
    if (m_attached)
        map.AttachChunkData(m_chunks.data(), m_chunks.size());
    else
        map.DetachChunkData();
    crc = static_cast<uint32_t>(value);
    return found;
}

bool DeviceChunkDecoder::Serves(const DeviceConnection* connection) const {
    return connection == m_connectionAddress && !m_connection.expired();
}

void DeviceChunkDecoder::Decode(const uint8_t* payload, size_t payloadSize, size_t imageSize, ChunkData& values,
                                ChunkCrc& crc) const {
    std::shared_ptr<DeviceConnection> connection = m_connection.lock();
    if (!connection)
        ORV_RAISE(ORVANE_ERR_NOT_AVAILABLE,
                  "camera " + m_cameraName + " was closed: its images' chunk data can no longer be decoded");
    size_t begin = 0;
    if (!ChunkStart(payload, payloadSize, imageSize, begin)) return; // no chunk layout: nothing to decode

    GenApi::impl::ArvNodeMap& map = connection->NodeMap();
    NodeMapBase::MapLock lock(map);
    m_chunks.assign(payload + begin, payload + payloadSize);
    map.AttachChunkData(m_chunks.data(), m_chunks.size());
    m_attached = true;
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i) {
        int64_t v = 0;
        if (ReadNumber(m_integers[i], v))
            ChunkDataAccess::SetInteger(values, static_cast<ChunkData::IntegerItem>(i), v);
    }
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) {
        double v = 0;
        if (ReadNumber(m_floats[i], v)) ChunkDataAccess::SetFloat(values, static_cast<ChunkData::FloatItem>(i), v);
    }
    int64_t value = 0;
    if (ReadNumber(m_crc, value)) {
        crc.present = true;
        crc.value = static_cast<uint32_t>(value);
    }
}

} // namespace internal
} // namespace Orvane
