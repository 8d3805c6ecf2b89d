#include "processing/ImageAdapter.h"

#include <algorithm>
#include <string>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

bool IsJpeg(const Image& image) {
    return image.GetTLPayloadType() == PayloadType_JPEG || image.GetPixelFormat() == PixelFormat_JPEGMono8 ||
           image.GetPixelFormat() == PixelFormat_JPEGColor8;
}

ImageView ViewOf(const Image& image, const char* what) {
    if (image.GetData() == nullptr)
        ORV_RAISE(ORVANE_ERR_INVALID_BUFFER, std::string("The ") + what + " image has no data");
    ImageView v;
    v.data = static_cast<const uint8_t*>(image.GetData());
    v.size = image.GetSize();
    v.width = image.GetWidth();
    v.height = image.GetHeight();
    v.format = image.GetPixelFormat();
    v.jpeg = IsJpeg(image);
    if (v.jpeg) {
        // A stream image may hold fewer valid bytes than its buffer.
        if (image.GetValidPayloadSize() != 0) v.size = std::min(v.size, image.GetValidPayloadSize());
        return v;
    }
    const PixelFormatInfo* info = FindPixelFormat(v.format);
    if (info != nullptr && (v.width * info->bitsPerPixel) % 8 == 0) v.stride = image.GetStride();
    return v;
}

MutableImageView MutableViewOf(Image& image, const char* what) {
    const ImageView v = ViewOf(image, what);
    return MutableImageView{static_cast<uint8_t*>(image.GetData()), v.size, v.width, v.height, v.stride, v.format};
}

} // namespace internal
} // namespace Orvane
