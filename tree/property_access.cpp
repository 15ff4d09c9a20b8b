// Reading and removing properties: by slot of the property list, by id, and the sweep of the
// properties that are not in the valid list. Removed properties are detached, not released.
#include "logging/frame.h"
#include "tree/tree_internal.h"

using namespace qv::tree;

namespace {

// The property in slot `index`, with the failures logged under the calling export `kFn`.
QVTreeNode* propertyAt(QVTreeNode* node, int index, bool* failed, const char* kFn) {
    *failed = true;
    if (!node || !node->properties)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node properties is NULL");
    if (index < 0 || index > node->properties->childArraySize - 1)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "property index invalid");
    *failed = false;
    return node->properties->children[index];
}

}  // namespace

extern "C" {

QV_API QVTreeNode* GetPropertyAt(QVTreeNode* node, int index) {
    constexpr const char* kFn = "GetPropertyAt";
    bool failed;
    return propertyAt(node, index, &failed, kFn);
}

QV_API void* GetPropertyValueAt(QVTreeNode* node, int index, int* typeOut) {
    constexpr const char* kFn = "GetPropertyValueAt";
    bool failed;
    QVTreeNode* property = propertyAt(node, index, &failed, kFn);
    if (failed) return nullptr;
    if (!property) return QV_FAIL_NULL(2, QV_ERR_NULL_ARGUMENT, __LINE__, "property at index is NULL");
    if (typeOut) *typeOut = property->dataType;
    return property->data;
}

QV_API QVTreeNode* RemovePropertyAt(QVTreeNode* node, int index) {
    constexpr const char* kFn = "RemovePropertyAt";
    if (!node || !node->properties)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node->Properties is NULL");
    return RemoveChildAt(node->properties, index);
}

QV_API QVTreeNode* RemovePropertyByID(QVTreeNode* node, int id) {
    constexpr const char* kFn = "RemovePropertyByID";
    if (!node) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    if (!node->properties) return nullptr;
    QVTreeNode* property = FindChildByID(node->properties, id);
    return property ? RemoveChild(node->properties, property) : nullptr;
}

QV_API int RemoveInvalidProperties(QVTreeNode* node) {
    constexpr const char* kFn = "RemoveInvalidProperties";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    QVTreeNode* props = node->properties;
    if (!props || props->numChildren < 1) return 0;
    const QVArray* valid = validList(props);
    if (!valid)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "could not find property-valid list in property-node");
    int top = props->numChildren - 1;
    if (top > props->childArraySize - 1) top = props->childArraySize - 1;
    for (int i = top; i >= 0; --i) {
        QVTreeNode* property = props->children[i];
        if (property && !QVArray_FindValue(valid, QV_ComparePointerFct, property, nullptr))
            RemoveChild(props, property);
    }
    return 0;
}

}  // extern "C"
