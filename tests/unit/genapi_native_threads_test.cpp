// Native node maps from several threads: callbacks run outside the lock,
// concurrent readers and writers.
#include <atomic>
#include <thread>

#include "NativeMapFixture.h"

namespace {

TEST_F(Fixture, CallbacksReachDependentsOutsideTheLock) {
    INode* exposureNode = map.GetNode("ExposureTime");
    std::atomic<int> calls{0};
    bool lockFree = false;
    auto* cb = new FunctionNodeCallback(exposureNode, [&](INode*) {
        ++calls;
        // Outside the lock another thread can take the map's lock at once.
        std::thread t([&] {
            lockFree = map.TryLock();
            if (lockFree) map.Unlock();
        });
        t.join();
    });
    const CallbackHandleType h = exposureNode->RegisterCallback(cb);
    CIntegerPtr(map.GetNode("Width"))->SetValue(64);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(lockFree);
    exposureNode->InvalidateNode();
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(exposureNode->DeregisterCallback(h));
    CIntegerPtr(map.GetNode("Width"))->SetValue(128);
    EXPECT_EQ(calls, 2);
    EXPECT_THROW(exposureNode->DeregisterCallback(h), Exception);
    cb->Destroy();
}

TEST_F(Fixture, ConcurrentReadersAndWriters) {
    std::vector<std::thread> threads;
    std::atomic<bool> failed{false};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            CIntegerPtr w(map.GetNode("Width"));
            for (int i = 0; i < 2000; ++i) {
                try {
                    if (t % 2)
                        w->SetValue(16 * (1 + i % 100));
                    else if (w->GetValue() % 16)
                        failed = true;
                } catch (...) {
                    failed = true;
                }
            }
        });
    for (auto& t : threads) t.join();
    EXPECT_FALSE(failed);
}

} // namespace
