/* orvctl: pixel format and algorithm names, and writing images to files
 * (shared by grab and convert). */
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>

#include "orvctl.h"

/* Pixel formats are numbered 0, 1, 2, ...; the SDK names each through an
 * image of that format (formats it cannot build plainly, such as compressed
 * ones, are skipped). */
int orvctlPixelFormatByName(const char* name, orvPixelFormat* format) {
    orvPixelFormat f;
    for (f = 0; f < 512; ++f) {
        char text[64];
        size_t length = sizeof text;
        orvImage image = NULL;
        int match;
        if (orvImageCreateEx(&image, 8, 8, 0, 0, f, NULL) != ORVANE_ERR_SUCCESS) continue;
        match = orvImageGetPixelFormatName(image, text, &length) == ORVANE_ERR_SUCCESS && strcasecmp(text, name) == 0;
        orvImageDestroy(image);
        if (match) {
            *format = f;
            return 1;
        }
    }
    fprintf(stderr, "orvctl: unknown pixel format '%s' (GenICam names: Mono8, RGB8, BGR8, BayerRG8, ...)\n", name);
    return 0;
}

static const struct {
    const char* name;
    orvColorProcessingAlgorithm value;
} kAlgorithms[] = {
    {"default", ORV_COLOR_PROCESSING_DEFAULT},          {"none", ORV_COLOR_PROCESSING_NONE},
    {"nearest", ORV_COLOR_PROCESSING_NEAREST_NEIGHBOR}, {"bilinear", ORV_COLOR_PROCESSING_BILINEAR},
    {"edge-aware", ORV_COLOR_PROCESSING_EDGE_AWARE},    {"gradient-corrected", ORV_COLOR_PROCESSING_GRADIENT_CORRECTED},
    {"directional", ORV_COLOR_PROCESSING_DIRECTIONAL}};

int orvctlAlgorithmByName(const char* name, orvColorProcessingAlgorithm* algorithm) {
    size_t i;
    for (i = 0; i < sizeof kAlgorithms / sizeof kAlgorithms[0]; ++i)
        if (strcmp(kAlgorithms[i].name, name) == 0) {
            *algorithm = kAlgorithms[i].value;
            return 1;
        }
    fprintf(stderr,
            "orvctl: unknown algorithm '%s' (default, none, nearest, bilinear, edge-aware, gradient-corrected, "
            "directional)\n",
            name);
    return 0;
}

static const struct {
    const char* name;
    const char* extension;
    orvImageFileFormat format;
} kFormats[] = {{"png", "png", ORV_FILE_FORMAT_PNG},  {"jpeg", "jpg", ORV_FILE_FORMAT_JPEG},
                {"jpg", "jpg", ORV_FILE_FORMAT_JPEG}, {"tiff", "tif", ORV_FILE_FORMAT_TIFF},
                {"bmp", "bmp", ORV_FILE_FORMAT_BMP},  {"ppm", "ppm", ORV_FILE_FORMAT_PPM},
                {"pgm", "pgm", ORV_FILE_FORMAT_PGM},  {"jp2", "jp2", ORV_FILE_FORMAT_JPEG2000},
                {"raw", "raw", ORV_FILE_FORMAT_RAW}};

int orvctlFileFormatByName(const char* name, orvImageFileFormat* format, const char** extension) {
    size_t i;
    for (i = 0; i < sizeof kFormats / sizeof kFormats[0]; ++i)
        if (strcmp(kFormats[i].name, name) == 0) {
            *format = kFormats[i].format;
            *extension = kFormats[i].extension;
            return 1;
        }
    fprintf(stderr, "orvctl: unknown file format '%s' (png, jpeg, tiff, bmp, ppm, pgm, jp2, raw)\n", name);
    return 0;
}

int orvctlIsDirectory(const char* path) {
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

int orvctlConvertImage(orvImageProcessor processor, orvImage image, orvPixelFormat format, orvImage* converted) {
    if (!orvctlCheck(orvImageCreateEmpty(converted), "creating an image")) return 0;
    if (!orvctlCheck(orvImageProcessorConvert(processor, image, *converted, format), "converting the image")) {
        orvImageDestroy(*converted);
        *converted = NULL;
        return 0;
    }
    return 1;
}

int orvctlSaveImage(orvImage image, const char* fileName, orvImageFileFormat format) {
    return orvctlCheck(orvImageSave(image, fileName, format), fileName);
}
