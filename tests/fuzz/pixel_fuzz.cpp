// Fuzz target: pixel conversion, gamma and statistics over an image of
// arbitrary format, size, padding and buffer size. The first 14 bytes of the
// input describe the image; the rest is its buffer:
//   0-1  source pixel format (little-endian index; out of range: unknown)
//   2-3  destination pixel format (the same)
//   4-5  width, 6-7 height (images above 16 Mpixel are skipped)
//   8    padding after each row (bytes), 9 padding rows after the image
//   10   bit 0: the image is a stream image over the buffer (with the
//        padding), else one made by Image::Create (no padding);
//        bits 1-3: colour processing; bit 4: statistics; bit 5: gamma;
//        bit 6: inverse gamma
//   11   payload type
//   12   gamma (signed, in eighths)
//   13   bytes cut from the end of the buffer's declared size
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "Orvane/Exception.h"
#include "Orvane/Image.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/ImageStatistics.h"
#include "image/ImageAccess.h"
#include "image/ImageImpl.h"

using namespace Orvane;

namespace {

const size_t kHeader = 14;

PixelFormatEnums FormatAt(const uint8_t* p) {
    const unsigned index = (unsigned(p[0]) | unsigned(p[1]) << 8) % (unsigned(NUM_PIXELFORMATS) + 1);
    return index == unsigned(NUM_PIXELFORMATS) ? UNKNOWN_PIXELFORMAT : static_cast<PixelFormatEnums>(index);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kHeader || size > orvfuzz::kMaxInput) return 0;
    const PixelFormatEnums source = FormatAt(data);
    const PixelFormatEnums destination = FormatAt(data + 2);
    const size_t width = size_t(data[4]) | size_t(data[5]) << 8;
    const size_t height = size_t(data[6]) | size_t(data[7]) << 8;
    if (uint64_t(width) * height > orvfuzz::kMaxPixels) return 0;
    const uint8_t flags = data[10];
    const TLPayloadType payloadType = static_cast<TLPayloadType>(data[11] % 11);
    const float gamma = static_cast<float>(static_cast<int8_t>(data[12])) / 8.0f;
    // The buffer, exactly as long as the rest of the input.
    std::vector<uint8_t> buffer(data + kHeader, data + size);
    const size_t declared = buffer.size() - (data[13] < buffer.size() ? data[13] : buffer.size());

    ImagePtr image = Image::Create();
    try {
        if (flags & 1) {
            internal::ImageMetadata m;
            m.width = width;
            m.height = height;
            m.paddingX = data[8];
            m.paddingY = data[9];
            m.pixelFormat = source;
            m.tlPayloadType = payloadType;
            m.validPayloadSize = declared;
            internal::ImageAccess::Attach(*image, m, buffer.data(), declared, nullptr, nullptr);
        } else {
            // A data size of 0 tells Image::Create that the caller's data covers
            // the image whatever its size: only an empty buffer (no data: the
            // image allocates its own) may go without one.
            if (!buffer.empty() && declared == 0) return 0;
            image = Image::Create(width, height, 0, 0, source, buffer.empty() ? nullptr : buffer.data(), payloadType,
                                  declared);
        }
    } catch (const Orvane::Exception&) {
        return 0;
    }
    ImageProcessor processor;
    try {
        processor.SetColorProcessing(static_cast<ColorProcessingAlgorithm>((flags >> 1) & 7));
    } catch (const Orvane::Exception&) {}
    try {
        ImagePtr converted = Image::Create();
        processor.Convert(image, converted, destination);
    } catch (const Orvane::Exception&) {}
    if (flags & 16) {
        try {
            ImageStatistics statistics;
            statistics.EnableAll();
            image->CalculateStatistics(statistics);
            for (int c = 0; c < ImageStatistics::NUM_STATISTICS_CHANNELS; ++c) {
                unsigned int lo = 0, hi = 0, count = 0;
                float mean = 0;
                int* histogram = nullptr;
                statistics.GetAll(static_cast<ImageStatistics::StatisticsChannel>(c), &lo, &hi, &lo, &hi, &count, &mean,
                                  &histogram);
            }
        } catch (const Orvane::Exception&) {}
    }
    if (flags & 32) {
        try {
            ImagePtr corrected = Image::Create();
            processor.ApplyGamma(image, corrected, gamma, (flags & 64) != 0);
        } catch (const Orvane::Exception&) {}
    }
    return 0;
}
