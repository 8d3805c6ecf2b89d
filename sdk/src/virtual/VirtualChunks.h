// The chunk layout a virtual camera appends to a frame when ChunkModeActive is
// on: the image chunk (the image data, then its trailer), then every enabled
// chunk in the order of vcam::kChunks, the CRC chunk last when enabled. Each
// trailer holds the chunk ID and the data length, 32-bit big-endian; chunk
// values are big-endian like the registers that read them (ChunkFrameID reads
// an 8-byte integer at offset 0 of the FrameID chunk, ...). The layout's size
// is what the camera's ChunkPayloadSize (and so PayloadSize) announces.
#ifndef ORVANE_VIRTUAL_VIRTUAL_CHUNKS_H
#define ORVANE_VIRTUAL_VIRTUAL_CHUNKS_H

#include <cstddef>
#include <cstdint>

namespace Orvane {
namespace internal {

// The values of one frame's chunks (the image's own metadata and the
// camera's state when the frame started).
struct VirtualChunkValues {
    uint64_t frameId = 0;
    uint64_t timestamp = 0; // ns
    uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0;
    uint32_t pixelFormat = 0; // PFNC
    uint32_t linePitch = 0;   // bytes from one line to the next
    double exposureTime = 0;  // us
    double gain = 0;          // dB
    double blackLevel = 0;    // DN
    uint32_t dynamicRangeMin = 0, dynamicRangeMax = 0;
    uint32_t lineStatusAll = 0, exposureEndLineStatusAll = 0;
    uint64_t counterValue[2] = {0, 0};
    double timerValue[2] = {0, 0};
    uint32_t sequencerSetActive = 0;
    uint64_t timestampLatchValue = 0;
};

// Bit i of an enabled-chunk mask stands for vcam::kChunks[i] (bit 0, the
// image chunk, is implied).
// Bytes the chunk layout adds after the image data (trailers included).
size_t VirtualChunkBytes(uint64_t enabledMask);
// Writes the layout after imageSize bytes of image data at payload. Returns
// the payload size (image and chunks), or 0 when capacity is too small.
size_t WriteVirtualChunks(uint8_t* payload, size_t imageSize, size_t capacity, uint64_t enabledMask,
                          const VirtualChunkValues& values);

} // namespace internal
} // namespace Orvane

#endif
