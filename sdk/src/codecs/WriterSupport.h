// Helpers shared by the image file writers: argument checks with uniform
// messages, byte order, and reordering rows into file channel order.
#ifndef ORVANE_CODECS_WRITER_SUPPORT_H
#define ORVANE_CODECS_WRITER_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "codecs/ImageWriters.h"

namespace Orvane {
namespace codecs {

// "Cannot save image file '<fileName>'": the start of every writer message.
std::string SaveContext(const std::string& fileName);

// Validates the buffer and raises ORVANE_ERR_NOT_SUPPORTED unless the format's
// writer takes it.
void CheckWritable(ImageFileFormat format, const PixelBuffer& image, const std::string& fileName);

// Raises ORVANE_ERR_INVALID_ARGUMENT: "<SaveContext>: <reason>".
[[noreturn]] void RaiseInvalid(const std::string& fileName, const std::string& reason);

inline void StoreLE16(uint8_t* p, uint16_t v) {
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
}
inline void StoreLE32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline void StoreLE64(uint8_t* p, uint64_t v) {
    for (int i = 0; i < 8; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline uint16_t LoadLE16(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t LoadLE32(const uint8_t* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t LoadLE64(const uint8_t* p) { return uint64_t(LoadLE32(p)) | (uint64_t(LoadLE32(p + 4)) << 32); }

// A 16-bit sample of a host-order buffer at any alignment.
inline uint16_t LoadSample16(const uint8_t* p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}

// Copies one row into dst in RGB(A) order (BGR and BGRA are swapped; other
// orders are copied). With swapBytes, 16-bit samples are byte-swapped too.
void CopyRowAsRGB(const PixelBuffer& image, size_t y, uint8_t* dst, bool swapBytes);

} // namespace codecs
} // namespace Orvane

#endif
