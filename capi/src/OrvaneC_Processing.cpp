// Image processors, image statistics and their use on images (OrvaneC module).
#include "Orvane/Image.h"
#include "Orvane/ImageList.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/ImageStatistics.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

ImageProcessor& ProcessorOf(void* handle) { return *static_cast<ImageProcessor*>(asRecord(handle)->target); }
ImageStatistics& StatisticsOf(void* handle) { return *static_cast<ImageStatistics*>(asRecord(handle)->target); }
ImagePtr& ImageOf(void* handle) { return *static_cast<ImagePtr*>(asRecord(handle)->target); }
ImageStatistics::StatisticsChannel Channel(orvStatisticsChannel c) {
    return static_cast<ImageStatistics::StatisticsChannel>(c);
}

template <class Object>
orvError Create(orvHandleType tag, void** out) {
    return OrvaneCFrame([&] {
        CheckNullParam(out);
        *out = BuildRecord(tag, [](orvObject* r) { r->target = new Object(); });
        return ORV_OK;
    });
}

template <class Object>
orvError Destroy(orvHandleType tag, void* handle) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handle);
        checkObjectType(tag, handle);
        orvObject* record = asRecord(handle);
        delete static_cast<Object*>(record->target);
        destroyRecord(record);
        return ORV_OK;
    });
}

template <class Work>
orvError ProcessorCall(orvImageProcessor processor, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(processor);
        checkObjectType(ORV_HANDLE_IMAGE_PROCESSOR, processor);
        work(ProcessorOf(processor));
        return ORV_OK;
    });
}

template <class Work>
orvError StatisticsCall(orvImageStatistics statistics, Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        work(StatisticsOf(statistics));
        return ORV_OK;
    });
}

// Conversion shape: processor and source handles, destination as an
// out-parameter (null: a parameter error), then the kinds; the destination
// must be an image the caller created.
template <class Work>
orvError ConvertCall(orvImageProcessor processor, void* source, orvHandleType sourceTag, orvImage destination,
                     Work&& work) {
    return OrvaneCFrame([&] {
        CheckNullHandle(processor);
        CheckNullHandle(source);
        CheckNullParam(destination);
        checkObjectType(ORV_HANDLE_IMAGE_PROCESSOR, processor);
        checkObjectType(sourceTag, source);
        checkObjectType(ORV_HANDLE_IMAGE_USER_CREATED, destination);
        work(ProcessorOf(processor), ImageOf(destination));
        return ORV_OK;
    });
}

} // namespace

// Image processor

orvError orvImageProcessorCreate(orvImageProcessor* processor) {
    return Create<ImageProcessor>(ORV_HANDLE_IMAGE_PROCESSOR, processor);
}
orvError orvImageProcessorDestroy(orvImageProcessor processor) {
    return Destroy<ImageProcessor>(ORV_HANDLE_IMAGE_PROCESSOR, processor);
}
orvError orvImageProcessorSetColorProcessing(orvImageProcessor processor, orvColorProcessingAlgorithm algorithm) {
    return ProcessorCall(
        processor, [&](ImageProcessor& p) { p.SetColorProcessing(static_cast<ColorProcessingAlgorithm>(algorithm)); });
}
orvError orvImageProcessorGetColorProcessing(orvImageProcessor processor, orvColorProcessingAlgorithm* algorithm) {
    return OrvaneCFrame([&] {
        CheckNullHandle(processor);
        CheckNullParam(algorithm);
        checkObjectType(ORV_HANDLE_IMAGE_PROCESSOR, processor);
        *algorithm = static_cast<orvColorProcessingAlgorithm>(ProcessorOf(processor).GetColorProcessing());
        return ORV_OK;
    });
}
orvError orvImageProcessorSetNumDecompressionThreads(orvImageProcessor processor, unsigned int count) {
    return ProcessorCall(processor, [&](ImageProcessor& p) { p.SetNumDecompressionThreads(count); });
}
orvError orvImageProcessorGetNumDecompressionThreads(orvImageProcessor processor, unsigned int* count) {
    return OrvaneCFrame([&] {
        CheckNullHandle(processor);
        CheckNullParam(count);
        checkObjectType(ORV_HANDLE_IMAGE_PROCESSOR, processor);
        *count = ProcessorOf(processor).GetNumDecompressionThreads();
        return ORV_OK;
    });
}

orvError orvImageProcessorConvert(orvImageProcessor processor, orvImage source, orvImage destination,
                                  orvPixelFormat pixelFormat) {
    return ConvertCall(processor, source, ORV_HANDLE_IMAGE, destination, [&](ImageProcessor& p, ImagePtr& dst) {
        const ImagePtr copy = ImageOf(source); // one more reference for the call's duration
        p.Convert(copy, dst, static_cast<PixelFormatEnums>(pixelFormat));
    });
}

orvError orvImageProcessorConvertImageList(orvImageProcessor processor, orvImageList source, orvImage destination,
                                           orvPixelFormat pixelFormat) {
    return ConvertCall(processor, source, ORV_HANDLE_IMAGE_LIST, destination, [&](ImageProcessor& p, ImagePtr& dst) {
        const ImageList copy = *static_cast<ImageList*>(asRecord(source)->target);
        p.Convert(copy, dst, static_cast<PixelFormatEnums>(pixelFormat));
    });
}

orvError orvImageProcessorApplyGamma(orvImageProcessor processor, orvImage source, orvImage destination, float gamma,
                                     bool8_t inverse) {
    return ConvertCall(processor, source, ORV_HANDLE_IMAGE, destination, [&](ImageProcessor& p, ImagePtr& dst) {
        const ImagePtr copy = ImageOf(source);
        p.ApplyGamma(copy, dst, gamma, inverse != 0);
    });
}

// Image statistics

orvError orvImageStatisticsCreate(orvImageStatistics* statistics) {
    return Create<ImageStatistics>(ORV_HANDLE_IMAGE_STATISTICS, statistics);
}
orvError orvImageStatisticsDestroy(orvImageStatistics statistics) {
    return Destroy<ImageStatistics>(ORV_HANDLE_IMAGE_STATISTICS, statistics);
}
orvError orvImageStatisticsEnableAll(orvImageStatistics statistics) {
    return StatisticsCall(statistics, [](ImageStatistics& s) { s.EnableAll(); });
}
orvError orvImageStatisticsDisableAll(orvImageStatistics statistics) {
    return StatisticsCall(statistics, [](ImageStatistics& s) { s.DisableAll(); });
}
orvError orvImageStatisticsEnableGreyOnly(orvImageStatistics statistics) {
    return StatisticsCall(statistics, [](ImageStatistics& s) { s.EnableGreyOnly(); });
}
orvError orvImageStatisticsEnableRgbOnly(orvImageStatistics statistics) {
    return StatisticsCall(statistics, [](ImageStatistics& s) { s.EnableRgbOnly(); });
}
orvError orvImageStatisticsEnableHslOnly(orvImageStatistics statistics) {
    return StatisticsCall(statistics, [](ImageStatistics& s) { s.EnableHslOnly(); });
}

orvError orvImageStatisticsGetChannelStatus(orvImageStatistics statistics, orvStatisticsChannel channel,
                                            bool8_t* enabled) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(enabled);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        bool local = false;
        StatisticsOf(statistics).GetChannelStatus(Channel(channel), &local);
        *enabled = local ? 1 : 0;
        return ORV_OK;
    });
}

orvError orvImageStatisticsSetChannelStatus(orvImageStatistics statistics, orvStatisticsChannel channel,
                                            bool8_t enable) {
    return StatisticsCall(statistics, [&](ImageStatistics& s) { s.SetChannelStatus(Channel(channel), enable != 0); });
}

// The two range getters check their out-pointers in reverse order (max first).
orvError orvImageStatisticsGetRange(orvImageStatistics statistics, orvStatisticsChannel channel, unsigned int* min,
                                    unsigned int* max) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(max);
        CheckNullParam(min);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics).GetRange(Channel(channel), min, max);
        return ORV_OK;
    });
}

orvError orvImageStatisticsGetPixelValueRange(orvImageStatistics statistics, orvStatisticsChannel channel,
                                              unsigned int* min, unsigned int* max) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(max);
        CheckNullParam(min);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics).GetPixelValueRange(Channel(channel), min, max);
        return ORV_OK;
    });
}

orvError orvImageStatisticsGetNumPixelValues(orvImageStatistics statistics, orvStatisticsChannel channel,
                                             unsigned int* count) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(count);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics).GetNumPixelValues(Channel(channel), count);
        return ORV_OK;
    });
}

orvError orvImageStatisticsGetMean(orvImageStatistics statistics, orvStatisticsChannel channel, float* mean) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(mean);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics).GetMean(Channel(channel), mean);
        return ORV_OK;
    });
}

orvError orvImageStatisticsGetHistogram(orvImageStatistics statistics, orvStatisticsChannel channel, int** histogram) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(histogram);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics).GetHistogram(Channel(channel), histogram);
        return ORV_OK;
    });
}

orvError orvImageStatisticsGetAll(orvImageStatistics statistics, orvStatisticsChannel channel, unsigned int* rangeMin,
                                  unsigned int* rangeMax, unsigned int* pixelValueMin, unsigned int* pixelValueMax,
                                  unsigned int* numPixelValues, float* mean, int** histogram) {
    return OrvaneCFrame([&] {
        CheckNullHandle(statistics);
        CheckNullParam(rangeMin);
        CheckNullParam(rangeMax);
        CheckNullParam(pixelValueMin);
        CheckNullParam(pixelValueMax);
        CheckNullParam(numPixelValues);
        CheckNullParam(mean);
        CheckNullParam(histogram);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        StatisticsOf(statistics)
            .GetAll(Channel(channel), rangeMin, rangeMax, pixelValueMin, pixelValueMax, numPixelValues, mean,
                    histogram);
        return ORV_OK;
    });
}

orvError orvImageCalculateStatistics(orvImage image, orvImageStatistics statistics) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        CheckNullHandle(statistics);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        checkObjectType(ORV_HANDLE_IMAGE_STATISTICS, statistics);
        ImageOf(image)->CalculateStatistics(StatisticsOf(statistics));
        return ORV_OK;
    });
}
