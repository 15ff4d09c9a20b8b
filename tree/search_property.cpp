// Property lookups in a node's own property list, by id and by name. A missing property is a
// notice with code 0, so the last error stays as it was.
#include "logging/frame.h"
#include "tree/tree_internal.h"

extern "C" {

QV_API QVTreeNode* FindPropertyByID(QVTreeNode* node, int id, int* dataTypeOut) {
    constexpr const char* kFn = "FindPropertyByID";
    if (!node || !node->properties)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node->Properties is NULL");
    QVTreeNode* property = FindChildByID(node->properties, id);
    if (!property) {
        QV_NOTE(7, __LINE__, "property %d not found", id);
        return nullptr;
    }
    if (dataTypeOut) *dataTypeOut = property->dataType;
    return property;
}

QV_API QVTreeNode* FindPropertyByName(QVTreeNode* node, const char* name, int mode,
                                      int* dataTypeOut) {
    constexpr const char* kFn = "FindPropertyByName";
    if (!node || !node->properties)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node->Properties is NULL");
    QVTreeNode* property = FindChildByName(node->properties, name, mode);
    if (!property) {
        QV_NOTE(4, __LINE__, "property %s not found", name ? name : "");
        return nullptr;
    }
    if (dataTypeOut) *dataTypeOut = property->dataType;
    return property;
}

}  // extern "C"
