// Copies of node data and of whole trees: CopyNodeData (one value), CopyAllNodeData (values of
// an existing tree into another of the same shape) and CopyTreeNode (a new tree).
#include <cstring>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

// Slots that a walk over the children pairs up: the sparse modes may use every slot.
int pairedSlots(const QVTreeNode* node) {
    bool sparse = node->childOrderMode == eInsertFree || node->childOrderMode == eFixedIndex;
    int count = sparse ? node->childArraySize : node->numChildren;
    return count < node->childArraySize ? count : node->childArraySize;
}

}  // namespace

extern "C" {

QV_API int CopyNodeData(QVTreeNode* source, QVTreeNode* destination, int mode) {
    constexpr const char* kFn = "CopyNodeData";
    if (!source || !destination)
        return QV_FAIL(2, QV_ERR_NULL_ARGUMENT, __LINE__, "copy node or original node is NULL");
    if (source->dataType != destination->dataType)
        return QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                       "data type of copy node must be the same data type as original node");
    if (source->id == destination->id) {
        destination->access = source->access;
        if (source->dataHint && (destination->dataHint || InitNodeDataHint(destination) == 0))
            std::memcpy(destination->dataHint, source->dataHint, QV_STRING_SIZE);
    }
    // The valid list of a property-list node is that node's own bookkeeping, not a value: it is
    // never copied nor shared (sharing it would free it twice), as eOverwriteData leaves it too.
    if (source->dataType == eQVPropertyList) return 0;
    return SetNodeData(destination, source->data, source->dataType, mode);
}

QV_API int CopyAllNodeData(QVTreeNode* source, QVTreeNode* destination, int depth, int mode,
                           int matchById) {
    constexpr const char* kFn = "CopyAllNodeData";
    if (!destination) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "copy node is NULL");
    if (!source) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "original node is NULL");
    int result = CopyNodeData(source, destination, mode);
    if (source->properties && destination->properties)
        result |= CopyAllNodeData(source->properties, destination->properties, -1, mode, matchById);
    if (depth == 0) return result;
    int a = pairedSlots(source), b = pairedSlots(destination);
    int count = a < b ? a : b;
    for (int i = 0; i < count; ++i) {
        QVTreeNode* child = source->children[i];
        if (!child) continue;
        QVTreeNode* partner = matchById ? FindChildByID(destination, child->id)
                                        : destination->children[i];
        if (!partner) {
            if (matchById)
                result |= QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "could not find a child '%s' of copy node %s",
                                  child->name, destination->name);
            continue;
        }
        result |= CopyAllNodeData(child, partner, depth - 1, mode, matchById);
    }
    return result;
}

QV_API QVTreeNode* CopyTreeNode(QVTreeNode* source, QVTreeNode* parent, int depth, int mode) {
    if (!source) return nullptr;
    QVTreeNode* copy = CreateTreeNodeN(source->dataType, nullptr, source->baseName, source->id,
                                       source->childOrderMode, 0,
                                       source->childArraySize > 0 ? source->childArraySize : 0);
    if (!copy) return nullptr;
    copyName(copy->name, source->name);
    CopyNodeData(source, copy, mode);

    if (source->properties) {
        if (QVTreeNode* props = CopyTreeNode(source->properties, copy, -1, mode)) {
            // A fresh valid list holding every copied property.
            QVArray* list = CreateArray(eQVPropertyList, 0, props->numChildren > 0 ? props->numChildren : 8);
            for (int i = 0; list && i < props->childArraySize; ++i)
                if (QVTreeNode* property = props->children[i]) AppendValue(list, property);
            props->data = list;
            props->dataType = eQVPropertyList;
            copy->properties = props;
            setLevels(props, copy->level + 1);
        }
    }
    copy->parent = parent;  // set without attaching it there; kept so on purpose
    if (depth == 0) return copy;
    for (int i = 0; i < source->childArraySize; ++i) {
        QVTreeNode* child = source->children[i];
        if (!child) continue;
        QVTreeNode* childCopy = CopyTreeNode(child, nullptr, depth - 1, mode);
        // A copy that cannot be placed (a parent in a sorted order) is not leaked.
        if (childCopy && InsertChildAt(copy, childCopy, i) != 0) ReleaseTreeNode(childCopy, 1);
    }
    return copy;
}

}  // extern "C"
