// The fixture of the C library's end-to-end event tests: calls recorded by
// callbacks on the SDK's threads, and a system with three virtual cameras
// that opens them with small, fast frames.
#ifndef ORVANE_TESTS_CAPI_END_TO_END_FIXTURE_H
#define ORVANE_TESTS_CAPI_END_TO_END_FIXTURE_H

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CapiFixture.h"
#include "OrvaneUtilsC.h"

namespace e2e {

using namespace std::chrono_literals;

// Calls recorded by callbacks on the SDK's threads, awaited by the test.
struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<uint64_t> numbers;
    std::vector<std::string> texts;
    std::set<std::thread::id> threads;
    std::vector<orvError> failures; // non-zero codes seen inside callbacks
    int calls = 0;
    bool wrongUserData = false;
    bool wrongTag = false;

    void Record(void* userData, void* handle, orvHandleType tag, std::function<void()> body) {
        std::unique_lock<std::mutex> lock(mutex);
        if (userData != this) wrongUserData = true;
        if (static_cast<orvObject*>(handle)->tag != tag) wrongTag = true;
        threads.insert(std::this_thread::get_id());
        body();
        ++calls;
        changed.notify_all();
    }
    void Check(orvError code) {
        if (code != ORVANE_ERR_SUCCESS) failures.push_back(code);
    }
    // Waits (at most 15 s) until pred() holds under the lock.
    bool WaitFor(std::function<bool()> pred) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, 15s, pred);
    }
    bool WaitCalls(int n) {
        return WaitFor([&] { return calls >= n; });
    }
    int Calls() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
};

class EndToEndTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        setenv("ORVANE_VIRTUAL_CAMERAS", "3", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        for (orvCamera camera : opened) {
            bool8_t streaming = 0;
            EXPECT_EQ(orvCameraIsStreaming(camera, &streaming), ORVANE_ERR_SUCCESS);
            if (streaming) {
                EXPECT_EQ(orvCameraEndAcquisition(camera), ORVANE_ERR_SUCCESS);
            }
            EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
            EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        }
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
        unsetenv("ORVANE_VIRTUAL_CAMERAS");
    }

    // An initialised camera with small, fast frames.
    orvCamera Open(const char* serial) {
        orvCamera camera = nullptr;
        EXPECT_EQ(orvCameraListGetBySerial(cameras, serial, &camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
        opened.push_back(camera);
        SetInt(camera, "Width", 64);
        SetInt(camera, "Height", 16);
        SetFloat(camera, "ExposureTime", 100.0);
        SetFloat(camera, "AcquisitionFrameRate", 1000.0);
        return camera;
    }
    orvNodeHandle Node(orvCamera camera, const char* name) {
        orvNodeMapHandle map = nullptr;
        EXPECT_EQ(orvCameraGetNodeMap(camera, &map), ORVANE_ERR_SUCCESS);
        orvNodeHandle node = nullptr;
        EXPECT_EQ(orvNodeMapGetNode(map, name, &node), ORVANE_ERR_SUCCESS) << name;
        EXPECT_NE(node, nullptr) << name;
        return node;
    }
    void SetInt(orvCamera camera, const char* name, int64_t v) {
        EXPECT_EQ(orvIntegerSetValue(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetFloat(orvCamera camera, const char* name, double v) {
        EXPECT_EQ(orvFloatSetValue(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    void SetText(orvCamera camera, const char* name, const char* v) {
        EXPECT_EQ(orvNodeFromString(Node(camera, name), v), ORVANE_ERR_SUCCESS) << name;
    }
    int64_t GetInt(orvCamera camera, const char* name) {
        int64_t v = -1;
        EXPECT_EQ(orvIntegerGetValue(Node(camera, name), &v), ORVANE_ERR_SUCCESS) << name;
        return v;
    }
    void MultiFrame(orvCamera camera, int64_t frames) {
        SetText(camera, "AcquisitionMode", "MultiFrame");
        SetInt(camera, "AcquisitionFrameCount", frames);
    }
    // The next frame's id (the image given back), or -1 on a timeout.
    int64_t NextFrameId(orvCamera camera, uint64_t timeoutMs) {
        orvImage image = nullptr;
        const orvError code = orvCameraGetNextImageEx(camera, timeoutMs, &image);
        if (code != ORVANE_ERR_SUCCESS) {
            EXPECT_EQ(code, ORVANE_ERR_TIMEOUT);
            return -1;
        }
        uint64_t id = 0;
        EXPECT_EQ(orvImageGetFrameID(image, &id), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvImageRelease(image), ORVANE_ERR_SUCCESS);
        return static_cast<int64_t>(id);
    }

    orvCameraList cameras = nullptr;
    std::vector<orvCamera> opened;
};

} // namespace e2e

#endif
