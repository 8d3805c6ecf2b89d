// Views of image buffers for the processing kernels, and the layout rules
// that turn a view into row and plane positions.
//
// Layout rules
// - Rows are `stride` bytes apart. A stride of 0 means "no padding": the rows
//   follow each other as one continuous stream, so in packed formats whose
//   rows are not a whole number of bytes (Mono12p of odd width) a row may
//   start in the middle of a byte. An explicit stride must hold a whole row;
//   every row then starts on a byte boundary and, in packed formats, with the
//   first pixel of a packing group.
// - Planar formats store one plane per component, planes one after another;
//   `stride` is the distance between rows of one plane and every plane holds
//   `height` rows.
// - Multi-byte containers are little-endian. Buffers need no alignment.
#ifndef ORVANE_PROCESSING_IMAGE_VIEW_H
#define ORVANE_PROCESSING_IMAGE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "Orvane/PixelFormatEnums.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

// A read-only image: `size` bytes at `data`, `width` x `height` pixels.
struct ImageView {
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t width = 0;
    size_t height = 0;
    size_t stride = 0; // bytes from one row to the next; 0: no padding (see above)
    PixelFormatEnums format = UNKNOWN_PIXELFORMAT;
    bool jpeg = false; // the payload is a JPEG file, whatever `format` says
};

// A writable image, laid out like ImageView.
struct MutableImageView {
    uint8_t* data = nullptr;
    size_t size = 0;
    size_t width = 0;
    size_t height = 0;
    size_t stride = 0;
    PixelFormatEnums format = UNKNOWN_PIXELFORMAT;

    ImageView View() const { return ImageView{data, size, width, height, stride, format, false}; }
};

// Where the rows and planes of a view lie.
struct ImageLayout {
    const PixelFormatInfo* info = nullptr; // for aliases: the canonical format
    size_t width = 0;
    size_t height = 0;
    size_t rowBits = 0;    // distance between row starts, in bits
    size_t planeBytes = 0; // planar formats: distance between planes
    size_t bytes = 0;      // bytes the image occupies
    bool explicitStride = false;

    // Bit offset of row y from the start of its plane.
    size_t RowBit(size_t y) const { return y * rowBits; }
};

// Computes the layout of a width x height image of `format` with `stride`
// (0: no padding). Raises ORVANE_ERR_INVALID_ARGUMENT for an unknown format,
// a zero size, a stride too small for a row, a width the format cannot have
// (4:2:2 needs an even width, 4:1:1 a multiple of 4) or sizes whose byte count
// overflows. `what` names the image in messages ("source", "destination").
ImageLayout ComputeLayout(PixelFormatEnums format, size_t width, size_t height, size_t stride, const char* what);

// Computes the layout of a view and checks its buffer: raises
// ORVANE_ERR_INVALID_BUFFER when data is null or size is smaller than the layout needs.
ImageLayout CheckedLayout(const ImageView& view, const char* what);

// The name of a format for messages: its GenICam name, or "pixel format <n>".
std::string FormatName(PixelFormatEnums format);

} // namespace internal
} // namespace Orvane

#endif
