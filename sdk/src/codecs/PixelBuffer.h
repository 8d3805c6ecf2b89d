// PixelBuffer: a view of uncompressed pixels in memory, the input of the image
// file writers. The buffer does not own its pixels.
#ifndef ORVANE_CODECS_PIXEL_BUFFER_H
#define ORVANE_CODECS_PIXEL_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvane {
namespace codecs {

// Order of the channels of one pixel, first byte (or 16-bit sample) first.
enum class ChannelOrder { Gray, RGB, BGR, RGBA, BGRA };

// 1, 3 or 4.
size_t ChannelCount(ChannelOrder order);
// "Gray", "RGB", "BGR", "RGBA" or "BGRA".
const char* ChannelOrderName(ChannelOrder order);

struct PixelBuffer {
    const void* data = nullptr; // first byte of the first row
    size_t width = 0;           // pixels per row, at least 1
    size_t height = 0;          // rows, at least 1
    size_t stride = 0;          // bytes from the start of one row to the next; 0: rows packed without gaps
    ChannelOrder order = ChannelOrder::Gray;
    int bitDepth = 8; // bits per sample, 8 or 16; 16-bit samples are in host byte order

    size_t Channels() const { return ChannelCount(order); }
    size_t BytesPerSample() const { return bitDepth == 16 ? 2 : 1; }
    size_t BytesPerPixel() const { return Channels() * BytesPerSample(); }
    // Bytes of pixel data in one row (without stride padding).
    size_t RowBytes() const { return width * BytesPerPixel(); }
    // The effective stride: stride, or RowBytes() when stride is 0.
    size_t Stride() const { return stride != 0 ? stride : RowBytes(); }
    const uint8_t* Row(size_t y) const { return static_cast<const uint8_t*>(data) + y * Stride(); }
    // For messages: for example "16-bit RGB 640x480".
    std::string Describe() const;
};

// Raises ORVANE_ERR_INVALID_ARGUMENT (naming fileName) when the buffer is not
// usable: null data, zero size, bit depth other than 8 or 16, unknown channel
// order, stride smaller than a row, or sizes whose byte count overflows size_t.
void ValidatePixelBuffer(const PixelBuffer& buffer, const std::string& fileName);

} // namespace codecs
} // namespace Orvane

#endif
