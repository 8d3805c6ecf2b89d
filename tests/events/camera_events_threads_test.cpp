// Camera events on virtual cameras through the SDK: image and image list
// handlers on the delivery thread, device events on the camera's event
// thread (their data nodes and payload, their order, missed triggers, a full
// queue), registration rules, and calls that would wait for their own thread.
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/DeviceArrivalEventHandler.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageListEventHandler.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/Logging.h"
#include "Orvane/System.h"
#include "SdkError.h"

using namespace Orvane;
using namespace Orvane::GenApi;
using namespace std::chrono_literals;
using orvtest::CodeOf;
using orvtest::MessageOf;

namespace {

const char kCamera[] = "Orvane-VirtualCamera-VC0001";

std::string ThreadName() {
    char name[32] = "";
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

uint64_t BigEndian64(const uint8_t* p) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = v << 8 | p[i];
    return v;
}

// What handlers saw, awaited by the test.
struct Record {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<uint64_t> numbers;
    std::vector<std::string> texts;
    std::set<std::string> threads;
    std::vector<std::string> failures;

    void Add(std::function<void()> body) {
        std::lock_guard<std::mutex> lock(mutex);
        threads.insert(ThreadName());
        body();
        changed.notify_all();
    }
    bool WaitCount(size_t n, std::chrono::milliseconds timeout = 10s) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return numbers.size() >= n; });
    }
    size_t Count() {
        std::lock_guard<std::mutex> lock(mutex);
        return numbers.size();
    }
};

struct Images : ImageEventHandler {
    Record record;
    std::function<void(const ImagePtr&)> body; // runs before the frame is recorded
    void OnImageEvent(ImagePtr image) override {
        if (body) body(image);
        record.Add([&] { record.numbers.push_back(image->GetFrameID()); });
    }
};

struct ImageLists : ImageListEventHandler {
    Record record;
    void OnImageListEvent(ImageList list) override {
        record.Add([&] {
            record.numbers.push_back(list.GetSize() == 1 ? list[0]->GetFrameID() : 0);
            if (list.GetSize() != 1) record.failures.push_back("list of " + std::to_string(list.GetSize()));
        });
    }
};

struct Events : DeviceEventHandler {
    Record record;
    std::function<void(const std::string&)> body; // runs before the event is recorded
    void OnDeviceEvent(GenICam::gcstring eventName) override {
        const std::string name = eventName.c_str();
        if (body) body(name);
        record.Add([&] {
            record.texts.push_back(name);
            record.numbers.push_back(GetDeviceEventID());
        });
    }
};

class CameraEventsTest : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("ORVANE_VIRTUAL_CAMERAS", "2", 1);
        system = System::GetInstance();
        cameras = system->GetCameras();
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        Prepare(camera);
    }
    void TearDown() override {
        for (CameraPtr c : {camera, other}) {
            if (!c) continue;
            if (c->IsStreaming()) c->EndAcquisition();
            c->DeInit();
        }
        camera = nullptr;
        other = nullptr;
        cameras.Clear();
        system->ReleaseInstance();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }
    // Initialised, with small fast frames.
    static void Prepare(const CameraPtr& c) {
        c->Init();
        INodeMap& map = c->GetNodeMap();
        CIntegerPtr(map.GetNode("Width"))->SetValue(64);
        CIntegerPtr(map.GetNode("Height"))->SetValue(16);
        CFloatPtr(map.GetNode("ExposureTime"))->SetValue(100.0);
        CFloatPtr(map.GetNode("AcquisitionFrameRate"))->SetValue(1000.0);
    }
    INodeMap& Map(const CameraPtr& c) { return c->GetNodeMap(); }
    INodeMap& Map() { return Map(camera); }
    void SetEnum(const char* name, const char* entry, const CameraPtr& c) {
        CEnumerationPtr(Map(c).GetNode(name))->FromString(entry);
    }
    void SetEnum(const char* name, const char* entry) { SetEnum(name, entry, camera); }
    void SetInt(const char* name, int64_t v) { CIntegerPtr(Map().GetNode(name))->SetValue(v); }
    int64_t Int(const char* name, const CameraPtr& c) { return CIntegerPtr(Map(c).GetNode(name))->GetValue(); }
    int64_t Int(const char* name) { return Int(name, camera); }
    void Execute(const char* name) { CCommandPtr(Map().GetNode(name))->Execute(); }
    void MultiFrame(int64_t frames) {
        SetEnum("AcquisitionMode", "MultiFrame");
        SetInt("AcquisitionFrameCount", frames);
    }
    void Notify(const char* event, const CameraPtr& c) {
        SetEnum("EventSelector", event, c);
        SetEnum("EventNotification", "On", c);
    }
    void Notify(const char* event) { Notify(event, camera); }
    int64_t StreamInt(const char* name) { return CIntegerPtr(camera->GetTLStreamNodeMap().GetNode(name))->GetValue(); }

    SystemPtr system;
    CameraList cameras;
    CameraPtr camera;
    CameraPtr other;
};

// Image events ------------------------------------------------------------------------

TEST_F(CameraEventsTest, ImageHandlerGetsEveryFrameOnTheDeliveryThread) {
    MultiFrame(8);
    Images images;
    camera->RegisterEventHandler(images);
    camera->BeginAcquisition();
    ASSERT_TRUE(images.record.WaitCount(8));
    // The frames went to the handler: GetNextImage waits in vain.
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(300); }), ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
    std::lock_guard<std::mutex> lock(images.record.mutex);
    EXPECT_EQ(images.record.numbers, (std::vector<uint64_t>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(images.record.threads, (std::set<std::string>{"orv-deliver"}));
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 8);
    EXPECT_EQ(StreamInt("StreamReceivedFrameCount"), 8);
}

TEST_F(CameraEventsTest, UnregisteringStopsTheCallsAndGetNextImageGetsTheFrames) {
    Images images;
    camera->RegisterEventHandler(images, 0);
    camera->BeginAcquisition();
    ASSERT_TRUE(images.record.WaitCount(3));
    camera->UnregisterEventHandler(images);
    const size_t calls = images.record.Count();
    ImagePtr image = camera->GetNextImage(5000);
    EXPECT_GT(image->GetFrameID(), uint64_t(calls));
    image->Release();
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(images.record.Count(), calls);
    camera->EndAcquisition();
}

TEST_F(CameraEventsTest, HandlerReadingNodesAndConvertingTheImageDoesNotBlock) {
    MultiFrame(20);
    SetEnum("PixelFormat", "BayerRG8");
    Images images;
    ImageProcessor processor;
    std::atomic<int> converted{0};
    images.body = [&](const ImagePtr& image) {
        // The node map, the stream node map and a conversion from the delivery thread.
        if (Int("Width") != 64) images.record.failures.push_back("Width");
        CIntegerPtr(camera->GetTLStreamNodeMap().GetNode("StreamDeliveredFrameCount"))->GetValue();
        CFloatPtr(Map().GetNode("Gain"))->SetValue(1.0);
        ImagePtr rgb;
        processor.Convert(image, rgb, PixelFormat_RGB8);
        if (rgb->GetWidth() == 64 && rgb->GetHeight() == 16) ++converted;
    };
    camera->RegisterEventHandler(images);
    camera->BeginAcquisition();
    // The caller uses the node map meanwhile.
    while (images.record.Count() < 20) {
        Int("Height");
        std::this_thread::sleep_for(1ms);
        ASSERT_TRUE(images.record.WaitCount(1)); // no hang
    }
    camera->EndAcquisition();
    camera->UnregisterEventHandler(images);
    EXPECT_EQ(converted.load(), 20);
    EXPECT_TRUE(images.record.failures.empty());
}

TEST_F(CameraEventsTest, ImageListHandlerGetsOneImagePerSet) {
    MultiFrame(4);
    ImageLists lists;
    Images images;
    camera->RegisterEventHandler(lists);
    camera->RegisterEventHandler(images);
    camera->BeginAcquisition();
    ASSERT_TRUE(lists.record.WaitCount(4));
    ASSERT_TRUE(images.record.WaitCount(4));
    EXPECT_EQ(CodeOf([&] { camera->GetNextImageSync(200); }), ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
    std::lock_guard<std::mutex> lock(lists.record.mutex);
    EXPECT_EQ(lists.record.numbers, (std::vector<uint64_t>{1, 2, 3, 4}));
    EXPECT_TRUE(lists.record.failures.empty());
    EXPECT_EQ(lists.record.threads, (std::set<std::string>{"orv-deliver"}));
}

TEST_F(CameraEventsTest, HandlerUnregisteringItselfGetsNoMoreFrames) {
    Images images;
    images.body = [&](const ImagePtr&) {
        if (images.record.Count() == 1) camera->UnregisterEventHandler(images);
    };
    camera->RegisterEventHandler(images);
    camera->BeginAcquisition();
    ASSERT_TRUE(images.record.WaitCount(2));
    camera->GetNextImage(5000)->Release(); // the frames are GetNextImage's again
    EXPECT_EQ(images.record.Count(), 2u);
    EXPECT_EQ(CodeOf([&] { camera->UnregisterEventHandler(images); }), ORVANE_ERR_NOT_AVAILABLE);
}

TEST_F(CameraEventsTest, EndAcquisitionAndDeInitRefuseTheDeliveryThread) {
    MultiFrame(1);
    Images images;
    std::vector<std::pair<int, std::string>> failures;
    images.body = [&](const ImagePtr&) {
        failures.push_back(orvtest::Failure([&] { camera->EndAcquisition(); }));
        failures.push_back(orvtest::Failure([&] { camera->DeInit(); }));
    };
    camera->RegisterEventHandler(images);
    camera->BeginAcquisition();
    ASSERT_TRUE(images.record.WaitCount(1));
    EXPECT_TRUE(camera->IsStreaming());
    EXPECT_TRUE(camera->IsInitialized());
    camera->EndAcquisition();
    ASSERT_EQ(failures.size(), 2u);
    EXPECT_EQ(failures[0].first, ORVANE_ERR_INVALID_STATE);
    EXPECT_EQ(failures[0].second, std::string("camera ") + kCamera +
                                      ": EndAcquisition cannot run on the camera's delivery thread (in an image event "
                                      "handler): it waits for that thread");
    EXPECT_EQ(failures[1].first, ORVANE_ERR_INVALID_STATE);
    EXPECT_EQ(failures[1].second, std::string("camera ") + kCamera +
                                      ": DeInit cannot run on the camera's delivery thread (in an image event "
                                      "handler): it waits for that thread");
}

// Registration ----------------------------------------------------------------------

TEST_F(CameraEventsTest, RegistrationRules) {
    const std::string prefix = std::string("camera ") + kCamera;
    struct Log : LoggingEventHandler {
        void OnLogEvent(LoggingEventDataPtr) override {}
    } log;
    struct Arrival : DeviceArrivalEventHandler {
        void OnDeviceArrival(CameraPtr) override {}
    } arrival;
    for (EventHandler* wrong : {static_cast<EventHandler*>(&log), static_cast<EventHandler*>(&arrival)}) {
        EXPECT_EQ(CodeOf([&] { camera->RegisterEventHandler(*wrong); }), ORVANE_ERR_INVALID_ARGUMENT);
        EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(*wrong); }),
                  prefix +
                      ": RegisterEventHandler takes an ImageEventHandler, ImageListEventHandler or "
                      "DeviceEventHandler (arrival and removal handlers go to the system or an interface)");
    }

    Images images;
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(images, 1); }),
              prefix + " has one stream (index 0); stream 1 does not exist");
    EXPECT_EQ(CodeOf([&] { camera->RegisterEventHandler(images, 1); }), ORVANE_ERR_OUT_OF_RANGE);
    camera->RegisterEventHandler(images, 0);
    EXPECT_EQ(CodeOf([&] { camera->RegisterEventHandler(images); }), ORVANE_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(images, 0); }),
              prefix + ": the image event handler is registered already");
    camera->UnregisterEventHandler(images);
    EXPECT_EQ(CodeOf([&] { camera->UnregisterEventHandler(images); }), ORVANE_ERR_NOT_AVAILABLE);
    EXPECT_EQ(MessageOf([&] { camera->UnregisterEventHandler(images); }),
              prefix + ": the event handler is not registered on it");

    Events events;
    EXPECT_EQ(CodeOf([&] { camera->RegisterEventHandler(events, "NoSuchEvent"); }), ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(events, "NoSuchEvent"); }),
              prefix + " has no device event named 'NoSuchEvent'");
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(events, ""); }),
              prefix + ": a device event handler needs an event name");
    // With or without the prefix; several names; not a name and every event.
    camera->RegisterEventHandler(events, "EventExposureEnd");
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(events, "ExposureEnd"); }),
              prefix + ": the device event handler is registered for ExposureEnd already");
    camera->RegisterEventHandler(events, "FrameStart");
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(events); }),
              prefix + ": the event handler is registered already");
    camera->UnregisterEventHandler(events); // every registration at once
    camera->RegisterEventHandler(events);
    EXPECT_EQ(MessageOf([&] { camera->RegisterEventHandler(events, "Test"); }),
              prefix + ": the device event handler is registered for every event already");
    camera->UnregisterEventHandler(events);
    EXPECT_EQ(CodeOf([&] { camera->UnregisterEventHandler(events); }), ORVANE_ERR_NOT_AVAILABLE);
}

TEST_F(CameraEventsTest, RegistrationsBelongToTheCameraThroughDeInitAndRestarts) {
    camera->DeInit();
    Images images;
    Events events;
    camera->RegisterEventHandler(images);
    camera->RegisterEventHandler(events, "ExposureEnd"); // not checked before Init
    Prepare(camera);
    Notify("ExposureEnd");
    for (int run = 1; run <= 2; ++run) {
        MultiFrame(3);
        camera->BeginAcquisition();
        ASSERT_TRUE(images.record.WaitCount(3 * run));
        ASSERT_TRUE(events.record.WaitCount(3 * run));
        camera->EndAcquisition();
    }
    camera->DeInit();
    Prepare(camera);
    Notify("ExposureEnd");
    MultiFrame(2);
    camera->BeginAcquisition();
    ASSERT_TRUE(images.record.WaitCount(8));
    ASSERT_TRUE(events.record.WaitCount(8));
    camera->EndAcquisition();
    camera->UnregisterEventHandler(images);
    camera->UnregisterEventHandler(events);
    std::lock_guard<std::mutex> lock(images.record.mutex);
    EXPECT_EQ(images.record.numbers, (std::vector<uint64_t>{1, 2, 3, 1, 2, 3, 1, 2}));
}

// Device events ------------------------------------------------------------------------

TEST_F(CameraEventsTest, ExposureEndShowsItsFrameInTheDataNodesAndThePayload) {
    MultiFrame(4);
    Notify("ExposureEnd");
    Events events;
    std::vector<uint64_t> nodeFrames, payloadFrames, nodeTimes, payloadTimes, sizes;
    events.body = [&](const std::string&) {
        nodeFrames.push_back(static_cast<uint64_t>(Int("EventExposureEndFrameID")));
        nodeTimes.push_back(static_cast<uint64_t>(Int("EventExposureEndTimestamp")));
        const uint8_t* payload = events.GetEventPayloadData();
        sizes.push_back(events.GetEventPayloadDataSize());
        payloadTimes.push_back(payload ? BigEndian64(payload) : 0);
        payloadFrames.push_back(payload ? BigEndian64(payload + 8) : 0);
    };
    camera->RegisterEventHandler(events, "ExposureEnd");
    camera->BeginAcquisition();
    std::vector<uint64_t> frameTimes;
    for (int i = 0; i < 4; ++i) frameTimes.push_back(camera->GetNextImage(5000)->GetTimeStamp());
    ASSERT_TRUE(events.record.WaitCount(4));
    camera->EndAcquisition();
    // Outside a call the handler has no payload, and the nodes keep the last
    // event while the event thread runs.
    EXPECT_EQ(events.GetEventPayloadData(), nullptr);
    EXPECT_EQ(events.GetEventPayloadDataSize(), 0u);
    EXPECT_EQ(events.GetDeviceEventID(), 0u);
    EXPECT_EQ(Int("EventExposureEndFrameID"), 4);
    camera->UnregisterEventHandler(events);
    // No device handler left: the event thread stopped and took the data away.
    EXPECT_EQ(CodeOf([&] { Int("EventExposureEndFrameID"); }), ORVANE_ERR_GENICAM_ACCESS);
    std::lock_guard<std::mutex> lock(events.record.mutex);
    EXPECT_EQ(events.record.texts, std::vector<std::string>(4, "ExposureEnd"));
    EXPECT_EQ(events.record.numbers, std::vector<uint64_t>(4, 0x9021));
    EXPECT_EQ(events.record.threads, (std::set<std::string>{"orv-events"}));
    EXPECT_EQ(nodeFrames, (std::vector<uint64_t>{1, 2, 3, 4}));
    EXPECT_EQ(payloadFrames, nodeFrames);
    EXPECT_EQ(payloadTimes, nodeTimes);
    EXPECT_EQ(sizes, std::vector<uint64_t>(4, 32));
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(nodeTimes[i], frameTimes[i] + 100000) << i; // 100 us exposure
}

TEST_F(CameraEventsTest, EveryEventHandlerHearsAnAcquisitionsEventsInOrder) {
    MultiFrame(2);
    for (const char* e :
         {"AcquisitionStart", "AcquisitionEnd", "FrameStart", "ExposureStart", "ExposureEnd", "FrameEnd"})
        Notify(e);
    Events all, frameEnds;
    camera->RegisterEventHandler(all);
    camera->RegisterEventHandler(frameEnds, "FrameEnd");
    camera->BeginAcquisition();
    ASSERT_TRUE(all.record.WaitCount(10));
    ASSERT_TRUE(frameEnds.record.WaitCount(2));
    camera->EndAcquisition(); // the acquisition ended by itself: no second AcquisitionEnd
    std::this_thread::sleep_for(100ms);
    std::lock_guard<std::mutex> lock(all.record.mutex);
    EXPECT_EQ(all.record.texts,
              (std::vector<std::string>{"AcquisitionStart", "FrameStart", "ExposureStart", "ExposureEnd", "FrameEnd",
                                        "FrameStart", "ExposureStart", "ExposureEnd", "FrameEnd", "AcquisitionEnd"}));
    EXPECT_EQ(all.record.numbers,
              (std::vector<uint64_t>{0x9002, 0x9011, 0x9020, 0x9021, 0x9012, 0x9011, 0x9020, 0x9021, 0x9012, 0x9003}));
    EXPECT_EQ(frameEnds.record.Count(), 2u);
    EXPECT_EQ(Int("EventAcquisitionStartFrameID"), 1);
    EXPECT_EQ(Int("EventAcquisitionEndFrameID"), 2);
}

TEST_F(CameraEventsTest, EventsStayOffUntilTheirNotificationIsOn) {
    Events all;
    camera->RegisterEventHandler(all);
    MultiFrame(3);
    camera->BeginAcquisition();
    for (int i = 0; i < 3; ++i) camera->GetNextImage(5000)->Release();
    camera->EndAcquisition();
    Execute("TestEventGenerate"); // the Test event needs no notification
    ASSERT_TRUE(all.record.WaitCount(1));
    std::this_thread::sleep_for(100ms);
    std::lock_guard<std::mutex> lock(all.record.mutex);
    EXPECT_EQ(all.record.texts, (std::vector<std::string>{"Test"}));
}

TEST_F(CameraEventsTest, MissedFrameTriggers) {
    SetEnum("TriggerSelector", "FrameStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Software");
    Notify("FrameTriggerMissed");
    Events missed;
    std::vector<int64_t> frames;
    missed.body = [&](const std::string&) { frames.push_back(Int("EventFrameTriggerMissedFrameID")); };
    camera->RegisterEventHandler(missed, "FrameTriggerMissed");

    // PreviousFrame (the default) latches every trigger.
    EXPECT_EQ(CEnumerationPtr(Map().GetNode("TriggerOverlap"))->ToString(), "PreviousFrame");
    camera->BeginAcquisition();
    Execute("TriggerSoftware");
    Execute("TriggerSoftware");
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 1u);
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 2u);
    camera->EndAcquisition();
    // A trigger while no acquisition runs is discarded.
    Execute("TriggerSoftware");
    ASSERT_TRUE(missed.record.WaitCount(1));

    // Off: a trigger while a frame exposes is missed.
    SetEnum("TriggerOverlap", "Off");
    CFloatPtr(Map().GetNode("ExposureTime"))->SetValue(300000.0);
    camera->BeginAcquisition();
    Execute("TriggerSoftware");
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 1u);
    Execute("TriggerSoftware"); // frame 1 exposes for 300 ms
    ASSERT_TRUE(missed.record.WaitCount(2));
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(100); }), ORVANE_ERR_TIMEOUT);
    std::this_thread::sleep_for(300ms); // the exposure is over
    Execute("TriggerSoftware");
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 2u);
    camera->EndAcquisition();
    std::lock_guard<std::mutex> lock(missed.record.mutex);
    EXPECT_EQ(missed.record.numbers, (std::vector<uint64_t>{0x9015, 0x9015}));
    EXPECT_EQ(frames, (std::vector<int64_t>{2, 1})); // the last frame started when each came
}

TEST_F(CameraEventsTest, DeInitRefusesTheEventThread) {
    Events events;
    std::vector<std::pair<int, std::string>> failures;
    events.body = [&](const std::string&) { failures.push_back(orvtest::Failure([&] { camera->DeInit(); })); };
    camera->RegisterEventHandler(events, "Test");
    Execute("TestEventGenerate");
    ASSERT_TRUE(events.record.WaitCount(1));
    EXPECT_TRUE(camera->IsInitialized());
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].first, ORVANE_ERR_INVALID_STATE);
    EXPECT_EQ(failures[0].second, std::string("camera ") + kCamera +
                                      ": DeInit cannot run on the camera's device event thread (in a "
                                      "DeviceEventHandler): the thread ends with the camera's connection");
    camera->UnregisterEventHandler(events);
}

TEST_F(CameraEventsTest, EventHandlerMayRegisterAndUnregisterHandlers) {
    Events first, later;
    first.body = [&](const std::string&) {
        if (first.record.Count() == 0) {
            camera->RegisterEventHandler(later, "Test");
            camera->UnregisterEventHandler(first);
        }
    };
    camera->RegisterEventHandler(first);
    Execute("TestEventGenerate");
    ASSERT_TRUE(first.record.WaitCount(1));
    Execute("TestEventGenerate");
    ASSERT_TRUE(later.record.WaitCount(1));
    EXPECT_EQ(first.record.Count(), 1u);
    camera->UnregisterEventHandler(later);
    // No handler left: the event thread is stopped; a new registration starts another.
    camera->RegisterEventHandler(first, "Test");
    Execute("TestEventGenerate");
    ASSERT_TRUE(first.record.WaitCount(2));
    camera->UnregisterEventHandler(first);
}

TEST_F(CameraEventsTest, EventsBeyondTheQueueAreDroppedAndLogged) {
    struct Warnings : LoggingEventHandler {
        std::mutex mutex;
        std::vector<std::string> texts;
        void OnLogEvent(LoggingEventDataPtr data) override {
            const std::string text = data->GetLogMessage();
            if (text.find("dropped") == std::string::npos) return;
            std::lock_guard<std::mutex> lock(mutex);
            texts.push_back(std::string(data->GetPriorityName()) + " " + text);
        }
    } warnings;
    system->RegisterLoggingEventHandler(warnings);
    const LogLevel level = system->GetLoggingEventPriorityLevel();
    system->SetLoggingEventPriorityLevel(LOG_LEVEL_WARN);
    Events events;
    std::mutex gate;
    std::condition_variable opened;
    bool open = false;
    std::atomic<bool> entered{false};
    events.body = [&](const std::string&) {
        entered = true;
        std::unique_lock<std::mutex> lock(gate);
        opened.wait(lock, [&] { return open; });
    };
    camera->RegisterEventHandler(events, "Test");
    Execute("TestEventGenerate");
    while (!entered) std::this_thread::sleep_for(1ms);
    // The handler holds the first event: 256 wait in the queue, 43 are dropped.
    for (int i = 0; i < 299; ++i) Execute("TestEventGenerate");
    {
        std::lock_guard<std::mutex> lock(gate);
        open = true;
    }
    opened.notify_all();
    ASSERT_TRUE(events.record.WaitCount(257));
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(events.record.Count(), 257u);
    camera->UnregisterEventHandler(events);
    system->UnregisterLoggingEventHandler(warnings);
    system->SetLoggingEventPriorityLevel(level);
    std::lock_guard<std::mutex> lock(warnings.mutex);
    EXPECT_EQ(warnings.texts,
              (std::vector<std::string>{std::string("WARN camera ") + kCamera +
                                        ": 43 device events dropped (43 in all): the event handlers are slower than "
                                        "the events arrive"}));
}

// One handler object on two cameras whose events are dispatched at the same
// time: each call sees its own event's payload for its whole length.
TEST_F(CameraEventsTest, OneHandlerOnTwoCamerasSeesEachCallsOwnPayload) {
    other = cameras.GetBySerial("VC0002");
    ASSERT_TRUE(other);
    Prepare(other);
    struct Checker : DeviceEventHandler {
        std::atomic<int> calls{0}, mismatches{0};
        void OnDeviceEvent(GenICam::gcstring) override {
            const uint8_t* before = GetEventPayloadData();
            const uint64_t frame = before ? BigEndian64(before + 8) : 0;
            std::this_thread::sleep_for(200us);
            const uint8_t* after = GetEventPayloadData();
            if (before != after || !after || BigEndian64(after + 8) != frame || GetDeviceEventID() != 0x9021 ||
                GetEventPayloadDataSize() != 32)
                ++mismatches;
            ++calls;
        }
    } checker;
    for (const CameraPtr& c : {camera, other}) {
        Notify("ExposureEnd", c);
        SetEnum("AcquisitionMode", "MultiFrame", c);
        CIntegerPtr(Map(c).GetNode("AcquisitionFrameCount"))->SetValue(50);
        c->RegisterEventHandler(checker, "ExposureEnd");
        c->BeginAcquisition();
    }
    for (int i = 0; i < 50; ++i)
        for (const CameraPtr& c : {camera, other}) c->GetNextImage(5000)->Release();
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (checker.calls < 100 && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(5ms);
    EXPECT_EQ(Int("EventExposureEndFrameID", camera), 50);
    EXPECT_EQ(Int("EventExposureEndFrameID", other), 50);
    for (const CameraPtr& c : {camera, other}) {
        c->EndAcquisition();
        c->UnregisterEventHandler(checker);
    }
    EXPECT_EQ(checker.calls.load(), 100);
    EXPECT_EQ(checker.mismatches.load(), 0);
}

} // namespace
