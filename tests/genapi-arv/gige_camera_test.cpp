// Camera control and node operations on arv-fake-gv-camera-0.8 over loopback.
// Every case runs in a private network namespace (tests/tools/netns-run) with
// a fake camera of its own, started by the fixture and stopped by its pid.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using orvtest::CodeOf;

class GigECameraTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        StartFake();
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) {
            CameraList cameras = system->GetCameras();
            for (unsigned i = 0; i < cameras.GetSize(); ++i)
                if (cameras[i]->GetTransport() == "GigEVision") camera = cameras[i];
        }
        ASSERT_TRUE(camera) << "the fake GigE Vision camera was not discovered";
        EXPECT_EQ(camera->GetAddress(), "127.0.0.1");
    }

    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        if (system) system->ReleaseInstance();
        StopFake();
    }

    void StartFake() {
        fake = fork();
        ASSERT_GE(fake, 0);
        if (fake == 0) {
            execlp("arv-fake-gv-camera-0.8", "arv-fake-gv-camera-0.8", "-i", "127.0.0.1", static_cast<char*>(nullptr));
            _exit(127);
        }
    }

    void StopFake() {
        if (fake <= 0) return;
        kill(fake, SIGTERM);
        int status = 0;
        waitpid(fake, &status, 0);
        fake = -1;
    }

    pid_t fake = -1;
    SystemPtr system;
    CameraPtr camera;
};

TEST_F(GigECameraTest, NodeOperationsOverTheNetwork) {
    camera->Init();
    EXPECT_EQ(camera->GetAccessMode(), RW);
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr width(map.GetNode("Width"));
    width->SetValue(320);
    EXPECT_EQ(width->GetValue(false, true), 320);
    EXPECT_EQ(CodeOf([&] { width->SetValue(100000); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(width->GetValue(false, true), 320);
    CEnumerationPtr format(map.GetNode("PixelFormat"));
    NodeList_t entries;
    format->GetEntries(entries);
    ASSERT_GE(entries.size(), 2u);
    EXPECT_EQ(entries[0]->GetName(), "EnumEntry_PixelFormat_BayerBG8"); // document order
    format->FromString("Mono16");
    EXPECT_EQ(format->ToString(), "Mono16");
    EXPECT_EQ(CIntegerPtr(map.GetNode("PayloadSize"))->GetValue(),
              320 * CIntegerPtr(map.GetNode("Height"))->GetValue() * 2);
    EXPECT_EQ(map.GetNode("ArvGevSCPSPacketSize"), nullptr); // Aravis's own nodes stay hidden
    CCommandPtr(map.GetNode("AcquisitionStop"))->Execute();
    EXPECT_TRUE(CCommandPtr(map.GetNode("AcquisitionStop"))->IsDone());
    uint8_t be[4] = {0};
    camera->ReadPort(0x100, be, 4); // the Width register
    EXPECT_EQ((be[2] << 8) | be[3], 320);
    EXPECT_NE(camera->GetGuiXml().str().find("RegisterDescription"), std::string::npos);
}

TEST_F(GigECameraTest, PortAccessesStayInsideThe32BitAddressSpace) {
    camera->Init();
    const std::string id = camera->GetDeviceID().str();
    uint8_t bytes[16];
    std::memset(bytes, 0xA5, sizeof bytes);
    // Above 32 bits the address would be cut and reach another register.
    EXPECT_EQ(orvtest::Failure([&] { camera->ReadPort(0x100000100ull, bytes, 4); }),
              std::make_pair(int(ORVANE_ERR_OUT_OF_RANGE),
                             "camera " + id +
                                 ": reading 4 bytes at 0x100000100 is outside the device's address space (0x0 to "
                                 "0xffffffff)"));
    EXPECT_EQ(CodeOf([&] { camera->ReadPort(0xFFFFFFFCull, bytes, 8); }), ORVANE_ERR_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { camera->WritePort(0xFFFFFFFFFFFFFFF0ull, bytes, 16); }), ORVANE_ERR_OUT_OF_RANGE);
    for (uint8_t b : bytes) EXPECT_EQ(b, 0xA5);
    CPortPtr port(camera->GetNodeMap().GetNode("Device"));
    ASSERT_TRUE(port.IsValid());
    EXPECT_EQ(CodeOf([&] { port->Read(bytes, 0x100000100ll, 4); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    EXPECT_EQ(CodeOf([&] { port->Write(bytes, 0xFFFFFFFEll, 4); }), ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    for (uint8_t b : bytes) EXPECT_EQ(b, 0xA5);
    // The Width register still reads as the node does.
    camera->ReadPort(0x100, bytes, 4);
    EXPECT_EQ((int64_t(bytes[0]) << 24) | (bytes[1] << 16) | (bytes[2] << 8) | bytes[3],
              CIntegerPtr(camera->GetNodeMap().GetNode("Width"))->GetValue());
}

TEST_F(GigECameraTest, TransportLayerDeviceNodeMap) {
    INodeMap& tl = camera->GetTLDeviceNodeMap();
    CIntegerPtr ip(tl.GetNode("GevDeviceIPAddress"));
    EXPECT_EQ(ip->GetValue(), 0x7F000001);
    EXPECT_EQ(ip->ToString(), "127.0.0.1");
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("DeviceType"))->ToString(), "GigEVision");
    EXPECT_TRUE(CBooleanPtr(tl.GetNode("GevDeviceModeIsBigEndian"))->GetValue());
    EXPECT_EQ(tl.GetNode("GevDeviceSubnetMask")->GetAccessMode(), NA); // needs the open device
    EXPECT_EQ(tl.GetNode("GevDeviceDiscoverMaximumPacketSize")->GetAccessMode(), NA);
    camera->Init();
    EXPECT_EQ(tl.GetNode("GevDeviceSubnetMask")->GetAccessMode(), RO);
    // The device's own registers (the fake leaves subnet and version at 0).
    uint8_t reg[4] = {0};
    camera->ReadPort(0x0634, reg, 4); // current subnet mask
    EXPECT_EQ(CIntegerPtr(tl.GetNode("GevDeviceSubnetMask"))->GetValue(),
              (int64_t(reg[0]) << 24) | (reg[1] << 16) | (reg[2] << 8) | reg[3]);
    camera->ReadPort(0x0000, reg, 4); // version
    EXPECT_EQ(CIntegerPtr(tl.GetNode("GevVersionMajor"))->GetValue(), (reg[0] << 8) | reg[1]);
    EXPECT_EQ(CIntegerPtr(tl.GetNode("GevVersionMinor"))->GetValue(), (reg[2] << 8) | reg[3]);
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("GevCCP"))->ToString(), "ControlAccess");
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("DeviceAccessStatus"))->ToString(), "OpenReadWrite");
    EXPECT_EQ(CEnumerationPtr(tl.GetNode("GenICamXMLLocation"))->ToString(), "Device");
    // The fake cannot send test packets: its current size stays (the loopback MTU carries it).
    const unsigned size = camera->DiscoverMaxPacketSize();
    EXPECT_EQ(size, 1400u);
    EXPECT_EQ(CIntegerPtr(tl.GetNode("GevDeviceMaximumPacketSize"))->GetValue(), 1400);
    CCommandPtr(tl.GetNode("GevDeviceDiscoverMaximumPacketSize"))->Execute();
    EXPECT_EQ(CIntegerPtr(tl.GetNode("GevDeviceMaximumPacketSize"))->GetValue(), 1400);
    INodeMap& stream = camera->GetTLStreamNodeMap();
    EXPECT_EQ(CEnumerationPtr(stream.GetNode("StreamType"))->ToString(), "GigEVision");
    EXPECT_TRUE(CBooleanPtr(stream.GetNode("StreamPacketResendEnable"))->GetValue());
}

TEST_F(GigECameraTest, LosingTheDeviceInvalidatesTheCamera) {
    camera->Init();
    EXPECT_TRUE(camera->IsValid());
    StopFake();
    bool valid = true;
    for (int i = 0; i < 150 && valid; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        valid = camera->IsValid();
    }
    EXPECT_FALSE(valid);
    EXPECT_EQ(camera->GetAccessMode(), NA);
    camera->DeInit();
    EXPECT_FALSE(camera->IsInitialized());
}

TEST_F(GigECameraTest, AnUnreachableCameraFailsToInitInWords) {
    StopFake();
    try {
        camera->Init();
        FAIL() << "Init succeeded without a device";
    } catch (const Exception& e) {
        EXPECT_EQ(e.GetError(), ORVANE_ERR_NOT_AVAILABLE);
        EXPECT_NE(std::string(e.GetErrorMessage()).find("127.0.0.1"), std::string::npos) << e.GetErrorMessage();
    }
    EXPECT_FALSE(camera->IsInitialized());
}

} // namespace
