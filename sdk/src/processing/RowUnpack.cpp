#include "processing/RowUnpack.h"

#include <cstring>

#include "processing/Simd.h"

namespace Orvane {
namespace internal {

namespace {

inline uint16_t Load16(const uint8_t* p) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}

inline uint32_t Load32(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

inline void Put(uint8_t* out, uint32_t v, unsigned n) { *out = ScaleTo8(v, n); }
inline void Put(uint16_t* out, uint32_t v, unsigned n) { *out = ScaleTo16(v, n); }

// Reads n <= 16 bits LSB-first starting at bit `bit`, touching only the bytes
// that hold them.
inline uint32_t ReadBits(const uint8_t* base, size_t bit, unsigned n) {
    const uint8_t* p = base + bit / 8;
    const unsigned shift = static_cast<unsigned>(bit % 8);
    const unsigned bytes = (shift + n + 7) / 8;
    uint32_t w = 0;
    for (unsigned i = 0; i < bytes; ++i) w |= static_cast<uint32_t>(p[i]) << (8 * i);
    return (w >> shift) & ((1u << n) - 1);
}

template <typename T>
void UnpackContainer(const PixelFormatInfo& info, const uint8_t* p, size_t count, T* out) {
    const unsigned n = info.bitsPerComponent;
    if (n <= 8) {
        if (n == 8 && sizeof(T) == 1) {
            std::memcpy(out, p, count);
            return;
        }
        const uint32_t mask = (1u << n) - 1;
        for (size_t i = 0; i < count; ++i) Put(out + i, p[i] & mask, n);
        return;
    }
    const uint32_t mask = n >= 16 ? 0xFFFFu : (1u << n) - 1;
    if (sizeof(T) == 2 && n == 16) {
        std::memcpy(out, p, count * 2);
        return;
    }
    for (size_t i = 0; i < count; ++i) Put(out + i, Load16(p + 2 * i) & mask, n);
}

// Mono12p-style stream: 2 samples in 3 bytes, LSB first.
template <typename T>
size_t Unpack12pScalar(const uint8_t* p, size_t pairs, T* out) {
    for (size_t i = 0; i < pairs; ++i, p += 3, out += 2) {
        Put(out, p[0] | (p[1] & 0x0Fu) << 8, 12);
        Put(out + 1, (p[1] >> 4) | static_cast<uint32_t>(p[2]) << 4, 12);
    }
    return pairs * 2;
}

// Mono10p-style stream: 4 samples in 5 bytes, LSB first.
template <typename T>
void Unpack10pScalar(const uint8_t* p, size_t groups, T* out) {
    for (size_t i = 0; i < groups; ++i, p += 5, out += 4) {
        Put(out, p[0] | (p[1] & 0x03u) << 8, 10);
        Put(out + 1, (p[1] >> 2) | (p[2] & 0x0Fu) << 6, 10);
        Put(out + 2, (p[2] >> 4) | (p[3] & 0x3Fu) << 4, 10);
        Put(out + 3, (p[3] >> 6) | static_cast<uint32_t>(p[4]) << 2, 10);
    }
}

#ifdef ORVANE_X86
// 16 samples of a 12p stream (24 bytes) per step; needs 28 readable bytes per step.
ORVANE_TARGET_AVX2 size_t Unpack12pAvx2(const uint8_t* p, size_t available, size_t count, uint16_t* out) {
    const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11, //
                                             0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11);
    const __m256i lowMask = _mm256_set1_epi16(0x0FFF);
    size_t done = 0;
    while (count - done >= 16 && available >= 28) {
        const __m256i raw =
            _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 12), reinterpret_cast<const __m128i*>(p));
        const __m256i w = _mm256_shuffle_epi8(raw, shuffle);
        const __m256i v = _mm256_blend_epi16(_mm256_and_si256(w, lowMask), _mm256_srli_epi16(w, 4), 0xAA);
        const __m256i v16 = _mm256_or_si256(_mm256_slli_epi16(v, 4), _mm256_srli_epi16(v, 8));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done), v16);
        p += 24;
        available -= 24;
        done += 16;
    }
    return done;
}

// 16 samples of a 10p stream (20 bytes) per step; needs 26 readable bytes per step.
ORVANE_TARGET_AVX2 size_t Unpack10pAvx2(const uint8_t* p, size_t available, size_t count, uint16_t* out) {
    const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9, //
                                             0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9);
    const __m256i mul = _mm256_setr_epi16(64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1);
    const __m256i high = _mm256_set1_epi16(static_cast<short>(0xFFC0));
    size_t done = 0;
    while (count - done >= 16 && available >= 26) {
        const __m256i raw =
            _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 10), reinterpret_cast<const __m128i*>(p));
        const __m256i t = _mm256_mullo_epi16(_mm256_shuffle_epi8(raw, shuffle), mul);
        const __m256i v16 = _mm256_or_si256(_mm256_and_si256(t, high), _mm256_srli_epi16(t, 10));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done), v16);
        p += 20;
        available -= 20;
        done += 16;
    }
    return done;
}

#endif

template <typename T>
void UnpackLsb(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, T* out) {
    const unsigned n = info.bitsPerComponent;
    size_t i = 0;
    if (bit % 8 == 0 && (n == 12 || n == 10)) {
        const uint8_t* p = base + bit / 8;
        const size_t groupSamples = n == 12 ? 2 : 4, groupBytes = n == 12 ? 3 : 5;
        const size_t groups = count / groupSamples;
#ifdef ORVANE_X86
        if (sizeof(T) == 2 && HasAvx2()) {
            // The row's own bytes bound what the vector loop may read.
            const size_t available = (count * n + 7) / 8;
            uint16_t* o = reinterpret_cast<uint16_t*>(out);
            i = n == 12 ? Unpack12pAvx2(p, available, count, o) : Unpack10pAvx2(p, available, count, o);
            p += i / groupSamples * groupBytes;
        }
#endif
        const size_t rest = groups - i / groupSamples;
        if (n == 12)
            Unpack12pScalar(p, rest, out + i);
        else
            Unpack10pScalar(p, rest, out + i);
        i += rest * groupSamples;
    }
    for (; i < count; ++i) Put(out + i, ReadBits(base, bit + i * n, n), n);
}

// GigE Vision Packed: 2 samples in 3 bytes; byte 0 and byte 2 hold the high
// bits of samples 0 and 1, byte 1 their low bits (sample 0 from bit 0, sample 1
// from bit 4). `first` is the index of the first sample in the stream at base.
template <typename T>
void UnpackGigE(const PixelFormatInfo& info, const uint8_t* base, size_t first, size_t count, T* out) {
    const unsigned n = info.bitsPerComponent; // 10 or 12
    const unsigned low = n - 8;
    const uint32_t lowMask = (1u << low) - 1;
    auto sample = [&](size_t s) -> uint32_t {
        const uint8_t* g = base + (s / 2) * 3;
        return (s % 2 == 0) ? (static_cast<uint32_t>(g[0]) << low | (g[1] & lowMask))
                            : (static_cast<uint32_t>(g[2]) << low | ((g[1] >> 4) & lowMask));
    };
    size_t i = 0;
    if (first % 2 == 1 && count > 0) {
        Put(out, sample(first), n);
        i = 1;
    }
    const uint8_t* g = base + ((first + i) / 2) * 3;
    for (; i + 1 < count; i += 2, g += 3) {
        Put(out + i, static_cast<uint32_t>(g[0]) << low | (g[1] & lowMask), n);
        Put(out + i + 1, static_cast<uint32_t>(g[2]) << low | ((g[1] >> 4) & lowMask), n);
    }
    if (i < count) Put(out + i, sample(first + i), n);
}

template <typename T>
void UnpackLsb32(const uint8_t* p, size_t count, T* out) {
    size_t i = 0;
    for (; i + 3 <= count; i += 3, p += 4) {
        const uint32_t w = Load32(p);
        Put(out + i, w & 0x3FF, 10);
        Put(out + i + 1, (w >> 10) & 0x3FF, 10);
        Put(out + i + 2, (w >> 20) & 0x3FF, 10);
    }
}

template <typename T>
void Unpack565(const uint8_t* p, size_t count, T* out) {
    for (size_t i = 0; i + 3 <= count; i += 3, p += 2) {
        const uint32_t w = Load16(p);
        Put(out + i, w & 0x1F, 5);
        Put(out + i + 1, (w >> 5) & 0x3F, 6);
        Put(out + i + 2, w >> 11, 5);
    }
}

template <typename T>
void Unpack(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, T* out) {
    switch (info.packing) {
    case Packing::None: UnpackContainer(info, base + bit / 8, count, out); break;
    case Packing::Lsb: UnpackLsb(info, base, bit, count, out); break;
    case Packing::GigE: UnpackGigE(info, base, bit / 12, count, out); break;
    case Packing::Lsb32: UnpackLsb32(base + bit / 8, count, out); break;
    case Packing::Rgb565: Unpack565(base + bit / 8, count, out); break;
    }
}

} // namespace

bool CanUnpack(const PixelFormatInfo& info) {
    if (info.numeric != NumericType::Unsigned || info.planar || info.family == PixelFamily::Compressed) return false;
    if (info.packing == Packing::None) return info.bitsPerComponent <= 16;
    if (info.packing == Packing::Lsb) return info.bitsPerComponent <= 16;
    return true;
}

size_t SamplesPerRow(const PixelFormatInfo& info, size_t width) {
    switch (info.packing) {
    case Packing::None: {
        const unsigned container = info.bitsPerComponent <= 8 ? 8 : info.bitsPerComponent <= 16 ? 16 : 32;
        return width * info.bitsPerPixel / container;
    }
    case Packing::Lsb:
    case Packing::GigE: return width * info.bitsPerPixel / (info.packing == Packing::GigE ? 12 : info.bitsPerComponent);
    case Packing::Lsb32:
    case Packing::Rgb565: return width * 3;
    }
    return 0;
}

void UnpackSamples(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, uint8_t* out) {
    Unpack(info, base, bit, count, out);
}

void UnpackSamples(const PixelFormatInfo& info, const uint8_t* base, size_t bit, size_t count, uint16_t* out) {
    Unpack(info, base, bit, count, out);
}

} // namespace internal
} // namespace Orvane
