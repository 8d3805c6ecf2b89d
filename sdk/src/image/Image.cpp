#include "Orvane/Image.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/Raise.h"
#include "image/Crc32.h"
#include "image/ImageAccess.h"
#include "image/ImageImpl.h"
#include "image/PixelFormatInfo.h"

namespace Orvane {

using internal::FindPixelFormat;
using internal::ImageMetadata;
using internal::PixelFormatInfo;

namespace {

constexpr size_t kMaxImageBytes = size_t(1) << 40;

const PixelFormatInfo& FormatInfo(PixelFormatEnums format, const SourcePosition& at) {
    const PixelFormatInfo* info = FindPixelFormat(format);
    if (!info)
        Raise(at, ORVANE_ERR_INVALID_ARGUMENT, "unknown pixel format " + std::to_string(static_cast<int>(format)));
    return *info;
}

// Bytes of the image data for this shape (uncompressed formats).
size_t ImageBytes(const PixelFormatInfo& info, size_t width, size_t height, const SourcePosition& at) {
    const size_t packed = internal::PackedImageBytes(info, width, height);
    if (packed == std::numeric_limits<size_t>::max() || packed > kMaxImageBytes)
        Raise(at, ORVANE_ERR_INVALID_ARGUMENT,
              "an image of " + std::to_string(width) + " x " + std::to_string(height) + " " + info.name +
                  " pixels is too large");
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

// Gives the image a new shape over new memory: an owned zeroed buffer, or the
// caller's data.
void Shape(internal::ImageImpl& impl, size_t width, size_t height, size_t offsetX, size_t offsetY,
           PixelFormatEnums pixelFormat, void* pData, TLPayloadType payloadType, size_t dataSize) {
    const PixelFormatInfo& info = FormatInfo(pixelFormat, ORV_HERE);
    size_t imageSize = 0;
    if (internal::IsCompressed(info, payloadType)) {
        if (pData && dataSize == 0)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "a compressed image needs the size of its data");
        imageSize = dataSize;
    } else {
        imageSize = ImageBytes(info, width, height, ORV_HERE);
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
    ImageMetadata m;
    m.width = width;
    m.height = height;
    m.offsetX = offsetX;
    m.offsetY = offsetY;
    m.pixelFormat = pixelFormat;
    m.tlPixelFormat = info.pfnc;
    m.tlPayloadType = payloadType;
    m.payloadType = PayloadTypeCode(payloadType);
    m.validPayloadSize = bufferSize;
    impl.Release();
    impl.Point(m, data, bufferSize, imageSize, std::move(storage), nullptr, nullptr);
}

} // namespace

Image::Image(internal::ImageImpl& impl) : m_impl(impl) {}

Image::~Image() {
    try {
        Release();
    } catch (...) {
        // Handing a buffer back never throws past an image's destruction.
    }
}

ImagePtr Image::Create() { return internal::ImageAccess::NewImage(); }

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
    image->Reset(width, height, offsetX, offsetY, pixelFormat, pData, payloadType, dataSize);
    return image;
}

ImagePtr Image::Create(const ImagePtr& source) {
    ImagePtr image = Create();
    image->DeepCopy(source);
    return image;
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat) {
    Reset(width, height, offsetX, offsetY, pixelFormat, nullptr, PayloadType_Image, 0);
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                  void* pData) {
    Reset(width, height, offsetX, offsetY, pixelFormat, pData, PayloadType_Image, 0);
}

void Image::Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                  void* pData, TLPayloadType payloadType, size_t dataSize) {
    Shape(m_impl, width, height, offsetX, offsetY, pixelFormat, pData, payloadType, dataSize);
}

void Image::DeepCopy(const ImagePtr& source) {
    const internal::ImageImpl& src = (*source).m_impl;
    if (&src == &m_impl) return;
    // Chunk values the source already has (decoded, or given to an image
    // loaded from a file) are copied; otherwise the copy decodes its own
    // through the source's decoder.
    bool chunkDecoded = false;
    bool hasCrc = false;
    uint32_t crc = 0;
    ChunkData chunkData;
    {
        std::lock_guard<std::mutex> lock(src.chunkMutex);
        chunkDecoded = src.chunkDecoded;
        if (chunkDecoded) {
            hasCrc = src.hasCrc;
            crc = src.crc;
            chunkData = src.chunkData;
        }
    }
    std::shared_ptr<uint8_t> copy;
    if (src.bufferSize) {
        copy.reset(new uint8_t[src.bufferSize], std::default_delete<uint8_t[]>());
        if (src.data)
            std::memcpy(copy.get(), src.data, src.bufferSize);
        else
            std::memset(copy.get(), 0, src.bufferSize);
    }
    m_impl.Release();
    m_impl.privateData = src.privateData;
    uint8_t* data = copy.get();
    m_impl.Point(src.meta, data, src.bufferSize, src.imageSize, std::move(copy), nullptr, src.chunkDecoder);
    std::lock_guard<std::mutex> lock(m_impl.chunkMutex);
    m_impl.chunkDecoded = chunkDecoded;
    m_impl.hasCrc = hasCrc;
    m_impl.crc = crc;
    m_impl.chunkData = chunkData;
}

void Image::Release() { m_impl.Release(); }

ColorProcessingAlgorithm Image::GetColorProcessing() const { return m_impl.meta.colorProcessing; }
uint64_t Image::GetID() const { return m_impl.meta.id; }
void* Image::GetData() const { return m_impl.data; }
void* Image::GetPrivateData() const { return m_impl.privateData; }
void Image::SetPrivateData(void* privateData) { m_impl.privateData = privateData; }
size_t Image::GetBufferSize() const { return m_impl.bufferSize; }
size_t Image::GetWidth() const { return m_impl.meta.width; }
size_t Image::GetHeight() const { return m_impl.meta.height; }
size_t Image::GetOffsetX() const { return m_impl.meta.offsetX; }
size_t Image::GetOffsetY() const { return m_impl.meta.offsetY; }
size_t Image::GetPaddingX() const { return m_impl.meta.paddingX; }
size_t Image::GetPaddingY() const { return m_impl.meta.paddingY; }
uint64_t Image::GetFrameID() const { return m_impl.meta.frameId; }
uint64_t Image::GetTimeStamp() const { return m_impl.meta.timestamp; }
size_t Image::GetPayloadType() const { return m_impl.meta.payloadType; }
TLPayloadType Image::GetTLPayloadType() const { return m_impl.meta.tlPayloadType; }
PixelFormatEnums Image::GetPixelFormat() const { return m_impl.meta.pixelFormat; }
uint64_t Image::GetTLPixelFormat() const { return m_impl.meta.tlPixelFormat; }
PixelFormatNamespaceID Image::GetTLPixelFormatNamespace() const { return m_impl.meta.pixelFormatNamespace; }

const char* Image::GetPixelFormatName() const {
    const PixelFormatInfo* info = FindPixelFormat(m_impl.meta.pixelFormat);
    return info ? info->name : "Unknown";
}

bool Image::IsIncomplete() const { return m_impl.meta.status != IMAGE_STATUS_OK; }
ImageStatus Image::GetStatus() const { return m_impl.meta.status; }

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

size_t Image::GetValidPayloadSize() const { return m_impl.meta.validPayloadSize; }
uint64_t Image::GetChunkLayoutID() const { return m_impl.meta.chunkLayoutId; }

const ChunkData& Image::GetChunkData() const {
    std::lock_guard<std::mutex> lock(m_impl.chunkMutex);
    m_impl.DecodeChunks();
    return m_impl.chunkData;
}

bool Image::HasCRC() const {
    std::lock_guard<std::mutex> lock(m_impl.chunkMutex);
    m_impl.DecodeChunks();
    return m_impl.hasCrc;
}

bool Image::CheckCRC() const {
    uint32_t expected = 0;
    {
        std::lock_guard<std::mutex> lock(m_impl.chunkMutex);
        m_impl.DecodeChunks();
        if (!m_impl.hasCrc) return false;
        expected = m_impl.crc;
    }
    return m_impl.data && internal::Crc32(m_impl.data, m_impl.imageSize) == expected;
}

size_t Image::GetBitsPerPixel() const {
    const PixelFormatInfo* info = FindPixelFormat(m_impl.meta.pixelFormat);
    return info ? info->bitsPerPixel : 0;
}

size_t Image::GetSize() const { return m_impl.imageSize; }

size_t Image::GetStride() const {
    const PixelFormatInfo* info = FindPixelFormat(m_impl.meta.pixelFormat);
    if (!info || m_impl.meta.width == 0) return 0;
    return (m_impl.meta.width * info->bitsPerPixel + 7) / 8 + m_impl.meta.paddingX;
}

const uint8_t* Image::GetChunkBytes(size_t* size) const {
    const size_t n = m_impl.bufferSize > m_impl.imageSize ? m_impl.bufferSize - m_impl.imageSize : 0;
    if (size) *size = n;
    return n && m_impl.data ? m_impl.data + m_impl.imageSize : nullptr;
}

} // namespace Orvane
