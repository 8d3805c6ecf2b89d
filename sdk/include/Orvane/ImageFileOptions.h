// Image file formats and the option records of the image file writers.
//
// Every option record is a plain standard-layout struct of exactly 72 bytes.
// The C library's records in OrvaneImageFileOptions.h (orvPNGOption, ...) have
// the same fields at the same offsets, so a C record copied byte for byte into
// its twin here means the same thing. Flags are one byte each, and any non-zero
// byte counts as true. Reserved bytes are ignored by the writers; the default
// constructors set them to zero. A field outside its documented range makes the
// save fail with ORVANE_ERR_INVALID_ARGUMENT.
//
// The records are trivially copyable. Their default constructors make GCC's
// -Wclass-memaccess object to a plain memcpy into them; copy a C record with
// std::memcpy(static_cast<void*>(&sdkRecord), &cRecord, sizeof sdkRecord).
#ifndef ORVANE_IMAGE_FILE_OPTIONS_H
#define ORVANE_IMAGE_FILE_OPTIONS_H

#include <cstdint>

namespace Orvane {

// File formats an image can be saved in. FileFormat_FromExt (all ones as a
// 32-bit value) takes the format from the file name's extension:
// .pgm .ppm .bmp .jpg/.jpeg .jp2/.j2k .tif/.tiff .png .raw (case-insensitive).
enum ImageFileFormat {
    FileFormat_FromExt = -1,
    FileFormat_PGM = 0,      // portable graymap, binary (P5) or ASCII (P2)
    FileFormat_PPM = 1,      // portable pixmap, binary (P6) or ASCII (P3)
    FileFormat_BMP = 2,      // Windows bitmap
    FileFormat_JPEG = 3,     // JPEG/JFIF (TurboJPEG)
    FileFormat_JPEG2000 = 4, // JPEG 2000, JP2 file or J2K codestream (OpenJPEG)
    FileFormat_TIFF = 5,     // TIFF (libtiff)
    FileFormat_PNG = 6,      // PNG (libpng)
    FileFormat_RAW = 7       // the pixel bytes alone, no header
};

// PNG row filters (PNGOption::filter).
enum PNGFilter {
    PNGFilter_Adaptive = 0, // each row gets the filter that suits it best (libpng's heuristic)
    PNGFilter_None = 1,
    PNGFilter_Sub = 2,
    PNGFilter_Up = 3,
    PNGFilter_Average = 4,
    PNGFilter_Paeth = 5
};

// TIFF compression methods (TIFFOption::compression).
enum TIFFCompression {
    TIFFCompression_None = 0,
    TIFFCompression_PackBits = 1, // run-length coding
    TIFFCompression_Deflate = 2,  // zlib, level TIFFOption::deflateLevel
    TIFFCompression_LZW = 3,
    TIFFCompression_JPEG = 4 // lossy, 8-bit samples only, quality TIFFOption::jpegQuality
};

// TIFF predictors (TIFFOption::predictor), applied before Deflate or LZW.
enum TIFFPredictor {
    TIFFPredictor_None = 0,
    TIFFPredictor_Horizontal = 1 // each sample stored as its difference to the sample to its left
};

// JPEG chroma subsampling (JPEGOption::chromaSubsampling); gray images have no chroma.
enum JPEGSubsampling {
    JPEGSubsampling_444 = 0, // full chroma resolution
    JPEGSubsampling_422 = 1, // chroma halved horizontally
    JPEGSubsampling_420 = 2, // chroma halved horizontally and vertically
    JPEGSubsampling_440 = 3, // chroma halved vertically
    JPEGSubsampling_411 = 4  // chroma quartered horizontally
};

// PNG. Layout: interlaced @0, compressionLevel @4, filter @8, reserved @12.
struct PNGOption {
    // Defaults: not interlaced, compression level 6, adaptive filtering.
    PNGOption() : interlaced(0), reserved0{}, compressionLevel(6), filter(PNGFilter_Adaptive), reserved{} {}

    uint8_t interlaced; // non-zero: Adam7 interlacing; 0: rows in order
    uint8_t reserved0[3];
    int32_t compressionLevel; // zlib level, 0 (stored, fastest) to 9 (smallest)
    uint32_t filter;          // a PNGFilter
    uint8_t reserved[60];
};

// PPM (colour). Layout: binaryFile @0, reserved @1.
struct PPMOption {
    // Defaults: binary file (P6).
    PPMOption() : binaryFile(1), reserved{} {}

    uint8_t binaryFile; // non-zero: binary samples (P6); 0: ASCII decimal samples (P3)
    uint8_t reserved[71];
};

// PGM (gray). Layout: binaryFile @0, reserved @1.
struct PGMOption {
    // Defaults: binary file (P5).
    PGMOption() : binaryFile(1), reserved{} {}

    uint8_t binaryFile; // non-zero: binary samples (P5); 0: ASCII decimal samples (P2)
    uint8_t reserved[71];
};

// TIFF. Layout: compression @0, predictor @4, jpegQuality @8, deflateLevel @12,
// rowsPerStrip @16, reserved @20.
struct TIFFOption {
    // Defaults: no compression, no predictor, JPEG quality 75, Deflate level 6,
    // strips of about 8 KiB.
    TIFFOption()
        : compression(TIFFCompression_None), predictor(TIFFPredictor_None), jpegQuality(75), deflateLevel(6),
          rowsPerStrip(0), reserved{} {}

    uint32_t compression;  // a TIFFCompression
    uint32_t predictor;    // a TIFFPredictor; used with Deflate and LZW, ignored otherwise
    int32_t jpegQuality;   // 1 to 100; used with JPEG compression
    int32_t deflateLevel;  // 1 (fastest) to 9 (smallest); used with Deflate compression
    uint32_t rowsPerStrip; // rows per strip; 0: as many as fit in about 8 KiB (at least one)
    uint8_t reserved[52];
};

// JPEG. Layout: quality @0, progressive @4, chromaSubsampling @8, reserved @12.
struct JPEGOption {
    // Defaults: quality 90, baseline (sequential) coding, 4:2:0 subsampling.
    JPEGOption() : quality(90), progressive(0), reserved0{}, chromaSubsampling(JPEGSubsampling_420), reserved{} {}

    int32_t quality;     // 1 (smallest) to 100 (best)
    uint8_t progressive; // non-zero: progressive coding; 0: baseline
    uint8_t reserved0[3];
    uint32_t chromaSubsampling; // a JPEGSubsampling; ignored for gray images
    uint8_t reserved[60];
};

// JPEG 2000. Layout: lossless @0, codestream @1, compressionRatio @4,
// targetPSNR @8, numResolutions @12, reserved @16.
struct JPEG2000Option {
    // Defaults: lossless, JP2 file, ratio 10 and no PSNR target (used when lossy),
    // 6 resolutions.
    JPEG2000Option()
        : lossless(1), codestream(0), reserved0{}, compressionRatio(10.0f), targetPSNR(0.0f),
          numResolutions(6), reserved{} {}

    uint8_t lossless;   // non-zero: reversible 5/3 wavelet, decodes exactly; 0: lossy 9/7 wavelet
    uint8_t codestream; // non-zero: bare J2K codestream; 0: JP2 file (boxes around the codestream)
    uint8_t reserved0[2];
    float compressionRatio;  // lossy only: uncompressed size / compressed size, at least 1
    float targetPSNR;        // lossy only: if > 0, aim at this PSNR in dB instead of compressionRatio
    uint32_t numResolutions; // 1 to 10 (wavelet levels + 1); lowered as far as a small image requires
    uint8_t reserved[56];
};

// BMP. Layout: topDown @0, keepAlpha @1, reserved @2.
struct BMPOption {
    // Defaults: rows bottom-up, alpha kept.
    BMPOption() : topDown(0), keepAlpha(1), reserved{} {}

    uint8_t topDown;   // non-zero: first row first (negative height); 0: last row first (the usual layout)
    uint8_t keepAlpha; // four-channel images: non-zero: 32 bits per pixel with an alpha mask; 0: 24 bits, alpha dropped
    uint8_t reserved[70];
};

} // namespace Orvane

#endif
