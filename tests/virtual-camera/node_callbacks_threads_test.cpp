// Node callbacks under concurrency, on a virtual camera: two threads write
// features while callbacks (running on the writing threads, outside the
// map's lock) read nodes of the same map; a third thread holds the map's lock
// now and then and registers and deregisters callbacks. Nothing deadlocks,
// every write notifies exactly once, and a deregistered callback is never
// running once DeregisterCallback returned.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

constexpr int kWrites = 200;

class NodeCallbackThreads : public ::testing::Test {
protected:
    void SetUp() override {
        system = System::GetInstance();
        CameraList cameras = system->GetCameras();
        camera = cameras.GetBySerial("VC0001");
        ASSERT_TRUE(camera);
        camera->Init();
        map = &camera->GetNodeMap();
        CEnumerationPtr(map->GetNode("PixelFormat"))->FromString("Mono8");
        CIntegerPtr(map->GetNode("OffsetX"))->SetValue(0);
        CIntegerPtr(map->GetNode("Width"))->SetValue(640);
        CIntegerPtr(map->GetNode("Height"))->SetValue(100);
    }
    void TearDown() override {
        if (camera) camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }

    SystemPtr system;
    CameraPtr camera;
    INodeMap* map = nullptr;
};

TEST_F(NodeCallbackThreads, WritesFromTwoThreadsWithCallbacksReadingNodes) {
    INode* width = map->GetNode("Width");
    INode* height = map->GetNode("Height");
    INode* payload = map->GetNode("PayloadSize");
    std::atomic<int> payloadCalls{0}, widthCalls{0}, heightCalls{0}, badReads{0};
    // Each callback reads nodes of the map the write just released.
    auto* onPayload = new FunctionNodeCallback(payload, [&](INode* n) {
        ++payloadCalls;
        const int64_t p = CIntegerPtr(n)->GetValue();
        const int64_t w = CIntegerPtr(map->GetNode("Width"))->GetValue();
        const int64_t h = CIntegerPtr(map->GetNode("Height"))->GetValue();
        if (p <= 0 || w < 16 || h < 1) ++badReads;
    });
    auto* onWidth = new FunctionNodeCallback(width, [&](INode*) {
        ++widthCalls;
        if (CIntegerPtr(map->GetNode("PayloadSize"))->GetValue() <= 0) ++badReads;
    });
    auto* onHeight = new FunctionNodeCallback(height, [&](INode* n) {
        ++heightCalls;
        if (CValuePtr(n)->ToString().empty()) ++badReads;
    });
    const CallbackHandleType hp = payload->RegisterCallback(onPayload);
    const CallbackHandleType hw = width->RegisterCallback(onWidth);
    const CallbackHandleType hh = height->RegisterCallback(onHeight);

    std::atomic<bool> writing{true};
    std::atomic<int> failures{0};
    std::thread widthWriter([&] {
        for (int i = 0; i < kWrites; ++i) {
            try {
                CIntegerPtr(map->GetNode("Width"))->SetValue(320 + 8 * (i % 16));
            } catch (...) {
                ++failures;
            }
        }
    });
    std::thread heightWriter([&] {
        for (int i = 0; i < kWrites; ++i) {
            try {
                CIntegerPtr(map->GetNode("Height"))->SetValue(64 + 2 * (i % 32));
            } catch (...) {
                ++failures;
            }
        }
    });
    // Holds the lock now and then, and churns a registration of its own: once
    // DeregisterCallback returned, its callback is not running and never runs.
    std::atomic<int> churnCalls{0}, afterDeregistration{0};
    std::thread churner([&] {
        int rounds = 0;
        while (writing.load() || rounds < 20) {
            ++rounds;
            {
                map->Lock();
                CIntegerPtr(map->GetNode("PayloadSize"))->GetValue();
                map->Unlock();
            }
            std::atomic<bool> registered{true};
            auto* cb = new FunctionNodeCallback(payload, [&](INode*) {
                ++churnCalls;
                if (!registered.load()) ++afterDeregistration;
                std::this_thread::yield();
                if (!registered.load()) ++afterDeregistration;
            });
            const CallbackHandleType h = payload->RegisterCallback(cb);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            payload->DeregisterCallback(h);
            registered = false;
            cb->Destroy(); // would be a use after free if the callback still ran
        }
    });
    widthWriter.join();
    heightWriter.join();
    writing = false;
    churner.join();

    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(badReads.load(), 0);
    EXPECT_EQ(widthCalls.load(), kWrites);
    EXPECT_EQ(heightCalls.load(), kWrites);
    EXPECT_EQ(payloadCalls.load(), 2 * kWrites); // each write changes the payload once
    EXPECT_EQ(afterDeregistration.load(), 0);
    EXPECT_TRUE(payload->DeregisterCallback(hp));
    EXPECT_TRUE(width->DeregisterCallback(hw));
    EXPECT_TRUE(height->DeregisterCallback(hh));
    onPayload->Destroy();
    onWidth->Destroy();
    onHeight->Destroy();
}

TEST_F(NodeCallbackThreads, ACallbackMayWaitForAnotherThreadThatReadsTheMap) {
    // The callback runs outside the lock: it can wait for another thread that
    // needs the lock, even when that thread's own write started the callback.
    INode* width = map->GetNode("Width");
    std::atomic<int> calls{0};
    std::atomic<int64_t> seen{0};
    auto* cb = new FunctionNodeCallback(map->GetNode("PayloadSize"), [&](INode*) {
        ++calls;
        std::thread reader([&] { seen = CIntegerPtr(map->GetNode("PayloadSize"))->GetValue(); });
        reader.join();
    });
    const CallbackHandleType h = map->GetNode("PayloadSize")->RegisterCallback(cb);
    std::thread writer([&] { CIntegerPtr(width)->SetValue(256); });
    writer.join();
    EXPECT_EQ(calls.load(), 1);
    EXPECT_EQ(seen.load(), 25600);
    map->GetNode("PayloadSize")->DeregisterCallback(h);
    cb->Destroy();
}

} // namespace
