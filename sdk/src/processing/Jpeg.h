// JPEG payloads, decompressed with TurboJPEG.
#ifndef ORVANE_PROCESSING_JPEG_H
#define ORVANE_PROCESSING_JPEG_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {

struct JpegHeader {
    size_t width = 0;
    size_t height = 0;
    bool gray = false; // single-component (greyscale) JPEG
};

// Reads the header of a JPEG file; raises ORVANE_ERR_CORRUPT_DATA when it is not one.
JpegHeader ReadJpegHeader(const uint8_t* data, size_t size);

// Decompresses a JPEG file to Mono8 (greyscale files) or RGB8 rows without padding.
struct DecodedJpeg {
    JpegHeader header;
    std::vector<uint8_t> pixels;
};
DecodedJpeg DecodeJpeg(const uint8_t* data, size_t size);

} // namespace internal
} // namespace Orvane

#endif
