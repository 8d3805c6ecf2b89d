// Raw writers: pixel rows or arbitrary bytes, no header.
#include "codecs/AtomicFile.h"
#include "codecs/ImageWriters.h"
#include "codecs/WriterSupport.h"

namespace Orvane {
namespace codecs {

void WriteRaw(const std::string& fileName, const PixelBuffer& image, const WriteSettings& settings) {
    CheckWritable(FileFormat_RAW, image, fileName);
    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    if (image.Stride() == image.RowBytes()) {
        file.Write(image.data, image.RowBytes() * image.height);
    } else {
        for (size_t y = 0; y < image.height; ++y) file.Write(image.Row(y), image.RowBytes());
    }
    file.Commit();
}

void WriteRawBytes(const std::string& fileName, const void* data, size_t size, const WriteSettings& settings) {
    if (data == nullptr && size != 0) RaiseInvalid(fileName, "the image has no data");
    AtomicFile file(fileName, SaveContext(fileName), settings.syncToDisk);
    file.Write(data, size);
    file.Commit();
}

} // namespace codecs
} // namespace Orvane
