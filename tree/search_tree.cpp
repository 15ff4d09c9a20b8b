// Searches across a tree: by id (with the flag combinations of the search-flag word), upward
// through the parents by id or type, by data pointer, and the subtree membership test.
#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace qv::tree {

// Depth-first by id. With 0x10 every node of the subtree is tried first (the node, then each
// child's subtree in slot order); with 0x20 then the property lists: the node's own, then each
// child's subtree's. So with 0xB0 all nodes come before any property.
QVTreeNode* findByIdDepthFirst(QVTreeNode* node, int id, unsigned flags) {
    // Children are visited in slot order; numChildren counts the occupied slots, so the walk
    // stops after the last child (and never reads the slots of a leaf).
    if (flags & eSearchChildren) {
        if (node->id == id) return node;
        for (int i = 0, seen = 0; seen < node->numChildren && i < node->childArraySize; ++i) {
            QVTreeNode* child = node->children[i];
            if (!child) continue;
            ++seen;
            if (QVTreeNode* hit = findByIdDepthFirst(child, id, eSearchChildren)) return hit;
        }
    }
    if (!(flags & eSearchProperties)) return nullptr;
    if (QVTreeNode* hit = FindChildByID(node->properties, id)) return hit;
    for (int i = 0, seen = 0; seen < node->numChildren && i < node->childArraySize; ++i) {
        QVTreeNode* child = node->children[i];
        if (!child) continue;
        ++seen;
        if (QVTreeNode* hit = findByIdDepthFirst(child, id, eSearchProperties)) return hit;
    }
    return nullptr;
}

bool RefPath::contains(const QVTreeNode* node) const {
    for (const QVTreeNode* n : m_nodes)
        if (n == node) return true;
    return false;
}

}  // namespace qv::tree

namespace {

using namespace qv::tree;

QVTreeNode* findByDataPtr(QVTreeNode* node, const void* data) {
    if (node->data == data) return node;
    int count = node->numChildren < node->childArraySize ? node->numChildren : node->childArraySize;
    for (int i = 0; i < count; ++i) {
        QVTreeNode* child = node->children[i];
        if (!child) continue;
        if (child->data == data) return child;
        if (QVTreeNode* hit = findByDataPtr(child, data)) return hit;
    }
    return nullptr;
}

}  // namespace

extern "C" {

QV_API QVTreeNode* FindNodeByID(QVTreeNode* start, int id, unsigned flags) {
    constexpr const char* kFn = "FindNodeByID";
    if (flags & eSearchParents) {
        if (!start) return nullptr;
        if (start->id == id) return start;
        return FindParentByID(start->parent, id);
    }
    if (!start) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "start node is NULL");
    if (flags & eSearchFromRoot) start = GetRoot(start);
    if (flags & eSearchSubtree) {
        if (!(flags & eSearchBreadthFirst)) return findByIdDepthFirst(start, id, flags);
        static_cast<void>(QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, __LINE__,
                                  "Breadth-First-Search not implemented yet"));
    }
    if (flags & eSearchProperties)
        if (QVTreeNode* hit = FindChildByID(start->properties, id)) return hit;
    return (flags & eSearchChildren) ? FindChildByID(start, id) : nullptr;
}

QV_API QVTreeNode* FindPropertyByIDRecursive(QVTreeNode* node, int id) {
    return FindNodeByID(node, id, eSearchFollowRefs | eSearchSubtree | eSearchProperties);
}

QV_API QVTreeNode* FindParentByID(QVTreeNode* node, int id) {
    for (; node; node = node->parent)
        if (node->id == id) return node;
    return nullptr;
}

QV_API QVTreeNode* FindParentByType(QVTreeNode* node, int dataType) {
    for (; node; node = node->parent)
        if (node->dataType == dataType) return node;
    return nullptr;
}

QV_API QVTreeNode* FindNodeByDataPtr(QVTreeNode* start, const void* data, unsigned flags) {
    constexpr const char* kFn = "FindNodeByDataPtr";
    if (!start) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "start node is NULL");
    if (flags & eSearchFromRoot) start = GetRoot(start);
    QVTreeNode* hit = nullptr;
    if (flags & eSearchSubtree) {
        hit = findByDataPtr(start, data);
    } else if (flags & eSearchChildren) {
        int count = start->numChildren < start->childArraySize ? start->numChildren
                                                               : start->childArraySize;
        for (int i = 0; i < count && !hit; ++i)
            if (start->children[i] && start->children[i]->data == data) hit = start->children[i];
    }
    // The property list is searched with no flags, which finds nothing: property data pointers
    // are never matched. Intended and kept, including the "start node is NULL" failure that a
    // node without a property list reports through it.
    if (!hit && (flags & eSearchProperties)) hit = FindNodeByDataPtr(start->properties, data, 0);
    return hit;
}

QV_API int IsNodeChildOf(QVTreeNode* parent, QVTreeNode* child, int depth, unsigned flags) {
    constexpr const char* kFn = "IsNodeChildOf";
    if (!parent || !child) {
        QV_NOTE(5, __LINE__, "parent or child is NULL");
        return 0;
    }
    if (parent == child) return 1;
    if ((flags & eSearchProperties) && parent->properties) {
        const QVTreeNode* props = parent->properties;
        for (int i = 0; i < props->numChildren && i < props->childArraySize; ++i)
            if (props->children[i] == child) return 1;
    }
    if (depth == 0 || parent->numChildren == 0) return 0;
    for (int i = 0; i < parent->numChildren && i < parent->childArraySize; ++i)
        if (IsNodeChildOf(parent->children[i], child, depth - 1, flags)) return 1;
    return 0;
}

}  // extern "C"
