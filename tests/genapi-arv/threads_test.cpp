// Four threads share one device node map of a virtual camera: lookups,
// reads, writes and callback registrations for a few seconds. Run under TSan.
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

TEST(GenApiArvThreads, FourThreadsShareOneNodeMap) {
    SystemPtr system = System::GetInstance();
    CameraPtr camera = system->GetCameras().GetBySerial("VC0001");
    ASSERT_TRUE(camera);
    camera->Init();
    INodeMap& map = camera->GetNodeMap();
    std::atomic<bool> stop{false};
    std::atomic<long> operations{0}, failures{0}, callbacks{0};
    const char* const names[] = {"Width", "Height",  "PixelFormat", "ExposureTime", "PayloadSize",
                                 "Gain",  "OffsetX", "TriggerMode", "DeviceID",     "AcquisitionMode"};

    auto worker = [&](int id) {
        long n = 0;
        while (!stop.load()) {
            try {
                for (const char* name : names) {
                    INode* node = map.GetNode(name);
                    if (!node) {
                        ++failures;
                        continue;
                    }
                    dynamic_cast<IValue*>(node)->ToString();
                }
                CIntegerPtr width(map.GetNode("Width"));
                CFloatPtr exposure(map.GetNode("ExposureTime"));
                CEnumerationPtr format(map.GetNode("PixelFormat"));
                switch (id) {
                case 0: width->SetValue(64 + (n % 64) * 8); break;
                case 1: format->FromString(n % 2 ? "Mono8" : "Mono16"); break;
                case 2: {
                    auto* cb = new FunctionNodeCallback(map.GetNode("PayloadSize"), [&](INode*) { ++callbacks; });
                    const CallbackHandleType h = map.GetNode("PayloadSize")->RegisterCallback(cb);
                    exposure->SetValue(1000.0 + n % 100);
                    map.GetNode("PayloadSize")->DeregisterCallback(h);
                    cb->Destroy();
                    break;
                }
                default:
                    width->GetValue();
                    exposure->GetValue();
                    format->GetIntValue();
                    map.GetNode("Height")->InvalidateNode();
                    break;
                }
            } catch (const Exception& e) {
                ADD_FAILURE() << e.GetErrorMessage();
                ++failures;
            }
            ++n;
        }
        operations += n;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(worker, i);
    std::this_thread::sleep_for(std::chrono::seconds(3));
    stop = true;
    for (auto& t : threads) t.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_GT(operations.load(), 100);
    camera->DeInit();
    system->ReleaseInstance();
}
