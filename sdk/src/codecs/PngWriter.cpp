// PNG writer (libpng). libpng reports errors by longjmp, so every libpng call
// sits in EncodePng, whose frame holds only trivially destructible objects;
// the C++ side (file, rows, exceptions) lives in the caller.
#include <csetjmp>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <png.h>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

struct PngContext {
    AtomicFile* file;
    char message[512];           // libpng's error text, or the file error's
    std::exception_ptr* ioError; // a file error raised inside the write callback
};

void OnPngError(png_structp png, png_const_charp message) {
    PngContext* ctx = static_cast<PngContext*>(png_get_error_ptr(png));
    std::snprintf(ctx->message, sizeof ctx->message, "%s", message);
    png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

void OnPngWrite(png_structp png, png_bytep data, png_size_t size) {
    PngContext* ctx = static_cast<PngContext*>(png_get_io_ptr(png));
    bool failed = false;
    try {
        ctx->file->Write(data, size);
    } catch (...) {
        *ctx->ioError = std::current_exception();
        failed = true;
    }
    if (failed) png_error(png, "write failed");
}

void OnPngFlush(png_structp) {}

struct PngParams {
    png_uint_32 width, height;
    int bitDepth, colorType, interlace, level, filters;
    bool bgr, swap;
    png_bytepp rows;
};

// Returns false after a libpng error (ctx.message says which).
bool EncodePng(PngContext& ctx, const PngParams& p) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &ctx, OnPngError, OnPngWarning);
    if (png == nullptr) {
        std::snprintf(ctx.message, sizeof ctx.message, "libpng could not allocate its state");
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        std::snprintf(ctx.message, sizeof ctx.message, "libpng could not allocate its state");
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &ctx, OnPngWrite, OnPngFlush);
    png_set_user_limits(png, 0x7fffffffu, 0x7fffffffu);
    png_set_compression_level(png, p.level);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, p.filters);
    png_set_IHDR(png, info, p.width, p.height, p.bitDepth, p.colorType, p.interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    if (p.bgr) png_set_bgr(png);
    if (p.swap) png_set_swap(png);
    png_write_image(png, p.rows);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

void WritePNG(const std::string& fileName, const PixelBuffer& image, const PNGOption& option,
              const WriteSettings& settings) {
    CheckWritable(FileFormat_PNG, image, fileName);
    if (option.compressionLevel < 0 || option.compressionLevel > 9)
        RaiseInvalid(fileName, "PNG compression level " + std::to_string(option.compressionLevel) + " is outside 0..9");
    int filters = 0;
    switch (option.filter) {
    case PNGFilter_Adaptive: filters = PNG_ALL_FILTERS; break;
    case PNGFilter_None: filters = PNG_FILTER_NONE; break;
    case PNGFilter_Sub: filters = PNG_FILTER_SUB; break;
    case PNGFilter_Up: filters = PNG_FILTER_UP; break;
    case PNGFilter_Average: filters = PNG_FILTER_AVG; break;
    case PNGFilter_Paeth: filters = PNG_FILTER_PAETH; break;
    default: RaiseInvalid(fileName, "unknown PNG filter " + std::to_string(option.filter));
    }
    if (image.width > 0x7fffffffu || image.height > 0x7fffffffu)
        RaiseInvalid(fileName, "a PNG file holds at most 2147483647 pixels per side (" + image.Describe() + ")");

    PngParams p;
    p.width = static_cast<png_uint_32>(image.width);
    p.height = static_cast<png_uint_32>(image.height);
    p.bitDepth = image.bitDepth;
    switch (image.order) {
    case ChannelOrder::Gray: p.colorType = PNG_COLOR_TYPE_GRAY; break;
    case ChannelOrder::RGB:
    case ChannelOrder::BGR: p.colorType = PNG_COLOR_TYPE_RGB; break;
    case ChannelOrder::RGBA:
    case ChannelOrder::BGRA: p.colorType = PNG_COLOR_TYPE_RGB_ALPHA; break;
    }
    p.interlace = option.interlaced != 0 ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE;
    p.level = option.compressionLevel;
    p.filters = filters;
    p.bgr = image.order == ChannelOrder::BGR || image.order == ChannelOrder::BGRA;
    p.swap = image.bitDepth == 16 && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
    // libpng copies each row before transforming it; the pixels are not modified.
    std::vector<png_bytep> rows(image.height);
    for (size_t y = 0; y < image.height; ++y) rows[y] = const_cast<png_bytep>(image.Row(y));
    p.rows = rows.data();

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    std::exception_ptr ioError;
    PngContext ctx;
    ctx.file = &file;
    ctx.message[0] = '\0';
    ctx.ioError = &ioError;
    if (!EncodePng(ctx, p)) {
        if (ioError) std::rethrow_exception(ioError);
        ORV_RAISE(ORVANE_ERR_IO, SaveContext(fileName) + ": PNG encoding failed: " + ctx.message);
    }
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
