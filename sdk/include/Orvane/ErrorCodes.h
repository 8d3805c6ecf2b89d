/*
 * Error codes of Orvane: the SDK's exceptions carry them and the C library
 * returns them. This header compiles as C99 and as C++.
 *
 * 0 is success. The C library raises six codes of its own (marked "C library"
 * below) and passes every other code through unchanged from the SDK. The SDK
 * never raises the C library's codes, except ORVANE_ERR_GENICAM_LOGICAL_ERROR,
 * which both raise for a null or mismatched GenApi node dereferenced.
 */
#ifndef ORVANE_ERROR_CODES_H
#define ORVANE_ERROR_CODES_H

typedef enum _orvErrorCode {
    ORVANE_ERR_SUCCESS = 0,

    /* C library */
    ORVANE_ERR_ERROR = -1001,             /* a standard exception; message = its what() */
    ORVANE_ERR_NOT_INITIALIZED = -1002,   /* QuickOrv on a camera that is not initialised */
    ORVANE_ERR_INVALID_HANDLE = -1006,    /* null handle, or a handle of the wrong kind */
    ORVANE_ERR_INVALID_PARAMETER = -1009, /* null pointer argument, or an argument the library refuses */
    ORVANE_ERR_BUFFER_TOO_SMALL = -1013,  /* a caller's text buffer cannot hold the result */

    /* SDK: general */
    ORVANE_ERR_NOT_IMPLEMENTED = -1003,        /* the operation does not exist for this object */
    ORVANE_ERR_RESOURCE_IN_USE = -1004,        /* the object is busy (streaming, opened elsewhere) */
    ORVANE_ERR_ACCESS_DENIED = -1005,          /* the device or feature refuses this access */
    ORVANE_ERR_INVALID_ID = -1007,             /* no object has this id, serial number or name */
    ORVANE_ERR_NO_DATA = -1008,                /* the requested data is absent (e.g. a chunk) */
    ORVANE_ERR_ABORT = -1010,                  /* the operation was aborted (acquisition ended) */
    ORVANE_ERR_INVALID_BUFFER = -1011,         /* a buffer is missing, too small or corrupt */
    ORVANE_ERR_TIMEOUT = -1012,                /* a wait ended before its condition was met */
    ORVANE_ERR_IO = -1014,                     /* file or device input/output failed */
    ORVANE_ERR_OUT_OF_RANGE = -1015,           /* an index or value lies outside its range */
    ORVANE_ERR_NOT_AVAILABLE = -1016,          /* the object exists but cannot be used now */
    ORVANE_ERR_CAMERA_NOT_INITIALIZED = -1017, /* the camera must be initialised first */
    ORVANE_ERR_NOT_STREAMING = -1018,          /* the camera's stream is not running */
    ORVANE_ERR_INVALID_ARGUMENT = -1019,       /* an argument's value is not acceptable */
    ORVANE_ERR_NOT_SUPPORTED = -1020,          /* valid, but not supported (e.g. a conversion pair) */
    ORVANE_ERR_CORRUPT_DATA = -1021,           /* data failed its integrity check (file, CRC) */
    ORVANE_ERR_DEVICE_LOST = -1022,            /* the device stopped answering */
    ORVANE_ERR_OUT_OF_MEMORY = -1023,          /* an allocation failed */
    ORVANE_ERR_INVALID_STATE = -1024,          /* the object is in the wrong state for this call */

    /* SDK: GenApi node maps */
    ORVANE_ERR_GENICAM_GENERIC = -2001,          /* GenApi failure without a finer code */
    ORVANE_ERR_GENICAM_BAD_ALLOC = -2002,        /* allocation failure in the node map */
    ORVANE_ERR_GENICAM_INVALID_ARGUMENT = -2003, /* bad argument to a node operation */
    ORVANE_ERR_GENICAM_OUT_OF_RANGE = -2004,     /* value outside minimum/maximum/increment, index outside a list */
    ORVANE_ERR_GENICAM_LOGICAL_ERROR = -2005,    /* null or mismatched node dereferenced (also C library) */
    ORVANE_ERR_GENICAM_ACCESS = -2006,           /* feature not readable / not writable now */
    ORVANE_ERR_GENICAM_RUN_TIME = -2007,         /* run-time failure (port, evaluation) */
    ORVANE_ERR_GENICAM_TIMEOUT = -2008,          /* the device did not answer in time */
    ORVANE_ERR_GENICAM_DYNAMIC_CAST = -2009,     /* node is not of the requested interface */
    ORVANE_ERR_GENICAM_NOT_AVAILABLE = -2010,    /* feature not implemented or not available */
    ORVANE_ERR_GENICAM_PROPERTY = -2011          /* bad or missing node property in the XML */
} orvErrorCode;

#endif
