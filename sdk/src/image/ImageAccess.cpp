#include "image/ImageAccess.h"

#include <algorithm>

#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

ImagePtr ImageAccess::NewImage() {
    std::shared_ptr<Embedded> holder = std::make_shared<Embedded>();
    return ImagePtr(std::shared_ptr<Image>(holder, &holder->image));
}

void ImageAccess::Attach(Image& image, const ImageMetadata& metadata, uint8_t* data, size_t bufferSize,
                         std::shared_ptr<void> storage, std::shared_ptr<ImageBufferOwner> owner,
                         std::shared_ptr<const ChunkDecoder> decoder) {
    const PixelFormatInfo* info = FindPixelFormat(metadata.pixelFormat);
    size_t size = bufferSize;
    if (info && !IsCompressed(*info, metadata.tlPayloadType)) {
        const size_t lineBits = metadata.width * info->bitsPerPixel;
        size = lineBits % 8 == 0 ? (lineBits / 8 + metadata.paddingX) * metadata.height
                                 : PackedImageBytes(*info, metadata.width, metadata.height);
    }
    ImageImpl& impl = image.m_impl;
    impl.Release();
    impl.Point(metadata, data, bufferSize, std::min(size, bufferSize), std::move(storage), std::move(owner),
               std::move(decoder));
}

void ImageAccess::Adopt(Image& image, const ImageMetadata& metadata, std::vector<uint8_t>&& bytes, size_t imageSize) {
    auto storage = std::make_shared<std::vector<uint8_t>>(std::move(bytes));
    uint8_t* data = storage->empty() ? nullptr : storage->data();
    const size_t size = storage->size();
    ImageImpl& impl = image.m_impl;
    impl.Release();
    impl.Point(metadata, data, size, std::min(imageSize, size), std::move(storage), nullptr, nullptr);
}

void ImageAccess::SetChunkData(Image& image, const ChunkData& values, const ChunkCrc& crc) {
    ImageImpl& impl = image.m_impl;
    std::lock_guard<std::mutex> lock(impl.chunkMutex);
    impl.chunkDecoder.reset();
    impl.chunkData = values;
    impl.hasCrc = crc.present;
    impl.crc = crc.present ? crc.value : 0;
    impl.chunkDecoded = true;
}

void ImageAccess::GetChunkData(const Image& image, ChunkData& values, ChunkCrc& crc) {
    const ImageImpl& impl = image.m_impl;
    std::lock_guard<std::mutex> lock(impl.chunkMutex);
    impl.DecodeChunks();
    values = impl.chunkData;
    crc.present = impl.hasCrc;
    crc.value = impl.crc;
}

} // namespace internal
} // namespace Orvane
