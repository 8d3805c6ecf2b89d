// Enumerations describing images: pixel format name spaces, transport-layer
// payload types, image status and colour processing (demosaicing) algorithms.
// The pixel formats themselves are Orvane/PixelFormatEnums.h.
#ifndef ORVANE_IMAGE_DEFS_H
#define ORVANE_IMAGE_DEFS_H

namespace Orvane {

// Which numbering an image's transport-layer pixel format code follows
// (GenTL's PIXELFORMAT_NAMESPACE values).
enum PixelFormatNamespaceID : int {
    PixelFormatNamespace_Unknown = 0,
    PixelFormatNamespace_GEV = 1,
    PixelFormatNamespace_IIDC = 2,
    PixelFormatNamespace_PFNC_16Bit = 3,
    PixelFormatNamespace_PFNC_32Bit = 4,
    PixelFormatNamespace_Custom = 1000
};

// What a buffer carries (GenTL's PAYLOAD_TYPE values).
enum TLPayloadType : int {
    PayloadType_Unknown = 0,
    PayloadType_Image = 1,
    PayloadType_RawData = 2,
    PayloadType_File = 3,
    PayloadType_ChunkData = 4, // image extended with chunk data, or chunks alone
    PayloadType_JPEG = 5,
    PayloadType_JPEG2000 = 6,
    PayloadType_H264 = 7,
    PayloadType_ChunkOnly = 8,
    PayloadType_DeviceSpecific = 9,
    PayloadType_MultiPart = 10
};

// Why an image is incomplete; IMAGE_STATUS_OK for a complete image.
enum ImageStatus : int {
    IMAGE_STATUS_OK = 0,
    IMAGE_STATUS_INCOMPLETE = 1,      // fewer bytes arrived than the frame holds
    IMAGE_STATUS_MISSING_PACKETS = 2, // packets were lost and not resent in time
    IMAGE_STATUS_WRONG_PACKET_ID = 3, // a packet did not belong to the frame
    IMAGE_STATUS_SIZE_MISMATCH = 4,   // the frame did not fit the buffer
    IMAGE_STATUS_TIMEOUT = 5,         // the frame was not completed in time
    IMAGE_STATUS_ABORTED = 6,         // the acquisition ended during the frame
    IMAGE_STATUS_CRC_FAILED = 7,      // the frame's checksum does not match
    IMAGE_STATUS_CHUNK_INVALID = 8,   // the chunk layout could not be parsed
    IMAGE_STATUS_UNKNOWN_ERROR = 9
};

// Demosaicing algorithms for Bayer sources.
enum ColorProcessingAlgorithm : int {
    COLOR_PROCESSING_DEFAULT = 0,            // the SDK's choice (currently bilinear)
    COLOR_PROCESSING_NONE = 1,               // no interpolation: raw values replicated per channel
    COLOR_PROCESSING_NEAREST_NEIGHBOR = 2,   // each missing colour copied from a neighbour
    COLOR_PROCESSING_BILINEAR = 3,           // mean of the nearest samples of each colour
    COLOR_PROCESSING_EDGE_AWARE = 4,         // green interpolated along the smaller gradient
    COLOR_PROCESSING_GRADIENT_CORRECTED = 5, // bilinear corrected by the local Laplacian (high quality)
    COLOR_PROCESSING_DIRECTIONAL = 6         // directional interpolation with homogeneity choice
};

} // namespace Orvane

#endif
