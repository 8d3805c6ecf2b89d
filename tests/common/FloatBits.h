// A double's IEEE-754 bit pattern and back, for tests that compare floating
// values bit for bit (NaN payloads, -0.0).
#ifndef ORVANE_TESTS_COMMON_FLOAT_BITS_H
#define ORVANE_TESTS_COMMON_FLOAT_BITS_H

#include <cstdint>
#include <cstring>

namespace orvtest {

inline uint64_t BitsOf(double v) {
    uint64_t b;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

inline double DoubleOf(uint64_t b) {
    double v;
    std::memcpy(&v, &b, sizeof v);
    return v;
}

} // namespace orvtest

#endif
