// Fuzz target: arbitrary bytes written to a file and loaded as a tree file (LoadTreeNode). A
// tree that loads has its references resolved, is written back to a second file, and is
// released with every value it holds. No logger is registered, so failures stay silent in the
// log; the XML parser's messages still go to standard error (run libFuzzer with
// -close_fd_mask=2 to hide them). Inputs are capped so that single runs stay fast.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "QV_Tools.h"

namespace {

// A file of its own in the temporary directory, removed at exit.
std::string tempFile(const char* stem) {
    std::string path = std::string(P_tmpdir) + "/" + stem + "XXXXXX";
    const int fd = mkstemp(&path[0]);
    if (fd >= 0) close(fd);
    return path;
}

const std::string& input() {
    static const std::string path = tempFile("qv_tree_fuzz_in_");
    return path;
}

const std::string& output() {
    static const std::string path = tempFile("qv_tree_fuzz_out_");
    return path;
}

void removeFiles() {
    std::remove(input().c_str());
    std::remove(output().c_str());
}

bool isPoint(int type) {
    return type == eIntPoint2d || type == eFloatPoint2d || type == eIntPoint3d || type == eFloatPoint3d ||
           type == eDoublePoint2d || type == eDoublePoint3d;
}

// Walks the whole tree: resolves references and frees the point values the library's data
// release leaves to their owner (before = false: resolve; true: free).
void visit(QVTreeNode* node, QVTreeNode* root, bool freePoints) {
    if (freePoints && (node->dataFlags & QV_DATA_OWNED_MASK) && isPoint(node->dataType)) {
        std::free(node->data);
        node->data = nullptr;
    }
    if (!freePoints && node->dataType == eRefToNode && !node->data) LoadRefNode(node, root, 0);
    if (node->properties) visit(node->properties, root, freePoints);
    for (int i = 0; i < node->childArraySize; ++i)
        if (node->children[i]) visit(node->children[i], root, freePoints);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const bool cleanup = std::atexit(removeFiles) == 0;
    static_cast<void>(cleanup);
    std::FILE* file = std::fopen(input().c_str(), "wb");
    if (!file) return 0;
    if (size > 0) std::fwrite(data, 1, size, file);
    std::fclose(file);

    QVTreeNode* tree = LoadTreeNode(input().c_str(), nullptr);
    if (!tree) return 0;
    visit(tree, tree, false);
    SaveTreeNode(tree, output().c_str(), QV_XML_PRETTY_PRINT);
    visit(tree, tree, true);
    ReleaseTreeNode(tree, 1);
    return 0;
}
