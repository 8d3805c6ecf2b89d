#include "Orvane/ImageList.h"

#include <algorithm>

#include "codecs/ImageListFile.h"
#include "core/Raise.h"
#include "image/ImageAccess.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {

namespace {

static_assert(codecs::kChunkIntegerCount == ChunkData::IntegerItemCount &&
                  codecs::kChunkFloatCount == ChunkData::FloatItemCount,
              "another set of chunk items needs another image list format version");

std::string FormatName(PixelFormatEnums f) {
    const internal::PixelFormatInfo* info = internal::FindPixelFormat(f);
    return info ? info->name : "pixel format " + std::to_string(static_cast<int>(f));
}

// The image's chunk values, decoded now if they are not yet. Chunks that
// cannot be decoded any more (the camera was closed, the layout is corrupt)
// give no values: the image is saved with every item absent.
codecs::ChunkValues ChunkValuesOf(const Image& image) {
    ChunkData data;
    internal::ChunkCrc crc;
    try {
        internal::ImageAccess::GetChunkData(image, data, crc);
    } catch (const Exception&) {
        return codecs::ChunkValues();
    }
    codecs::ChunkValues values;
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i) {
        const ChunkData::IntegerItem item = static_cast<ChunkData::IntegerItem>(i);
        if (!data.IsPresent(item)) continue;
        values.integerPresent |= 1u << i;
        values.integers[i] = data.GetIntegerValue(item);
    }
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) {
        const ChunkData::FloatItem item = static_cast<ChunkData::FloatItem>(i);
        if (!data.IsPresent(item)) continue;
        values.floatPresent |= 1u << i;
        values.floats[i] = data.GetFloatValue(item);
    }
    values.crcPresent = crc.present;
    values.crc = crc.present ? crc.value : 0;
    return values;
}

void GiveChunkValues(Image& image, const codecs::ChunkValues& values) {
    ChunkData data;
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i)
        if (values.integerPresent >> i & 1u)
            internal::ChunkDataAccess::SetInteger(data, static_cast<ChunkData::IntegerItem>(i), values.integers[i]);
    for (int i = 0; i < ChunkData::FloatItemCount; ++i)
        if (values.floatPresent >> i & 1u)
            internal::ChunkDataAccess::SetFloat(data, static_cast<ChunkData::FloatItem>(i), values.floats[i]);
    internal::ChunkCrc crc;
    crc.present = values.crcPresent;
    crc.value = values.crc;
    internal::ImageAccess::SetChunkData(image, data, crc);
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
    const std::vector<ImagePtr> images = other.m_images; // other may be *this
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
        v.chunks = ChunkValuesOf(*image);
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
        GiveChunkValues(*image, r.chunks);
        list.PushBack(image);
    }
    return list;
}

} // namespace Orvane
