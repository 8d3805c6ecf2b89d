// Internal side of chunk data: how producers of images fill Orvane::ChunkData
// and how an image's chunk layout is decoded.
#ifndef ORVANE_IMAGE_CHUNK_DECODER_H
#define ORVANE_IMAGE_CHUNK_DECODER_H

#include <cstddef>
#include <cstdint>

#include "Orvane/ChunkData.h"

namespace Orvane {
namespace internal {

class ChunkDataAccess {
public:
    static void Clear(ChunkData& data);
    static void SetInteger(ChunkData& data, ChunkData::IntegerItem item, int64_t value);
    static void SetFloat(ChunkData& data, ChunkData::FloatItem item, double value);
};

// The CRC chunk of a payload, as its decoder found it.
struct ChunkCrc {
    bool present = false;
    uint32_t value = 0;
};

// Turns the chunk layout at the end of a payload into values. The acquisition
// code attaches the decoder of the camera to each stream image; Image calls
// Decode once per image, lazily, from whatever thread first asks for the
// image's chunk data (decoders are shared by the images of an acquisition and
// must be callable from any thread). Decode raises an SDK error when it
// cannot decode at all (the camera was closed, the layout is corrupt); chunks
// the payload lacks are simply left absent in `values`.
class ChunkDecoder {
public:
    virtual ~ChunkDecoder() = default;
    // payload: the image data followed by its chunk data, payloadSize bytes in
    // all; imageSize: the bytes of image data at its start.
    virtual void Decode(const uint8_t* payload, size_t payloadSize, size_t imageSize, ChunkData& values,
                        ChunkCrc& crc) const = 0;
};

} // namespace internal
} // namespace Orvane

#endif
