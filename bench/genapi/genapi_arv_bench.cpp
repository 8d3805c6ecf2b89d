// Feature reads through Orvane's device node map against Aravis's own reads
// of the same nodes of the same ArvGc, on a virtual camera, in one run.
// Orvane reads are measured as users make them (value cache allowed) and past
// the cache (IgnoreCache), which shows the layer's own overhead over Aravis.
#include <benchmark/benchmark.h>

#include <arv.h>

#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "virtual/VirtualCameraRegisters.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

struct Setup {
    Setup() {
        system = System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        camera->Init();
        map = &camera->GetNodeMap();
        gc = camera->Core().Access().Connection()->NodeMap().Gc();
        width = CIntegerPtr(map->GetNode("Width"));
        exposure = CFloatPtr(map->GetNode("ExposureTime"));
        format = CEnumerationPtr(map->GetNode("PixelFormat"));
        arvWidth = ARV_GC_INTEGER(arv_gc_get_node(gc, "Width"));
        arvExposure = ARV_GC_FLOAT(arv_gc_get_node(gc, "ExposureTime"));
        arvFormat = ARV_GC_ENUMERATION(arv_gc_get_node(gc, "PixelFormat"));
    }
    SystemPtr system;
    CameraPtr camera;
    INodeMap* map = nullptr;
    ArvGc* gc = nullptr;
    IInteger* width = nullptr;
    IFloat* exposure = nullptr;
    IEnumeration* format = nullptr;
    ArvGcInteger* arvWidth = nullptr;
    ArvGcFloat* arvExposure = nullptr;
    ArvGcEnumeration* arvFormat = nullptr;
};

Setup& S() {
    static Setup s;
    return s;
}

void AravisIntegerGetValue(benchmark::State& state) {
    ArvGcInteger* n = S().arvWidth;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_integer_get_value(n, nullptr));
}
void OrvaneIntegerGetValue(benchmark::State& state) {
    IInteger* n = S().width;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetValue());
}
void OrvaneIntegerGetValueIgnoreCache(benchmark::State& state) {
    IInteger* n = S().width;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetValue(false, true));
}

void AravisFloatGetValue(benchmark::State& state) {
    ArvGcFloat* n = S().arvExposure;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_float_get_value(n, nullptr));
}
void OrvaneFloatGetValue(benchmark::State& state) {
    IFloat* n = S().exposure;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetValue());
}
void OrvaneFloatGetValueIgnoreCache(benchmark::State& state) {
    IFloat* n = S().exposure;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetValue(false, true));
}

void AravisEnumerationGetIntValue(benchmark::State& state) {
    ArvGcEnumeration* n = S().arvFormat;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_enumeration_get_int_value(n, nullptr));
}
void OrvaneEnumerationGetIntValue(benchmark::State& state) {
    IEnumeration* n = S().format;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetIntValue());
}
void OrvaneEnumerationGetIntValueIgnoreCache(benchmark::State& state) {
    IEnumeration* n = S().format;
    for (auto _ : state) benchmark::DoNotOptimize(n->GetIntValue(false, true));
}

// Attaching one frame's chunk data (every chunk of the virtual camera, a
// 64 KiB image chunk first), as the acquisition does for each image.
void OrvaneAttachChunkData(benchmark::State& state) {
    namespace vcam = Orvane::internal::vcam;
    std::vector<uint8_t> data;
    auto append = [&](uint32_t id, size_t length) {
        data.resize(data.size() + length, 0x5A);
        for (uint32_t v : {id, static_cast<uint32_t>(length)})
            for (int i = 3; i >= 0; --i) data.push_back(static_cast<uint8_t>(v >> (8 * i)));
    };
    for (const vcam::ChunkInfo& c : vcam::kChunks) append(c.id, c.id == vcam::chunk::Image ? 65536 : c.length);
    auto& map = S().camera->Core().Access().Connection()->NodeMap();
    for (auto _ : state) map.AttachChunkData(data.data(), data.size());
    map.DetachChunkData();
}

void OrvaneGetNode(benchmark::State& state) {
    INodeMap* map = S().map;
    const GenICam::gcstring name("ExposureTime");
    for (auto _ : state) benchmark::DoNotOptimize(map->GetNode(name));
}
void AravisGetNode(benchmark::State& state) {
    ArvGc* gc = S().gc;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_get_node(gc, "ExposureTime"));
}

} // namespace

BENCHMARK(AravisIntegerGetValue);
BENCHMARK(OrvaneIntegerGetValue);
BENCHMARK(OrvaneIntegerGetValueIgnoreCache);
BENCHMARK(AravisFloatGetValue);
BENCHMARK(OrvaneFloatGetValue);
BENCHMARK(OrvaneFloatGetValueIgnoreCache);
BENCHMARK(AravisEnumerationGetIntValue);
BENCHMARK(OrvaneEnumerationGetIntValue);
BENCHMARK(OrvaneEnumerationGetIntValueIgnoreCache);
BENCHMARK(OrvaneAttachChunkData);
BENCHMARK(OrvaneGetNode);
BENCHMARK(AravisGetNode);

BENCHMARK_MAIN();
