/* orvctl convert: the images of an image list file to image files. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvctl.h"

int orvctlConvert(orvSystem system, int argc, char** argv) {
    const char *in = NULL, *out = NULL, *extension = "png";
    orvImageFileFormat fileFormat = ORV_FILE_FORMAT_PNG;
    orvPixelFormat target = ORV_UNKNOWN_PIXELFORMAT;
    orvColorProcessingAlgorithm algorithm = ORV_COLOR_PROCESSING_DEFAULT;
    orvImageList list = NULL;
    orvImageProcessor processor = NULL;
    size_t n = 0, i;
    int status = 0, k, formatGiven = 0;
    (void)system;
    for (k = 0; k < argc; ++k) {
        if (strcmp(argv[k], "--convert") == 0 && k + 1 < argc) {
            if (!orvctlPixelFormatByName(argv[++k], &target)) return 2;
        } else if (strcmp(argv[k], "--algorithm") == 0 && k + 1 < argc) {
            if (!orvctlAlgorithmByName(argv[++k], &algorithm)) return 2;
        } else if (strcmp(argv[k], "--format") == 0 && k + 1 < argc) {
            if (!orvctlFileFormatByName(argv[++k], &fileFormat, &extension)) return 2;
            formatGiven = 1;
        } else if (!in) {
            in = argv[k];
        } else if (!out) {
            out = argv[k];
        } else {
            in = NULL;
            break;
        }
    }
    if (!in || !out) {
        fprintf(stderr, "usage: orvctl convert LIST OUT [--convert PIXELFORMAT] [--algorithm NAME] [--format FMT]\n");
        return 2;
    }
    if (!orvctlCheck(orvImageListLoad(&list, in), in)) return 1;
    orvImageListGetSize(list, &n);
    if (!orvctlCheck(orvImageProcessorCreate(&processor), "creating an image processor") ||
        !orvctlCheck(orvImageProcessorSetColorProcessing(processor, algorithm), "choosing the algorithm")) {
        orvImageListDestroy(list);
        return 1;
    }
    for (i = 0; i < n && status == 0; ++i) {
        orvImage image = NULL, converted = NULL;
        char name[4096];
        if (!orvctlCheck(orvImageListGet(list, i, &image), "reading an image")) {
            status = 1;
            break;
        }
        if (orvctlIsDirectory(out))
            snprintf(name, sizeof name, "%s/image-%04zu.%s", out, i, extension);
        else if (n == 1)
            snprintf(name, sizeof name, "%s", out);
        else {
            const char* dot = strrchr(out, '.');
            const size_t stem = dot && !strchr(dot, '/') ? (size_t)(dot - out) : strlen(out);
            snprintf(name, sizeof name, "%.*s-%04zu%s", (int)stem, out, i, dot && !strchr(dot, '/') ? dot : "");
        }
        if (target != ORV_UNKNOWN_PIXELFORMAT && !orvctlConvertImage(processor, image, target, &converted)) {
            status = 1;
            break;
        }
        if (!orvctlSaveImage(converted ? converted : image, name,
                             formatGiven || orvctlIsDirectory(out) ? fileFormat : ORV_FILE_FORMAT_FROM_EXT))
            status = 1;
        else
            printf("%s\n", name);
        if (converted) orvImageDestroy(converted);
        /* images taken out of a list stay with the process (see orvImageListGet) */
    }
    orvImageProcessorDestroy(processor);
    orvImageListDestroy(list);
    return status;
}
