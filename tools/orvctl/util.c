/* orvctl helpers: error reporting and node access. */
#include <stdio.h>
#include <string.h>

#include "orvctl.h"

const char* orvctlErrorName(orvError error) {
    switch (error) {
    case ORVANE_ERR_SUCCESS: return "success";
    case ORVANE_ERR_ERROR: return "error";
    case ORVANE_ERR_NOT_INITIALIZED: return "not initialised";
    case ORVANE_ERR_INVALID_HANDLE: return "invalid handle";
    case ORVANE_ERR_INVALID_PARAMETER: return "invalid parameter";
    case ORVANE_ERR_BUFFER_TOO_SMALL: return "buffer too small";
    case ORVANE_ERR_NOT_IMPLEMENTED: return "not implemented";
    case ORVANE_ERR_RESOURCE_IN_USE: return "resource in use";
    case ORVANE_ERR_ACCESS_DENIED: return "access denied";
    case ORVANE_ERR_INVALID_ID: return "no such id";
    case ORVANE_ERR_NO_DATA: return "no data";
    case ORVANE_ERR_ABORT: return "aborted";
    case ORVANE_ERR_INVALID_BUFFER: return "invalid buffer";
    case ORVANE_ERR_TIMEOUT: return "timeout";
    case ORVANE_ERR_IO: return "input/output error";
    case ORVANE_ERR_OUT_OF_RANGE: return "out of range";
    case ORVANE_ERR_NOT_AVAILABLE: return "not available";
    case ORVANE_ERR_CAMERA_NOT_INITIALIZED: return "camera not initialised";
    case ORVANE_ERR_NOT_STREAMING: return "not streaming";
    case ORVANE_ERR_INVALID_ARGUMENT: return "invalid argument";
    case ORVANE_ERR_NOT_SUPPORTED: return "not supported";
    case ORVANE_ERR_CORRUPT_DATA: return "corrupt data";
    case ORVANE_ERR_DEVICE_LOST: return "device lost";
    case ORVANE_ERR_OUT_OF_MEMORY: return "out of memory";
    case ORVANE_ERR_INVALID_STATE: return "invalid state";
    case ORVANE_ERR_GENICAM_GENERIC: return "GenICam error";
    case ORVANE_ERR_GENICAM_BAD_ALLOC: return "GenICam allocation failure";
    case ORVANE_ERR_GENICAM_INVALID_ARGUMENT: return "invalid value for the feature";
    case ORVANE_ERR_GENICAM_OUT_OF_RANGE: return "value outside the feature's range or increment";
    case ORVANE_ERR_GENICAM_LOGICAL_ERROR: return "the node does not have this type";
    case ORVANE_ERR_GENICAM_ACCESS: return "the feature cannot be accessed that way now";
    case ORVANE_ERR_GENICAM_RUN_TIME: return "GenICam run-time error";
    case ORVANE_ERR_GENICAM_TIMEOUT: return "the device did not answer in time";
    case ORVANE_ERR_GENICAM_DYNAMIC_CAST: return "the node does not have this interface";
    case ORVANE_ERR_GENICAM_NOT_AVAILABLE: return "the feature is not available";
    case ORVANE_ERR_GENICAM_PROPERTY: return "bad node description";
    default: return "unknown error";
    }
}

int orvctlCheck(orvError error, const char* what) {
    char message[512];
    size_t length = sizeof message;
    orvError last = 0;
    if (error == ORVANE_ERR_SUCCESS) return 1;
    if (orvErrorGetLast(&last) == ORVANE_ERR_SUCCESS && last == error &&
        orvErrorGetLastMessage(message, &length) == ORVANE_ERR_SUCCESS && message[0])
        fprintf(stderr, "orvctl: %s failed: %s (%s, %d)\n", what, message, orvctlErrorName(error), (int)error);
    else
        fprintf(stderr, "orvctl: %s failed: %s (%d)\n", what, orvctlErrorName(error), (int)error);
    return 0;
}

int orvctlGetString(orvNodeMapHandle map, const char* name, char* out, size_t size) {
    orvNodeHandle node = NULL;
    size_t length = size;
    if (orvNodeMapGetNode(map, name, &node) != ORVANE_ERR_SUCCESS || !node) return 0;
    return orvNodeToString(node, out, &length) == ORVANE_ERR_SUCCESS;
}

int orvctlGetInteger(orvNodeMapHandle map, const char* name, int64_t* value) {
    orvNodeHandle node = NULL;
    if (orvNodeMapGetNode(map, name, &node) != ORVANE_ERR_SUCCESS || !node) return 0;
    return orvIntegerGetValue(node, value) == ORVANE_ERR_SUCCESS;
}

int orvctlSetInteger(orvNodeMapHandle map, const char* name, int64_t value) {
    orvNodeHandle node = NULL;
    if (orvNodeMapGetNode(map, name, &node) != ORVANE_ERR_SUCCESS || !node) return 0;
    return orvIntegerSetValue(node, value) == ORVANE_ERR_SUCCESS;
}

void orvctlNodeText(orvNodeHandle node, char* out, size_t size) {
    size_t length = size;
    bool8_t readable = 0;
    if (!node || orvNodeIsReadable(node, &readable) != ORVANE_ERR_SUCCESS || !readable ||
        orvNodeToString(node, out, &length) != ORVANE_ERR_SUCCESS)
        snprintf(out, size, "-");
}
