// A node's value: SetNodeData under the data-set modes with the ownership rule, the overwrite
// shortcut, ReleaseNodeData, and the text form of a node's value (with the path text of
// reference nodes, which this file also hands to DataToString).
#include <cstring>

#include "data/data_internal.h"
#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

// The text form of a reference: the name path of the referenced node, joined by '|'. A path
// of up to 32 names of 127 characters is built in a buffer that holds any of them and cut to
// the 511 characters of a text form.
int referenceText(const void* data, char* text) {
    if (!data || !text) return QV_ERR_ARGUMENT;
    char path[QV_MAX_PATH_DEPTH * QV_NAME_SIZE + 1] = "";
    int count = GetPathStrFromNode(static_cast<QVTreeNode*>(const_cast<void*>(data)), '|', path);
    const size_t n = strnlen(path, QV_STRING_SIZE - 1);
    std::memcpy(text, path, n);
    text[n] = '\0';
    return count > 0 ? 0 : QV_ERR_ARGUMENT;
}

// Installed when the library loads; every program that builds a tree links this file.
const bool g_referenceTextInstalled = [] {
    qv::data::setRefNodeTextHook(referenceText);
    return true;
}();

// Node delete functions take the node id as well; ReleaseArrayEx hands elements to a function
// without it. The function and the id of the node being released are held here meanwhile (the
// library is single-threaded by contract; thread_local keeps concurrent callers apart anyway).
thread_local QVDeleteDataFct t_elementDelete = nullptr;
thread_local int t_elementId = 0;

int deleteArrayElement(void* element, int dataType) {
    return t_elementDelete ? t_elementDelete(element, dataType, t_elementId) : 0;
}

int releaseArrayElements(QVArray* array, QVDeleteDataFct deleteFunction, int id) {
    QVDeleteDataFct savedFn = t_elementDelete;
    int savedId = t_elementId;
    t_elementDelete = deleteFunction;
    t_elementId = id;
    int rc = ReleaseArrayEx(array, deleteArrayElement);
    t_elementDelete = savedFn;
    t_elementId = savedId;
    return rc;
}

const char* typeName(int dataType, char* buffer) {
    GetDataTypeStr(dataType, buffer);
    return buffer;
}

}  // namespace

extern "C" {

QV_API int SetNodeData(QVTreeNode* node, const void* value, int dataType, int mode) {
    constexpr const char* kFn = "SetNodeData";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    if ((node->dataType >= 1 || !value) && !(mode & eReplacePtr) && !(mode & eSetPtr)) {
        QV_NOTE(5, __LINE__, "%s: user defined datatype or new Data is NULL, cannot set node data",
                node->name);
        return 0;
    }
    if (node->dataType != dataType && node->dataType != eNoData && node->dataType != eUndef) {
        char oldName[QV_TYPE_NAME_SIZE], newName[QV_TYPE_NAME_SIZE];
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "data types do not fit: %s->%s [%d]; newDataType: %s [%d]", node->name,
                       typeName(node->dataType, oldName), node->dataType,
                       typeName(dataType, newName), dataType);
    }
    const int oldType = node->dataType;
    void* const old = node->data;
    const bool owned = ownsData(node);
    void* const pointer = const_cast<void*>(value);
    node->dataType = dataType;

    int rc = 0;
    if (mode == eReplacePtr || mode == eSwapPtr || mode == eSetPtr) {
        bool released = false;
        if (mode == eReplacePtr) {
            // The same pointer handed in again is not released: it is about to be kept.
            if (owned && old && old != pointer) {
                ReleaseData(old, oldType, node->id);
                released = true;
            }
            node->data = pointer;
        }
        if (mode == eReplacePtr || mode == eSetPtr) {
            // After eReplacePtr the pointer is always equal by now, so the warning is always
            // logged for it; kept so on purpose.
            if (node->data == pointer)
                static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                          "did not overwrite pointer, old pointer and new pointer are the same"));
            else
                node->data = pointer;
        }
        rc = SetData(&node->data, value, dataType, mode);
        if (pointer != old) {
            if (owned) {
                if (!released && old) ReleaseData(old, oldType, node->id);
            } else if (old) {
                static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                          "---- cannot RELEASE old Data in QVTools, data is not managed by QVTools ----"));
            }
        }
    } else if (mode == eAllocNewPtr || mode == eReallocData) {
        // The new storage is made first (the value may be the old storage itself), then data the
        // node owns is released; data it does not own is never freed, also not by eReallocData.
        void* fresh = nullptr;
        rc = SetData(&fresh, value, dataType, eAllocNewPtr);
        if (fresh) {
            if (owned && old) ReleaseData(old, oldType, node->id);
            node->data = fresh;
            // The node owns what it allocated, also when the mode reports a failure after the
            // allocation (a copied eChar), so that the storage is freed with the node.
            node->dataFlags = static_cast<unsigned>(mode);
        }
    } else if (mode == eClearPtr) {
        // Owned data is released before its pointer is dropped.
        if (owned && old) ReleaseData(old, oldType, node->id);
        node->data = nullptr;
    } else {
        rc = SetData(&node->data, value, dataType, mode);
    }

    if (rc != 0) {
        char name[QV_TYPE_NAME_SIZE];
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not set data for node %s (dataType: %s [%d])",
                       node->name, typeName(dataType, name), dataType);
    }
    if (mode & (eSwapPtr | eSetPtr | eAllocNewPtr | eReallocData))
        node->dataFlags = static_cast<unsigned>(mode);
    return 0;
}

QV_API int OverwriteNodeData(QVTreeNode* node, const void* value) {
    constexpr const char* kFn = "OverwriteNodeData";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    return SetNodeData(node, value, node->dataType, eOverwriteData);
}

QV_API int ReleaseNodeData(QVTreeNode* node, QVDeleteDataFct deleteFunction) {
    constexpr const char* kFn = "ReleaseNodeData";
    if (!node || !node->data)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node or node data is NULL");
    int rc = 0;
    if (!deleteFunction) {
        rc = 0;
    } else if (ownsData(node)) {
        rc = ReleaseData(node->data, node->dataType, node->id);
    } else if (deleteFunction == ReleaseData) {
        rc = 0;  // the library's own routine never frees data it does not own
    } else if (node->dataType == eQVArray) {
        rc = releaseArrayElements(static_cast<QVArray*>(node->data), deleteFunction, node->id);
    } else {
        rc = deleteFunction(node->data, node->dataType, node->id);
    }
    if (rc != 0) return rc;
    node->data = nullptr;
    return 0;
}

QV_API int NodeDataToString(const QVTreeNode* node, unsigned precision, char* text) {
    if (!node || !node->data) return QV_ERR_NULL_ARGUMENT;
    return DataToString(node->data, node->dataType, precision, text);
}

}  // extern "C"
