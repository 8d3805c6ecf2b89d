/*
 * Orvane C library: the one header a C program includes.
 *
 *   #include <OrvaneC.h>      cc app.c $(pkg-config --cflags --libs orvane-c)
 *
 * Every function returns an orvError: 0 on success, else an error code. On
 * failure nothing is written to out-pointers, and the details (message, file,
 * line, function) of the last failure of a system/list/camera/image function
 * are read with the orvErrorGetLast* functions. Failures of node functions
 * (OrvaneGenApiC.h) are seen in their return codes and in the log only.
 *
 * Text results go into caller buffers: pass a buffer and a size_t holding its
 * size; on return the size_t holds the text's length plus one. A null buffer
 * asks for that length. A buffer too small gives ORVANE_ERR_BUFFER_TOO_SMALL.
 *
 * Handles obtained from Get functions of lists, Create functions and image
 * retrieval belong to the caller, who gives them back with the matching
 * Release or Destroy. Node map and node handles belong to their parent.
 *
 * Compiles as C99 and as C++.
 */
#ifndef ORVANE_C_H
#define ORVANE_C_H

#include "OrvaneCDefs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Last error (the system, list, interface, camera and image functions) -- */
ORVANE_C_API orvError orvErrorGetLast(orvError* error);
ORVANE_C_API orvError orvErrorGetLastMessage(char* buffer, size_t* length);
ORVANE_C_API orvError orvErrorGetLastBuildDate(char* buffer, size_t* length);
ORVANE_C_API orvError orvErrorGetLastBuildTime(char* buffer, size_t* length);
ORVANE_C_API orvError orvErrorGetLastFileName(char* buffer, size_t* length);
ORVANE_C_API orvError orvErrorGetLastFullMessage(char* buffer, size_t* length);
ORVANE_C_API orvError orvErrorGetLastFunctionName(char* buffer, size_t* length);
/* Does not check its pointer. */
ORVANE_C_API orvError orvErrorGetLastLineNumber(int64_t* lineNumber);

/* System ----------------------------------------------------------------- */
/* Each call gives a new handle to the process-wide system. */
ORVANE_C_API orvError orvSystemGetInstance(orvSystem* system);
ORVANE_C_API orvError orvSystemReleaseInstance(orvSystem system);
/* Replaces the list's contents with the current interfaces / cameras. */
ORVANE_C_API orvError orvSystemGetInterfaces(orvSystem system, orvInterfaceList list);
ORVANE_C_API orvError orvSystemGetCameras(orvSystem system, orvCameraList list);
ORVANE_C_API orvError orvSystemGetCamerasEx(orvSystem system, bool8_t updateInterfaces, bool8_t updateCameras,
                                            orvCameraList list);
ORVANE_C_API orvError orvSystemSetLoggingLevel(orvSystem system, orvLogLevel level);
ORVANE_C_API orvError orvSystemGetLoggingLevel(orvSystem system, orvLogLevel* level);
/* Does not check its out-pointer. */
ORVANE_C_API orvError orvSystemIsInUse(orvSystem system, bool8_t* isInUse);
/* Does not check its out-pointer. */
ORVANE_C_API orvError orvSystemUpdateCameras(orvSystem system, bool8_t* changed);
ORVANE_C_API orvError orvSystemUpdateCamerasEx(orvSystem system, bool8_t updateInterfaces, bool8_t* changed);
/* Does not check its out-pointer. */
ORVANE_C_API orvError orvSystemGetLibraryVersion(orvSystem system, orvLibraryVersion* version);
/* The system's transport-layer node map; the handle belongs to the system handle. */
ORVANE_C_API orvError orvSystemGetTLNodeMap(orvSystem system, orvNodeMapHandle* nodeMap);
/* Log handlers receive every record whose priority passes the logging level
 * (ORV_LOG_LEVEL_ERROR unless set otherwise), among them the trace text of
 * every error this library raises itself. Unregistering all removes every
 * log handler of the process, also those registered through the C++ SDK. */
ORVANE_C_API orvError orvSystemRegisterLogEventHandler(orvSystem system, orvLogEventHandler handler);
ORVANE_C_API orvError orvSystemUnregisterLogEventHandler(orvSystem system, orvLogEventHandler handler);
ORVANE_C_API orvError orvSystemUnregisterAllLogEventHandlers(orvSystem system);
/* Arrival and removal of cameras on every enabled interface. Registration
 * does not rediscover first: make the cameras present now known (with
 * orvSystemGetCameras or orvSystemUpdateCameras) before registering, or they
 * may be reported as arrivals. Unregister a handler before destroying it. */
ORVANE_C_API orvError orvSystemRegisterDeviceArrivalEventHandler(orvSystem system,
                                                                 orvDeviceArrivalEventHandler handler);
ORVANE_C_API orvError orvSystemRegisterDeviceRemovalEventHandler(orvSystem system,
                                                                 orvDeviceRemovalEventHandler handler);
ORVANE_C_API orvError orvSystemRegisterInterfaceEventHandler(orvSystem system, orvInterfaceEventHandler handler);
ORVANE_C_API orvError orvSystemUnregisterDeviceArrivalEventHandler(orvSystem system,
                                                                   orvDeviceArrivalEventHandler handler);
ORVANE_C_API orvError orvSystemUnregisterDeviceRemovalEventHandler(orvSystem system,
                                                                   orvDeviceRemovalEventHandler handler);
ORVANE_C_API orvError orvSystemUnregisterInterfaceEventHandler(orvSystem system, orvInterfaceEventHandler handler);

/* Interface lists -------------------------------------------------------- */
ORVANE_C_API orvError orvInterfaceListCreateEmpty(orvInterfaceList* list);
ORVANE_C_API orvError orvInterfaceListDestroy(orvInterfaceList list);
ORVANE_C_API orvError orvInterfaceListGetSize(orvInterfaceList list, size_t* size);
/* A new interface handle on every call; release it with orvInterfaceRelease. */
ORVANE_C_API orvError orvInterfaceListGet(orvInterfaceList list, size_t index, orvInterface* interfaceHandle);
ORVANE_C_API orvError orvInterfaceListClear(orvInterfaceList list);

/* Camera lists ----------------------------------------------------------- */
ORVANE_C_API orvError orvCameraListCreateEmpty(orvCameraList* list);
ORVANE_C_API orvError orvCameraListDestroy(orvCameraList list);
ORVANE_C_API orvError orvCameraListGetSize(orvCameraList list, size_t* size);
/* A new camera handle on every call; release it with orvCameraRelease. */
ORVANE_C_API orvError orvCameraListGet(orvCameraList list, size_t index, orvCamera* camera);
ORVANE_C_API orvError orvCameraListClear(orvCameraList list);
ORVANE_C_API orvError orvCameraListRemove(orvCameraList list, size_t index);
ORVANE_C_API orvError orvCameraListAppend(orvCameraList list, orvCameraList other);
/* Does not check its out-pointer. An unknown serial number gives a handle to
 * no camera, on which every camera function fails. */
ORVANE_C_API orvError orvCameraListGetBySerial(orvCameraList list, const char* serial, orvCamera* camera);
ORVANE_C_API orvError orvCameraListRemoveBySerial(orvCameraList list, const char* serial);

/* Image lists ------------------------------------------------------------ */
ORVANE_C_API orvError orvImageListCreateEmpty(orvImageList* list);
ORVANE_C_API orvError orvImageListDestroy(orvImageList list);
ORVANE_C_API orvError orvImageListGetSize(orvImageList list, size_t* size);
/* A new image handle of the generic image kind (ORV_HANDLE_IMAGE) on every
 * call. Neither orvImageDestroy nor orvImageRelease accepts that kind, so the
 * handle (a small record holding one reference to the image) stays allocated
 * for the life of the process: take images out of a list sparingly. */
ORVANE_C_API orvError orvImageListGet(orvImageList list, size_t index, orvImage* image);
ORVANE_C_API orvError orvImageListClear(orvImageList list);
ORVANE_C_API orvError orvImageListRemove(orvImageList list, size_t index);
ORVANE_C_API orvError orvImageListAppend(orvImageList list, orvImageList other);
/* Does not check its out-pointer. The handle is of the generic kind, as
 * orvImageListGet gives. */
ORVANE_C_API orvError orvImageListGetByPixelFormat(orvImageList list, orvPixelFormat pixelFormat, orvImage* image);
ORVANE_C_API orvError orvImageListRemoveByPixelFormat(orvImageList list, orvPixelFormat pixelFormat);
/* Hands every camera image of the list back to its stream and empties it. */
ORVANE_C_API orvError orvImageListRelease(orvImageList list);
/* Writes the list's images with their metadata and chunk data to an image
 * list file; the file name is not checked (a null one fails in the SDK). */
ORVANE_C_API orvError orvImageListSave(orvImageList list, const char* fileName);
/* Reads an image list file into a new list handle, which the caller destroys. */
ORVANE_C_API orvError orvImageListLoad(orvImageList* list, const char* fileName);

/* Node maps from GenICam XML ------------------------------------------------ */
/* A node map built from a GenICam XML description alone, without a camera:
 * its registers are zero-initialised memory of its own (CXmlNodeMap). The
 * handle is a node map handle for every orvNodeMap and node function; the
 * caller destroys it with orvNodeMapDestroy, which also ends the node handles
 * taken from it. An unreadable file fails with ORVANE_ERR_IO naming the path,
 * a malformed description with ORVANE_ERR_GENICAM_INVALID_ARGUMENT and the
 * message "the GenICam XML of <file> is invalid: line N, in element <E>:
 * <reason>"; orvErrorGetLast and orvErrorGetLastMessage report both. */
ORVANE_C_API orvError orvNodeMapCreateFromXmlFile(const char* pFileName, orvNodeMapHandle* phNodeMap);
ORVANE_C_API orvError orvNodeMapCreateFromXmlText(const char* pXml, orvNodeMapHandle* phNodeMap);
/* Accepts only handles made by the two functions above (ORVANE_ERR_INVALID_HANDLE otherwise). */
ORVANE_C_API orvError orvNodeMapDestroy(orvNodeMapHandle hNodeMap);

/* Interfaces ------------------------------------------------------------- */
ORVANE_C_API orvError orvInterfaceUpdateCameras(orvInterface interfaceHandle, bool8_t* changed);
ORVANE_C_API orvError orvInterfaceGetCameras(orvInterface interfaceHandle, orvCameraList list);
ORVANE_C_API orvError orvInterfaceGetCamerasEx(orvInterface interfaceHandle, bool8_t updateCameras, orvCameraList list);
/* The interface's transport-layer node map; the handle belongs to the interface handle. */
ORVANE_C_API orvError orvInterfaceGetTLNodeMap(orvInterface interfaceHandle, orvNodeMapHandle* nodeMap);
ORVANE_C_API orvError orvInterfaceIsInUse(orvInterface interfaceHandle, bool8_t* isInUse);
/* Arrival and removal of this interface's cameras (see the system's). */
ORVANE_C_API orvError orvInterfaceRegisterDeviceArrivalEventHandler(orvInterface interfaceHandle,
                                                                    orvDeviceArrivalEventHandler handler);
ORVANE_C_API orvError orvInterfaceRegisterDeviceRemovalEventHandler(orvInterface interfaceHandle,
                                                                    orvDeviceRemovalEventHandler handler);
ORVANE_C_API orvError orvInterfaceRegisterInterfaceEventHandler(orvInterface interfaceHandle,
                                                                orvInterfaceEventHandler handler);
ORVANE_C_API orvError orvInterfaceUnregisterDeviceArrivalEventHandler(orvInterface interfaceHandle,
                                                                      orvDeviceArrivalEventHandler handler);
ORVANE_C_API orvError orvInterfaceUnregisterDeviceRemovalEventHandler(orvInterface interfaceHandle,
                                                                      orvDeviceRemovalEventHandler handler);
ORVANE_C_API orvError orvInterfaceUnregisterInterfaceEventHandler(orvInterface interfaceHandle,
                                                                  orvInterfaceEventHandler handler);
/* Frees the handle, its node map handle and the node handles cached under it. */
ORVANE_C_API orvError orvInterfaceRelease(orvInterface interfaceHandle);

/* Images ----------------------------------------------------------------- */
/* Images made here belong to the caller, who frees them with orvImageDestroy.
 * With a data pointer the image uses the caller's memory (no copy) while it
 * lives; without one it owns a new zeroed buffer. */
ORVANE_C_API orvError orvImageCreateEmpty(orvImage* image);
ORVANE_C_API orvError orvImageCreateEx(orvImage* image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                                       orvPixelFormat pixelFormat, void* data);
ORVANE_C_API orvError orvImageCreateEx2(orvImage* image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                                        orvPixelFormat pixelFormat, void* data, orvTLPayloadType payloadType,
                                        size_t dataSize);
/* A new image copied from source. */
ORVANE_C_API orvError orvImageCreate(orvImage source, orvImage* image);
ORVANE_C_API orvError orvImageDestroy(orvImage image);
/* Gives a camera's image back to its stream and frees the handle. */
ORVANE_C_API orvError orvImageRelease(orvImage image);
ORVANE_C_API orvError orvImageReset(orvImage image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                                    orvPixelFormat pixelFormat);
ORVANE_C_API orvError orvImageResetEx(orvImage image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                                      orvPixelFormat pixelFormat, void* data);
ORVANE_C_API orvError orvImageDeepCopy(orvImage source, orvImage destination);
ORVANE_C_API orvError orvImageGetColorProcessing(orvImage image, orvColorProcessingAlgorithm* algorithm);
ORVANE_C_API orvError orvImageGetID(orvImage image, uint64_t* id);
ORVANE_C_API orvError orvImageGetData(orvImage image, void** data);
ORVANE_C_API orvError orvImageGetPrivateData(orvImage image, void** privateData);
ORVANE_C_API orvError orvImageGetBufferSize(orvImage image, size_t* size);
ORVANE_C_API orvError orvImageGetWidth(orvImage image, size_t* width);
ORVANE_C_API orvError orvImageGetHeight(orvImage image, size_t* height);
ORVANE_C_API orvError orvImageGetOffsetX(orvImage image, size_t* offsetX);
ORVANE_C_API orvError orvImageGetOffsetY(orvImage image, size_t* offsetY);
ORVANE_C_API orvError orvImageGetPaddingX(orvImage image, size_t* paddingX);
ORVANE_C_API orvError orvImageGetPaddingY(orvImage image, size_t* paddingY);
ORVANE_C_API orvError orvImageGetFrameID(orvImage image, uint64_t* frameId);
ORVANE_C_API orvError orvImageGetTimeStamp(orvImage image, uint64_t* timeStamp);
ORVANE_C_API orvError orvImageGetPayloadType(orvImage image, size_t* payloadType);
ORVANE_C_API orvError orvImageGetTLPayloadType(orvImage image, orvTLPayloadType* payloadType);
ORVANE_C_API orvError orvImageGetPixelFormat(orvImage image, orvPixelFormat* pixelFormat);
ORVANE_C_API orvError orvImageGetTLPixelFormat(orvImage image, uint64_t* pixelFormat);
ORVANE_C_API orvError orvImageGetTLPixelFormatNamespace(orvImage image, orvPixelFormatNamespace* pixelFormatNamespace);
ORVANE_C_API orvError orvImageIsIncomplete(orvImage image, bool8_t* isIncomplete);
ORVANE_C_API orvError orvImageGetStatus(orvImage image, orvImageStatus* status);
ORVANE_C_API orvError orvImageGetValidPayloadSize(orvImage image, size_t* size);
ORVANE_C_API orvError orvImageGetChunkLayoutID(orvImage image, uint64_t* id);
/* Chunk data by chunk feature name ("ChunkFrameID", "ChunkExposureTime",
 * ...), integer and floating-point chunks each through their own function.
 * "ChunkImage" and "ChunkCRC" carry no integer value: the integer function
 * accepts them and leaves value unchanged. A name the function does not know
 * returns ORVANE_ERR_INVALID_PARAMETER without setting the last error; a
 * chunk the image does not carry is an SDK error (ORVANE_ERR_NO_DATA). */
ORVANE_C_API orvError orvImageChunkDataGetIntValue(orvImage image, const char* name, int64_t* value);
ORVANE_C_API orvError orvImageChunkDataGetFloatValue(orvImage image, const char* name, double* value);
ORVANE_C_API orvError orvImageHasCRC(orvImage image, bool8_t* hasCRC);
ORVANE_C_API orvError orvImageCheckCRC(orvImage image, bool8_t* crcOk);
ORVANE_C_API orvError orvImageGetBitsPerPixel(orvImage image, size_t* bitsPerPixel);
ORVANE_C_API orvError orvImageGetSize(orvImage image, size_t* size);
ORVANE_C_API orvError orvImageGetStride(orvImage image, size_t* stride);
ORVANE_C_API orvError orvImageGetPixelFormatName(orvImage image, char* buffer, size_t* length);
/* Takes a status value, not an image; a null buffer asks for the length. */
ORVANE_C_API orvError orvImageGetStatusDescription(orvImageStatus status, char* buffer, size_t* length);
/* Computes the statistics of the channels enabled in `statistics`. */
ORVANE_C_API orvError orvImageCalculateStatistics(orvImage image, orvImageStatistics statistics);

/* Saving images ---------------------------------------------------------- */
/* Writes the image in `format` (ORV_FILE_FORMAT_FROM_EXT: from the file name's
 * extension). Formats a file cannot store are converted first where the
 * result is clear (mono to 8/16-bit grey, Bayer/YUV to RGB); others fail with
 * ORVANE_ERR_NOT_SUPPORTED. No partial file is ever left. */
ORVANE_C_API orvError orvImageSave(orvImage image, const char* fileName, orvImageFileFormat format);
ORVANE_C_API orvError orvImageSaveFromExt(orvImage image, const char* fileName);
/* One format with its options (see OrvaneImageFileOptions.h; the orv*OptionInit
 * functions fill the defaults), whatever the extension. */
ORVANE_C_API orvError orvImageSavePng(orvImage image, const char* fileName, const orvPNGOption* option);
ORVANE_C_API orvError orvImageSavePpm(orvImage image, const char* fileName, const orvPPMOption* option);
ORVANE_C_API orvError orvImageSavePgm(orvImage image, const char* fileName, const orvPGMOption* option);
ORVANE_C_API orvError orvImageSaveTiff(orvImage image, const char* fileName, const orvTIFFOption* option);
ORVANE_C_API orvError orvImageSaveJpeg(orvImage image, const char* fileName, const orvJPEGOption* option);
ORVANE_C_API orvError orvImageSaveJpg2(orvImage image, const char* fileName, const orvJPEG2000Option* option);
ORVANE_C_API orvError orvImageSaveBmp(orvImage image, const char* fileName, const orvBMPOption* option);

/* Image processor -------------------------------------------------------- */
ORVANE_C_API orvError orvImageProcessorCreate(orvImageProcessor* processor);
ORVANE_C_API orvError orvImageProcessorDestroy(orvImageProcessor processor);
ORVANE_C_API orvError orvImageProcessorSetColorProcessing(orvImageProcessor processor,
                                                          orvColorProcessingAlgorithm algorithm);
ORVANE_C_API orvError orvImageProcessorGetColorProcessing(orvImageProcessor processor,
                                                          orvColorProcessingAlgorithm* algorithm);
/* Threads per conversion (0: as many as the machine has). */
ORVANE_C_API orvError orvImageProcessorSetNumDecompressionThreads(orvImageProcessor processor, unsigned int count);
ORVANE_C_API orvError orvImageProcessorGetNumDecompressionThreads(orvImageProcessor processor, unsigned int* count);
/* Replaces the destination's image (one the caller created) with the source
 * converted to pixelFormat. A null destination is a parameter error. */
ORVANE_C_API orvError orvImageProcessorConvert(orvImageProcessor processor, orvImage source, orvImage destination,
                                               orvPixelFormat pixelFormat);
/* Converts every image of the list and stacks them, first on top, into the
 * destination (the images must have one width). */
ORVANE_C_API orvError orvImageProcessorConvertImageList(orvImageProcessor processor, orvImageList source,
                                                        orvImage destination, orvPixelFormat pixelFormat);
/* Gamma correction; inverse non-zero applies 1/gamma (encoding: 2.2 brightens
 * mid-tones), zero applies gamma as given. */
ORVANE_C_API orvError orvImageProcessorApplyGamma(orvImageProcessor processor, orvImage source, orvImage destination,
                                                  float gamma, bool8_t inverse);

/* Image statistics ------------------------------------------------------- */
/* Per channel: range (the values the channel can take, the extent of its
 * histogram: 0 .. 2^n - 1 for n-bit values, 0..255 for hue, saturation and
 * lightness), pixel value range (the smallest and largest value present),
 * number of distinct values present, mean and a 256-bin histogram (owned by
 * the statistics object). Enable channels, run orvImageCalculateStatistics,
 * then read them; a disabled channel gives ORVANE_ERR_NOT_AVAILABLE. */
ORVANE_C_API orvError orvImageStatisticsCreate(orvImageStatistics* statistics);
ORVANE_C_API orvError orvImageStatisticsDestroy(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsEnableAll(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsDisableAll(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsEnableGreyOnly(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsEnableRgbOnly(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsEnableHslOnly(orvImageStatistics statistics);
ORVANE_C_API orvError orvImageStatisticsGetChannelStatus(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                         bool8_t* enabled);
ORVANE_C_API orvError orvImageStatisticsSetChannelStatus(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                         bool8_t enable);
ORVANE_C_API orvError orvImageStatisticsGetRange(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                 unsigned int* min, unsigned int* max);
ORVANE_C_API orvError orvImageStatisticsGetPixelValueRange(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                           unsigned int* min, unsigned int* max);
ORVANE_C_API orvError orvImageStatisticsGetNumPixelValues(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                          unsigned int* count);
ORVANE_C_API orvError orvImageStatisticsGetMean(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                float* mean);
ORVANE_C_API orvError orvImageStatisticsGetHistogram(orvImageStatistics statistics, orvStatisticsChannel channel,
                                                     int** histogram);
ORVANE_C_API orvError orvImageStatisticsGetAll(orvImageStatistics statistics, orvStatisticsChannel channel,
                                               unsigned int* rangeMin, unsigned int* rangeMax,
                                               unsigned int* pixelValueMin, unsigned int* pixelValueMax,
                                               unsigned int* numPixelValues, float* mean, int** histogram);

/* Cameras ---------------------------------------------------------------- */
/* Opens the device for control (a no-op when it is open already). */
ORVANE_C_API orvError orvCameraInit(orvCamera camera);
/* Closes the device. The device node map handle and the node handles under it
 * are freed; the transport-layer node map handles stay valid. */
ORVANE_C_API orvError orvCameraDeInit(orvCamera camera);
/* The camera's node maps. Each handle belongs to the camera handle and is the
 * same on every call (the device node map's only until orvCameraDeInit). The
 * device node map needs orvCameraInit; the transport-layer ones do not. */
ORVANE_C_API orvError orvCameraGetNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap);
ORVANE_C_API orvError orvCameraGetTLDeviceNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap);
ORVANE_C_API orvError orvCameraGetTLStreamNodeMap(orvCamera camera, orvNodeMapHandle* nodeMap);
/* ORV_ACCESS_MODE_RW when controlling the device, RO in monitor mode, NA when
 * it is gone. */
ORVANE_C_API orvError orvCameraGetAccessMode(orvCamera camera, int32_t* accessMode);
/* Raw device memory; the buffer is not checked (the SDK reports a null one). */
ORVANE_C_API orvError orvCameraReadPort(orvCamera camera, uint64_t address, void* buffer, uint64_t length);
ORVANE_C_API orvError orvCameraWritePort(orvCamera camera, uint64_t address, void* buffer, uint64_t length);
/* Text results: the buffer and its length are both checked. */
ORVANE_C_API orvError orvCameraGetDeviceID(orvCamera camera, char* buffer, size_t* length);
ORVANE_C_API orvError orvCameraGetUniqueID(orvCamera camera, char* buffer, size_t* length);
ORVANE_C_API orvError orvCameraGetGuiXml(orvCamera camera, char* buffer, size_t* length);
/* A null isStreaming is reported as a null handle (ORVANE_ERR_INVALID_HANDLE). */
ORVANE_C_API orvError orvCameraIsStreaming(orvCamera camera, bool8_t* isStreaming);
ORVANE_C_API orvError orvCameraIsValid(orvCamera camera, bool8_t* isValid);
ORVANE_C_API orvError orvCameraIsInitialized(orvCamera camera, bool8_t* isInitialized);
ORVANE_C_API orvError orvCameraDiscoverMaxPacketSize(orvCamera camera, unsigned int* packetSize);
/* Frees the handle with its node map handles and the node handles under them. */
ORVANE_C_API orvError orvCameraRelease(orvCamera camera);
/* Event handlers of the camera. A device event handler receives every device
 * event, or with the Ex function the event of one name ("ExposureEnd"; the
 * name is not checked here: a null one is passed on as an empty name). Events
 * reach it only once the camera sends them: select the event with
 * EventSelector and set EventNotification to On. An image handler receives
 * the images of stream 0, or with the Ex function of the stream given.
 * Unregister a handler (from another thread than its own callback's) before
 * destroying it. */
ORVANE_C_API orvError orvCameraRegisterDeviceEventHandler(orvCamera camera, orvDeviceEventHandler handler);
ORVANE_C_API orvError orvCameraRegisterDeviceEventHandlerEx(orvCamera camera, orvDeviceEventHandler handler,
                                                            const char* eventName);
ORVANE_C_API orvError orvCameraUnregisterDeviceEventHandler(orvCamera camera, orvDeviceEventHandler handler);
ORVANE_C_API orvError orvCameraRegisterImageEventHandler(orvCamera camera, orvImageEventHandler handler);
ORVANE_C_API orvError orvCameraRegisterImageEventHandlerEx(orvCamera camera, orvImageEventHandler handler,
                                                           uint64_t streamIndex);
ORVANE_C_API orvError orvCameraUnregisterImageEventHandler(orvCamera camera, orvImageEventHandler handler);
ORVANE_C_API orvError orvCameraRegisterImageListEventHandler(orvCamera camera, orvImageListEventHandler handler);
ORVANE_C_API orvError orvCameraUnregisterImageListEventHandler(orvCamera camera, orvImageListEventHandler handler);

/* Acquisition -------------------------------------------------------------- */
/* Starts and ends the camera's stream (the camera must be initialised). */
ORVANE_C_API orvError orvCameraBeginAcquisition(orvCamera camera);
ORVANE_C_API orvError orvCameraEndAcquisition(orvCamera camera);
/* The next image of the stream as a new handle, given back with
 * orvImageRelease. grabTimeout is in milliseconds; orvCameraGetNextImage waits
 * forever (ORV_INFINITE_TIMEOUT). A timeout returns ORVANE_ERR_TIMEOUT and
 * leaves *image as it was. */
ORVANE_C_API orvError orvCameraGetNextImage(orvCamera camera, orvImage* image);
ORVANE_C_API orvError orvCameraGetNextImageEx(orvCamera camera, uint64_t grabTimeout, orvImage* image);
/* One image of every stream of the camera, as a new image list handle freed
 * with orvImageListDestroy (after orvImageListRelease gives its images back). */
ORVANE_C_API orvError orvCameraGetNextImageSync(orvCamera camera, uint64_t grabTimeout, orvImageList* imageList);

/* Event handlers ------------------------------------------------------------ */
/* A handler handle holds a C function (two for the interface event handler)
 * and the user data passed back to it; register it on a camera, an interface
 * or the system. The function must not be null (ORVANE_ERR_INVALID_PARAMETER).
 * Destroy does not unregister: unregister first. The interface event and log
 * event handlers' Destroy functions do not check the handle's kind: give them
 * only handles of their own kind. */
ORVANE_C_API orvError orvDeviceEventHandlerCreate(orvDeviceEventHandler* handler, orvDeviceEventFunction function,
                                                  void* userData);
ORVANE_C_API orvError orvDeviceEventHandlerDestroy(orvDeviceEventHandler handler);
ORVANE_C_API orvError orvImageEventHandlerCreate(orvImageEventHandler* handler, orvImageEventFunction function,
                                                 void* userData);
ORVANE_C_API orvError orvImageEventHandlerDestroy(orvImageEventHandler handler);
/* A null function is reported as "orvImageEventFunction parameter is NULL". */
ORVANE_C_API orvError orvImageListEventHandlerCreate(orvImageListEventHandler* handler,
                                                     orvImageListEventFunction function, void* userData);
ORVANE_C_API orvError orvImageListEventHandlerDestroy(orvImageListEventHandler handler);
ORVANE_C_API orvError orvDeviceArrivalEventHandlerCreate(orvDeviceArrivalEventHandler* handler,
                                                         orvArrivalEventFunction function, void* userData);
ORVANE_C_API orvError orvDeviceArrivalEventHandlerDestroy(orvDeviceArrivalEventHandler handler);
ORVANE_C_API orvError orvDeviceRemovalEventHandlerCreate(orvDeviceRemovalEventHandler* handler,
                                                         orvRemovalEventFunction function, void* userData);
ORVANE_C_API orvError orvDeviceRemovalEventHandlerDestroy(orvDeviceRemovalEventHandler handler);
/* Arrivals and removals through one registration. */
ORVANE_C_API orvError orvInterfaceEventHandlerCreate(orvInterfaceEventHandler* handler, orvArrivalEventFunction arrival,
                                                     orvRemovalEventFunction removal, void* userData);
ORVANE_C_API orvError orvInterfaceEventHandlerDestroy(orvInterfaceEventHandler handler);
ORVANE_C_API orvError orvLogEventHandlerCreate(orvLogEventHandler* handler, orvLogEventFunction function,
                                               void* userData);
ORVANE_C_API orvError orvLogEventHandlerDestroy(orvLogEventHandler handler);

/* Log and device event data --------------------------------------------------- */
/* Inside a log callback: the record's fields (a null buffer asks for a text's
 * length). Category ("Orvane" for this library's records and the logging
 * entry points', "Orvane.<area>" for the SDK's own: "Orvane.Camera",
 * "Orvane.GenApi", ...); priority and its name (ORV_LOG_LEVEL_ERROR,
 * "ERROR"); local time "YYYY-MM-DD hh:mm:ss.uuuuuu"; the nested diagnostic
 * context; the logging thread's name; the message. */
ORVANE_C_API orvError orvLogDataGetCategoryName(orvLogEventData data, char* buffer, size_t* length);
ORVANE_C_API orvError orvLogDataGetPriority(orvLogEventData data, int64_t* priority);
ORVANE_C_API orvError orvLogDataGetPriorityName(orvLogEventData data, char* buffer, size_t* length);
ORVANE_C_API orvError orvLogDataGetTimestamp(orvLogEventData data, char* buffer, size_t* length);
ORVANE_C_API orvError orvLogDataGetNDC(orvLogEventData data, char* buffer, size_t* length);
ORVANE_C_API orvError orvLogDataGetThreadName(orvLogEventData data, char* buffer, size_t* length);
ORVANE_C_API orvError orvLogDataGetLogMessage(orvLogEventData data, char* buffer, size_t* length);
/* Inside a device-event callback: the event's id and its payload size.
 * orvDeviceEventGetPayloadData checks both pointers but writes only the size:
 * *payload is left as it is. orvDeviceEventGetName needs a buffer and gives
 * an empty text: the name is the callback's eventName argument. */
ORVANE_C_API orvError orvDeviceEventGetId(orvDeviceEventData data, uint64_t* eventId);
ORVANE_C_API orvError orvDeviceEventGetPayloadData(orvDeviceEventData data, const uint8_t** payload, size_t* size);
ORVANE_C_API orvError orvDeviceEventGetPayloadDataSize(orvDeviceEventData data, size_t* size);
ORVANE_C_API orvError orvDeviceEventGetName(orvDeviceEventData data, char* buffer, size_t* length);

#ifdef __cplusplus
}

/* Action commands: C++ only. These two functions are exported with C++
 * linkage (type-encoded symbols that carry their argument types) and cannot be
 * called from C. Every camera whose ActionDeviceKey equals deviceKey and, for
 * one of its actions, whose ActionGroupKey equals groupKey and whose
 * ActionGroupMask shares a bit with groupMask performs the action (a frame
 * when TriggerSource is Action0) at actionTime (device time in ns; 0: at
 * once). The system sends on every enabled interface, the interface on
 * itself alone.
 *
 * Results, with requestAcknowledgement true: a null resultSize reports
 * nothing (results is then not checked). Otherwise results must not be null;
 * *resultSize 0 asks only for the number of acknowledgements, written to
 * *resultSize. A non-zero *resultSize N copies N records into results (those
 * beyond the number received are zero) and sets *resultSize to the number
 * received, which may be larger than N. */
ORVANE_C_API orvError orvSystemSendActionCommand(orvSystem system, unsigned int deviceKey, unsigned int groupKey,
                                                 unsigned int groupMask, unsigned long long actionTime,
                                                 bool requestAcknowledgement, unsigned int* resultSize,
                                                 orvActionCommandResult* results);
ORVANE_C_API orvError orvInterfaceSendActionCommand(orvInterface interfaceHandle, unsigned int deviceKey,
                                                    unsigned int groupKey, unsigned int groupMask,
                                                    unsigned long long actionTime, bool requestAcknowledgement,
                                                    unsigned int* resultSize, orvActionCommandResult* results);
#endif

#include "OrvaneGenApiC.h"
#include "OrvaneQuickOrvC.h"

#endif
