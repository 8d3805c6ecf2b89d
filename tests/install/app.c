/* A client of the installed Orvane C library: lists the cameras. */
#include <OrvaneC.h>
#include <stdio.h>

int main(void) {
    orvSystem system = NULL;
    orvCameraList cameras = NULL;
    size_t n = 0, i;
    if (orvSystemGetInstance(&system) || orvCameraListCreateEmpty(&cameras) || orvSystemGetCameras(system, cameras) ||
        orvCameraListGetSize(cameras, &n))
        return 1;
    printf("cameras: %zu\n", n);
    for (i = 0; i < n; ++i) {
        orvCamera camera = NULL;
        char id[128];
        size_t length = sizeof id;
        if (orvCameraListGet(cameras, i, &camera) || orvCameraGetUniqueID(camera, id, &length)) return 1;
        printf("%s\n", id);
        orvCameraRelease(camera);
    }
    orvCameraListDestroy(cameras);
    return orvSystemReleaseInstance(system) ? 1 : 0;
}
