// Shared pieces of the tree tests: the log-capture fixture with a line check that ignores the
// source line number (the tree family documents none), and small tree builders.
#pragma once

#include <string>
#include <vector>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "support/log_capture.h"

namespace treetest {

class TreeTest : public qvtest::LogTest {
protected:
    // A node without data and without property list, with `slots` child slots.
    static QVTreeNode* node(const char* name, int id, int mode = eShift, int slots = 8) {
        return CreateTreeNodeN(eNoData, nullptr, name, id, mode, 0, slots);
    }
    // Appends `count` children named <prefix><i> with ids base+i.
    static std::vector<QVTreeNode*> children(QVTreeNode* parent, int count, int base = 1,
                                             const char* prefix = "c") {
        std::vector<QVTreeNode*> out;
        for (int i = 0; i < count; ++i) {
            std::string name = prefix + std::to_string(i);
            out.push_back(node(name.c_str(), base + i));
            EXPECT_EQ(AppendChild(parent, out.back()), 0);
        }
        return out;
    }
    // Names in slots 0 .. childArraySize-1, "-" for an empty slot.
    static std::string slots(const QVTreeNode* parent) {
        std::string out;
        for (int i = 0; i < parent->childArraySize; ++i) {
            if (i) out += ",";
            out += parent->children[i] ? parent->children[i]->name : "-";
        }
        return out;
    }
};

}  // namespace treetest
