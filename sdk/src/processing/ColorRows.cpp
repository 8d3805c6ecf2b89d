#include "processing/ColorRows.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "processing/Simd.h"

namespace Orvane {
namespace internal {

namespace {

// Accumulator wide enough for 14-bit fixed point at this depth.
template <typename T>
using Acc = typename std::conditional<sizeof(T) == 1, int32_t, int64_t>::type;

template <typename T>
inline T Clamp(Acc<T> v) {
    return static_cast<T>(v < 0 ? 0 : v > static_cast<Acc<T>>(Depth<T>::kMax) ? Depth<T>::kMax : v);
}

// Floor division by 2^14 after adding half: round to nearest.
template <typename T>
inline Acc<T> Round14(Acc<T> v) {
    return (v + 8192) >> 14;
}

template <typename T>
inline T Luma(uint32_t r, uint32_t g, uint32_t b) {
    return static_cast<T>((4899u * r + 9617u * g + 1868u * b + 8192u) >> 14);
}

template <typename T>
inline void RgbToYuv(Acc<T> r, Acc<T> g, Acc<T> b, T* yuv) {
    const Acc<T> mid = Depth<T>::kMid;
    yuv[0] = Luma<T>(static_cast<uint32_t>(r), static_cast<uint32_t>(g), static_cast<uint32_t>(b));
    yuv[1] = Clamp<T>(Round14<T>(-2765 * r - 5427 * g + 8192 * b) + mid);
    yuv[2] = Clamp<T>(Round14<T>(8192 * r - 6860 * g - 1332 * b) + mid);
}

template <typename T>
inline void YuvToRgb(Acc<T> y, Acc<T> u, Acc<T> v, T* rgb) {
    const Acc<T> mid = Depth<T>::kMid;
    u -= mid;
    v -= mid;
    const Acc<T> y14 = y * 16384;
    rgb[0] = Clamp<T>(Round14<T>(y14 + 22970 * v));
    rgb[1] = Clamp<T>(Round14<T>(y14 - 5638 * u - 11700 * v));
    rgb[2] = Clamp<T>(Round14<T>(y14 + 29032 * u));
}

inline void Store16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, 2); }

} // namespace

template <typename T>
void GrayToRgba(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, out += 4) {
        out[0] = out[1] = out[2] = in[i];
        out[3] = static_cast<T>(Depth<T>::kMax);
    }
}

template <typename T>
void GrayToYuva(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, out += 4) {
        out[0] = in[i];
        out[1] = out[2] = static_cast<T>(Depth<T>::kMid);
        out[3] = static_cast<T>(Depth<T>::kMax);
    }
}

template <typename T>
void RgbaToGray(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, in += 4) out[i] = Luma<T>(in[0], in[1], in[2]);
}

template <typename T>
void RgbaToYuva(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, in += 4, out += 4) {
        RgbToYuv<T>(in[0], in[1], in[2], out);
        out[3] = in[3];
    }
}

template <typename T>
void YuvaToRgba(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, in += 4, out += 4) {
        YuvToRgb<T>(in[0], in[1], in[2], out);
        out[3] = in[3];
    }
}

template <typename T>
void YuvaToGray(const T* in, size_t n, T* out) {
    for (size_t i = 0; i < n; ++i, in += 4) out[i] = in[0];
}

template <typename T>
void ConvertKind(RowKind from, const T* in, size_t n, RowKind to, T* out) {
    if (from == to) {
        std::memcpy(out, in, n * sizeof(T) * (from == RowKind::Gray ? 1 : 4));
        return;
    }
    switch (from) {
    case RowKind::Gray:
        if (to == RowKind::Rgba)
            GrayToRgba(in, n, out);
        else
            GrayToYuva(in, n, out);
        break;
    case RowKind::Rgba:
        if (to == RowKind::Gray)
            RgbaToGray(in, n, out);
        else
            RgbaToYuva(in, n, out);
        break;
    case RowKind::Yuva:
        if (to == RowKind::Gray)
            YuvaToGray(in, n, out);
        else
            YuvaToRgba(in, n, out);
        break;
    }
}

template <typename T>
void RgbSamplesToRgba(const PixelFormatInfo& info, const T* s, size_t n, T* out) {
    const ChannelPositions p = ChannelPositionsOf(info.order);
    for (size_t i = 0; i < n; ++i, s += p.count, out += 4) {
        out[0] = s[p.r];
        out[1] = s[p.g];
        out[2] = s[p.b];
        out[3] = p.a >= 0 ? s[p.a] : static_cast<T>(Depth<T>::kMax);
    }
}

#ifdef ORVANE_X86
namespace {

// Luma of 16 pixels of 3 or 4 interleaved 8-bit channels per step; returns the pixels done.
ORVANE_TARGET_AVX2 size_t GreyAvx2(const uint8_t* s, size_t n, int channels, int r, int g, int b, uint8_t* out) {
    // mask[c][j]: bytes of channel position c found in 16-byte chunk j of a 16-pixel group.
    alignas(16) int8_t mask[4][4][16];
    for (int c = 0; c < channels; ++c)
        for (int j = 0; j < channels; ++j)
            for (int i = 0; i < 16; ++i) {
                const int at = channels * i + c - 16 * j;
                mask[c][j][i] = static_cast<int8_t>(at >= 0 && at < 16 ? at : 0x80);
            }
    auto channel = [&](const __m128i* chunk, int c) ORVANE_TARGET_AVX2 {
        __m128i v = _mm_shuffle_epi8(chunk[0], _mm_load_si128(reinterpret_cast<const __m128i*>(mask[c][0])));
        for (int j = 1; j < channels; ++j)
            v = _mm_or_si128(v,
                             _mm_shuffle_epi8(chunk[j], _mm_load_si128(reinterpret_cast<const __m128i*>(mask[c][j]))));
        return _mm256_cvtepu8_epi16(v);
    };
    const __m256i kRG = _mm256_set1_epi32(9617 << 16 | 4899), kB = _mm256_set1_epi32(1868);
    const __m256i half = _mm256_set1_epi32(8192);
    size_t i = 0;
    for (; i + 16 <= n; i += 16, s += 16 * channels) {
        __m128i chunk[4];
        for (int j = 0; j < channels; ++j) chunk[j] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16 * j));
        const __m256i rv = channel(chunk, r), gv = channel(chunk, g), bv = channel(chunk, b);
        const __m256i zero = _mm256_setzero_si256();
        const __m256i lo = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(rv, gv), kRG),
                                            _mm256_madd_epi16(_mm256_unpacklo_epi16(bv, zero), kB));
        const __m256i hi = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(rv, gv), kRG),
                                            _mm256_madd_epi16(_mm256_unpackhi_epi16(bv, zero), kB));
        const __m256i y16 = _mm256_packus_epi32(_mm256_srli_epi32(_mm256_add_epi32(lo, half), 14),
                                                _mm256_srli_epi32(_mm256_add_epi32(hi, half), 14));
        const __m256i y8 = _mm256_permute4x64_epi64(_mm256_packus_epi16(y16, y16), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm256_castsi256_si128(y8));
    }
    return i;
}

} // namespace
#endif

template <typename T>
void RgbSamplesToGray(const PixelFormatInfo& info, const T* s, size_t n, T* out) {
    const ChannelPositions p = ChannelPositionsOf(info.order);
#ifdef ORVANE_X86
    if (sizeof(T) == 1 && HasAvx2()) {
        const size_t done =
            GreyAvx2(reinterpret_cast<const uint8_t*>(s), n, p.count, p.r, p.g, p.b, reinterpret_cast<uint8_t*>(out));
        s += done * p.count;
        out += done;
        n -= done;
    }
#endif
    if (p.count == 3 && p.r == 0) {
        for (size_t i = 0; i < n; ++i, s += 3) out[i] = Luma<T>(s[0], s[1], s[2]);
    } else if (p.count == 3) {
        for (size_t i = 0; i < n; ++i, s += 3) out[i] = Luma<T>(s[2], s[1], s[0]);
    } else {
        for (size_t i = 0; i < n; ++i, s += p.count) out[i] = Luma<T>(s[p.r], s[p.g], s[p.b]);
    }
}

template <typename T>
RowKind YuvSamplesToRow(const PixelFormatInfo& info, const T* s, size_t n, T* out) {
    const T alpha = static_cast<T>(Depth<T>::kMax);
    // Gather Y, U, V per pixel.
    T* o = out;
    switch (info.order) {
    case ComponentOrder::YUV:
    case ComponentOrder::UYV: {
        const int y = info.order == ComponentOrder::YUV ? 0 : 1, u = info.order == ComponentOrder::YUV ? 1 : 0;
        for (size_t i = 0; i < n; ++i, s += 3, o += 4) {
            o[0] = s[y];
            o[1] = s[u];
            o[2] = s[2];
            o[3] = alpha;
        }
        break;
    }
    case ComponentOrder::YUYV:
    case ComponentOrder::UYVY: {
        const bool yFirst = info.order == ComponentOrder::YUYV;
        for (size_t i = 0; i < n; i += 2, s += 4, o += 8) {
            const T y0 = yFirst ? s[0] : s[1], y1 = yFirst ? s[2] : s[3];
            const T u = yFirst ? s[1] : s[0], v = yFirst ? s[3] : s[2];
            o[0] = y0, o[1] = u, o[2] = v, o[3] = alpha;
            o[4] = y1, o[5] = u, o[6] = v, o[7] = alpha;
        }
        break;
    }
    case ComponentOrder::YYUYYV:
    case ComponentOrder::UYYVYY: {
        const bool yFirst = info.order == ComponentOrder::YYUYYV;
        for (size_t i = 0; i < n; i += 4, s += 6, o += 16) {
            const T y[4] = {yFirst ? s[0] : s[1], yFirst ? s[1] : s[2], yFirst ? s[3] : s[4], yFirst ? s[4] : s[5]};
            const T u = yFirst ? s[2] : s[0], v = yFirst ? s[5] : s[3];
            for (int k = 0; k < 4; ++k) {
                o[4 * k] = y[k];
                o[4 * k + 1] = u;
                o[4 * k + 2] = v;
                o[4 * k + 3] = alpha;
            }
        }
        break;
    }
    default: break;
    }
    using A = Acc<T>;
    if (sizeof(T) == 2 && info.bitsPerComponent < 16) {
        // Chroma is centred on exactly half the range: scale it by shifting, not by replication.
        const T mask = static_cast<T>(0xFFFFu << (16 - info.bitsPerComponent));
        for (size_t i = 0; i < n; ++i) {
            out[4 * i + 1] &= mask;
            out[4 * i + 2] &= mask;
        }
    }
    // Studio-range offsets: luma black at 16 (16 * 257 at 16 bits, like replicated samples),
    // chroma centred at 128 (32768).
    const A black = sizeof(T) == 1 ? 16 : 16 * 257, mid = Depth<T>::kMid;
    switch (info.colorSpace) {
    case ColorSpace::YCbCr601:
        for (size_t i = 0; i < n; ++i) {
            T* p = out + 4 * i;
            p[0] = Clamp<T>(Round14<T>((A(p[0]) - black) * 19077));
            p[1] = Clamp<T>(Round14<T>((A(p[1]) - mid) * 18651) + mid);
            p[2] = Clamp<T>(Round14<T>((A(p[2]) - mid) * 18651) + mid);
        }
        return RowKind::Yuva;
    case ColorSpace::YCbCr709:
        for (size_t i = 0; i < n; ++i) {
            T* p = out + 4 * i;
            const A y = (A(p[0]) - black) * 19077, u = A(p[1]) - mid, v = A(p[2]) - mid;
            p[0] = Clamp<T>(Round14<T>(y + 29372 * v));
            p[1] = Clamp<T>(Round14<T>(y - 3494 * u - 8731 * v));
            p[2] = Clamp<T>(Round14<T>(y + 34610 * u));
        }
        return RowKind::Rgba;
    default: return RowKind::Yuva;
    }
}

template <typename T>
void ChannelToRgba(const PixelFormatInfo& info, const T* in, size_t n, T* out) {
    const int c = info.order == ComponentOrder::R ? 0 : info.order == ComponentOrder::B ? 2 : 1;
    for (size_t i = 0; i < n; ++i, out += 4) {
        out[0] = out[1] = out[2] = 0;
        out[c] = in[i];
        out[3] = static_cast<T>(Depth<T>::kMax);
    }
}

void RgbaToRgbRow(const PixelFormatInfo& dst, const uint8_t* in, size_t n, uint8_t* out) {
    const ChannelPositions p = ChannelPositionsOf(dst.order);
    if (p.count == 4 && p.r == 0) {
        std::memcpy(out, in, n * 4);
        return;
    }
    for (size_t i = 0; i < n; ++i, in += 4, out += p.count) {
        out[p.r] = in[0];
        out[p.g] = in[1];
        out[p.b] = in[2];
        if (p.a >= 0) out[p.a] = in[3];
    }
}

void RgbaToRgbRow(const PixelFormatInfo& dst, const uint16_t* in, size_t n, uint8_t* out) {
    const ChannelPositions p = ChannelPositionsOf(dst.order);
    for (size_t i = 0; i < n; ++i, in += 4, out += 2 * p.count) {
        Store16(out + 2 * p.r, in[0]);
        Store16(out + 2 * p.g, in[1]);
        Store16(out + 2 * p.b, in[2]);
        if (p.a >= 0) Store16(out + 2 * p.a, in[3]);
    }
}

void YuvaToYuvRow(const PixelFormatInfo& dst, const uint8_t* in, size_t n, uint8_t* out) {
    switch (dst.order) {
    case ComponentOrder::YUV:
    case ComponentOrder::UYV: {
        const int y = dst.order == ComponentOrder::YUV ? 0 : 1, u = dst.order == ComponentOrder::YUV ? 1 : 0;
        for (size_t i = 0; i < n; ++i, in += 4, out += 3) {
            out[y] = in[0];
            out[u] = in[1];
            out[2] = in[2];
        }
        break;
    }
    case ComponentOrder::YUYV:
    case ComponentOrder::UYVY: {
        const bool yFirst = dst.order == ComponentOrder::YUYV;
        for (size_t i = 0; i + 1 < n; i += 2, in += 8, out += 4) {
            const uint8_t u = static_cast<uint8_t>((in[1] + in[5] + 1) >> 1);
            const uint8_t v = static_cast<uint8_t>((in[2] + in[6] + 1) >> 1);
            if (yFirst) {
                out[0] = in[0], out[1] = u, out[2] = in[4], out[3] = v;
            } else {
                out[0] = u, out[1] = in[0], out[2] = v, out[3] = in[4];
            }
        }
        break;
    }
    default: break;
    }
}

namespace {

// Writes n bits of v LSB-first at bit `bit`, keeping the other bits of the bytes it touches.
inline void WriteBits(uint8_t* base, size_t bit, uint32_t v, unsigned n) {
    uint8_t* p = base + bit / 8;
    unsigned shift = static_cast<unsigned>(bit % 8);
    while (n > 0) {
        const unsigned take = std::min(n, 8 - shift);
        const uint32_t mask = ((1u << take) - 1) << shift;
        *p = static_cast<uint8_t>((*p & ~mask) | ((v << shift) & mask));
        v >>= take;
        n -= take;
        shift = 0;
        ++p;
    }
}

} // namespace

void GrayToMonoRow(const PixelFormatInfo& dst, const uint8_t* gray, size_t n, uint8_t* base, size_t bit) {
    std::memcpy(base + bit / 8, gray, n); // Mono8 is the only 8-bit mono destination
    (void)dst;
}

void GrayToMonoRow(const PixelFormatInfo& dst, const uint16_t* gray, size_t n, uint8_t* base, size_t bit) {
    const unsigned bits = dst.bitsPerComponent;
    const unsigned drop = 16 - bits;
    if (dst.packing == Packing::None) {
        uint8_t* out = base + bit / 8;
        if (drop == 0) {
            std::memcpy(out, gray, n * 2);
        } else {
            for (size_t i = 0; i < n; ++i) Store16(out + 2 * i, static_cast<uint16_t>(gray[i] >> drop));
        }
        return;
    }
    if (dst.packing == Packing::GigE) {
        const unsigned low = bits - 8;
        const uint32_t lowMask = (1u << low) - 1;
        size_t s = bit / 12; // index of the first sample in the stream at base
        size_t i = 0;
        auto writeOne = [&](size_t index, uint32_t v) {
            uint8_t* g = base + (index / 2) * 3;
            if (index % 2 == 0) {
                g[0] = static_cast<uint8_t>(v >> low);
                g[1] = static_cast<uint8_t>((g[1] & ~lowMask) | (v & lowMask));
            } else {
                g[2] = static_cast<uint8_t>(v >> low);
                g[1] = static_cast<uint8_t>((g[1] & ~(lowMask << 4)) | ((v & lowMask) << 4));
            }
        };
        if (s % 2 == 1 && n > 0) {
            writeOne(s, gray[0] >> drop);
            i = 1;
        }
        uint8_t* g = base + ((s + i) / 2) * 3;
        for (; i + 1 < n; i += 2, g += 3) {
            const uint32_t a = gray[i] >> drop, b = gray[i + 1] >> drop;
            g[0] = static_cast<uint8_t>(a >> low);
            g[1] = static_cast<uint8_t>((a & lowMask) | (b & lowMask) << 4);
            g[2] = static_cast<uint8_t>(b >> low);
        }
        if (i < n) writeOne(s + i, gray[i] >> drop);
        return;
    }
    // PFNC lsb-first packing.
    size_t i = 0;
    if (bit % 8 == 0 && bits == 12) {
        uint8_t* p = base + bit / 8;
        for (; i + 1 < n; i += 2, p += 3) {
            const uint32_t a = gray[i] >> 4, b = gray[i + 1] >> 4;
            p[0] = static_cast<uint8_t>(a);
            p[1] = static_cast<uint8_t>((a >> 8) | (b << 4));
            p[2] = static_cast<uint8_t>(b >> 4);
        }
    } else if (bit % 8 == 0 && bits == 10) {
        uint8_t* p = base + bit / 8;
        for (; i + 3 < n; i += 4, p += 5) {
            const uint32_t a = gray[i] >> 6, b = gray[i + 1] >> 6, c = gray[i + 2] >> 6, d = gray[i + 3] >> 6;
            p[0] = static_cast<uint8_t>(a);
            p[1] = static_cast<uint8_t>((a >> 8) | (b << 2));
            p[2] = static_cast<uint8_t>((b >> 6) | (c << 4));
            p[3] = static_cast<uint8_t>((c >> 4) | (d << 6));
            p[4] = static_cast<uint8_t>(d >> 2);
        }
    }
    for (; i < n; ++i) WriteBits(base, bit + i * bits, gray[i] >> drop, bits);
}

// T is a type: it cannot be parenthesised in a template argument list.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define ORVANE_INSTANTIATE(T)                                                          \
    template void GrayToRgba<T>(const T*, size_t, T*);                                 \
    template void GrayToYuva<T>(const T*, size_t, T*);                                 \
    template void RgbaToGray<T>(const T*, size_t, T*);                                 \
    template void RgbaToYuva<T>(const T*, size_t, T*);                                 \
    template void YuvaToRgba<T>(const T*, size_t, T*);                                 \
    template void YuvaToGray<T>(const T*, size_t, T*);                                 \
    template void ConvertKind<T>(RowKind, const T*, size_t, RowKind, T*);              \
    template void RgbSamplesToRgba<T>(const PixelFormatInfo&, const T*, size_t, T*);   \
    template void RgbSamplesToGray<T>(const PixelFormatInfo&, const T*, size_t, T*);   \
    template RowKind YuvSamplesToRow<T>(const PixelFormatInfo&, const T*, size_t, T*); \
    template void ChannelToRgba<T>(const PixelFormatInfo&, const T*, size_t, T*);
// NOLINTEND(bugprone-macro-parentheses)
ORVANE_INSTANTIATE(uint8_t)
ORVANE_INSTANTIATE(uint16_t)
#undef ORVANE_INSTANTIATE

} // namespace internal
} // namespace Orvane
