#include "virtual/VirtualChunks.h"

#include <cstring>
#include <iterator>

#include "image/Crc32.h"
#include "virtual/BigEndian.h"
#include "virtual/VirtualCameraRegisters.h"

namespace Orvane {
namespace internal {

namespace {

// Writes the data of chunk `id` (length bytes) at p.
void WriteData(uint8_t* p, uint32_t id, uint32_t length, const VirtualChunkValues& v) {
    std::memset(p, 0, length);
    namespace c = vcam::chunk;
    switch (id) {
    case c::FrameID: StoreBigEndian64(p, v.frameId); break;
    case c::Timestamp: StoreBigEndian64(p, v.timestamp); break;
    case c::Width: StoreBigEndian32(p, v.width); break;
    case c::Height: StoreBigEndian32(p, v.height); break;
    case c::OffsetX: StoreBigEndian32(p, v.offsetX); break;
    case c::OffsetY: StoreBigEndian32(p, v.offsetY); break;
    case c::PixelFormat: StoreBigEndian32(p, v.pixelFormat); break;
    case c::LinePitch: StoreBigEndian32(p, v.linePitch); break;
    case c::ExposureTime: StoreBigEndianDouble(p, v.exposureTime); break;
    case c::Gain: StoreBigEndianDouble(p, v.gain); break;
    case c::BlackLevel: StoreBigEndianDouble(p, v.blackLevel); break;
    case c::PixelDynamicRangeMin: StoreBigEndian32(p, v.dynamicRangeMin); break;
    case c::PixelDynamicRangeMax: StoreBigEndian32(p, v.dynamicRangeMax); break;
    case c::LineStatusAll: StoreBigEndian32(p, v.lineStatusAll); break;
    case c::ExposureEndLineStatusAll: StoreBigEndian32(p, v.exposureEndLineStatusAll); break;
    case c::CounterValue:
        StoreBigEndian64(p, v.counterValue[0]);
        if (length >= 16) StoreBigEndian64(p + 8, v.counterValue[1]);
        break;
    case c::TimerValue:
        StoreBigEndianDouble(p, v.timerValue[0]);
        if (length >= 16) StoreBigEndianDouble(p + 8, v.timerValue[1]);
        break;
    case c::SequencerSetActive: StoreBigEndian32(p, v.sequencerSetActive); break;
    case c::TimestampLatchValue: StoreBigEndian64(p, v.timestampLatchValue); break;
    default: break;
    }
}

constexpr size_t kChunkCount = std::size(vcam::kChunks);
static_assert(kChunkCount <= 64, "chunk masks hold 64 chunks");

} // namespace

size_t VirtualChunkBytes(uint64_t enabledMask) {
    size_t bytes = vcam::kChunkTrailerSize; // the image chunk's trailer
    for (size_t i = 0; i < kChunkCount; ++i)
        if (vcam::kChunks[i].id != vcam::chunk::Image && (enabledMask >> i & 1))
            bytes += vcam::kChunks[i].length + vcam::kChunkTrailerSize;
    return bytes;
}

size_t WriteVirtualChunks(uint8_t* payload, size_t imageSize, size_t capacity, uint64_t enabledMask,
                          const VirtualChunkValues& values) {
    const size_t total = imageSize + VirtualChunkBytes(enabledMask);
    if (total > capacity || imageSize > 0xFFFFFFFFu) return 0;
    uint8_t* p = payload + imageSize;
    StoreBigEndian32(p, vcam::chunk::Image);
    StoreBigEndian32(p + 4, static_cast<uint32_t>(imageSize));
    p += vcam::kChunkTrailerSize;
    bool crc = false;
    for (size_t i = 0; i < kChunkCount; ++i) {
        const vcam::ChunkInfo& chunk = vcam::kChunks[i];
        if (chunk.id == vcam::chunk::Image || !(enabledMask >> i & 1)) continue;
        if (chunk.id == vcam::chunk::CRC) {
            crc = true;
            continue;
        }
        WriteData(p, chunk.id, chunk.length, values);
        p += chunk.length;
        StoreBigEndian32(p, chunk.id);
        StoreBigEndian32(p + 4, chunk.length);
        p += vcam::kChunkTrailerSize;
    }
    if (crc) {
        StoreBigEndian32(p, Crc32(payload, imageSize));
        StoreBigEndian32(p + 4, vcam::chunk::CRC);
        StoreBigEndian32(p + 8, 4);
        p += 4 + vcam::kChunkTrailerSize;
    }
    return static_cast<size_t>(p - payload);
}

} // namespace internal
} // namespace Orvane
