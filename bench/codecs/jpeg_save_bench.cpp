// JPEG save of a 3 MP (2048x1536) BGR8 image at quality 90: Orvane's writer
// (atomic file, option checks) against TurboJPEG alone (tjCompress2 into
// memory, then fwrite), measured in the same run. Goal: ratio <= 1.1.
//
// Besides the two Google Benchmark cases, main() measures pairs of saves, one
// of each, in alternating order, and reports the median of the per-pair
// ratios of wall time and of thread CPU time: on a shared, loaded machine the
// pairing cancels the drift that separate runs suffer.
#include <benchmark/benchmark.h>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <turbojpeg.h>

#include "codecs/ImageWriters.h"

namespace {

const int kWidth = 2048;
const int kHeight = 1536;

// Camera-like content: smooth shading, edges and a little sensor noise.
const std::vector<uint8_t>& Image() {
    static const std::vector<uint8_t> pixels = [] {
        std::vector<uint8_t> p(size_t(kWidth) * kHeight * 3);
        uint32_t noise = 1;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                for (int c = 0; c < 3; ++c) {
                    noise = noise * 1664525u + 1013904223u;
                    double v = 128 + 60 * std::sin(0.01 * x + c) * std::cos(0.013 * y - c) +
                               ((x / 64 + y / 64) % 2 ? 30 : -30) + double(noise >> 29) - 4;
                    p[(size_t(y) * kWidth + x) * 3 + c] = uint8_t(std::lround(std::fmin(255, std::fmax(0, v))));
                }
        return p;
    }();
    return pixels;
}

std::string Directory() {
    static const std::string dir = [] {
        char t[] = "/tmp/orvane-bench-jpeg-XXXXXX";
        return std::string(mkdtemp(t));
    }();
    return dir;
}

// The reference: one compression into memory and one fwrite; the TurboJPEG
// handle is made once, outside the timing.
bool SaveWithTurboJpeg(tjhandle tj, const std::string& path) {
    const std::vector<uint8_t>& img = Image();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    if (tjCompress2(tj, img.data(), kWidth, kWidth * 3, kHeight, TJPF_BGR, &jpeg, &size, TJSAMP_420, 90, 0) != 0)
        return false;
    FILE* f = std::fopen(path.c_str(), "wb");
    const bool ok = f != nullptr && std::fwrite(jpeg, 1, size, f) == size;
    if (f != nullptr) std::fclose(f);
    tjFree(jpeg);
    return ok;
}

void SaveWithOrvane(const std::string& path) {
    Orvane::codecs::PixelBuffer buffer;
    buffer.data = Image().data();
    buffer.width = kWidth;
    buffer.height = kHeight;
    buffer.order = Orvane::codecs::ChannelOrder::BGR;
    Orvane::JPEGOption option;
    option.quality = 90;
    Orvane::codecs::WriteJPEG(path, buffer, option);
}

void BM_TurboJpegAlone(benchmark::State& state) {
    const std::string path = Directory() + "/reference.jpg";
    tjhandle tj = tjInitCompress();
    for (auto _ : state) {
        if (!SaveWithTurboJpeg(tj, path)) {
            state.SkipWithError("TurboJPEG save failed");
            break;
        }
    }
    tjDestroy(tj);
    unlink(path.c_str());
}

void BM_OrvaneWriteJPEG(benchmark::State& state) {
    const std::string path = Directory() + "/orvane.jpg";
    for (auto _ : state) SaveWithOrvane(path);
    unlink(path.c_str());
}

double Seconds(clockid_t clock) {
    timespec t;
    clock_gettime(clock, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Alternating pairs (order swapped every pair); prints the medians of the per-pair ratios.
void PairedRatio(int pairs) {
    const std::string ref = Directory() + "/pair-reference.jpg";
    const std::string orv = Directory() + "/pair-orvane.jpg";
    tjhandle tj = tjInitCompress();
    std::vector<double> wall, cpu;
    for (int i = 0; i < pairs + 2; ++i) {
        // The order within a pair alternates, so that neither side always
        // follows the other's file system work.
        double refWall = 0, refCpu = 0, orvWall = 0, orvCpu = 0;
        for (int k = 0; k < 2; ++k) {
            const bool reference = (k == 0) == (i % 2 == 0);
            const double w0 = Seconds(CLOCK_MONOTONIC), c0 = Seconds(CLOCK_THREAD_CPUTIME_ID);
            if (reference) {
                SaveWithTurboJpeg(tj, ref);
                refWall = Seconds(CLOCK_MONOTONIC) - w0;
                refCpu = Seconds(CLOCK_THREAD_CPUTIME_ID) - c0;
            } else {
                SaveWithOrvane(orv);
                orvWall = Seconds(CLOCK_MONOTONIC) - w0;
                orvCpu = Seconds(CLOCK_THREAD_CPUTIME_ID) - c0;
            }
        }
        if (i < 2) continue; // warm-up
        wall.push_back(orvWall / refWall);
        cpu.push_back(orvCpu / refCpu);
    }
    tjDestroy(tj);
    unlink(ref.c_str());
    unlink(orv.c_str());
    const double w = Median(wall), c = Median(cpu);
    std::printf(
        "JPEG save 2048x1536 BGR8 q90, %d alternating pairs: median ratio Orvane/TurboJPEG: wall %.3f, "
        "CPU %.3f (goal <= 1.1): %s\n",
        pairs, w, c, w <= 1.1 ? "met" : "NOT met");
}

BENCHMARK(BM_TurboJpegAlone)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_OrvaneWriteJPEG)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Console output plus the median times, for the ratio.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& r : runs)
            if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median")
                medians[r.run_name.function_name] = r.GetAdjustedRealTime();
    }
    std::map<std::string, double> medians;
};

} // namespace

int main(int argc, char** argv) {
    Image();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const auto ref = reporter.medians.find("BM_TurboJpegAlone");
    const auto orv = reporter.medians.find("BM_OrvaneWriteJPEG");
    if (ref != reporter.medians.end() && orv != reporter.medians.end() && ref->second > 0)
        std::printf(
            "JPEG save 2048x1536 BGR8 q90, separate runs: Orvane %.2f ms, TurboJPEG alone %.2f ms, ratio %.3f\n",
            orv->second, ref->second, orv->second / ref->second);
    PairedRatio(40);
    rmdir(Directory().c_str());
    benchmark::Shutdown();
    return 0;
}
