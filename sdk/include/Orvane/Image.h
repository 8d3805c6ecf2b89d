// Orvane::Image: one image, either received from a camera's stream or made by
// the caller. Images are shared through ImagePtr.
//
// Memory: an image made with Create(width, height, ..., format) owns a buffer
// it allocates; one made with a data pointer borrows the caller's memory (no
// copy: the caller keeps it alive and unchanged while the image uses it); one
// received from a stream shares the stream's buffer until Release hands it
// back. Create(image) and DeepCopy always copy.
//
// The class shows operations only: its state lives in the SDK (one block of
// memory with the image object; stream images come from a pool, so receiving
// a frame allocates nothing).
#ifndef ORVANE_IMAGE_H
#define ORVANE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Orvane/BasePtr.h"
#include "Orvane/ChunkData.h"
#include "Orvane/GenICam/gcstring.h"
#include "Orvane/ImageDefs.h"
#include "Orvane/ImageFileOptions.h"
#include "Orvane/PixelFormatEnums.h"

namespace Orvane {

class Image;
class ImageStatistics;
typedef BasePtr<Image> ImagePtr;

namespace internal {
class ImageAccess;
struct ImageImpl;
} // namespace internal

class ORVANE_API Image {
public:
    // An empty image (no data, width and height 0).
    static ImagePtr Create();
    // An image owning a new zeroed buffer for width x height pixels of the format.
    static ImagePtr Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat);
    // An image over the caller's data (borrowed, not copied); a null pointer
    // allocates an owned buffer instead.
    static ImagePtr Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                           void* pData);
    // The same with the payload type and the size of the data; dataSize must
    // cover the image, and the bytes beyond it are the image's chunk data.
    static ImagePtr Create(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat,
                           void* pData, TLPayloadType payloadType, size_t dataSize);
    // An independent copy of another image (data and metadata).
    static ImagePtr Create(const ImagePtr& image);

    // A stream image destroyed without Release hands its buffer back first.
    virtual ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // Re-shapes the image: a new owned zeroed buffer, or the caller's data.
    void Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat);
    void Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat, void* pData);
    void Reset(size_t width, size_t height, size_t offsetX, size_t offsetY, PixelFormatEnums pixelFormat, void* pData,
               TLPayloadType payloadType, size_t dataSize);
    // Makes this image an owned copy of the source's data and metadata.
    void DeepCopy(const ImagePtr& source);
    // Hands a stream image's buffer back to its stream; the image is empty
    // afterwards. Does nothing for images the caller made.
    void Release();

    ColorProcessingAlgorithm GetColorProcessing() const;
    // The SDK's number for this image: stream images count from 1 per
    // acquisition; copies (Create(image), DeepCopy) keep their source's
    // number; other images the caller made have 0.
    uint64_t GetID() const;
    // First byte of the image data (null for an empty image).
    void* GetData() const;
    // A pointer the image's producer attached (null unless set).
    void* GetPrivateData() const;
    void SetPrivateData(void* privateData);
    // Bytes of the memory holding the image and its chunk data.
    size_t GetBufferSize() const;
    size_t GetWidth() const;
    size_t GetHeight() const;
    size_t GetOffsetX() const;
    size_t GetOffsetY() const;
    // Bytes of padding at the end of each line / after the last line.
    size_t GetPaddingX() const;
    size_t GetPaddingY() const;
    // The device's frame (block) id.
    uint64_t GetFrameID() const;
    // Device timestamp in nanoseconds.
    uint64_t GetTimeStamp() const;
    // The transport's payload type code (GigE Vision: 0x0001 image, 0x4001
    // image with extended chunks, ...).
    size_t GetPayloadType() const;
    TLPayloadType GetTLPayloadType() const;
    PixelFormatEnums GetPixelFormat() const;
    // The transport layer's pixel format code (PFNC for GigE and USB3 Vision).
    uint64_t GetTLPixelFormat() const;
    PixelFormatNamespaceID GetTLPixelFormatNamespace() const;
    const char* GetPixelFormatName() const;
    bool IsIncomplete() const;
    ImageStatus GetStatus() const;
    static const char* GetImageStatusDescription(ImageStatus status);
    // Bytes of payload actually received.
    size_t GetValidPayloadSize() const;
    // Identifies the set of chunks in the payload: images with the same chunks
    // at the same places share it. 0 for images without chunk data.
    uint64_t GetChunkLayoutID() const;
    // Whether the chunk data carries a CRC of the image (the camera's CRC
    // chunk), and whether the CRC-32 of the image data matches it (false
    // when there is no CRC chunk). Both decode the chunk data as GetChunkData
    // does.
    bool HasCRC() const;
    bool CheckCRC() const;
    // The image's chunk data, decoded through the camera's chunk features on
    // first use (later calls return the same values); an image loaded from an
    // image list file gives the values saved with it, and a copy (Create,
    // DeepCopy) of an image whose values are known gives the same values.
    // An image without chunk data (chunk mode off, or an image the caller
    // made) gives chunk data whose every getter raises ORVANE_ERR_NO_DATA.
    // Raises ORVANE_ERR_NOT_AVAILABLE when the chunks can no longer be
    // decoded because the camera was closed (DeInit) before the first call.
    // The reference stays valid as long as the image object.
    const ChunkData& GetChunkData() const;
    size_t GetBitsPerPixel() const;
    // Bytes of the image data: stride times height (packed formats: the
    // packed size), without chunk data.
    size_t GetSize() const;
    // Bytes from one line to the next (packed formats whose lines do not end
    // on a byte: the bytes of one line, rounded up).
    size_t GetStride() const;
    // Writes the image to a file in the format given, or (FileFormat_FromExt)
    // the one the file name's extension names. The writers store 8/16-bit
    // grey and RGB/BGR(a) images (see each format); other pixel formats are
    // converted first where the result is clear: mono and packed mono to
    // Mono8/Mono16, Bayer (demosaiced with COLOR_PROCESSING_DEFAULT), YUV and
    // other colour formats to RGB8/RGB16, as deep as the format stores. RAW
    // writes the image's bytes as they are; a JPEG payload saved as JPEG is
    // written as it came. A pixel format with no such conversion raises
    // ORVANE_ERR_NOT_SUPPORTED naming both; a file that cannot be written
    // raises ORVANE_ERR_IO naming the file, and no partial file is left.
    void Save(const GenICam::gcstring& fileName, ImageFileFormat format = FileFormat_FromExt) const;
    // The same in one format with its options, whatever the extension.
    void Save(const GenICam::gcstring& fileName, const PNGOption& option) const;
    void Save(const GenICam::gcstring& fileName, const PPMOption& option) const;
    void Save(const GenICam::gcstring& fileName, const PGMOption& option) const;
    void Save(const GenICam::gcstring& fileName, const TIFFOption& option) const;
    void Save(const GenICam::gcstring& fileName, const JPEGOption& option) const;
    void Save(const GenICam::gcstring& fileName, const JPEG2000Option& option) const;
    void Save(const GenICam::gcstring& fileName, const BMPOption& option) const;

    // Bytes after the image data, up to GetBufferSize(): the chunk data.
    const uint8_t* GetChunkBytes(size_t* size) const;
    // Fills the enabled channels of statistics from this image (see
    // ImageStatistics.h), using as many threads as the hardware has.
    void CalculateStatistics(ImageStatistics& statistics) const;

private:
    friend class internal::ImageAccess;
    explicit Image(internal::ImageImpl& impl);

    internal::ImageImpl& m_impl; // lives as long as the image, in the same block
};

} // namespace Orvane

#endif
