// Bulk setting of node data: one value into every matching node of a tree (SetNodeDataMulti),
// the same with id, value, type and level taken from a source node, and for a whole source
// subtree at once.
#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

struct MultiSetter {
    int id;
    const void* value;
    int dataType;
    int level;
    int mode;
    RefPath refs;

    bool matches(const QVTreeNode* node) const {
        return node->id == id && dataType != eQVBinaryData && node->dataType == dataType &&
               !(node->access & kReadOnly) && node->data != value && node->level == level;
    }

    int visit(QVTreeNode* node, unsigned flags) {
        RefPath::Step step(refs, node);
        int count = 0;
        if ((flags & eSearchProperties) && node->properties)
            count += visit(node->properties, flags | eSearchChildren);
        if (!(flags & eSearchChildren)) return count;
        for (int i = 0; i < node->numChildren && i < node->childArraySize; ++i) {
            QVTreeNode* child = node->children[i];
            if (!child) continue;
            if ((flags & eSearchFollowRefs) && child->dataType == eRefToNode) {
                child = static_cast<QVTreeNode*>(child->data);
                // A reference to a node on the current walk (itself or an ancestor) would make
                // the walk endless: it is skipped.
                if (!child || refs.contains(child)) continue;
            }
            if (matches(child) && SetNodeData(child, value, dataType, mode) == 0) ++count;
            count += visit(child, flags);
        }
        return count;
    }
};

}  // namespace

extern "C" {

QV_API int SetNodeDataMulti(QVTreeNode* root, int id, const void* value, int dataType, int level,
                            int mode, unsigned searchFlags) {
    constexpr const char* kFn = "SetNodeDataMulti";
    if (!root) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "dest node is NULL");
    // 0x01 (start from the root) is accepted and has no effect here.
    MultiSetter setter{id, value, dataType, level, mode, {}};
    return setter.visit(root, searchFlags);
}

QV_API int SetNodeDataMultiByID(QVTreeNode* root, QVTreeNode* source, int mode,
                                unsigned searchFlags) {
    constexpr const char* kFn = "SetNodeDataMultiByID";
    if (!source) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "source node is NULL");
    if ((searchFlags & eSearchFollowRefs) && source->dataType == eRefToNode) {
        source = static_cast<QVTreeNode*>(source->data);
        if (!source) return 0;
    }
    return SetNodeDataMulti(root, source->id, source->data, source->dataType, source->level, mode,
                            searchFlags);
}

QV_API int SetAllNodeDataMultiByID(QVTreeNode* root, QVTreeNode* source, int mode,
                                   unsigned searchFlags) {
    constexpr const char* kFn = "SetAllNodeDataMultiByID";
    if (!source) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "source node is NULL");
    if (!root) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "dest node is NULL");
    int total = 0;
    auto add = [&total](int count) {
        if (count > 0) total += count;
    };
    add(SetNodeDataMultiByID(root, source, mode, searchFlags));
    if ((searchFlags & eSearchProperties) && source->properties) {
        const QVTreeNode* props = source->properties;
        for (int i = 0; i < props->childArraySize; ++i)
            if (QVTreeNode* property = props->children[i])
                add(SetNodeDataMultiByID(root, property, mode, searchFlags));
    }
    if (searchFlags & eSearchChildren) {
        for (int i = 0; i < source->childArraySize; ++i)
            if (QVTreeNode* child = source->children[i])
                add(SetAllNodeDataMultiByID(root, child, mode, searchFlags));
    }
    return total;
}

}  // extern "C"
