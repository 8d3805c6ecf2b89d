#include "Orvane/ImageList.h"

#include <algorithm>

#include "core/Raise.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {

namespace {
std::string FormatName(PixelFormatEnums f) {
    const internal::PixelFormatInfo* info = internal::FindPixelFormat(f);
    return info ? info->name : "pixel format " + std::to_string(static_cast<int>(f));
}
} // namespace

ImageList::ImageList() = default;
ImageList::~ImageList() = default;
ImageList::ImageList(const ImageList&) = default;
ImageList& ImageList::operator=(const ImageList&) = default;

size_t ImageList::GetSize() const { return m_images.size(); }

ImagePtr ImageList::GetByIndex(size_t index) const {
    if (index >= m_images.size())
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "ImageList: index " + std::to_string(index) +
                                               " is out of range, the list has " + std::to_string(m_images.size()) +
                                               " images");
    return m_images[index];
}

ImagePtr ImageList::GetByPixelFormat(PixelFormatEnums pixelFormat) const {
    for (const ImagePtr& image : m_images)
        if (image->GetPixelFormat() == pixelFormat) return image;
    ORV_RAISE(ORVANE_ERR_NO_DATA, "ImageList: no image has the pixel format " + FormatName(pixelFormat));
}

void ImageList::RemoveByIndex(size_t index) {
    if (index >= m_images.size())
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "ImageList: index " + std::to_string(index) +
                                               " is out of range, the list has " + std::to_string(m_images.size()) +
                                               " images");
    m_images.erase(m_images.begin() + static_cast<std::ptrdiff_t>(index));
}

void ImageList::RemoveByPixelFormat(PixelFormatEnums pixelFormat) {
    const auto end = std::remove_if(m_images.begin(), m_images.end(),
                                    [&](const ImagePtr& image) { return image->GetPixelFormat() == pixelFormat; });
    if (end == m_images.end())
        ORV_RAISE(ORVANE_ERR_NO_DATA, "ImageList: no image has the pixel format " + FormatName(pixelFormat));
    m_images.erase(end, m_images.end());
}

void ImageList::PushBack(const ImagePtr& image) {
    if (!image) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "ImageList: cannot add a null image");
    m_images.push_back(image);
}

void ImageList::Append(const ImageList& other) {
    const std::vector<ImagePtr> images = other.m_images;  // other may be *this
    m_images.insert(m_images.end(), images.begin(), images.end());
}

void ImageList::Clear() { m_images.clear(); }

void ImageList::Release() {
    std::vector<ImagePtr> images;
    images.swap(m_images);
    for (const ImagePtr& image : images) image->Release();
}

} // namespace Orvane
