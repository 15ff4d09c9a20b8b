// Detaching children: RemoveChildAt and RemoveChild. eShift (and the reserved sorted orders)
// close the gap by shifting later children down; eInsertFree and eFixedIndex leave a hole. The
// removed child is detached but not released: the caller owns it.
#include "logging/frame.h"
#include "tree/tree_internal.h"

extern "C" {

QV_API QVTreeNode* RemoveChildAt(QVTreeNode* parent, int index) {
    constexpr const char* kFn = "RemoveChildAt";
    if (!parent) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "parent NULL");
    // A negative index and any index of a parent without slots are out of range as well (an
    // unsigned comparison with childArraySize - 1 would let them through to a read outside the
    // slots).
    if (index < 0 || index >= parent->childArraySize)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__,
                            "childIndex %d is invaild -> parent->childArraySize = %d", index,
                            parent->childArraySize);
    QVTreeNode* child = parent->children[index];
    if (!child) {
        QV_NOTE(4, __LINE__, "%s->child[%d] is NULL", parent->name, index);
        return nullptr;
    }
    int mode = parent->childOrderMode;
    // Checked before anything changes, so that an unknown mode removes nothing at all.
    if (mode < eSortedOrder0 || mode > eFixedIndex)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "unknown ChildOrder Type");

    if (child->prevSibling) child->prevSibling->nextSibling = child->nextSibling;
    if (child->nextSibling) child->nextSibling->prevSibling = child->prevSibling;

    if (mode <= eShift) {
        int last = parent->numChildren - 1;
        if (last >= parent->childArraySize) last = parent->childArraySize - 1;
        for (int j = index; j < last; ++j) {
            QVTreeNode* moved = parent->children[j + 1];
            parent->children[j] = moved;
            if (!moved) continue;
            --moved->indexInParent;
            QV_NOTE(7, __LINE__,
                    "removed child at %d -> index of child# %d = %d, (numChildren=%d, arraySize=%d)",
                    index, j, moved->indexInParent, parent->numChildren, parent->childArraySize);
        }
        parent->children[last >= index ? last : index] = nullptr;
    } else {
        parent->children[index] = nullptr;
    }
    --parent->numChildren;
    --child->refCount;
    child->parent = nullptr;
    qv::tree::setLevels(child, 0);
    return child;
}

QV_API QVTreeNode* RemoveChild(QVTreeNode* parent, QVTreeNode* child) {
    constexpr const char* kFn = "RemoveChild";
    if (!child && !parent) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "child and parent are NULL");
    if (!child)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "child to remove from %s is NULL",
                            parent->name);
    if (!parent || child->parent != parent) return nullptr;
    // The child is looked up in every slot, not only in 0..numChildren-1: in eInsertFree and
    // eFixedIndex a child may sit behind a hole, and it must still be found, or it would stay in
    // the slots as a dangling pointer once released or attached elsewhere.
    int slot = qv::tree::findSlot(parent, child);
    return slot < 0 ? nullptr : RemoveChildAt(parent, slot);
}

}  // extern "C"
