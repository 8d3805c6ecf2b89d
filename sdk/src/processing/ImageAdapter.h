// Orvane::Image objects adapted to the processing kernels: views of their
// data (processing/ImageView.h) and the payload kind.
#ifndef ORVANE_PROCESSING_IMAGE_ADAPTER_H
#define ORVANE_PROCESSING_IMAGE_ADAPTER_H

#include "Orvane/Image.h"
#include "processing/ImageView.h"

namespace Orvane {
namespace internal {

// The image's data as a view: rows GetStride() bytes apart when they end on
// a byte, one continuous stream otherwise; `jpeg` set for JPEG payloads.
// Raises ORVANE_ERR_INVALID_BUFFER ("The <what> image has no data") for an
// image without data.
ImageView ViewOf(const Image& image, const char* what);
MutableImageView MutableViewOf(Image& image, const char* what);

// Whether the image holds a JPEG payload (payload type JPEG, or JPEGMono8/JPEGColor8).
bool IsJpeg(const Image& image);

} // namespace internal
} // namespace Orvane

#endif
