/* Compiled as strict C99: the C option records compile, and their layout as
 * the C compiler sees it is reported to the C++ tests. */
#include <stddef.h>

#include "OrvaneImageFileOptions.h"

typedef char png_is_72[sizeof(orvPNGOption) == 72 ? 1 : -1];
typedef char ppm_is_72[sizeof(orvPPMOption) == 72 ? 1 : -1];
typedef char pgm_is_72[sizeof(orvPGMOption) == 72 ? 1 : -1];
typedef char tiff_is_72[sizeof(orvTIFFOption) == 72 ? 1 : -1];
typedef char jpeg_is_72[sizeof(orvJPEGOption) == 72 ? 1 : -1];
typedef char jp2_is_72[sizeof(orvJPEG2000Option) == 72 ? 1 : -1];
typedef char bmp_is_72[sizeof(orvBMPOption) == 72 ? 1 : -1];
typedef char format_is_32bit[sizeof(orvImageFileFormat) == 4 ? 1 : -1];

size_t orvTestCOptionLayout(size_t* out, size_t capacity);

size_t orvTestCOptionLayout(size_t* out, size_t capacity) {
    const size_t layout[] = {sizeof(orvPNGOption),
                             offsetof(orvPNGOption, interlaced),
                             offsetof(orvPNGOption, reserved0),
                             offsetof(orvPNGOption, compressionLevel),
                             offsetof(orvPNGOption, filter),
                             offsetof(orvPNGOption, reserved),
                             sizeof(orvPPMOption),
                             offsetof(orvPPMOption, binaryFile),
                             offsetof(orvPPMOption, reserved),
                             sizeof(orvPGMOption),
                             offsetof(orvPGMOption, binaryFile),
                             offsetof(orvPGMOption, reserved),
                             sizeof(orvTIFFOption),
                             offsetof(orvTIFFOption, compression),
                             offsetof(orvTIFFOption, predictor),
                             offsetof(orvTIFFOption, jpegQuality),
                             offsetof(orvTIFFOption, deflateLevel),
                             offsetof(orvTIFFOption, rowsPerStrip),
                             offsetof(orvTIFFOption, reserved),
                             sizeof(orvJPEGOption),
                             offsetof(orvJPEGOption, quality),
                             offsetof(orvJPEGOption, progressive),
                             offsetof(orvJPEGOption, reserved0),
                             offsetof(orvJPEGOption, chromaSubsampling),
                             offsetof(orvJPEGOption, reserved),
                             sizeof(orvJPEG2000Option),
                             offsetof(orvJPEG2000Option, lossless),
                             offsetof(orvJPEG2000Option, codestream),
                             offsetof(orvJPEG2000Option, reserved0),
                             offsetof(orvJPEG2000Option, compressionRatio),
                             offsetof(orvJPEG2000Option, targetPSNR),
                             offsetof(orvJPEG2000Option, numResolutions),
                             offsetof(orvJPEG2000Option, reserved),
                             sizeof(orvBMPOption),
                             offsetof(orvBMPOption, topDown),
                             offsetof(orvBMPOption, keepAlpha),
                             offsetof(orvBMPOption, reserved),
                             (size_t)ORV_FILE_FORMAT_FROM_EXT};
    size_t i;
    const size_t n = sizeof layout / sizeof layout[0];
    for (i = 0; i < n && i < capacity; ++i) out[i] = layout[i];
    return n;
}

/* The C defaults, as bytes, for comparison with the SDK's constructors. */
void orvTestCOptionDefaults(unsigned char out[7][72]);

void orvTestCOptionDefaults(unsigned char out[7][72]) {
    orvPNGOption png;
    orvPPMOption ppm;
    orvPGMOption pgm;
    orvTIFFOption tiff;
    orvJPEGOption jpeg;
    orvJPEG2000Option jp2;
    orvBMPOption bmp;
    orvPNGOptionInit(&png);
    orvPPMOptionInit(&ppm);
    orvPGMOptionInit(&pgm);
    orvTIFFOptionInit(&tiff);
    orvJPEGOptionInit(&jpeg);
    orvJPEG2000OptionInit(&jp2);
    orvBMPOptionInit(&bmp);
    memcpy(out[0], &png, 72);
    memcpy(out[1], &ppm, 72);
    memcpy(out[2], &pgm, 72);
    memcpy(out[3], &tiff, 72);
    memcpy(out[4], &jpeg, 72);
    memcpy(out[5], &jp2, 72);
    memcpy(out[6], &bmp, 72);
}
