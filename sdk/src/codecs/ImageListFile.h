// Image list files: a versioned container holding images with their metadata
// (layout in docs/image-list-format.md).
//
// SaveImageList is atomic (see AtomicFile). LoadImageList verifies the file
// completely before returning: the header's and every record's CRC-32, sizes,
// record order, and that nothing follows the last record. Errors:
//   ORVANE_ERR_IO            the file cannot be opened, read, created or written
//                            (message: file name and errno text)
//   ORVANE_ERR_CORRUPT_DATA  not an image list file, truncated, or a checksum,
//                            size or marker does not match (message: file name,
//                            which record and what is wrong)
//   ORVANE_ERR_NOT_SUPPORTED an intact file of a newer format version
// SaveImageList writes the current version (2); LoadImageList reads versions 1
// and 2 (version 1 records carry no chunk values: they load with every chunk
// item absent).
// No allocation exceeds what the file's size can hold.
//
// Thread safety: no shared state; different threads may use different files.
#ifndef ORVANE_CODECS_IMAGE_LIST_FILE_H
#define ORVANE_CODECS_IMAGE_LIST_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "codecs/ImageWriters.h"

namespace Orvane {
namespace codecs {

// The chunk values of one image, as the file stores them: the items of
// Orvane::ChunkData by number (integer item i, float item i) and the image's
// CRC chunk. The counts are part of the file format: another item count is
// another format version.
const size_t kChunkIntegerCount = 19;
const size_t kChunkFloatCount = 12;
struct ChunkValues {
    uint32_t integerPresent = 0;               // bit i: integers[i] holds a value (bits 0..18 only)
    uint32_t floatPresent = 0;                 // bit i: floats[i] holds a value (bits 0..11 only)
    int64_t integers[kChunkIntegerCount] = {}; // absent items: saved as 0, loaded as 0
    double floats[kChunkFloatCount] = {};      // stored as IEEE-754 bit patterns (NaN payloads kept)
    bool crcPresent = false;                   // the image carried a CRC chunk
    uint32_t crc = 0;                          // its value (absent: saved as 0, loaded as 0)
};

// The metadata of one image, stored as given (the file format does not
// interpret it).
struct ImageRecordInfo {
    uint32_t pixelFormat = 0;          // the SDK's pixel format number
    uint64_t pfnc = 0;                 // transport-layer pixel format code (GenICam PFNC)
    uint32_t pixelFormatNamespace = 0; // name space of pfnc (PixelFormatNamespaceID)
    uint64_t width = 0;
    uint64_t height = 0;
    uint64_t offsetX = 0;
    uint64_t offsetY = 0;
    uint64_t paddingX = 0;
    uint64_t paddingY = 0;
    uint64_t stride = 0; // bytes per row
    uint64_t frameId = 0;
    uint64_t timestamp = 0;
    uint64_t chunkLayoutId = 0;
    uint32_t payloadType = 0;          // TLPayloadType
    uint32_t status = 0;               // ImageStatus
    uint32_t colorProcessing = 0;      // ColorProcessingAlgorithm
    uint64_t transportPayloadType = 0; // the transport's own payload type code (Image::GetPayloadType)
    uint64_t validPayloadSize = 0;     // bytes of payload received
    uint64_t imageId = 0;              // the SDK's image number (Image::GetID)
    ChunkValues chunks;                // decoded chunk values (none in version 1 files)
};

// One image with its bytes, as loaded.
struct ImageRecord : ImageRecordInfo {
    std::vector<uint8_t> data;      // image bytes
    std::vector<uint8_t> chunkData; // chunk bytes (may be empty)
};

// One image to save, with its bytes borrowed (not copied).
struct ImageRecordView : ImageRecordInfo {
    const void* data = nullptr;
    size_t dataSize = 0;
    const void* chunkData = nullptr;
    size_t chunkDataSize = 0;
};

// The current format version, written by SaveImageList; LoadImageList reads
// it and every older version down to kOldestImageListVersion.
const uint32_t kImageListVersion = 2;
const uint32_t kOldestImageListVersion = 1;

// Raises ORVANE_ERR_INVALID_ARGUMENT (and writes nothing) for an image with a
// size but no bytes, or chunk present bits beyond the items the format holds.
void SaveImageList(const std::string& fileName, const std::vector<ImageRecordView>& images,
                   const WriteSettings& settings = WriteSettings());
void SaveImageList(const std::string& fileName, const std::vector<ImageRecord>& images,
                   const WriteSettings& settings = WriteSettings());
std::vector<ImageRecord> LoadImageList(const std::string& fileName);

} // namespace codecs
} // namespace Orvane

#endif
