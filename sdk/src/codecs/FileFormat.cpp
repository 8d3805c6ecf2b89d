// File formats: names, extensions, which buffers each writer takes, and the
// dispatch of WriteImageFile.
#include <algorithm>
#include <cctype>

#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

const char* FileFormatName(ImageFileFormat format) {
    switch (format) {
    case FileFormat_PGM: return "PGM";
    case FileFormat_PPM: return "PPM";
    case FileFormat_BMP: return "BMP";
    case FileFormat_JPEG: return "JPEG";
    case FileFormat_JPEG2000: return "JPEG 2000";
    case FileFormat_TIFF: return "TIFF";
    case FileFormat_PNG: return "PNG";
    case FileFormat_RAW: return "raw";
    case FileFormat_FromExt: break;
    }
    return "unknown";
}

namespace {

// The extension of the file name's last component, lower case, without the dot;
// empty when there is none.
std::string Extension(const std::string& fileName) {
    const size_t slash = fileName.rfind('/');
    const std::string name = slash == std::string::npos ? fileName : fileName.substr(slash + 1);
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos) return std::string();
    std::string extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool HasExtension(const std::string& fileName, const char* extension) { return Extension(fileName) == extension; }

} // namespace

ImageFileFormat FormatFromFileName(const std::string& fileName) {
    static const struct {
        const char* extension;
        ImageFileFormat format;
    } table[] = {{"png", FileFormat_PNG},      {"jpg", FileFormat_JPEG},  {"jpeg", FileFormat_JPEG},
                 {"tif", FileFormat_TIFF},     {"tiff", FileFormat_TIFF}, {"bmp", FileFormat_BMP},
                 {"ppm", FileFormat_PPM},      {"pgm", FileFormat_PGM},   {"jp2", FileFormat_JPEG2000},
                 {"j2k", FileFormat_JPEG2000}, {"raw", FileFormat_RAW}};
    const size_t slash = fileName.rfind('/');
    const std::string name = slash == std::string::npos ? fileName : fileName.substr(slash + 1);
    const size_t dot = name.rfind('.');
    const std::string known = "known extensions: .png .jpg .jpeg .tif .tiff .bmp .ppm .pgm .jp2 .j2k .raw";
    if (dot == std::string::npos || dot + 1 == name.size())
        RaiseInvalid(fileName, "the file name has no extension to take the format from (" + known + ")");
    const std::string extension = Extension(fileName);
    for (const auto& entry : table)
        if (extension == entry.extension) return entry.format;
    RaiseInvalid(fileName, "unknown file extension '." + name.substr(dot + 1) + "' (" + known + ")");
}

bool WriterAccepts(ImageFileFormat format, ChannelOrder order, int bitDepth) {
    if (bitDepth != 8 && bitDepth != 16) return false;
    if (ChannelCount(order) == 0) return false;
    const bool gray = order == ChannelOrder::Gray;
    const bool three = order == ChannelOrder::RGB || order == ChannelOrder::BGR;
    switch (format) {
    case FileFormat_PGM: return gray;
    case FileFormat_PPM: return three;
    case FileFormat_BMP:
    case FileFormat_JPEG: return bitDepth == 8;
    case FileFormat_PNG:
    case FileFormat_TIFF:
    case FileFormat_JPEG2000:
    case FileFormat_RAW: return true;
    case FileFormat_FromExt: break;
    }
    return false;
}

std::string SaveContext(const std::string& fileName) { return "Cannot save image file '" + fileName + "'"; }

void RaiseInvalid(const std::string& fileName, const std::string& reason) {
    ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, SaveContext(fileName) + ": " + reason);
}

void CheckWritable(ImageFileFormat format, const PixelBuffer& image, const std::string& fileName) {
    ValidatePixelBuffer(image, fileName);
    if (!WriterAccepts(format, image.order, image.bitDepth))
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, SaveContext(fileName) + ": " + FileFormatName(format) + " cannot store a " +
                                                image.Describe() + " image");
}

void CopyRowAsRGB(const PixelBuffer& image, size_t y, uint8_t* dst, bool swapBytes) {
    const uint8_t* src = image.Row(y);
    const size_t channels = image.Channels();
    const bool reorder = image.order == ChannelOrder::BGR || image.order == ChannelOrder::BGRA;
    if (image.bitDepth == 8) {
        if (!reorder) {
            std::memcpy(dst, src, image.RowBytes());
            return;
        }
        for (size_t x = 0; x < image.width; ++x, src += channels, dst += channels) {
            dst[0] = src[2];
            dst[1] = src[1];
            dst[2] = src[0];
            if (channels == 4) dst[3] = src[3];
        }
        return;
    }
    static const size_t identity[4] = {0, 1, 2, 3};
    static const size_t swapped[4] = {2, 1, 0, 3};
    const size_t* map = reorder ? swapped : identity;
    for (size_t x = 0; x < image.width; ++x, src += 2 * channels, dst += 2 * channels) {
        for (size_t c = 0; c < channels; ++c) {
            const uint8_t* s = src + 2 * map[c];
            dst[2 * c] = swapBytes ? s[1] : s[0];
            dst[2 * c + 1] = swapBytes ? s[0] : s[1];
        }
    }
}

void WriteImageFile(const std::string& fileName, const PixelBuffer& image, ImageFileFormat format,
                    const WriteSettings& settings) {
    if (format == FileFormat_FromExt) format = FormatFromFileName(fileName);
    switch (format) {
    case FileFormat_PGM: return WritePGM(fileName, image, PGMOption(), settings);
    case FileFormat_PPM: return WritePPM(fileName, image, PPMOption(), settings);
    case FileFormat_BMP: return WriteBMP(fileName, image, BMPOption(), settings);
    case FileFormat_JPEG: return WriteJPEG(fileName, image, JPEGOption(), settings);
    case FileFormat_JPEG2000: {
        JPEG2000Option option;
        option.codestream = HasExtension(fileName, "j2k") ? 1 : 0;
        return WriteJPEG2000(fileName, image, option, settings);
    }
    case FileFormat_TIFF: return WriteTIFF(fileName, image, TIFFOption(), settings);
    case FileFormat_PNG: return WritePNG(fileName, image, PNGOption(), settings);
    case FileFormat_RAW: return WriteRaw(fileName, image, settings);
    case FileFormat_FromExt: break;
    }
    RaiseInvalid(fileName, "unknown image file format " + std::to_string(static_cast<int>(format)));
}

} // namespace codecs
} // namespace Orvane
