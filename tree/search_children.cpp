// One-level child searches by id, name (base or displayed) and data type. "Not found" is a
// plain null, never a logged failure. Empty slots are skipped everywhere.
#include <cstring>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "tree/tree_internal.h"

namespace {

// Mode 0: `name` occurs in the node's name; 1: equal; 2: equal ignoring case.
bool nameMatches(const char* nodeName, const char* name, int mode) {
    switch (mode) {
    case 0: return std::strstr(nodeName, name) != nullptr;
    case 1: return std::strcmp(nodeName, name) == 0;
    case 2: return strcmpLower(nodeName, name) == 0;
    default: return false;
    }
}

QVTreeNode* findByName(QVTreeNode* parent, const char* name, int mode, bool baseName,
                       const char* kFn) {
    if (!parent) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent node is NULL");
    if (!name || mode < 0 || mode > 2) return nullptr;
    for (int i = 0; i < parent->childArraySize; ++i) {
        QVTreeNode* child = parent->children[i];
        if (child && nameMatches(baseName ? child->baseName : child->name, name, mode)) return child;
    }
    return nullptr;
}

}  // namespace

extern "C" {

QV_API QVTreeNode* FindChildByID(QVTreeNode* parent, int id) {
    if (!parent) return nullptr;
    if (parent->childOrderMode == eSortedById) {
        // Children in ascending id order: binary search over the first numChildren slots.
        int lo = 0;
        int hi = (parent->numChildren < parent->childArraySize ? parent->numChildren
                                                               : parent->childArraySize) - 1;
        while (lo <= hi) {
            int mid = lo + (hi - lo) / 2;
            QVTreeNode* child = parent->children[mid];
            if (!child) return nullptr;
            if (child->id == id) return child;
            if (id < child->id)
                hi = mid - 1;
            else
                lo = mid + 1;
        }
        return nullptr;
    }
    QVTreeNode** slots = parent->children;
    for (int i = 0, n = parent->childArraySize; i < n; ++i)
        if (slots[i] && slots[i]->id == id) return slots[i];
    return nullptr;
}

QV_API QVTreeNode* FindChildByName(QVTreeNode* parent, const char* name, int mode) {
    return findByName(parent, name, mode, true, "FindChildByName");
}

QV_API QVTreeNode* FindChildByExternName(QVTreeNode* parent, const char* name, int mode) {
    return findByName(parent, name, mode, false, "FindChildByExternName");
}

QV_API QVTreeNode* FindChildByType(QVTreeNode* parent, int dataType) {
    constexpr const char* kFn = "FindChildByType";
    if (!parent) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    for (int i = 0; i < parent->childArraySize; ++i) {
        QVTreeNode* child = parent->children[i];
        if (child && child->dataType == dataType) return child;
    }
    return nullptr;
}

}  // extern "C"
