// Orvane::ImageProcessor: converts images between pixel formats (including
// Bayer demosaicing and JPEG decompression) and applies gamma.
//
// Conversion: the supported pairs and the arithmetic (precision, colour
// formulas, demosaicing algorithms and their border rule) are defined in
// docs/image-processing.md; in short, 10 to 16-bit sources keep their top bits
// in 8-bit destinations and are scaled to the full 16-bit range (bit
// replication) in 16-bit ones. Unsupported pairs raise ORVANE_ERR_NOT_SUPPORTED
// ("Conversion from <source> to <destination> is not supported").
//
// Threads: each call splits the image rows over GetNumDecompressionThreads()
// threads, started for the call and joined before it returns (small images
// use one). The default, 0, means the number of hardware threads.
// A processor holds only its settings: it may be used by several threads at
// once as long as none changes the settings meanwhile.
#ifndef ORVANE_IMAGE_PROCESSOR_H
#define ORVANE_IMAGE_PROCESSOR_H

#include "Orvane/Image.h"
#include "Orvane/ImageDefs.h"
#include "Orvane/ImageList.h"
#include "Orvane/PixelFormatEnums.h"

namespace Orvane {

class ORVANE_API ImageProcessor {
public:
    ImageProcessor();
    virtual ~ImageProcessor();
    ImageProcessor(const ImageProcessor&);
    ImageProcessor& operator=(const ImageProcessor&);

    // The demosaicing algorithm for Bayer sources (default COLOR_PROCESSING_DEFAULT:
    // bilinear). Unknown values raise ORVANE_ERR_INVALID_ARGUMENT.
    void SetColorProcessing(ColorProcessingAlgorithm algorithm);
    ColorProcessingAlgorithm GetColorProcessing() const;

    // Threads per conversion, JPEG decompression included (0: the number of hardware threads).
    void SetNumDecompressionThreads(unsigned int numThreads);
    unsigned int GetNumDecompressionThreads() const;

    // Replaces destination with a new image of `format` holding the converted
    // source. The new image keeps the source's offsets, frame id, timestamp
    // and status; GetColorProcessing() tells the demosaicing algorithm used
    // (COLOR_PROCESSING_NONE for non-Bayer sources). JPEG sources (payload type
    // JPEG, or JPEGMono8/JPEGColor8) take their size from the JPEG data. On
    // failure destination is left as it was.
    void Convert(const ImagePtr& source, ImagePtr& destination, PixelFormatEnums format) const;

    // Converts every image of the list and stacks them, first on top, into
    // one new image of `format` (one list image: the same as Convert). The
    // images must have the same width; the result's height is the sum of
    // theirs and its metadata is the first image's. An empty list raises
    // ORVANE_ERR_NO_DATA.
    void Convert(const ImageList& source, ImagePtr& destination, PixelFormatEnums format) const;

    // Replaces destination with a gamma-corrected copy of source (same format
    // and size; alpha unchanged). With `inverse` true the sample s of an n-bit
    // format (M = 2^n - 1) becomes M (s / M)^(1 / gamma) (encoding: 2.2
    // brightens mid-tones); with false, M (s / M)^gamma. Unpacked mono, Bayer
    // and RGB/BGR/RGBa/BGRa formats of 8 to 16 bits; others raise
    // ORVANE_ERR_NOT_SUPPORTED. gamma must be positive and finite.
    void ApplyGamma(const ImagePtr& source, ImagePtr& destination, float gamma, bool inverse) const;

private:
    ColorProcessingAlgorithm m_algorithm;
    unsigned int m_threads;
};

} // namespace Orvane

#endif
