// Property-tree benchmarks on a tree of 1,000,001 nodes (a root, 1,000 children, 1,000
// grandchildren each): building it with CreateTreeNode and AppendChild, finding the last
// grandchild by id over the whole subtree (flags 0x90), following a three-name path from the
// root, and releasing the tree. Each is reported per node (the "per_node" counter, in seconds;
// the path lookup per call) next to a plain baseline in the same run: the same shape built from
// a minimal struct with std::vector children, and the same depth-first id walk over it.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "QV_Tools.h"

namespace {

constexpr int kChildren = 1000;
constexpr int kGrandchildren = 1000;
constexpr double kNodes = 1.0 + kChildren + double(kChildren) * kGrandchildren;
constexpr int kLastId = 1 + kChildren + (kChildren - 1) * kGrandchildren + (kGrandchildren - 1);

QVTreeNode* buildTree() {
    QVTreeNode* root = CreateTreeNode(eNoData, nullptr, "root", 0, eShift);
    char name[32];
    for (int i = 0; i < kChildren; ++i) {
        std::snprintf(name, sizeof name, "c%d", i);
        QVTreeNode* child = CreateTreeNode(eNoData, nullptr, name, 1 + i, eShift);
        AppendChild(root, child);
        for (int j = 0; j < kGrandchildren; ++j) {
            std::snprintf(name, sizeof name, "g%d_%d", i, j);
            AppendChild(child, CreateTreeNode(eNoData, nullptr, name, 1 + kChildren + i * kGrandchildren + j, eShift));
        }
    }
    return root;
}

void perNode(benchmark::State& state, double nodes) {
    state.counters["per_node"] = benchmark::Counter(nodes, benchmark::Counter::kIsIterationInvariantRate |
                                                               benchmark::Counter::kInvert);
}

void BM_TreeBuild(benchmark::State& state) {
    for (auto _ : state) {
        QVTreeNode* root = buildTree();
        benchmark::DoNotOptimize(root);
        state.PauseTiming();
        ReleaseTreeNode(root, 0);
        state.ResumeTiming();
    }
    perNode(state, kNodes);
}

void BM_TreeFindLastById(benchmark::State& state) {
    QVTreeNode* root = buildTree();
    for (auto _ : state) {
        QVTreeNode* hit = FindNodeByID(root, kLastId, 0x90);
        if (!hit || hit->id != kLastId) state.SkipWithError("last grandchild not found");
        benchmark::DoNotOptimize(hit);
    }
    perNode(state, kNodes);
    ReleaseTreeNode(root, 0);
}

void BM_TreeFollowPath(benchmark::State& state) {
    QVTreeNode* root = buildTree();
    char names[3][QV_STRING_SIZE] = {"root", "c999", "g999_999"};
    for (auto _ : state) {
        QVTreeNode* hit = GetNodeFromPath(root, names, 3, 0x01);
        if (!hit || hit->id != kLastId) state.SkipWithError("path not followed");
        benchmark::DoNotOptimize(hit);
    }
    // Per node compared: 1,000 children of the root, then 1,000 of c999.
    perNode(state, 2.0 * kChildren);
    ReleaseTreeNode(root, 0);
}

void BM_TreeRelease(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        QVTreeNode* root = buildTree();
        state.ResumeTiming();
        ReleaseTreeNode(root, 0);
    }
    perNode(state, kNodes);
}

// ---- baseline: the same shape as a minimal struct -------------------------------------------
struct PlainNode {
    int id;
    char name[128];
    std::vector<std::unique_ptr<PlainNode>> children;
};

std::unique_ptr<PlainNode> buildPlain() {
    auto root = std::make_unique<PlainNode>();
    root->id = 0;
    for (int i = 0; i < kChildren; ++i) {
        auto child = std::make_unique<PlainNode>();
        child->id = 1 + i;
        std::snprintf(child->name, sizeof child->name, "c%d", i);
        for (int j = 0; j < kGrandchildren; ++j) {
            auto leaf = std::make_unique<PlainNode>();
            leaf->id = 1 + kChildren + i * kGrandchildren + j;
            std::snprintf(leaf->name, sizeof leaf->name, "g%d_%d", i, j);
            child->children.push_back(std::move(leaf));
        }
        root->children.push_back(std::move(child));
    }
    return root;
}

const PlainNode* findPlain(const PlainNode* node, int id) {
    if (node->id == id) return node;
    for (const auto& child : node->children)
        if (const PlainNode* hit = findPlain(child.get(), id)) return hit;
    return nullptr;
}

void BM_BaselineBuild(benchmark::State& state) {
    for (auto _ : state) {
        auto root = buildPlain();
        benchmark::DoNotOptimize(root.get());
        state.PauseTiming();
        root.reset();
        state.ResumeTiming();
    }
    perNode(state, kNodes);
}

void BM_BaselineFindLastById(benchmark::State& state) {
    auto root = buildPlain();
    for (auto _ : state) benchmark::DoNotOptimize(findPlain(root.get(), kLastId));
    perNode(state, kNodes);
}

void BM_BaselineRelease(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto root = buildPlain();
        state.ResumeTiming();
        root.reset();
    }
    perNode(state, kNodes);
}

}  // namespace

BENCHMARK(BM_TreeBuild)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_BaselineBuild)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TreeFindLastById)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_BaselineFindLastById)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_TreeFollowPath)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TreeRelease)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_BaselineRelease)->Unit(benchmark::kMillisecond)->Iterations(3);
