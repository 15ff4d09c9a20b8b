// Fuzz target: arbitrary bytes written to a file and loaded as a tree file (LoadTreeNode). A
// tree that loads has its references resolved and is saved back, flat and indented, both with
// SaveTreeNode (which writes the text directly) and through a managed document
// (WriteTreeNodeToXML and SaveXMLDocument): the two files must be the same bytes, or the
// harness aborts. The tree is then released with every value it holds. No logger is registered, so failures stay silent in the
// log; the XML parser's messages still go to standard error (run libFuzzer with
// -close_fd_mask=2 to hide them). Inputs are capped so that single runs stay fast.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

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

std::string contents(const char* path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Saves `tree` both ways with `options` and aborts when the files differ. Writing mends the
// node names in place, the same way each time, so the second save sees what the first wrote.
void saveBothWays(QVTreeNode* tree, const InputFile& text, const InputFile& document, int options) {
    const int textResult = SaveTreeNode(tree, text.path(), options);
    const int handle = CreateXMLDocument(nullptr);
    WriteTreeNodeToXML(handle, tree, nullptr, QV_WRITE_NULL_NODE);
    const int documentResult = SaveXMLDocument(handle, document.path(), options);
    ReleaseXMLDocument(handle);
    if (textResult != documentResult || contents(text.path()) != contents(document.path())) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const InputFile input("qv_tree_fuzz_in_"), text("qv_tree_fuzz_text_"), document("qv_tree_fuzz_doc_");
    if (!input.write(data, size)) return 0;

    QVTreeNode* tree = LoadTreeNode(input.path(), nullptr);
    if (!tree) return 0;
    visit(tree, tree, false);
    saveBothWays(tree, text, document, 0);
    saveBothWays(tree, text, document, QV_XML_PRETTY_PRINT);
    visit(tree, tree, true);
    ReleaseTreeNode(tree, 1);
    return 0;
}
