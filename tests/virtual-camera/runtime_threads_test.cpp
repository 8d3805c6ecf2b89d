// Threads sharing one virtual camera while its runtime and chunk data are in
// use: chunk attachments with reads, values computed on read, commands and
// consistency rules, port access, and the clock read without any lock. Run
// under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "genapi/ArvNodeMap.h"
#include "transport/DeviceConnection.h"
#include "virtual/VirtualCameraRegisters.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDeviceConnection.h"

using namespace Orvane;
using namespace Orvane::GenApi;
namespace vcam = Orvane::internal::vcam;

TEST(VirtualCameraRuntimeThreads, FourThreadsShareTheRuntimeAndChunkData) {
    SystemPtr system = System::GetInstance();
    CameraPtr camera = system->GetCameras().GetBySerial("VC0001");
    ASSERT_TRUE(camera);
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    auto session = camera->Core().Access().Connection();
    impl::ArvNodeMap& arvMap = session->NodeMap();
    internal::VirtualCameraRuntime& runtime = static_cast<internal::VirtualDeviceConnection&>(*session).Runtime();
    std::atomic<bool> stop{false};
    std::atomic<long> failures{0}, operations{0};

    auto guarded = [&](auto&& body) {
        try {
            body();
        } catch (const Exception& e) {
            ADD_FAILURE() << e.GetErrorMessage();
            ++failures;
        }
        ++operations;
    };
    std::vector<std::thread> threads;
    // Frames: attach each one's chunks, read them under the same lock.
    threads.emplace_back([&] {
        std::vector<uint8_t> data(16, 0);
        const uint32_t id = vcam::chunk::FrameID;
        for (int i = 0; i < 4; ++i) data[8 + i] = static_cast<uint8_t>(id >> (24 - 8 * i));
        data[15] = 8;
        uint64_t frame = 0;
        while (!stop) {
            guarded([&] {
                ++frame;
                for (int i = 0; i < 8; ++i) data[i] = static_cast<uint8_t>(frame >> (56 - 8 * i));
                impl::NodeMapBase::MapLock lock(arvMap);
                arvMap.AttachChunkData(data.data(), data.size());
                if (CIntegerPtr(map.GetNode("ChunkFrameID"))->GetValue() != static_cast<int64_t>(frame)) ++failures;
            });
        }
        arvMap.DetachChunkData();
    });
    // Status values computed when read.
    threads.emplace_back([&] {
        while (!stop)
            guarded([&] {
                CIntegerPtr(map.GetNode("Timestamp"))->GetValue();
                CIntegerPtr(map.GetNode("LineStatusAll"))->GetValue();
                CFloatPtr(map.GetNode("DeviceTemperature"))->GetValue();
                map.Poll(100);
            });
    });
    // Commands and consistency rules.
    threads.emplace_back([&] {
        int64_t n = 0;
        while (!stop)
            guarded([&] {
                CIntegerPtr(map.GetNode("UserOutputValueAll"))->SetValue(++n % 16);
                CCommandPtr(map.GetNode("TimestampLatch"))->Execute();
                CCommandPtr(map.GetNode("CounterReset"))->Execute();
                if (!CCommandPtr(map.GetNode("CounterReset"))->IsDone()) ++failures;
            });
    });
    // Port access and the lock-free clock.
    threads.emplace_back([&] {
        uint64_t last = 0;
        while (!stop)
            guarded([&] {
                const uint64_t now = runtime.TimestampNs();
                if (now < last) ++failures;
                last = now;
                uint8_t bytes[8];
                camera->ReadPort(vcam::reg::Timestamp.address, bytes, 8);
                const uint8_t one[4] = {0, 0, 0, 1};
                camera->WritePort(vcam::reg::TimestampLatch.address, one, 4);
            });
    });
    std::this_thread::sleep_for(std::chrono::seconds(2));
    stop = true;
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_GT(operations.load(), 100);
    // The rules held throughout: the bits and the word agree.
    CIntegerPtr all(map.GetNode("UserOutputValueAll"));
    for (int i = 0; i < 4; ++i) {
        CEnumerationPtr(map.GetNode("UserOutputSelector"))->SetIntValue(i);
        EXPECT_EQ(CBooleanPtr(map.GetNode("UserOutputValue"))->GetValue(), ((all->GetValue() >> i) & 1) != 0);
    }
    camera->DeInit();
    system->ReleaseInstance();
}
