// The binary interface of the QuickOrv header: the size of each structure and
// the offset of named fields, the values of the enumeration constants, and
// (from the generated list of every field and constant) agreement with the
// data files field by field and constant by constant.
#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "OrvaneC.h"
#include "QuickOrvData.h"

namespace {

constexpr size_t kHandle = sizeof(orvNodeHandle);

#define EXPECT_FIELD(structure, field, index) EXPECT_EQ(offsetof(structure, field), size_t(index) * kHandle) << #field

TEST(QuickOrvLayout, StructureSizes) {
    EXPECT_EQ(kHandle, 8u);
    EXPECT_EQ(sizeof(quickOrv), 674 * kHandle);
    EXPECT_EQ(sizeof(quickOrvTLSystem), 27 * kHandle);
    EXPECT_EQ(sizeof(quickOrvTLInterface), 54 * kHandle);
    EXPECT_EQ(sizeof(quickOrvTLDevice), 44 * kHandle);
    EXPECT_EQ(sizeof(quickOrvTLStream), 44 * kHandle);
}

TEST(QuickOrvLayout, CameraFieldOffsets) {
    EXPECT_FIELD(quickOrv, LUTIndex, 0);
    EXPECT_FIELD(quickOrv, ExposureTime, 4);
    EXPECT_FIELD(quickOrv, AcquisitionMode, 11);
    EXPECT_FIELD(quickOrv, TriggerMode, 17);
    EXPECT_FIELD(quickOrv, DeviceSerialNumber, 61);
    EXPECT_FIELD(quickOrv, GainAuto, 171);
    EXPECT_FIELD(quickOrv, Gain, 173);
    EXPECT_FIELD(quickOrv, BlackLevel, 176);
    EXPECT_FIELD(quickOrv, UserSetSelector, 190);
    EXPECT_FIELD(quickOrv, ChunkModeActive, 237);
    EXPECT_FIELD(quickOrv, Width, 267);
    EXPECT_FIELD(quickOrv, OffsetX, 280);
    EXPECT_FIELD(quickOrv, Height, 290);
    EXPECT_FIELD(quickOrv, PixelFormat, 292);
    EXPECT_FIELD(quickOrv, V3_3Enable, 299);
    EXPECT_FIELD(quickOrv, TestPendingAck, 635);
    EXPECT_FIELD(quickOrv, aPAUSEMACCtrlFramesTransmitted, 655);
    EXPECT_FIELD(quickOrv, ChunkInferenceBoundingBoxResult, 673);
}

TEST(QuickOrvLayout, TransportLayerFieldOffsets) {
    EXPECT_FIELD(quickOrvTLSystem, TLID, 0);
    EXPECT_FIELD(quickOrvTLSystem, InterfaceID, 17);
    EXPECT_FIELD(quickOrvTLSystem, GEVAutoAssignIPEnable, 26);
    EXPECT_FIELD(quickOrvTLInterface, InterfaceID, 0);
    EXPECT_FIELD(quickOrvTLInterface, DeviceSelector, 25);
    EXPECT_FIELD(quickOrvTLInterface, GevDeviceMACAddress, 34);
    EXPECT_FIELD(quickOrvTLInterface, HostAdapterDriverVersion, 53);
    EXPECT_FIELD(quickOrvTLDevice, DeviceID, 0);
    EXPECT_FIELD(quickOrvTLDevice, DeviceType, 7);
    EXPECT_FIELD(quickOrvTLDevice, GevCCP, 17);
    EXPECT_FIELD(quickOrvTLDevice, DevicePortId, 43);
    EXPECT_FIELD(quickOrvTLStream, StreamID, 0);
    EXPECT_FIELD(quickOrvTLStream, StreamBufferHandlingMode, 7);
    EXPECT_FIELD(quickOrvTLStream, StreamLostFrameCount, 14);
    EXPECT_FIELD(quickOrvTLStream, StreamBlockTransferSize, 43);
}

// Written out by hand, one or more from many features, odd spellings included.
TEST(QuickOrvLayout, ConstantValues) {
    EXPECT_EQ(LUTSelector_LUT1, 0);
    EXPECT_EQ(TriggerSource_Software, 0);
    EXPECT_EQ(TriggerSource_Line0, 1);
    EXPECT_EQ(TriggerSource_Action0, 15);
    EXPECT_EQ(TriggerMode_Off, 0);
    EXPECT_EQ(TriggerMode_On, 1);
    EXPECT_EQ(EventNotification_On, 0);
    EXPECT_EQ(EventNotification_Off, 1);
    EXPECT_EQ(AcquisitionMode_Continuous, 0);
    EXPECT_EQ(AcquisitionMode_SingleFrame, 1);
    EXPECT_EQ(AcquisitionMode_MultiFrame, 2);
    EXPECT_EQ(SensorShutterMode_GlobalReset, 2);
    EXPECT_EQ(AutoExposureMeteringMode_HistgramPeak, 4);
    EXPECT_EQ(DeviceTapGeometry_Geometry_2X_1Y2Geometry_2XE_1Y, 4);
    EXPECT_EQ(DeviceTapGeometry_Geometry_2X2E_1YGeometry_2X2M_1Y, 22);
    EXPECT_EQ(DeviceTapGeometry_Geometry_10X, 44);
    EXPECT_EQ(PixelFormat_Mono8, 0);
    EXPECT_EQ(PixelFormat_BayerRG8, 4);
    EXPECT_EQ(PixelFormat_Mono12p, 19);
    EXPECT_EQ(PixelFormat_YCbCr601_422_8_CbYCrY, 204);
    EXPECT_EQ(PixelFormat_JPEGColor8, 244);
    EXPECT_EQ(PixelFormat_GB12, 252);
    EXPECT_EQ(GevIEEE1588ClockAccuracy_Unknown, 0);
    EXPECT_EQ(DeviceType_Peripheral, 3);
    EXPECT_EQ(GevCCP_ControlAccess, 2);
    EXPECT_EQ(RgbTransformLightSource_Custom, 7);
    EXPECT_EQ(ColorTransformationValueSelector_Offset2, 11);
    EXPECT_EQ(ExposureTimeSelector_Stage2, 10);
    EXPECT_EQ(LogicBlockLUTInputSource_AcquisitionActive, 18);
    EXPECT_EQ(TimerTriggerSource_LinkTrigger2, 43);
    EXPECT_EQ(Scan3dOutputMode_DisparityC_Linescan, 10);
    EXPECT_EQ(ChunkScan3dCoordinateReferenceSelector_TranslationZ, 5);
    EXPECT_EQ(GevGVCPExtendedStatusCodesSelector_Version2_0, 1);
    EXPECT_EQ(ClConfiguration_EightyBit, 4);
    EXPECT_EQ(CxpLinkConfigurationStatus_CXP6_X6, 31);
    EXPECT_EQ(CxpPoCxpStatus_Tripped, 2);
    // One C enumeration type per feature.
    AcquisitionModeEnum mode = AcquisitionMode_SingleFrame;
    PixelFormatEnum format = PixelFormat_BayerRG8;
    EXPECT_EQ(mode + format, 5);
}

// Plain data (constant-initialised tables): the lists are long.
struct Constant {
    const char* feature;
    const char* entry;
    long value;
};

struct Field {
    const char* structure;
    const char* name;
    size_t offset;
};

// The generated list, expanded once for the fields and once for the constants.
#define QUICKORV_FIELD(structure, field) {#structure, #field, offsetof(structure, field)},
#define QUICKORV_CONSTANT(feature, entry)
const Field kFields[] = {
#include "QuickOrvChecks.inc"
};
#undef QUICKORV_FIELD
#undef QUICKORV_CONSTANT
#define QUICKORV_FIELD(structure, field)
#define QUICKORV_CONSTANT(feature, entry) {#feature, #entry, static_cast<long>(feature##_##entry)},
const Constant kConstants[] = {
#include "QuickOrvChecks.inc"
};

TEST(QuickOrvLayout, EveryFieldAtItsIndex) {
    const std::map<std::string, std::string> files = {{"quickOrv", "camera_fields.txt"},
                                                      {"quickOrvTLSystem", "tl_system_fields.txt"},
                                                      {"quickOrvTLInterface", "tl_interface_fields.txt"},
                                                      {"quickOrvTLDevice", "tl_device_fields.txt"},
                                                      {"quickOrvTLStream", "tl_stream_fields.txt"}};
    std::map<std::string, std::vector<const Field*>> byStructure;
    for (const Field& f : kFields) byStructure[f.structure].push_back(&f);
    ASSERT_EQ(byStructure.size(), 5u);
    size_t total = 0;
    for (const auto& s : byStructure) {
        const std::vector<std::string> names = QuickOrvDataLines(files.at(s.first));
        ASSERT_EQ(s.second.size(), names.size()) << s.first;
        for (size_t i = 0; i < names.size(); ++i) {
            EXPECT_EQ(std::string(s.second[i]->name), names[i]) << s.first << " " << i;
            EXPECT_EQ(s.second[i]->offset, i * kHandle) << s.first << "." << names[i];
        }
        total += names.size();
    }
    EXPECT_EQ(total, 674u + 27u + 54u + 44u + 44u);
}

TEST(QuickOrvLayout, EveryConstantIsItsPosition) {
    std::vector<std::pair<std::string, std::vector<std::string>>> features;
    for (const std::string& line : QuickOrvDataLines("enumerations.txt")) {
        const size_t colon = line.find(':');
        ASSERT_NE(colon, std::string::npos) << line;
        std::istringstream head(line.substr(0, colon)), words(line.substr(colon + 1));
        std::string name, count;
        head >> name >> count;
        std::vector<std::string> entries;
        for (std::string w; words >> w;) entries.push_back(w);
        EXPECT_EQ(count, "(" + std::to_string(entries.size()) + ")") << name;
        features.emplace_back(name, entries);
    }
    ASSERT_EQ(features.size(), 181u);
    size_t row = 0;
    for (const auto& f : features) {
        for (size_t i = 0; i < f.second.size(); ++i, ++row) {
            ASSERT_LT(row, sizeof kConstants / sizeof kConstants[0]);
            EXPECT_EQ(std::string(kConstants[row].feature), f.first) << row;
            EXPECT_EQ(std::string(kConstants[row].entry), f.second[i]) << row;
            EXPECT_EQ(kConstants[row].value, static_cast<long>(i)) << f.first << "_" << f.second[i];
        }
    }
    EXPECT_EQ(row, 1488u);
    EXPECT_EQ(sizeof kConstants / sizeof kConstants[0], 1488u);
}

} // namespace
