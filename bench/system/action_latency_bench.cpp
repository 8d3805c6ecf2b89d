// Latency from an action command to the frame it triggers on a virtual camera
// (TriggerSource Action0; System::SendActionCommand with an acknowledgement
// asked for), against the latency from TriggerSoftware to its frame on a
// second virtual camera of the same settings, in one run: each sample is the
// wall time from just before the command to the return of GetNextImage with
// the frame. Blocks of the two alternate so that both see the same machine
// load. Reported: median and 99th percentile of each, and their ratios.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kDeviceKey = 0x1234, kGroupKey = 1, kGroupMask = 1;
constexpr int kBlocks = 20;
constexpr int kPerBlock = 100;

struct Rig {
    Rig() {
        setenv("ORVANE_VIRTUAL_CAMERAS", "2", 1);
        system = System::GetInstance();
        CameraList list = system->GetCameras();
        action = list.GetBySerial("VC0001");
        software = list.GetBySerial("VC0002");
        Prepare(action, "Action0");
        Prepare(software, "Software");
        INodeMap& map = action->GetNodeMap();
        CIntegerPtr(map.GetNode("ActionDeviceKey"))->SetValue(kDeviceKey);
        CIntegerPtr(map.GetNode("ActionSelector"))->SetValue(0);
        CIntegerPtr(map.GetNode("ActionGroupKey"))->SetValue(kGroupKey);
        CIntegerPtr(map.GetNode("ActionGroupMask"))->SetValue(kGroupMask);
        trigger = software->GetNodeMap().GetNode("TriggerSoftware");
        action->BeginAcquisition();
        software->BeginAcquisition();
    }
    ~Rig() {
        for (const CameraPtr& c : {action, software}) {
            c->EndAcquisition();
            c->DeInit();
        }
        action = software = nullptr;
        trigger = nullptr;
        system->ReleaseInstance();
    }
    static void Prepare(const CameraPtr& c, const char* source) {
        c->Init();
        INodeMap& map = c->GetNodeMap();
        CIntegerPtr(map.GetNode("Width"))->SetValue(64);
        CIntegerPtr(map.GetNode("Height"))->SetValue(16);
        CFloatPtr(map.GetNode("ExposureTime"))->SetValue(20.0);
        CEnumerationPtr(map.GetNode("TriggerSelector"))->FromString("FrameStart");
        CEnumerationPtr(map.GetNode("TriggerMode"))->FromString("On");
        CEnumerationPtr(map.GetNode("TriggerSource"))->FromString(source);
    }

    SystemPtr system;
    CameraPtr action, software;
    CCommandPtr trigger;
};

// Microseconds from the trigger to the frame.
template <class Trigger>
double Sample(const CameraPtr& camera, Trigger&& fire) {
    const Clock::time_point start = Clock::now();
    fire();
    ImagePtr image = camera->GetNextImage(5000);
    const double us = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    image->Release();
    return us;
}

double Percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    const size_t i = std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())));
    return v[i];
}

void BM_TriggerToFrame(benchmark::State& state) {
    Rig rig;
    unsigned acknowledged = 0;
    std::vector<double> action, software;
    for (auto _ : state) {
        action.clear();
        software.clear();
        for (int b = 0; b < kBlocks; ++b) {
            for (int i = 0; i < kPerBlock; ++i)
                action.push_back(Sample(rig.action, [&] {
                    unsigned n = 0;
                    rig.system->SendActionCommand(kDeviceKey, kGroupKey, kGroupMask, ActionTimeImmediate, true, &n);
                    acknowledged = n;
                }));
            for (int i = 0; i < kPerBlock; ++i)
                software.push_back(Sample(rig.software, [&] { rig.trigger->Execute(); }));
        }
        double total = 0;
        for (double us : action) total += us;
        state.SetIterationTime(total * 1e-6 / static_cast<double>(action.size()));
    }
    if (acknowledged != 1) state.SkipWithError("the action command was not acknowledged by one camera");
    const double am = Percentile(action, 0.5), a99 = Percentile(action, 0.99);
    const double sm = Percentile(software, 0.5), s99 = Percentile(software, 0.99);
    state.counters["action_median_us"] = am;
    state.counters["action_p99_us"] = a99;
    state.counters["software_median_us"] = sm;
    state.counters["software_p99_us"] = s99;
    state.counters["median_ratio"] = am / sm;
    state.counters["p99_ratio"] = a99 / s99;
}
BENCHMARK(BM_TriggerToFrame)->Iterations(3)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
