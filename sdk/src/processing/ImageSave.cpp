// Image::Save: choosing what a file format can store, converting to it when
// needed, and handing the pixels to the writers.
#include <functional>

#include "Orvane/Image.h"
#include "Orvane/ImageProcessor.h"
#include "codecs/ImageWriters.h"
#include "core/Raise.h"
#include "image/ImageAccess.h"
#include "image/PixelFormatInfo.h"
#include "processing/Convert.h"
#include "processing/ImageAdapter.h"

namespace Orvane {

using codecs::ChannelOrder;
using codecs::PixelBuffer;
using internal::FindPixelFormat;
using internal::PixelFamily;
using internal::PixelFormatInfo;

namespace {

// The pixel formats the writers take as they are: grey and RGB/BGR(a), 8 and 16 bits.
struct DirectFormat {
    PixelFormatEnums format;
    ChannelOrder order;
    int depth;
};
constexpr DirectFormat kDirectFormats[] = {
    {PixelFormat_Mono8, ChannelOrder::Gray, 8},   {PixelFormat_Mono16, ChannelOrder::Gray, 16},
    {PixelFormat_RGB8, ChannelOrder::RGB, 8},     {PixelFormat_BGR8, ChannelOrder::BGR, 8},
    {PixelFormat_RGBa8, ChannelOrder::RGBA, 8},   {PixelFormat_BGRa8, ChannelOrder::BGRA, 8},
    {PixelFormat_RGB16, ChannelOrder::RGB, 16},   {PixelFormat_BGR16, ChannelOrder::BGR, 16},
    {PixelFormat_RGBa16, ChannelOrder::RGBA, 16}, {PixelFormat_BGRa16, ChannelOrder::BGRA, 16}};

bool DirectLayout(PixelFormatEnums format, ChannelOrder& order, int& depth) {
    for (const DirectFormat& d : kDirectFormats) {
        if (d.format != format) continue;
        order = d.order;
        depth = d.depth;
        return true;
    }
    return false;
}

PixelFormatEnums Canonical(PixelFormatEnums format) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    return info && info->aliasOf != UNKNOWN_PIXELFORMAT ? info->aliasOf : format;
}

const char* Name(PixelFormatEnums format) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    return info ? info->name : "unknown";
}

// The format an image is converted to before the writer gets it: grey or
// RGB, 16 bits when the source has more than 8 and the file can hold them.
PixelFormatEnums Target(const PixelFormatInfo& info, ImageFileFormat file) {
    const bool deep = info.bitsPerComponent > 8;
    switch (info.family) {
    case PixelFamily::Mono:
    case PixelFamily::Raw:
    case PixelFamily::Polarized:
    case PixelFamily::Confidence:
        return deep && codecs::WriterAccepts(file, ChannelOrder::Gray, 16) ? PixelFormat_Mono16 : PixelFormat_Mono8;
    case PixelFamily::Bayer:
    case PixelFamily::Rgb:
    case PixelFamily::Yuv:
    case PixelFamily::Compressed:
        return deep && codecs::WriterAccepts(file, ChannelOrder::RGB, 16) ? PixelFormat_RGB16 : PixelFormat_RGB8;
    default: return UNKNOWN_PIXELFORMAT;
    }
}

// The image's pixels as the writers take them.
PixelBuffer BufferOf(const Image& image, ChannelOrder order, int depth) {
    PixelBuffer buffer;
    buffer.data = image.GetData();
    buffer.width = image.GetWidth();
    buffer.height = image.GetHeight();
    buffer.stride = image.GetStride();
    buffer.order = order;
    buffer.bitDepth = depth;
    return buffer;
}

// Saves `image` as `file`, calling write with the pixels in a form the
// writer takes.
void SaveAs(const Image& image, const std::string& fileName, ImageFileFormat file,
            const std::function<void(const PixelBuffer&)>& write) {
    if (!image.GetData())
        ORV_RAISE(ORVANE_ERR_INVALID_BUFFER, "Cannot save image file '" + fileName + "': the image has no data");
    if (file == FileFormat_RAW) {
        codecs::WriteRawBytes(fileName, image.GetData(), image.GetSize());
        return;
    }
    if (file == FileFormat_JPEG && internal::IsJpeg(image)) {
        codecs::WriteRawBytes(fileName, image.GetData(), image.GetSize());
        return;
    }
    const PixelFormatEnums format = Canonical(image.GetPixelFormat());
    ChannelOrder order = ChannelOrder::Gray;
    int depth = 8;
    if (DirectLayout(format, order, depth) && codecs::WriterAccepts(file, order, depth)) {
        write(BufferOf(image, order, depth));
        return;
    }
    const PixelFormatInfo* info = FindPixelFormat(format);
    const PixelFormatEnums target =
        info ? Target(*info, internal::IsJpeg(image) ? FileFormat_PNG : file) : UNKNOWN_PIXELFORMAT;
    if (target == UNKNOWN_PIXELFORMAT || !internal::IsConversionSupported(format, target))
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, std::string("Cannot save a ") + Name(format) + " image as " +
                                                codecs::FileFormatName(file) + ": no conversion to a format it stores");
    // Convert a borrowed view of this image (no copy of the source).
    ImagePtr source = internal::ImageAccess::NewImage();
    internal::ImageAccess::Attach(*source, internal::ImageAccess::Metadata(image),
                                  static_cast<uint8_t*>(image.GetData()), image.GetBufferSize(), nullptr, nullptr);
    ImagePtr converted = Image::Create();
    ImageProcessor processor;
    processor.SetColorProcessing(COLOR_PROCESSING_DEFAULT);
    processor.Convert(source, converted, target);
    DirectLayout(target, order, depth);
    write(BufferOf(*converted, order, depth));
}

// Saves in one format with the caller's options for its writer.
template <class Option>
void SaveWith(const Image& image, const GenICam::gcstring& fileName, ImageFileFormat file, const Option& option,
              void (*writer)(const std::string&, const PixelBuffer&, const Option&, const codecs::WriteSettings&)) {
    const std::string& name = fileName.str();
    SaveAs(image, name, file, [&](const PixelBuffer& b) { writer(name, b, option, codecs::WriteSettings()); });
}

} // namespace

void Image::Save(const GenICam::gcstring& fileName, ImageFileFormat format) const {
    const std::string& name = fileName.str();
    const ImageFileFormat file = format == FileFormat_FromExt ? codecs::FormatFromFileName(name) : format;
    SaveAs(*this, name, file, [&](const PixelBuffer& b) { codecs::WriteImageFile(name, b, file); });
}

void Image::Save(const GenICam::gcstring& fileName, const PNGOption& option) const {
    SaveWith(*this, fileName, FileFormat_PNG, option, codecs::WritePNG);
}
void Image::Save(const GenICam::gcstring& fileName, const PPMOption& option) const {
    SaveWith(*this, fileName, FileFormat_PPM, option, codecs::WritePPM);
}
void Image::Save(const GenICam::gcstring& fileName, const PGMOption& option) const {
    SaveWith(*this, fileName, FileFormat_PGM, option, codecs::WritePGM);
}
void Image::Save(const GenICam::gcstring& fileName, const TIFFOption& option) const {
    SaveWith(*this, fileName, FileFormat_TIFF, option, codecs::WriteTIFF);
}
void Image::Save(const GenICam::gcstring& fileName, const JPEGOption& option) const {
    SaveWith(*this, fileName, FileFormat_JPEG, option, codecs::WriteJPEG);
}
void Image::Save(const GenICam::gcstring& fileName, const JPEG2000Option& option) const {
    SaveWith(*this, fileName, FileFormat_JPEG2000, option, codecs::WriteJPEG2000);
}
void Image::Save(const GenICam::gcstring& fileName, const BMPOption& option) const {
    SaveWith(*this, fileName, FileFormat_BMP, option, codecs::WriteBMP);
}

} // namespace Orvane
