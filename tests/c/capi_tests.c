/* The C library as a C program sees it: OrvaneC.h only, libOrvane_C only.
 * Compiled both as C99 and as C++. Each case is run by name:
 *   capi_tests <case>   exits 0 when the case passes. */
#include <OrvaneC.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

#define CHECK(cond)                                                                  \
    do {                                                                             \
        if (!(cond)) {                                                               \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            ++failures;                                                              \
        }                                                                            \
    } while (0)

#define CHECK_OK(call) CHECK((call) == ORVANE_ERR_SUCCESS)

static void lastMessage(char* out, size_t size) {
    size_t length = size;
    if (orvErrorGetLastMessage(out, &length) != ORVANE_ERR_SUCCESS) out[0] = 0;
}

static void caseSystem(void) {
    orvSystem system = NULL;
    orvLibraryVersion version;
    orvLogLevel level = 0;
    bool8_t inUse = 9;
    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvSystemGetLibraryVersion(system, &version));
    CHECK(version.major == 4);
    CHECK_OK(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_WARN));
    CHECK_OK(orvSystemGetLoggingLevel(system, &level));
    CHECK(level == ORV_LOG_LEVEL_WARN);
    CHECK_OK(orvSystemIsInUse(system, &inUse));
    CHECK(inUse == 0);
    CHECK(orvSystemGetInstance(NULL) == ORVANE_ERR_INVALID_PARAMETER);
    CHECK_OK(orvSystemReleaseInstance(system));
}

static void caseErrors(void) {
    orvSystem system = NULL;
    orvInterfaceList list = NULL;
    orvError code = 0;
    char text[256];
    size_t length = sizeof text;
    int64_t line = 0;
    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvInterfaceListCreateEmpty(&list));
    CHECK(orvSystemGetCameras(system, list) == ORVANE_ERR_INVALID_HANDLE);
    CHECK_OK(orvErrorGetLast(&code));
    CHECK(code == ORVANE_ERR_INVALID_HANDLE);
    lastMessage(text, sizeof text);
    CHECK(strcmp(text,
                 "Orvane Exception: Incorrect handle exception thrown. Expected: Camera list handle; Received: "
                 "Interface list handle.") == 0);
    CHECK_OK(orvErrorGetLastFunctionName(text, &length));
    CHECK(strcmp(text, "checkObjectType") == 0);
    CHECK(length == strlen("checkObjectType") + 1);
    CHECK_OK(orvErrorGetLastLineNumber(&line));
    CHECK(line == 343);
    CHECK_OK(orvInterfaceListDestroy(list));
    CHECK_OK(orvSystemReleaseInstance(system));
    CHECK_OK(orvErrorGetLast(&code));
    CHECK(code == 0);
}

static void caseCameras(void) {
    orvSystem system = NULL;
    orvCameraList cameras = NULL;
    orvCamera camera = NULL;
    size_t n = 0;
    char id[64];
    size_t length = sizeof id;
    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvCameraListCreateEmpty(&cameras));
    CHECK_OK(orvSystemGetCameras(system, cameras));
    CHECK_OK(orvCameraListGetSize(cameras, &n));
    CHECK(n == 2);
    CHECK_OK(orvCameraListGetBySerial(cameras, "VC0002", &camera));
    CHECK_OK(orvCameraGetUniqueID(camera, id, &length));
    CHECK(strcmp(id, "Virtual:VC0002") == 0);
    CHECK_OK(orvCameraRelease(camera));
    CHECK_OK(orvCameraListDestroy(cameras));
    CHECK_OK(orvSystemReleaseInstance(system));
}

/* Walks a category tree, counting features and checking each one's name. */
static int walk(orvNodeHandle category, int depth) {
    size_t n = 0, i;
    int count = 0;
    if (depth > 8) return 0;
    CHECK_OK(orvCategoryGetNumFeatures(category, &n));
    for (i = 0; i < n; ++i) {
        orvNodeHandle feature = NULL;
        int32_t type = -2;
        char name[128];
        size_t length = sizeof name;
        CHECK_OK(orvCategoryGetFeatureByIndex(category, i, &feature));
        CHECK_OK(orvNodeGetName(feature, name, &length));
        CHECK(length == strlen(name) + 1);
        CHECK_OK(orvNodeGetType(feature, &type));
        ++count;
        if (type == NodeTypeCategory) count += walk(feature, depth + 1);
    }
    return count;
}

static void caseNodes(void) {
    orvSystem system = NULL;
    orvNodeMapHandle map = NULL;
    orvNodeHandle root = NULL, count = NULL, missing = (orvNodeHandle)1, type = NULL, entry = NULL;
    int64_t value = 0;
    char text[64];
    size_t length = sizeof text;
    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvSystemGetTLNodeMap(system, &map));
    CHECK_OK(orvNodeMapGetNode(map, "Root", &root));
    CHECK(walk(root, 0) >= 20);
    CHECK_OK(orvNodeMapGetNode(map, "NoSuchNode", &missing));
    CHECK(missing == NULL);
    CHECK_OK(orvNodeMapGetNode(map, "VirtualCameraCount", &count));
    CHECK_OK(orvIntegerGetValue(count, &value));
    CHECK(value == 2);
    CHECK(orvIntegerSetValue(count, 65) == ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    CHECK(orvFloatSetValue(count, 1.0) == ORVANE_ERR_INVALID_HANDLE);
    CHECK_OK(orvNodeMapGetNode(map, "TLType", &type));
    CHECK_OK(orvEnumerationGetCurrentEntry(type, &entry));
    CHECK_OK(orvEnumerationEntryGetSymbolic(entry, text, &length));
    CHECK(strcmp(text, "Mixed") == 0);
    CHECK_OK(orvSystemReleaseInstance(system));
}

static orvNodeHandle deviceNode(orvNodeMapHandle map, const char* name) {
    orvNodeHandle node = NULL;
    CHECK_OK(orvNodeMapGetNode(map, name, &node));
    CHECK(node != NULL);
    return node;
}

/* Streams a Bayer colour-bar frame, converts it to BGR8 and reads the bars. */
static void caseAcquisition(void) {
    orvSystem system = NULL;
    orvCameraList cameras = NULL;
    orvCamera camera = NULL;
    orvNodeMapHandle map = NULL;
    orvImage frame = NULL, bgr = NULL;
    orvImageProcessor processor = NULL;
    orvPixelFormat format = ORV_UNKNOWN_PIXELFORMAT;
    size_t width = 0, height = 0, stride = 0, size = 0;
    const unsigned char* pixels = NULL;
    void* data = NULL;
    int64_t v = 5;
    /* B, G, R of the eight bars: white, yellow, cyan, green, magenta, red, blue, black. */
    static const unsigned char bars[8][3] = {{255, 255, 255}, {0, 255, 255}, {255, 255, 0}, {0, 255, 0},
                                             {255, 0, 255},   {0, 0, 255},   {255, 0, 0},   {0, 0, 0}};
    int bar, c;

    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvCameraListCreateEmpty(&cameras));
    CHECK_OK(orvSystemGetCameras(system, cameras));
    CHECK_OK(orvCameraListGetBySerial(cameras, "VC0001", &camera));
    CHECK_OK(orvCameraInit(camera));
    CHECK_OK(orvCameraGetNodeMap(camera, &map));
    CHECK_OK(orvIntegerSetValue(deviceNode(map, "Width"), 64));
    CHECK_OK(orvIntegerSetValue(deviceNode(map, "Height"), 16));
    CHECK_OK(orvNodeFromString(deviceNode(map, "PixelFormat"), "BayerRG8"));
    CHECK_OK(orvNodeFromString(deviceNode(map, "TestPattern"), "ColorBar"));

    CHECK(orvCameraGetNextImage(camera, &frame) == ORVANE_ERR_NOT_STREAMING);
    CHECK(frame == NULL);
    CHECK_OK(orvCameraBeginAcquisition(camera));
    CHECK_OK(orvCameraGetNextImageEx(camera, 5000, &frame));
    CHECK_OK(orvImageGetPixelFormat(frame, &format));
    CHECK(format == ORV_PIXEL_FORMAT_BayerRG8);
    CHECK_OK(orvImageGetWidth(frame, &width));
    CHECK_OK(orvImageGetHeight(frame, &height));
    CHECK(width == 64 && height == 16);
    CHECK_OK(orvImageChunkDataGetIntValue(frame, "ChunkCRC", &v));
    CHECK(v == 5);
    CHECK(orvImageChunkDataGetIntValue(frame, "ChunkFrameId", &v) == ORVANE_ERR_INVALID_PARAMETER);

    CHECK_OK(orvImageProcessorCreate(&processor));
    CHECK_OK(orvImageProcessorSetColorProcessing(processor, ORV_COLOR_PROCESSING_BILINEAR));
    CHECK_OK(orvImageCreateEmpty(&bgr));
    CHECK_OK(orvImageProcessorConvert(processor, frame, bgr, ORV_PIXEL_FORMAT_BGR8));
    CHECK(orvImageDestroy(frame) == ORVANE_ERR_INVALID_HANDLE);
    CHECK_OK(orvImageRelease(frame));
    CHECK_OK(orvImageGetPixelFormat(bgr, &format));
    CHECK(format == ORV_PIXEL_FORMAT_BGR8);
    CHECK_OK(orvImageGetStride(bgr, &stride));
    CHECK_OK(orvImageGetSize(bgr, &size));
    CHECK(stride == 64 * 3 && size == 64 * 16 * 3);
    CHECK_OK(orvImageGetData(bgr, &data));
    pixels = (const unsigned char*)data;
    /* The middle of each 8-pixel bar, below the burned-in frame counter. */
    for (bar = 0; bar < 8 && pixels; ++bar)
        for (c = 0; c < 3; ++c) CHECK(pixels[8 * stride + (size_t)(bar * 8 + 4) * 3 + (size_t)c] == bars[bar][c]);

    CHECK_OK(orvImageDestroy(bgr));
    CHECK_OK(orvImageProcessorDestroy(processor));
    CHECK_OK(orvCameraEndAcquisition(camera));
    CHECK_OK(orvCameraDeInit(camera));
    CHECK_OK(orvCameraRelease(camera));
    CHECK_OK(orvCameraListDestroy(cameras));
    CHECK_OK(orvSystemReleaseInstance(system));
}

/* What the log callback saw: the last message and its priority. */
struct logSeen {
    int calls;
    int64_t priority;
    char priorityName[16];
    char message[256];
    void* self;
};

static void onLog(orvLogEventData data, void* userData) {
    struct logSeen* seen = (struct logSeen*)userData;
    size_t length = sizeof seen->message;
    ++seen->calls;
    seen->self = userData;
    if (orvLogDataGetLogMessage(data, seen->message, &length) != ORVANE_ERR_SUCCESS) seen->message[0] = 0;
    length = sizeof seen->priorityName;
    if (orvLogDataGetPriorityName(data, seen->priorityName, &length) != ORVANE_ERR_SUCCESS) seen->priorityName[0] = 0;
    if (orvLogDataGetPriority(data, &seen->priority) != ORVANE_ERR_SUCCESS) seen->priority = -2;
}

static void onImage(orvImage image, void* userData) {
    (void)image;
    (void)userData;
}

/* Handlers made and freed from C; a C log handler hears the library's errors. */
static void caseEvents(void) {
    orvSystem system = NULL;
    orvLogEventHandler logHandler = NULL;
    orvImageEventHandler imageHandler = NULL;
    orvInterfaceEventHandler interfaceHandler = (orvInterfaceEventHandler)1;
    struct logSeen seen;
    char text[128];
    memset(&seen, 0, sizeof seen);
    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_ERROR));

    CHECK(orvImageEventHandlerCreate(&imageHandler, NULL, NULL) == ORVANE_ERR_INVALID_PARAMETER);
    lastMessage(text, sizeof text);
    CHECK(strcmp(text, "orvImageEventFunction parameter is NULL") == 0);
    CHECK(orvInterfaceEventHandlerCreate(&interfaceHandler, NULL, NULL, NULL) == ORVANE_ERR_INVALID_PARAMETER);
    lastMessage(text, sizeof text);
    CHECK(strcmp(text, "orvArrivalEventFunction parameter is NULL") == 0);
    CHECK(interfaceHandler == (orvInterfaceEventHandler)1);
    CHECK_OK(orvImageEventHandlerCreate(&imageHandler, onImage, NULL));
    CHECK(orvImageEventHandlerDestroy(system) == ORVANE_ERR_INVALID_HANDLE);

    CHECK_OK(orvLogEventHandlerCreate(&logHandler, onLog, &seen));
    CHECK_OK(orvSystemRegisterLogEventHandler(system, logHandler));
    CHECK(orvSystemGetInstance(NULL) == ORVANE_ERR_INVALID_PARAMETER);
    CHECK(seen.calls == 1);
    CHECK(seen.self == &seen);
    CHECK(strcmp(seen.message,
                 "Orv Trace: ./OrvaneUtilsC, line 129, CheckNullParam: Message = Parameter is NULL Code = -1009") == 0);
    CHECK(seen.priority == ORV_LOG_LEVEL_ERROR);
    CHECK(strcmp(seen.priorityName, "ERROR") == 0);
    /* Errors are not delivered below their level. */
    CHECK_OK(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_CRIT));
    CHECK(orvSystemGetInstance(NULL) == ORVANE_ERR_INVALID_PARAMETER);
    CHECK(seen.calls == 1);
    CHECK_OK(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_ERROR));
    CHECK_OK(orvSystemUnregisterLogEventHandler(system, logHandler));
    CHECK(orvSystemGetInstance(NULL) == ORVANE_ERR_INVALID_PARAMETER);
    CHECK(seen.calls == 1);

    CHECK_OK(orvLogEventHandlerDestroy(logHandler));
    CHECK_OK(orvImageEventHandlerDestroy(imageHandler));
    CHECK_OK(orvSystemReleaseInstance(system));
}

/* QuickOrv from C: the structures, a constant written by name, the constant
 * of the current entry read back, a float written through its field. */
static void caseQuickOrv(void) {
    orvSystem system = NULL;
    orvCameraList cameras = NULL;
    orvCamera camera = NULL;
    quickOrv q;
    quickOrvTLDevice device;
    orvNodeHandle current = NULL;
    size_t value = 99;
    int64_t integer = -1;
    double exposure = 0;
    char text[64];
    size_t length = sizeof text;

    CHECK_OK(orvSystemGetInstance(&system));
    CHECK_OK(orvCameraListCreateEmpty(&cameras));
    CHECK_OK(orvSystemGetCameras(system, cameras));
    CHECK_OK(orvCameraListGetBySerial(cameras, "VC0002", &camera));
    memset(&q, 0, sizeof q);
    CHECK(quickOrvInit(camera, &q) == ORVANE_ERR_NOT_INITIALIZED);
    CHECK(q.Width == NULL);
    CHECK_OK(quickOrvInitEx(camera, NULL, &device, NULL));
    CHECK(device.DeviceSerialNumber != NULL);
    CHECK_OK(orvStringGetValue(device.DeviceSerialNumber, text, &length));
    CHECK(strcmp(text, "VC0002") == 0);

    CHECK_OK(orvCameraInit(camera));
    CHECK_OK(quickOrvInit(camera, &q));
    CHECK(q.PixelFormat != NULL && q.ExposureTime != NULL && q.Scan3dOutputMode == NULL);
    CHECK_OK(orvEnumerationSetEnumValue(q.PixelFormat, PixelFormat_BayerRG8));
    CHECK_OK(orvEnumerationGetCurrentEntry(q.PixelFormat, &current));
    CHECK_OK(orvEnumerationEntryGetEnumValue(current, &value));
    CHECK(value == PixelFormat_BayerRG8);
    CHECK_OK(orvEnumerationEntryGetIntValue(current, &integer));
    CHECK(integer == 0x01080009); /* the device's integer: the format's PFNC code */
    length = sizeof text;
    CHECK_OK(orvEnumerationEntryGetSymbolic(current, text, &length));
    CHECK(strcmp(text, "BayerRG8") == 0);
    CHECK(orvEnumerationSetEnumValue(q.PixelFormat, 253) == ORVANE_ERR_INVALID_PARAMETER);
    CHECK_OK(orvFloatSetValue(q.ExposureTime, 5000.0));
    CHECK_OK(orvFloatGetValue(q.ExposureTime, &exposure));
    CHECK(exposure > 4999.5 && exposure < 5000.5);

    CHECK_OK(orvCameraDeInit(camera));
    CHECK_OK(orvCameraRelease(camera));
    CHECK_OK(orvCameraListDestroy(cameras));
    CHECK_OK(orvSystemReleaseInstance(system));
}

static const struct {
    const char* name;
    void (*run)(void);
} kCases[] = {{"system", caseSystem},           {"errors", caseErrors}, {"cameras", caseCameras},  {"nodes", caseNodes},
              {"acquisition", caseAcquisition}, {"events", caseEvents}, {"quickorv", caseQuickOrv}};

int main(int argc, char** argv) {
    size_t i;
    if (argc != 2) {
        fprintf(stderr, "usage: capi_tests <case>\n");
        return 2;
    }
    for (i = 0; i < sizeof kCases / sizeof kCases[0]; ++i) {
        if (strcmp(argv[1], kCases[i].name) == 0) {
            kCases[i].run();
            return failures ? 1 : 0;
        }
    }
    fprintf(stderr, "capi_tests: unknown case %s\n", argv[1]);
    return 2;
}
