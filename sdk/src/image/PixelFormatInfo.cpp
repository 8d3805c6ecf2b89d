#include "image/PixelFormatInfo.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Orvane {
namespace internal {
namespace {

struct PixelFormatCodeEntry {
    uint32_t code;
    PixelFormatEnums format;
};

#include "image/PixelFormatTable.inc"

} // namespace

const PixelFormatInfo* FindPixelFormat(PixelFormatEnums format) {
    const int i = static_cast<int>(format);
    if (i < 0 || i >= NUM_PIXELFORMATS) return nullptr;
    return &kPixelFormatTable[i];
}

const PixelFormatInfo* FindPixelFormatByPfnc(uint32_t code) {
    const auto* end = std::end(kPixelFormatsByCode);
    const auto* it = std::lower_bound(std::begin(kPixelFormatsByCode), end, code,
                                      [](const PixelFormatCodeEntry& e, uint32_t c) { return e.code < c; });
    if (it == end || it->code != code) return nullptr;
    return &kPixelFormatTable[it->format];
}

const PixelFormatInfo* FindPixelFormatByName(const char* name) {
    if (name == nullptr) return nullptr;
    const auto* end = std::end(kPixelFormatsByName);
    const auto* it = std::lower_bound(
        std::begin(kPixelFormatsByName), end, name,
        [](PixelFormatEnums f, const char* n) { return std::strcmp(kPixelFormatTable[f].name, n) < 0; });
    if (it == end || std::strcmp(kPixelFormatTable[*it].name, name) != 0) return nullptr;
    return &kPixelFormatTable[*it];
}

size_t PackedImageBytes(const PixelFormatInfo& info, size_t width, size_t height) {
    size_t pixels = 0, bits = 0;
    if (__builtin_mul_overflow(width, height, &pixels) || __builtin_mul_overflow(pixels, info.bitsPerPixel, &bits))
        return SIZE_MAX;
    return bits / 8 + (bits % 8 != 0 ? 1 : 0);
}

} // namespace internal
} // namespace Orvane
