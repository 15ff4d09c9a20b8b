// Benchmarks of the measure family: the three profile match scores (2048-sample reference,
// 512-sample test, step 1) against a scalar loop of the same cross-correlation, edge detection
// on a 2048-sample profile, and the gap filler on a 2048-sample line against a plain copy.
// Inputs are generated from fixed seeds outside the timed regions.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "QV_Tools.h"

namespace {

constexpr int kRef = 2048, kTest = 512;

struct MatchData {
    std::vector<int16_t> ref, test;
    MatchData() : ref(kRef), test(kTest) {
        std::mt19937 rng(42);
        std::uniform_int_distribution<int> d(-2000, 2000);
        for (auto& v : ref) v = static_cast<int16_t>(d(rng));
        for (int i = 0; i < kTest; ++i) test[i] = static_cast<int16_t>(ref[700 + i] + d(rng) / 20);
    }
};

const MatchData& matchData() {
    static const MatchData data;
    return data;
}

void reportProducts(benchmark::State& state) {
    const double products = static_cast<double>(kRef - kTest) * kTest;
    state.counters["products/s"] = benchmark::Counter(products * state.iterations(), benchmark::Counter::kIsRate);
}

// The scalar baseline: the same cross-correlation as a plain nested loop, kept scalar.
__attribute__((optimize("no-tree-vectorize"))) unsigned scalarCrossCorr(const int16_t* t, const int16_t* r) {
    long long best = -1000000000;
    unsigned chosen = ~0u;
    for (int o = 0; o < kRef - kTest; ++o) {
        long long sum = 0;
        for (int k = 0; k < kTest; ++k) sum += static_cast<int>(t[k] * r[o + k]);
        if (sum > best) {
            best = sum;
            chosen = static_cast<unsigned>(o);
        }
    }
    return chosen;
}

void BM_MatchBaselineScalar(benchmark::State& state) {
    const MatchData& d = matchData();
    for (auto _ : state) benchmark::DoNotOptimize(scalarCrossCorr(d.test.data(), d.ref.data()));
    reportProducts(state);
}

void BM_MatchCrossCorr(benchmark::State& state) {
    const MatchData& d = matchData();
    unsigned offset = 0;
    for (auto _ : state) {
        QV_ProfileTools_MatchProfilesCrossCorr(d.test.data(), kTest, d.ref.data(), kRef, 1, 0, &offset);
        benchmark::DoNotOptimize(offset);
    }
    if (offset != 700) state.SkipWithError("wrong offset");
    reportProducts(state);
}

void BM_MatchSqrDiff(benchmark::State& state) {
    const MatchData& d = matchData();
    unsigned offset = 0;
    for (auto _ : state) {
        QV_ProfileTools_MatchProfilesSqrDiffSumCorr(d.test.data(), kTest, d.ref.data(), kRef, 1, 0, &offset);
        benchmark::DoNotOptimize(offset);
    }
    if (offset != 700) state.SkipWithError("wrong offset");
    reportProducts(state);
}

void BM_MatchNormalizedCrossCorr(benchmark::State& state) {
    const MatchData& d = matchData();
    unsigned offset = 0;
    double corr = 0;
    for (auto _ : state) {
        QV_ProfileTools_MatchProfilesNormalizedCrossCorr(d.test.data(), kTest, d.ref.data(), kRef, 1, 0, &corr,
                                                         &offset);
        benchmark::DoNotOptimize(offset);
    }
    if (offset != 700) state.SkipWithError("wrong offset");
    reportProducts(state);
}

// A laser line: a plateau with steps, noise and gaps.
std::vector<int16_t> laserLine(unsigned seed, int gapEvery) {
    std::mt19937 rng(seed);
    std::uniform_int_distribution<int> noise(-3, 3);
    std::vector<int16_t> line(2048);
    for (int i = 0; i < 2048; ++i) {
        const int level = (i / 256) % 2 ? 1500 : 1000;
        line[i] = static_cast<int16_t>(level + noise(rng));
        if (gapEvery > 0 && i % gapEvery < 3) line[i] = 0;
    }
    return line;
}

void BM_FindEdges(benchmark::State& state) {
    const std::vector<int16_t> line = laserLine(7, 0);
    std::vector<int> pos(64);
    std::vector<double> val(64);
    for (auto _ : state) {
        const int n = QV_ProfileTools_FindEdges(line.data(), 2048, 0, 2048, 4, 4, 100.0, 0, 64, pos.data(),
                                                val.data(), nullptr, nullptr, nullptr);
        benchmark::DoNotOptimize(n);
    }
}

void BM_GapFillerBaselineCopy(benchmark::State& state) {
    const std::vector<int16_t> src = laserLine(9, 37);
    std::vector<uint16_t> line(2048);
    for (auto _ : state) {
        std::memcpy(line.data(), src.data(), 2048 * sizeof(uint16_t));
        benchmark::DoNotOptimize(line.data());
        benchmark::ClobberMemory();
    }
}

void BM_GapFiller(benchmark::State& state) {
    const std::vector<int16_t> src = laserLine(9, 37);
    std::vector<uint16_t> line(2048), flags(2048);
    const unsigned mode = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        std::memcpy(line.data(), src.data(), 2048 * sizeof(uint16_t));
        QV_ProfileTools_GapFiller(mode, line.data(), 2048, 20, 3, 10, flags.data());
        benchmark::DoNotOptimize(line.data());
        benchmark::ClobberMemory();
    }
}

}  // namespace

BENCHMARK(BM_MatchBaselineScalar)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MatchCrossCorr)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MatchSqrDiff)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MatchNormalizedCrossCorr)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FindEdges)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GapFillerBaselineCopy)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GapFiller)->Arg(0)->Arg(1)->Arg(4)->Unit(benchmark::kMicrosecond);
