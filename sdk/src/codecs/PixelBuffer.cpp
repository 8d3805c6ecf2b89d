#include "codecs/PixelBuffer.h"

#include <limits>

#include "core/Raise.h"

namespace Orvane {
namespace codecs {

size_t ChannelCount(ChannelOrder order) {
    switch (order) {
    case ChannelOrder::Gray: return 1;
    case ChannelOrder::RGB:
    case ChannelOrder::BGR: return 3;
    case ChannelOrder::RGBA:
    case ChannelOrder::BGRA: return 4;
    }
    return 0;
}

const char* ChannelOrderName(ChannelOrder order) {
    switch (order) {
    case ChannelOrder::Gray: return "Gray";
    case ChannelOrder::RGB: return "RGB";
    case ChannelOrder::BGR: return "BGR";
    case ChannelOrder::RGBA: return "RGBA";
    case ChannelOrder::BGRA: return "BGRA";
    }
    return "unknown channel order";
}

std::string PixelBuffer::Describe() const {
    return std::to_string(bitDepth) + "-bit " + ChannelOrderName(order) + " " + std::to_string(width) + "x" +
           std::to_string(height);
}

void ValidatePixelBuffer(const PixelBuffer& b, const std::string& fileName) {
    const std::string prefix = "Cannot save image file '" + fileName + "': ";
    if (ChannelCount(b.order) == 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  prefix + "unknown channel order " + std::to_string(static_cast<int>(b.order)));
    if (b.bitDepth != 8 && b.bitDepth != 16)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  prefix + "bit depth " + std::to_string(b.bitDepth) + " is neither 8 nor 16");
    if (b.data == nullptr) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, prefix + "the image has no pixel data");
    if (b.width == 0 || b.height == 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, prefix + "the image is empty (" + b.Describe() + ")");
    const size_t maxSize = std::numeric_limits<size_t>::max();
    if (b.width > maxSize / b.BytesPerPixel())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, prefix + "the row size of " + b.Describe() + " overflows");
    if (b.stride != 0 && b.stride < b.RowBytes())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, prefix + "stride " + std::to_string(b.stride) +
                                                   " is smaller than a row of " + std::to_string(b.RowBytes()) +
                                                   " bytes (" + b.Describe() + ")");
    if (b.height - 1 > (maxSize - b.RowBytes()) / b.Stride())
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, prefix + "the byte size of " + b.Describe() + " overflows");
}

} // namespace codecs
} // namespace Orvane
