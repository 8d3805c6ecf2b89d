// What both image list targets do with an input: load it as an image list
// file through ImageList::Load and use every image loaded, as an application
// would (metadata, chunk values, CRC check, statistics, a conversion).
#ifndef ORVANE_TESTS_FUZZ_IMAGE_LIST_WALK_H
#define ORVANE_TESTS_FUZZ_IMAGE_LIST_WALK_H

#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "Orvane/Exception.h"
#include "Orvane/ImageList.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/ImageStatistics.h"

namespace orvfuzz {

inline void UseImage(const Orvane::ImagePtr& image) {
    volatile size_t sink = image->GetWidth() + image->GetHeight() + image->GetStride() + image->GetBufferSize() +
                           image->GetSize() + image->GetBitsPerPixel() + image->GetPaddingX() + image->GetPaddingY();
    (void)image->GetPixelFormatName();
    (void)Orvane::Image::GetImageStatusDescription(image->GetStatus());
    size_t chunkBytes = 0;
    (void)image->GetChunkBytes(&chunkBytes);
    sink = sink + chunkBytes;
    try {
        (void)image->GetChunkData();
    } catch (const Orvane::Exception&) {}
    try {
        if (image->HasCRC()) (void)image->CheckCRC();
    } catch (const Orvane::Exception&) {}
    if (static_cast<uint64_t>(image->GetWidth()) * image->GetHeight() > kMaxPixels) return;
    try {
        Orvane::ImageStatistics statistics;
        statistics.EnableAll();
        image->CalculateStatistics(statistics);
    } catch (const Orvane::Exception&) {}
    try {
        Orvane::ImageProcessor processor;
        Orvane::ImagePtr converted = Orvane::Image::Create();
        processor.Convert(image, converted, Orvane::PixelFormat_Mono8);
    } catch (const Orvane::Exception&) {}
}

inline void LoadAndUse(MemoryFile& file, const uint8_t* data, size_t size) {
    file.Write(data, size);
    Orvane::ImageList list;
    try {
        list = Orvane::ImageList::Load(file.Path().c_str());
    } catch (const Orvane::Exception&) {
        return;
    }
    for (size_t i = 0; i < list.GetSize(); ++i) UseImage(list.GetByIndex(i));
}

} // namespace orvfuzz

#endif
