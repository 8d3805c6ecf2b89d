#include "processing/OpenCvRows.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc/hal/hal.hpp>

namespace Orvane {
namespace internal {

namespace {

enum Kind { kNone = 0, kColourToColour, kGreyToColour };

// Channels and blue-first order of a grey or RGB-family format whose samples fill their containers.
bool Describe(const PixelFormatInfo& f, int& channels, bool& bgr, int& depth) {
    if (f.packing != Packing::None || f.planar || f.numeric != NumericType::Unsigned) return false;
    if (f.bitsPerComponent != 8 && f.bitsPerComponent != 16) return false;
    depth = f.bitsPerComponent == 8 ? CV_8U : CV_16U;
    if (f.family == PixelFamily::Mono) {
        channels = 1;
        bgr = false;
        return true;
    }
    if (f.family != PixelFamily::Rgb) return false;
    channels = f.components;
    bgr = f.order == ComponentOrder::BGR || f.order == ComponentOrder::BGRa;
    return true;
}

} // namespace

bool OpenCvRowKernel::Wide() const { return depth == CV_16U; }

void OpenCvRowKernel::operator()(const uint8_t* in, uint8_t* out, size_t width) const {
    const int w = static_cast<int>(width);
    const size_t inStep = width * static_cast<size_t>(scn) * (depth == CV_8U ? 1 : 2);
    const size_t outStep = width * static_cast<size_t>(dcn) * (depth == CV_8U ? 1 : 2);
    switch (kind) {
    case kColourToColour: cv::hal::cvtBGRtoBGR(in, inStep, out, outStep, w, 1, depth, scn, dcn, swapBlue); break;
    case kGreyToColour: cv::hal::cvtGraytoBGR(in, inStep, out, outStep, w, 1, depth, dcn); break;
    default: break;
    }
}

OpenCvRowKernel FindOpenCvRowKernel(const PixelFormatInfo& src, const PixelFormatInfo& dst) {
    OpenCvRowKernel k;
    int sc = 0, dc = 0, sd = 0, dd = 0;
    bool sb = false, db = false;
    if (!Describe(src, sc, sb, sd) || !Describe(dst, dc, db, dd) || sd != dd) return k;
    // Grey to grey is Orvane's own; OpenCV's vectorised luma rounds differently from Orvane's.
    if (dc == 1) return k;
    k.depth = sd;
    k.scn = sc;
    k.dcn = dc;
    if (sc == 1) {
        k.kind = kGreyToColour;
    } else {
        k.kind = kColourToColour;
        k.swapBlue = sb != db;
    }
    return k;
}

} // namespace internal
} // namespace Orvane
