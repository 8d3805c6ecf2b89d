/*
 * Types of the Orvane C library: error codes, handles, handle kinds, node
 * kinds, GenApi enumerations as numbers, records and callback types.
 * Compiles as C99 and as C++.
 */
#ifndef ORVANE_C_DEFS_H
#define ORVANE_C_DEFS_H

#include <stddef.h>
#include <stdint.h>

#include "Orvane/ErrorCodes.h"
#include "OrvaneImageFileOptions.h"

#if defined(__GNUC__)
#define ORVANE_C_API __attribute__((visibility("default")))
#else
#define ORVANE_C_API
#endif

/* Result of every function: 0 (ORVANE_ERR_SUCCESS) or an error code. */
typedef int32_t orvError;

/* A boolean crossing the boundary as one byte: results are written as 1 or 0,
 * any non-zero input counts as true. */
typedef uint8_t bool8_t;

/* The grab timeout that waits forever (orvCameraGetNextImage uses it). */
#define ORV_INFINITE_TIMEOUT UINT64_C(0xFFFFFFFFFFFFFFFF)

/* Handles: opaque pointers to records the library owns. */
typedef void* orvSystem;
typedef void* orvInterfaceList;
typedef void* orvInterface;
typedef void* orvCameraList;
typedef void* orvCamera;
typedef void* orvImage;
typedef void* orvImageList;
typedef void* orvImageProcessor;
typedef void* orvImageStatistics;
typedef void* orvNodeMapHandle;
typedef void* orvNodeHandle;
typedef void* orvNodeCallbackHandle;
typedef void* orvDeviceEventHandler;
typedef void* orvImageEventHandler;
typedef void* orvImageListEventHandler;
typedef void* orvDeviceArrivalEventHandler;
typedef void* orvDeviceRemovalEventHandler;
typedef void* orvInterfaceEventHandler;
typedef void* orvLogEventHandler;
typedef void* orvLogEventData;
typedef void* orvDeviceEventData;

/* What a handle stands for. Wrong kinds are refused with
 * ORVANE_ERR_INVALID_HANDLE; a function expecting ORV_HANDLE_IMAGE accepts
 * both image kinds, node functions expecting ORV_HANDLE_NODE accept every node. */
typedef enum _orvHandleType {
    ORV_HANDLE_NODEMAP = 1,
    ORV_HANDLE_NODE = 2,
    ORV_HANDLE_STRING_NODE = 3,
    ORV_HANDLE_INTEGER_NODE = 4,
    ORV_HANDLE_FLOAT_NODE = 5,
    ORV_HANDLE_BOOLEAN_NODE = 6,
    ORV_HANDLE_ENUMERATION_NODE = 7,
    ORV_HANDLE_ENUM_ENTRY_NODE = 8,
    ORV_HANDLE_COMMAND_NODE = 9,
    ORV_HANDLE_REGISTER_NODE = 10,
    ORV_HANDLE_CATEGORY_NODE = 11,
    ORV_HANDLE_UNAVAILABLE_NODE = 12,
    ORV_HANDLE_SYSTEM = 13,
    ORV_HANDLE_INTERFACE_LIST = 14,
    ORV_HANDLE_INTERFACE = 15,
    ORV_HANDLE_CAMERA_LIST = 16,
    ORV_HANDLE_CAMERA = 17,
    ORV_HANDLE_IMAGE_LIST = 18,
    ORV_HANDLE_IMAGE = 19,
    ORV_HANDLE_IMAGE_FROM_CAMERA = 20,
    ORV_HANDLE_IMAGE_USER_CREATED = 21,
    ORV_HANDLE_IMAGE_PROCESSOR = 22,
    ORV_HANDLE_IMAGE_STATISTICS = 23,
    ORV_HANDLE_DEVICE_EVENT = 24,
    ORV_HANDLE_IMAGE_EVENT = 25,
    ORV_HANDLE_IMAGE_LIST_EVENT = 26,
    ORV_HANDLE_ARRIVAL_EVENT = 27,
    ORV_HANDLE_REMOVAL_EVENT = 28,
    ORV_HANDLE_INTERFACE_EVENT = 29,
    ORV_HANDLE_LOGGING_EVENT = 30,
    ORV_HANDLE_CALLBACK = 31,
    ORV_HANDLE_LOGGING_EVENT_DATA = 32,
    ORV_HANDLE_DEVICE_EVENT_DATA = 33,
    ORV_HANDLE_AVI_RECORDER = 34
} orvHandleType;

/* A node's kind, as orvNodeGetType reports it. */
typedef enum _orvNodeType {
    NodeTypeValue = 0,
    NodeTypeBase = 1,
    NodeTypeInteger = 2,
    NodeTypeBoolean = 3,
    NodeTypeFloat = 4,
    NodeTypeCommand = 5,
    NodeTypeString = 6,
    NodeTypeRegister = 7,
    NodeTypeEnumeration = 8,
    NodeTypeEnumEntry = 9,
    NodeTypeCategory = 10,
    NodeTypePort = 11,
    NodeTypeUnknown = -1
} orvNodeType;

/* GenApi enumerations, passed as 32-bit numbers with the GenICam values. */
enum {
    ORV_ACCESS_MODE_NI = 0,
    ORV_ACCESS_MODE_NA = 1,
    ORV_ACCESS_MODE_WO = 2,
    ORV_ACCESS_MODE_RO = 3,
    ORV_ACCESS_MODE_RW = 4
};
enum { ORV_VISIBILITY_BEGINNER = 0, ORV_VISIBILITY_EXPERT = 1, ORV_VISIBILITY_GURU = 2, ORV_VISIBILITY_INVISIBLE = 3 };
enum { ORV_NAMESPACE_CUSTOM = 0, ORV_NAMESPACE_STANDARD = 1 };
enum { ORV_CACHING_NO_CACHE = 0, ORV_CACHING_WRITE_THROUGH = 1, ORV_CACHING_WRITE_AROUND = 2 };
enum {
    ORV_REPRESENTATION_LINEAR = 0,
    ORV_REPRESENTATION_LOGARITHMIC = 1,
    ORV_REPRESENTATION_BOOLEAN = 2,
    ORV_REPRESENTATION_PURE_NUMBER = 3,
    ORV_REPRESENTATION_HEX_NUMBER = 4,
    ORV_REPRESENTATION_IPV4_ADDRESS = 5,
    ORV_REPRESENTATION_MAC_ADDRESS = 6
};

/* Logging priorities: a smaller number is more severe. */
typedef int32_t orvLogLevel;
enum {
    ORV_LOG_LEVEL_OFF = -1,
    ORV_LOG_LEVEL_FATAL = 0,
    ORV_LOG_LEVEL_ALERT = 100,
    ORV_LOG_LEVEL_CRIT = 200,
    ORV_LOG_LEVEL_ERROR = 300,
    ORV_LOG_LEVEL_WARN = 400,
    ORV_LOG_LEVEL_NOTICE = 500,
    ORV_LOG_LEVEL_INFO = 600,
    ORV_LOG_LEVEL_DEBUG = 700,
    ORV_LOG_LEVEL_NOTSET = 800
};

/* The library's version. type: 0 release, 1 beta, 2 development build. */
typedef struct _orvLibraryVersion {
    int32_t major;
    int32_t minor;
    int32_t type;
    int32_t build;
} orvLibraryVersion;

/* Pixel formats: the ORV_PIXEL_FORMAT_* constants of OrvanePixelFormats.h
 * (ORV_PIXEL_FORMAT_Mono8 = 0, ORV_PIXEL_FORMAT_Mono16 = 1, ...; the same
 * numbering as the SDK's Orvane::PixelFormatEnums). */
typedef int32_t orvPixelFormat;
enum { ORV_UNKNOWN_PIXELFORMAT = -1 };
#include "OrvanePixelFormats.h"

/* How a transport numbers an image's pixel format code. */
typedef int32_t orvPixelFormatNamespace;
enum {
    ORV_PIXELFORMAT_NAMESPACE_UNKNOWN = 0,
    ORV_PIXELFORMAT_NAMESPACE_GEV = 1,
    ORV_PIXELFORMAT_NAMESPACE_IIDC = 2,
    ORV_PIXELFORMAT_NAMESPACE_PFNC_16BIT = 3,
    ORV_PIXELFORMAT_NAMESPACE_PFNC_32BIT = 4,
    ORV_PIXELFORMAT_NAMESPACE_CUSTOM = 1000
};

/* What a buffer carries. */
typedef int32_t orvTLPayloadType;
enum {
    ORV_PAYLOAD_TYPE_UNKNOWN = 0,
    ORV_PAYLOAD_TYPE_IMAGE = 1,
    ORV_PAYLOAD_TYPE_RAW_DATA = 2,
    ORV_PAYLOAD_TYPE_FILE = 3,
    ORV_PAYLOAD_TYPE_CHUNK_DATA = 4,
    ORV_PAYLOAD_TYPE_JPEG = 5,
    ORV_PAYLOAD_TYPE_JPEG2000 = 6,
    ORV_PAYLOAD_TYPE_H264 = 7,
    ORV_PAYLOAD_TYPE_CHUNK_ONLY = 8,
    ORV_PAYLOAD_TYPE_DEVICE_SPECIFIC = 9,
    ORV_PAYLOAD_TYPE_MULTI_PART = 10
};

/* Why an image is incomplete (orvImageGetStatusDescription explains each). */
typedef int32_t orvImageStatus;
enum {
    ORV_IMAGE_STATUS_OK = 0,
    ORV_IMAGE_STATUS_INCOMPLETE = 1,
    ORV_IMAGE_STATUS_MISSING_PACKETS = 2,
    ORV_IMAGE_STATUS_WRONG_PACKET_ID = 3,
    ORV_IMAGE_STATUS_SIZE_MISMATCH = 4,
    ORV_IMAGE_STATUS_TIMEOUT = 5,
    ORV_IMAGE_STATUS_ABORTED = 6,
    ORV_IMAGE_STATUS_CRC_FAILED = 7,
    ORV_IMAGE_STATUS_CHUNK_INVALID = 8,
    ORV_IMAGE_STATUS_UNKNOWN_ERROR = 9
};

/* Demosaicing algorithms for Bayer sources. */
typedef int32_t orvColorProcessingAlgorithm;
enum {
    ORV_COLOR_PROCESSING_DEFAULT = 0,
    ORV_COLOR_PROCESSING_NONE = 1,
    ORV_COLOR_PROCESSING_NEAREST_NEIGHBOR = 2,
    ORV_COLOR_PROCESSING_BILINEAR = 3,
    ORV_COLOR_PROCESSING_EDGE_AWARE = 4,
    ORV_COLOR_PROCESSING_GRADIENT_CORRECTED = 5,
    ORV_COLOR_PROCESSING_DIRECTIONAL = 6
};

/* Channels of image statistics. */
typedef int32_t orvStatisticsChannel;
enum {
    ORV_STATISTICS_CHANNEL_GREY = 0,
    ORV_STATISTICS_CHANNEL_RED = 1,
    ORV_STATISTICS_CHANNEL_GREEN = 2,
    ORV_STATISTICS_CHANNEL_BLUE = 3,
    ORV_STATISTICS_CHANNEL_HUE = 4,
    ORV_STATISTICS_CHANNEL_SATURATION = 5,
    ORV_STATISTICS_CHANNEL_LIGHTNESS = 6
};

/* What one device answered to an action command (orvSystemSendActionCommand,
 * orvInterfaceSendActionCommand), 8 bytes: the device's IPv4 address in host
 * byte order (127.0.0.1 is 0x7F000001; virtual camera N answers as 0.0.0.N)
 * and the status code of its acknowledgement (0: success, otherwise the GigE
 * Vision status the device sent). */
typedef struct _actionCommandResult {
    uint32_t DeviceAddress;
    uint32_t Status;
} orvActionCommandResult;

/* Event callbacks. Each receives the user-data pointer given to the handler's
 * Create function, unchanged. A handle passed to a callback (image, image
 * list, camera, event data) is a temporary one: valid only during the call,
 * and never released or destroyed by the callback. Device event, image,
 * arrival and removal callbacks run on threads of the library, never on the
 * application's; callbacks may run at the same time as each other and as the
 * application's own calls, so what they do with the user data must be
 * thread-safe. A callback may call the library (read the image, the camera's
 * nodes) and register or unregister handlers, its own included (unregistering
 * waits only for other threads running the handler), but not what waits for
 * its own thread: ending the acquisition of or de-initialising its camera.
 *
 * A device event of the camera (registered with
 * orvCameraRegisterDeviceEventHandler), on the camera's event thread: the
 * data handle gives the event id and payload size; eventName is the event's
 * name without its "Event" prefix ("ExposureEnd"). The camera's Event* data
 * nodes hold the event's values during the call. */
typedef void (*orvDeviceEventFunction)(orvDeviceEventData data, const char* eventName, void* userData);
/* An image of the camera's stream, on the camera's delivery thread, once per
 * image while the handler is registered (the images then do not reach
 * orvCameraGetNextImage). The image goes back to the stream after the call. */
typedef void (*orvImageEventFunction)(orvImage image, void* userData);
/* A synchronised set of images, one per stream, on the camera's delivery thread. */
typedef void (*orvImageListEventFunction)(orvImageList imageList, void* userData);
/* A camera appeared (arrival) or disappeared (removal), on the device monitor
 * thread. A removed camera is no longer valid; its identity texts still answer. */
typedef void (*orvArrivalEventFunction)(orvCamera camera, void* userData);
typedef void (*orvRemovalEventFunction)(orvCamera camera, void* userData);
/* A log record whose priority passes the logging level, synchronously on the
 * thread that logged it (a caller's thread for the library's own errors).
 * Records logged during the callback are not delivered again. */
typedef void (*orvLogEventFunction)(orvLogEventData data, void* userData);

/* Called when a node (or a node it depends on) changed. The handle is valid
 * only during the call. Runs on the thread that made the change, after the
 * node map's lock was released. */
typedef void (*orvNodeCallbackFunction)(orvNodeHandle hNode);

#endif
