// Orvane::ChunkData: the chunk data of one image (per-image metadata that the
// camera appends to the image's payload: frame ID, timestamp, exposure time,
// gain, ...), read through the camera's GenICam chunk features.
//
// Obtained from Image::GetChunkData(). Every getter returns the value of the
// chunk feature of the same name (GetFrameID reads ChunkFrameID, GetGain reads
// ChunkGain, ...), as the camera's description decodes it from the image's
// chunk layout. A getter whose chunk the image does not carry (chunk mode off,
// the chunk not enabled, or a feature the camera does not have) raises
// ORVANE_ERR_NO_DATA with a message naming the chunk feature.
//
// Features with a selector (ChunkGain, ChunkBlackLevel, ChunkCounterValue,
// ChunkTimerValue, ...) give the value for the camera's selector setting at
// the moment the image's chunk data was first read.
#ifndef ORVANE_CHUNK_DATA_H
#define ORVANE_CHUNK_DATA_H

#include <cstdint>

#include "Orvane/Export.h"

namespace Orvane {

namespace internal {
class ChunkDataAccess;
}

class ORVANE_API ChunkData {
public:
    // The chunk values the SDK reads, in the order of their names below.
    enum IntegerItem {
        FrameID,
        OffsetX,
        OffsetY,
        Width,
        Height,
        CounterValue,
        LinePitch,
        LineStatusAll,
        PixelDynamicRangeMax,
        PixelDynamicRangeMin,
        SequencerSetActive,
        StreamChannelID,
        Timestamp,
        TimestampLatchValue,
        TransferBlockID,
        TransferQueueCurrentBlockCount,
        PartSelector,
        ScanLineSelector,
        EncoderValue,
        IntegerItemCount
    };
    enum FloatItem {
        ExposureTime,
        CompressionRatio,
        Gain,
        BlackLevel,
        TimerValue,
        Scan3dCoordinateScale,
        Scan3dCoordinateOffset,
        Scan3dCoordinateReferenceValue,
        Scan3dInvalidDataValue,
        Scan3dAxisMin,
        Scan3dAxisMax,
        Scan3dTransformValue,
        FloatItemCount
    };

    // Empty chunk data: every getter raises ORVANE_ERR_NO_DATA.
    ChunkData();

    int64_t GetFrameID() const;                        // ChunkFrameID
    int64_t GetOffsetX() const;                        // ChunkOffsetX
    int64_t GetOffsetY() const;                        // ChunkOffsetY
    int64_t GetWidth() const;                          // ChunkWidth
    int64_t GetHeight() const;                         // ChunkHeight
    int64_t GetCounterValue() const;                   // ChunkCounterValue
    int64_t GetLinePitch() const;                      // ChunkLinePitch
    int64_t GetLineStatusAll() const;                  // ChunkLineStatusAll
    int64_t GetPixelDynamicRangeMax() const;           // ChunkPixelDynamicRangeMax
    int64_t GetPixelDynamicRangeMin() const;           // ChunkPixelDynamicRangeMin
    int64_t GetSequencerSetActive() const;             // ChunkSequencerSetActive
    int64_t GetStreamChannelID() const;                // ChunkStreamChannelID
    int64_t GetTimestamp() const;                      // ChunkTimestamp
    int64_t GetTimestampLatchValue() const;            // ChunkTimestampLatchValue
    int64_t GetTransferBlockID() const;                // ChunkTransferBlockID
    int64_t GetTransferQueueCurrentBlockCount() const; // ChunkTransferQueueCurrentBlockCount
    int64_t GetPartSelector() const;                   // ChunkPartSelector
    int64_t GetScanLineSelector() const;               // ChunkScanLineSelector
    int64_t GetEncoderValue() const;                   // ChunkEncoderValue

    double GetExposureTime() const;                   // ChunkExposureTime
    double GetCompressionRatio() const;               // ChunkCompressionRatio
    double GetGain() const;                           // ChunkGain
    double GetBlackLevel() const;                     // ChunkBlackLevel
    double GetTimerValue() const;                     // ChunkTimerValue
    double GetScan3dCoordinateScale() const;          // ChunkScan3dCoordinateScale
    double GetScan3dCoordinateOffset() const;         // ChunkScan3dCoordinateOffset
    double GetScan3dCoordinateReferenceValue() const; // ChunkScan3dCoordinateReferenceValue
    double GetScan3dInvalidDataValue() const;         // ChunkScan3dInvalidDataValue
    double GetScan3dAxisMin() const;                  // ChunkScan3dAxisMin
    double GetScan3dAxisMax() const;                  // ChunkScan3dAxisMax
    double GetScan3dTransformValue() const;           // ChunkScan3dTransformValue

    // Generic access by item: whether the image carries it, and its value
    // (ORVANE_ERR_NO_DATA when absent, ORVANE_ERR_OUT_OF_RANGE for an item
    // outside the enumeration).
    bool IsPresent(IntegerItem item) const;
    bool IsPresent(FloatItem item) const;
    int64_t GetIntegerValue(IntegerItem item) const;
    double GetFloatValue(FloatItem item) const;
    // The chunk feature's name ("ChunkFrameID", ...); null outside the enumeration.
    static const char* GetName(IntegerItem item);
    static const char* GetName(FloatItem item);

private:
    friend class internal::ChunkDataAccess;

    int64_t m_integers[IntegerItemCount];
    double m_floats[FloatItemCount];
    uint32_t m_integerPresent = 0; // bit i: m_integers[i] holds a value
    uint32_t m_floatPresent = 0;   // bit i: m_floats[i] holds a value
};

} // namespace Orvane

#endif
