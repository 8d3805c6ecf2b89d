#include "processing/Jpeg.h"

#include <turbojpeg.h>

#include <memory>
#include <string>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

struct Decompressor {
    Decompressor() : handle(tjInitDecompress()) {
        if (handle == nullptr) ORV_RAISE(ORVANE_ERR_OUT_OF_MEMORY, "Cannot create a JPEG decompressor");
    }
    ~Decompressor() { tjDestroy(handle); }
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;
    tjhandle handle;
};

JpegHeader Header(tjhandle handle, const uint8_t* data, size_t size) {
    if (data == nullptr || size == 0) ORV_RAISE(ORVANE_ERR_CORRUPT_DATA, "The JPEG payload is empty");
    if (size > 0xFFFFFFFFul) ORV_RAISE(ORVANE_ERR_CORRUPT_DATA, "The JPEG payload is larger than 4 GiB");
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(handle, data, static_cast<unsigned long>(size), &width, &height, &subsampling,
                            &colorspace) != 0)
        ORV_RAISE(ORVANE_ERR_CORRUPT_DATA,
                  std::string("The payload is not a readable JPEG file: ") + tjGetErrorStr2(handle));
    JpegHeader h;
    h.width = static_cast<size_t>(width);
    h.height = static_cast<size_t>(height);
    h.gray = colorspace == TJCS_GRAY;
    return h;
}

} // namespace

JpegHeader ReadJpegHeader(const uint8_t* data, size_t size) {
    Decompressor d;
    return Header(d.handle, data, size);
}

DecodedJpeg DecodeJpeg(const uint8_t* data, size_t size) {
    Decompressor d;
    DecodedJpeg out;
    out.header = Header(d.handle, data, size);
    const int format = out.header.gray ? TJPF_GRAY : TJPF_RGB;
    const size_t bytes = out.header.width * out.header.height * static_cast<size_t>(tjPixelSize[format]);
    out.pixels.resize(bytes);
    if (tjDecompress2(d.handle, data, static_cast<unsigned long>(size), out.pixels.data(),
                      static_cast<int>(out.header.width), 0, static_cast<int>(out.header.height), format, 0) != 0 &&
        tjGetErrorCode(d.handle) == TJERR_FATAL)
        ORV_RAISE(ORVANE_ERR_CORRUPT_DATA,
                  std::string("The JPEG payload cannot be decompressed: ") + tjGetErrorStr2(d.handle));
    return out;
}

} // namespace internal
} // namespace Orvane
