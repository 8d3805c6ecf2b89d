// Records of camera and acquisition events on a virtual camera: opening,
// acquisition start and stop, closing, loss, and errors, each with its
// category, priority, thread name and timestamp; and nothing of it at the
// default level.
#include <gtest/gtest.h>

#include <arv.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "LogCollector.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "SdkError.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "logging/ThreadName.h"
#include "transport/DeviceConnection.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using logtest::Record;
using logtest::ScopedCollector;

namespace {

const char* const kCamera = "Orvane-VirtualCamera-VC0001";

class LoggingVirtualTest : public ::testing::Test {
protected:
    void SetUp() override {
        internal::SetThreadName("orv-test-main");
        system = System::GetInstance();
        CameraList cameras = system->GetCameras();
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
    }
    void TearDown() override {
        if (camera && camera->IsInitialized()) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }
    // Init, a short acquisition of three images, DeInit.
    void RunCamera() {
        camera->Init();
        CIntegerPtr(camera->GetNodeMap().GetNode("Width"))->SetValue(64);
        CIntegerPtr(camera->GetNodeMap().GetNode("Height"))->SetValue(16);
        CEnumerationPtr(camera->GetNodeMap().GetNode("PixelFormat"))->FromString("Mono8");
        CIntegerPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferCountManual"))->SetValue(4);
        CEnumerationPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferCountMode"))->FromString("Manual");
        CEnumerationPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferHandlingMode"))->FromString("OldestFirst");
        camera->BeginAcquisition();
        for (int i = 0; i < 3; ++i) camera->GetNextImage(5000)->Release();
        camera->EndAcquisition();
        camera->DeInit();
    }

    SystemPtr system;
    CameraPtr camera;
};

TEST_F(LoggingVirtualTest, CameraAndAcquisitionEventsAreLoggedAtInfo) {
    ScopedCollector scope(LOG_LEVEL_INFO);
    RunCamera();
    std::vector<Record> records;
    for (const Record& r : scope.collector.Records())
        if (r.category == "Orvane.Camera" || r.category == "Orvane.Acquisition") records.push_back(r);
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0].category, "Orvane.Camera");
    EXPECT_EQ(records[0].message,
              std::string("camera ") + kCamera + " opened (Orvane Virtual Camera, serial VC0001, Virtual at local)");
    EXPECT_EQ(records[1].category, "Orvane.Acquisition");
    EXPECT_EQ(records[1].message, std::string("camera ") + kCamera +
                                      ": acquisition started (4 buffers of 1024 bytes, buffer handling OldestFirst)");
    EXPECT_EQ(records[2].category, "Orvane.Acquisition");
    EXPECT_EQ(records[2].message, std::string("camera ") + kCamera +
                                      ": acquisition stopped (3 images delivered, 0 frames lost, 0 incomplete, 0 "
                                      "dropped by the buffer handling)");
    EXPECT_EQ(records[3].category, "Orvane.Camera");
    EXPECT_EQ(records[3].message, std::string("camera ") + kCamera + " closed");
    for (const Record& r : records) {
        EXPECT_EQ(r.priority, LOG_LEVEL_INFO) << r.message;
        EXPECT_EQ(r.priorityName, "INFO");
        EXPECT_EQ(r.threadName, "orv-test-main"); // all on the caller's thread
        EXPECT_EQ(r.ndc, "");
        EXPECT_TRUE(std::regex_match(r.timestamp, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6})")))
            << r.timestamp;
    }
}

TEST_F(LoggingVirtualTest, TheDefaultLevelKeepsEventsOut) {
    ScopedCollector scope(LOG_LEVEL_ERROR);
    RunCamera();
    EXPECT_TRUE(scope.collector.Records().empty());
    LoggerWrapper::SetPriority(LOG_LEVEL_WARN);
    RunCamera();
    EXPECT_TRUE(scope.collector.Records().empty());
}

TEST_F(LoggingVirtualTest, ALostCameraIsLoggedOnTheThreadThatDetectsTheLoss) {
    ScopedCollector scope(LOG_LEVEL_WARN);
    camera->Init();
    const std::shared_ptr<internal::DeviceConnection> connection = camera->Core().Access().Connection();
    ASSERT_TRUE(connection);
    // What Aravis's heartbeat thread does when the device stops answering.
    std::thread heartbeat([&] {
        internal::SetThreadName("heartbeat");
        g_signal_emit_by_name(connection->Device(), "control-lost");
    });
    heartbeat.join();
    const std::vector<Record> records = scope.collector.Of("Orvane.Camera");
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, std::string("camera ") + kCamera + " was lost (it stopped answering its heartbeat)");
    EXPECT_EQ(records[0].priority, LOG_LEVEL_ERROR);
    EXPECT_EQ(records[0].threadName, "heartbeat");
}

TEST_F(LoggingVirtualTest, ErrorsAreLoggedUnderTheAreaThatRaisedThem) {
    ScopedCollector scope(LOG_LEVEL_ERROR);
    // The camera is not open: its device node map does not exist.
    const std::string message = orvtest::MessageOf([&] { camera->GetNodeMap(); });
    ASSERT_FALSE(message.empty());
    std::vector<Record> records = scope.collector.Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].category, "Orvane.Camera");
    EXPECT_EQ(records[0].priority, LOG_LEVEL_ERROR);
    EXPECT_NE(records[0].message.find(message), std::string::npos) << records[0].message;
    EXPECT_EQ(records[0].threadName, "orv-test-main");

    scope.collector.Clear();
    camera->Init();
    const int code = orvtest::CodeOf([&] { CIntegerPtr(camera->GetNodeMap().GetNode("Width"))->SetValue(3); });
    EXPECT_EQ(code, ORVANE_ERR_GENICAM_OUT_OF_RANGE);
    records = scope.collector.Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].category, "Orvane.GenApi");
    EXPECT_NE(records[0].message.find("Width: value 3"), std::string::npos) << records[0].message;
}

} // namespace
