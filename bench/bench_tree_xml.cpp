// Tree XML benchmarks on a tree of 100,000 nodes (a root, 99 groups, 99,900 leaves), each with
// an integer value and two properties (an integer and a string): SaveTreeNode and LoadTreeNode
// of that tree, next to the baseline of the same run, the XML library parsing the same file
// into a DOM and serialising that DOM back to a file. Counters: "file_bytes", the size of the
// file, and "per_node", the time per node.
//
// Each runs on two trees (the argument): 0, every leaf named differently ("value<i>"); 1, leaf
// names repeated in every group ("value<j>", j < 1010). The XML library keeps every distinct
// element name of a document in one string pool whose lookups slow down with the number of
// names, so with 100,000 distinct names building a DOM (parsing) is dominated by that pool; the
// second tree shows the cost of everything else. Saving and loading build no DOM: saving writes
// the serialiser's text directly, loading reads a plain file with the streaming parser.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "QV_Tools.h"

namespace {

constexpr int kGroups = 99;
constexpr int kLeaves = 99900;
constexpr double kNodes = 1.0 + kGroups + kLeaves;

QVTreeNode* valuedNode(const char* name, int id, int value, int slots) {
    QVTreeNode* node = CreateTreeNodeN(eInt, nullptr, name, id, eShift, 2, slots);
    SetNodeData(node, &value, eInt, eAllocNewPtr);
    const int minimum = value - 10;
    SetProperty(node, 1, "min", &minimum, eInt, eAllocNewPtr);
    SetProperty(node, 2, "unit", "mm", eString, eAllocNewPtr);
    return node;
}

QVTreeNode* buildTree(bool repeatNames) {
    QVTreeNode* root = valuedNode("params", 0, 0, kGroups);
    char name[32];
    for (int g = 0; g < kGroups; ++g) {
        std::snprintf(name, sizeof name, "group%d", g);
        AppendChild(root, valuedNode(name, 1 + g, g, kLeaves / kGroups + 1));
    }
    for (int i = 0; i < kLeaves; ++i) {
        std::snprintf(name, sizeof name, "value%d", repeatNames ? i / kGroups : i);
        AppendChild(root->children[i % kGroups], valuedNode(name, 1000 + i, i, 0));
    }
    return root;
}

// The benchmark files of both trees, in a directory of their own, removed when the program
// ends.
struct Files {
    Files() {
        char pattern[] = "/tmp/qv_bench_tree_xml_XXXXXX";
        dir = mkdtemp(pattern) ? pattern : "/tmp";
        copy = dir + "/copy.xml";
        for (int repeat = 0; repeat < 2; ++repeat) {
            tree[repeat] = dir + "/tree" + std::to_string(repeat) + ".xml";
            QVTreeNode* root = buildTree(repeat == 1);
            SaveTreeNode(root, tree[repeat].c_str(), 0);
            ReleaseTreeNode(root, 1);
            bytes[repeat] = static_cast<double>(std::filesystem::file_size(tree[repeat]));
        }
    }
    ~Files() { std::filesystem::remove_all(dir); }
    std::string dir, tree[2], copy;
    double bytes[2] = {0, 0};
};

const Files& files() {
    static const Files instance;
    return instance;
}

void counters(benchmark::State& state) {
    state.counters["file_bytes"] = files().bytes[state.range(0)];
    state.counters["per_node"] =
        benchmark::Counter(kNodes, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_SaveTreeNode(benchmark::State& state) {
    files();  // made before the first timed run
    QVTreeNode* root = buildTree(state.range(0) == 1);
    for (auto _ : state) {
        if (SaveTreeNode(root, files().copy.c_str(), 0) != 0) state.SkipWithError("save failed");
    }
    ReleaseTreeNode(root, 1);
    counters(state);
}

void BM_LoadTreeNode(benchmark::State& state) {
    files();
    for (auto _ : state) {
        QVTreeNode* root = LoadTreeNode(files().tree[state.range(0)].c_str(), nullptr);
        if (!root) state.SkipWithError("load failed");
        state.PauseTiming();
        ReleaseTreeNode(root, 1);
        state.ResumeTiming();
    }
    counters(state);
}

// Baseline: the XML library alone, parsing the file into a DOM document.
void BM_XercesParse(benchmark::State& state) {
    CXMLManager::GetInstance();  // the XML library is initialised by the manager
    files();
    xercesc::XercesDOMParser parser;
    parser.setValidationScheme(xercesc::XercesDOMParser::Val_Auto);
    for (auto _ : state) {
        parser.parse(files().tree[state.range(0)].c_str());
        xercesc::DOMDocument* document = parser.adoptDocument();
        if (!document) state.SkipWithError("parse failed");
        state.PauseTiming();
        document->release();
        parser.reset();
        state.ResumeTiming();
    }
    counters(state);
}

// Baseline: the XML library alone, serialising that DOM document to a file.
void BM_XercesSerialize(benchmark::State& state) {
    CXMLManager::GetInstance();
    xercesc::XercesDOMParser parser;
    parser.parse(files().tree[state.range(0)].c_str());
    xercesc::DOMDocument* document = parser.adoptDocument();
    xercesc::DOMImplementation* implementation = xercesc::DOMImplementationRegistry::getDOMImplementation(u"core");
    for (auto _ : state) {
        xercesc::DOMLSSerializer* serializer = implementation->createLSSerializer();
        xercesc::DOMLSOutput* output = implementation->createLSOutput();
        xercesc::LocalFileFormatTarget target(files().copy.c_str());
        output->setByteStream(&target);
        if (!serializer->write(document, output)) state.SkipWithError("serialise failed");
        output->release();
        serializer->release();
    }
    document->release();
    counters(state);
}

BENCHMARK(BM_SaveTreeNode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTreeNode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XercesParse)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XercesSerialize)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
