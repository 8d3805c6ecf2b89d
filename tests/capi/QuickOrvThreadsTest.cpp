// QuickOrv from several threads at once on one virtual camera: fills of the
// camera and transport-layer structures, enumeration writes by constant and
// entry reads. Every thread sees the same handles, and every call succeeds.
// (Built with ThreadSanitizer by `make tsan`.)
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "CapiFixture.h"

namespace {

class QuickOrvThreads : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGet(cameras, 0, &camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraInit(camera), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        EXPECT_EQ(orvCameraDeInit(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }
    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
};

struct Filled {
    quickOrv q;
    quickOrvTLDevice device;
    quickOrvTLStream stream;
    int failures = 0;
};

TEST_F(QuickOrvThreads, ConcurrentFillsAndConstants) {
    constexpr int kThreads = 4, kRounds = 20;
    std::vector<Filled> filled(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &filled] {
            Filled& f = filled[t];
            for (int round = 0; round < kRounds; ++round) {
                if (quickOrvInitEx(camera, &f.q, &f.device, &f.stream) != ORVANE_ERR_SUCCESS) ++f.failures;
                const size_t mode = (t + round) % 2 ? AcquisitionMode_SingleFrame : AcquisitionMode_Continuous;
                if (orvEnumerationSetEnumValue(f.q.AcquisitionMode, mode) != ORVANE_ERR_SUCCESS) ++f.failures;
                orvNodeHandle current = nullptr;
                size_t value = 99;
                if (orvEnumerationGetCurrentEntry(f.q.TriggerMode, &current) != ORVANE_ERR_SUCCESS ||
                    orvEnumerationEntryGetEnumValue(current, &value) != ORVANE_ERR_SUCCESS || value != TriggerMode_Off)
                    ++f.failures;
                if (orvEnumerationSetEnumValue(f.q.AcquisitionMode, 7) != ORVANE_ERR_INVALID_PARAMETER) ++f.failures;
            }
        });
    }
    for (std::thread& t : threads) t.join();
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(filled[t].failures, 0) << t;
        EXPECT_EQ(std::memcmp(&filled[t].q, &filled[0].q, sizeof(quickOrv)), 0) << t;
        EXPECT_EQ(std::memcmp(&filled[t].device, &filled[0].device, sizeof(quickOrvTLDevice)), 0) << t;
        EXPECT_EQ(std::memcmp(&filled[t].stream, &filled[0].stream, sizeof(quickOrvTLStream)), 0) << t;
    }
    EXPECT_NE(filled[0].q.AcquisitionMode, nullptr);
}

} // namespace
