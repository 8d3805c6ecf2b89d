// The state behind an Orvane::Image: its metadata, the memory holding its
// data and chunk data, where a stream image's buffer goes back, and its
// chunk values decoded once. Orvane::Image holds a reference to one; both
// live in one block of memory (ImageAccess::Embedded), made by Image::Create
// or taken from the acquisition's lease pool.
//
// Threads: an image is used by one thread at a time, except its chunk
// values, which chunkMutex guards (GetChunkData, HasCRC and CheckCRC may run
// on several threads at once).
#ifndef ORVANE_IMAGE_IMAGE_IMPL_H
#define ORVANE_IMAGE_IMAGE_IMPL_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "Orvane/ChunkData.h"
#include "Orvane/ImageDefs.h"
#include "Orvane/PixelFormatEnums.h"
#include "image/ChunkDecoder.h"

namespace Orvane {
namespace internal {

struct PixelFormatInfo;

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

// What an image says about itself besides its data (the Get* values).
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

// Whether image data of this format and payload type is compressed (its size
// is that of its data, not one that follows from the shape).
bool IsCompressed(const PixelFormatInfo& info, TLPayloadType payloadType);

struct ImageImpl {
    // An empty image: no data, unknown format, name space and payload type.
    ImageImpl();
    ImageImpl(const ImageImpl&) = delete;
    ImageImpl& operator=(const ImageImpl&) = delete;

    // Points the image at new memory: data of bufferSize bytes whose first
    // imageSize are the image data, kept alive by storage; owner (may be
    // null) gets storage back on Release; decoder (may be null) decodes the
    // chunk data on first use. The previous memory must have been released.
    void Point(const ImageMetadata& metadata, uint8_t* data, size_t bufferSize, size_t imageSize,
               std::shared_ptr<void> storage, std::shared_ptr<ImageBufferOwner> owner,
               std::shared_ptr<const ChunkDecoder> decoder);
    // Hands a stream buffer back to its owner and empties the image; nothing
    // for memory without an owner.
    void Release();
    // Decodes the chunk data once (later calls do nothing); with chunkMutex held.
    void DecodeChunks() const;

    ImageMetadata meta;
    uint8_t* data = nullptr;
    size_t bufferSize = 0; // the image data and its chunk data
    size_t imageSize = 0;  // the image data alone
    void* privateData = nullptr;
    std::shared_ptr<void> storage;                    // keeps the memory alive (owned or stream buffer)
    std::shared_ptr<ImageBufferOwner> owner;          // stream images: where Release hands the buffer back
    std::shared_ptr<const ChunkDecoder> chunkDecoder; // stream images: the camera's chunk decoder

    // Chunk data, decoded once on first use or given (images loaded from
    // files); chunkMutex guards the four below.
    mutable std::mutex chunkMutex;
    mutable bool chunkDecoded = false;
    mutable bool hasCrc = false;
    mutable uint32_t crc = 0;
    mutable ChunkData chunkData;
};

} // namespace internal
} // namespace Orvane

#endif
