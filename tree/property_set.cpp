// Setting properties: SetPropertyEx and its short forms, AddProperty and SetPropertyAccess. A
// property is a child of the node's property-list node; every property that is set is also
// appended to the valid list (the property-list node's array), which RemoveInvalidProperties
// later uses to sweep properties that were not set.
#include <cstdio>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

bool isIntegerLike(int dataType) {
    return dataType == eInt || dataType == eBool || dataType == eOptionList ||
           dataType == eOptionListMulti;
}

// Gives the property its access, base name and (when a translation exists) display name.
void finishProperty(QVTreeNode* property, int id, const char* name, unsigned access) {
    property->access = access;
    if (name) copyName(property->baseName, name);
    char label[QV_NAME_SIZE];
    if (localizedLabel(id, label)) std::snprintf(property->name, sizeof property->name, "%s", label);
}

}  // namespace

extern "C" {

QV_API QVTreeNode* SetPropertyEx(QVTreeNode* node, int id, const char* name, const void* value,
                                 int dataType, int mode, unsigned access, int addIfNew) {
    constexpr const char* kFn = "SetPropertyEx";
    if (!node) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is Null");
    QVTreeNode* property = node->properties ? FindChildByID(node->properties, id) : nullptr;

    if (property) {
        if (property->dataType != dataType && (mode & eSwapPtr)) {
            if (isIntegerLike(property->dataType) && isIntegerLike(dataType)) {
                mode = eSwapPtr;
            } else if (updateDataType(property, dataType) != 0) {
                static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                          "could not convert data type of node %s", property->name));
                mode = eReplacePtr;
            }
        }
        property->dataType = dataType;
        AppendValue(validList(node->properties), property);
        if (int rc = SetNodeData(property, value, dataType, mode))
            static_cast<void>(QV_FAIL(1, rc, __LINE__, "could not set node data for existing property"));
        finishProperty(property, id, name, access);
        return property;
    }

    if (!addIfNew)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__,
                            "could not set property %s (id=%d) of node %s, property does not exist, addIfNew is set to false",
                            name ? name : "", id, node->name);

    void* prepared = nullptr;
    SetData(&prepared, value, dataType, mode);
    property = CreateTreeNodeN(dataType, prepared, name, id, eShift, 0, 0);
    if (!property) {
        if (prepared && (mode & QV_DATA_OWNED_MASK)) ReleaseData(prepared, dataType, id);
        return nullptr;
    }
    property->access = access;
    property->dataFlags = static_cast<unsigned>(mode);
    if (!node->properties) {
        node->properties = createPropertyList(node, eQVPropertyList, 8, 8);
        if (!node->properties) {
            ReleaseTreeNode(property, 1);
            return nullptr;
        }
    }
    AppendChild(node->properties, property);
    AppendValue(validList(node->properties), property);
    return property;
}

QV_API QVTreeNode* SetProperty(QVTreeNode* node, int id, const char* name, const void* value,
                               int dataType, int mode) {
    return SetPropertyEx(node, id, name, value, dataType, mode, kDefaultAccess, 1);
}

QV_API QVTreeNode* AddProperty(QVTreeNode* node, int id, const char* name, const void* value,
                               int dataType, unsigned access) {
    constexpr const char* kFn = "AddProperty";
    if (!node) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node->Properties is Null");
    if (!node->properties) {
        static_cast<void>(QV_FAIL(2, QV_ERR_NULL_ARGUMENT, __LINE__,
                                  "property list of node is NULL, creating one"));
        // Deliberately without a valid list (unlike SetPropertyEx): appends to it then fail
        // with "array is NULL".
        node->properties = createPropertyList(node, eNoData, 0, 16);
        if (!node->properties) return nullptr;
    }
    if (QVTreeNode* existing = FindChildByID(node->properties, id)) {
        static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                  "Property with %s already exists at node \"%s\", use SetProperty function to set value of existing property",
                                  name ? name : "", node->name));
        return existing;
    }
    return SetPropertyEx(node, id, name, value, dataType, eReplacePtr, access, 1);
}

QV_API int SetPropertyAccess(QVTreeNode* node, int id, unsigned access) {
    constexpr const char* kFn = "SetPropertyAccess";
    if (!node) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is Null");
    QVTreeNode* property = FindNodeByID(node, id, eSearchSubtree | eSearchProperties);
    if (!property) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not find property with id %d", id);
    property->access = access;
    return 0;
}

}  // extern "C"
