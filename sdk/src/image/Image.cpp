#include "Orvane/Image.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/Raise.h"
#include "image/Crc32.h"
#include "image/ImageAccess.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {

using internal::FindPixelFormat;
using internal::PixelFormatInfo;

namespace {

constexpr size_t kMaxImageBytes = size_t(1) << 40;

const PixelFormatInfo& FormatInfo(PixelFormatEnums format, const char* function) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    if (!info)
        Raise(__LINE__, __FILE__, function, ORVANE_ERR_INVALID_ARGUMENT,
              "unknown pixel format " + std::to_string(static_cast<int>(format)));
    return *info;
}

bool IsCompressed(const PixelFormatInfo& info, TLPayloadType payloadType) {
    return info.codec != internal::Codec::None || payloadType == PayloadType_JPEG ||
           payloadType == PayloadType_JPEG2000 || payloadType == PayloadType_H264;
}

// Bytes of the image data for this shape; compressed payloads are as large as
// their data.
size_t ImageBytes(const PixelFormatInfo& info, size_t width, size_t height, size_t paddingX, const char* function) {
    const size_t packed = internal::PackedImageBytes(info, width, height);
    if (packed == std::numeric_limits<size_t>::max() || packed > kMaxImageBytes)
        Raise(__LINE__, __FILE__, function, ORVANE_ERR_INVALID_ARGUMENT,
              "an image of " + std::to_string(width) + " x " + std::to_string(height) + " " + info.name +
                  " pixels is too large");
    const size_t lineBits = width * info.bitsPerPixel;
    if (lineBits % 8 == 0 && paddingX) return (lineBits / 8 + paddingX) * height;
    return packed;
}

size_t PayloadTypeCode(TLPayloadType type) {
    switch (type) {
    case PayloadType_Image: return 0x0001;
    case PayloadType_RawData: return 0x0002;
    case PayloadType_File: return 0x0003;
    case PayloadType_ChunkData: return 0x4001;
    case PayloadType_JPEG: return 0x0006;
    case PayloadType_JPEG2000: return 0x0007;
    case PayloadType_H264: return 0x0008;
    case PayloadType_ChunkOnly: return 0x0004;
    case PayloadType_MultiPart: return 0x000A;
    default: return 0;
    }
}

} // namespace

Image::Image() = default;

Image::~Image() {
    try {
        Release();
    } catch (...) {
        // Handing a buffer back never throws past an image's destruction.
    }
}

ImagePtr Image::Create() { return ImagePtr(std::shared_ptr<Image>(new Image())); }

ImagePtr Image::Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat) {
    return Create(width, height, offsetX, offsetY, pixelFormat, nullptr, PayloadType_Image, 0);
}

ImagePtr Image::Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                       void* pData) {
    return Create(width, height, offsetX, offsetY, pixelFormat, pData, PayloadType_Image, 0);
}

ImagePtr Image::Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                       void* pData, TLPayloadType payloadType, size_t dataSize) {
    ImagePtr image = Create();
    image->Shape(width, height, offsetX, offsetY, pixelFormat, pData, payloadType, dataSize);
    return image;
}

ImagePtr Image::Create(const ImagePtr& source) {
    ImagePtr image = Create();
    image->DeepCopy(source);
    return image;
}

void Image::Shape(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                  void* pData, TLPayloadType payloadType, size_t dataSize) {
    const PixelFormatInfo& info = FormatInfo(pixelFormat, "Create");
    size_t imageSize = 0;
    if (IsCompressed(info, payloadType)) {
        if (pData && dataSize == 0)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "a compressed image needs the size of its data");
        imageSize = dataSize;
    } else {
        imageSize = ImageBytes(info, width, height, 0, "Create");
        if (pData && dataSize && dataSize < imageSize)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "the data holds " + std::to_string(dataSize) +
                                                       " bytes, fewer than the " + std::to_string(imageSize) +
                                                       " bytes of a " + std::to_string(width) + " x " +
                                                       std::to_string(height) + " " + info.name + " image");
    }
    const size_t bufferSize = pData ? (dataSize ? dataSize : imageSize) : imageSize;
    std::shared_ptr<void> storage;
    uint8_t* data = static_cast<uint8_t*>(pData);
    if (!pData && bufferSize) {
        std::shared_ptr<uint8_t> owned(new uint8_t[bufferSize](), std::default_delete<uint8_t[]>());
        data = owned.get();
        storage = owned;
    }
    // Nothing above failed: replace the image.
    Release();
    m_width = width;
    m_height = height;
    m_offsetX = offsetX;
    m_offsetY = offsetY;
    m_paddingX = m_paddingY = 0;
    m_pixelFormat = pixelFormat;
    m_tlPixelFormat = info.pfnc;
    m_pixelFormatNamespace = PixelFormatNamespace_PFNC_32Bit;
    m_tlPayloadType = payloadType;
    m_payloadType = PayloadTypeCode(payloadType);
    m_id = m_frameId = m_timestamp = m_chunkLayoutId = 0;
    m_status = IMAGE_STATUS_OK;
    m_validPayloadSize = bufferSize;
    m_colorProcessing = COLOR_PROCESSING_NONE;
    m_data = data;
    m_bufferSize = bufferSize;
    m_imageSize = imageSize;
    m_storage = std::move(storage);
    m_owner.reset();
    m_chunkDecoder.reset();
    std::lock_guard<std::mutex> lock(m_chunkMutex);
    m_chunkDecoded = false;
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat) {
    Shape(width, height, offsetX, offsetY, pixelFormat, nullptr, PayloadType_Image, 0);
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                  void* pData) {
    Shape(width, height, offsetX, offsetY, pixelFormat, pData, PayloadType_Image, 0);
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                  void* pData, TLPayloadType payloadType, size_t dataSize) {
    Shape(width, height, offsetX, offsetY, pixelFormat, pData, payloadType, dataSize);
}

void Image::DeepCopy(const ImagePtr& source) {
    const Image& src = *source;
    if (&src == this) return;
    // Chunk values the source already has (decoded, or given to an image
    // loaded from a file) are copied; otherwise the copy decodes its own
    // through the source's decoder.
    bool chunkDecoded = false;
    bool hasCrc = false;
    uint32_t crc = 0;
    ChunkData chunkData;
    {
        std::lock_guard<std::mutex> lock(src.m_chunkMutex);
        chunkDecoded = src.m_chunkDecoded;
        if (chunkDecoded) {
            hasCrc = src.m_hasCrc;
            crc = src.m_crc;
            chunkData = src.m_chunkData;
        }
    }
    std::shared_ptr<uint8_t> copy;
    if (src.m_bufferSize) {
        copy.reset(new uint8_t[src.m_bufferSize], std::default_delete<uint8_t[]>());
        if (src.m_data)
            std::memcpy(copy.get(), src.m_data, src.m_bufferSize);
        else
            std::memset(copy.get(), 0, src.m_bufferSize);
    }
    Release();
    m_width = src.m_width;
    m_height = src.m_height;
    m_offsetX = src.m_offsetX;
    m_offsetY = src.m_offsetY;
    m_paddingX = src.m_paddingX;
    m_paddingY = src.m_paddingY;
    m_pixelFormat = src.m_pixelFormat;
    m_tlPixelFormat = src.m_tlPixelFormat;
    m_pixelFormatNamespace = src.m_pixelFormatNamespace;
    m_payloadType = src.m_payloadType;
    m_tlPayloadType = src.m_tlPayloadType;
    m_id = src.m_id;
    m_frameId = src.m_frameId;
    m_timestamp = src.m_timestamp;
    m_chunkLayoutId = src.m_chunkLayoutId;
    m_status = src.m_status;
    m_validPayloadSize = src.m_validPayloadSize;
    m_colorProcessing = src.m_colorProcessing;
    m_privateData = src.m_privateData;
    m_data = copy.get();
    m_bufferSize = src.m_bufferSize;
    m_imageSize = src.m_imageSize;
    m_storage = std::move(copy);
    m_chunkDecoder = src.m_chunkDecoder;
    std::lock_guard<std::mutex> lock(m_chunkMutex);
    m_chunkDecoded = chunkDecoded;
    m_hasCrc = hasCrc;
    m_crc = crc;
    m_chunkData = chunkData;
}

void Image::Release() {
    if (!m_owner) return; // the caller's own image: nothing to hand back
    std::shared_ptr<internal::ImageBufferOwner> owner;
    owner.swap(m_owner);
    std::shared_ptr<void> storage;
    storage.swap(m_storage);
    m_width = m_height = m_bufferSize = m_imageSize = m_validPayloadSize = 0;
    m_data = nullptr;
    owner->ReturnBuffer(std::move(storage));
}

ColorProcessingAlgorithm Image::GetColorProcessing() const { return m_colorProcessing; }
uint64_t Image::GetID() const { return m_id; }
void* Image::GetData() const { return m_data; }
void* Image::GetPrivateData() const { return m_privateData; }
void Image::SetPrivateData(void* privateData) { m_privateData = privateData; }
size_t Image::GetBufferSize() const { return m_bufferSize; }
size_t Image::GetWidth() const { return m_width; }
size_t Image::GetHeight() const { return m_height; }
size_t Image::GetOffsetX() const { return m_offsetX; }
size_t Image::GetOffsetY() const { return m_offsetY; }
size_t Image::GetPaddingX() const { return m_paddingX; }
size_t Image::GetPaddingY() const { return m_paddingY; }
uint64_t Image::GetFrameID() const { return m_frameId; }
uint64_t Image::GetTimeStamp() const { return m_timestamp; }
size_t Image::GetPayloadType() const { return m_payloadType; }
TLPayloadType Image::GetTLPayloadType() const { return m_tlPayloadType; }
PixelFormatEnums Image::GetPixelFormat() const { return m_pixelFormat; }
uint64_t Image::GetTLPixelFormat() const { return m_tlPixelFormat; }
PixelFormatNamespaceID Image::GetTLPixelFormatNamespace() const { return m_pixelFormatNamespace; }

const char* Image::GetPixelFormatName() const {
    const PixelFormatInfo* info = FindPixelFormat(m_pixelFormat);
    return info ? info->name : "Unknown";
}

bool Image::IsIncomplete() const { return m_status != IMAGE_STATUS_OK; }
ImageStatus Image::GetStatus() const { return m_status; }

const char* Image::GetImageStatusDescription(ImageStatus status) {
    switch (status) {
    case IMAGE_STATUS_OK: return "The image is complete.";
    case IMAGE_STATUS_INCOMPLETE: return "The image is incomplete: fewer bytes arrived than the frame holds.";
    case IMAGE_STATUS_MISSING_PACKETS: return "The image is incomplete: packets were lost and not resent in time.";
    case IMAGE_STATUS_WRONG_PACKET_ID: return "The image is incomplete: a packet did not belong to the frame.";
    case IMAGE_STATUS_SIZE_MISMATCH: return "The frame did not fit the buffer.";
    case IMAGE_STATUS_TIMEOUT: return "The frame was not completed in time.";
    case IMAGE_STATUS_ABORTED: return "The acquisition ended during the frame.";
    case IMAGE_STATUS_CRC_FAILED: return "The frame's checksum does not match its data.";
    case IMAGE_STATUS_CHUNK_INVALID: return "The frame's chunk data could not be parsed.";
    case IMAGE_STATUS_UNKNOWN_ERROR: return "The frame failed for an unknown reason.";
    }
    return "Unknown image status.";
}

size_t Image::GetValidPayloadSize() const { return m_validPayloadSize; }
uint64_t Image::GetChunkLayoutID() const { return m_chunkLayoutId; }
void Image::DecodeChunks() const {
    if (m_chunkDecoded) return;
    internal::ChunkDataAccess::Clear(m_chunkData);
    internal::ChunkCrc crc;
    if (m_chunkDecoder && m_data && m_bufferSize > m_imageSize) {
        const size_t payload = std::min(m_bufferSize, std::max(m_validPayloadSize, m_imageSize));
        m_chunkDecoder->Decode(m_data, payload, m_imageSize, m_chunkData, crc);
    }
    m_hasCrc = crc.present;
    m_crc = crc.value;
    m_chunkDecoded = true;
}

const ChunkData& Image::GetChunkData() const {
    std::lock_guard<std::mutex> lock(m_chunkMutex);
    DecodeChunks();
    return m_chunkData;
}

bool Image::HasCRC() const {
    std::lock_guard<std::mutex> lock(m_chunkMutex);
    DecodeChunks();
    return m_hasCrc;
}

bool Image::CheckCRC() const {
    uint32_t expected = 0;
    {
        std::lock_guard<std::mutex> lock(m_chunkMutex);
        DecodeChunks();
        if (!m_hasCrc) return false;
        expected = m_crc;
    }
    return m_data && internal::Crc32(m_data, m_imageSize) == expected;
}

size_t Image::GetBitsPerPixel() const {
    const PixelFormatInfo* info = FindPixelFormat(m_pixelFormat);
    return info ? info->bitsPerPixel : 0;
}

size_t Image::GetSize() const { return m_imageSize; }

size_t Image::GetStride() const {
    const PixelFormatInfo* info = FindPixelFormat(m_pixelFormat);
    if (!info || m_width == 0) return 0;
    return (m_width * info->bitsPerPixel + 7) / 8 + m_paddingX;
}

const uint8_t* Image::GetChunkBytes(size_t* size) const {
    const size_t n = m_bufferSize > m_imageSize ? m_bufferSize - m_imageSize : 0;
    if (size) *size = n;
    return n && m_data ? m_data + m_imageSize : nullptr;
}

void Image::CheckData(const char* function) const {
    if (!m_data) Raise(__LINE__, __FILE__, function, ORVANE_ERR_INVALID_BUFFER, "the image has no data");
}

// ImageAccess --------------------------------------------------------------

namespace internal {

ImagePtr ImageAccess::NewImage() { return Image::Create(); }

void ImageAccess::Attach(Image& image, const ImageMetadata& metadata, uint8_t* data, size_t bufferSize,
                         std::shared_ptr<void> storage, std::shared_ptr<ImageBufferOwner> owner,
                         std::shared_ptr<const ChunkDecoder> decoder) {
    image.Release();
    SetMetadata(image, metadata);
    image.m_data = data;
    image.m_bufferSize = bufferSize;
    image.m_storage = std::move(storage);
    image.m_owner = std::move(owner);
    image.m_chunkDecoder = std::move(decoder);
    {
        std::lock_guard<std::mutex> lock(image.m_chunkMutex);
        image.m_chunkDecoded = false;
    }
    const PixelFormatInfo* info = FindPixelFormat(metadata.pixelFormat);
    size_t size = bufferSize;
    if (info && !IsCompressed(*info, metadata.tlPayloadType)) {
        const size_t lineBits = metadata.width * info->bitsPerPixel;
        size = lineBits % 8 == 0 ? (lineBits / 8 + metadata.paddingX) * metadata.height
                                 : PackedImageBytes(*info, metadata.width, metadata.height);
    }
    image.m_imageSize = std::min(size, bufferSize);
}

void ImageAccess::Adopt(Image& image, const ImageMetadata& metadata, std::vector<uint8_t>&& bytes, size_t imageSize) {
    auto storage = std::make_shared<std::vector<uint8_t>>(std::move(bytes));
    image.Release();
    SetMetadata(image, metadata);
    image.m_data = storage->empty() ? nullptr : storage->data();
    image.m_bufferSize = storage->size();
    image.m_imageSize = std::min(imageSize, storage->size());
    image.m_storage = std::move(storage);
    image.m_owner.reset();
    image.m_chunkDecoder.reset();
    std::lock_guard<std::mutex> lock(image.m_chunkMutex);
    image.m_chunkDecoded = false;
}

void ImageAccess::SetChunkData(Image& image, const ChunkData& values, const ChunkCrc& crc) {
    std::lock_guard<std::mutex> lock(image.m_chunkMutex);
    image.m_chunkDecoder.reset();
    image.m_chunkData = values;
    image.m_hasCrc = crc.present;
    image.m_crc = crc.present ? crc.value : 0;
    image.m_chunkDecoded = true;
}

void ImageAccess::GetChunkData(const Image& image, ChunkData& values, ChunkCrc& crc) {
    std::lock_guard<std::mutex> lock(image.m_chunkMutex);
    image.DecodeChunks();
    values = image.m_chunkData;
    crc.present = image.m_hasCrc;
    crc.value = image.m_crc;
}

ImageMetadata ImageAccess::Metadata(const Image& image) {
    ImageMetadata m;
    m.width = image.m_width;
    m.height = image.m_height;
    m.offsetX = image.m_offsetX;
    m.offsetY = image.m_offsetY;
    m.paddingX = image.m_paddingX;
    m.paddingY = image.m_paddingY;
    m.pixelFormat = image.m_pixelFormat;
    m.tlPixelFormat = image.m_tlPixelFormat;
    m.pixelFormatNamespace = image.m_pixelFormatNamespace;
    m.payloadType = image.m_payloadType;
    m.tlPayloadType = image.m_tlPayloadType;
    m.id = image.m_id;
    m.frameId = image.m_frameId;
    m.timestamp = image.m_timestamp;
    m.chunkLayoutId = image.m_chunkLayoutId;
    m.status = image.m_status;
    m.validPayloadSize = image.m_validPayloadSize;
    m.colorProcessing = image.m_colorProcessing;
    return m;
}

void ImageAccess::SetMetadata(Image& image, const ImageMetadata& m) {
    image.m_width = m.width;
    image.m_height = m.height;
    image.m_offsetX = m.offsetX;
    image.m_offsetY = m.offsetY;
    image.m_paddingX = m.paddingX;
    image.m_paddingY = m.paddingY;
    image.m_pixelFormat = m.pixelFormat;
    image.m_tlPixelFormat = m.tlPixelFormat;
    image.m_pixelFormatNamespace = m.pixelFormatNamespace;
    image.m_payloadType = m.payloadType;
    image.m_tlPayloadType = m.tlPayloadType;
    image.m_id = m.id;
    image.m_frameId = m.frameId;
    image.m_timestamp = m.timestamp;
    image.m_chunkLayoutId = m.chunkLayoutId;
    image.m_status = m.status;
    image.m_validPayloadSize = m.validPayloadSize;
    image.m_colorProcessing = m.colorProcessing;
}

} // namespace internal
} // namespace Orvane
