// orvctl and QuickOrv on the virtual camera, run as a separate process: grab's
// pixel format, exposure and gain set through the QuickOrv structure and the
// C constants, and `orvctl enum` with and without a camera.
#include "OrvctlRun.h"

namespace {

using namespace orvctltest;

class OrvctlQuickOrv : public OrvctlProcess {};

TEST_F(OrvctlQuickOrv, GrabSetsPixelFormatExposureAndGain) {
    RunResult run = Orvctl({"grab", "VC0001", "-n", "2", "--pixel-format", "BayerRG8", "--exposure", "5000", "--gain",
                            "3.5", "--chunks", "--stats"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    ASSERT_EQ(run.out.size(), 8u);
    for (int k = 1; k <= 2; ++k) {
        const std::string frame = "frame " + std::to_string(k) + ": ";
        EXPECT_TRUE(
            Matches(run.out[2 * k - 1], frame + "chunks ChunkFrameID=" + std::to_string(k) +
                                            " ChunkTimestamp=<n> ChunkWidth=1280 ChunkHeight=960 "
                                            "ChunkOffsetX=0 ChunkOffsetY=0 ChunkExposureTime=5000 ChunkGain=3.5"))
            << run.out[2 * k - 1];
        EXPECT_EQ(run.out[2 * k].rfind(frame + "stats BayerRG8 red ", 0), 0u) << run.out[2 * k];
    }
    EXPECT_EQ(run.out[5], "2 frames, 0 incomplete, 0 lost, frame ids 1 to 2");

    // Three bytes a pixel: the RGB8 entry was selected.
    run = Orvctl({"grab", "VC0001", "-n", "2", "--pixel-format", "RGB8", "--exposure", "20000"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), 3u);
    std::vector<std::string> numbers;
    ASSERT_TRUE(Matches(run.out[1], "<f> fps, <f> MB/s (<n> bytes in <f> s)", &numbers)) << run.out[1];
    EXPECT_EQ(numbers[2], std::to_string(2 * 1280 * 960 * 3));
}

TEST_F(OrvctlQuickOrv, GrabExplainsRefusedStandardSettings) {
    RunResult run = Orvctl({"grab", "VC0001", "--exposure", "5"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.empty());
    EXPECT_EQ(run.err,
              "orvctl: setting ExposureTime to 5 failed: value outside the feature's range or increment (-2004)\n"
              "orvctl: ExposureTime accepts 10 to 1e+06\n");
    run = Orvctl({"grab", "VC0001", "--gain", "30"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "orvctl: setting Gain to 30 failed: value outside the feature's range or increment (-2004)\n"
              "orvctl: Gain accepts 0 to 24\n");
    // A format with a constant that this camera does not offer.
    run = Orvctl({"grab", "VC0001", "--pixel-format", "YCbCr8"});
    EXPECT_EQ(run.status, 1);
    const std::vector<std::string> err = Lines(run.err);
    ASSERT_EQ(err.size(), 2u);
    EXPECT_EQ(err[0], "orvctl: the camera's PixelFormat has no entry YCbCr8");
    EXPECT_EQ(err[1].rfind("orvctl: PixelFormat accepts: Mono8 Mono10 ", 0), 0u) << err[1];
}

TEST_F(OrvctlQuickOrv, EnumListsTheFeaturesWithConstants) {
    const RunResult run = Orvctl({"enum"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), 182u);
    EXPECT_EQ(run.out[0], "181 enumeration features have C constants (<Feature>_<Entry>, numbered from 0):");
    EXPECT_EQ(run.out[1], "  LUTSelector                                1");
    EXPECT_EQ(run.out[81], "  PixelFormat                              253");
    EXPECT_EQ(run.out[181], "  CxpPoCxpStatus                             3");
}

TEST_F(OrvctlQuickOrv, EnumListsAFeaturesConstants) {
    RunResult run = Orvctl({"enum", "AcquisitionMode"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, (std::vector<std::string>{
                           "AcquisitionMode: 3 constants (AcquisitionModeEnum)", "  AcquisitionMode_Continuous = 0",
                           "  AcquisitionMode_SingleFrame = 1", "  AcquisitionMode_MultiFrame = 2"}));
    run = Orvctl({"enum", "DeviceTapGeometry"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), 46u);
    EXPECT_EQ(run.out[5], "  DeviceTapGeometry_Geometry_2X_1Y2Geometry_2XE_1Y = 4");
    EXPECT_EQ(run.out[45], "  DeviceTapGeometry_Geometry_10X = 44");
}

TEST_F(OrvctlQuickOrv, EnumOnACameraShowsItsEntriesBesideTheConstants) {
    RunResult run = Orvctl({"enum", "AcquisitionMode", "VC0001"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              (std::vector<std::string>{"AcquisitionMode on VC0001: 3 constants, 3 device entries, current Continuous",
                                        "  AcquisitionMode_Continuous = 0   Continuous (device value 3)  current",
                                        "  AcquisitionMode_SingleFrame = 1  SingleFrame (device value 1)",
                                        "  AcquisitionMode_MultiFrame = 2   MultiFrame (device value 2)"}));
    // Entries the camera lacks are dashes; its own extra entries come last.
    run = Orvctl({"enum", "DeviceType", "VC0001"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              (std::vector<std::string>{"DeviceType on VC0001: 4 constants, 1 device entries, current Transmitter",
                                        "  DeviceType_Transmitter = 0  Transmitter (device value 1)  current",
                                        "  DeviceType_Receiver = 1     -", "  DeviceType_Transceiver = 2  -",
                                        "  DeviceType_Peripheral = 3   -"}));
    run = Orvctl({"enum", "TriggerSource", "VC0001"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), 22u);
    EXPECT_EQ(run.out[0], "TriggerSource on VC0001: 16 constants, 21 device entries, current Software");
    EXPECT_EQ(run.out[2], "  TriggerSource_Line0 = 1           Line0 (device value 16)");
    EXPECT_EQ(run.out[17], "  (no constant)                     Timer0End (device value 72)");
}

TEST_F(OrvctlQuickOrv, EnumRefusals) {
    RunResult run = Orvctl({"enum", "TestPatternX"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "orvctl enum: 'TestPatternX' has no C constants (`orvctl enum` lists the features that have)\n");
    run = Orvctl({"enum", "PixelFormat", "VC0001", "extra"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "usage: orvctl enum [FEATURE [SERIAL]]\n");
    run = Orvctl({"enum", "DeviceTapGeometry", "VC0001"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "orvctl: the camera has no feature 'DeviceTapGeometry'\n");
    EXPECT_TRUE(run.out.empty());
    run = Orvctl({"enum", "PixelFormat", "VC0009"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "orvctl: no camera has the serial number 'VC0009' (see `orvctl list`)\n");
}

TEST_F(OrvctlQuickOrv, HelpListsEnum) {
    const RunResult run = Orvctl({"--help"});
    ASSERT_EQ(run.status, 0);
    EXPECT_NE(std::find(run.out.begin(), run.out.end(),
                        "  enum       list the C constants of a standard enumeration feature, and a camera's entries "
                        "beside them"),
              run.out.end());
}

} // namespace
