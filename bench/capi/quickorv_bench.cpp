// QuickOrv on an initialised virtual camera: filling the 674-field camera
// structure the first time (every lookup asks the SDK and makes a handle)
// and warm (every lookup hits the node map handle's cache), the transport
// layer's device and stream structures warm, and the enumeration constants
// against the plain integer write and entry read they translate to.
// Goal: warm quickOrvInit <= 100 us.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "OrvaneC.h"

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
    }
    orvSystem system = nullptr;
    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
    orvNodeMapHandle map = nullptr;
};

Setup& S() {
    static Setup s;
    return s;
}

// Drops every handle a fill made, so that the next fill starts cold.
void ReleaseAll(const quickOrv& q) {
    const orvNodeHandle* fields = reinterpret_cast<const orvNodeHandle*>(&q);
    for (size_t i = 0; i < sizeof q / sizeof fields[0]; ++i)
        if (fields[i]) orvNodeMapReleaseNode(S().map, fields[i]);
}

void QuickOrvInitFirstFill(benchmark::State& state) {
    quickOrv q;
    if (quickOrvInit(S().camera, &q) != ORVANE_ERR_SUCCESS) state.SkipWithError("quickOrvInit failed");
    for (auto _ : state) {
        state.PauseTiming();
        ReleaseAll(q);
        state.ResumeTiming();
        quickOrvInit(S().camera, &q);
        benchmark::DoNotOptimize(q);
    }
    if (!q.Width) state.SkipWithError("no Width");
}

void QuickOrvInitWarmFill(benchmark::State& state) {
    quickOrv q;
    if (quickOrvInit(S().camera, &q) != ORVANE_ERR_SUCCESS) state.SkipWithError("quickOrvInit failed");
    for (auto _ : state) {
        quickOrvInit(S().camera, &q);
        benchmark::DoNotOptimize(q);
    }
    if (!q.Width) state.SkipWithError("no Width");
}

void QuickOrvTLDeviceAndStreamWarmFill(benchmark::State& state) {
    quickOrvTLDevice device;
    quickOrvTLStream stream;
    for (auto _ : state) {
        quickOrvTLDeviceInit(S().camera, &device);
        quickOrvTLStreamInit(S().camera, &stream);
        benchmark::DoNotOptimize(device);
        benchmark::DoNotOptimize(stream);
    }
}

// The same two writes by integer and by constant (AcquisitionMode
// SingleFrame and Continuous).
void EnumerationSetIntValue(benchmark::State& state) {
    orvNodeHandle mode = nullptr, single = nullptr, continuous = nullptr;
    int64_t a = 0, b = 0;
    orvNodeMapGetNode(S().map, "AcquisitionMode", &mode);
    orvEnumerationGetEntryByName(mode, "SingleFrame", &single);
    orvEnumerationGetEntryByName(mode, "Continuous", &continuous);
    orvEnumerationEntryGetIntValue(single, &a);
    orvEnumerationEntryGetIntValue(continuous, &b);
    for (auto _ : state) {
        orvEnumerationSetIntValue(mode, a);
        orvEnumerationSetIntValue(mode, b);
    }
}

void EnumerationSetEnumValue(benchmark::State& state) {
    orvNodeHandle mode = nullptr;
    orvNodeMapGetNode(S().map, "AcquisitionMode", &mode);
    for (auto _ : state) {
        orvEnumerationSetEnumValue(mode, AcquisitionMode_SingleFrame);
        orvEnumerationSetEnumValue(mode, AcquisitionMode_Continuous);
    }
}

void EnumerationEntryGetEnumValue(benchmark::State& state) {
    orvNodeHandle format = nullptr, entry = nullptr;
    orvNodeMapGetNode(S().map, "PixelFormat", &format);
    orvEnumerationGetEntryByName(format, "BayerRG8", &entry);
    size_t value = 0;
    for (auto _ : state) {
        orvEnumerationEntryGetEnumValue(entry, &value);
        benchmark::DoNotOptimize(value);
    }
    if (value != PixelFormat_BayerRG8) state.SkipWithError("wrong constant");
}

BENCHMARK(QuickOrvInitFirstFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(QuickOrvInitWarmFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(QuickOrvTLDeviceAndStreamWarmFill)->Unit(benchmark::kMicrosecond);
BENCHMARK(EnumerationSetIntValue);
BENCHMARK(EnumerationSetEnumValue);
BENCHMARK(EnumerationEntryGetEnumValue);

} // namespace

BENCHMARK_MAIN();
