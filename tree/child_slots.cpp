// Child-slot mechanics shared by the insert and remove operations: resizing the slot array,
// placing a node in a slot with its sibling links and levels, finding a child's slot, and the
// cycle test that keeps a node from becoming its own descendant.
#include <cstdlib>
#include <cstring>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace qv::tree {

bool resizeChildren(QVTreeNode* parent, int newSize, const char* kFn) {
    if (newSize < 1) return false;
    const size_t bytes = sizeof(QVTreeNode*) * static_cast<size_t>(newSize);
    int oldSize = parent->childArraySize < 0 ? 0 : parent->childArraySize;
    void* grown = nullptr;
    if (parent->children == embeddedSlots(parent)) {
        // Slots inside the node's own block move to a block of their own.
        grown = std::malloc(bytes);
        if (grown)
            std::memcpy(grown, parent->children,
                        sizeof(QVTreeNode*) * static_cast<size_t>(oldSize < newSize ? oldSize : newSize));
    } else {
        grown = std::realloc(parent->children, bytes);
    }
    if (!grown) {
        static_cast<void>(QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not realloc memory"));
        return false;
    }
    parent->children = static_cast<QVTreeNode**>(grown);
    if (newSize > oldSize)
        std::memset(parent->children + oldSize, 0,
                    sizeof(QVTreeNode*) * static_cast<size_t>(newSize - oldSize));
    parent->childArraySize = newSize;
    return true;
}

void linkNeighbours(QVTreeNode* parent, QVTreeNode* child, int index) {
    if (index >= 1) {
        if (QVTreeNode* prev = parent->children[index - 1]) {
            child->prevSibling = prev;
            prev->nextSibling = child;
        }
    }
    if (index + 1 < parent->childArraySize) {
        if (QVTreeNode* next = parent->children[index + 1]) {
            child->nextSibling = next;
            next->prevSibling = child;
        }
    }
}

void setLevels(QVTreeNode* node, int level) {
    node->level = static_cast<unsigned short>(level);
    for (int i = 0; i < node->numChildren && i < node->childArraySize; ++i)
        if (QVTreeNode* child = node->children[i]) setLevels(child, level + 1);
    if (node->properties) setLevels(node->properties, level + 1);
}

int insertNodeIntoList(QVTreeNode* parent, QVTreeNode* child, int index) {
    constexpr const char* kFn = "InsertNodeIntoList";
    if (index < 0 || index >= parent->childArraySize)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "index is too big");
    child->prevSibling = nullptr;
    child->nextSibling = nullptr;
    linkNeighbours(parent, child, index);
    parent->children[index] = child;
    child->parent = parent;
    ++parent->numChildren;
    ++child->refCount;
    child->indexInParent = index;
    setLevels(child, parent->level + 1);
    return 0;
}

int findSlot(const QVTreeNode* parent, const QVTreeNode* child) {
    int recorded = child->indexInParent;
    if (recorded >= 0 && recorded < parent->childArraySize && parent->children[recorded] == child)
        return recorded;
    for (int i = 0; i < parent->childArraySize; ++i)
        if (parent->children[i] == child) return i;
    return -1;
}

bool isSelfOrAncestor(const QVTreeNode* node, const QVTreeNode* candidate) {
    for (const QVTreeNode* n = candidate; n; n = n->parent)
        if (n == node) return true;
    return false;
}

}  // namespace qv::tree
