/* orvctl info, features, get and set: a camera's identity and its GenICam
 * features. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvctl.h"

static const char* kAccess[] = {"NI", "NA", "WO", "RO", "RW"};

static const char* typeName(int32_t type) {
    switch (type) {
    case NodeTypeInteger: return "Integer";
    case NodeTypeBoolean: return "Boolean";
    case NodeTypeFloat: return "Float";
    case NodeTypeCommand: return "Command";
    case NodeTypeString: return "String";
    case NodeTypeRegister: return "Register";
    case NodeTypeEnumeration: return "Enumeration";
    case NodeTypeEnumEntry: return "EnumEntry";
    case NodeTypeCategory: return "Category";
    case NodeTypePort: return "Port";
    default: return "Node";
    }
}

static const char* accessName(orvNodeHandle node) {
    int32_t mode = -1;
    if (orvNodeGetAccessMode(node, &mode) != ORVANE_ERR_SUCCESS || mode < 0 || mode > 4) return "?";
    return kAccess[mode];
}

/* Parses `SERIAL [--tl device|stream] rest...`; returns the number of
 * positional arguments left in rest. */
static int parseTarget(int argc, char** argv, const char** serial, const char** tl, char** rest, int maxRest) {
    int i, n = 0;
    *serial = NULL;
    *tl = NULL;
    for (i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "--tl") == 0 && i + 1 < argc) {
            *tl = argv[++i];
        } else if (!*serial) {
            *serial = argv[i];
        } else if (n < maxRest) {
            rest[n++] = argv[i];
        } else {
            return -1;
        }
    }
    return *serial ? n : -1;
}

static size_t mapSize(orvNodeMapHandle map) {
    size_t n = 0;
    if (!map || orvNodeMapGetNumNodes(map, &n) != ORVANE_ERR_SUCCESS) return 0;
    return n;
}

int orvctlInfo(orvSystem system, int argc, char** argv) {
    OrvctlCamera camera;
    char text[256];
    size_t length;
    int32_t access = -1;
    orvNodeMapHandle stream = NULL;
    static const char* const kFields[][2] = {
        {"Vendor", "DeviceVendorName"},         {"Model", "DeviceModelName"}, {"Serial number", "DeviceSerialNumber"},
        {"Version", "DeviceVersion"},           {"User id", "DeviceUserID"},  {"Transport", "DeviceType"},
        {"Access status", "DeviceAccessStatus"}};
    size_t i;
    if (argc != 1) {
        fprintf(stderr, "usage: orvctl info SERIAL\n");
        return 2;
    }
    if (!orvctlOpenCamera(system, argv[0], &camera)) return 1;
    for (i = 0; i < sizeof kFields / sizeof kFields[0]; ++i) {
        if (!orvctlGetString(camera.tlDevice, kFields[i][1], text, sizeof text)) snprintf(text, sizeof text, "-");
        printf("%-22s %s\n", kFields[i][0], text);
    }
    length = sizeof text;
    if (orvCameraGetDeviceID(camera.camera, text, &length) == ORVANE_ERR_SUCCESS)
        printf("%-22s %s\n", "Device id", text);
    length = sizeof text;
    if (orvCameraGetUniqueID(camera.camera, text, &length) == ORVANE_ERR_SUCCESS)
        printf("%-22s %s\n", "Unique id", text);
    if (orvctlGetString(camera.tlDevice, "GevDeviceIPAddress", text, sizeof text))
        printf("%-22s %s\n", "IP address", text);
    if (!orvctlInitCamera(&camera)) {
        orvctlCloseCamera(&camera);
        return 1;
    }
    if (orvCameraGetAccessMode(camera.camera, &access) == ORVANE_ERR_SUCCESS && access >= 0 && access <= 4)
        printf("%-22s %s\n", "Access mode", kAccess[access]);
    orvCameraGetTLStreamNodeMap(camera.camera, &stream);
    printf("%-22s %zu\n", "Device node map nodes", mapSize(camera.device));
    printf("%-22s %zu\n", "TL device map nodes", mapSize(camera.tlDevice));
    printf("%-22s %zu\n", "TL stream map nodes", mapSize(stream));
    orvctlCloseCamera(&camera);
    return 0;
}

typedef struct {
    int features;
    int categories;
    int32_t maxVisibility;
    int reasons; /* say why a value cannot be read instead of printing "-" */
} WalkState;

/* The value text of a feature, or in parentheses why it cannot be read. */
static void valueOrReason(orvNodeHandle node, char* out, size_t size) {
    size_t length = size;
    int32_t mode = -1;
    orvError error;
    if (orvNodeGetAccessMode(node, &mode) == ORVANE_ERR_SUCCESS) {
        if (mode == 0) {
            snprintf(out, size, "(not implemented)");
            return;
        }
        if (mode == 1) {
            snprintf(out, size, "(not available)");
            return;
        }
        if (mode == 2) {
            snprintf(out, size, "(write-only)");
            return;
        }
    }
    error = orvNodeToString(node, out, &length);
    if (error != ORVANE_ERR_SUCCESS) snprintf(out, size, "(cannot be read: %s)", orvctlErrorName(error));
}

static void walk(orvNodeHandle category, int depth, WalkState* state) {
    size_t n = 0, i;
    if (depth > 16 || orvCategoryGetNumFeatures(category, &n) != ORVANE_ERR_SUCCESS) return;
    for (i = 0; i < n; ++i) {
        orvNodeHandle feature = NULL;
        char name[128], value[96];
        size_t length = sizeof name;
        int32_t type = -1, visibility = 0;
        if (orvCategoryGetFeatureByIndex(category, i, &feature) != ORVANE_ERR_SUCCESS || !feature) continue;
        if (orvNodeGetVisibility(feature, &visibility) == ORVANE_ERR_SUCCESS && visibility > state->maxVisibility)
            continue;
        if (orvNodeGetName(feature, name, &length) != ORVANE_ERR_SUCCESS) continue;
        orvNodeGetType(feature, &type);
        if (type == NodeTypeCategory) {
            ++state->categories;
            printf("%*s%s\n", 2 * depth, "", name);
            walk(feature, depth + 1, state);
            continue;
        }
        ++state->features;
        if (type == NodeTypeCommand)
            snprintf(value, sizeof value, "(command)");
        else if (state->reasons)
            valueOrReason(feature, value, sizeof value);
        else
            orvctlNodeText(feature, value, sizeof value);
        printf("%*s%-*s %-11s %-2s  %s\n", 2 * depth, "", depth < 20 ? 44 - 2 * depth : 4, name, typeName(type),
               accessName(feature), value);
    }
}

/* Parses a visibility word into state->maxVisibility; 0 when unknown. */
static int parseVisibility(const char* word, WalkState* state) {
    if (strcmp(word, "beginner") == 0)
        state->maxVisibility = ORV_VISIBILITY_BEGINNER;
    else if (strcmp(word, "expert") == 0)
        state->maxVisibility = ORV_VISIBILITY_EXPERT;
    else if (strcmp(word, "guru") == 0)
        state->maxVisibility = ORV_VISIBILITY_GURU;
    else if (strcmp(word, "all") == 0)
        state->maxVisibility = ORV_VISIBILITY_INVISIBLE;
    else {
        fprintf(stderr, "orvctl features: visibility is beginner, expert, guru or all\n");
        return 0;
    }
    return 1;
}

/* features --xml FILE [visibility]: the feature tree of a description, no camera. */
static int featuresOfXml(int argc, char** argv) {
    WalkState state = {0, 0, ORV_VISIBILITY_GURU, 1};
    orvNodeMapHandle map = NULL;
    orvNodeHandle root = NULL;
    int status = 1;
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: orvctl features --xml FILE [beginner|expert|guru|all]\n");
        return 2;
    }
    if (argc == 3 && !parseVisibility(argv[2], &state)) return 2;
    if (!orvctlCheck(orvNodeMapCreateFromXmlFile(argv[1], &map), "reading the GenICam XML")) return 1;
    if (orvctlCheck(orvNodeMapGetNode(map, "Root", &root), "finding the Root category")) {
        if (!root) {
            fprintf(stderr, "orvctl: the description has no Root category\n");
        } else {
            walk(root, 0, &state);
            printf("\n%d features in %d categories\n", state.features, state.categories);
            status = 0;
        }
    }
    orvNodeMapDestroy(map);
    return status;
}

int orvctlFeatures(orvSystem system, int argc, char** argv) {
    OrvctlCamera camera;
    const char *serial, *tl;
    char* rest[1];
    orvNodeMapHandle map;
    orvNodeHandle root = NULL;
    WalkState state = {0, 0, ORV_VISIBILITY_GURU, 0};
    int n;
    if (argc >= 1 && strcmp(argv[0], "--xml") == 0) return featuresOfXml(argc, argv);
    n = parseTarget(argc, argv, &serial, &tl, rest, 1);
    if (n < 0 || n > 1) {
        fprintf(stderr,
                "usage: orvctl features SERIAL [--tl device|stream] [beginner|expert|guru|all]\n"
                "       orvctl features --xml FILE [beginner|expert|guru|all]\n");
        return 2;
    }
    if (n == 1 && !parseVisibility(rest[0], &state)) return 2;
    if (!orvctlOpenCamera(system, serial, &camera)) return 1;
    map = orvctlSelectMap(&camera, tl);
    if (!map || !orvctlCheck(orvNodeMapGetNode(map, "Root", &root), "finding the Root category") || !root) {
        if (map && !root) fprintf(stderr, "orvctl: the node map has no Root category\n");
        orvctlCloseCamera(&camera);
        return 1;
    }
    walk(root, 0, &state);
    printf("\n%d features in %d categories\n", state.features, state.categories);
    orvctlCloseCamera(&camera);
    return 0;
}

int orvctlGet(orvSystem system, int argc, char** argv) {
    OrvctlCamera camera;
    const char *serial, *tl;
    char* rest[1];
    char value[4096];
    size_t length = sizeof value;
    orvNodeMapHandle map;
    orvNodeHandle node = NULL;
    int status = 1;
    if (parseTarget(argc, argv, &serial, &tl, rest, 1) != 1) {
        fprintf(stderr, "usage: orvctl get SERIAL FEATURE [--tl device|stream]\n");
        return 2;
    }
    if (!orvctlOpenCamera(system, serial, &camera)) return 1;
    map = orvctlSelectMap(&camera, tl);
    if (map && orvctlCheck(orvNodeMapGetNode(map, rest[0], &node), "looking up the feature")) {
        if (!node)
            fprintf(stderr, "orvctl: the camera has no feature '%s'\n", rest[0]);
        else if (orvctlCheck(orvNodeToString(node, value, &length), rest[0])) {
            printf("%s\n", value);
            status = 0;
        }
    }
    orvctlCloseCamera(&camera);
    return status;
}

/* After a refused write, says what the feature accepts. */
void orvctlExplain(orvNodeHandle node, const char* name) {
    int32_t type = -1;
    int64_t min = 0, max = 0, inc = 0;
    double fmin = 0, fmax = 0;
    bool8_t writable = 0;
    orvNodeGetType(node, &type);
    if (orvNodeIsWritable(node, &writable) == ORVANE_ERR_SUCCESS && !writable) {
        fprintf(stderr, "orvctl: %s is not writable now (access mode %s)\n", name, accessName(node));
        return;
    }
    if (type == NodeTypeInteger && orvIntegerGetMin(node, &min) == 0 && orvIntegerGetMax(node, &max) == 0 &&
        orvIntegerGetInc(node, &inc) == 0)
        fprintf(stderr, "orvctl: %s accepts %lld to %lld in steps of %lld\n", name, (long long)min, (long long)max,
                (long long)inc);
    else if (type == NodeTypeFloat && orvFloatGetMin(node, &fmin) == 0 && orvFloatGetMax(node, &fmax) == 0)
        fprintf(stderr, "orvctl: %s accepts %g to %g\n", name, fmin, fmax);
    else if (type == NodeTypeEnumeration) {
        size_t n = 0, i;
        fprintf(stderr, "orvctl: %s accepts:", name);
        orvEnumerationGetNumEntries(node, &n);
        for (i = 0; i < n; ++i) {
            orvNodeHandle entry = NULL;
            char symbolic[128];
            size_t length = sizeof symbolic;
            bool8_t available = 0;
            if (orvEnumerationGetEntryByIndex(node, i, &entry) == 0 && orvNodeIsAvailable(entry, &available) == 0 &&
                available && orvEnumerationEntryGetSymbolic(entry, symbolic, &length) == 0)
                fprintf(stderr, " %s", symbolic);
        }
        fprintf(stderr, "\n");
    }
}

int orvctlSet(orvSystem system, int argc, char** argv) {
    OrvctlCamera camera;
    const char *serial, *tl;
    char* rest[2];
    char value[4096];
    size_t length = sizeof value;
    orvNodeMapHandle map;
    orvNodeHandle node = NULL;
    orvError error;
    int status = 1;
    if (parseTarget(argc, argv, &serial, &tl, rest, 2) != 2) {
        fprintf(stderr, "usage: orvctl set SERIAL FEATURE VALUE [--tl device|stream]\n");
        return 2;
    }
    if (!orvctlOpenCamera(system, serial, &camera)) return 1;
    map = orvctlSelectMap(&camera, tl);
    if (map && orvctlCheck(orvNodeMapGetNode(map, rest[0], &node), "looking up the feature")) {
        if (!node) {
            fprintf(stderr, "orvctl: the camera has no feature '%s'\n", rest[0]);
        } else {
            int32_t type = -1;
            orvNodeGetType(node, &type);
            error = type == NodeTypeCommand && strcmp(rest[1], "execute") == 0 ? orvCommandExecute(node)
                                                                               : orvNodeFromString(node, rest[1]);
            if (orvctlCheck(error, rest[0])) {
                if (type != NodeTypeCommand && orvNodeToString(node, value, &length) == ORVANE_ERR_SUCCESS)
                    printf("%s = %s\n", rest[0], value);
                else
                    printf("%s executed\n", rest[0]);
                status = 0;
            } else {
                orvctlExplain(node, rest[0]);
            }
        }
    }
    orvctlCloseCamera(&camera);
    return status;
}

int orvctlSetFeature(orvNodeMapHandle map, const char* name, const char* value) {
    orvNodeHandle node = NULL;
    char what[160];
    if (!orvctlCheck(orvNodeMapGetNode(map, name, &node), "looking up the feature")) return 0;
    if (!node) {
        fprintf(stderr, "orvctl: the camera has no feature '%s'\n", name);
        return 0;
    }
    snprintf(what, sizeof what, "setting %s to %s", name, value);
    if (!orvctlCheck(orvNodeFromString(node, value), what)) {
        orvctlExplain(node, name);
        return 0;
    }
    return 1;
}
