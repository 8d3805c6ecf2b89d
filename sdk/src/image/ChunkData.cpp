#include "Orvane/ChunkData.h"

#include <string>

#include "core/Raise.h"
#include "image/ChunkDecoder.h"

namespace Orvane {

namespace {

const char* const kIntegerNames[ChunkData::IntegerItemCount] = {"ChunkFrameID",
                                                                "ChunkOffsetX",
                                                                "ChunkOffsetY",
                                                                "ChunkWidth",
                                                                "ChunkHeight",
                                                                "ChunkCounterValue",
                                                                "ChunkLinePitch",
                                                                "ChunkLineStatusAll",
                                                                "ChunkPixelDynamicRangeMax",
                                                                "ChunkPixelDynamicRangeMin",
                                                                "ChunkSequencerSetActive",
                                                                "ChunkStreamChannelID",
                                                                "ChunkTimestamp",
                                                                "ChunkTimestampLatchValue",
                                                                "ChunkTransferBlockID",
                                                                "ChunkTransferQueueCurrentBlockCount",
                                                                "ChunkPartSelector",
                                                                "ChunkScanLineSelector",
                                                                "ChunkEncoderValue"};

const char* const kFloatNames[ChunkData::FloatItemCount] = {"ChunkExposureTime",
                                                            "ChunkCompressionRatio",
                                                            "ChunkGain",
                                                            "ChunkBlackLevel",
                                                            "ChunkTimerValue",
                                                            "ChunkScan3dCoordinateScale",
                                                            "ChunkScan3dCoordinateOffset",
                                                            "ChunkScan3dCoordinateReferenceValue",
                                                            "ChunkScan3dInvalidDataValue",
                                                            "ChunkScan3dAxisMin",
                                                            "ChunkScan3dAxisMax",
                                                            "ChunkScan3dTransformValue"};

[[noreturn]] void RaiseAbsent(const SourcePosition& at, const char* name) {
    Raise(at, ORVANE_ERR_NO_DATA,
          std::string("ChunkData: the image carries no ") + name +
              " chunk (chunk mode off, the chunk not enabled, or the camera does not have it)");
}

} // namespace

ChunkData::ChunkData() {
    for (int64_t& v : m_integers) v = 0;
    for (double& v : m_floats) v = 0.0;
}

bool ChunkData::IsPresent(IntegerItem item) const {
    return item >= 0 && item < IntegerItemCount && (m_integerPresent >> item & 1u);
}

bool ChunkData::IsPresent(FloatItem item) const {
    return item >= 0 && item < FloatItemCount && (m_floatPresent >> item & 1u);
}

int64_t ChunkData::GetIntegerValue(IntegerItem item) const {
    if (item < 0 || item >= IntegerItemCount)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE,
                  "ChunkData: integer item " + std::to_string(static_cast<int>(item)) + " does not exist");
    if (!(m_integerPresent >> item & 1u)) RaiseAbsent(ORV_HERE, kIntegerNames[item]);
    return m_integers[item];
}

double ChunkData::GetFloatValue(FloatItem item) const {
    if (item < 0 || item >= FloatItemCount)
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE,
                  "ChunkData: float item " + std::to_string(static_cast<int>(item)) + " does not exist");
    if (!(m_floatPresent >> item & 1u)) RaiseAbsent(ORV_HERE, kFloatNames[item]);
    return m_floats[item];
}

const char* ChunkData::GetName(IntegerItem item) {
    return item >= 0 && item < IntegerItemCount ? kIntegerNames[item] : nullptr;
}

const char* ChunkData::GetName(FloatItem item) {
    return item >= 0 && item < FloatItemCount ? kFloatNames[item] : nullptr;
}

#define ORV_INT_GETTER(Name)                                                                \
    int64_t ChunkData::Get##Name() const {                                                  \
        if (!(m_integerPresent >> (Name)&1u)) RaiseAbsent(ORV_HERE, kIntegerNames[(Name)]); \
        return m_integers[(Name)];                                                          \
    }
#define ORV_FLOAT_GETTER(Name)                                                          \
    double ChunkData::Get##Name() const {                                               \
        if (!(m_floatPresent >> (Name)&1u)) RaiseAbsent(ORV_HERE, kFloatNames[(Name)]); \
        return m_floats[(Name)];                                                        \
    }

ORV_INT_GETTER(FrameID)
ORV_INT_GETTER(OffsetX)
ORV_INT_GETTER(OffsetY)
ORV_INT_GETTER(Width)
ORV_INT_GETTER(Height)
ORV_INT_GETTER(CounterValue)
ORV_INT_GETTER(LinePitch)
ORV_INT_GETTER(LineStatusAll)
ORV_INT_GETTER(PixelDynamicRangeMax)
ORV_INT_GETTER(PixelDynamicRangeMin)
ORV_INT_GETTER(SequencerSetActive)
ORV_INT_GETTER(StreamChannelID)
ORV_INT_GETTER(Timestamp)
ORV_INT_GETTER(TimestampLatchValue)
ORV_INT_GETTER(TransferBlockID)
ORV_INT_GETTER(TransferQueueCurrentBlockCount)
ORV_INT_GETTER(PartSelector)
ORV_INT_GETTER(ScanLineSelector)
ORV_INT_GETTER(EncoderValue)

ORV_FLOAT_GETTER(ExposureTime)
ORV_FLOAT_GETTER(CompressionRatio)
ORV_FLOAT_GETTER(Gain)
ORV_FLOAT_GETTER(BlackLevel)
ORV_FLOAT_GETTER(TimerValue)
ORV_FLOAT_GETTER(Scan3dCoordinateScale)
ORV_FLOAT_GETTER(Scan3dCoordinateOffset)
ORV_FLOAT_GETTER(Scan3dCoordinateReferenceValue)
ORV_FLOAT_GETTER(Scan3dInvalidDataValue)
ORV_FLOAT_GETTER(Scan3dAxisMin)
ORV_FLOAT_GETTER(Scan3dAxisMax)
ORV_FLOAT_GETTER(Scan3dTransformValue)

#undef ORV_INT_GETTER
#undef ORV_FLOAT_GETTER

namespace internal {

void ChunkDataAccess::Clear(ChunkData& data) {
    data.m_integerPresent = 0;
    data.m_floatPresent = 0;
}

void ChunkDataAccess::SetInteger(ChunkData& data, ChunkData::IntegerItem item, int64_t value) {
    if (item < 0 || item >= ChunkData::IntegerItemCount) return;
    data.m_integers[item] = value;
    data.m_integerPresent |= 1u << item;
}

void ChunkDataAccess::SetFloat(ChunkData& data, ChunkData::FloatItem item, double value) {
    if (item < 0 || item >= ChunkData::FloatItemCount) return;
    data.m_floats[item] = value;
    data.m_floatPresent |= 1u << item;
}

} // namespace internal
} // namespace Orvane
