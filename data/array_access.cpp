// Element access of the generic array: reading and setting one element by index, and the
// searches (an integer value, or a key under a comparison function).
#include <cstring>

#include "data/data_internal.h"
#include "logging/frame.h"

QV_EXTERN_C_BEGIN

QV_API void* GetValue(const QVArray* array, int index) {
    constexpr const char* kFn = "GetValue";
    if (!array) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "array is NULL");
    // Only the upper bound is checked, on purpose; slots outside the storage (a negative index
    // among them) give null instead of reading outside it.
    if (index > array->count - 1)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "val index is out of range");
    return qv::data::elementAt(array, index);
}

QV_API int SetValue(QVArray* array, int index, const void* value) {
    constexpr const char* kFn = "SetValue";
    QV_CHECK_NULL(array, __LINE__, "array is NULL");
    if (index > array->count - 1)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "val index is out of range");
    unsigned char* slot = qv::data::slotAt(array, index);
    if (!slot) return QV_ERR_NULL_ARGUMENT;  // outside the storage: nothing is written
    const auto size = static_cast<std::size_t>(array->elementSize);
    if (!array->inlineValues)
        qv::data::writePointer(slot, array->elementSize, value);
    else if (value)
        std::memcpy(slot, value, size);  // the whole slot, also for strings
    else
        std::memset(slot, 0, size);
    return 0;
}

QV_API int ArrayContainsInt(const QVArray* array, int value) {
    constexpr const char* kFn = "ArrayContainsInt";
    if (!array) return QV_FAIL_VAL(0, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "array is NULL");
    const int n = qv::data::usableCount(array);
    const auto* end = static_cast<const unsigned char*>(array->values) +
                      static_cast<std::size_t>(array->capacity) * static_cast<std::size_t>(array->elementSize);
    for (int i = 0; i < n; ++i) {
        const auto* element = static_cast<const unsigned char*>(qv::data::elementAt(array, i));
        if (!element) continue;
        // Every element is read as a 32-bit integer, also in arrays of narrower slots (kept so);
        // at the end of the storage the missing bytes read as zero.
        int x = 0;
        std::size_t bytes = sizeof x;
        if (array->inlineValues && static_cast<std::size_t>(end - element) < bytes)
            bytes = static_cast<std::size_t>(end - element);
        std::memcpy(&x, element, bytes);
        if (x == value) return 1;
    }
    return 0;
}

QV_API int QV_ComparePointerFct(const void* a, const void* b) { return a == b ? 0 : -1; }

QV_API void* QVArray_FindValue(const QVArray* array, QVArrayCompareFct compare, const void* key,
                               int* indexOut) {
    constexpr const char* kFn = "QVArray_FindValue";
    if (!array) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "array is NULL");
    if (!compare) compare = QV_ComparePointerFct;
    const int n = qv::data::usableCount(array);
    for (int i = 0; i < n; ++i) {
        void* element = qv::data::elementAt(array, i);
        if (compare(element, key) == 0) {
            if (indexOut) *indexOut = i;
            return element;
        }
    }
    if (indexOut) *indexOut = -1;
    return nullptr;
}

QV_EXTERN_C_END
