// The processing kernels' x86 vector code: whether it is built (ORVANE_X86),
// how a function is marked for AVX2, and the one run-time check of whether
// the CPU has AVX2. Kernels compiled for AVX2 run only when HasAvx2() says
// so; every such kernel has a scalar twin giving identical results.
#ifndef ORVANE_PROCESSING_SIMD_H
#define ORVANE_PROCESSING_SIMD_H

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define ORVANE_X86 1
// Compiles one function for AVX2 (the rest of the file stays baseline x86).
#define ORVANE_TARGET_AVX2 __attribute__((target("avx2")))
#endif

namespace Orvane {
namespace internal {

// Whether this CPU runs AVX2 code; asked once per process. False off x86.
inline bool HasAvx2() {
#ifdef ORVANE_X86
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
#else
    return false;
#endif
}

} // namespace internal
} // namespace Orvane

#endif
