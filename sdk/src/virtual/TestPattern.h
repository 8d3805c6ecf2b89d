// The images of the virtual cameras: test patterns written straight into a
// receive buffer, for every pixel format the virtual camera offers.
//
// Notation: b = significant bits per component of the pixel format (8, 10,
// 12, 14 or 16) and M = 2^b - 1; (x, y) = position in the image, (X, Y) =
// (x + OffsetX, y + OffsetY) = position on the sensor; W, H = image width and
// height; f = the frame's 64-bit frame ID (1 for the first frame after
// AcquisitionStart).
//
// Grey patterns give each pixel one value v:
//   Off (the sensor's scene)  v = ((X + Y + f) mod 256) << (b - 8)      a diagonal ramp moving by one pixel a frame
//   Black                     v = 0
//   White                     v = M
//   GreyHorizontalRamp        v = floor(x * M / (W - 1))
//   GreyVerticalRamp          v = floor(y * M / (H - 1))
//   GreyDiagonalRamp          v = floor((x + y) * M / (W + H - 2))
//   GreyHorizontalRampMoving  v = floor(((x + f) mod W) * M / (W - 1))
//   GreyVerticalRampMoving    v = floor(((y + f) mod H) * M / (H - 1))
//   GreyDiagonalRampMoving    v = floor(((x + y + f) mod (W + H - 1)) * M / (W + H - 2))
//   FrameCounter              v = f mod (M + 1)
//   Increment                 v = (f + y * W + x) mod (M + 1)
//   SensorTestPattern         v = M where floor(X / 64) + floor(Y / 64) is odd, else 0
// The colour pattern gives each pixel components (R, G, B):
//   ColorBar                  8 vertical bars, bar floor(x * 8 / W): white, yellow, cyan, green, magenta, red,
//                             blue, black; every component 0 or M
// Frame counter burned in: for every pattern except Black, White, FrameCounter
// and Increment, the first 64 pixels in raster order (pixel i at
// (i mod W, floor(i / W))) carry bit i of f: white (v = M; R = G = B = M)
// when the bit is 1, black (0) when it is 0.
//
// Encoding by pixel format family:
//   Mono    grey v; colour floor((R + 2G + B) / 4)
//   Bayer   the component of the pixel's filter colour, from the format's 2x2
//           pattern at image position (x, y) (BayerRG: R at (0, 0), G at
//           (1, 0) and (0, 1), B at (1, 1)); grey v
//   RGB8, BGR8, RGBa8, BGRa8   the components in the format's order, alpha 255; grey R = G = B = v
//   YUV and YCbCr (8 bits, full range, BT.601):
//           Y = (77R + 150G + 29B + 128) >> 8
//           U = (-43R - 85G + 128B + 32896) >> 8, V = (128R - 107G - 21B + 32896) >> 8, each clamped to 0..255
//           (grey: Y = v, U = V = 128); the 4:2:2 formats (YUV422_8 = Y0 U Y1 V, YUV422_8_UYVY = U Y0 V Y1,
//           YCbCr422_8 = Y0 Cb Y1 Cr) take U and V from the even pixel of each pair; YUV8_UYV = U Y V per pixel.
// Storage: 8-bit components in one byte; 10- to 16-bit unpacked formats in
// little-endian 16-bit words holding the value in their low bits; the "p"
// formats as one LSB-first bit stream over the whole image (pixel i in bits
// [i b, (i + 1) b)); the GigE Vision "Packed" formats as 2 pixels in 3 bytes
// (byte 0 = high 8 bits of the first, byte 2 = high 8 bits of the second,
// byte 1 = low bits of the first in its bits 0.., low bits of the second in
// its bits 4..). Lines are not padded.
#ifndef ORVANE_VIRTUAL_TEST_PATTERN_H
#define ORVANE_VIRTUAL_TEST_PATTERN_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {
namespace internal {

struct PatternFrame {
    uint8_t* data = nullptr;
    size_t capacity = 0; // bytes at data
    uint32_t width = 0, height = 0, offsetX = 0, offsetY = 0;
    uint32_t pixelFormat = 0; // PFNC code
    int64_t pattern = 0;      // TestPattern register value (vcam::value::TestPattern)
    uint64_t frameId = 0;
};

// Reusable work space of a pattern generator (one per virtual camera; keeps
// the fill free of allocations once warm). Not thread-safe.
class PatternScratch {
public:
    std::vector<uint16_t> table;   // per-frame value table of a grey pattern
    std::vector<uint8_t> encoded;  // the same table, encoded in the pixel format
    std::vector<uint16_t> r, g, b; // one line of components
};

// The bytes of a W x H image in the format (no line padding), or 0 when the
// format is not one the virtual cameras offer.
size_t PatternImageBytes(uint32_t pixelFormat, uint32_t width, uint32_t height);

// Writes the pattern into frame.data. Returns the bytes written (the image
// size), or 0 when the format is not offered or the image does not fit in
// capacity. An unknown pattern value draws Off.
size_t FillTestPattern(const PatternFrame& frame, PatternScratch& scratch);

} // namespace internal
} // namespace Orvane

#endif
