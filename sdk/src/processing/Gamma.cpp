#include "processing/Gamma.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/Raise.h"
#include "processing/ParallelRows.h"

namespace Orvane {
namespace internal {

namespace {

const PixelFormatInfo* Canonical(PixelFormatEnums format) {
    const PixelFormatInfo* f = FindPixelFormat(format);
    return f != nullptr && f->aliasOf != UNKNOWN_PIXELFORMAT ? FindPixelFormat(f->aliasOf) : f;
}

bool Supported(const PixelFormatInfo& f) {
    if (f.packing != Packing::None || f.planar || f.numeric != NumericType::Unsigned || f.bitsPerComponent > 16)
        return false;
    return f.family == PixelFamily::Mono || f.family == PixelFamily::Bayer || f.family == PixelFamily::Channel ||
           f.family == PixelFamily::Rgb;
}

template <typename T>
void Rows(const ImageView& src, const ImageLayout& sl, const MutableImageView& dst, const ImageLayout& dl,
          const std::vector<T>& lut, size_t first, size_t end) {
    const PixelFormatInfo& f = *sl.info;
    const size_t samples = f.bitsPerPixel / (8 * sizeof(T));
    const bool alpha = f.order == ComponentOrder::RGBa || f.order == ComponentOrder::BGRa;
    const T mask = static_cast<T>((1u << f.bitsPerComponent) - 1);
    std::vector<T> row(sl.width * samples);
    for (size_t y = first; y < end; ++y) {
        const uint8_t* in = src.data + sl.RowBit(y) / 8;
        uint8_t* out = dst.data + dl.RowBit(y) / 8;
        std::memcpy(row.data(), in, row.size() * sizeof(T));
        if (alpha) {
            for (size_t i = 0; i < row.size(); ++i)
                if (i % 4 != 3) row[i] = lut[row[i] & mask];
        } else {
            for (T& v : row) v = lut[v & mask];
        }
        std::memcpy(out, row.data(), row.size() * sizeof(T));
    }
}

template <typename T>
std::vector<T> Table(unsigned bits, double exponent) {
    const size_t n = size_t(1) << bits;
    const double max = static_cast<double>(n - 1);
    std::vector<T> lut(n);
    for (size_t i = 0; i < n; ++i)
        lut[i] = static_cast<T>(std::lround(max * std::pow(static_cast<double>(i) / max, exponent)));
    return lut;
}

} // namespace

bool IsGammaSupported(PixelFormatEnums format) {
    const PixelFormatInfo* f = Canonical(format);
    return f != nullptr && Supported(*f);
}

void ApplyGamma(const ImageView& src, const MutableImageView& dst, float gamma, bool inverse, unsigned threads) {
    if (!std::isfinite(gamma) || gamma <= 0.0f)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "Gamma must be a positive finite number (got " + std::to_string(gamma) + ")");
    const PixelFormatInfo* f = Canonical(src.format);
    if (f == nullptr)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "The source has an unknown pixel format (" + std::to_string(static_cast<int>(src.format)) + ")");
    if (!Supported(*f))
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "Gamma correction of " + FormatName(src.format) + " is not supported");
    if (Canonical(dst.format) != f)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "Gamma correction keeps the pixel format: the destination is " +
                                                   FormatName(dst.format) + ", the source " + FormatName(src.format));
    const ImageLayout sl = CheckedLayout(src, "source");
    const ImageLayout dl = CheckedLayout(dst.View(), "destination");
    if (sl.width != dl.width || sl.height != dl.height)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The destination is " + std::to_string(dl.width) + "x" +
                                                   std::to_string(dl.height) + "; the source is " +
                                                   std::to_string(sl.width) + "x" + std::to_string(sl.height));
    const uintptr_t s = reinterpret_cast<uintptr_t>(src.data), d = reinterpret_cast<uintptr_t>(dst.data);
    const bool same = s == d && sl.rowBits == dl.rowBits;
    if (!same && s < d + dl.bytes && d < s + sl.bytes)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The source and destination buffers overlap");
    const double exponent = inverse ? 1.0 / static_cast<double>(gamma) : static_cast<double>(gamma);
    const unsigned n = sl.width * sl.height < 65536 ? 1 : threads;
    if (f->bitsPerComponent <= 8) {
        const std::vector<uint8_t> lut = Table<uint8_t>(f->bitsPerComponent, exponent);
        ParallelRows(sl.height, n, 16, 1, [&](unsigned, size_t a, size_t b) { Rows(src, sl, dst, dl, lut, a, b); });
    } else {
        const std::vector<uint16_t> lut = Table<uint16_t>(f->bitsPerComponent, exponent);
        ParallelRows(sl.height, n, 16, 1, [&](unsigned, size_t a, size_t b) { Rows(src, sl, dst, dl, lut, a, b); });
    }
}

} // namespace internal
} // namespace Orvane
