// Image file writers: save a PixelBuffer as PNG, JPEG, TIFF, JPEG 2000, BMP,
// PGM, PPM or raw bytes.
//
// Every writer is atomic (see AtomicFile): the target appears complete or is
// left as it was. Failures raise Orvane::Exception:
//   ORVANE_ERR_IO                the file cannot be created, written or renamed
//                                (message: file name and errno text)
//   ORVANE_ERR_NOT_SUPPORTED     the format cannot store this kind of buffer
//   ORVANE_ERR_INVALID_ARGUMENT  malformed buffer, option field out of range,
//                                image too large for the format, unknown format
//                                or extension
// Every message starts with "Cannot save image file '<file name>': ".
//
// Buffers each writer accepts (bit depth / channel orders):
//   PGM       8, 16  Gray
//   PPM       8, 16  RGB, BGR
//   BMP       8      Gray (8-bit palette), RGB, BGR (24-bit), RGBA, BGRA (32-bit, or 24-bit with keepAlpha 0)
//   JPEG      8      Gray, RGB, BGR, RGBA, BGRA (alpha is not stored)
//   PNG       8, 16  Gray, RGB, BGR, RGBA, BGRA
//   TIFF      8, 16  Gray, RGB, BGR, RGBA, BGRA (JPEG compression: 8 only)
//   JPEG2000  8, 16  Gray, RGB, BGR, RGBA, BGRA
//   RAW       8, 16  all orders (the rows as they are in memory, without stride padding)
// Colour files store RGB(A) order; BGR(A) buffers are reordered while writing.
// 16-bit samples are stored in the byte order each format prescribes.
//
// Thread safety: the writers share no state; different threads may write
// different files at the same time.
#ifndef ORVANE_CODECS_IMAGE_WRITERS_H
#define ORVANE_CODECS_IMAGE_WRITERS_H

#include <cstddef>
#include <string>

#include "Orvane/ImageFileOptions.h"
#include "codecs/PixelBuffer.h"

namespace Orvane {
namespace codecs {

struct WriteSettings {
    bool syncToDisk = false; // fsync the file and its directory before returning
};

void WritePNG(const std::string& fileName, const PixelBuffer& image, const PNGOption& option = PNGOption(),
              const WriteSettings& settings = WriteSettings());
void WriteJPEG(const std::string& fileName, const PixelBuffer& image, const JPEGOption& option = JPEGOption(),
               const WriteSettings& settings = WriteSettings());
void WriteTIFF(const std::string& fileName, const PixelBuffer& image, const TIFFOption& option = TIFFOption(),
               const WriteSettings& settings = WriteSettings());
void WriteJPEG2000(const std::string& fileName, const PixelBuffer& image,
                   const JPEG2000Option& option = JPEG2000Option(), const WriteSettings& settings = WriteSettings());
void WriteBMP(const std::string& fileName, const PixelBuffer& image, const BMPOption& option = BMPOption(),
              const WriteSettings& settings = WriteSettings());
void WritePGM(const std::string& fileName, const PixelBuffer& image, const PGMOption& option = PGMOption(),
              const WriteSettings& settings = WriteSettings());
void WritePPM(const std::string& fileName, const PixelBuffer& image, const PPMOption& option = PPMOption(),
              const WriteSettings& settings = WriteSettings());
// The rows' pixel bytes one after the other (16-bit samples in host byte order).
void WriteRaw(const std::string& fileName, const PixelBuffer& image, const WriteSettings& settings = WriteSettings());
// Any bytes as they are (for example a packed or compressed camera buffer).
void WriteRawBytes(const std::string& fileName, const void* data, size_t size,
                   const WriteSettings& settings = WriteSettings());

// Writes in the given format with that format's default options;
// FileFormat_FromExt takes the format from the file name (FormatFromFileName).
// JPEG 2000 goes into a bare codestream when the name ends in .j2k, else into
// a JP2 file.
void WriteImageFile(const std::string& fileName, const PixelBuffer& image, ImageFileFormat format,
                    const WriteSettings& settings = WriteSettings());

// The format named by the file name's extension (case-insensitive): .png,
// .jpg/.jpeg, .tif/.tiff, .bmp, .ppm, .pgm, .jp2/.j2k, .raw. No or another
// extension raises ORVANE_ERR_INVALID_ARGUMENT.
ImageFileFormat FormatFromFileName(const std::string& fileName);

// Whether the writer of this format takes buffers of this kind (the table
// above); FileFormat_FromExt and unknown formats take none.
bool WriterAccepts(ImageFileFormat format, ChannelOrder order, int bitDepth);

// "PNG", "JPEG", ...; "unknown" for other values.
const char* FileFormatName(ImageFileFormat format);

} // namespace codecs
} // namespace Orvane

#endif
