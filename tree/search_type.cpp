// Collecting nodes by data type into a caller's pointer array, following reference nodes on
// request, and the single-result form FindNodeByType.
#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

struct Collector {
    int dataType;
    unsigned flags;
    QVArray* result;
    RefPath refs;

    // Appends the matches at and below `node`; returns how many. `remaining` is only ever
    // compared with 0, so once it has fallen below 0 nothing limits the search any more.
    int collect(QVTreeNode* node, int remaining) {
        RefPath::Step step(refs, node);
        int count = 0;
        if (node->dataType == eRefToNode && (flags & eSearchFollowRefs) && node->data) {
            auto* target = static_cast<QVTreeNode*>(node->data);
            // A reference to a node on the current walk (itself or an ancestor) would make the
            // walk endless: it is skipped.
            if (!refs.contains(target)) {
                int found = collect(target, remaining);
                count += found;
                remaining -= found;
            }
        }
        if (flags & eSearchChildren) {
            if (node->dataType == dataType) {
                AppendValue(result, node);
                ++count;
                --remaining;
            }
            for (int i = 0; i < node->numChildren && i < node->childArraySize && remaining != 0; ++i) {
                QVTreeNode* child = node->children[i];
                if (!child) continue;
                count += collect(child, remaining);
                // Reduced by the running total at this node, not by the child's count alone:
                // the rule is kept as it is.
                remaining -= count;
            }
        }
        const QVTreeNode* props = node->properties;
        if ((flags & eSearchProperties) && props && props->numChildren >= 1) {
            for (int i = 0; i < props->numChildren && i < props->childArraySize && remaining != 0; ++i) {
                QVTreeNode* property = props->children[i];
                if (property && property->dataType == dataType) {
                    AppendValue(result, property);
                    ++count;
                    --remaining;
                }
            }
        }
        return count;
    }
};

}  // namespace

extern "C" {

QV_API int FindMultipleNodesByType(QVTreeNode* start, int dataType, unsigned flags, int maxCount,
                                   QVArray* result) {
    constexpr const char* kFn = "FindMultipleNodesByType";
    if (!start) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "start node is NULL");
    if (!result) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "outpur array is NULL");
    if (maxCount == 0) return 0;
    Collector collector{dataType, flags, result, {}};
    return collector.collect(start, maxCount);
}

QV_API QVTreeNode* FindNodeByType(QVTreeNode* start, int dataType, unsigned flags) {
    QVArray* found = CreateArray(eRefToNode, 0, 1);
    QVTreeNode* node = nullptr;
    if (FindMultipleNodesByType(start, dataType, flags, 1, found) > 0)
        node = static_cast<QVTreeNode*>(GetValue(found, 0));
    if (found) ReleaseArray(found, 0);
    return node;
}

}  // extern "C"
