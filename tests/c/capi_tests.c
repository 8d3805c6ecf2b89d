/* The C library as a C program sees it: OrvaneC.h only, libOrvane_C only.
 * Compiled both as C99 and as C++. Each case is run by name:
 *   capi_tests <case>   exits 0 when the case passes. */
#include <OrvaneC.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

#define CHECK(cond)                                                                 \
    do {                                                                            \
        if (!(cond)) {                                                              \
            fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            ++failures;                                                             \
        }                                                                           \
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

static const struct {
    const char* name;
    void (*run)(void);
} kCases[] = {{"system", caseSystem}, {"errors", caseErrors}, {"cameras", caseCameras}, {"nodes", caseNodes}};

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
