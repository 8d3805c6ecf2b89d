/* orvctl: finding a camera by serial number, and its node maps. */
#include <stdio.h>
#include <string.h>

#include "orvctl.h"

int orvctlOpenCamera(orvSystem system, const char* serial, OrvctlCamera* out) {
    size_t n = 0, i;
    memset(out, 0, sizeof *out);
    if (!orvctlCheck(orvCameraListCreateEmpty(&out->list), "creating a camera list")) return 0;
    if (!orvctlCheck(orvSystemGetCameras(system, out->list), "discovering cameras") ||
        !orvctlCheck(orvCameraListGetSize(out->list, &n), "counting cameras")) {
        orvctlCloseCamera(out);
        return 0;
    }
    for (i = 0; i < n; ++i) {
        orvCamera camera = NULL;
        orvNodeMapHandle tl = NULL;
        char text[128] = "";
        if (!orvctlCheck(orvCameraListGet(out->list, i, &camera), "opening a camera")) continue;
        if (orvCameraGetTLDeviceNodeMap(camera, &tl) == ORVANE_ERR_SUCCESS &&
            orvctlGetString(tl, "DeviceSerialNumber", text, sizeof text) && strcmp(text, serial) == 0) {
            out->camera = camera;
            out->tlDevice = tl;
            return 1;
        }
        orvCameraRelease(camera);
    }
    fprintf(stderr, "orvctl: no camera has the serial number '%s' (see `orvctl list`)\n", serial);
    orvctlCloseCamera(out);
    return 0;
}

int orvctlInitCamera(OrvctlCamera* camera) {
    if (camera->device) return 1;
    if (!orvctlCheck(orvCameraInit(camera->camera), "initialising the camera")) return 0;
    camera->initialised = 1;
    return orvctlCheck(orvCameraGetNodeMap(camera->camera, &camera->device), "reading the camera's node map");
}

void orvctlCloseCamera(OrvctlCamera* camera) {
    if (camera->camera) {
        if (camera->initialised) orvCameraDeInit(camera->camera);
        orvCameraRelease(camera->camera);
    }
    if (camera->list) orvCameraListDestroy(camera->list);
    memset(camera, 0, sizeof *camera);
}

/* Picks the node map a command works on: the device's (after Init), or with
 * --tl device|stream one of the transport-layer maps. Consumes the option
 * from argv; returns the map or NULL. */
orvNodeMapHandle orvctlSelectMap(OrvctlCamera* camera, const char* tl) {
    orvNodeMapHandle map = NULL;
    if (!tl) return orvctlInitCamera(camera) ? camera->device : NULL;
    if (strcmp(tl, "device") == 0) return camera->tlDevice;
    if (strcmp(tl, "stream") == 0)
        return orvctlCheck(orvCameraGetTLStreamNodeMap(camera->camera, &map), "reading the stream node map") ? map
                                                                                                             : NULL;
    fprintf(stderr, "orvctl: --tl takes device or stream\n");
    return NULL;
}
