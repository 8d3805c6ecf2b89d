// Helpers of the processing tests: images as byte vectors and conversions
// between them.
#ifndef ORVANE_TESTS_PROCESSING_TEST_UTIL_H
#define ORVANE_TESTS_PROCESSING_TEST_UTIL_H

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "Orvane/Exception.h"
#include "processing/Convert.h"

namespace orvtest {

using Bytes = std::vector<uint8_t>;

inline Orvane::internal::ImageView View(const Bytes& b, size_t w, size_t h, Orvane::PixelFormatEnums f,
                                        size_t stride = 0) {
    Orvane::internal::ImageView v;
    v.data = b.data();
    v.size = b.size();
    v.width = w;
    v.height = h;
    v.stride = stride;
    v.format = f;
    return v;
}

inline Orvane::internal::MutableImageView Out(Bytes& b, size_t w, size_t h, Orvane::PixelFormatEnums f,
                                              size_t stride = 0) {
    Orvane::internal::MutableImageView v;
    v.data = b.data();
    v.size = b.size();
    v.width = w;
    v.height = h;
    v.stride = stride;
    v.format = f;
    return v;
}

// Converts a tightly packed image; the result has `bytes` bytes.
inline Bytes Conv(const Bytes& src, size_t w, size_t h, Orvane::PixelFormatEnums from, Orvane::PixelFormatEnums to,
                  size_t bytes, Orvane::ColorProcessingAlgorithm a = Orvane::COLOR_PROCESSING_DEFAULT,
                  unsigned threads = 1) {
    Bytes out(bytes, 0xEE);
    Orvane::internal::Convert(View(src, w, h, from), Out(out, w, h, to), a, threads);
    return out;
}

inline std::vector<uint16_t> Words(const Bytes& b) {
    std::vector<uint16_t> w(b.size() / 2);
    std::memcpy(w.data(), b.data(), w.size() * 2);
    return w;
}

inline Bytes FromWords(const std::vector<uint16_t>& w) {
    Bytes b(w.size() * 2);
    std::memcpy(b.data(), w.data(), b.size());
    return b;
}

inline Bytes Random(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    Bytes b(n);
    for (auto& v : b) v = static_cast<uint8_t>(rng());
    return b;
}

} // namespace orvtest

#endif
