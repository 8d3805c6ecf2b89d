// Big-endian numbers in byte buffers: the byte order of the virtual camera's
// registers, of the chunk data it appends to frames and of its event data.
// Every part of the virtual camera encodes and decodes with these.
#ifndef ORVANE_VIRTUAL_BIG_ENDIAN_H
#define ORVANE_VIRTUAL_BIG_ENDIAN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Orvane {
namespace internal {

// The unsigned number held by the `length` bytes at `p`, most significant
// first. At most 8 bytes are read.
inline uint64_t LoadBigEndian(const uint8_t* p, size_t length) {
    uint64_t v = 0;
    for (size_t i = 0; i < length && i < 8; ++i) v = (v << 8) | p[i];
    return v;
}

// Writes the low `length` bytes of `value` at `p`, most significant first.
// At most 8 bytes are written.
inline void StoreBigEndian(uint8_t* p, size_t length, uint64_t value) {
    if (length > 8) length = 8;
    for (size_t i = 0; i < length; ++i) p[length - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
}

inline uint32_t LoadBigEndian32(const uint8_t* p) { return static_cast<uint32_t>(LoadBigEndian(p, 4)); }
inline void StoreBigEndian32(uint8_t* p, uint32_t value) { StoreBigEndian(p, 4, value); }
inline void StoreBigEndian64(uint8_t* p, uint64_t value) { StoreBigEndian(p, 8, value); }

// IEEE 754 doubles, as 8 big-endian bytes.
inline double LoadBigEndianDouble(const uint8_t* p) {
    const uint64_t bits = LoadBigEndian(p, 8);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

inline void StoreBigEndianDouble(uint8_t* p, double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    StoreBigEndian(p, 8, bits);
}

} // namespace internal
} // namespace Orvane

#endif
