// The generic array: creation with its fixed slot layout, clearing and release (with free() or a
// caller's delete function for pointer arrays), resizing, appending (growth to 8 slots, then
// doubling) and copying.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "data/data_internal.h"
#include "logging/frame.h"

namespace qv::data {

int usableCount(const QVArray* array) {
    if (!array->values) return 0;
    const int slots = array->capacity > 0 ? array->capacity : 0;
    return array->count < slots ? array->count : slots;
}

unsigned char* slotAt(const QVArray* array, int index) {
    if (!array->values || index < 0 || index >= array->capacity) return nullptr;
    return static_cast<unsigned char*>(array->values) +
           static_cast<std::size_t>(index) * static_cast<std::size_t>(array->elementSize);
}

void* readPointer(const unsigned char* slot, int elementSize) {
    void* element = nullptr;
    std::memcpy(&element, slot, elementSize < int(sizeof element) ? elementSize : sizeof element);
    return element;
}

void writePointer(unsigned char* slot, int elementSize, const void* element) {
    std::memcpy(slot, &element, elementSize < int(sizeof element) ? elementSize : sizeof element);
}

void* elementAt(const QVArray* array, int index) {
    unsigned char* slot = slotAt(array, index);
    if (!slot || array->inlineValues) return slot;
    return readPointer(slot, array->elementSize);
}

namespace {

std::size_t bytesOf(long long slots, int elementSize) {
    return slots > 0 && elementSize > 0
               ? static_cast<std::size_t>(slots) * static_cast<std::size_t>(elementSize)
               : 0;
}

// Grows by the append rule (8 slots, then twice the capacity) until the slot at `count` exists.
int growForAppend(QVArray* array) {
    constexpr const char* kFn = "AppendValue";
    while (array->count >= array->capacity) {
        long long next = array->capacity < 1 ? 8 : 2LL * array->capacity;
        if (next > INT_MAX) next = INT_MAX;
        if (next <= array->capacity)
            return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "array cannot grow beyond %d elements",
                           array->capacity);
        ResizeArray(array, static_cast<int>(next));
        // A failed reallocation (logged by ResizeArray) leaves the capacity as it was.
        if (array->capacity != next) return QV_ERR_MEMORY;
    }
    return 0;
}

}  // namespace

int appendElement(QVArray* array, const void* value) {
    const int size = array->elementSize;
    unsigned char saved[QV_STRING_SIZE];
    if (array->count >= array->capacity) {
        // A value inside the array's own storage (an element being appended again) must
        // survive the reallocation.
        const auto* begin = static_cast<const unsigned char*>(array->values);
        const auto* at = static_cast<const unsigned char*>(value);
        if (array->inlineValues && value && begin && at >= begin &&
            at < begin + bytesOf(array->capacity, size) && size <= int(sizeof saved)) {
            std::memcpy(saved, value, static_cast<std::size_t>(size));
            value = saved;
        }
        if (int rc = growForAppend(array)) return rc;
    }
    unsigned char* slot = slotAt(array, array->count);
    if (!array->inlineValues) {
        writePointer(slot, size, value);
    } else if (!value) {
        std::memset(slot, 0, static_cast<std::size_t>(size));
    } else if (array->dataType == eString) {
        // Texts longer than the slot are cut to 511 characters (plus the terminator).
        const std::size_t n = strnlen(static_cast<const char*>(value), static_cast<std::size_t>(size) - 1);
        std::memcpy(slot, value, n);
        std::memset(slot + n, 0, static_cast<std::size_t>(size) - n);
    } else if (size == 4) {
        std::memcpy(slot, value, 4);  // the common case, kept short for the compiler
    } else {
        std::memcpy(slot, value, static_cast<std::size_t>(size));
    }
    ++array->count;
    return 0;
}

}  // namespace qv::data

QV_EXTERN_C_BEGIN

QV_API QVArray* CreateArray(int dataType, int typeSize, int initialCapacity) {
    constexpr const char* kFn = "CreateArray";
    const qv::data::SlotLayout layout = qv::data::slotLayout(dataType);
    if (typeSize != 0 && typeSize != layout.size)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__,
                            "calculated type size != specified data type size");
    auto* array = static_cast<QVArray*>(std::calloc(1, sizeof(QVArray)));
    if (!array)
        return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to allocate QVArray");
    // A negative capacity is taken as 0.
    const int capacity = initialCapacity > 0 ? initialCapacity : 0;
    if (capacity > 0) {
        array->values = std::calloc(static_cast<std::size_t>(capacity), static_cast<std::size_t>(layout.size));
        if (!array->values) {
            std::free(array);
            return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__,
                                "not enough memory to allocate QVArray values");
        }
    }
    array->dataType = dataType;
    array->count = 0;
    array->capacity = capacity;
    array->elementSize = layout.size;
    array->inlineValues = layout.inlineValues ? 1 : 0;
    return array;
}

QV_API int ClearArray(QVArray* array, int freeElements) {
    if (!array) return 0;
    if (freeElements && !array->inlineValues) {
        const int n = qv::data::usableCount(array);
        for (int i = 0; i < n; ++i) std::free(qv::data::elementAt(array, i));
    }
    if (array->values) std::memset(array->values, 0, qv::data::bytesOf(array->capacity, array->elementSize));
    array->count = 0;
    return 0;
}

QV_API int ClearArrayEx(QVArray* array, QVArrayDeleteFct deleteFunction) {
    constexpr const char* kFn = "ClearArrayEx";
    QV_CHECK_NULL(array, __LINE__, "array is NULL");
    QV_CHECK_NULL(deleteFunction, __LINE__, "delete function pointer is NULL");
    if (!array->inlineValues) {
        const int n = qv::data::usableCount(array);
        for (int i = 0; i < n; ++i) deleteFunction(qv::data::elementAt(array, i), array->dataType);
    }
    return ClearArray(array, 0);
}

QV_API int ReleaseArray(QVArray* array, int freeElements) {
    constexpr const char* kFn = "ReleaseArray";
    if (!array) {
        QV_NOTE(4, __LINE__, "array is NULL");
        return QV_ERR_NULL_ARGUMENT;
    }
    const int rc = ClearArray(array, freeElements);
    std::free(array->values);
    std::free(array);
    return rc;
}

QV_API int ReleaseArrayEx(QVArray* array, QVArrayDeleteFct deleteFunction) {
    constexpr const char* kFn = "ReleaseArrayEx";
    if (!array) {
        QV_NOTE(4, __LINE__, "array is NULL");
        return QV_ERR_NULL_ARGUMENT;
    }
    int rc = ClearArrayEx(array, deleteFunction);
    if (!deleteFunction)
        rc = QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "delete function pointer is NULL");
    std::free(array->values);
    std::free(array);
    return rc;
}

QV_API int ResizeArray(QVArray* array, int newCapacity) {
    constexpr const char* kFn = "ResizeArray";
    if (!array || newCapacity < 1)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "array is NULL or new Size < 1");
    if (newCapacity == array->capacity) return 0;
    const int oldCapacity = array->capacity > 0 ? array->capacity : 0;
    void* storage = array->values
                        ? std::realloc(array->values, qv::data::bytesOf(newCapacity, array->elementSize))
                        : std::calloc(static_cast<std::size_t>(newCapacity),
                                      static_cast<std::size_t>(array->elementSize > 0 ? array->elementSize : 1));
    if (!storage) {
        QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not realloc memory");
        // The zeroing and the new capacity are carried out on the old storage all the same,
        // but only as far as that storage reaches: a shrink takes effect, a growth cannot.
        if (newCapacity < oldCapacity) array->capacity = newCapacity;
        return 0;
    }
    array->values = storage;
    if (newCapacity > oldCapacity)
        std::memset(static_cast<unsigned char*>(storage) + qv::data::bytesOf(oldCapacity, array->elementSize),
                    0, qv::data::bytesOf(newCapacity - oldCapacity, array->elementSize));
    array->capacity = newCapacity;
    return 0;
}

QV_API int AppendValue(QVArray* array, const void* value) {
    constexpr const char* kFn = "AppendValue";
    QV_CHECK_NULL(array, __LINE__, "array is NULL");
    return qv::data::appendElement(array, value);
}

QV_API int AppendIntValue(QVArray* array, int value) {
    constexpr const char* kFn = "AppendIntValue";
    if (!array || array->dataType != eInt || !array->inlineValues)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid array pointer or array data type");
    return qv::data::appendElement(array, &value);
}

QV_API int AppendArray(QVArray* destination, const QVArray* source) {
    constexpr const char* kFn = "AppendArray";
    if (!destination || !source)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "destination array or array to be appended is NULL");
    if (destination->elementSize != source->elementSize || destination->dataType != source->dataType)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "the two arrays may not have different type sizes or data types");
    // The count is taken first, so that appending an array to itself doubles it once.
    const int n = source->count;
    for (int i = 0; i < n; ++i)
        if (int rc = qv::data::appendElement(destination, qv::data::elementAt(source, i))) return rc;
    return 0;
}

QV_API int CopyArray(QVArray* destination, const QVArray* source) {
    constexpr const char* kFn = "CopyArray";
    if (!destination || !source)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "destination array or array to be copied is NULL");
    if (source->dataType == eNoData || source->elementSize < 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "array to copy has invalid data type or data type size");
    if (destination->dataType == eNoData)
        destination->dataType = source->dataType;
    else if (destination->dataType != source->dataType)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "destination array has invalid array type");
    if (destination->elementSize < 1)
        destination->elementSize = source->elementSize;
    else if (destination->elementSize != source->elementSize)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "destination array has invalid data type size");
    // An empty source without storage leaves nothing to resize to.
    if (source->capacity >= 1) ResizeArray(destination, source->capacity);
    // Only slots that exist on both sides are copied; the inlineValues flag is left as it was,
    // on purpose.
    const int slots = destination->values && destination->capacity > 0 ? destination->capacity : 0;
    const int n = qv::data::usableCount(source) < slots ? qv::data::usableCount(source) : slots;
    if (n > 0 && destination != source)
        std::memmove(destination->values, source->values, qv::data::bytesOf(n, source->elementSize));
    destination->count = source->count;
    return 0;
}

QV_EXTERN_C_END
