// Attaching children: AppendChild, InsertChild and InsertChildAt under the three child order
// modes (eShift, eInsertFree, eFixedIndex), with growth of the slot array and the move of a
// child away from a previous parent.
#include <climits>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

constexpr const char* kSortingMsg = " sorting child nodes is not implemented yet";
constexpr const char* kAlreadyChildMsg =
    "the node to be inserted is already a child node of this parent node";
constexpr const char* kCannotMoveMsg =
    "the node is already a child node of another parent node, but cannot be removed there";
// Attaching a node below itself would make every walk over the tree endless: refused.
constexpr const char* kCycleMsg = "a node cannot become a child of itself or of its descendants";

// Moves `child` away from a parent other than `parent`, as InsertChild and InsertChildAt do.
int detachFromOtherParent(QVTreeNode* child, const char* kFn) {
    if (!child->parent) return 0;
    if (!RemoveChild(child->parent, child))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kCannotMoveMsg);
    static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                              "the node was a child node of another parent node, and has been removed there"));
    return 0;
}

// Slot size that lets eFixedIndex reach `index`: 2 to the power (ceil(log2(index)) + 1), so 1
// gives 2, 5 and 8 give 16, 20 gives 64. Index 0 is treated as 1 (log2(0) has no value). -1 when
// the size would not fit an int.
int fixedIndexSize(int index) {
    long long power = 1;
    while (power < index) power *= 2;
    long long size = power * 2;
    return size > INT_MAX ? -1 : static_cast<int>(size);
}

}  // namespace

extern "C" {

QV_API int AppendChild(QVTreeNode* parent, QVTreeNode* child) {
    constexpr const char* kFn = "AppendChild";
    if (!parent || !child)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent or newChild is NULL");
    if (child->parent == parent)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "node is already a child of specified parent");
    if (isSelfOrAncestor(child, parent)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kCycleMsg);
    // The child goes to slot numChildren. Where holes of eInsertFree/eFixedIndex left that slot
    // occupied, the next free slot is taken instead, so that no child is ever overwritten.
    int slot = parent->numChildren;
    for (;;) {
        while (slot < parent->childArraySize && parent->children[slot]) ++slot;
        if (slot < parent->childArraySize) break;
        int size = parent->childArraySize;
        if (!resizeChildren(parent, size < 1 ? 8 : size * 2, kFn)) return QV_ERR_MEMORY;
    }
    if (child->parent && !RemoveChild(child->parent, child))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kCannotMoveMsg);
    parent->children[slot] = child;
    child->parent = parent;
    child->prevSibling = nullptr;
    child->nextSibling = nullptr;
    setLevels(child, parent->level + 1);
    linkNeighbours(parent, child, slot);
    ++parent->numChildren;
    ++child->refCount;
    child->indexInParent = slot;
    return 0;
}

QV_API int InsertChild(QVTreeNode* parent, QVTreeNode* child) {
    constexpr const char* kFn = "InsertChild";
    if (!parent || !child) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent or child is NULL");
    if (child->parent == parent) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kAlreadyChildMsg);
    if (isSelfOrAncestor(child, parent)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kCycleMsg);
    if (int rc = detachFromOtherParent(child, kFn)) return rc;
    switch (parent->childOrderMode) {
    case eSortedOrder0:
    case eSortedById:
    case eSortedOrder2:
        return QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, __LINE__, "%s", kSortingMsg);
    case eShift:
        return AppendChild(parent, child);
    case eInsertFree:
        if (parent->numChildren < parent->childArraySize) {
            for (int i = 0; i < parent->childArraySize; ++i)
                if (!parent->children[i]) return insertNodeIntoList(parent, child, i);
        }
        return AppendChild(parent, child);
    case eFixedIndex:
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "cannot insert child if OrderMode is 'eFixedIndex' an index must be specified");
    default:
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "unknown ChildOrder Type");
    }
}

QV_API int InsertChildAt(QVTreeNode* parent, QVTreeNode* child, int index) {
    constexpr const char* kFn = "InsertChildAt";
    if (!parent || !child)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent or child is NULL, or index < 0");
    if (index < 0) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "Index is invalid, must be >= 0");
    if (child->parent == parent) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kAlreadyChildMsg);
    int mode = parent->childOrderMode;
    if (mode >= eSortedOrder0 && mode <= eSortedOrder2)
        return QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, __LINE__, "%s", kSortingMsg);
    if (mode < 0 || mode > eFixedIndex)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "unknown ChildOrder Type");
    if (isSelfOrAncestor(child, parent)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kCycleMsg);

    if (mode == eFixedIndex) {
        if (index > parent->childArraySize - 1) {
            int newSize = fixedIndexSize(index);
            if (newSize < 0) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "index is too big");
            QV_NOTE(3, __LINE__, "resizing child array: oldSize: %d -> newSize will be: %d",
                    parent->childArraySize, newSize);
            if (!resizeChildren(parent, newSize, kFn)) return QV_ERR_MEMORY;
        }
        if (QVTreeNode* present = parent->children[index])
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                           "cannot insert new child %s at index %d: there's already a child node at this position: %s",
                           child->name, index, present->name);
        if (int rc = detachFromOtherParent(child, kFn)) return rc;
        return insertNodeIntoList(parent, child, index);
    }

    // eShift and eInsertFree.
    if (int rc = detachFromOtherParent(child, kFn)) return rc;
    if (index > parent->numChildren - 1) return AppendChild(parent, child);
    if (parent->children[index]) {
        // The run of children from `index` up to the first free slot moves up by one. With
        // packed slots that run ends at numChildren; with eInsertFree holes it ends at the first
        // hole, which it fills, so that no child is pushed onto an occupied slot.
        int end = index;
        while (end < parent->childArraySize && parent->children[end]) ++end;
        if (end == parent->childArraySize &&
            !resizeChildren(parent, parent->childArraySize * 2, kFn))
            return QV_ERR_MEMORY;
        for (int j = end; j > index; --j) parent->children[j] = parent->children[j - 1];
        parent->children[index] = nullptr;
        for (int j = index + 1; j <= end; ++j) {
            QVTreeNode* moved = parent->children[j];
            if (!moved) {
                static_cast<void>(QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                                          "child at index %d -> is NULL in ChildOrderMode eShift or eInsertFree", j));
                continue;
            }
            ++moved->indexInParent;
        }
        if (end + 1 < parent->childArraySize && parent->children[end + 1])
            linkNeighbours(parent, parent->children[end], end);
    }
    return insertNodeIntoList(parent, child, index);
}

}  // extern "C"
