// 20,000 small frames from a virtual camera at its highest rate, through
// GetNextImage and through an image event handler: resident memory must not
// grow after warm-up, and no frame may allocate.
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

#include <unistd.h>

#include "AcquisitionFixture.h"
#include "Orvane/ImageEventHandler.h"

// Counts the program's C++ allocations (GLib's own are not seen). GCC
// cannot tell that these replacements pair malloc with free.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
namespace {
std::atomic<uint64_t> g_allocations{0};
}

void* operator new(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

using namespace acqtest;

namespace {

long ResidentKiB() {
    FILE* f = std::fopen("/proc/self/statm", "r");
    if (!f) return -1;
    long size = 0, resident = 0;
    const int n = std::fscanf(f, "%ld %ld", &size, &resident);
    std::fclose(f);
    return n == 2 ? resident * (sysconf(_SC_PAGESIZE) / 1024) : -1;
}

TEST_F(VirtualStream, TwentyThousandFramesWithoutMemoryGrowth) {
    SetInt("Width", 64);
    SetInt("Height", 16);
    SetBool("AcquisitionFrameRateEnable", false);
    SetFloat("ExposureTime", 10.0); // 1000 frames a second, the camera's fastest
    SetBool("ChunkModeActive", true);
    SetEnum("ChunkSelector", "FrameID");
    SetBool("ChunkEnable", true);
    SetStreamInt("StreamBufferCountManual", 8);
    camera->BeginAcquisition();
    const int warmUp = 2000, total = 20000;
    long warmResident = 0;
    uint64_t warmAllocations = 0;
    for (int i = 1; i <= total; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        ASSERT_EQ(image->GetFrameID(), uint64_t(i));
        if (i % 1000 == 0) {
            EXPECT_EQ(image->GetChunkData().GetFrameID(), i);
        }
        image->Release();
        image.reset();
        if (i == warmUp) {
            warmResident = ResidentKiB();
            warmAllocations = g_allocations.load();
        }
    }
    const long endResident = ResidentKiB();
    const uint64_t allocations = g_allocations.load() - warmAllocations;
    camera->EndAcquisition();
    std::printf(
        "resident memory after %d frames: %ld KiB, after %d: %ld KiB; C++ allocations in between: %llu "
        "(%.4f a frame)\n",
        warmUp, warmResident, total, endResident, static_cast<unsigned long long>(allocations),
        double(allocations) / (total - warmUp));
    EXPECT_LT(endResident - warmResident, 2048) << "resident memory grew";
    // Chunk decoding (one frame in 1000) may allocate; frames themselves do not.
    EXPECT_LE(allocations, uint64_t((total - warmUp) / 1000 * 4));
    EXPECT_EQ(StreamInt("StreamLostFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 0);
}

// The same frames handed to an image event handler on the delivery thread.
TEST_F(VirtualStream, TwentyThousandFramesToAnImageHandlerWithoutAllocating) {
    SetInt("Width", 64);
    SetInt("Height", 16);
    SetBool("AcquisitionFrameRateEnable", false);
    SetFloat("ExposureTime", 10.0);
    SetStreamInt("StreamBufferCountManual", 8);
    const uint64_t warmUp = 2000, total = 20000;
    struct Counter : ImageEventHandler {
        std::mutex mutex;
        std::condition_variable done;
        uint64_t frames = 0;
        uint64_t wrongIds = 0;
        uint64_t warmAllocations = 0;
        long warmResident = 0;
        uint64_t warmUp = 0, total = 0;
        void OnImageEvent(ImagePtr image) override {
            std::lock_guard<std::mutex> lock(mutex);
            ++frames;
            if (image->GetFrameID() != frames) ++wrongIds;
            if (frames == warmUp) {
                warmResident = ResidentKiB();
                warmAllocations = g_allocations.load();
            }
            if (frames == total) done.notify_all();
        }
    } counter;
    counter.warmUp = warmUp;
    counter.total = total;
    camera->RegisterEventHandler(counter);
    camera->BeginAcquisition();
    uint64_t allocations = 0;
    long endResident = 0;
    {
        std::unique_lock<std::mutex> lock(counter.mutex);
        ASSERT_TRUE(counter.done.wait_for(lock, std::chrono::seconds(120), [&] { return counter.frames >= total; }));
        allocations = g_allocations.load() - counter.warmAllocations;
        endResident = ResidentKiB();
    }
    camera->EndAcquisition();
    camera->UnregisterEventHandler(counter);
    std::printf(
        "image handler: resident memory after %llu frames: %ld KiB, after %llu: %ld KiB; C++ allocations in "
        "between: %llu\n",
        static_cast<unsigned long long>(warmUp), counter.warmResident, static_cast<unsigned long long>(total),
        endResident, static_cast<unsigned long long>(allocations));
    EXPECT_EQ(counter.wrongIds, 0u);
    EXPECT_LT(endResident - counter.warmResident, 2048) << "resident memory grew";
    // The test's own waiting may allocate a little; frames do not.
    EXPECT_LE(allocations, uint64_t(10));
    EXPECT_EQ(StreamInt("StreamLostFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 0);
}

} // namespace
