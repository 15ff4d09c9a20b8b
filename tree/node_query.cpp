// Questions about a node's place in its tree (root, depth, slot index, child ids, levels) and
// SetChildNode, which sets or creates the child holding a value by id.
#include "logging/frame.h"
#include "tree/tree_internal.h"

using namespace qv::tree;

extern "C" {

QV_API QVTreeNode* SetChildNode(QVTreeNode* parent, int id, const char* name, void* data,
                                int dataType) {
    constexpr const char* kFn = "SetChildNode";
    if (!parent) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent node is NULL");
    QVTreeNode* child = FindChildByID(parent, id);
    bool underGrandparent = false;
    if (!child && parent->parent) {
        child = FindChildByID(parent->parent, id);
        underGrandparent = child != nullptr;
    }
    if (child) {
        if (underGrandparent && AppendChild(parent, child) != 0) return nullptr;
        // The old value is deliberately not released: the caller hands in a new pointer.
        child->data = data;
        child->dataType = dataType;
        if (name) setBothNames(child, name, kFn);
        localizeNode(child);
        return child;
    }
    child = CreateTreeNodeN(data ? dataType : eNoData, data, name, id, eShift, 8, 8);
    if (!child) return nullptr;
    if (!data) child->dataType = dataType;
    if (AppendChild(parent, child) != 0) {
        ReleaseTreeNode(child, 0);
        return nullptr;
    }
    localizeNode(child);
    return child;
}

QV_API int GetHighestChildId(QVTreeNode* parent) {
    constexpr const char* kFn = "GetHighestChildId";
    if (!parent) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent node is NULL");
    bool any = false;
    int highest = -1;
    for (int i = 0; i < parent->numChildren && i < parent->childArraySize; ++i) {
        const QVTreeNode* child = parent->children[i];
        if (!child) continue;
        if (!any || child->id > highest) highest = child->id;
        any = true;
    }
    return highest;
}

QV_API QVTreeNode* GetRoot(QVTreeNode* node) {
    if (!node) return nullptr;
    while (node->parent) node = node->parent;
    return node;
}

QV_API int GetNodeDepth(QVTreeNode* node) {
    constexpr const char* kFn = "GetNodeDepth";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    int depth = 0;
    for (const QVTreeNode* n = node->parent; n; n = n->parent) ++depth;
    return depth;
}

QV_API int GetChildIndex(QVTreeNode* node) {
    constexpr const char* kFn = "GetChildIndex";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    const QVTreeNode* parent = node->parent;
    if (!parent) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent node is NULL");
    int count = parent->numChildren < parent->childArraySize ? parent->numChildren
                                                             : parent->childArraySize;
    // The recorded index answers at once; the scan covers a record that is out of date.
    int recorded = node->indexInParent;
    if (recorded >= 0 && recorded < count && parent->children[recorded] == node) return recorded;
    for (int i = 0; i < count; ++i)
        if (parent->children[i] == node) return i;
    return QV_ERR_ARGUMENT;
}

QV_API int GetChildIndexByID(QVTreeNode* parent, int id) {
    constexpr const char* kFn = "GetChildIndexByID";
    if (!parent) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent node is NULL");
    for (int i = 0; i < parent->numChildren && i < parent->childArraySize; ++i) {
        const QVTreeNode* child = parent->children[i];
        if (child && child->id == id) return i;
    }
    return QV_FAIL_VAL(-1, 2, QV_ERR_ARGUMENT, __LINE__, "child with specified ID could not be found");
}

QV_API int setNodeLevel(QVTreeNode* node, int level) {
    constexpr const char* kFn = "setNodeLevel";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    setLevels(node, level);
    return 0;
}

QV_API QVTreeNode* findParentOfLevel(QVTreeNode* node, int level) {
    for (QVTreeNode* n = node; n; n = n->parent) {
        if (n->level == level) return n;
        if (n->level < level) return nullptr;
    }
    return nullptr;
}

}  // extern "C"
