// Paths from nodes: the names (base or displayed) or ids from the root down to a node, as an
// array, a separated text or an id text. A property-list node between a property and its owner
// is not a level of a path.
#include <cstdio>
#include <cstring>
#include <vector>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

// The next node up on a path: the parent, or the owner when the parent is a property list.
QVTreeNode* pathParent(const QVTreeNode* node, bool* skipped) {
    QVTreeNode* parent = node->parent;
    *skipped = parent && isPropertyList(parent);
    return *skipped ? parent->parent : parent;
}

void copyText(char* slot, const char* text) {
    std::strncpy(slot, text, QV_STRING_SIZE - 1);
    slot[QV_STRING_SIZE - 1] = '\0';
}

int namePath(QVTreeNode* node, char (*namesOut)[QV_STRING_SIZE], bool baseName, const char* kFn) {
    if (!node) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    int depth = GetNodeDepth(node);
    if (depth < 0) return QV_FAIL_VAL(0, 1, depth, __LINE__, "invalid node depth");
    if (depth + 1 >= QV_MAX_PATH_DEPTH + 1) return QV_FAIL_VAL(0, 0, depth, __LINE__, "node depth too big");
    char table[QV_MAX_PATH_DEPTH][QV_STRING_SIZE];
    int count = 0;
    bool skipped;
    for (const QVTreeNode* n = node; n; n = pathParent(n, &skipped))
        copyText(table[count++], baseName ? n->baseName : n->name);
    if (count == 0)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not eyxtract any names from node path");
    if (namesOut)
        for (int i = 0; i < count; ++i) std::memcpy(namesOut[i], table[count - 1 - i], QV_STRING_SIZE);
    return count;
}

}  // namespace

extern "C" {

QV_API int GetPathFromNode(QVTreeNode* node, char (*namesOut)[QV_STRING_SIZE]) {
    return namePath(node, namesOut, true, "GetPathFromNode");
}

QV_API int GetNamePathFromNode(QVTreeNode* node, char (*namesOut)[QV_STRING_SIZE]) {
    return namePath(node, namesOut, false, "GetNamePathFromNode");
}

QV_API int GetPathStrFromNode(QVTreeNode* node, char separator, char* textOut) {
    constexpr const char* kFn = "GetPathStrFromNode";
    if (!node) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    int depth = GetNodeDepth(node);
    if (depth < 0) return QV_FAIL_VAL(0, 1, depth, __LINE__, "invalid node depth");
    // The table has 32 positions and the walk starts at position `depth`: a deeper node would
    // write past it, so it fails as the array forms do.
    if (depth >= QV_MAX_PATH_DEPTH) return QV_FAIL_VAL(0, 0, depth, __LINE__, "node depth too big");
    char table[QV_MAX_PATH_DEPTH][QV_STRING_SIZE] = {};
    int count = 0;
    int position = depth;
    for (const QVTreeNode* n = node; n && position >= 0;) {
        copyText(table[position], n->baseName);
        ++count;
        --position;
        bool skipped;
        n = pathParent(n, &skipped);
        if (skipped) --position;
    }
    if (count == 0)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not extract name path from node \"%s\"",
                       node->name);
    if (textOut) {
        // Positions 0 .. count-1: after a skipped property-list level they are not contiguous
        // and the last one may be empty. Kept exactly so.
        const char sep[2] = {separator, '\0'};
        for (int i = 0; i < count - 1; ++i) {
            std::strcat(textOut, table[i]);
            std::strcat(textOut, sep);
        }
        std::strcat(textOut, table[count - 1]);
    }
    return count;
}

QV_API int GetIDPathFromNode(QVTreeNode* node, int* idsOut, char* textOut) {
    constexpr const char* kFn = "GetIDPathFromNode";
    // The message names the wrong argument; kept as callers know it.
    if (!node) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "nodeNames is NULL");
    std::vector<int> ids;
    bool skipped;
    for (const QVTreeNode* n = node; n; n = pathParent(n, &skipped)) ids.push_back(n->id);
    if (ids.empty()) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not extract IDs from nodes");
    const int count = static_cast<int>(ids.size());
    for (int i = 0; i < count; ++i) {
        int id = ids[count - 1 - i];
        if (idsOut) idsOut[i] = id;
        if (textOut) {
            char number[16];
            std::snprintf(number, sizeof number, i == 0 ? "%d" : "|%d", id);
            std::strcat(textOut, number);
        }
    }
    return count;
}

}  // extern "C"
