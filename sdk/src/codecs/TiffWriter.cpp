// TIFF writer (libtiff). libtiff writes through client procedures onto the
// AtomicFile; its error messages go to a per-file handler, never to stderr.
// Strips hold rowsPerStrip rows in RGB(A) order, samples unsigned, contiguous.
// Files whose pixels exceed 3.5 GiB are written as BigTIFF.
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <memory>
#include <vector>

#include <tiffio.h>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

struct TiffContext {
    AtomicFile* file;
    std::exception_ptr ioError; // the first file error raised inside a client procedure
    std::string message;        // the first message libtiff reported
};

int OnTiffError(TIFF*, void* user, const char* module, const char* fmt, va_list ap) {
    TiffContext* ctx = static_cast<TiffContext*>(user);
    if (ctx->message.empty()) {
        char text[512];
        std::vsnprintf(text, sizeof text, fmt, ap);
        ctx->message = module != nullptr && *module != '\0' ? std::string(module) + ": " + text : std::string(text);
    }
    return 1; // handled: the process-wide handler stays silent
}

int OnTiffWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

template <typename F>
auto Guard(TiffContext* ctx, F f, decltype(f()) failure) -> decltype(f()) {
    try {
        return f();
    } catch (...) {
        if (!ctx->ioError) ctx->ioError = std::current_exception();
        return failure;
    }
}

tmsize_t TiffRead(thandle_t h, void* data, tmsize_t size) {
    TiffContext* ctx = static_cast<TiffContext*>(h);
    return Guard(
        ctx,
        [&]() -> tmsize_t {
            const size_t n = ctx->file->ReadAt(ctx->file->Position(), data, static_cast<size_t>(size));
            ctx->file->Seek(ctx->file->Position() + n);
            return static_cast<tmsize_t>(n);
        },
        tmsize_t(-1));
}

tmsize_t TiffWrite(thandle_t h, void* data, tmsize_t size) {
    TiffContext* ctx = static_cast<TiffContext*>(h);
    return Guard(
        ctx,
        [&]() -> tmsize_t {
            ctx->file->Write(data, static_cast<size_t>(size));
            return size;
        },
        tmsize_t(-1));
}

toff_t TiffSeek(thandle_t h, toff_t offset, int whence) {
    TiffContext* ctx = static_cast<TiffContext*>(h);
    return Guard(
        ctx,
        [&]() -> toff_t {
            uint64_t base = 0;
            if (whence == SEEK_CUR)
                base = ctx->file->Position();
            else if (whence == SEEK_END)
                base = ctx->file->Size();
            const uint64_t target = base + offset;
            if (target != ctx->file->Position()) ctx->file->Seek(target);
            return target;
        },
        toff_t(-1));
}

int TiffClose(thandle_t) { return 0; }

toff_t TiffSize(thandle_t h) {
    TiffContext* ctx = static_cast<TiffContext*>(h);
    return Guard(
        ctx, [&]() -> toff_t { return ctx->file->Size(); }, toff_t(0));
}

int TiffMap(thandle_t, void**, toff_t*) { return 0; }
void TiffUnmap(thandle_t, void*, toff_t) {}

struct TiffCloser {
    void operator()(TIFF* tif) const { TIFFClose(tif); }
};
struct TiffOptionsFree {
    void operator()(TIFFOpenOptions* o) const { TIFFOpenOptionsFree(o); }
};

} // namespace

void WriteTIFF(const std::string& fileName, const PixelBuffer& image, const TIFFOption& option,
               const WriteSettings& settings) {
    CheckWritable(FileFormat_TIFF, image, fileName);
    uint16_t compression = COMPRESSION_NONE;
    switch (option.compression) {
    case TIFFCompression_None: compression = COMPRESSION_NONE; break;
    case TIFFCompression_PackBits: compression = COMPRESSION_PACKBITS; break;
    case TIFFCompression_Deflate: compression = COMPRESSION_ADOBE_DEFLATE; break;
    case TIFFCompression_LZW: compression = COMPRESSION_LZW; break;
    case TIFFCompression_JPEG: compression = COMPRESSION_JPEG; break;
    default: RaiseInvalid(fileName, "unknown TIFF compression " + std::to_string(option.compression));
    }
    if (option.predictor != TIFFPredictor_None && option.predictor != TIFFPredictor_Horizontal)
        RaiseInvalid(fileName, "unknown TIFF predictor " + std::to_string(option.predictor));
    if (compression == COMPRESSION_JPEG) {
        if (option.jpegQuality < 1 || option.jpegQuality > 100)
            RaiseInvalid(fileName, "TIFF JPEG quality " + std::to_string(option.jpegQuality) + " is outside 1..100");
        if (image.bitDepth != 8)
            ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, SaveContext(fileName) +
                                                    ": TIFF JPEG compression takes 8-bit samples only, not a " +
                                                    image.Describe() + " image");
        if (option.rowsPerStrip != 0 && option.rowsPerStrip % 8 != 0 && option.rowsPerStrip < image.height)
            RaiseInvalid(fileName, "TIFF JPEG compression needs a multiple of 8 rows per strip, not " +
                                       std::to_string(option.rowsPerStrip));
    }
    if (compression == COMPRESSION_ADOBE_DEFLATE && (option.deflateLevel < 1 || option.deflateLevel > 9))
        RaiseInvalid(fileName, "TIFF Deflate level " + std::to_string(option.deflateLevel) + " is outside 1..9");
    if (image.width > 0xffffffffu || image.height > 0xffffffffu)
        RaiseInvalid(fileName, "a TIFF file holds at most 4294967295 pixels per side (" + image.Describe() + ")");

    const size_t channels = image.Channels();
    const size_t rowBytes = image.RowBytes();
    const bool big = static_cast<double>(rowBytes) * static_cast<double>(image.height) > 3.5 * 1024 * 1024 * 1024;

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    TiffContext ctx;
    ctx.file = &file;
    std::unique_ptr<TIFFOpenOptions, TiffOptionsFree> openOptions(TIFFOpenOptionsAlloc());
    if (!openOptions) ORV_RAISE(ORVANE_ERR_OUT_OF_MEMORY, SaveContext(fileName) + ": libtiff could not start");
    TIFFOpenOptionsSetErrorHandlerExtR(openOptions.get(), OnTiffError, &ctx);
    TIFFOpenOptionsSetWarningHandlerExtR(openOptions.get(), OnTiffWarning, &ctx);

    auto fail = [&](const std::string& what) {
        if (ctx.ioError) std::rethrow_exception(ctx.ioError);
        ORV_RAISE(ORVANE_ERR_IO,
                  SaveContext(fileName) + ": " + what + (ctx.message.empty() ? std::string() : ": " + ctx.message));
    };

    std::unique_ptr<TIFF, TiffCloser> tif(TIFFClientOpenExt(fileName.c_str(), big ? "w8" : "w", &ctx, TiffRead,
                                                            TiffWrite, TiffSeek, TiffClose, TiffSize, TiffMap,
                                                            TiffUnmap, openOptions.get()));
    if (!tif) fail("libtiff could not start the file");
    TIFF* t = tif.get();
    bool ok = TIFFSetField(t, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(image.width)) &&
              TIFFSetField(t, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(image.height)) &&
              TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(image.bitDepth)) &&
              TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, static_cast<uint16_t>(channels)) &&
              TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, static_cast<uint16_t>(SAMPLEFORMAT_UINT)) &&
              TIFFSetField(t, TIFFTAG_PLANARCONFIG, static_cast<uint16_t>(PLANARCONFIG_CONTIG)) &&
              TIFFSetField(t, TIFFTAG_ORIENTATION, static_cast<uint16_t>(ORIENTATION_TOPLEFT)) &&
              TIFFSetField(t, TIFFTAG_PHOTOMETRIC,
                           static_cast<uint16_t>(channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB)) &&
              TIFFSetField(t, TIFFTAG_SOFTWARE, "Orvane") && TIFFSetField(t, TIFFTAG_COMPRESSION, compression);
    if (ok && channels == 4) {
        const uint16_t extra[1] = {EXTRASAMPLE_UNASSALPHA};
        ok = TIFFSetField(t, TIFFTAG_EXTRASAMPLES, static_cast<uint16_t>(1), extra);
    }
    if (ok && compression == COMPRESSION_JPEG) ok = TIFFSetField(t, TIFFTAG_JPEGQUALITY, option.jpegQuality);
    if (ok && compression == COMPRESSION_ADOBE_DEFLATE) ok = TIFFSetField(t, TIFFTAG_ZIPQUALITY, option.deflateLevel);
    if (ok && (compression == COMPRESSION_ADOBE_DEFLATE || compression == COMPRESSION_LZW) &&
        option.predictor == TIFFPredictor_Horizontal)
        ok = TIFFSetField(t, TIFFTAG_PREDICTOR, static_cast<uint16_t>(PREDICTOR_HORIZONTAL));
    uint32_t rowsPerStrip = option.rowsPerStrip;
    if (ok) {
        if (rowsPerStrip == 0) rowsPerStrip = TIFFDefaultStripSize(t, 0);
        if (rowsPerStrip == 0) rowsPerStrip = 1;
        if (rowsPerStrip > image.height) rowsPerStrip = static_cast<uint32_t>(image.height);
        ok = TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    }
    if (!ok) fail("cannot set up the TIFF header");

    std::vector<uint8_t> strip(static_cast<size_t>(rowsPerStrip) * rowBytes);
    for (size_t y0 = 0, s = 0; y0 < image.height; y0 += rowsPerStrip, ++s) {
        const size_t rows = std::min<size_t>(rowsPerStrip, image.height - y0);
        for (size_t r = 0; r < rows; ++r) CopyRowAsRGB(image, y0 + r, strip.data() + r * rowBytes, false);
        if (TIFFWriteEncodedStrip(t, static_cast<uint32_t>(s), strip.data(), static_cast<tmsize_t>(rows * rowBytes)) <
            0)
            fail("cannot write strip " + std::to_string(s));
    }
    if (!TIFFFlush(t)) fail("cannot finish the file");
    tif.reset();
    if (ctx.ioError) std::rethrow_exception(ctx.ioError);
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
