// BMP writer. Layouts written:
//   Gray (8-bit)        BITMAPINFOHEADER, 8 bits per pixel, 256-entry gray palette
//   RGB, BGR            BITMAPINFOHEADER, 24 bits per pixel (B, G, R), BI_RGB
//   RGBA, BGRA          BITMAPV4HEADER, 32 bits per pixel (B, G, R, A), BI_BITFIELDS
//                       with alpha mask 0xFF000000; with keepAlpha 0: 24 bits as above
// Rows are padded to 4 bytes and stored bottom-up (positive height) unless
// topDown is set (negative height). Resolution: 2835 pixels per metre (72 dpi).
#include <cstdint>
#include <limits>
#include <vector>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"

namespace Orvane {
namespace codecs {

namespace {

const uint32_t kFileHeaderSize = 14;
const uint32_t kInfoHeaderSize = 40;
const uint32_t kV4HeaderSize = 108;
const uint32_t kPixelsPerMetre = 2835;

} // namespace

void WriteBMP(const std::string& fileName, const PixelBuffer& image, const BMPOption& option,
              const WriteSettings& settings) {
    CheckWritable(FileFormat_BMP, image, fileName);
    const size_t channels = image.Channels();
    const bool gray = channels == 1;
    const bool alpha = channels == 4 && option.keepAlpha != 0;
    const uint32_t bitsPerPixel = gray ? 8 : (alpha ? 32 : 24);
    const uint32_t infoSize = alpha ? kV4HeaderSize : kInfoHeaderSize;
    const uint32_t paletteSize = gray ? 256 * 4 : 0;
    const uint32_t dataOffset = kFileHeaderSize + infoSize + paletteSize;

    const uint64_t maxDimension = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
    if (image.width > maxDimension || image.height > maxDimension)
        RaiseInvalid(fileName, "a BMP file holds at most 2147483647 pixels per side (" + image.Describe() + ")");
    const uint64_t rowSize = (static_cast<uint64_t>(image.width) * (bitsPerPixel / 8) + 3) & ~uint64_t(3);
    const uint64_t imageSize = rowSize * image.height;
    if (imageSize > std::numeric_limits<uint32_t>::max() - dataOffset)
        RaiseInvalid(fileName, "a BMP file holds at most 4 GiB (" + image.Describe() + ")");
    const uint32_t fileSize = dataOffset + static_cast<uint32_t>(imageSize);

    std::vector<uint8_t> header(dataOffset, 0);
    uint8_t* h = header.data();
    h[0] = 'B';
    h[1] = 'M';
    StoreLE32(h + 2, fileSize);
    StoreLE32(h + 10, dataOffset);
    uint8_t* info = h + kFileHeaderSize;
    StoreLE32(info + 0, infoSize);
    StoreLE32(info + 4, static_cast<uint32_t>(image.width));
    const int32_t height =
        option.topDown != 0 ? -static_cast<int32_t>(image.height) : static_cast<int32_t>(image.height);
    StoreLE32(info + 8, static_cast<uint32_t>(height));
    StoreLE16(info + 12, 1);
    StoreLE16(info + 14, static_cast<uint16_t>(bitsPerPixel));
    StoreLE32(info + 16, alpha ? 3u : 0u); // BI_BITFIELDS or BI_RGB
    StoreLE32(info + 20, static_cast<uint32_t>(imageSize));
    StoreLE32(info + 24, kPixelsPerMetre);
    StoreLE32(info + 28, kPixelsPerMetre);
    StoreLE32(info + 32, gray ? 256u : 0u); // colours used
    StoreLE32(info + 36, 0);                // colours important: all
    if (alpha) {
        StoreLE32(info + 40, 0x00FF0000u); // red mask
        StoreLE32(info + 44, 0x0000FF00u); // green mask
        StoreLE32(info + 48, 0x000000FFu); // blue mask
        StoreLE32(info + 52, 0xFF000000u); // alpha mask
        StoreLE32(info + 56, 0x73524742u); // colour space 'sRGB'
        // Endpoints and gamma (bytes 60..107) stay zero: unused with sRGB.
    }
    if (gray) {
        uint8_t* palette = info + infoSize;
        for (uint32_t i = 0; i < 256; ++i) {
            palette[4 * i + 0] = static_cast<uint8_t>(i);
            palette[4 * i + 1] = static_cast<uint8_t>(i);
            palette[4 * i + 2] = static_cast<uint8_t>(i);
        }
    }

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    file.Write(header.data(), header.size());
    std::vector<uint8_t> row(static_cast<size_t>(rowSize), 0);
    const bool bgrSource = image.order == ChannelOrder::BGR || image.order == ChannelOrder::BGRA;
    const size_t outChannels = bitsPerPixel / 8;
    for (size_t i = 0; i < image.height; ++i) {
        const size_t y = option.topDown != 0 ? i : image.height - 1 - i;
        const uint8_t* src = image.Row(y);
        if (gray || (bgrSource && outChannels == channels)) {
            std::memcpy(row.data(), src, image.RowBytes());
        } else {
            uint8_t* dst = row.data();
            for (size_t x = 0; x < image.width; ++x, src += channels, dst += outChannels) {
                dst[0] = bgrSource ? src[0] : src[2];
                dst[1] = src[1];
                dst[2] = bgrSource ? src[2] : src[0];
                if (outChannels == 4) dst[3] = src[3];
            }
        }
        file.Write(row.data(), row.size());
    }
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
