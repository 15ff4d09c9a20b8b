// Every field of a tree that a tree file can set, as text: one line a node with its slot path
// ("root", "root/2", "root/2/P" for a property list), so that two trees compare as strings and
// a difference shows where it is. Shared by the tree tests and the tree file fuzzer.
#pragma once

#include <string>

#include "QV_Tools.h"

namespace qvtest {

inline void describeTree(const QVTreeNode* node, const std::string& slot, std::string& out) {
    if (!node) {
        out += slot + " null\n";
        return;
    }
    char value[4096] = "";
    NodeDataToString(node, 10, value);
    out += slot + " id=" + std::to_string(node->id) + " name=" + node->name + " base=" + node->baseName +
           " type=" + std::to_string(node->dataType) + " flags=" + std::to_string(node->dataFlags) +
           " access=" + std::to_string(node->access) + " order=" + std::to_string(node->childOrderMode) +
           " slots=" + std::to_string(node->childArraySize) + " idx=" + std::to_string(node->indexInParent) +
           " children=" + std::to_string(node->numChildren) + " level=" + std::to_string(node->level) +
           " value=" + value + "\n";
    if (node->properties) describeTree(node->properties, slot + "/P", out);
    for (int i = 0; i < node->childArraySize; ++i)
        if (node->children[i]) describeTree(node->children[i], slot + "/" + std::to_string(i), out);
}

inline std::string describeTree(const QVTreeNode* node) {
    std::string out;
    describeTree(node, "root", out);
    return out;
}

}  // namespace qvtest
