// JPEG writer (TurboJPEG): compresses into memory, then writes the file.
#include <limits>
#include <memory>

#include <turbojpeg.h>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

struct TjHandleDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
struct TjBufferDeleter {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};

} // namespace

void WriteJPEG(const std::string& fileName, const PixelBuffer& image, const JPEGOption& option,
               const WriteSettings& settings) {
    CheckWritable(FileFormat_JPEG, image, fileName);
    if (option.quality < 1 || option.quality > 100)
        RaiseInvalid(fileName, "JPEG quality " + std::to_string(option.quality) + " is outside 1..100");
    int subsampling = TJSAMP_420;
    switch (option.chromaSubsampling) {
    case JPEGSubsampling_444: subsampling = TJSAMP_444; break;
    case JPEGSubsampling_422: subsampling = TJSAMP_422; break;
    case JPEGSubsampling_420: subsampling = TJSAMP_420; break;
    case JPEGSubsampling_440: subsampling = TJSAMP_440; break;
    case JPEGSubsampling_411: subsampling = TJSAMP_411; break;
    default: RaiseInvalid(fileName, "unknown JPEG chroma subsampling " + std::to_string(option.chromaSubsampling));
    }
    if (image.width > 65535 || image.height > 65535)
        RaiseInvalid(fileName, "a JPEG file holds at most 65535 pixels per side (" + image.Describe() + ")");
    if (image.Stride() > static_cast<size_t>(std::numeric_limits<int>::max()))
        RaiseInvalid(fileName, "the row stride " + std::to_string(image.Stride()) + " is too large for JPEG");
    int pixelFormat = TJPF_GRAY;
    switch (image.order) {
    case ChannelOrder::Gray:
        pixelFormat = TJPF_GRAY;
        subsampling = TJSAMP_GRAY;
        break;
    case ChannelOrder::RGB: pixelFormat = TJPF_RGB; break;
    case ChannelOrder::BGR: pixelFormat = TJPF_BGR; break;
    case ChannelOrder::RGBA: pixelFormat = TJPF_RGBX; break;
    case ChannelOrder::BGRA: pixelFormat = TJPF_BGRX; break;
    }
    const int flags = option.progressive != 0 ? TJFLAG_PROGRESSIVE : 0;

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    std::unique_ptr<void, TjHandleDeleter> handle(tjInitCompress());
    if (!handle)
        ORV_RAISE(ORVANE_ERR_OUT_OF_MEMORY,
                  SaveContext(fileName) + ": TurboJPEG could not start: " + tjGetErrorStr2(nullptr));
    unsigned char* jpeg = nullptr;
    unsigned long jpegSize = 0;
    const int rc =
        tjCompress2(handle.get(), static_cast<const unsigned char*>(image.data), static_cast<int>(image.width),
                    static_cast<int>(image.Stride()), static_cast<int>(image.height), pixelFormat, &jpeg, &jpegSize,
                    subsampling, option.quality, flags);
    std::unique_ptr<unsigned char, TjBufferDeleter> owned(jpeg);
    if (rc != 0)
        ORV_RAISE(ORVANE_ERR_IO, SaveContext(fileName) + ": JPEG compression failed: " + tjGetErrorStr2(handle.get()));

    file.Write(jpeg, jpegSize);
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
