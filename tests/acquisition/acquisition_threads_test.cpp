// Acquisition from several threads at once (run under ThreadSanitizer too):
// concurrent GetNextImage and Release, EndAcquisition and DeInit while other
// threads wait or release, images crossing threads, chunk decoding in parallel.
#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <vector>

#include "AcquisitionFixture.h"

using namespace acqtest;

namespace {

TEST_F(VirtualStream, ConcurrentConsumersShareTheFramesWithoutLossOrDuplicates) {
    SetStreamInt("StreamBufferCountManual", 6);
    camera->BeginAcquisition();
    const int total = 400;
    std::atomic<int> taken{0};
    std::mutex mutex;
    std::set<uint64_t> ids;
    std::vector<std::thread> consumers;
    for (int t = 0; t < 4; ++t)
        consumers.emplace_back([&] {
            while (taken.fetch_add(1) < total) {
                ImagePtr image = camera->GetNextImage(10000);
                const uint8_t first = static_cast<const uint8_t*>(image->GetData())[70];
                (void)first;
                {
                    std::lock_guard<std::mutex> lock(mutex);
                    EXPECT_TRUE(ids.insert(image->GetFrameID()).second) << image->GetFrameID();
                }
                image->Release();
            }
        });
    for (std::thread& t : consumers) t.join();
    camera->EndAcquisition();
    ASSERT_EQ(ids.size(), size_t(total));
    EXPECT_EQ(*ids.begin(), 1u);
    EXPECT_EQ(*ids.rbegin(), uint64_t(total)); // every frame 1..400, none lost (OldestFirst)
}

TEST_F(VirtualStream, EndAcquisitionWakesAWaitingThreadWithAbort) {
    SetEnum("TriggerMode", "On"); // no frame comes
    camera->BeginAcquisition();
    std::promise<void> waiting;
    auto waiter = std::async(std::launch::async, [&] {
        waiting.set_value();
        return CodeOf([&] { camera->GetNextImage(); }); // forever
    });
    waiting.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    camera->EndAcquisition();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const int code = waiter.get();
    EXPECT_TRUE(code == ORVANE_ERR_ABORT || code == ORVANE_ERR_NOT_STREAMING) << code;
}

TEST_F(VirtualStream, DeInitWakesAWaitingThread) {
    SetEnum("TriggerMode", "On");
    camera->BeginAcquisition();
    auto waiter = std::async(std::launch::async, [&] { return CodeOf([&] { camera->GetNextImage(20000); }); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    camera->DeInit();
    ASSERT_EQ(waiter.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const int code = waiter.get();
    EXPECT_TRUE(code == ORVANE_ERR_ABORT || code == ORVANE_ERR_NOT_STREAMING) << code;
    EXPECT_FALSE(camera->IsStreaming());
}

TEST_F(VirtualStream, ImagesReleasedOnOtherThreadsWhileTheAcquisitionEnds) {
    SetStreamInt("StreamBufferCountManual", 8);
    for (int round = 0; round < 5; ++round) {
        camera->BeginAcquisition();
        std::vector<ImagePtr> images;
        for (int i = 0; i < 6; ++i) images.push_back(camera->GetNextImage(5000));
        std::atomic<bool> go{false};
        std::vector<std::thread> releasers;
        for (int t = 0; t < 3; ++t)
            releasers.emplace_back([&, t] {
                while (!go.load()) std::this_thread::yield();
                for (size_t i = size_t(t); i < images.size(); i += 3) {
                    const uint8_t* data = static_cast<const uint8_t*>(images[i]->GetData());
                    volatile uint8_t sum = 0;
                    for (size_t k = 0; k < images[i]->GetSize(); ++k) sum = uint8_t(sum + data[k]);
                    images[i]->Release();
                }
            });
        go.store(true);
        camera->EndAcquisition();
        for (std::thread& t : releasers) t.join();
    }
}

TEST_F(VirtualStream, BeginAndEndRepeatedlyWhileAnotherThreadPolls) {
    std::atomic<bool> stop{false};
    std::atomic<int> received{0};
    std::thread poller([&] {
        while (!stop.load()) {
            const int code = CodeOf([&] {
                ImagePtr image = camera->GetNextImage(50);
                received.fetch_add(1);
            });
            if (code == ORVANE_ERR_NOT_STREAMING) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            EXPECT_TRUE(code == 0 || code == ORVANE_ERR_NOT_STREAMING || code == ORVANE_ERR_ABORT ||
                        code == ORVANE_ERR_TIMEOUT)
                << code;
        }
    });
    for (int i = 0; i < 10; ++i) {
        camera->BeginAcquisition();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        camera->EndAcquisition();
    }
    stop.store(true);
    poller.join();
    EXPECT_GT(received.load(), 0);
}

TEST_F(VirtualStream, ChunkDataDecodedOnSeveralThreadsAtOnce) {
    SetBool("ChunkModeActive", true);
    for (const char* chunk : {"FrameID", "Timestamp", "Width", "CRC"}) {
        SetEnum("ChunkSelector", chunk);
        SetBool("ChunkEnable", true);
    }
    SetStreamInt("StreamBufferCountManual", 8);
    camera->BeginAcquisition();
    std::vector<ImagePtr> images;
    for (int i = 0; i < 6; ++i) images.push_back(camera->GetNextImage(5000));
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t)
        readers.emplace_back([&] {
            for (const ImagePtr& image : images) {
                EXPECT_EQ(uint64_t(image->GetChunkData().GetFrameID()), image->GetFrameID());
                EXPECT_EQ(image->GetChunkData().GetWidth(), 64);
                EXPECT_TRUE(image->CheckCRC());
            }
        });
    // Feature reads meanwhile, on this thread.
    for (int i = 0; i < 200; ++i) EXPECT_EQ(Int("Width"), 64);
    for (std::thread& t : readers) t.join();
    images.clear();
    camera->EndAcquisition();
}

} // namespace
