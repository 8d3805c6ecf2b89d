// PGM and PPM writers (Netpbm formats): binary P5/P6 with big-endian 16-bit
// samples, or ASCII P2/P3 with lines of at most 70 characters.
#include <charconv>
#include <vector>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"

namespace Orvane {
namespace codecs {

namespace {

void WriteNetpbm(const std::string& fileName, const PixelBuffer& image, bool binary, bool color,
                 const WriteSettings& settings) {
    const unsigned maxValue = image.bitDepth == 16 ? 65535u : 255u;
    const char* magic = color ? (binary ? "P6" : "P3") : (binary ? "P5" : "P2");
    const std::string header = std::string(magic) + "\n" + std::to_string(image.width) + " " +
                               std::to_string(image.height) + "\n" + std::to_string(maxValue) + "\n";
    const size_t channels = image.Channels();
    const size_t samplesPerRow = image.width * channels;

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    file.Write(header.data(), header.size());
    if (binary) {
        const bool direct = image.bitDepth == 8 && image.order != ChannelOrder::BGR;
        std::vector<uint8_t> row(direct ? 0 : image.RowBytes());
        for (size_t y = 0; y < image.height; ++y) {
            if (direct) {
                file.Write(image.Row(y), image.RowBytes());
            } else {
                // Big-endian samples: bytes swapped on little-endian hosts.
                const bool swap = image.bitDepth == 16 && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
                CopyRowAsRGB(image, y, row.data(), swap);
                file.Write(row.data(), row.size());
            }
        }
    } else {
        // Each sample is followed by a space, or by a newline where the next
        // sample would pass column 70 and at the end of each image row.
        std::vector<char> text(samplesPerRow * 7 + 1);
        std::vector<uint8_t> row(image.RowBytes());
        for (size_t y = 0; y < image.height; ++y) {
            CopyRowAsRGB(image, y, row.data(), false);
            char* out = text.data();
            size_t column = 0;
            for (size_t i = 0; i < samplesPerRow; ++i) {
                const unsigned v = image.bitDepth == 16 ? LoadSample16(row.data() + 2 * i) : row[i];
                char digits[8];
                const auto res = std::to_chars(digits, digits + sizeof digits, v);
                const size_t len = static_cast<size_t>(res.ptr - digits);
                if (column != 0 && column + len + 1 > 70) {
                    out[-1] = '\n';
                    column = 0;
                }
                std::memcpy(out, digits, len);
                out += len;
                *out++ = ' ';
                column += len + 1;
            }
            out[-1] = '\n';
            file.Write(text.data(), static_cast<size_t>(out - text.data()));
        }
    }
    file.Commit();
}

} // namespace

void WritePGM(const std::string& fileName, const PixelBuffer& image, const PGMOption& option,
              const WriteSettings& settings) {
    CheckWritable(FileFormat_PGM, image, fileName);
    WriteNetpbm(fileName, image, option.binaryFile != 0, false, settings);
}

void WritePPM(const std::string& fileName, const PixelBuffer& image, const PPMOption& option,
              const WriteSettings& settings) {
    CheckWritable(FileFormat_PPM, image, fileName);
    WriteNetpbm(fileName, image, option.binaryFile != 0, true, settings);
}

} // namespace codecs
} // namespace Orvane
