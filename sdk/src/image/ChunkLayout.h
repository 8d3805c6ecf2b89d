// The chunk layout of a payload, as GigE Vision and the virtual cameras send
// it: chunks one after the other, each chunk's data followed by an 8-byte
// trailer holding its chunk ID and its data length (both 32-bit big-endian).
// The last trailer ends the payload, so the layout is read from the end
// backwards; the first chunk is normally the image.
#ifndef ORVANE_IMAGE_CHUNK_LAYOUT_H
#define ORVANE_IMAGE_CHUNK_LAYOUT_H

#include <cstddef>
#include <cstdint>

namespace Orvane {
namespace internal {

constexpr size_t kChunkTrailerBytes = 8;

struct ChunkEntry {
    uint32_t id;
    size_t offset; // of the chunk's data from the payload's start
    size_t length; // bytes of data
};

// Walks the layout of payload[0..size) from its end. Calls visit(entry) for
// each chunk, last chunk first, until visit returns false or the walk reaches
// the payload's start. Returns true when the walk ended exactly at the start
// (a consistent layout), false when a length points outside the payload.
template <class Visit>
bool WalkChunks(const uint8_t* payload, size_t size, Visit&& visit) {
    size_t end = size;
    while (end > 0) {
        if (end < kChunkTrailerBytes) return false;
        const uint8_t* t = payload + end - kChunkTrailerBytes;
        const uint32_t id = uint32_t(t[0]) << 24 | uint32_t(t[1]) << 16 | uint32_t(t[2]) << 8 | t[3];
        const size_t length = size_t(t[4]) << 24 | size_t(t[5]) << 16 | size_t(t[6]) << 8 | t[7];
        const size_t room = end - kChunkTrailerBytes;
        if (length > room) return false;
        end = room - length;
        if (!visit(ChunkEntry{id, end, length})) return true;
    }
    return true;
}

// An identifier of the layout (its chunk IDs and lengths, hashed); 0 when the
// payload has no consistent layout.
uint64_t ChunkLayoutId(const uint8_t* payload, size_t size);

} // namespace internal
} // namespace Orvane

#endif
