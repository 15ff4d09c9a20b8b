// Benchmarks of the imaging family: the histogram pass (against a one-counter-per-bin loop and
// OpenCV's calcHist on the same buffers) and the automatic threshold of a 4096 x 4096 8-bit image
// with every method (against the histogram alone). A summary of throughputs and ratios follows
// the usual table.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "QV_Tools.h"
#include "imaging/imaging_internal.h"

namespace {

constexpr int kSide = 4096;

struct Image {
    const char* name;
    std::vector<std::uint8_t> pixels;
};

const std::vector<Image>& images() {
    static const std::vector<Image> all = [] {
        std::vector<Image> v;
        std::mt19937 rng(20261122u);
        Image random{"random", std::vector<std::uint8_t>(std::size_t{kSide} * kSide)};
        for (auto& p : random.pixels) p = static_cast<std::uint8_t>(rng());
        v.push_back(std::move(random));
        v.push_back(Image{"constant", std::vector<std::uint8_t>(std::size_t{kSide} * kSide, 100)});
        // Flat areas with a little noise: long runs of one or two values, as in real parts.
        Image flat{"flat+noise", std::vector<std::uint8_t>(std::size_t{kSide} * kSide)};
        for (std::size_t i = 0; i < flat.pixels.size(); ++i)
            flat.pixels[i] = static_cast<std::uint8_t>((i / kSide) / 16 + ((rng() & 3) == 0));
        v.push_back(std::move(flat));
        return v;
    }();
    return all;
}

struct Method {
    const char* name;
    int number;
};
constexpr Method kMethods[] = {{"Otsu", 1},     {"Moments", 2},  {"MaxEntropy", 3}, {"Huang", 4},
                               {"Li", 5},       {"Mean", 6},     {"Shanbhag", 7},   {"Triangle", 8},
                               {"Yen", 9},      {"Percentile", 16}, {"RenyiEntropy", 17}};

void plainHistogram(benchmark::State& state, const Image* image) {
    std::uint32_t hist[256];
    for (auto _ : state) {
        for (auto& h : hist) h = 0;
        for (std::uint8_t p : image->pixels) ++hist[p];
        benchmark::DoNotOptimize(hist);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * image->pixels.size()));
}

void libraryHistogram(benchmark::State& state, const Image* image) {
    unsigned int hist[256];
    for (auto _ : state) {
        QV_ImageProcessing_CreateHistogram(image->pixels.data(), static_cast<unsigned>(image->pixels.size()), kSide,
                                           kSide, hist);
        benchmark::DoNotOptimize(hist);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * image->pixels.size()));
}

void opencvHistogram(benchmark::State& state, const Image* image) {
    const cv::Mat mat(kSide, kSide, CV_8U, const_cast<std::uint8_t*>(image->pixels.data()));
    cv::Mat hist;
    const int channel = 0, bins = 256;
    const float range[] = {0.f, 256.f};
    const float* ranges[] = {range};
    for (auto _ : state) {
        cv::calcHist(&mat, 1, &channel, cv::Mat(), hist, 1, &bins, ranges);
        benchmark::DoNotOptimize(hist.data);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * image->pixels.size()));
}

void autoThreshold(benchmark::State& state, const Image* image, int method) {
    int result = 0;
    for (auto _ : state) {
        result = QV_ImageProcessing_FindAutoThreshold(image->pixels.data(), kSide, kSide, method);
        benchmark::DoNotOptimize(result);
    }
    state.counters["threshold"] = result;
}

// The method alone on a ready histogram of the image.
void methodOnly(benchmark::State& state, const Image* image, int method) {
    std::uint32_t hist[256];
    qv::imaging::histogram(image->pixels.data(), image->pixels.size(), hist);
    for (auto _ : state) {
        int result = qv::imaging::thresholdByMethod(hist, kSide, kSide, method);
        benchmark::DoNotOptimize(result);
    }
}

// Keeps the CPU time per iteration of every run, for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && run.iterations > 0)
                m_seconds[run.benchmark_name()] = run.GetAdjustedCPUTime() / 1e9;  // ns -> s
    }
    double seconds(const std::string& name) const {
        auto it = m_seconds.find(name);
        return it == m_seconds.end() ? 0.0 : it->second;
    }

private:
    std::map<std::string, double> m_seconds;
};

}  // namespace

int main(int argc, char** argv) {
    for (const Image& image : images()) {
        const std::string n = image.name;
        benchmark::RegisterBenchmark(("histogram/plain-loop/" + n).c_str(), plainHistogram, &image);
        benchmark::RegisterBenchmark(("histogram/library/" + n).c_str(), libraryHistogram, &image);
        benchmark::RegisterBenchmark(("histogram/cv-calcHist/" + n).c_str(), opencvHistogram, &image);
    }
    for (const Image& image : images())
        for (const Method& m : kMethods) {
            const std::string suffix = std::string(m.name) + "/" + image.name;
            benchmark::RegisterBenchmark(("threshold/" + suffix).c_str(), autoThreshold, &image, m.number);
            benchmark::RegisterBenchmark(("method-only/" + suffix).c_str(), methodOnly, &image, m.number);
        }

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double bytes = double(kSide) * kSide;
    std::printf("\nSummary (%d x %d 8-bit images, CPU time)\n", kSide, kSide);
    for (const Image& image : images()) {
        const std::string n = image.name;
        const double lib = reporter.seconds("histogram/library/" + n);
        const double plain = reporter.seconds("histogram/plain-loop/" + n);
        const double cv = reporter.seconds("histogram/cv-calcHist/" + n);
        if (lib <= 0.0) continue;
        std::printf("%-11s histogram %.2f GB/s; plain loop %.2f GB/s (library %.2fx); cv::calcHist %.2f GB/s "
                    "(library %.2fx)\n",
                    image.name, bytes / lib / 1e9, plain > 0 ? bytes / plain / 1e9 : 0.0, plain / lib,
                    cv > 0 ? bytes / cv / 1e9 : 0.0, cv / lib);
        for (const Method& m : kMethods) {
            const double total = reporter.seconds("threshold/" + std::string(m.name) + "/" + n);
            const double alone = reporter.seconds("method-only/" + std::string(m.name) + "/" + n);
            if (total <= 0.0) continue;
            std::printf("  %-13s FindAutoThreshold %8.3f ms = %.3fx histogram (method alone %.3f ms)\n", m.name,
                        total * 1e3, total / lib, alone * 1e3);
        }
    }
    return 0;
}
