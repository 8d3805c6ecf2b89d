#include "image/ChunkLayout.h"

namespace Orvane {
namespace internal {

uint64_t ChunkLayoutId(const uint8_t* payload, size_t size) {
    // FNV-1a over (id, length) pairs, last chunk first.
    uint64_t hash = 0xCBF29CE484222325ull;
    size_t chunks = 0;
    auto mix = [&hash](uint64_t v) {
        for (int i = 0; i < 8; ++i) {
            hash ^= (v >> (8 * i)) & 0xFF;
            hash *= 0x100000001B3ull;
        }
    };
    const bool consistent = WalkChunks(payload, size, [&](const ChunkEntry& e) {
        mix(e.id);
        mix(e.length);
        return ++chunks < 4096;
    });
    if (!consistent || chunks == 0) return 0;
    return hash ? hash : 1;
}

} // namespace internal
} // namespace Orvane
