// Chunk data of images, by chunk feature name. Names resolve through fixed
// tables compared in order (no node map lookup, no allocation before a
// match); each name calls the ChunkData getter of the same feature.
#include <cstring>

#include "Orvane/Image.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

ImagePtr& ImageOf(void* handle) { return *static_cast<ImagePtr*>(asRecord(handle)->target); }

template <class Value>
struct ChunkName {
    const char* name;
    Value (ChunkData::*get)() const;
};

const ChunkName<int64_t> kIntegerChunks[] = {
    {"ChunkFrameID", &ChunkData::GetFrameID},
    {"ChunkOffsetX", &ChunkData::GetOffsetX},
    {"ChunkOffsetY", &ChunkData::GetOffsetY},
    {"ChunkWidth", &ChunkData::GetWidth},
    {"ChunkHeight", &ChunkData::GetHeight},
    {"ChunkCounterValue", &ChunkData::GetCounterValue},
    {"ChunkLinePitch", &ChunkData::GetLinePitch},
    {"ChunkLineStatusAll", &ChunkData::GetLineStatusAll},
    {"ChunkPixelDynamicRangeMax", &ChunkData::GetPixelDynamicRangeMax},
    {"ChunkPixelDynamicRangeMin", &ChunkData::GetPixelDynamicRangeMin},
    {"ChunkSequencerSetActive", &ChunkData::GetSequencerSetActive},
    {"ChunkStreamChannelID", &ChunkData::GetStreamChannelID},
    {"ChunkTimestamp", &ChunkData::GetTimestamp},
    {"ChunkTimestampLatchValue", &ChunkData::GetTimestampLatchValue},
    {"ChunkTransferBlockID", &ChunkData::GetTransferBlockID},
    {"ChunkTransferQueueCurrentBlockCount", &ChunkData::GetTransferQueueCurrentBlockCount},
    {"ChunkPartSelector", &ChunkData::GetPartSelector},
    {"ChunkScanLineSelector", &ChunkData::GetScanLineSelector},
    {"ChunkEncoderValue", &ChunkData::GetEncoderValue},
};

const ChunkName<double> kFloatChunks[] = {
    {"ChunkExposureTime", &ChunkData::GetExposureTime},
    {"ChunkCompressionRatio", &ChunkData::GetCompressionRatio},
    {"ChunkGain", &ChunkData::GetGain},
    {"ChunkBlackLevel", &ChunkData::GetBlackLevel},
    {"ChunkTimerValue", &ChunkData::GetTimerValue},
    {"ChunkScan3dCoordinateScale", &ChunkData::GetScan3dCoordinateScale},
    {"ChunkScan3dCoordinateOffset", &ChunkData::GetScan3dCoordinateOffset},
    {"ChunkScan3dCoordinateReferenceValue", &ChunkData::GetScan3dCoordinateReferenceValue},
    {"ChunkScan3dInvalidDataValue", &ChunkData::GetScan3dInvalidDataValue},
    {"ChunkScan3dAxisMin", &ChunkData::GetScan3dAxisMin},
    {"ChunkScan3dAxisMax", &ChunkData::GetScan3dAxisMax},
    {"ChunkScan3dTransformValue", &ChunkData::GetScan3dTransformValue},
};

// The first entry of the table named `name` stores its chunk's value. An
// unknown name returns ORVANE_ERR_INVALID_PARAMETER without raising: the
// last-error record stays cleared and nothing is logged.
template <class Value, size_t N>
orvError ReadChunk(const ChunkName<Value> (&table)[N], orvImage image, const char* name, Value* value) {
    for (const ChunkName<Value>& entry : table) {
        if (std::strcmp(name, entry.name) == 0) {
            const Value v = (ImageOf(image)->GetChunkData().*entry.get)();
            *value = v;
            return ORV_OK;
        }
    }
    return ORVANE_ERR_INVALID_PARAMETER;
}

} // namespace

orvError orvImageChunkDataGetIntValue(orvImage image, const char* name, int64_t* value) {
    return OrvaneCFrame([&]() -> orvError {
        CheckNullHandle(image);
        CheckNullParam(name);
        CheckNullParam(value);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        // Chunks without an integer value are accepted and leave value alone.
        if (std::strcmp(name, "ChunkImage") == 0 || std::strcmp(name, "ChunkCRC") == 0) return ORV_OK;
        return ReadChunk(kIntegerChunks, image, name, value);
    });
}

orvError orvImageChunkDataGetFloatValue(orvImage image, const char* name, double* value) {
    return OrvaneCFrame([&]() -> orvError {
        CheckNullHandle(image);
        CheckNullParam(name);
        CheckNullParam(value);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        return ReadChunk(kFloatChunks, image, name, value);
    });
}
