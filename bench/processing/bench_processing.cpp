// Processing kernels against their references, measured in the same run:
// - BayerRG8 -> BGR8 bilinear, 12 MP, 1 and 2 threads: OpenCV cvtColor(COLOR_BayerRGGB2BGR)
// - Mono12p -> Mono16, 12 MP: a straightforward unpacking loop
// - per-channel statistics of a 12 MP BGR8 image: OpenCV mean + minMaxLoc per channel
// After the benchmarks a table gives each reference's time divided by Orvane's
// (above 1: Orvane is faster).
#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "processing/Convert.h"
#include "processing/Statistics.h"

namespace {

constexpr int kWidth = 4000, kHeight = 3000;

cv::Mat RandomMat(int rows, int cols, int type, unsigned seed) {
    cv::Mat m(rows, cols, type);
    std::mt19937 rng(seed);
    for (size_t i = 0; i < m.total() * m.elemSize(); ++i) m.data[i] = static_cast<uint8_t>(rng());
    return m;
}

Orvane::internal::ImageView View(const cv::Mat& m, int w, int h, Orvane::PixelFormatEnums f) {
    Orvane::internal::ImageView v;
    v.data = m.data;
    v.size = m.total() * m.elemSize();
    v.width = w;
    v.height = h;
    v.format = f;
    return v;
}

Orvane::internal::MutableImageView Out(cv::Mat& m, int w, int h, Orvane::PixelFormatEnums f) {
    Orvane::internal::MutableImageView v;
    v.data = m.data;
    v.size = m.total() * m.elemSize();
    v.width = w;
    v.height = h;
    v.format = f;
    return v;
}

void BM_BayerRG8ToBGR8_Orvane(benchmark::State& state) {
    const unsigned threads = static_cast<unsigned>(state.range(0));
    const cv::Mat src = RandomMat(kHeight, kWidth, CV_8UC1, 1);
    cv::Mat dst(kHeight, kWidth, CV_8UC3, cv::Scalar::all(0));
    for (auto _ : state) {
        Orvane::internal::Convert(View(src, kWidth, kHeight, Orvane::PixelFormat_BayerRG8),
                                  Out(dst, kWidth, kHeight, Orvane::PixelFormat_BGR8),
                                  Orvane::COLOR_PROCESSING_BILINEAR, threads);
        benchmark::DoNotOptimize(dst.data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight);
}

void BM_BayerRG8ToBGR8_OpenCV(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    const int saved = cv::getNumThreads();
    cv::setNumThreads(threads);
    const cv::Mat src = RandomMat(kHeight, kWidth, CV_8UC1, 1);
    cv::Mat dst(kHeight, kWidth, CV_8UC3, cv::Scalar::all(0));
    for (auto _ : state) {
        cv::cvtColor(src, dst, cv::COLOR_BayerRGGB2BGR);
        benchmark::DoNotOptimize(dst.data);
        benchmark::ClobberMemory();
    }
    cv::setNumThreads(saved);
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight);
}

void BM_Mono12pToMono16_Orvane(benchmark::State& state) {
    const cv::Mat src = RandomMat(1, kWidth * kHeight * 3 / 2, CV_8UC1, 2);
    cv::Mat dst(kHeight, kWidth, CV_16UC1, cv::Scalar::all(0));
    for (auto _ : state) {
        Orvane::internal::Convert(View(src, kWidth, kHeight, Orvane::PixelFormat_Mono12p),
                                  Out(dst, kWidth, kHeight, Orvane::PixelFormat_Mono16),
                                  Orvane::COLOR_PROCESSING_DEFAULT, 1);
        benchmark::DoNotOptimize(dst.data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight * 3 / 2);
}

// The reference: two pixels from three bytes, scaled to 16 bits the same way.
void BM_Mono12pToMono16_SimpleLoop(benchmark::State& state) {
    const cv::Mat src = RandomMat(1, kWidth * kHeight * 3 / 2, CV_8UC1, 2);
    cv::Mat dst(kHeight, kWidth, CV_16UC1, cv::Scalar::all(0));
    for (auto _ : state) {
        const uint8_t* p = src.data;
        uint16_t* o = reinterpret_cast<uint16_t*>(dst.data);
        const size_t pairs = size_t(kWidth) * kHeight / 2;
        for (size_t i = 0; i < pairs; ++i, p += 3, o += 2) {
            const uint16_t a = static_cast<uint16_t>(p[0] | (p[1] & 0x0F) << 8);
            const uint16_t b = static_cast<uint16_t>(p[1] >> 4 | p[2] << 4);
            o[0] = static_cast<uint16_t>(a << 4 | a >> 8);
            o[1] = static_cast<uint16_t>(b << 4 | b >> 8);
        }
        benchmark::DoNotOptimize(dst.data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight * 3 / 2);
}

// Red, green and blue: smallest and largest value, mean, histogram, distinct values.
void BM_StatisticsBGR8_Orvane(benchmark::State& state) {
    const unsigned threads = static_cast<unsigned>(state.range(0));
    const cv::Mat src = RandomMat(kHeight, kWidth, CV_8UC3, 3);
    const unsigned mask =
        1u << Orvane::internal::kStatRed | 1u << Orvane::internal::kStatGreen | 1u << Orvane::internal::kStatBlue;
    for (auto _ : state) {
        Orvane::internal::StatisticsResult r = Orvane::internal::ComputeStatistics(
            View(src, kWidth, kHeight, Orvane::PixelFormat_BGR8), mask, Orvane::COLOR_PROCESSING_DEFAULT, threads);
        benchmark::DoNotOptimize(r);
    }
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight * 3);
}

// The reference: cv::mean of the image and cv::minMaxLoc of each channel.
void BM_StatisticsBGR8_OpenCV(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    const int saved = cv::getNumThreads();
    cv::setNumThreads(threads);
    const cv::Mat src = RandomMat(kHeight, kWidth, CV_8UC3, 3);
    cv::Mat channel(kHeight, kWidth, CV_8UC1);
    for (auto _ : state) {
        cv::Scalar mean = cv::mean(src);
        double mn[3], mx[3];
        for (int c = 0; c < 3; ++c) {
            cv::extractChannel(src, channel, c);
            cv::minMaxLoc(channel, &mn[c], &mx[c]);
        }
        benchmark::DoNotOptimize(mean);
        benchmark::DoNotOptimize(mn);
        benchmark::DoNotOptimize(mx);
    }
    cv::setNumThreads(saved);
    state.SetBytesProcessed(state.iterations() * int64_t(kWidth) * kHeight * 3);
}

// All seven channels (grey and HSL included), for information.
void BM_StatisticsBGR8AllChannels_Orvane(benchmark::State& state) {
    const cv::Mat src = RandomMat(kHeight, kWidth, CV_8UC3, 3);
    for (auto _ : state) {
        Orvane::internal::StatisticsResult r = Orvane::internal::ComputeStatistics(
            View(src, kWidth, kHeight, Orvane::PixelFormat_BGR8), 0x7F, Orvane::COLOR_PROCESSING_DEFAULT,
            static_cast<unsigned>(state.range(0)));
        benchmark::DoNotOptimize(r);
    }
}

BENCHMARK(BM_BayerRG8ToBGR8_OpenCV)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_BayerRG8ToBGR8_Orvane)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Mono12pToMono16_SimpleLoop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Mono12pToMono16_Orvane)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StatisticsBGR8_OpenCV)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StatisticsBGR8_Orvane)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StatisticsBGR8AllChannels_Orvane)
    ->Arg(1)
    ->Arg(2)
    ->ArgName("threads")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Collects times to print reference / Orvane ratios after the run. Names are
// BM_<case>_<implementation>[/arguments]; every implementation other than
// Orvane is the reference of the same case and arguments. Both real time and
// CPU time of the calling thread are compared (on a loaded machine CPU time is
// the steadier measure of one thread's work).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& r : runs) {
            // Single runs, or the median of repetitions when there are some.
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if (r.run_type != Run::RT_Iteration && !median) continue;
            std::string name = r.benchmark_name();
            if (median) name = name.substr(0, name.rfind("_median"));
            const std::string::size_type slash = name.find('/');
            const std::string head = name.substr(0, slash), args = slash == std::string::npos ? "" : name.substr(slash);
            const std::string::size_type us = head.rfind('_');
            Entry& e = entries_[head.substr(0, us) + args];
            const bool orvane = head.substr(us + 1) == "Orvane";
            (orvane ? e.orvane : e.reference) = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime(), true};
            if (!orvane) e.referenceName = head.substr(us + 1);
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-48s %-10s %10s %10s %7s %10s %10s %7s\n", "case", "reference", "ref real", "orv real", "ratio",
                    "ref cpu", "orv cpu", "ratio");
        for (const auto& [name, e] : entries_) {
            if (!e.orvane.set || !e.reference.set) continue;
            std::printf("%-48s %-10s %8.2fms %8.2fms %6.2fx %8.2fms %8.2fms %6.2fx\n", name.c_str(),
                        e.referenceName.c_str(), e.reference.real, e.orvane.real, e.reference.real / e.orvane.real,
                        e.reference.cpu, e.orvane.cpu, e.reference.cpu / e.orvane.cpu);
        }
    }

private:
    struct Time {
        double real = 0, cpu = 0;
        bool set = false;
    };
    struct Entry {
        Time orvane, reference;
        std::string referenceName;
    };
    std::map<std::string, Entry> entries_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
