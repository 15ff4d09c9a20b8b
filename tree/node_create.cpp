// Creation and naming of tree nodes: the create functions, the property-list node made with a
// node, the data hint and SetNodeName.
#include <cstdlib>
#include <cstring>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace qv::tree {

void copyName(char* field, const char* text) {
    std::strncpy(field, text, QV_NAME_SIZE - 1);
    field[QV_NAME_SIZE - 1] = '\0';
}

void setBothNames(QVTreeNode* node, const char* name, const char* kFn) {
    if (std::strlen(name) >= QV_NAME_SIZE) 
        static_cast<void>(QV_FAIL(0, QV_ERR_ARGUMENT, __LINE__, "Node name too long"));
    copyName(node->name, name);
    copyName(node->baseName, name);
}

QVTreeNode* createPropertyList(QVTreeNode* owner, int dataType, int listCapacity,
                               int childCapacity) {
    QVArray* list = nullptr;
    if (listCapacity > 0) list = CreateArray(eQVPropertyList, 0, listCapacity);
    QVTreeNode* props = CreateTreeNodeN(dataType, list, kPropertyListName, kPropertyListId,
                                        eShift, 0, childCapacity);
    if (!props) {
        ReleaseArray(list, 0);
        return nullptr;
    }
    props->parent = owner;
    props->level = static_cast<unsigned short>(owner->level + 1);
    return props;
}

}  // namespace qv::tree

using namespace qv::tree;

extern "C" {

QV_API QVTreeNode* CreateTreeNodeN(int dataType, void* data, const char* name, int id,
                                   int childOrderMode, int propertyCapacity, int childCapacity) {
    constexpr const char* kFn = "CreateTreeNodeN";
    const size_t slots = childCapacity >= 1 ? static_cast<size_t>(childCapacity) : 0;
    auto* node = static_cast<QVTreeNode*>(std::calloc(1, sizeof(QVTreeNode) + slots * sizeof(QVTreeNode*)));
    if (!node) return QV_FAIL_NULL(0, QV_ERR_MEMORY, __LINE__, "could not allocate tree node");
    node->dataType = dataType;
    node->data = data;
    setBothNames(node, name ? name : "node", kFn);
    node->id = id;
    node->childArraySize = childCapacity;
    node->childOrderMode = childOrderMode;
    node->access = kDefaultAccess;
    node->dataFlags = 1;
    if (slots > 0) node->children = embeddedSlots(node);  // zeroed with the record
    if (propertyCapacity > 0)
        node->properties = createPropertyList(node, eQVPropertyList, propertyCapacity,
                                              propertyCapacity);
    localizeNode(node);
    return node;
}

QV_API QVTreeNode* CreateTreeNode(int dataType, void* data, const char* name, int id,
                                  int childOrderMode) {
    return CreateTreeNodeN(dataType, data, name, id, childOrderMode, 8, 8);
}

QV_API QVTreeNode* CreateEmptyTreeNode(const char* name, int id) {
    return CreateTreeNodeN(eNoData, nullptr, name, id, eShift, 8, 8);
}

QV_API QVTreeNode* CreateEmptyTreeNodeN(const char* name, int id, int childOrderMode,
                                        int propertyCapacity, int childCapacity) {
    return CreateTreeNodeN(eNoData, nullptr, name, id, childOrderMode, propertyCapacity,
                           childCapacity);
}

QV_API int InitNodeDataHint(QVTreeNode* node) {
    constexpr const char* kFn = "InitNodeDataHint";
    if (!node) return QV_ERR_NULL_ARGUMENT;
    if (!node->dataHint) {
        node->dataHint = static_cast<char*>(std::calloc(QV_STRING_SIZE, 1));
        if (!node->dataHint)
            return QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not allocate data hint");
    } else {
        std::memset(node->dataHint, 0, QV_STRING_SIZE);
    }
    return 0;
}

QV_API int SetNodeName(QVTreeNode* node, const char* name) {
    constexpr const char* kFn = "SetNodeName";
    if (!node || !name) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or new name is NULL");
    setBothNames(node, name, kFn);
    return 0;
}

}  // extern "C"
