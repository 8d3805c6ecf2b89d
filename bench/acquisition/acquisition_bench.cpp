// CPU per frame through the C library's orvCameraGetNextImage +
// orvImageRelease and the SDK's GetNextImage + Release on a virtual camera,
// against a bare Aravis pop/push loop on the same kind of source (an
// in-process fake device stream filled by the same test pattern code), in one
// run. The C library's sources are compiled into the program over the static
// SDK so that all three loops share one SDK.
//
// Both sources run at the virtual camera's highest rate (1000 frames a
// second, AcquisitionFrameRate 1000 Hz); the CPU time is the whole process's
// (getrusage: fill thread, delivery thread, consumer) divided by the frames,
// so the ratio shows what the SDK adds to the same work; the caller's own CPU
// (CLOCK_THREAD_CPUTIME_ID) is reported too. Blocks of the two loops
// alternate so that all see the same machine load. The virtual camera's
// sensor is 2048 x 2048: the large case uses all of it.
#include <benchmark/benchmark.h>

#include <arv.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "../common/BenchCamera.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "OrvaneC.h"
#include "virtual/TestPattern.h"
#include "virtual/VirtualCameraRegisters.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

constexpr int kBuffers = 10;
constexpr int kBlocks = 10;
constexpr uint64_t kBlockFrames = 300;

double ProcessCpuSeconds() {
    rusage u;
    getrusage(RUSAGE_SELF, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) * 1e-6;
}

double ThreadCpuSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

double WallSeconds() {
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

using orvbench::TheCamera;

const int64_t kWidths[] = {2048, 640};
const int64_t kHeights[] = {2048, 480};

struct Measure {
    double cpu = 0, wall = 0, caller = 0;
    uint64_t frames = 0;
    void Add(const Measure& m) {
        cpu += m.cpu;
        wall += m.wall;
        caller += m.caller;
        frames += m.frames;
    }
};

template <class Step>
Measure Time(uint64_t frames, Step&& step) {
    Measure m;
    const double cpu0 = ProcessCpuSeconds(), wall0 = WallSeconds(), thread0 = ThreadCpuSeconds();
    for (uint64_t i = 0; i < frames; ++i)
        if (!step())
            break;
        else
            ++m.frames;
    m.cpu = ProcessCpuSeconds() - cpu0;
    m.wall = WallSeconds() - wall0;
    m.caller = ThreadCpuSeconds() - thread0;
    return m;
}

// The reference: a fake device of its own, registers set directly, the same
// pattern fill, and the plain loop an Aravis application would write.
struct ReferenceBuffer {
    std::vector<uint8_t> memory;
};

struct Filler {
    internal::PatternScratch scratch;
};

void ReferenceFill(ArvBuffer* buffer, void* data, guint32, guint32, ArvPixelFormat format) {
    auto* filler = static_cast<Filler*>(data);
    auto* rb = static_cast<ReferenceBuffer*>(const_cast<void*>(arv_buffer_get_user_data(buffer)));
    internal::PatternFrame frame;
    frame.data = rb->memory.data();
    frame.capacity = rb->memory.size();
    frame.width = static_cast<uint32_t>(arv_buffer_get_part_width(buffer, 0));
    frame.height = static_cast<uint32_t>(arv_buffer_get_part_height(buffer, 0));
    frame.pixelFormat = static_cast<uint32_t>(format);
    frame.pattern = 0;
    frame.frameId = arv_buffer_get_frame_id(buffer);
    internal::FillTestPattern(frame, filler->scratch);
}

Measure AravisBlock(ArvDevice* device, uint32_t width, uint32_t height, uint64_t frames) {
    GError* error = nullptr;
    ArvStream* stream = arv_device_create_stream(device, nullptr, nullptr, &error);
    std::vector<ReferenceBuffer> buffers(kBuffers);
    for (ReferenceBuffer& b : buffers) {
        b.memory.assign(size_t(width) * height, 0);
        arv_stream_push_buffer(stream, arv_buffer_new_full(b.memory.size(), b.memory.data(), &b, nullptr));
    }
    auto step = [stream] {
        ArvBuffer* b = arv_stream_timeout_pop_buffer(stream, 5000000);
        if (!b) return false;
        size_t size = 0;
        benchmark::DoNotOptimize(arv_buffer_get_data(b, &size));
        arv_stream_push_buffer(stream, b);
        return true;
    };
    Time(50, step); // warm-up
    const Measure m = Time(frames, step);
    g_object_unref(stream);
    return m;
}

Measure OrvaneBlock(const CameraPtr& camera, uint64_t frames) {
    camera->BeginAcquisition();
    auto step = [&camera] {
        ImagePtr image = camera->GetNextImage(5000);
        benchmark::DoNotOptimize(image->GetData());
        image->Release();
        return true;
    };
    Time(50, step); // warm-up
    const Measure m = Time(frames, step);
    camera->EndAcquisition();
    return m;
}

// The same loop through the C library: a camera handle over the same camera.
Measure OrvaneCBlock(orvCamera camera, uint64_t frames) {
    if (orvCameraBeginAcquisition(camera) != ORVANE_ERR_SUCCESS) return Measure();
    auto step = [camera] {
        orvImage image = nullptr;
        if (orvCameraGetNextImage(camera, &image) != ORVANE_ERR_SUCCESS) return false;
        void* data = nullptr;
        orvImageGetData(image, &data);
        benchmark::DoNotOptimize(data);
        return orvImageRelease(image) == ORVANE_ERR_SUCCESS;
    };
    Time(50, step); // warm-up
    const Measure m = Time(frames, step);
    orvCameraEndAcquisition(camera);
    return m;
}

// Alternates blocks of the three loops so that both see the same machine load.
void AcquisitionCpuPerFrame(benchmark::State& state) {
    const int index = static_cast<int>(state.range(0));
    const uint32_t width = static_cast<uint32_t>(kWidths[index]), height = static_cast<uint32_t>(kHeights[index]);
    CameraPtr camera = TheCamera().camera; // also installs the virtual camera's description for every fake device
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr(map.GetNode("Width"))->SetValue(width);
    CIntegerPtr(map.GetNode("Height"))->SetValue(height);
    CEnumerationPtr(map.GetNode("PixelFormat"))->FromString("Mono8");
    CEnumerationPtr(map.GetNode("TestPattern"))->FromString("Off");
    CFloatPtr(map.GetNode("ExposureTime"))->SetValue(100.0);
    CFloatPtr(map.GetNode("AcquisitionFrameRate"))->SetValue(1000.0);
    CIntegerPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferCountManual"))->SetValue(kBuffers);
    CEnumerationPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferHandlingMode"))->FromString("OldestFirst");

    GError* error = nullptr;
    ArvDevice* device = arv_fake_device_new("BENCH", &error);
    if (!device) {
        state.SkipWithError("no fake device");
        return;
    }
    ArvFakeCamera* fake = arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(device));
    namespace reg = internal::vcam::reg;
    arv_fake_camera_write_register(fake, reg::Width.address, width);
    arv_fake_camera_write_register(fake, reg::Height.address, height);
    arv_fake_camera_write_register(fake, reg::PixelFormat.address, 0x01080001);
    arv_fake_camera_write_register(fake, reg::AcquisitionFrameRate.address, 1000); // us
    arv_fake_camera_write_register(fake, reg::TriggerMode.address, 0);
    Filler filler;
    arv_fake_camera_set_fill_pattern(fake, ReferenceFill, &filler);

    // The C library's handle to the same camera.
    orvSystem cSystem = nullptr;
    orvCameraList cCameras = nullptr;
    orvCamera cCamera = nullptr;
    if (orvSystemGetInstance(&cSystem) != ORVANE_ERR_SUCCESS ||
        orvCameraListCreateEmpty(&cCameras) != ORVANE_ERR_SUCCESS ||
        orvSystemGetCameras(cSystem, cCameras) != ORVANE_ERR_SUCCESS ||
        orvCameraListGetBySerial(cCameras, "VC0001", &cCamera) != ORVANE_ERR_SUCCESS ||
        orvCameraInit(cCamera) != ORVANE_ERR_SUCCESS) {
        state.SkipWithError("no C camera handle");
        return;
    }

    // Per block: CPU per frame of each loop. The median of the blocks and
    // their minimum (the least disturbed by other work on the machine) are
    // reported, for all loops, with their ratios.
    std::vector<double> aravisCpu, orvaneCpu, cCpu, aravisCaller, orvaneCaller, cCaller;
    Measure aravis, orvane, viaC;
    for (auto _ : state) {
        for (int block = 0; block < kBlocks; ++block) {
            const Measure a = AravisBlock(device, width, height, kBlockFrames);
            const Measure o = OrvaneBlock(camera, kBlockFrames);
            const Measure c = OrvaneCBlock(cCamera, kBlockFrames);
            if (!a.frames || !o.frames || !c.frames) {
                state.SkipWithError("a loop delivered no frames");
                return;
            }
            aravis.Add(a);
            orvane.Add(o);
            viaC.Add(c);
            aravisCpu.push_back(a.cpu / double(a.frames));
            orvaneCpu.push_back(o.cpu / double(o.frames));
            cCpu.push_back(c.cpu / double(c.frames));
            aravisCaller.push_back(a.caller / double(a.frames));
            orvaneCaller.push_back(o.caller / double(o.frames));
            cCaller.push_back(c.caller / double(c.frames));
        }
    }
    arv_fake_camera_set_fill_pattern(fake, nullptr, nullptr);
    g_object_unref(device);
    orvCameraRelease(cCamera);
    orvCameraListDestroy(cCameras);
    orvSystemReleaseInstance(cSystem);

    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    auto minimum = [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); };
    state.counters["aravis_fps"] = double(aravis.frames) / aravis.wall;
    state.counters["orvane_fps"] = double(orvane.frames) / orvane.wall;
    state.counters["aravis_cpu_us_median"] = 1e6 * median(aravisCpu);
    state.counters["orvane_cpu_us_median"] = 1e6 * median(orvaneCpu);
    state.counters["aravis_cpu_us_min"] = 1e6 * minimum(aravisCpu);
    state.counters["orvane_cpu_us_min"] = 1e6 * minimum(orvaneCpu);
    state.counters["aravis_caller_us_median"] = 1e6 * median(aravisCaller);
    state.counters["orvane_caller_us_median"] = 1e6 * median(orvaneCaller);
    state.counters["c_fps"] = double(viaC.frames) / viaC.wall;
    state.counters["c_cpu_us_median"] = 1e6 * median(cCpu);
    state.counters["c_cpu_us_min"] = 1e6 * minimum(cCpu);
    state.counters["c_caller_us_median"] = 1e6 * median(cCaller);
    state.counters["ratio_median"] = median(orvaneCpu) / median(aravisCpu);
    state.counters["ratio_min"] = minimum(orvaneCpu) / minimum(aravisCpu);
    state.counters["c_ratio_median"] = median(cCpu) / median(aravisCpu);
    state.counters["c_ratio_min"] = minimum(cCpu) / minimum(aravisCpu);
    state.SetLabel(std::to_string(width) + "x" + std::to_string(height) + " Mono8, " + std::to_string(kBlocks) + " x " +
                   std::to_string(kBlockFrames) + " frames each, interleaved");
}

} // namespace

BENCHMARK(AcquisitionCpuPerFrame)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
