// Reading a virtual camera's Width, ExposureTime and PixelFormat through the C
// library on cached node handles, against Aravis's own reads of the same nodes
// of the same ArvGc, in one run; and the node handle lookup on a cache hit.
// Goals: C reads <= 1.2x Aravis's; orvNodeMapGetNode (hit) <= 50 ns.
#include <arv.h>
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/System.h"
#include "OrvaneC.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"

namespace {

struct Setup {
    Setup() {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        orvSystemGetInstance(&system);
        orvCameraListCreateEmpty(&cameras);
        orvSystemGetCameras(system, cameras);
        orvCameraListGetBySerial(cameras, "VC0001", &camera);
        orvCameraInit(camera);
        orvCameraGetNodeMap(camera, &map);
        orvNodeMapGetNode(map, "Width", &width);
        orvNodeMapGetNode(map, "ExposureTime", &exposure);
        orvNodeMapGetNode(map, "PixelFormat", &format);
        // The same camera through the SDK (one process-wide system), down to its ArvGc.
        cxxSystem = Orvane::System::GetInstance();
        cxxCamera = cxxSystem->GetCameras().GetBySerial("VC0001");
        gc = cxxCamera->Core().Access().Connection()->NodeMap().Gc();
        arvWidth = ARV_GC_INTEGER(arv_gc_get_node(gc, "Width"));
        arvExposure = ARV_GC_FLOAT(arv_gc_get_node(gc, "ExposureTime"));
        arvFormat = ARV_GC_ENUMERATION(arv_gc_get_node(gc, "PixelFormat"));
    }
    orvSystem system = nullptr;
    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
    orvNodeMapHandle map = nullptr;
    orvNodeHandle width = nullptr, exposure = nullptr, format = nullptr;
    Orvane::SystemPtr cxxSystem;
    Orvane::CameraPtr cxxCamera;
    ArvGc* gc = nullptr;
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
void CIntegerGetValue(benchmark::State& state) {
    orvNodeHandle n = S().width;
    int64_t v = 0;
    for (auto _ : state) {
        orvIntegerGetValue(n, &v);
        benchmark::DoNotOptimize(v);
    }
    if (v <= 0) state.SkipWithError("no width");
}

void AravisFloatGetValue(benchmark::State& state) {
    ArvGcFloat* n = S().arvExposure;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_float_get_value(n, nullptr));
}
void CFloatGetValue(benchmark::State& state) {
    orvNodeHandle n = S().exposure;
    double v = 0;
    for (auto _ : state) {
        orvFloatGetValue(n, &v);
        benchmark::DoNotOptimize(v);
    }
    if (v <= 0) state.SkipWithError("no exposure time");
}

void AravisEnumerationGetIntValue(benchmark::State& state) {
    ArvGcEnumeration* n = S().arvFormat;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_enumeration_get_int_value(n, nullptr));
}
void CEnumerationCurrentEntryValue(benchmark::State& state) {
    orvNodeHandle n = S().format;
    orvNodeHandle entry = nullptr;
    int64_t v = 0;
    for (auto _ : state) {
        orvEnumerationGetCurrentEntry(n, &entry);
        orvEnumerationEntryGetIntValue(entry, &v);
        benchmark::DoNotOptimize(v);
    }
    if (v <= 0) state.SkipWithError("no pixel format");
}
void CNodeToStringEnumeration(benchmark::State& state) {
    orvNodeHandle n = S().format;
    char text[64];
    for (auto _ : state) {
        size_t length = sizeof text;
        orvNodeToString(n, text, &length);
        benchmark::DoNotOptimize(text[0]);
    }
}
void AravisEnumerationGetStringValue(benchmark::State& state) {
    ArvGcEnumeration* n = S().arvFormat;
    for (auto _ : state) benchmark::DoNotOptimize(arv_gc_enumeration_get_string_value(n, nullptr));
}

void CNodeMapGetNodeHit(benchmark::State& state) {
    orvNodeMapHandle map = S().map;
    orvNodeHandle node = nullptr;
    for (auto _ : state) {
        orvNodeMapGetNode(map, "ExposureTime", &node);
        benchmark::DoNotOptimize(node);
    }
    if (node != S().exposure) state.SkipWithError("the lookup missed the cached handle");
}

} // namespace

BENCHMARK(AravisIntegerGetValue);
BENCHMARK(CIntegerGetValue);
BENCHMARK(AravisFloatGetValue);
BENCHMARK(CFloatGetValue);
BENCHMARK(AravisEnumerationGetIntValue);
BENCHMARK(CEnumerationCurrentEntryValue);
BENCHMARK(AravisEnumerationGetStringValue);
BENCHMARK(CNodeToStringEnumeration);
BENCHMARK(CNodeMapGetNodeHit);

BENCHMARK_MAIN();
