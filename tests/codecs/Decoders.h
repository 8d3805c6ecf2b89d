// Independent readers for the codec tests: libpng's read API, TurboJPEG
// decompression, libtiff reading, OpenJPEG decoding, and small parsers for
// BMP, PGM and PPM (whose byte layouts the tests also check directly).
#ifndef ORVANE_TESTS_CODEC_DECODERS_H
#define ORVANE_TESTS_CODEC_DECODERS_H

#include <cctype>
#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <openjpeg.h>
#include <png.h>
#include <tiffio.h>
#include <turbojpeg.h>
#include <zlib.h>

#include "CodecTestSupport.h"

namespace codectest {

// Pixels as decoded: samples in file order (R, G, B, A or gray), one value each.
struct Decoded {
    bool ok = false;
    std::string error;
    size_t width = 0, height = 0, channels = 0;
    int bitDepth = 0;
    std::vector<uint32_t> samples;
    uint32_t At(size_t x, size_t y, size_t c) const { return samples[(y * width + x) * channels + c]; }
};

// ---- PNG ----
struct PngInfo {
    int interlace = -1;
    int colorType = -1;
};

inline void PngTestError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
inline void PngTestWarning(png_structp, png_const_charp) {}

inline Decoded ReadPng(const std::string& path, PngInfo* info = nullptr) {
    Decoded d;
    std::vector<uint8_t> pixels;
    std::vector<png_bytep> rows;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (f == nullptr) {
        d.error = "cannot open";
        return d;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, PngTestError, PngTestWarning);
    png_infop pi = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &pi, nullptr);
        std::fclose(f);
        d.ok = false;
        d.error = "libpng error";
        return d;
    }
    png_init_io(png, f);
    png_read_info(png, pi);
    d.width = png_get_image_width(png, pi);
    d.height = png_get_image_height(png, pi);
    d.bitDepth = png_get_bit_depth(png, pi);
    d.channels = png_get_channels(png, pi);
    if (info != nullptr) {
        info->interlace = png_get_interlace_type(png, pi);
        info->colorType = png_get_color_type(png, pi);
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, pi);
    const size_t rowBytes = png_get_rowbytes(png, pi);
    pixels.resize(rowBytes * d.height);
    rows.resize(d.height);
    for (size_t y = 0; y < d.height; ++y) rows[y] = pixels.data() + y * rowBytes;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &pi, nullptr);
    std::fclose(f);
    const size_t n = d.width * d.height * d.channels;
    d.samples.resize(n);
    for (size_t i = 0; i < n; ++i)
        d.samples[i] = d.bitDepth == 16 ? (uint32_t(pixels[2 * i]) << 8) | pixels[2 * i + 1] : pixels[i];
    d.ok = true;
    return d;
}

// The PNG's IDAT data, concatenated (still zlib-compressed).
inline std::vector<uint8_t> PngIdat(const std::vector<uint8_t>& file) {
    std::vector<uint8_t> idat;
    size_t p = 8;
    while (p + 12 <= file.size()) {
        const uint32_t len =
            (uint32_t(file[p]) << 24) | (uint32_t(file[p + 1]) << 16) | (uint32_t(file[p + 2]) << 8) | file[p + 3];
        if (std::memcmp(&file[p + 4], "IDAT", 4) == 0) idat.insert(idat.end(), &file[p + 8], &file[p + 8 + len]);
        p += 12 + len;
    }
    return idat;
}

inline std::vector<uint8_t> Inflate(const std::vector<uint8_t>& z, size_t expected) {
    std::vector<uint8_t> out(expected);
    uLongf n = static_cast<uLongf>(expected);
    if (uncompress(out.data(), &n, z.data(), static_cast<uLong>(z.size())) != Z_OK) return {};
    out.resize(n);
    return out;
}

// ---- JPEG ----
struct JpegInfo {
    int subsampling = -1;
    int colorspace = -1;
};

inline Decoded ReadJpeg(const std::string& path, JpegInfo* info = nullptr) {
    Decoded d;
    const std::vector<uint8_t> file = ReadBytes(path);
    tjhandle tj = tjInitDecompress();
    int w = 0, h = 0, sub = 0, cs = 0;
    if (tjDecompressHeader3(tj, file.data(), file.size(), &w, &h, &sub, &cs) != 0) {
        d.error = tjGetErrorStr2(tj);
        tjDestroy(tj);
        return d;
    }
    if (info != nullptr) {
        info->subsampling = sub;
        info->colorspace = cs;
    }
    d.width = static_cast<size_t>(w);
    d.height = static_cast<size_t>(h);
    d.channels = sub == TJSAMP_GRAY ? 1 : 3;
    d.bitDepth = 8;
    std::vector<uint8_t> pixels(d.width * d.height * d.channels);
    if (tjDecompress2(tj, file.data(), file.size(), pixels.data(), w, 0, h, d.channels == 1 ? TJPF_GRAY : TJPF_RGB,
                      TJFLAG_ACCURATEDCT) != 0) {
        d.error = tjGetErrorStr2(tj);
        tjDestroy(tj);
        return d;
    }
    tjDestroy(tj);
    d.samples.assign(pixels.begin(), pixels.end());
    d.ok = true;
    return d;
}

// Whether the JPEG has a progressive frame header (SOF2).
inline bool JpegIsProgressive(const std::vector<uint8_t>& file) {
    for (size_t i = 2; i + 1 < file.size(); ++i) {
        if (file[i] != 0xFF) continue;
        if (file[i + 1] == 0xC2) return true;
        if (file[i + 1] == 0xC0 || file[i + 1] == 0xC1) return false;
    }
    return false;
}

// ---- TIFF ----
struct TiffInfo {
    uint16_t compression = 0, predictor = 1, photometric = 0, extraSamples = 0, extraType = 0;
    uint32_t rowsPerStrip = 0, strips = 0;
    bool bigTiff = false;
};

inline Decoded ReadTiff(const std::string& path, TiffInfo* info = nullptr) {
    Decoded d;
    TIFF* t = TIFFOpen(path.c_str(), "r");
    if (t == nullptr) {
        d.error = "TIFFOpen failed";
        return d;
    }
    uint32_t w = 0, h = 0;
    uint16_t bps = 0, spp = 0;
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &h);
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &bps);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &spp);
    if (info != nullptr) {
        TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &info->compression);
        if (info->compression == COMPRESSION_LZW || info->compression == COMPRESSION_ADOBE_DEFLATE)
            TIFFGetFieldDefaulted(t, TIFFTAG_PREDICTOR, &info->predictor);
        TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &info->photometric);
        TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &info->rowsPerStrip);
        uint16_t count = 0;
        uint16_t* types = nullptr;
        if (TIFFGetField(t, TIFFTAG_EXTRASAMPLES, &count, &types) && count > 0) {
            info->extraSamples = count;
            info->extraType = types[0];
        }
        info->strips = TIFFNumberOfStrips(t);
        info->bigTiff = TIFFIsBigTIFF(t) != 0;
    }
    d.width = w;
    d.height = h;
    d.channels = spp;
    d.bitDepth = bps;
    std::vector<uint8_t> row(static_cast<size_t>(TIFFScanlineSize(t)));
    d.samples.resize(d.width * d.height * d.channels);
    for (uint32_t y = 0; y < h; ++y) {
        if (TIFFReadScanline(t, row.data(), y, 0) < 0) {
            d.error = "TIFFReadScanline failed";
            TIFFClose(t);
            return d;
        }
        for (size_t i = 0; i < d.width * d.channels; ++i) {
            uint32_t v = row[i];
            if (bps == 16) {
                uint16_t s;
                std::memcpy(&s, &row[2 * i], 2);
                v = s;
            }
            d.samples[y * d.width * d.channels + i] = v;
        }
    }
    TIFFClose(t);
    d.ok = true;
    return d;
}

// Tags of the first IFD of a little-endian classic TIFF.
inline std::vector<uint16_t> TiffTags(const std::vector<uint8_t>& f) {
    std::vector<uint16_t> tags;
    if (f.size() < 8 || f[0] != 'I' || f[1] != 'I' || f[2] != 42) return tags;
    const size_t ifd = size_t(f[4]) | (size_t(f[5]) << 8) | (size_t(f[6]) << 16) | (size_t(f[7]) << 24);
    if (ifd + 2 > f.size()) return tags;
    const size_t count = size_t(f[ifd]) | (size_t(f[ifd + 1]) << 8);
    for (size_t i = 0; i < count && ifd + 2 + 12 * i + 2 <= f.size(); ++i)
        tags.push_back(uint16_t(f[ifd + 2 + 12 * i] | (f[ifd + 3 + 12 * i] << 8)));
    return tags;
}

// ---- JPEG 2000 ----
struct J2kInfo {
    int numResolutions = -1;
    int colorSpace = -1;
    bool alpha = false;
};

inline Decoded ReadJ2k(const std::string& path, J2kInfo* info = nullptr) {
    Decoded d;
    const std::vector<uint8_t> head = ReadBytes(path);
    const bool codestream = head.size() >= 2 && head[0] == 0xFF && head[1] == 0x4F;
    opj_stream_t* stream = opj_stream_create_default_file_stream(path.c_str(), OPJ_TRUE);
    opj_codec_t* codec = opj_create_decompress(codestream ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
    opj_dparameters_t params;
    opj_set_default_decoder_parameters(&params);
    opj_image_t* image = nullptr;
    bool ok = stream != nullptr && codec != nullptr && opj_setup_decoder(codec, &params) &&
              opj_read_header(stream, codec, &image) && opj_decode(codec, stream, image) &&
              opj_end_decompress(codec, stream);
    if (ok) {
        if (info != nullptr) {
            opj_codestream_info_v2_t* cs = opj_get_cstr_info(codec);
            info->numResolutions = static_cast<int>(cs->m_default_tile_info.tccp_info[0].numresolutions);
            opj_destroy_cstr_info(&cs);
            info->colorSpace = image->color_space;
            info->alpha = image->numcomps == 4 && image->comps[3].alpha != 0;
        }
        d.width = image->comps[0].w;
        d.height = image->comps[0].h;
        d.channels = image->numcomps;
        d.bitDepth = static_cast<int>(image->comps[0].prec);
        d.samples.resize(d.width * d.height * d.channels);
        for (size_t i = 0; i < d.width * d.height; ++i)
            for (size_t c = 0; c < d.channels; ++c)
                d.samples[i * d.channels + c] = static_cast<uint32_t>(image->comps[c].data[i]);
        d.ok = true;
    } else {
        d.error = "OpenJPEG decoding failed";
    }
    if (image != nullptr) opj_image_destroy(image);
    if (codec != nullptr) opj_destroy_codec(codec);
    if (stream != nullptr) opj_stream_destroy(stream);
    return d;
}

// ---- Netpbm (P2, P3, P5, P6) ----
struct NetpbmInfo {
    std::string magic;
    unsigned maxValue = 0;
};

inline Decoded ReadNetpbm(const std::string& path, NetpbmInfo* info = nullptr) {
    Decoded d;
    const std::vector<uint8_t> file = ReadBytes(path);
    size_t p = 0;
    auto token = [&]() {
        while (p < file.size() && std::isspace(file[p])) ++p;
        std::string s;
        while (p < file.size() && !std::isspace(file[p])) s += static_cast<char>(file[p++]);
        return s;
    };
    const std::string magic = token();
    const size_t w = std::stoul(token());
    const size_t h = std::stoul(token());
    const unsigned maxValue = static_cast<unsigned>(std::stoul(token()));
    if (info != nullptr) {
        info->magic = magic;
        info->maxValue = maxValue;
    }
    d.width = w;
    d.height = h;
    d.channels = (magic == "P3" || magic == "P6") ? 3 : 1;
    d.bitDepth = maxValue > 255 ? 16 : 8;
    const size_t n = w * h * d.channels;
    d.samples.resize(n);
    if (magic == "P5" || magic == "P6") {
        ++p; // the single whitespace after maxval
        const size_t bps = maxValue > 255 ? 2 : 1;
        if (file.size() != p + n * bps) {
            d.error = "wrong binary size";
            return d;
        }
        for (size_t i = 0; i < n; ++i)
            d.samples[i] = bps == 1 ? file[p + i] : (uint32_t(file[p + 2 * i]) << 8) | file[p + 2 * i + 1];
    } else {
        for (size_t i = 0; i < n; ++i) d.samples[i] = static_cast<uint32_t>(std::stoul(token()));
        if (!token().empty()) {
            d.error = "trailing text";
            return d;
        }
    }
    d.ok = true;
    return d;
}

// ---- BMP ----
struct BmpInfo {
    uint32_t dataOffset = 0, headerSize = 0, compression = 0, colorsUsed = 0, imageSize = 0;
    int32_t height = 0;
    uint16_t bitsPerPixel = 0;
    uint32_t masks[4] = {0, 0, 0, 0};
};

inline uint32_t Le32(const std::vector<uint8_t>& b, size_t p) {
    return uint32_t(b[p]) | (uint32_t(b[p + 1]) << 8) | (uint32_t(b[p + 2]) << 16) | (uint32_t(b[p + 3]) << 24);
}
inline uint16_t Le16(const std::vector<uint8_t>& b, size_t p) { return uint16_t(b[p] | (b[p + 1] << 8)); }

// Decodes the BMP layouts the writer produces; colour comes out as R, G, B(, A).
inline Decoded ReadBmp(const std::string& path, BmpInfo* info = nullptr) {
    Decoded d;
    const std::vector<uint8_t> f = ReadBytes(path);
    if (f.size() < 54 || f[0] != 'B' || f[1] != 'M' || Le32(f, 2) != f.size()) {
        d.error = "bad BMP header";
        return d;
    }
    BmpInfo bi;
    bi.dataOffset = Le32(f, 10);
    bi.headerSize = Le32(f, 14);
    const uint32_t w = Le32(f, 18);
    bi.height = static_cast<int32_t>(Le32(f, 22));
    bi.bitsPerPixel = Le16(f, 28);
    bi.compression = Le32(f, 30);
    bi.imageSize = Le32(f, 34);
    bi.colorsUsed = Le32(f, 46);
    if (bi.headerSize >= 56)
        for (int i = 0; i < 4; ++i) bi.masks[i] = Le32(f, 54 + 4 * static_cast<size_t>(i));
    if (info != nullptr) *info = bi;
    const size_t h = static_cast<size_t>(bi.height < 0 ? -bi.height : bi.height);
    d.width = w;
    d.height = h;
    d.bitDepth = 8;
    const size_t bytesPerPixel = bi.bitsPerPixel / 8;
    d.channels = bytesPerPixel;
    const size_t rowSize = (w * bytesPerPixel + 3) & ~size_t(3);
    if (f.size() != bi.dataOffset + rowSize * h) {
        d.error = "wrong BMP size";
        return d;
    }
    d.samples.resize(w * h * d.channels);
    for (size_t fileRow = 0; fileRow < h; ++fileRow) {
        const size_t y = bi.height < 0 ? fileRow : h - 1 - fileRow;
        const uint8_t* r = f.data() + bi.dataOffset + fileRow * rowSize;
        for (size_t x = 0; x < w; ++x) {
            uint32_t* out = &d.samples[(y * w + x) * d.channels];
            if (bytesPerPixel == 1) {
                const size_t palette = 14 + bi.headerSize;
                out[0] = f[palette + 4 * r[x]]; // blue of the palette entry (gray: all equal)
            } else {
                out[0] = r[x * bytesPerPixel + 2];
                out[1] = r[x * bytesPerPixel + 1];
                out[2] = r[x * bytesPerPixel + 0];
                if (bytesPerPixel == 4) out[3] = r[x * bytesPerPixel + 3];
            }
        }
    }
    d.ok = true;
    return d;
}

// Compares decoded samples with the source buffer: the number of file channels
// compared is `channels` (the source may have more, e.g. alpha dropped).
inline ::testing::AssertionResult SamePixels(const Decoded& d, const Orvane::codecs::PixelBuffer& src,
                                             size_t channels) {
    if (!d.ok) return ::testing::AssertionFailure() << "decoding failed: " << d.error;
    if (d.width != src.width || d.height != src.height)
        return ::testing::AssertionFailure() << "size " << d.width << "x" << d.height;
    if (d.channels != channels) return ::testing::AssertionFailure() << "channels " << d.channels;
    for (size_t y = 0; y < src.height; ++y)
        for (size_t x = 0; x < src.width; ++x)
            for (size_t c = 0; c < channels; ++c)
                if (d.At(x, y, c) != SampleRGB(src, x, y, c))
                    return ::testing::AssertionFailure() << "pixel (" << x << "," << y << ") channel " << c << ": "
                                                         << d.At(x, y, c) << " != " << SampleRGB(src, x, y, c);
    return ::testing::AssertionSuccess();
}

// PSNR over the first `channels` channels (peak 255 or 65535 by bit depth).
inline double PsnrOf(const Decoded& d, const Orvane::codecs::PixelBuffer& src, size_t channels) {
    double sum = 0;
    for (size_t y = 0; y < src.height; ++y)
        for (size_t x = 0; x < src.width; ++x)
            for (size_t c = 0; c < channels; ++c) {
                const double e = double(d.At(x, y, c)) - double(SampleRGB(src, x, y, c));
                sum += e * e;
            }
    const double mse = sum / double(src.width * src.height * channels);
    const double peak = src.bitDepth == 16 ? 65535.0 : 255.0;
    return mse == 0 ? 1e9 : 10.0 * std::log10(peak * peak / mse);
}

} // namespace codectest

#endif
