#include "Orvane/ImageList.h"

#include <algorithm>

#include "codecs/ImageListFile.h"
#include "core/Raise.h"
#include "image/ImageAccess.h"
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

void ImageList::Save(const GenICam::gcstring& fileName) const {
    std::vector<codecs::ImageRecordView> views;
    views.reserve(m_images.size());
    for (const ImagePtr& image : m_images) {
        const internal::ImageMetadata m = internal::ImageAccess::Metadata(*image);
        codecs::ImageRecordView v;
        v.pixelFormat = static_cast<uint32_t>(m.pixelFormat);
        v.pfnc = m.tlPixelFormat;
        v.pixelFormatNamespace = static_cast<uint32_t>(m.pixelFormatNamespace);
        v.width = m.width;
        v.height = m.height;
        v.offsetX = m.offsetX;
        v.offsetY = m.offsetY;
        v.paddingX = m.paddingX;
        v.paddingY = m.paddingY;
        v.stride = image->GetStride();
        v.frameId = m.frameId;
        v.timestamp = m.timestamp;
        v.chunkLayoutId = m.chunkLayoutId;
        v.payloadType = static_cast<uint32_t>(m.tlPayloadType);
        v.status = static_cast<uint32_t>(m.status);
        v.colorProcessing = static_cast<uint32_t>(m.colorProcessing);
        v.transportPayloadType = m.payloadType;
        v.validPayloadSize = m.validPayloadSize;
        v.imageId = m.id;
        v.data = image->GetData();
        v.dataSize = image->GetData() ? image->GetSize() : 0;
        v.chunkData = image->GetChunkBytes(&v.chunkDataSize);
        views.push_back(v);
    }
    codecs::SaveImageList(fileName.str(), views);
}

ImageList ImageList::Load(const GenICam::gcstring& fileName) {
    std::vector<codecs::ImageRecord> records = codecs::LoadImageList(fileName.str());
    ImageList list;
    for (codecs::ImageRecord& r : records) {
        internal::ImageMetadata m;
        m.pixelFormat = static_cast<PixelFormatEnums>(r.pixelFormat);
        m.tlPixelFormat = r.pfnc;
        m.pixelFormatNamespace = static_cast<PixelFormatNamespaceID>(r.pixelFormatNamespace);
        m.width = r.width;
        m.height = r.height;
        m.offsetX = r.offsetX;
        m.offsetY = r.offsetY;
        m.paddingX = r.paddingX;
        m.paddingY = r.paddingY;
        m.frameId = r.frameId;
        m.timestamp = r.timestamp;
        m.chunkLayoutId = r.chunkLayoutId;
        m.tlPayloadType = static_cast<TLPayloadType>(r.payloadType);
        m.status = static_cast<ImageStatus>(r.status);
        m.colorProcessing = static_cast<ColorProcessingAlgorithm>(r.colorProcessing);
        m.payloadType = static_cast<size_t>(r.transportPayloadType);
        m.validPayloadSize = static_cast<size_t>(r.validPayloadSize);
        m.id = r.imageId;
        const size_t imageSize = r.data.size();
        std::vector<uint8_t> bytes = std::move(r.data);
        bytes.insert(bytes.end(), r.chunkData.begin(), r.chunkData.end());
        ImagePtr image = internal::ImageAccess::NewImage();
        internal::ImageAccess::Adopt(*image, m, std::move(bytes), imageSize);
        list.PushBack(image);
    }
    return list;
}

} // namespace Orvane
