// JPEG 2000 writer (OpenJPEG): a JP2 file or a bare J2K codestream, one tile,
// one quality layer. Lossless uses the reversible 5/3 wavelet; lossy uses the
// 9/7 wavelet with a target ratio or PSNR. Colour images use the component
// transform on their first three components; a fourth component is alpha.
#include <cmath>
#include <exception>
#include <memory>

#include <openjpeg.h>

#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"
#include "core/Raise.h"

namespace Orvane {
namespace codecs {

namespace {

struct J2kContext {
    AtomicFile* file;
    std::exception_ptr ioError; // the first file error raised inside a stream callback
    std::string message;        // the first error OpenJPEG reported
};

void OnJ2kError(const char* message, void* user) {
    J2kContext* ctx = static_cast<J2kContext*>(user);
    if (ctx->message.empty() && message != nullptr) {
        ctx->message = message;
        while (!ctx->message.empty() && (ctx->message.back() == '\n' || ctx->message.back() == ' '))
            ctx->message.pop_back();
    }
}

void OnJ2kQuiet(const char*, void*) {}

OPJ_SIZE_T J2kWrite(void* data, OPJ_SIZE_T size, void* user) {
    J2kContext* ctx = static_cast<J2kContext*>(user);
    try {
        ctx->file->Write(data, size);
        return size;
    } catch (...) {
        if (!ctx->ioError) ctx->ioError = std::current_exception();
        return static_cast<OPJ_SIZE_T>(-1);
    }
}

OPJ_OFF_T J2kSkip(OPJ_OFF_T count, void* user) {
    J2kContext* ctx = static_cast<J2kContext*>(user);
    try {
        ctx->file->Seek(ctx->file->Position() + static_cast<uint64_t>(count));
        return count;
    } catch (...) {
        if (!ctx->ioError) ctx->ioError = std::current_exception();
        return -1;
    }
}

OPJ_BOOL J2kSeek(OPJ_OFF_T position, void* user) {
    J2kContext* ctx = static_cast<J2kContext*>(user);
    try {
        ctx->file->Seek(static_cast<uint64_t>(position));
        return OPJ_TRUE;
    } catch (...) {
        if (!ctx->ioError) ctx->ioError = std::current_exception();
        return OPJ_FALSE;
    }
}

struct ImageFree {
    void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};
struct CodecFree {
    void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct StreamFree {
    void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};

} // namespace

void WriteJPEG2000(const std::string& fileName, const PixelBuffer& image, const JPEG2000Option& option,
                   const WriteSettings& settings) {
    CheckWritable(FileFormat_JPEG2000, image, fileName);
    const bool lossless = option.lossless != 0;
    if (!lossless) {
        if (!(std::isfinite(option.compressionRatio) && option.compressionRatio >= 1.0f))
            RaiseInvalid(fileName, "JPEG 2000 compression ratio " + std::to_string(option.compressionRatio) +
                                       " is not a number of at least 1");
        if (!(std::isfinite(option.targetPSNR) && option.targetPSNR >= 0.0f))
            RaiseInvalid(fileName, "JPEG 2000 target PSNR " + std::to_string(option.targetPSNR) +
                                       " is not a number of at least 0");
    }
    if (option.numResolutions < 1 || option.numResolutions > 10)
        RaiseInvalid(fileName,
                     "JPEG 2000 resolution count " + std::to_string(option.numResolutions) + " is outside 1..10");
    if (image.width > 0xffffffffu || image.height > 0xffffffffu)
        RaiseInvalid(fileName, "a JPEG 2000 file holds at most 4294967295 pixels per side (" + image.Describe() + ")");

    const uint32_t channels = static_cast<uint32_t>(image.Channels());
    const uint32_t width = static_cast<uint32_t>(image.width);
    const uint32_t height = static_cast<uint32_t>(image.height);
    int resolutions = static_cast<int>(option.numResolutions);
    while (resolutions > 1 && ((width >> (resolutions - 1)) == 0 || (height >> (resolutions - 1)) == 0)) --resolutions;

    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);

    opj_image_cmptparm_t parameters[4];
    std::memset(parameters, 0, sizeof parameters);
    for (uint32_t c = 0; c < channels; ++c) {
        parameters[c].dx = 1;
        parameters[c].dy = 1;
        parameters[c].w = width;
        parameters[c].h = height;
        parameters[c].prec = static_cast<OPJ_UINT32>(image.bitDepth);
        parameters[c].sgnd = 0;
    }
    std::unique_ptr<opj_image_t, ImageFree> j2kImage(
        opj_image_create(channels, parameters, channels == 1 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
    if (!j2kImage) ORV_RAISE(ORVANE_ERR_OUT_OF_MEMORY, SaveContext(fileName) + ": no memory for the JPEG 2000 planes");
    opj_image_t* img = j2kImage.get();
    img->x0 = 0;
    img->y0 = 0;
    img->x1 = width;
    img->y1 = height;
    if (channels == 4) img->comps[3].alpha = 1;

    // Planes in R, G, B(, A) order.
    static const size_t identity[4] = {0, 1, 2, 3};
    static const size_t swapped[4] = {2, 1, 0, 3};
    const size_t* map = image.order == ChannelOrder::BGR || image.order == ChannelOrder::BGRA ? swapped : identity;
    for (size_t y = 0; y < image.height; ++y) {
        const uint8_t* src = image.Row(y);
        for (uint32_t c = 0; c < channels; ++c) {
            OPJ_INT32* dst = img->comps[c].data + y * image.width;
            const size_t offset = map[c];
            if (image.bitDepth == 8) {
                for (size_t x = 0; x < image.width; ++x) dst[x] = src[x * channels + offset];
            } else {
                for (size_t x = 0; x < image.width; ++x) dst[x] = LoadSample16(src + 2 * (x * channels + offset));
            }
        }
    }

    opj_cparameters_t cp;
    opj_set_default_encoder_parameters(&cp);
    cp.tcp_numlayers = 1;
    cp.numresolution = resolutions;
    cp.tcp_mct = channels >= 3 ? 1 : 0;
    if (lossless) {
        cp.irreversible = 0;
        cp.cp_disto_alloc = 1;
        cp.tcp_rates[0] = 0;
    } else if (option.targetPSNR > 0.0f) {
        cp.irreversible = 1;
        cp.cp_fixed_quality = 1;
        cp.tcp_distoratio[0] = option.targetPSNR;
    } else {
        cp.irreversible = 1;
        cp.cp_disto_alloc = 1;
        cp.tcp_rates[0] = option.compressionRatio;
    }

    J2kContext ctx;
    ctx.file = &file;
    auto fail = [&](const std::string& what) {
        if (ctx.ioError) std::rethrow_exception(ctx.ioError);
        ORV_RAISE(ORVANE_ERR_IO,
                  SaveContext(fileName) + ": " + what + (ctx.message.empty() ? std::string() : ": " + ctx.message));
    };
    std::unique_ptr<opj_codec_t, CodecFree> codec(
        opj_create_compress(option.codestream != 0 ? OPJ_CODEC_J2K : OPJ_CODEC_JP2));
    if (!codec) fail("OpenJPEG could not start");
    opj_set_error_handler(codec.get(), OnJ2kError, &ctx);
    opj_set_warning_handler(codec.get(), OnJ2kQuiet, &ctx);
    opj_set_info_handler(codec.get(), OnJ2kQuiet, &ctx);
    if (!opj_setup_encoder(codec.get(), &cp, img)) fail("JPEG 2000 encoder setup failed");

    std::unique_ptr<opj_stream_t, StreamFree> stream(opj_stream_create(OPJ_J2K_STREAM_CHUNK_SIZE, OPJ_FALSE));
    if (!stream) fail("OpenJPEG could not create its stream");
    opj_stream_set_user_data(stream.get(), &ctx, nullptr);
    opj_stream_set_write_function(stream.get(), J2kWrite);
    opj_stream_set_skip_function(stream.get(), J2kSkip);
    opj_stream_set_seek_function(stream.get(), J2kSeek);
    if (!opj_start_compress(codec.get(), img, stream.get())) fail("JPEG 2000 compression failed to start");
    if (!opj_encode(codec.get(), stream.get())) fail("JPEG 2000 compression failed");
    if (!opj_end_compress(codec.get(), stream.get())) fail("JPEG 2000 compression failed to finish");
    stream.reset();
    codec.reset();
    if (ctx.ioError) std::rethrow_exception(ctx.ioError);
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
