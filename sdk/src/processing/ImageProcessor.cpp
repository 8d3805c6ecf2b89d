#include "Orvane/ImageProcessor.h"

#include <cstring>
#include <string>
#include <vector>

#include "core/Raise.h"
#include "image/ImageAccess.h"
#include "processing/Convert.h"
#include "processing/Demosaic.h"
#include "processing/Gamma.h"
#include "processing/ImageAdapter.h"
#include "processing/Jpeg.h"
#include "processing/ParallelRows.h"

namespace Orvane {

namespace {

using internal::ImageAccess;
using internal::ImageMetadata;

// Metadata of a result made from `source`: the result's own shape and format,
// the source's offsets, frame id, timestamp and status.
void InheritMetadata(const Image& source, Image& result, ColorProcessingAlgorithm algorithm) {
    const ImageMetadata from = ImageAccess::Metadata(source);
    ImageMetadata to = ImageAccess::Metadata(result);
    to.frameId = from.frameId;
    to.timestamp = from.timestamp;
    to.status = from.status;
    to.colorProcessing = algorithm;
    ImageAccess::SetMetadata(result, to);
}

ImagePtr ConvertImage(const Image& source, PixelFormatEnums format, ColorProcessingAlgorithm algorithm,
                      unsigned threads) {
    internal::ImageView view = internal::ViewOf(source, "source");
    PixelFormatEnums from = source.GetPixelFormat();
    if (view.jpeg) {
        const internal::JpegHeader header = internal::ReadJpegHeader(view.data, view.size);
        view.width = header.width;
        view.height = header.height;
        from = header.gray ? PixelFormat_JPEGMono8 : PixelFormat_JPEGColor8;
    }
    if (!internal::IsConversionSupported(from, format))
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED, "Conversion from " + internal::FormatName(from) + " to " +
                                                internal::FormatName(format) + " is not supported");
    ImagePtr result = Image::Create(view.width, view.height, source.GetOffsetX(), source.GetOffsetY(), format);
    internal::Convert(view, internal::MutableViewOf(*result, "destination"), algorithm, threads);
    const internal::PixelFormatInfo* info = internal::FindPixelFormat(from);
    const bool bayer = info != nullptr && info->family == internal::PixelFamily::Bayer;
    InheritMetadata(source, *result, bayer ? internal::ResolveAlgorithm(algorithm) : COLOR_PROCESSING_NONE);
    return result;
}

} // namespace

ImageProcessor::ImageProcessor() : m_algorithm(COLOR_PROCESSING_DEFAULT), m_threads(0) {}
ImageProcessor::~ImageProcessor() = default;
ImageProcessor::ImageProcessor(const ImageProcessor&) = default;
ImageProcessor& ImageProcessor::operator=(const ImageProcessor&) = default;

void ImageProcessor::SetColorProcessing(ColorProcessingAlgorithm algorithm) {
    internal::ResolveAlgorithm(algorithm); // raises for unknown values
    m_algorithm = algorithm;
}

ColorProcessingAlgorithm ImageProcessor::GetColorProcessing() const { return m_algorithm; }

void ImageProcessor::SetNumDecompressionThreads(unsigned int numThreads) { m_threads = numThreads; }

unsigned int ImageProcessor::GetNumDecompressionThreads() const { return m_threads; }

void ImageProcessor::Convert(const ImagePtr& source, ImagePtr& destination, PixelFormatEnums format) const {
    if (!source) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The source image is null");
    destination = ConvertImage(*source, format, m_algorithm, internal::ResolveThreads(m_threads));
}

void ImageProcessor::Convert(const ImageList& source, ImagePtr& destination, PixelFormatEnums format) const {
    const size_t count = source.GetSize();
    if (count == 0) ORV_RAISE(ORVANE_ERR_NO_DATA, "The image list is empty");
    const unsigned threads = internal::ResolveThreads(m_threads);
    std::vector<ImagePtr> parts;
    parts.reserve(count);
    size_t height = 0;
    for (size_t i = 0; i < count; ++i) {
        const ImagePtr image = source.GetByIndex(i);
        if (!image) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "Image " + std::to_string(i) + " of the list is null");
        parts.push_back(ConvertImage(*image, format, m_algorithm, threads));
        if (parts[i]->GetWidth() != parts[0]->GetWidth())
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "Image " + std::to_string(i) + " of the list is " +
                                                       std::to_string(parts[i]->GetWidth()) + " pixels wide, image 0 " +
                                                       std::to_string(parts[0]->GetWidth()));
        height += parts[i]->GetHeight();
    }
    if (count == 1) {
        destination = parts[0];
        return;
    }
    const Image& first = *parts[0];
    ImagePtr result = Image::Create(first.GetWidth(), height, first.GetOffsetX(), first.GetOffsetY(), format);
    const internal::ImageLayout out =
        internal::CheckedLayout(internal::MutableViewOf(*result, "destination").View(), "destination");
    uint8_t* data = static_cast<uint8_t*>(result->GetData());
    size_t y = 0;
    for (const ImagePtr& part : parts) {
        const internal::ImageView v = internal::ViewOf(*part, "source");
        const internal::ImageLayout in = internal::CheckedLayout(v, "source");
        if (out.rowBits % 8 == 0) {
            const size_t rowBytes = (in.width * in.info->bitsPerPixel + 7) / 8;
            for (size_t r = 0; r < in.height; ++r)
                std::memcpy(data + out.RowBit(y + r) / 8, v.data + in.RowBit(r) / 8, rowBytes);
        } else {
            // Rows that do not end on a byte: one continuous stream in both images.
            internal::CopyBits(data, out.RowBit(y), v.data, 0, in.height * in.rowBits);
        }
        y += in.height;
    }
    InheritMetadata(*parts[0], *result, parts[0]->GetColorProcessing());
    destination = result;
}

void ImageProcessor::ApplyGamma(const ImagePtr& source, ImagePtr& destination, float gamma, bool inverse) const {
    if (!source) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The source image is null");
    const Image& s = *source;
    const internal::ImageView view = internal::ViewOf(s, "source");
    if (!internal::IsGammaSupported(s.GetPixelFormat()))
        ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED,
                  "Gamma correction of " + internal::FormatName(s.GetPixelFormat()) + " is not supported");
    ImagePtr result = Image::Create(s.GetWidth(), s.GetHeight(), s.GetOffsetX(), s.GetOffsetY(), s.GetPixelFormat());
    internal::ApplyGamma(view, internal::MutableViewOf(*result, "destination"), gamma, inverse,
                         internal::ResolveThreads(m_threads));
    InheritMetadata(s, *result, s.GetColorProcessing());
    destination = result;
}

} // namespace Orvane
