// Internal access to Orvane::Image for the SDK's producers of images (the
// acquisition code, image list files, the processing classes): metadata the
// public API only reads, and stream buffers that Release hands back.
#ifndef ORVANE_IMAGE_IMAGE_ACCESS_H
#define ORVANE_IMAGE_IMAGE_ACCESS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "Orvane/Image.h"
#include "image/ChunkDecoder.h"
#include "image/ImageImpl.h"

namespace Orvane {
namespace internal {

class ImageAccess {
public:
    // A new empty image (Image::Create()).
    static ImagePtr NewImage();
    // An Image with its state, in one object: what Image::Create allocates,
    // and what the acquisition's pooled image leases hold. Constructed and
    // destroyed with its holder.
    struct Embedded {
        ImageImpl impl; // declared first: outlives the image's destructor, which releases
        Image image{impl};
    };
    // Points the image at a stream buffer: data of bufferSize bytes (the
    // payload: image data, then chunk data) kept alive by storage; Release
    // returns storage to owner. The image size follows from the metadata
    // (never more than bufferSize). decoder, when given, decodes the chunk
    // data on demand (GetChunkData, HasCRC, CheckCRC).
    static void Attach(Image& image, const ImageMetadata& metadata, uint8_t* data, size_t bufferSize,
                       std::shared_ptr<void> storage, std::shared_ptr<ImageBufferOwner> owner,
                       std::shared_ptr<const ChunkDecoder> decoder = nullptr);
    // Makes the image own these bytes: its data (imageSize bytes) followed by
    // its chunk data.
    static void Adopt(Image& image, const ImageMetadata& metadata, std::vector<uint8_t>&& bytes, size_t imageSize);
    // Gives the image its chunk values directly (images loaded from files):
    // from now on GetChunkData and HasCRC answer these without decoding, and
    // CheckCRC compares crc with the CRC-32 of the image's data. A later
    // Attach, Adopt, Reset or DeepCopy replaces them.
    static void SetChunkData(Image& image, const ChunkData& values, const ChunkCrc& crc);
    // The image's chunk values and CRC chunk, decoded first when they are not
    // yet; raises as Image::GetChunkData does.
    static void GetChunkData(const Image& image, ChunkData& values, ChunkCrc& crc);
    static ImageMetadata Metadata(const Image& image) { return image.m_impl.meta; }
    static void SetMetadata(Image& image, const ImageMetadata& metadata) { image.m_impl.meta = metadata; }
};

} // namespace internal
} // namespace Orvane

#endif
