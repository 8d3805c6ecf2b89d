// Latency from a virtual camera's frame to the code that gets it: an image
// event handler (called on the camera's delivery thread) against a caller
// waiting in GetNextImage (the reference), measured in one run.
//
// Each latency is the camera clock when the image reaches the handler (or
// GetNextImage returns) minus the frame's timestamp, which the virtual
// camera takes when the frame starts: it so includes making the frame (a
// 64 x 16 Mono8 test pattern, reported separately as "fill") and its
// completion on the fake stream's thread, then the hand-off, which is what
// differs between the two ways. Blocks of the two alternate so that both see
// the same machine load; the median and the 99th percentile of every frame's
// latency are reported, with their ratios (handler / GetNextImage).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "../common/BenchCamera.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/System.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "virtual/TestPattern.h"
#include "virtual/VirtualCameraRuntime.h"
#include "virtual/VirtualDeviceConnection.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

constexpr int kBlocks = 10;
constexpr size_t kBlockFrames = 300;
constexpr size_t kWarmUp = 30;
constexpr uint32_t kWidth = 64, kHeight = 16;

using orvbench::TheCamera;

// The camera clock (ns) of an initialised virtual camera.
internal::VirtualCameraRuntime& RuntimeOf(const CameraPtr& camera) {
    return static_cast<internal::VirtualDeviceConnection&>(*camera->Core().Access().Connection()).Runtime();
}

// Records each frame's latency on the delivery thread (no allocation there:
// the vector is reserved).
struct LatencyHandler : ImageEventHandler {
    explicit LatencyHandler(internal::VirtualCameraRuntime& r) : runtime(r) {
        latencies.reserve(kWarmUp + kBlockFrames);
    }
    void OnImageEvent(ImagePtr image) override {
        const uint64_t now = runtime.TimestampNs();
        std::lock_guard<std::mutex> lock(mutex);
        if (latencies.size() < kWarmUp + kBlockFrames) latencies.push_back(double(now - image->GetTimeStamp()));
        if (latencies.size() == kWarmUp + kBlockFrames) done.notify_all();
    }
    internal::VirtualCameraRuntime& runtime;
    std::mutex mutex;
    std::condition_variable done;
    std::vector<double> latencies;
};

bool HandlerBlock(const CameraPtr& camera, std::vector<double>& out) {
    LatencyHandler handler(RuntimeOf(camera));
    camera->RegisterEventHandler(handler);
    camera->BeginAcquisition();
    bool complete = false;
    {
        std::unique_lock<std::mutex> lock(handler.mutex);
        complete = handler.done.wait_for(lock, std::chrono::seconds(30),
                                         [&] { return handler.latencies.size() == kWarmUp + kBlockFrames; });
    }
    camera->EndAcquisition();
    camera->UnregisterEventHandler(handler);
    out.insert(out.end(), handler.latencies.begin() + kWarmUp, handler.latencies.end());
    return complete;
}

bool NextImageBlock(const CameraPtr& camera, std::vector<double>& out) {
    internal::VirtualCameraRuntime& runtime = RuntimeOf(camera);
    camera->BeginAcquisition();
    for (size_t i = 0; i < kWarmUp + kBlockFrames; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        const uint64_t now = runtime.TimestampNs();
        if (i >= kWarmUp) out.push_back(double(now - image->GetTimeStamp()));
        image->Release();
    }
    camera->EndAcquisition();
    return true;
}

double Percentile(std::vector<double> v, double p) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    const size_t i = std::min(v.size() - 1, static_cast<size_t>(p * double(v.size() - 1) + 0.5));
    return v[i];
}

// Making one frame: the test pattern of the frame size, as the camera draws it.
double FillMicroseconds() {
    std::vector<uint8_t> memory(size_t(kWidth) * kHeight);
    internal::PatternScratch scratch;
    internal::PatternFrame frame;
    frame.data = memory.data();
    frame.capacity = memory.size();
    frame.width = kWidth;
    frame.height = kHeight;
    frame.pixelFormat = 0x01080001; // Mono8
    frame.pattern = 0;
    const int n = 2000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < n; ++i) {
        frame.frameId = uint64_t(i) + 1;
        benchmark::DoNotOptimize(internal::FillTestPattern(frame, scratch));
    }
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() / n;
}

void ImageEventLatency(benchmark::State& state) {
    CameraPtr camera = TheCamera().camera;
    INodeMap& map = camera->GetNodeMap();
    CIntegerPtr(map.GetNode("Width"))->SetValue(kWidth);
    CIntegerPtr(map.GetNode("Height"))->SetValue(kHeight);
    CEnumerationPtr(map.GetNode("PixelFormat"))->FromString("Mono8");
    CFloatPtr(map.GetNode("ExposureTime"))->SetValue(100.0);
    CFloatPtr(map.GetNode("AcquisitionFrameRate"))->SetValue(1000.0);
    CIntegerPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferCountManual"))->SetValue(10);
    CEnumerationPtr(camera->GetTLStreamNodeMap().GetNode("StreamBufferHandlingMode"))->FromString("OldestFirst");

    std::vector<double> handler, next;
    for (auto _ : state) {
        for (int block = 0; block < kBlocks; ++block) {
            if (!HandlerBlock(camera, handler) || !NextImageBlock(camera, next)) {
                state.SkipWithError("a block delivered too few frames");
                return;
            }
        }
    }
    const double hMedian = Percentile(handler, 0.5) / 1000, hP99 = Percentile(handler, 0.99) / 1000;
    const double nMedian = Percentile(next, 0.5) / 1000, nP99 = Percentile(next, 0.99) / 1000;
    state.counters["handler_median_us"] = hMedian;
    state.counters["handler_p99_us"] = hP99;
    state.counters["next_median_us"] = nMedian;
    state.counters["next_p99_us"] = nP99;
    state.counters["ratio_median"] = nMedian > 0 ? hMedian / nMedian : 0;
    state.counters["ratio_p99"] = nP99 > 0 ? hP99 / nP99 : 0;
    state.counters["fill_us"] = FillMicroseconds();
    state.counters["frames_each"] = double(handler.size());
}

BENCHMARK(ImageEventLatency)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
