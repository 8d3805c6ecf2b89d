/*
 * Image file formats and the option records of Orvane's image file writers,
 * for C callers. Compiles as C99 and as C++.
 *
 * Each option record is 72 bytes and has the fields of the SDK's record of the
 * same name (Orvane::PNGOption, ...) at the same offsets; the C library copies
 * it byte for byte. Flags are one byte, and any non-zero byte counts as true.
 * Set reserved bytes to zero. The orv...OptionInit functions fill a record with
 * the SDK's defaults; start from them and change the fields you need. A field
 * outside its documented range makes the save fail with
 * ORVANE_ERR_INVALID_ARGUMENT.
 */
#ifndef ORVANE_IMAGE_FILE_OPTIONS_C_H
#define ORVANE_IMAGE_FILE_OPTIONS_C_H

#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* File formats. ORV_FILE_FORMAT_FROM_EXT (4294967295 as a 32-bit value) takes the
 * format from the file name's extension: .pgm .ppm .bmp .jpg/.jpeg .jp2/.j2k
 * .tif/.tiff .png .raw (case-insensitive). */
typedef int32_t orvImageFileFormat;
enum {
    ORV_FILE_FORMAT_FROM_EXT = -1,
    ORV_FILE_FORMAT_PGM = 0,      /* portable graymap, binary (P5) or ASCII (P2) */
    ORV_FILE_FORMAT_PPM = 1,      /* portable pixmap, binary (P6) or ASCII (P3) */
    ORV_FILE_FORMAT_BMP = 2,      /* Windows bitmap */
    ORV_FILE_FORMAT_JPEG = 3,     /* JPEG/JFIF */
    ORV_FILE_FORMAT_JPEG2000 = 4, /* JPEG 2000, JP2 file or J2K codestream */
    ORV_FILE_FORMAT_TIFF = 5,     /* TIFF */
    ORV_FILE_FORMAT_PNG = 6,      /* PNG */
    ORV_FILE_FORMAT_RAW = 7       /* the pixel bytes alone, no header */
};

/* PNG row filters (orvPNGOption.filter). */
typedef enum _orvPNGFilter {
    ORV_PNG_FILTER_ADAPTIVE = 0, /* each row gets the filter that suits it best */
    ORV_PNG_FILTER_NONE = 1,
    ORV_PNG_FILTER_SUB = 2,
    ORV_PNG_FILTER_UP = 3,
    ORV_PNG_FILTER_AVERAGE = 4,
    ORV_PNG_FILTER_PAETH = 5
} orvPNGFilter;

/* TIFF compression methods (orvTIFFOption.compression). */
typedef enum _orvTIFFCompression {
    ORV_TIFF_COMPRESSION_NONE = 0,
    ORV_TIFF_COMPRESSION_PACKBITS = 1, /* run-length coding */
    ORV_TIFF_COMPRESSION_DEFLATE = 2,  /* zlib, level orvTIFFOption.deflateLevel */
    ORV_TIFF_COMPRESSION_LZW = 3,
    ORV_TIFF_COMPRESSION_JPEG = 4 /* lossy, 8-bit samples only, quality orvTIFFOption.jpegQuality */
} orvTIFFCompression;

/* TIFF predictors (orvTIFFOption.predictor), applied before Deflate or LZW. */
typedef enum _orvTIFFPredictor {
    ORV_TIFF_PREDICTOR_NONE = 0,
    ORV_TIFF_PREDICTOR_HORIZONTAL = 1 /* each sample stored as its difference to the sample to its left */
} orvTIFFPredictor;

/* JPEG chroma subsampling (orvJPEGOption.chromaSubsampling); gray images have no chroma. */
typedef enum _orvJPEGSubsampling {
    ORV_JPEG_SUBSAMPLING_444 = 0, /* full chroma resolution */
    ORV_JPEG_SUBSAMPLING_422 = 1, /* chroma halved horizontally */
    ORV_JPEG_SUBSAMPLING_420 = 2, /* chroma halved horizontally and vertically */
    ORV_JPEG_SUBSAMPLING_440 = 3, /* chroma halved vertically */
    ORV_JPEG_SUBSAMPLING_411 = 4  /* chroma quartered horizontally */
} orvJPEGSubsampling;

/* PNG. Defaults: not interlaced, compression level 6, adaptive filtering. */
typedef struct _orvPNGOption {
    uint8_t interlaced; /* @0: non-zero: Adam7 interlacing; 0: rows in order */
    uint8_t reserved0[3];
    int32_t compressionLevel; /* @4: zlib level, 0 (stored, fastest) to 9 (smallest) */
    uint32_t filter;          /* @8: an orvPNGFilter */
    uint8_t reserved[60];     /* @12 */
} orvPNGOption;

/* PPM (colour). Defaults: binary file (P6). */
typedef struct _orvPPMOption {
    uint8_t binaryFile;   /* @0: non-zero: binary samples (P6); 0: ASCII decimal samples (P3) */
    uint8_t reserved[71]; /* @1 */
} orvPPMOption;

/* PGM (gray). Defaults: binary file (P5). */
typedef struct _orvPGMOption {
    uint8_t binaryFile;   /* @0: non-zero: binary samples (P5); 0: ASCII decimal samples (P2) */
    uint8_t reserved[71]; /* @1 */
} orvPGMOption;

/* TIFF. Defaults: no compression, no predictor, JPEG quality 75, Deflate level 6,
 * strips of about 8 KiB. */
typedef struct _orvTIFFOption {
    uint32_t compression;  /* @0: an orvTIFFCompression */
    uint32_t predictor;    /* @4: an orvTIFFPredictor; used with Deflate and LZW, ignored otherwise */
    int32_t jpegQuality;   /* @8: 1 to 100; used with JPEG compression */
    int32_t deflateLevel;  /* @12: 1 (fastest) to 9 (smallest); used with Deflate compression */
    uint32_t rowsPerStrip; /* @16: rows per strip; 0: as many as fit in about 8 KiB (at least one) */
    uint8_t reserved[52];  /* @20 */
} orvTIFFOption;

/* JPEG. Defaults: quality 90, baseline coding, 4:2:0 subsampling. */
typedef struct _orvJPEGOption {
    int32_t quality;     /* @0: 1 (smallest) to 100 (best) */
    uint8_t progressive; /* @4: non-zero: progressive coding; 0: baseline */
    uint8_t reserved0[3];
    uint32_t chromaSubsampling; /* @8: an orvJPEGSubsampling; ignored for gray images */
    uint8_t reserved[60];       /* @12 */
} orvJPEGOption;

/* JPEG 2000. Defaults: lossless, JP2 file, ratio 10 and no PSNR target (used when
 * lossy), 6 resolutions. */
typedef struct _orvJPEG2000Option {
    uint8_t lossless;   /* @0: non-zero: reversible 5/3 wavelet, decodes exactly; 0: lossy 9/7 wavelet */
    uint8_t codestream; /* @1: non-zero: bare J2K codestream; 0: JP2 file */
    uint8_t reserved0[2];
    float compressionRatio;  /* @4: lossy only: uncompressed size / compressed size, at least 1 */
    float targetPSNR;        /* @8: lossy only: if > 0, aim at this PSNR in dB instead of the ratio */
    uint32_t numResolutions; /* @12: 1 to 10 (wavelet levels + 1); lowered as far as a small image requires */
    uint8_t reserved[56];    /* @16 */
} orvJPEG2000Option;

/* BMP. Defaults: rows bottom-up, alpha kept. */
typedef struct _orvBMPOption {
    uint8_t topDown;      /* @0: non-zero: first row first (negative height); 0: last row first */
    uint8_t keepAlpha;    /* @1: four-channel images: non-zero: 32 bits with an alpha mask; 0: 24 bits */
    uint8_t reserved[70]; /* @2 */
} orvBMPOption;

/* Fill a record with the SDK's defaults (reserved bytes zero). */
static inline void orvPNGOptionInit(orvPNGOption* option) {
    memset(option, 0, sizeof *option);
    option->compressionLevel = 6;
    option->filter = ORV_PNG_FILTER_ADAPTIVE;
}

static inline void orvPPMOptionInit(orvPPMOption* option) {
    memset(option, 0, sizeof *option);
    option->binaryFile = 1;
}

static inline void orvPGMOptionInit(orvPGMOption* option) {
    memset(option, 0, sizeof *option);
    option->binaryFile = 1;
}

static inline void orvTIFFOptionInit(orvTIFFOption* option) {
    memset(option, 0, sizeof *option);
    option->compression = ORV_TIFF_COMPRESSION_NONE;
    option->predictor = ORV_TIFF_PREDICTOR_NONE;
    option->jpegQuality = 75;
    option->deflateLevel = 6;
    option->rowsPerStrip = 0;
}

static inline void orvJPEGOptionInit(orvJPEGOption* option) {
    memset(option, 0, sizeof *option);
    option->quality = 90;
    option->progressive = 0;
    option->chromaSubsampling = ORV_JPEG_SUBSAMPLING_420;
}

static inline void orvJPEG2000OptionInit(orvJPEG2000Option* option) {
    memset(option, 0, sizeof *option);
    option->lossless = 1;
    option->codestream = 0;
    option->compressionRatio = 10.0f;
    option->targetPSNR = 0.0f;
    option->numResolutions = 6;
}

static inline void orvBMPOptionInit(orvBMPOption* option) {
    memset(option, 0, sizeof *option);
    option->topDown = 0;
    option->keepAlpha = 1;
}

#ifdef __cplusplus
}
#endif

#endif
