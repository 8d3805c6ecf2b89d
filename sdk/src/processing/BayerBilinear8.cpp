// Bilinear demosaicing of 8-bit mosaics straight into packed RGB/BGR(a)
// rows: the conversion behind BayerXX8 -> BGR8 and friends. An AVX2 kernel
// handles the interior of a row 32 pixels at a time; the edges and machines
// without AVX2 use the scalar formulas. Both give identical results.
#include "processing/ColorRows.h"
#include "processing/Demosaic.h"
#include "processing/Simd.h"

namespace Orvane {
namespace internal {

namespace {

// Byte positions of R, G, B and A within an output pixel (a = -1: none), and
// the pixel's size (count).
using OutputLayout = ChannelPositions;

// Whether the row's non-green samples sit at even columns, and whether they are red.
struct RowRoles {
    bool colourAtEven;
    bool colourIsRed;
};

RowRoles RolesOf(CfaPattern cfa, size_t y) {
    unsigned rx = 0, ry = 0;
    switch (cfa) {
    case CfaPattern::GR: rx = 1; break;
    case CfaPattern::GB: ry = 1; break;
    case CfaPattern::BG: rx = 1, ry = 1; break;
    default: break;
    }
    const bool redRow = (y & 1) == ry;
    return {redRow ? rx == 0 : rx == 1, redRow};
}

// One pixel by the scalar formulas; columns reflected at the edges.
inline void ScalarPixel(const RowRoles& roles, size_t x, size_t width, const uint8_t* u, const uint8_t* c,
                        const uint8_t* d, const OutputLayout& l, uint8_t* o) {
    const size_t xl = x > 0 ? x - 1 : (width > 1 ? 1 : 0);
    const size_t xr = x + 1 < width ? x + 1 : (width > 1 ? width - 2 : 0);
    const bool colourSite = ((x & 1) == 0) == roles.colourAtEven;
    int colour, green, other;
    if (colourSite) {
        colour = c[x];
        green = (c[xl] + c[xr] + u[x] + d[x] + 2) >> 2;
        other = (u[xl] + u[xr] + d[xl] + d[xr] + 2) >> 2;
    } else {
        colour = (c[xl] + c[xr] + 1) >> 1;
        green = c[x];
        other = (u[x] + d[x] + 1) >> 1;
    }
    o[l.r] = static_cast<uint8_t>(roles.colourIsRed ? colour : other);
    o[l.g] = static_cast<uint8_t>(green);
    o[l.b] = static_cast<uint8_t>(roles.colourIsRed ? other : colour);
    if (l.a >= 0) o[l.a] = 255;
}

#ifdef ORVANE_X86

template <int Index>
ORVANE_TARGET_AVX2 inline __m256i ShuffleMask3(int channel) {
    // Byte i of output vector Index (bytes 16 * Index + i of 48) comes from pixel (16 * Index + i) / 3
    // when its channel is `channel`.
    alignas(32) int8_t m[32];
    for (int lane = 0; lane < 2; ++lane)
        for (int i = 0; i < 16; ++i) {
            const int pos = 16 * Index + i;
            m[16 * lane + i] = static_cast<int8_t>(pos % 3 == channel ? pos / 3 : 0x80);
        }
    return _mm256_load_si256(reinterpret_cast<const __m256i*>(m));
}

struct Masks3 {
    __m256i m[3][3]; // [output vector][channel]
};

ORVANE_TARGET_AVX2 Masks3 MakeMasks3() {
    Masks3 k;
    for (int c = 0; c < 3; ++c) {
        k.m[0][c] = ShuffleMask3<0>(c);
        k.m[1][c] = ShuffleMask3<1>(c);
        k.m[2][c] = ShuffleMask3<2>(c);
    }
    return k;
}

template <bool Stream>
ORVANE_TARGET_AVX2 inline void Store(uint8_t* p, __m256i v) {
    if (Stream)
        _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v);
    else
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// 32 pixels of three planes (first, second, third byte of each pixel) -> 96 bytes.
template <bool Stream>
ORVANE_TARGET_AVX2 inline void Interleave3(const Masks3& k, __m256i p0, __m256i p1, __m256i p2, uint8_t* out) {
    __m256i o[3];
    for (int j = 0; j < 3; ++j)
        o[j] = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(p0, k.m[j][0]), _mm256_shuffle_epi8(p1, k.m[j][1])),
                               _mm256_shuffle_epi8(p2, k.m[j][2]));
    // Lane 0 holds bytes 0-47 (pixels 0-15), lane 1 bytes 48-95 (pixels 16-31).
    Store<Stream>(out, _mm256_permute2x128_si256(o[0], o[1], 0x20));
    Store<Stream>(out + 32, _mm256_permute2x128_si256(o[2], o[0], 0x30));
    Store<Stream>(out + 64, _mm256_permute2x128_si256(o[1], o[2], 0x31));
}

// 32 pixels of four planes -> 128 bytes.
template <bool Stream>
ORVANE_TARGET_AVX2 inline void Interleave4(__m256i p0, __m256i p1, __m256i p2, __m256i p3, uint8_t* out) {
    const __m256i a = _mm256_unpacklo_epi8(p0, p1), b = _mm256_unpackhi_epi8(p0, p1);
    const __m256i c = _mm256_unpacklo_epi8(p2, p3), d = _mm256_unpackhi_epi8(p2, p3);
    const __m256i q0 = _mm256_unpacklo_epi16(a, c), q1 = _mm256_unpackhi_epi16(a, c); // px 0-3,4-7 | 16-19,20-23
    const __m256i q2 = _mm256_unpacklo_epi16(b, d), q3 = _mm256_unpackhi_epi16(b, d); // px 8-11,12-15 | 24-27,28-31
    Store<Stream>(out, _mm256_permute2x128_si256(q0, q1, 0x20));
    Store<Stream>(out + 32, _mm256_permute2x128_si256(q2, q3, 0x20));
    Store<Stream>(out + 64, _mm256_permute2x128_si256(q0, q1, 0x31));
    Store<Stream>(out + 96, _mm256_permute2x128_si256(q2, q3, 0x31));
}

#define ORVANE_AVX2 ORVANE_TARGET_AVX2 inline

ORVANE_AVX2 __m256i Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
ORVANE_AVX2 __m256i Even(__m256i v) { return _mm256_and_si256(v, _mm256_set1_epi16(0x00FF)); }
ORVANE_AVX2 __m256i Odd(__m256i v) { return _mm256_srli_epi16(v, 8); }
ORVANE_AVX2 __m256i Avg2(__m256i a, __m256i b) { return _mm256_avg_epu16(a, b); }
ORVANE_AVX2 __m256i Avg4(__m256i a, __m256i b, __m256i e, __m256i f) {
    const __m256i sum = _mm256_add_epi16(_mm256_add_epi16(a, b), _mm256_add_epi16(e, f));
    return _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(2)), 2);
}
// Even-column values in the low byte of each 16-bit lane, odd-column values in the high byte.
ORVANE_AVX2 __m256i Join(__m256i e, __m256i o) { return _mm256_or_si256(e, _mm256_slli_epi16(o, 8)); }

// Pixels [x, x + 32) for even x with 2 <= x and x + 34 <= width.
template <bool ColourAtEven, bool Stream>
ORVANE_AVX2 void Step(const uint8_t* u, const uint8_t* c, const uint8_t* d, size_t x, const Masks3& k,
                      const OutputLayout& l, bool colourIsRed, uint8_t* out) {
    const __m256i c0 = Load(c + x), u0 = Load(u + x), d0 = Load(d + x);
    const __m256i ce = Even(c0), co = Odd(c0), ue = Even(u0), uo = Odd(u0), de = Even(d0), dn = Odd(d0);
    __m256i colourE, colourO, greenE, greenO, otherE, otherO;
    if (ColourAtEven) {
        const __m256i cm = Load(c + x - 2), um = Load(u + x - 2), dm = Load(d + x - 2), cp = Load(c + x + 2);
        const __m256i coPrev = Odd(cm), uoPrev = Odd(um), doPrev = Odd(dm), ceNext = Even(cp);
        colourE = ce;
        greenE = Avg4(coPrev, co, ue, de);
        otherE = Avg4(uoPrev, uo, doPrev, dn);
        colourO = Avg2(ce, ceNext);
        greenO = co;
        otherO = Avg2(uo, dn);
    } else {
        const __m256i cm = Load(c + x - 2), cp = Load(c + x + 2), up = Load(u + x + 2), dp = Load(d + x + 2);
        const __m256i coPrev = Odd(cm), ceNext = Even(cp), ueNext = Even(up), deNext = Even(dp);
        greenE = ce;
        colourE = Avg2(coPrev, co);
        otherE = Avg2(ue, de);
        colourO = co;
        greenO = Avg4(ce, ceNext, uo, dn);
        otherO = Avg4(ue, ueNext, de, deNext);
    }
    const __m256i colour = Join(colourE, colourO), green = Join(greenE, greenO), other = Join(otherE, otherO);
    const __m256i red = colourIsRed ? colour : other, blue = colourIsRed ? other : colour;
    uint8_t* o = out + x * static_cast<size_t>(l.count);
    if (l.count == 3) {
        if (l.r == 0)
            Interleave3<Stream>(k, red, green, blue, o);
        else
            Interleave3<Stream>(k, blue, green, red, o);
    } else {
        const __m256i alpha = _mm256_set1_epi8(static_cast<char>(0xFF));
        if (l.r == 0)
            Interleave4<Stream>(red, green, blue, alpha, o);
        else
            Interleave4<Stream>(blue, green, red, alpha, o);
    }
}

template <bool ColourAtEven, bool Stream>
ORVANE_TARGET_AVX2 size_t Interior(const uint8_t* u, const uint8_t* c, const uint8_t* d, size_t x, size_t width,
                                   const OutputLayout& l, bool colourIsRed, uint8_t* out) {
    static const Masks3 k = MakeMasks3();
    for (; x + 34 <= width; x += 32) Step<ColourAtEven, Stream>(u, c, d, x, k, l, colourIsRed, out);
    if (Stream) _mm_sfence();
    return x;
}

#endif

} // namespace

void BilinearRow8(CfaPattern cfa, size_t y, const uint8_t* up, const uint8_t* row, const uint8_t* down, size_t width,
                  ComponentOrder order, uint8_t* out, bool streaming) {
    const RowRoles roles = RolesOf(cfa, y);
    const OutputLayout l = ChannelPositionsOf(order);
    size_t x = 0;
#ifdef ORVANE_X86
    if (HasAvx2() && width >= 40) {
        // Start on an even column >= 2 where the output is 32-byte aligned when streaming.
        size_t start = 2;
        bool stream = false;
        if (streaming) {
            const uintptr_t a = reinterpret_cast<uintptr_t>(out);
            for (size_t s = 2; s < 2 + 32; s += 2)
                if ((a + s * static_cast<size_t>(l.count)) % 32 == 0) {
                    start = s;
                    stream = true;
                    break;
                }
        }
        for (; x < start; ++x) ScalarPixel(roles, x, width, up, row, down, l, out + x * l.count);
        if (roles.colourAtEven)
            x = stream ? Interior<true, true>(up, row, down, x, width, l, roles.colourIsRed, out)
                       : Interior<true, false>(up, row, down, x, width, l, roles.colourIsRed, out);
        else
            x = stream ? Interior<false, true>(up, row, down, x, width, l, roles.colourIsRed, out)
                       : Interior<false, false>(up, row, down, x, width, l, roles.colourIsRed, out);
    }
#else
    (void)streaming;
#endif
    for (; x < width; ++x) ScalarPixel(roles, x, width, up, row, down, l, out + x * l.count);
}

} // namespace internal
} // namespace Orvane
