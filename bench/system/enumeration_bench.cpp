// Enumerating virtual cameras: the whole path a program takes on start-up
// (system, interfaces, camera list), through the C++ SDK and the C library,
// against Aravis's own device-list update with only its in-process fake
// interface enabled, in the same run. Goal: well under 1 ms.
#include <arv.h>
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "Orvane/System.h"
#include "OrvaneC.h"

namespace {

// A fresh system each iteration: its construction is part of the cost.
void BM_OrvaneEnumerateFresh(benchmark::State& state) {
    setenv("ORVANE_TRANSPORTS", "virtual", 1);
    for (auto _ : state) {
        Orvane::SystemPtr system = Orvane::System::GetInstance();
        Orvane::InterfaceList interfaces = system->GetInterfaces();
        Orvane::CameraList cameras = system->GetCameras();
        benchmark::DoNotOptimize(cameras.GetSize());
        cameras.Clear();
        interfaces.Clear();
        system->ReleaseInstance();
    }
}
BENCHMARK(BM_OrvaneEnumerateFresh);

// Re-enumerating with a system that stays up.
void BM_OrvaneEnumerateWarm(benchmark::State& state) {
    setenv("ORVANE_TRANSPORTS", "virtual", 1);
    Orvane::SystemPtr system = Orvane::System::GetInstance();
    for (auto _ : state) {
        Orvane::InterfaceList interfaces = system->GetInterfaces();
        Orvane::CameraList cameras = system->GetCameras();
        benchmark::DoNotOptimize(cameras.GetSize());
    }
}
BENCHMARK(BM_OrvaneEnumerateWarm);

void BM_CEnumerateFresh(benchmark::State& state) {
    setenv("ORVANE_TRANSPORTS", "virtual", 1);
    for (auto _ : state) {
        orvSystem system = nullptr;
        orvInterfaceList interfaces = nullptr;
        orvCameraList cameras = nullptr;
        size_t n = 0;
        orvSystemGetInstance(&system);
        orvInterfaceListCreateEmpty(&interfaces);
        orvCameraListCreateEmpty(&cameras);
        orvSystemGetInterfaces(system, interfaces);
        orvSystemGetCameras(system, cameras);
        orvCameraListGetSize(cameras, &n);
        benchmark::DoNotOptimize(n);
        orvCameraListDestroy(cameras);
        orvInterfaceListDestroy(interfaces);
        orvSystemReleaseInstance(system);
    }
}
BENCHMARK(BM_CEnumerateFresh);

// Reference: Aravis updating its device list with only the fake interface.
void BM_AravisFakeUpdate(benchmark::State& state) {
    for (unsigned i = 0; i < arv_get_n_interfaces(); ++i) arv_disable_interface(arv_get_interface_id(i));
    arv_enable_interface("Fake");
    for (auto _ : state) {
        arv_update_device_list();
        benchmark::DoNotOptimize(arv_get_n_devices());
    }
}
BENCHMARK(BM_AravisFakeUpdate);

} // namespace

BENCHMARK_MAIN();
