/* orvctl action: sends an action command and prints one line per device that
 * acknowledged it: "ADDRESS status 0xCODE (MEANING)".
 *
 * The command goes out through each interface's transport-layer features
 * (GevActionDeviceKey, GevActionGroupKey, GevActionGroupMask, GevActionTime,
 * GevActionAckRequired, then ActionCommand), and the acknowledgements are read
 * back through ActionAcknowledgementSelector, ActionAcknowledgementDeviceAddress
 * and ActionAcknowledgementStatus: the C library's functions for action
 * commands are C++ only.
 *
 * --trigger SERIAL opens that camera in this process first, arms it (its action
 * keys set to the command's, ActionSelector 0; FrameStart trigger on, source
 * Action0), streams, and after the command prints "frame SERIAL FRAMEID" for
 * the frame the action made; its trigger settings are put back afterwards.
 * Virtual cameras live in the process that opens them: this is how an action
 * command reaches them from orvctl. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvctl.h"

enum { MAX_TRIGGERED = 16 };

typedef struct {
    const char* serial;
    OrvctlCamera camera;
    int opened, streaming;
    char selector[64], mode[64], source[64]; /* the trigger settings to put back ("" none) */
} Triggered;

static int parseKey(const char* option, const char* text, unsigned long long max, unsigned long long* value) {
    char* end = NULL;
    errno = 0;
    *value = strtoull(text, &end, 0);
    if (!*text || *end || errno || text[0] == '-' || *value > max) {
        fprintf(stderr, "orvctl action: %s takes a number from 0 to %llu (0x... for hexadecimal), not '%s'\n", option,
                max, text);
        return 0;
    }
    return 1;
}

static const char* statusMeaning(int64_t status) {
    switch (status) {
    case 0x0000: return "success";
    case 0x8015: return "overflow: the device's queue of scheduled actions was full, the action was dropped";
    case 0x8016: return "late: the action time had passed, the device acted at once";
    default: return "error";
    }
}

/* Text of a node of the camera's map into out ("" when unreadable). */
static void saveText(orvNodeMapHandle map, const char* name, char* out, size_t size) {
    if (!orvctlGetString(map, name, out, size)) out[0] = '\0';
}

static int arm(orvSystem system, Triggered* t, unsigned long long deviceKey, unsigned long long groupKey,
               unsigned long long groupMask) {
    char value[32];
    orvNodeMapHandle map;
    if (!orvctlOpenCamera(system, t->serial, &t->camera)) return 0;
    t->opened = 1;
    if (!orvctlInitCamera(&t->camera)) return 0;
    map = t->camera.device;
    saveText(map, "TriggerSelector", t->selector, sizeof t->selector);
    if (!orvctlSetFeature(map, "TriggerSelector", "FrameStart")) return 0;
    saveText(map, "TriggerMode", t->mode, sizeof t->mode);
    saveText(map, "TriggerSource", t->source, sizeof t->source);
    if (!orvctlSetFeature(map, "TriggerMode", "On") || !orvctlSetFeature(map, "TriggerSource", "Action0")) return 0;
    snprintf(value, sizeof value, "%llu", deviceKey);
    if (!orvctlSetFeature(map, "ActionDeviceKey", value) || !orvctlSetFeature(map, "ActionSelector", "0")) return 0;
    snprintf(value, sizeof value, "%llu", groupKey);
    if (!orvctlSetFeature(map, "ActionGroupKey", value)) return 0;
    snprintf(value, sizeof value, "%llu", groupMask);
    if (!orvctlSetFeature(map, "ActionGroupMask", value)) return 0;
    if (!orvctlCheck(orvCameraBeginAcquisition(t->camera.camera), "starting the acquisition")) return 0;
    t->streaming = 1;
    return 1;
}

static void disarm(Triggered* t) {
    orvNodeMapHandle map = t->camera.device;
    if (t->streaming) orvctlCheck(orvCameraEndAcquisition(t->camera.camera), "ending the acquisition");
    if (map) {
        if (t->selector[0]) orvctlSetFeature(map, "TriggerSelector", "FrameStart");
        if (t->source[0]) orvctlSetFeature(map, "TriggerSource", t->source);
        if (t->mode[0]) orvctlSetFeature(map, "TriggerMode", t->mode);
        if (t->selector[0]) orvctlSetFeature(map, "TriggerSelector", t->selector);
    }
    if (t->opened) orvctlCloseCamera(&t->camera);
}

/* The frame the action made on a triggered camera; 0 when none came. */
static int awaitFrame(Triggered* t, uint64_t timeoutMs) {
    orvImage image = NULL;
    uint64_t id = 0;
    orvError error = orvCameraGetNextImageEx(t->camera.camera, timeoutMs, &image);
    if (error != ORVANE_ERR_SUCCESS) {
        if (error == ORVANE_ERR_TIMEOUT)
            fprintf(stderr, "orvctl action: camera %s made no frame within %llu ms\n", t->serial,
                    (unsigned long long)timeoutMs);
        else
            orvctlCheck(error, "waiting for the camera's frame");
        return 0;
    }
    orvImageGetFrameID(image, &id);
    orvImageRelease(image);
    printf("frame %s %llu\n", t->serial, (unsigned long long)id);
    return 1;
}

/* Sends the command on one interface; prints its acknowledgements. Returns
 * the number of acknowledgements, -1 when the interface has no action
 * commands (skipped unless it was asked for), -2 on failure. */
static int sendOn(orvInterface iface, int asked, unsigned long long deviceKey, unsigned long long groupKey,
                  unsigned long long groupMask, unsigned long long time, int acknowledge) {
    orvNodeMapHandle map = NULL;
    orvNodeHandle command = NULL, flag = NULL;
    char id[64] = "-";
    int64_t count = 0, i;
    orvError error;
    if (!orvctlCheck(orvInterfaceGetTLNodeMap(iface, &map), "reading the interface's node map")) return -2;
    orvctlGetString(map, "InterfaceID", id, sizeof id);
    if (orvNodeMapGetNode(map, "ActionCommand", &command) != ORVANE_ERR_SUCCESS || !command) {
        fprintf(stderr, "orvctl action: interface %s has no ActionCommand feature\n", id);
        return asked ? -2 : -1;
    }
    if (!orvctlSetInteger(map, "GevActionDeviceKey", (int64_t)deviceKey) ||
        !orvctlSetInteger(map, "GevActionGroupKey", (int64_t)groupKey) ||
        !orvctlSetInteger(map, "GevActionGroupMask", (int64_t)groupMask) ||
        !orvctlSetInteger(map, "GevActionTime", (int64_t)time) ||
        orvNodeMapGetNode(map, "GevActionAckRequired", &flag) != ORVANE_ERR_SUCCESS || !flag ||
        orvBooleanSetValue(flag, acknowledge ? 1 : 0) != ORVANE_ERR_SUCCESS) {
        fprintf(stderr, "orvctl action: interface %s refused the command's settings\n", id);
        return -2;
    }
    error = orvCommandExecute(command);
    if (error == ORVANE_ERR_NOT_IMPLEMENTED && !asked) return -1;
    if (!orvctlCheck(error, "sending the action command")) return -2;
    if (!orvctlGetInteger(map, "ActionAcknowledgementCount", &count)) return -2;
    for (i = 0; i < count; ++i) {
        char address[32] = "-";
        int64_t status = 0;
        if (!orvctlSetInteger(map, "ActionAcknowledgementSelector", i) ||
            !orvctlGetString(map, "ActionAcknowledgementDeviceAddress", address, sizeof address) ||
            !orvctlGetInteger(map, "ActionAcknowledgementStatus", &status))
            return -2;
        printf("%s status 0x%04llX (%s)\n", address, (unsigned long long)status, statusMeaning(status));
    }
    fflush(stdout);
    return (int)count;
}

int orvctlAction(orvSystem system, int argc, char** argv) {
    unsigned long long deviceKey = 0, groupKey = 0, groupMask = 0, time = 0, timeout = 5000;
    int haveDevice = 0, haveGroup = 0, haveMask = 0, acknowledge = 1, status = 0, sent = 0, acknowledged = 0, i;
    const char* interfaceId = NULL;
    Triggered triggered[MAX_TRIGGERED];
    int nTriggered = 0;
    orvInterfaceList interfaces = NULL;
    size_t n = 0, k;

    memset(triggered, 0, sizeof triggered);
    for (i = 0; i < argc; ++i) {
        const char* a = argv[i];
        const char* v = i + 1 < argc ? argv[i + 1] : NULL;
        if (strcmp(a, "--no-ack") == 0) {
            acknowledge = 0;
            continue;
        }
        if (!v) {
            fprintf(stderr, "orvctl action: unknown argument '%s' (see `orvctl help action`)\n", a);
            return 2;
        }
        ++i;
        if (strcmp(a, "--device-key") == 0) {
            if (!parseKey(a, v, 0xFFFFFFFFull, &deviceKey)) return 2;
            haveDevice = 1;
        } else if (strcmp(a, "--group-key") == 0) {
            if (!parseKey(a, v, 0xFFFFFFFFull, &groupKey)) return 2;
            haveGroup = 1;
        } else if (strcmp(a, "--group-mask") == 0) {
            if (!parseKey(a, v, 0xFFFFFFFFull, &groupMask)) return 2;
            haveMask = 1;
        } else if (strcmp(a, "--time") == 0) {
            if (!parseKey(a, v, 0x7FFFFFFFFFFFFFFFull, &time)) return 2;
        } else if (strcmp(a, "--timeout") == 0) {
            if (!parseKey(a, v, 3600000ull, &timeout)) return 2;
        } else if (strcmp(a, "--interface") == 0) {
            interfaceId = v;
        } else if (strcmp(a, "--trigger") == 0) {
            if (nTriggered == MAX_TRIGGERED) {
                fprintf(stderr, "orvctl action: at most %d cameras with --trigger\n", MAX_TRIGGERED);
                return 2;
            }
            triggered[nTriggered++].serial = v;
        } else {
            fprintf(stderr, "orvctl action: unknown argument '%s' (see `orvctl help action`)\n", a);
            return 2;
        }
    }
    if (!haveDevice || !haveGroup || !haveMask) {
        fprintf(stderr, "orvctl action: --device-key, --group-key and --group-mask are required\n");
        return 2;
    }

    for (i = 0; i < nTriggered; ++i)
        if (!arm(system, &triggered[i], deviceKey, groupKey, groupMask)) {
            status = 1;
            goto done;
        }

    if (!orvctlCheck(orvInterfaceListCreateEmpty(&interfaces), "creating an interface list") ||
        !orvctlCheck(orvSystemGetInterfaces(system, interfaces), "listing interfaces") ||
        !orvctlCheck(orvInterfaceListGetSize(interfaces, &n), "counting interfaces")) {
        status = 1;
        goto done;
    }
    for (k = 0; k < n; ++k) {
        orvInterface iface = NULL;
        orvNodeMapHandle map = NULL;
        char id[64] = "";
        int result;
        if (!orvctlCheck(orvInterfaceListGet(interfaces, k, &iface), "opening an interface")) {
            status = 1;
            continue;
        }
        if (interfaceId && (orvInterfaceGetTLNodeMap(iface, &map) != ORVANE_ERR_SUCCESS ||
                            !orvctlGetString(map, "InterfaceID", id, sizeof id) || strcmp(id, interfaceId) != 0)) {
            orvInterfaceRelease(iface);
            continue;
        }
        result = sendOn(iface, interfaceId != NULL, deviceKey, groupKey, groupMask, time, acknowledge);
        orvInterfaceRelease(iface);
        if (result == -2) status = 1;
        if (result >= 0) {
            ++sent;
            acknowledged += result;
        }
    }
    if (interfaceId && sent == 0 && status == 0) {
        fprintf(stderr, "orvctl action: no interface '%s' (see `orvctl list`)\n", interfaceId);
        status = 1;
    } else if (sent == 0 && status == 0) {
        fprintf(stderr, "orvctl action: no enabled interface sends action commands\n");
        status = 1;
    } else if (acknowledge) {
        fprintf(stderr, "orvctl: %d device%s acknowledged\n", acknowledged, acknowledged == 1 ? "" : "s");
    }
    if (status == 0)
        for (i = 0; i < nTriggered; ++i)
            if (!awaitFrame(&triggered[i], timeout)) status = 1;

done:
    if (interfaces) orvInterfaceListDestroy(interfaces);
    for (i = 0; i < nTriggered; ++i) disarm(&triggered[i]);
    return status;
}
