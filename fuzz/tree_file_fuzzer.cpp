// Fuzz target: arbitrary bytes written to a file and loaded as a tree file, both with
// LoadTreeNode (which reads a plain file as an element tree) and through a DOM document; the
// two trees and the two logs must be the same. A tree that loads has its references resolved
// and is saved back, flat and indented, both with SaveTreeNode (which writes the text
// directly) and through a managed document (WriteTreeNodeToXML and SaveXMLDocument); the two
// files must be the same bytes. Any difference aborts the harness. The trees are then
// released with every value they hold. The XML parser's messages go to standard error (run
// libFuzzer with -close_fd_mask=2 to hide them). Inputs are capped so that single runs stay
// fast.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "QV_Tools.h"
#include "input_file.h"
#include "tests/support/tree_describe.h"
#include "tree/tree_xml_internal.h"

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

// Every log line, without its clock header and with handle numbers masked. Never freed: the
// logger's exit banner arrives while the process unloads, after ordinary statics are gone.
std::vector<std::string>& logged() {
    static auto* lines = new std::vector<std::string>();
    return *lines;
}

void capture(int level, const char* line, int code) {
    std::string text = line ? line : "";
    const std::size_t header = text.find("] ");
    if (header != std::string::npos && text.size() >= header + 12) text.erase(0, header + 12);
    const std::size_t handle = text.find("idx: ");
    if (handle != std::string::npos) text.erase(handle + 5);
    logged().push_back(std::to_string(level) + " " + std::to_string(code) + " " + text);
}

// Loads `path` as LoadTreeNode does (plain files as element trees) or always through a
// document; returns the tree and its description with the log.
QVTreeNode* load(const char* path, bool plainAllowed, std::string& description) {
    logged().clear();
    QVTreeNode* tree = qv::tree::loadTree(path, nullptr, plainAllowed);
    description = qvtest::describeTree(tree);
    for (const std::string& line : logged()) description += line + "\n";
    return tree;
}

void release(QVTreeNode* tree) {
    if (!tree) return;
    visit(tree, tree, true);
    ReleaseTreeNode(tree, 1);
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

    [[maybe_unused]] static const int logger = AddCallbackLogger(100, &capture);

    std::string plainDescription, documentDescription;
    QVTreeNode* tree = load(input.path(), true, plainDescription);
    release(load(input.path(), false, documentDescription));
    if (plainDescription != documentDescription) std::abort();
    if (!tree) return 0;
    visit(tree, tree, false);
    saveBothWays(tree, text, document, 0);
    saveBothWays(tree, text, document, QV_XML_PRETTY_PRINT);
    release(tree);
    return 0;
}
