// Fuzz target: arbitrary bytes written to a file and loaded as a tree file (LoadTreeNode). A
// tree that loads has its references resolved, is written back to a second file, and is
// released with every value it holds. No logger is registered, so failures stay silent in the
// log; the XML parser's messages still go to standard error (run libFuzzer with
// -close_fd_mask=2 to hide them). Inputs are capped so that single runs stay fast.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "QV_Tools.h"
#include "input_file.h"

namespace {

bool isPoint(int type) {
    return type == eIntPoint2d || type == eFloatPoint2d || type == eIntPoint3d || type == eFloatPoint3d ||
           type == eDoublePoint2d || type == eDoublePoint3d;
}

// Walks the whole tree: without freePoints it resolves the references, with it it frees the
// point values, which the library's data release leaves to their owner.
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
    static const InputFile input("qv_tree_fuzz_in_"), output("qv_tree_fuzz_out_");
    if (!input.write(data, size)) return 0;

    QVTreeNode* tree = LoadTreeNode(input.path(), nullptr);
    if (!tree) return 0;
    visit(tree, tree, false);
    SaveTreeNode(tree, output.path(), QV_XML_PRETTY_PRINT);
    visit(tree, tree, true);
    ReleaseTreeNode(tree, 1);
    return 0;
}
