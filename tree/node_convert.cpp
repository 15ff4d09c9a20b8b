// Conversion of a node's value to another data type through its text form: the value is
// written as text and parsed back as the new type.
#include <vector>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "tree/tree_internal.h"

extern "C" {

QV_API int updateDataType(QVTreeNode* node, int newType) {
    constexpr const char* kFn = "updateDataType";
    if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node is NULL");
    if (!node->data) return QV_ERR_ARGUMENT;
    // 512 bytes hold every text form but an array's, which says itself how long it gets.
    size_t size = QV_STRING_SIZE;
    if (node->dataType == eQVArray) {
        int length = QVWriteArrayData(static_cast<const QVArray*>(node->data), nullptr, 0, 10, ';');
        if (length < 0) return QV_ERR_ARGUMENT;
        size += static_cast<size_t>(length);
    }
    std::vector<char> text(size, '\0');
    if (DataToString(node->data, node->dataType, 10, text.data()) != 0) return QV_ERR_ARGUMENT;
    void* converted = ParseData(text.data(), newType);
    if (!converted) return QV_ERR_ARGUMENT;
    // The old value goes as SetNodeData would let it go: freed when the node owns it, never
    // when it is the caller's. The parsed value is the library's, so the node owns it now.
    if (qv::tree::ownsData(node)) ReleaseData(node->data, node->dataType, node->id);
    node->data = converted;
    node->dataType = newType;
    node->dataFlags = eAllocNewPtr;
    return 0;
}

}  // extern "C"
