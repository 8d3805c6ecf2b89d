#include "image/ImageImpl.h"

#include <algorithm>

#include "image/PixelFormatInfo.h"

namespace Orvane {
namespace internal {

bool IsCompressed(const PixelFormatInfo& info, TLPayloadType payloadType) {
    return info.codec != Codec::None || payloadType == PayloadType_JPEG || payloadType == PayloadType_JPEG2000 ||
           payloadType == PayloadType_H264;
}

ImageImpl::ImageImpl() {
    meta.pixelFormatNamespace = PixelFormatNamespace_Unknown;
    meta.tlPayloadType = PayloadType_Unknown;
}

void ImageImpl::Point(const ImageMetadata& metadata, uint8_t* newData, size_t newBufferSize, size_t newImageSize,
                      std::shared_ptr<void> newStorage, std::shared_ptr<ImageBufferOwner> newOwner,
                      std::shared_ptr<const ChunkDecoder> decoder) {
    meta = metadata;
    data = newData;
    bufferSize = newBufferSize;
    imageSize = newImageSize;
    storage = std::move(newStorage);
    owner = std::move(newOwner);
    chunkDecoder = std::move(decoder);
    std::lock_guard<std::mutex> lock(chunkMutex);
    chunkDecoded = false;
}

void ImageImpl::Release() {
    if (!owner) return; // the caller's own image: nothing to hand back
    std::shared_ptr<ImageBufferOwner> from;
    from.swap(owner);
    std::shared_ptr<void> buffer;
    buffer.swap(storage);
    meta.width = meta.height = bufferSize = imageSize = meta.validPayloadSize = 0;
    data = nullptr;
    from->ReturnBuffer(std::move(buffer));
}

void ImageImpl::DecodeChunks() const {
    if (chunkDecoded) return;
    ChunkDataAccess::Clear(chunkData);
    ChunkCrc found;
    if (chunkDecoder && data && bufferSize > imageSize) {
        const size_t payload = std::min(bufferSize, std::max(meta.validPayloadSize, imageSize));
        chunkDecoder->Decode(data, payload, imageSize, chunkData, found);
    }
    hasCrc = found.present;
    crc = found.value;
    chunkDecoded = true;
}

} // namespace internal
} // namespace Orvane
