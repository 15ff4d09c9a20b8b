// Generic array against std::vector: appending ten million eInt values to an array created with
// capacity 0, and reading them back one by one with GetValue; the baselines push_back into an
// empty std::vector<int>, index it, and read it with the checked at(), in the same run. Values
// come from a seeded generator, prepared outside the timed region. Counters report nanoseconds
// per element.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "QV_Tools.h"

namespace {

constexpr int kCount = 10'000'000;

const std::vector<int>& inputs() {
    static const std::vector<int> values = [] {
        std::mt19937 gen(12345);
        std::uniform_int_distribution<int> dist(-1'000'000, 1'000'000);
        std::vector<int> v(kCount);
        for (int& x : v) x = dist(gen);
        return v;
    }();
    return values;
}

void perElement(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kCount);
    state.counters["ns_per_element"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kCount, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Times appending every input to a new array with `append`; the release is not timed.
template <typename Append>
void appendAll(benchmark::State& state, Append append) {
    const std::vector<int>& in = inputs();
    for (auto _ : state) {
        QVArray* array = CreateArray(eInt, 0, 0);
        for (int i = 0; i < kCount; ++i) append(array, in[static_cast<std::size_t>(i)]);
        benchmark::DoNotOptimize(array->values);
        state.PauseTiming();
        ReleaseArray(array, 0);
        state.ResumeTiming();
    }
    perElement(state);
}

void BM_ArrayAppendValue(benchmark::State& state) {
    appendAll(state, [](QVArray* array, const int& value) { AppendValue(array, &value); });
}

void BM_ArrayAppendIntValue(benchmark::State& state) {
    appendAll(state, [](QVArray* array, int value) { AppendIntValue(array, value); });
}

void BM_VectorPushBack(benchmark::State& state) {
    const std::vector<int>& in = inputs();
    for (auto _ : state) {
        std::vector<int> v;
        for (int i = 0; i < kCount; ++i) v.push_back(in[i]);
        benchmark::DoNotOptimize(v.data());
        state.PauseTiming();
        std::vector<int>().swap(v);
        state.ResumeTiming();
    }
    perElement(state);
}

void BM_ArrayGetValue(benchmark::State& state) {
    QVArray* array = CreateArray(eInt, 0, 0);
    for (int x : inputs()) AppendIntValue(array, x);
    for (auto _ : state) {
        long long sum = 0;
        for (int i = 0; i < kCount; ++i) sum += *static_cast<const int*>(GetValue(array, i));
        benchmark::DoNotOptimize(sum);
    }
    ReleaseArray(array, 0);
    perElement(state);
}

void BM_VectorIndex(benchmark::State& state) {
    const std::vector<int> v = inputs();
    for (auto _ : state) {
        long long sum = 0;
        for (int i = 0; i < kCount; ++i) sum += v[static_cast<std::size_t>(i)];
        benchmark::DoNotOptimize(sum);
    }
    perElement(state);
}

// Context for the read: the standard library's checked access, which like GetValue tests every
// index and has a path that leaves the loop.
void BM_VectorAt(benchmark::State& state) {
    const std::vector<int> v = inputs();
    for (auto _ : state) {
        long long sum = 0;
        for (int i = 0; i < kCount; ++i) sum += v.at(static_cast<std::size_t>(i));
        benchmark::DoNotOptimize(sum);
    }
    perElement(state);
}

}  // namespace

BENCHMARK(BM_VectorPushBack)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArrayAppendValue)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArrayAppendIntValue)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VectorIndex)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VectorAt)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArrayGetValue)->Unit(benchmark::kMillisecond);
