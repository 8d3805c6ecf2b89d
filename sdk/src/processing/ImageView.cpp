#include "processing/ImageView.h"

#include <string>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {

bool MulOverflows(size_t a, size_t b, size_t* out) { return __builtin_mul_overflow(a, b, out); }
bool AddOverflows(size_t a, size_t b, size_t* out) { return __builtin_add_overflow(a, b, out); }

std::string Dims(size_t width, size_t height, const PixelFormatInfo& info) {
    return std::to_string(width) + "x" + std::to_string(height) + " " + info.name;
}

} // namespace

std::string FormatName(PixelFormatEnums format) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    if (info != nullptr) return info->name;
    return "pixel format " + std::to_string(static_cast<int>(format));
}

ImageLayout ComputeLayout(PixelFormatEnums format, size_t width, size_t height, size_t stride, const char* what) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    if (info == nullptr)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + what + " has an unknown pixel format (" +
                                                   std::to_string(static_cast<int>(format)) + ")");
    if (info->aliasOf != UNKNOWN_PIXELFORMAT) info = FindPixelFormat(info->aliasOf);
    if (width == 0 || height == 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + what + " image is empty (" +
                                                   std::to_string(width) + "x" + std::to_string(height) + ")");
    const unsigned group = info->chromaSubsampling > 1 ? info->chromaSubsampling : 1;
    if (width % group != 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + what + " width " + std::to_string(width) +
                                                   " is not a multiple of " + std::to_string(group) + ", as " +
                                                   info->name + " requires");
    ImageLayout l;
    l.info = info;
    l.width = width;
    l.height = height;
    const size_t planes = info->planar ? info->components : 1;
    const size_t pixelBits = info->bitsPerPixel / planes; // per plane
    size_t rowBits = 0;
    if (MulOverflows(width, pixelBits, &rowBits) || rowBits > SIZE_MAX / 2)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  std::string("The ") + what + " image is too large (" + Dims(width, height, *info) + ")");
    const size_t rowBytes = (rowBits + 7) / 8;
    size_t lastRowEnd = 0; // bits, from the plane start to the end of the last row
    if (stride != 0) {
        if (stride < rowBytes)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + what + " stride " + std::to_string(stride) +
                                                       " is smaller than a row of " + Dims(width, height, *info) +
                                                       " (" + std::to_string(rowBytes) + " bytes)");
        l.explicitStride = true;
        if (MulOverflows(stride, 8, &l.rowBits))
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, std::string("The ") + what + " stride is too large");
    } else {
        l.rowBits = rowBits;
    }
    size_t planeBits = 0;
    if (MulOverflows(height - 1, l.rowBits, &planeBits) || AddOverflows(planeBits, rowBits, &lastRowEnd))
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  std::string("The ") + what + " image is too large (" + Dims(width, height, *info) + ")");
    if (planes == 1) {
        l.bytes = lastRowEnd / 8 + (lastRowEnd % 8 != 0 ? 1 : 0);
    } else {
        // Every plane holds height whole rows.
        size_t planeBytes = 0;
        if (MulOverflows(height, l.rowBits / 8 + (l.rowBits % 8 != 0 ? 1 : 0), &planeBytes) ||
            MulOverflows(planeBytes, planes, &l.bytes))
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                      std::string("The ") + what + " image is too large (" + Dims(width, height, *info) + ")");
        if (l.rowBits % 8 != 0) l.rowBits = (l.rowBits / 8 + 1) * 8; // planar rows start on bytes
        l.planeBytes = planeBytes;
    }
    return l;
}

ImageLayout CheckedLayout(const ImageView& view, const char* what) {
    ImageLayout l = ComputeLayout(view.format, view.width, view.height, view.stride, what);
    if (view.data == nullptr) ORV_RAISE(ORVANE_ERR_INVALID_BUFFER, std::string("The ") + what + " image has no buffer");
    if (view.size < l.bytes)
        ORV_RAISE(ORVANE_ERR_INVALID_BUFFER, std::string("The ") + what + " buffer holds " + std::to_string(view.size) +
                                                 " bytes; a " + Dims(view.width, view.height, *l.info) +
                                                 " image needs " + std::to_string(l.bytes));
    return l;
}

} // namespace internal
} // namespace Orvane
