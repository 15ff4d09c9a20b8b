// A random tree for the tree XML tests: the same tree for the same seed, with awkward names
// (mended ones, and with `refusedNames` ones the XML library refuses), texts that need
// references or hold white space that moves the indentation, Latin-1 letters, rarely a
// character XML cannot hold, binary records (with and without one), arrays, references,
// properties and sparse child slots.
#pragma once

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "QV_Tools.h"
#include "tree/tree_xml_internal.h"

namespace treetest {

class RandomTree {
public:
    RandomTree(unsigned seed, bool refusedNames) : m_rng(seed), m_refusedNames(refusedNames) {}

    QVTreeNode* build() {
        QVTreeNode* root = node(0);
        // A reference to some node of the tree, written as its name path.
        if (m_nodes.size() > 2 && chance(50)) {
            QVTreeNode* target = m_nodes[pick(static_cast<int>(m_nodes.size()))];
            AppendChild(root, CreateRefNode(nullptr, target, 0));
        }
        return root;
    }

private:
    int pick(int n) { return static_cast<int>(m_rng() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return pick(100) < percent; }

    // Texts mixing characters that are kept, replaced by references, encoded in two bytes,
    // white space at the end (which moves the indentation) and, rarely, a character that XML
    // cannot hold.
    std::string text() {
        static const char* const pieces[] = {"a", "Zz", " ", "  ", "\t", "\n", "\r", "&", "<", ">",
                                             "\"", "'", "\xE9", "\xFF", "\x7F", "]]>", "0.5"};
        std::string out;
        for (int n = pick(7); n > 0; --n) out += pieces[pick(17)];
        if (chance(15)) out += std::string(pick(9), ' ') + (chance(50) ? "\n" : "");
        if (chance(2)) out += "\x01";
        return out;
    }

    std::string baseName() {
        static const char* const plain[] = {"value", "Lage X ", "x/y", "L\xE4nge", "a.b-c_d", "\xE9t\xE9",
                                            "a:b", "ns:", "_u", " lead", "A&B*C", "sp ace  ", "k"};
        static const char* const refused[] = {"1st", "x\xD7y", "tab\tx", "q\"t", ""};
        if (m_refusedNames && chance(4)) return refused[pick(5)];
        return plain[pick(13)];
    }

    void setValue(QVTreeNode* n) {
        switch (pick(10)) {
            case 0: {
                int v = pick(2000) - 1000;
                SetNodeData(n, &v, eInt, eAllocNewPtr);
                break;
            }
            case 1: {
                double v = (pick(20001) - 10000) / 7.0;
                SetNodeData(n, &v, eDouble, eAllocNewPtr);
                break;
            }
            case 2:
            case 3: {
                char v[QV_STRING_SIZE] = "";
                std::snprintf(v, sizeof v, "%s", text().c_str());
                SetNodeData(n, v, eString, eAllocNewPtr);
                break;
            }
            case 4: {
                const QVRect v{pick(9), pick(9), pick(99), pick(99)};
                SetNodeData(n, &v, eQVRect, eAllocNewPtr);
                break;
            }
            case 5: {
                char bytes[] = "abcd";
                QVBinaryData* record = CreateBinaryData(bytes, 4, text().c_str());
                SetNodeData(n, record, eQVBinaryData, eAllocNewPtr);
                ReleaseBinaryData(record, 0);
                break;
            }
            case 6: {
                QVArray* array = CreateArray(eInt, 0, 4);
                for (int i = pick(4); i > 0; --i) AppendIntValue(array, pick(50));
                SetNodeData(n, array, eQVArray, eAllocNewPtr);
                ReleaseArray(array, 0);
                break;
            }
            case 7:
                n->dataType = eQVBinaryData;  // a binary node without a record
                break;
            default:
                break;  // no value
        }
    }

    QVTreeNode* node(int depth) {
        const bool fixed = chance(30);
        const int slots = fixed ? 4 + pick(12) : (chance(20) ? 16 : 0);
        QVTreeNode* n = CreateTreeNodeN(eNoData, nullptr, baseName().c_str(), ++m_id, fixed ? eFixedIndex : eShift,
                                        0, slots);
        m_nodes.push_back(n);
        if (chance(25)) std::snprintf(n->name, sizeof n->name, "%s", text().c_str());
        setValue(n);
        n->access = static_cast<unsigned>(pick(8));
        for (int p = chance(30) ? 1 + pick(2) : 0; p > 0; --p) {
            const std::string value = text();
            SetProperty(n, p, chance(50) ? "unit" : "min x", value.c_str(), eString, eAllocNewPtr);
        }
        if (depth < 4) {
            for (int c = pick(depth == 0 ? 5 : 4); c > 0; --c) {
                const std::size_t known = m_nodes.size();
                QVTreeNode* child = node(depth + 1);
                const int placed = fixed ? InsertChildAt(n, child, pick(n->childArraySize)) : AppendChild(n, child);
                if (placed != 0) {  // a taken slot: the subtree goes, and no reference may point into it
                    m_nodes.resize(known);
                    qv::tree::releaseOwnedTree(child);
                }
            }
        }
        return n;
    }

    std::mt19937 m_rng;
    bool m_refusedNames;
    int m_id = 0;
    std::vector<QVTreeNode*> m_nodes;
};

}  // namespace treetest
