// DeviceChunkDecoder: decodes an image's chunk data through its camera's
// GenICam chunk features (the device node map's chunk ports), for every kind
// of camera: GigE Vision cameras that send chunks and virtual cameras alike.
//
// Decode copies the image's chunks (everything after the image chunk, a few
// hundred bytes) into the decoder's own buffer, attaches that buffer to the
// node map (ArvNodeMap::AttachChunkData) and reads each Chunk* feature that
// ChunkData has a getter for, plus ChunkCRC. The copy stays attached until
// the next decode or the decoder's end, so after Image::GetChunkData the
// node map's Chunk* features read the chunk data of that image.
//
// Ownership and locks: one decoder per opened device (DeviceConnection), made by
// the camera's Acquisition and shared with every image of its acquisitions.
// It holds the connection weakly: once the camera is closed, Decode raises
// ORVANE_ERR_NOT_AVAILABLE. Decode runs on the caller's thread with the node
// map's lock held for its whole length; that lock also guards the decoder's
// buffer.
#ifndef ORVANE_ACQUISITION_DEVICE_CHUNK_DECODER_H
#define ORVANE_ACQUISITION_DEVICE_CHUNK_DECODER_H

#include <memory>
#include <string>
#include <vector>

#include "image/ChunkDecoder.h"

namespace Orvane {
namespace GenApi {
class INode;
}
namespace internal {

class DeviceConnection;

class DeviceChunkDecoder : public ChunkDecoder {
public:
    DeviceChunkDecoder(const std::shared_ptr<DeviceConnection>& connection, std::string cameraName);
    ~DeviceChunkDecoder() override;

    void Decode(const uint8_t* payload, size_t payloadSize, size_t imageSize, ChunkData& values,
                ChunkCrc& crc) const override;

    bool Serves(const DeviceConnection* connection) const;

    // The value of the payload's CRC chunk (ChunkCRC), for the stream's CRC
    // check (StreamCRCCheckEnable); false when the payload has none. Leaves
    // the node map's chunk data as it was. Raises like Decode.
    bool ReadCrc(const uint8_t* payload, size_t payloadSize, size_t imageSize, uint32_t& crc) const;

private:
    std::weak_ptr<DeviceConnection> m_connection;
    const DeviceConnection* m_connectionAddress;
    std::string m_cameraName;
    // The chunk features, looked up once (valid as long as the connection).
    GenApi::INode* m_integers[ChunkData::IntegerItemCount];
    GenApi::INode* m_floats[ChunkData::FloatItemCount];
    GenApi::INode* m_crc = nullptr;
    // Where the chunks after the image start; false without a chunk layout.
    static bool ChunkStart(const uint8_t* payload, size_t payloadSize, size_t imageSize, size_t& begin);

    mutable std::vector<uint8_t> m_chunks;    // the attached copy; node map lock
    mutable std::vector<uint8_t> m_crcChunks; // ReadCrc's copy; node map lock
    mutable bool m_attached = false;          // node map lock
};

} // namespace internal
} // namespace Orvane

#endif
