// Nodes from paths: following an array of base names, displayed names or ids from a start
// node, from its root (0x01) or from the start node's own place inside the path (0x02).
#include <cstring>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using Names = const char (*)[QV_STRING_SIZE];
using FindByName = QVTreeNode* (*)(QVTreeNode*, const char*, int);

QVTreeNode* followNames(QVTreeNode* start, Names names, int count, unsigned flags, bool baseName,
                        const char* kFn) {
    if (!names) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "nodeNames is NULL");
    if (!start) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "start node is NULL");
    // An empty path names no node (and reading its first name would go past the array).
    if (count < 1) return nullptr;
    FindByName find = baseName ? FindChildByName : FindChildByExternName;
    auto nameOf = [baseName](const QVTreeNode* n) { return baseName ? n->baseName : n->name; };

    QVTreeNode* current = start;
    int index = 0;
    if (flags & eSearchFromRoot) {
        current = GetRoot(start);
        if (std::strcmp(nameOf(current), names[0]) != 0) return nullptr;
        if (count < 2) return current;
        index = 1;
    } else if (flags & eSearchInPath) {
        int at = 0;
        while (at < count && std::strcmp(names[at], nameOf(start)) != 0) ++at;
        if (at == count) return nullptr;
        index = at + 1;
    }
    // A path that ends at the start node itself (0x02) names nothing below it: null.
    if (index > count - 1) return nullptr;
    for (; index < count - 1; ++index) {
        current = find(current, names[index], 1);
        if (!current) return nullptr;
    }
    const char* last = names[count - 1];
    if (flags & eSearchProperties)
        if (QVTreeNode* property = find(current->properties, last, 1)) return property;
    return find(current, last, 1);
}

}  // namespace

extern "C" {

QV_API QVTreeNode* GetNodeFromPath(QVTreeNode* start, const char (*names)[QV_STRING_SIZE],
                                   int count, unsigned flags) {
    return followNames(start, names, count, flags, true, "GetNodeFromPath");
}

QV_API QVTreeNode* GetNodeFromNodeNamePath(QVTreeNode* start,
                                           const char (*names)[QV_STRING_SIZE], int count,
                                           unsigned flags) {
    return followNames(start, names, count, flags, false, "GetNodeFromNodeNamePath");
}

QV_API QVTreeNode* GetNodeFromIDPath(QVTreeNode* start, const int* ids, int count, unsigned flags) {
    constexpr const char* kFn = "GetNodeFromIDPath";
    if (!start) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "start node is NULL");
    if (!ids || count < 1)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "nodeIds is NULL or numNodes < 1");
    QVTreeNode* current = (flags & eSearchFromRoot) ? GetRoot(start) : start;
    int index = 0;
    if (flags & eSearchInPath) {
        while (index < count && ids[index] != current->id) ++index;
        if (index == count) index = 0;
    }
    if (ids[index] != current->id) {
        QV_NOTE(6, __LINE__, "could not extract start node %s from id Path", current->baseName);
        return nullptr;
    }
    for (++index; index < count; ++index) {
        QVTreeNode* next = FindChildByID(current, ids[index]);
        if (!next) next = FindChildByID(current->properties, ids[index]);
        if (!next) return nullptr;
        current = next;
    }
    return current;
}

}  // extern "C"
