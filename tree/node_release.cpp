// Releasing nodes: ReleaseTreeNodeEx and its two forms. Children go first, then the node's
// refCount decides whether the node itself is freed; a node still held elsewhere is kept.
#include <cstdlib>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

// Empties slot `index` of `parent` and releases the child that was there. The slot is emptied
// and the child detached before the child's own release runs, so that the release neither
// searches the parent's slots for it nor leaves the parent pointing at freed memory, and so that
// a child kept because something else still holds it (refCount) is left detached and intact.
int releaseSlot(QVTreeNode* parent, int index, QVDeleteDataFct deleteFunction) {
    QVTreeNode* child = parent->children[index];
    if (!child) return 0;
    parent->children[index] = nullptr;
    --parent->numChildren;
    child->parent = nullptr;
    child->prevSibling = nullptr;
    child->nextSibling = nullptr;
    int rc = ReleaseTreeNodeEx(child, deleteFunction);
    if (rc != 0) setLevels(child, 0);  // kept: it is a root of its own now
    return rc;
}

}  // namespace

extern "C" {

QV_API int ReleaseTreeNodeEx(QVTreeNode* node, QVDeleteDataFct deleteFunction) {
    constexpr const char* kFn = "ReleaseTreeNodeEx";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "cannot release TreeNode, Node is NULL");

    // Children first, from the last slot down; sparse modes may hold children in any slot.
    bool sparse = node->childOrderMode == eInsertFree || node->childOrderMode == eFixedIndex;
    int top = sparse ? node->childArraySize - 1 : node->numChildren - 1;
    if (top > node->childArraySize - 1) top = node->childArraySize - 1;
    for (int i = top; i >= 0; --i) releaseSlot(node, i, deleteFunction);

    // Only then the reference count: a node still held keeps itself, without its children. The
    // order is intended and kept.
    if (--node->refCount >= 1)
        return QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "cannot delete node %s, refCount > 0", node->name);

    if (QVTreeNode* props = node->properties) {
        node->properties = nullptr;
        props->parent = nullptr;
        if (props->data) ReleaseArray(static_cast<QVArray*>(props->data), 0);
        props->data = nullptr;
        ReleaseTreeNodeEx(props, deleteFunction);
    }
    if (deleteFunction) {
        // A node without data has nothing to hand over (and no failure to report).
        if (node->data) ReleaseNodeData(node, deleteFunction);
        if (node->userData) deleteFunction(node->userData, eUserData, node->id);
    }
    if (node->parent) RemoveChild(node->parent, node);
    std::free(node->dataHint);
    std::free(node->localizedText);
    freeChildren(node);
    std::free(node);
    return 0;
}

QV_API int ReleaseTreeNode(QVTreeNode* node, int releaseData) {
    return ReleaseTreeNodeEx(node, releaseData ? ReleaseData : nullptr);
}

QV_API int ReleaseChildNodes(QVTreeNode* node, QVDeleteDataFct deleteFunction) {
    constexpr const char* kFn = "ReleaseChildNodes";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "cannot release TreeNode, Node is NULL");
    int result = 0;
    for (int i = 0; i < node->childArraySize; ++i) result |= releaseSlot(node, i, deleteFunction);
    node->numChildren = 0;
    return result;
}

}  // extern "C"
