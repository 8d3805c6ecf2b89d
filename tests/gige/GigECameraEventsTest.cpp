// Device events and action commands of a GigE Vision camera through the
// public SDK (System, Camera, DeviceEventHandler), against the device
// simulator: ExposureEnd events reach the handler on the camera's event
// thread with their name, ID, payload and Event* data nodes; a burst of a
// thousand loses none; garbage on the message channel changes nothing; the
// system's action command collects the simulator's acknowledgement. Every
// case runs in its own private network namespace, with the GigE Vision
// transport only.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "../tools/GvSim.h"
#include "Orvane/ActionCommand.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

struct Seen {
    std::string name;
    uint64_t id = 0;
    size_t payloadSize = 0;
    uint64_t payloadFrameId = 0; // the payload's second big-endian 64-bit word
    int64_t frameIdNode = -1;    // EventExposureEndFrameID read inside the call
    bool onCallerThread = false;
};

class Recorder : public DeviceEventHandler {
public:
    explicit Recorder(CameraPtr camera) : m_camera(std::move(camera)) {}

    void OnDeviceEvent(GenICam::gcstring eventName) override {
        Seen seen;
        seen.name = eventName.c_str();
        seen.id = GetDeviceEventID();
        seen.payloadSize = GetEventPayloadDataSize();
        const uint8_t* data = GetEventPayloadData();
        if (data && seen.payloadSize >= 16)
            for (size_t i = 8; i < 16; ++i) seen.payloadFrameId = (seen.payloadFrameId << 8) | data[i];
        seen.onCallerThread = std::this_thread::get_id() == caller;
        if (readNodes) {
            CIntegerPtr frameId = m_camera->GetNodeMap().GetNode("EventExposureEndFrameID");
            seen.frameIdNode = frameId->GetValue();
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        m_seen.push_back(seen);
        m_changed.notify_all();
    }

    bool WaitFor(size_t count, std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_seen.size() >= count; });
    }
    std::vector<Seen> Calls() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_seen;
    }

    std::thread::id caller = std::this_thread::get_id();
    bool readNodes = true;

private:
    CameraPtr m_camera;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Seen> m_seen;
};

class GigECameraEvents : public ::testing::Test {
protected:
    void Start(const std::string& serial, const std::vector<std::string>& simArguments = {}) {
        setenv("ORVANE_TRANSPORTS", "gige", 1);
        sim.reset(new GvSim("127.0.0.2", serial, simArguments));
        system = System::GetInstance();
        for (int attempt = 0; attempt < 5 && !camera; ++attempt) camera = system->GetCameras().GetBySerial(serial);
        ASSERT_TRUE(camera) << "the simulator was not discovered";
        camera->Init();
    }
    void Notify(const char* event) {
        CEnumerationPtr selector = camera->GetNodeMap().GetNode("EventSelector");
        selector->FromString(event);
        CEnumerationPtr notification = camera->GetNodeMap().GetNode("EventNotification");
        notification->FromString("On");
    }
    void TearDown() override {
        if (camera && recorder) camera->UnregisterEventHandler(*recorder);
        recorder.reset();
        if (camera) camera->DeInit();
        camera = nullptr;
        if (system) system->ReleaseInstance();
        sim.reset();
    }

    std::unique_ptr<GvSim> sim;
    SystemPtr system;
    CameraPtr camera;
    std::unique_ptr<Recorder> recorder;
};

} // namespace

TEST_F(GigECameraEvents, ExposureEndReachesTheHandlerWithNameIdPayloadAndDataNodes) {
    Start("SIMCE1");
    recorder.reset(new Recorder(camera));
    camera->RegisterEventHandler(*recorder, "ExposureEnd");
    Notify("ExposureEnd");
    const std::string answer = sim->Command("event ExposureEnd 3 block=40 gated=1");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "3") << answer;
    ASSERT_TRUE(recorder->WaitFor(3, std::chrono::seconds(5)));
    const std::vector<Seen> calls = recorder->Calls();
    ASSERT_EQ(calls.size(), 3u);
    for (size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].name, "ExposureEnd");
        EXPECT_EQ(calls[i].id, 0x9001u);
        EXPECT_EQ(calls[i].payloadSize, 16u);
        EXPECT_EQ(calls[i].payloadFrameId, 40u + i);
        EXPECT_EQ(calls[i].frameIdNode, static_cast<int64_t>(40 + i));
        EXPECT_FALSE(calls[i].onCallerThread);
    }
}

TEST_F(GigECameraEvents, EventsStayOffUntilTheirNotificationIsOn) {
    Start("SIMCE2");
    recorder.reset(new Recorder(camera));
    camera->RegisterEventHandler(*recorder, "ExposureEnd");
    // The device sends nothing while EventNotification is Off.
    const std::string answer = sim->Command("event ExposureEnd 2 gated=1");
    EXPECT_EQ(GvSim::Field(answer, "sent"), "0") << answer;
    Notify("ExposureEnd");
    sim->Command("event ExposureEnd 1 block=7 gated=1");
    ASSERT_TRUE(recorder->WaitFor(1, std::chrono::seconds(5)));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::vector<Seen> calls = recorder->Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].frameIdNode, 7);
}

TEST_F(GigECameraEvents, ABurstOfAThousandLosesNoneAndGarbageChangesNothing) {
    Start("SIMCE3");
    recorder.reset(new Recorder(camera));
    recorder->readNodes = false;
    camera->RegisterEventHandler(*recorder, "ExposureEnd");
    Notify("ExposureEnd");
    const std::string burst = sim->Command("event ExposureEnd 1000 block=1", 120000);
    EXPECT_EQ(GvSim::Field(burst, "sent"), "1000") << burst;
    ASSERT_TRUE(recorder->WaitFor(1000, std::chrono::seconds(30)));
    const std::string garbage = sim->Command("garbage");
    EXPECT_EQ(GvSim::Field(garbage, "replies"), "0") << garbage;
    sim->Command("event ExposureEnd 1 block=5000");
    ASSERT_TRUE(recorder->WaitFor(1001, std::chrono::seconds(5)));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::vector<Seen> calls = recorder->Calls();
    ASSERT_EQ(calls.size(), 1001u);
    for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(calls[i].payloadFrameId, 1 + i) << i;
    EXPECT_EQ(calls[1000].payloadFrameId, 5000u);
}

TEST_F(GigECameraEvents, TheSystemsActionCommandCollectsTheAcknowledgement) {
    Start("SIMCE4", {"--action-device-key", "0x11", "--action-group-key", "0x22", "--action-group-mask", "0x6"});
    // The camera is open (its connection controls the device): it acts.
    unsigned int count = 4;
    ActionCommandResult results[4] = {};
    system->SendActionCommand(0x11, 0x22, 0x2, ActionTimeImmediate, true, &count, results);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(results[0].DeviceAddress, 0x7F000002u);
    EXPECT_EQ(results[0].Status, 0u);
    const std::vector<std::string> actions = GvSim::Lines(sim->Command("actions"));
    ASSERT_EQ(actions.size(), 1u);
    EXPECT_NE(actions[0].find("result=fired"), std::string::npos) << actions[0];

    // A group mask sharing no bit with the device's: no acknowledgement.
    count = 4;
    system->SendActionCommand(0x11, 0x22, 0x1, ActionTimeImmediate, true, &count, results);
    EXPECT_EQ(count, 0u);
}
