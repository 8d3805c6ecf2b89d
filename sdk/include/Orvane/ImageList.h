// Orvane::ImageList: an ordered set of images (for example one image per
// stream from GetNextImageSync), saved to and loaded from image list files.
#ifndef ORVANE_IMAGE_LIST_H
#define ORVANE_IMAGE_LIST_H

#include <vector>

#include "Orvane/Image.h"

namespace Orvane {

class ORVANE_API ImageList {
public:
    ImageList();
    virtual ~ImageList();
    ImageList(const ImageList&);
    ImageList& operator=(const ImageList&);

    size_t GetSize() const;
    // Raises ORVANE_ERR_OUT_OF_RANGE for an index at or beyond GetSize().
    ImagePtr GetByIndex(size_t index) const;
    ImagePtr operator[](size_t index) const { return GetByIndex(index); }
    // The first image of this pixel format; raises ORVANE_ERR_NO_DATA when none has it.
    ImagePtr GetByPixelFormat(PixelFormatEnums pixelFormat) const;
    void RemoveByIndex(size_t index);
    // Removes every image of this pixel format; raises ORVANE_ERR_NO_DATA when none has it.
    void RemoveByPixelFormat(PixelFormatEnums pixelFormat);
    void PushBack(const ImagePtr& image);
    void Append(const ImageList& other);
    void Clear();
    // Hands every stream image back to its stream (Image::Release) and empties the list.
    void Release();

    // Writes every image (data, chunk bytes, decoded chunk values and
    // metadata) to an image list file (docs/image-list-format.md). Chunk
    // values not yet decoded are decoded first; an image whose chunks cannot
    // be decoded any more (its camera was closed) is saved without chunk
    // values. The file appears whole or not at all; a failure raises
    // ORVANE_ERR_IO naming the file.
    void Save(const GenICam::gcstring& fileName) const;
    // Reads an image list file; the images own their data, and GetChunkData,
    // HasCRC and CheckCRC answer from the chunk values saved with them (files
    // of format version 1 hold none: every chunk item is absent). A damaged
    // file raises ORVANE_ERR_CORRUPT_DATA, an unreadable one ORVANE_ERR_IO, a
    // file of a newer format version ORVANE_ERR_NOT_SUPPORTED.
    static ImageList Load(const GenICam::gcstring& fileName);

private:
    std::vector<ImagePtr> m_images;
};

} // namespace Orvane

#endif
