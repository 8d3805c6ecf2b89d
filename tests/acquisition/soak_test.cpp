// 20,000 small frames from a virtual camera at its highest rate: resident
// memory must not grow after warm-up, and no frame may allocate.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

#include <unistd.h>

#include "AcquisitionFixture.h"

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

} // namespace
