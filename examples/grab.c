/* Grabs frames from a camera through the C library, converts them to BGR8
 * and saves them as PNG files.
 *
 *   grab [SERIAL [COUNT [DIRECTORY]]]     defaults: VC0001, 5, the current directory
 *
 * Build against an installed Orvane:  cc grab.c $(pkg-config --cflags --libs orvane-c) */
#include <OrvaneC.h>
#include <stdio.h>
#include <stdlib.h>

/* Prints the last error of a failed call and returns non-zero. */
static int failed(orvError code, const char* what) {
    char message[512];
    size_t length = sizeof message;
    if (code == ORVANE_ERR_SUCCESS) return 0;
    if (orvErrorGetLastMessage(message, &length) != ORVANE_ERR_SUCCESS) message[0] = '\0';
    fprintf(stderr, "grab: %s failed (%d): %s\n", what, (int)code, message);
    return 1;
}

int main(int argc, char** argv) {
    const char* serial = argc > 1 ? argv[1] : "VC0001";
    const int count = argc > 2 ? atoi(argv[2]) : 5;
    const char* directory = argc > 3 ? argv[3] : ".";
    orvSystem system = NULL;
    orvCameraList cameras = NULL;
    orvCamera camera = NULL;
    orvNodeMapHandle nodes = NULL;
    orvNodeHandle pixelFormat = NULL;
    orvImageProcessor processor = NULL;
    orvImage bgr = NULL;
    int status = 1, saved = 0, i;

    if (failed(orvSystemGetInstance(&system), "orvSystemGetInstance")) return 1;
    if (failed(orvCameraListCreateEmpty(&cameras), "orvCameraListCreateEmpty") ||
        failed(orvSystemGetCameras(system, cameras), "orvSystemGetCameras") ||
        failed(orvCameraListGetBySerial(cameras, serial, &camera), "orvCameraListGetBySerial") ||
        failed(orvCameraInit(camera), "orvCameraInit"))
        goto done;
    /* A colour camera's raw format if it has one; the converter handles any other. */
    if (!failed(orvCameraGetNodeMap(camera, &nodes), "orvCameraGetNodeMap") &&
        !failed(orvNodeMapGetNode(nodes, "PixelFormat", &pixelFormat), "orvNodeMapGetNode") && pixelFormat)
        orvNodeFromString(pixelFormat, "BayerRG8");
    if (failed(orvImageProcessorCreate(&processor), "orvImageProcessorCreate") ||
        failed(orvImageProcessorSetColorProcessing(processor, ORV_COLOR_PROCESSING_BILINEAR),
               "orvImageProcessorSetColorProcessing") ||
        failed(orvImageCreateEmpty(&bgr), "orvImageCreateEmpty") ||
        failed(orvCameraBeginAcquisition(camera), "orvCameraBeginAcquisition"))
        goto done;
    for (i = 0; i < count; ++i) {
        orvImage image = NULL;
        uint64_t frameId = 0;
        char name[4096];
        if (failed(orvCameraGetNextImageEx(camera, 5000 /* ms */, &image), "orvCameraGetNextImageEx")) break;
        orvImageGetFrameID(image, &frameId);
        if (failed(orvImageProcessorConvert(processor, image, bgr, ORV_PIXEL_FORMAT_BGR8),
                   "orvImageProcessorConvert")) {
            orvImageRelease(image);
            break;
        }
        orvImageRelease(image); /* the buffer goes back to the stream */
        snprintf(name, sizeof name, "%s/%s-%06llu.png", directory, serial, (unsigned long long)frameId);
        if (failed(orvImageSave(bgr, name, ORV_FILE_FORMAT_FROM_EXT), "orvImageSave")) break;
        printf("%s\n", name);
        ++saved;
    }
    orvCameraEndAcquisition(camera);
    status = saved == count ? 0 : 1;
done:
    if (bgr) orvImageDestroy(bgr);
    if (processor) orvImageProcessorDestroy(processor);
    if (camera) {
        orvCameraDeInit(camera);
        orvCameraRelease(camera);
    }
    if (cameras) orvCameraListDestroy(cameras);
    orvSystemReleaseInstance(system);
    return status;
}
