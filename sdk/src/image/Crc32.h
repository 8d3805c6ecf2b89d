// CRC-32 as zlib's crc32 computes it (IEEE 802.3 polynomial 0xEDB88320,
// reflected, initial value and final XOR 0xFFFFFFFF): the checksum of the CRC
// chunk that cameras append to an image.
#ifndef ORVANE_IMAGE_CRC32_H
#define ORVANE_IMAGE_CRC32_H

#include <cstddef>
#include <cstdint>

namespace Orvane {
namespace internal {

// The CRC of `size` bytes at `data`; `crc` continues an earlier checksum
// (0 to start), so Crc32(b, nb, Crc32(a, na)) is the CRC of a followed by b.
uint32_t Crc32(const void* data, size_t size, uint32_t crc = 0);

} // namespace internal
} // namespace Orvane

#endif
