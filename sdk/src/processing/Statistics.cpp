#include "processing/Statistics.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/Raise.h"
#include "processing/Convert.h"
#include "processing/Jpeg.h"
#include "processing/ParallelRows.h"

namespace Orvane {
namespace internal {

namespace {

// How the kernel reads pixels: `channels` samples a pixel of type T, red,
// green and blue at positions r, g, b (all 0 for grey), values
// (sample >> shift) & mask of `bits` bits.
struct Reading {
    unsigned channels = 1;
    int r = 0, g = 0, b = 0;
    bool colour = false;
    unsigned bits = 8;
    unsigned shift = 0;
};

// Counts of one band: values at full resolution for grey and RGB, 256 bins for HSL.
struct Partial {
    std::vector<uint32_t> counts[4]; // grey, red, green, blue
    std::vector<uint32_t> hsl[3];    // hue, saturation, lightness
    // 8-bit fast paths count pairs of values (65536 counters each) and fold them at the end:
    // one increment serves two values, and equal neighbours do not wait on each other.
    std::vector<uint32_t> pairs[2];
};

// Adds the two marginals of a pair table: first[a] and second[b] gain pairs[a | b << 8].
void FoldPairs(const std::vector<uint32_t>& pairs, uint32_t* first, uint32_t* second) {
    for (unsigned b = 0; b < 256; ++b)
        for (unsigned a = 0; a < 256; ++a) {
            const uint32_t n = pairs[a | b << 8];
            first[a] += n;
            second[b] += n;
        }
}

inline unsigned Luma(unsigned r, unsigned g, unsigned b) { return (4899u * r + 9617u * g + 1868u * b + 8192u) >> 14; }

// Hue, saturation and lightness of 8-bit red, green and blue (see Statistics.h).
inline void Hsl(unsigned r, unsigned g, unsigned b, unsigned& h, unsigned& s, unsigned& l) {
    const unsigned mx = std::max(r, std::max(g, b)), mn = std::min(r, std::min(g, b)), d = mx - mn;
    const unsigned sum = mx + mn;
    l = (sum + 1) >> 1;
    if (d == 0) {
        h = s = 0;
        return;
    }
    const unsigned denominator = sum <= 255 ? sum : 510 - sum;
    s = (255 * d * 2 + denominator) / (2 * denominator);
    // Hue in sixths of a turn: t / (6 d), t in [0, 6 d); red wins ties, then green.
    const int id = static_cast<int>(d);
    int t = mx == r   ? static_cast<int>(g) - static_cast<int>(b)
            : mx == g ? 2 * id + static_cast<int>(b) - static_cast<int>(r)
                      : 4 * id + static_cast<int>(r) - static_cast<int>(g);
    if (t < 0) t += 6 * id;
    h = ((static_cast<unsigned>(t) * 512 + 6 * d) / (12 * d)) & 0xFF;
}

// Red and green of each pixel as one pair, blue of two neighbouring pixels as another.
template <unsigned Channels, int R, int B>
void CountRgb8(const uint8_t* px, size_t width, uint32_t* rg, uint32_t* bb, uint32_t* red, uint32_t* green,
               uint32_t* blue) {
    size_t x = 0;
    for (; x + 2 <= width; x += 2, px += 2 * Channels) {
        ++rg[px[R] | px[1] << 8];
        ++rg[px[Channels + R] | px[Channels + 1] << 8];
        ++bb[px[B] | px[Channels + B] << 8];
    }
    if (x < width) {
        ++red[px[R]];
        ++green[px[1]];
        ++blue[px[B]];
    }
}

void CountRgb8(const uint8_t* px, size_t width, const Reading& rd, uint32_t* rg, uint32_t* bb, uint32_t* red,
               uint32_t* green, uint32_t* blue) {
    const bool bgr = rd.r == 2;
    if (rd.channels == 3) {
        if (bgr)
            CountRgb8<3, 2, 0>(px, width, rg, bb, red, green, blue);
        else
            CountRgb8<3, 0, 2>(px, width, rg, bb, red, green, blue);
    } else {
        if (bgr)
            CountRgb8<4, 2, 0>(px, width, rg, bb, red, green, blue);
        else
            CountRgb8<4, 0, 2>(px, width, rg, bb, red, green, blue);
    }
}

template <typename T>
void CountRows(const uint8_t* data, const ImageLayout& l, const Reading& rd, unsigned mask, size_t first, size_t end,
               Partial& p) {
    const bool wantGrey = mask & (1u << kStatGrey);
    const bool wantRgb = mask & ((1u << kStatRed) | (1u << kStatGreen) | (1u << kStatBlue));
    const bool wantHsl = mask & ((1u << kStatHue) | (1u << kStatSaturation) | (1u << kStatLightness));
    const size_t size = size_t(1) << rd.bits;
    const unsigned valueMask = static_cast<unsigned>(size - 1);
    const unsigned to8 = rd.bits - 8; // bits >= 8 here
    for (auto& c : p.counts) c.assign(size, 0);
    for (auto& c : p.hsl) c.assign(256, 0);
    uint32_t* grey = p.counts[0].data();
    uint32_t* red = p.counts[1].data();
    uint32_t* green = p.counts[2].data();
    uint32_t* blue = p.counts[3].data();
    const bool rgbPairs = sizeof(T) == 1 && rd.colour && wantRgb && !wantGrey && !wantHsl;
    if (!rd.colour) p.pairs[0].assign(sizeof(T) == 1 ? 65536 : size, 0);
    if (rgbPairs) {
        p.pairs[0].assign(65536, 0);
        p.pairs[1].assign(65536, 0);
    }
    std::vector<T> row(sizeof(T) == 1 ? 0 : l.width * rd.channels);
    for (size_t y = first; y < end; ++y) {
        // 16-bit rows may be unaligned: copy them; 8-bit rows are read in place.
        const uint8_t* start = data + l.RowBit(y) / 8;
        const T* px = reinterpret_cast<const T*>(start);
        if (sizeof(T) == 2) {
            std::memcpy(row.data(), start, row.size() * sizeof(T));
            px = row.data();
        }
        if (!rd.colour) {
            size_t x = 0;
            if (sizeof(T) == 1) {
                uint32_t* pairs = p.pairs[0].data();
                for (; x + 2 <= l.width; x += 2) ++pairs[px[x] | px[x + 1] << 8];
            } else {
                // Two sets of counters (even and odd pixels) keep equal neighbours independent.
                uint32_t* odd = p.pairs[0].data();
                for (; x + 2 <= l.width; x += 2) {
                    ++grey[(static_cast<unsigned>(px[x]) >> rd.shift) & valueMask];
                    ++odd[(static_cast<unsigned>(px[x + 1]) >> rd.shift) & valueMask];
                }
            }
            for (; x < l.width; ++x) ++grey[(static_cast<unsigned>(px[x]) >> rd.shift) & valueMask];
            continue;
        }
        if (sizeof(T) == 1 && wantRgb && !wantGrey && !wantHsl) {
            CountRgb8(reinterpret_cast<const uint8_t*>(px), l.width, rd, p.pairs[0].data(), p.pairs[1].data(), red,
                      green, blue);
            continue;
        }
        for (size_t x = 0; x < l.width; ++x, px += rd.channels) {
            const unsigned r = (static_cast<unsigned>(px[rd.r]) >> rd.shift) & valueMask;
            const unsigned g = (static_cast<unsigned>(px[rd.g]) >> rd.shift) & valueMask;
            const unsigned b = (static_cast<unsigned>(px[rd.b]) >> rd.shift) & valueMask;
            if (wantRgb) {
                ++red[r];
                ++green[g];
                ++blue[b];
            }
            if (wantGrey) ++grey[Luma(r, g, b)];
            if (wantHsl) {
                unsigned h, s, li;
                Hsl(r >> to8, g >> to8, b >> to8, h, s, li);
                ++p.hsl[0][h];
                ++p.hsl[1][s];
                ++p.hsl[2][li];
            }
        }
    }
    if (!rd.colour) {
        if (sizeof(T) == 1)
            FoldPairs(p.pairs[0], grey, grey);
        else
            for (size_t v = 0; v < size; ++v) grey[v] += p.pairs[0][v];
    }
    if (rgbPairs) {
        FoldPairs(p.pairs[0], red, green);
        FoldPairs(p.pairs[1], blue, blue);
    }
}

void Finish(const std::vector<uint32_t>& counts, unsigned bits, ChannelStatistics& c) {
    c.computed = true;
    c.rangeMin = 0;
    c.rangeMax = static_cast<unsigned>((size_t(1) << bits) - 1);
    c.pixelValueMin = c.pixelValueMax = 0;
    c.histogram.fill(0);
    uint64_t total = 0;
    double sum = 0.0;
    bool any = false;
    c.numPixelValues = 0;
    for (size_t v = 0; v < counts.size(); ++v) {
        const uint32_t n = counts[v];
        if (n == 0) continue;
        if (!any) c.pixelValueMin = static_cast<unsigned>(v);
        any = true;
        c.pixelValueMax = static_cast<unsigned>(v);
        ++c.numPixelValues;
        total += n;
        sum += static_cast<double>(v) * n;
        const size_t bin = bits >= 8 ? v >> (bits - 8) : v << (8 - bits);
        c.histogram[bin] += n;
    }
    c.mean = total ? sum / static_cast<double>(total) : 0.0;
}

const PixelFormatInfo* Canonical(PixelFormatEnums format) {
    const PixelFormatInfo* f = FindPixelFormat(format);
    return f != nullptr && f->aliasOf != UNKNOWN_PIXELFORMAT ? FindPixelFormat(f->aliasOf) : f;
}

bool GreyFamily(const PixelFormatInfo& f) {
    switch (f.family) {
    case PixelFamily::Mono:
    case PixelFamily::Raw:
    case PixelFamily::Polarized:
    case PixelFamily::BayerPolarized:
    case PixelFamily::Confidence:
    case PixelFamily::Channel: return true;
    case PixelFamily::Coord3D: return f.components == 1;
    default: return false;
    }
}

bool Unpacked(const PixelFormatInfo& f) {
    return f.packing == Packing::None && !f.planar && f.numeric == NumericType::Unsigned && f.bitsPerComponent >= 8 &&
           f.bitsPerComponent <= 16;
}

} // namespace

StatisticsResult ComputeStatistics(const ImageView& src, unsigned mask, ColorProcessingAlgorithm algorithm,
                                   unsigned threads) {
    const PixelFormatInfo* f = Canonical(src.format);
    if (f == nullptr && !src.jpeg)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "The image has an unknown pixel format (" + std::to_string(static_cast<int>(src.format)) + ")");
    ImageView view = src;
    ImageLayout layout;
    Reading rd;
    std::vector<uint8_t> converted;
    const bool jpeg = src.jpeg || f->format == PixelFormat_JPEGMono8 || f->format == PixelFormat_JPEGColor8;
    if (!jpeg && Unpacked(*f) && (GreyFamily(*f) || f->family == PixelFamily::Rgb)) {
        layout = CheckedLayout(src, "source");
        rd.bits = f->bitsPerComponent;
        if (f->family == PixelFamily::Rgb) {
            rd.colour = true;
            rd.channels = f->components;
            const bool bgr = f->order == ComponentOrder::BGR || f->order == ComponentOrder::BGRa;
            rd.r = bgr ? 2 : 0;
            rd.g = 1;
            rd.b = bgr ? 0 : 2;
        }
    } else {
        // Convert to grey or RGB at 8 or 16 bits, then read the top bits of the format's own precision.
        size_t width = src.width, height = src.height;
        unsigned bits = 8;
        bool grey = false;
        if (jpeg) {
            const JpegHeader h = ReadJpegHeader(src.data, src.size);
            width = h.width;
            height = h.height;
            grey = h.gray;
        } else {
            if (!IsConversionSupported(src.format, PixelFormat_RGB16))
                ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "Statistics of " + FormatName(src.format) + " are not supported");
            grey = GreyFamily(*f);
            bits = std::max<unsigned>(8, std::min<unsigned>(16, f->bitsPerComponent));
        }
        const PixelFormatEnums target = grey ? (bits > 8 ? PixelFormat_Mono16 : PixelFormat_Mono8)
                                             : (bits > 8 ? PixelFormat_RGB16 : PixelFormat_RGB8);
        const size_t bytesPerPixel = (grey ? 1 : 3) * (bits > 8 ? 2 : 1);
        if (width == 0 || height == 0 || width > SIZE_MAX / height / bytesPerPixel)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                      "The image size " + std::to_string(width) + "x" + std::to_string(height) + " is not usable");
        converted.resize(width * height * bytesPerPixel);
        MutableImageView out;
        out.data = converted.data();
        out.size = converted.size();
        out.width = width;
        out.height = height;
        out.format = target;
        Convert(src, out, algorithm, threads);
        view = out.View();
        layout = CheckedLayout(view, "converted");
        rd.bits = bits;
        rd.shift = bits > 8 ? 16 - bits : 0;
        if (!grey) {
            rd.colour = true;
            rd.channels = 3;
            rd.r = 0, rd.g = 1, rd.b = 2;
        }
    }
    if (rd.bits < 8 || rd.bits > 16)
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "Statistics of " + FormatName(src.format) + " are not supported");
    const unsigned bands = BandCount(layout.height, layout.width * layout.height < 65536 ? 1 : threads, 16, 1);
    std::vector<Partial> partial(bands);
    ParallelRows(layout.height, bands, 16, 1, [&](unsigned band, size_t first, size_t end) {
        if (rd.bits > 8)
            CountRows<uint16_t>(view.data, layout, rd, mask, first, end, partial[band]);
        else
            CountRows<uint8_t>(view.data, layout, rd, mask, first, end, partial[band]);
    });
    for (size_t b = 1; b < partial.size(); ++b) {
        for (int c = 0; c < 4; ++c)
            for (size_t i = 0; i < partial[0].counts[c].size(); ++i) partial[0].counts[c][i] += partial[b].counts[c][i];
        for (int c = 0; c < 3; ++c)
            for (size_t i = 0; i < 256; ++i) partial[0].hsl[c][i] += partial[b].hsl[c][i];
    }
    StatisticsResult result;
    const Partial& all = partial[0];
    for (int c = 0; c < kStatChannels; ++c) {
        if (!(mask & (1u << c))) continue;
        if (c <= kStatBlue) {
            // Grey images: red, green and blue are the grey value.
            const std::vector<uint32_t>& counts = rd.colour ? all.counts[c] : all.counts[0];
            Finish(counts, rd.bits, result[c]);
        } else if (rd.colour) {
            Finish(all.hsl[c - kStatHue], 8, result[c]);
        } else {
            // Grey images: hue and saturation 0, lightness the top 8 bits of the grey value.
            std::vector<uint32_t> counts(256, 0);
            if (c == kStatLightness) {
                for (size_t v = 0; v < all.counts[0].size(); ++v) counts[v >> (rd.bits - 8)] += all.counts[0][v];
            } else {
                uint64_t total = 0;
                for (uint32_t n : all.counts[0]) total += n;
                counts[0] = static_cast<uint32_t>(total);
            }
            Finish(counts, 8, result[c]);
        }
    }
    return result;
}

} // namespace internal
} // namespace Orvane
