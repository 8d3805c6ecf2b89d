// Row conversions done by OpenCV's imgproc kernels where they compute exactly
// what Orvane defines (channel reordering, grey replication, alpha 255) and
// are faster than Orvane's generic rows. (OpenCV's vectorised luma rounds
// differently from Orvane's 14-bit formula, so grey destinations stay Orvane's.) Called one row at a time, so OpenCV
// never starts threads of its own: the caller's threads are the only ones.
#ifndef ORVANE_PROCESSING_OPENCV_ROWS_H
#define ORVANE_PROCESSING_OPENCV_ROWS_H

#include <cstddef>
#include <cstdint>

#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

// A row kernel: converts `width` pixels from `in` to `out`.
struct OpenCvRowKernel {
    int kind = 0; // 0: none
    int depth = 0;
    int scn = 0, dcn = 0;
    bool swapBlue = false;
    explicit operator bool() const { return kind != 0; }
    bool Wide() const; // 16-bit samples: rows must be 2-byte aligned
    void operator()(const uint8_t* in, uint8_t* out, size_t width) const;
};

// The kernel for this pair of formats, or an empty one (8-bit and full 16-bit
// grey and RGB/BGR/RGBa/BGRa sources, RGB/BGR/RGBa/BGRa destinations).
OpenCvRowKernel FindOpenCvRowKernel(const PixelFormatInfo& src, const PixelFormatInfo& dst);

} // namespace internal
} // namespace Orvane

#endif
