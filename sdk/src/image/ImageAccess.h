// Internal access to Orvane::Image for the SDK's producers of images (the
// acquisition code, image list files): metadata the public API only reads,
// and stream buffers that Release hands back.
#ifndef ORVANE_IMAGE_IMAGE_ACCESS_H
#define ORVANE_IMAGE_IMAGE_ACCESS_H

#include <cstdint>
#include <memory>
#include <vector>

#include "Orvane/Image.h"
#include "image/ChunkDecoder.h"

namespace Orvane {
namespace internal {

// Where a stream image's buffer goes back when the image is released. The
// owner (the stream) outlives nothing: it must accept returns after the
// acquisition ended (and then simply drop the buffer).
class ImageBufferOwner {
public:
    virtual ~ImageBufferOwner() = default;
    // Called once per stream image, by Image::Release, with the storage the
    // image held.
    virtual void ReturnBuffer(std::shared_ptr<void> storage) = 0;
};

struct ImageMetadata {
    size_t width = 0, height = 0, offsetX = 0, offsetY = 0, paddingX = 0, paddingY = 0;
    PixelFormatEnums pixelFormat = UNKNOWN_PIXELFORMAT;
    uint64_t tlPixelFormat = 0;
    PixelFormatNamespaceID pixelFormatNamespace = PixelFormatNamespace_PFNC_32Bit;
    size_t payloadType = 0;
    TLPayloadType tlPayloadType = PayloadType_Image;
    uint64_t id = 0, frameId = 0, timestamp = 0, chunkLayoutId = 0;
    ImageStatus status = IMAGE_STATUS_OK;
    size_t validPayloadSize = 0;
    ColorProcessingAlgorithm colorProcessing = COLOR_PROCESSING_NONE;
};

class ImageAccess {
public:
    // A new empty image (for pools of stream images).
    static ImagePtr NewImage();
    // An Image held inside another object (the acquisition's pooled image
    // leases): constructed and destroyed with its holder.
    struct Embedded {
        Image image;
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
    static ImageMetadata Metadata(const Image& image);
    static void SetMetadata(Image& image, const ImageMetadata& metadata);
};

} // namespace internal
} // namespace Orvane

#endif
