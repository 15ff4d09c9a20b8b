// The data-set modes on a caller's data pointer (SetData) and the library's release routine for
// the values it allocates (ReleaseData). SetData knows nothing of ownership: SetNodeData adds
// that on top.
#include <cstdlib>
#include <cstring>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace qv::tree {

int plainValueSize(int dataType) {
    switch (dataType) {
    case eDoublePoint3d: return 24;
    case eDoublePoint2d:
    case eQVRectF:
    case eQVRect: return 16;
    case eIntPoint3d:
    case eFloatPoint3d: return 12;
    case eIntPoint2d:
    case eFloatPoint2d:
    case eDouble: return 8;
    case eHexInt:
    case eOptionListMulti:
    case eOptionList:
    case eFloat:
    case eInt:
    case eBool: return 4;
    case eShort: return 2;
    case eChar: return 1;
    default: return 0;
    }
}

}  // namespace qv::tree

namespace {

using namespace qv::tree;

constexpr const char* kFn = "SetData";

int overwrite(void* target, const void* value, int dataType) {
    if (!value) {
        QV_NOTE(7, __LINE__, "newData is null, cannot set data");
        return QV_ERR_NULL_ARGUMENT;
    }
    if (!target) {
        QV_NOTE(7, __LINE__, "*data is null, cannot set data");
        return QV_ERR_NULL_ARGUMENT;
    }
    if (int size = plainValueSize(dataType)) {
        std::memmove(target, value, static_cast<size_t>(size));
        return 0;
    }
    switch (dataType) {
    case eString: {
        auto* text = static_cast<char*>(target);
        const auto* source = static_cast<const char*>(value);
        if (text != source && std::strcmp(text, source) != 0) {
            std::memset(text, 0, QV_STRING_SIZE);
            std::strncpy(text, source, QV_STRING_SIZE - 1);
        }
        return 0;
    }
    case eQVArray:
        return CopyArray(static_cast<QVArray*>(target), static_cast<const QVArray*>(value));
    case eQVPropertyList:
        return 0;
    case eQVBinaryData: {
        auto* dest = static_cast<QVBinaryData*>(target);
        const auto* src = static_cast<const QVBinaryData*>(value);
        if (!dest->data || !src->data)
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                           "data size of QVBinaryData do not match for eOverwriteData");
        if (src->size != dest->size)
            static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__,
                                      "data sizes of binary data to copy do not match (srcData: %d, destData: %d)",
                                      src->size, dest->size));
        int n = src->size < dest->size ? src->size : dest->size;
        if (n > 0) std::memmove(dest->data, src->data, static_cast<size_t>(n));
        if (dest != src) std::memcpy(dest->name, src->name, sizeof dest->name);
        return 0;
    }
    default:
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "unknown dataType to set data in mode eOverwriteData, only eInt,eDouble and eString supported");
    }
}

// A new array with the source's type, element size and capacity holding a copy of its
// elements. Double points, which an array holds by pointer, are copied one by one, so that the
// copy owns its own elements and releasing both arrays frees nothing twice.
int copyArrayNew(const QVArray* source, QVArray** out) {
    QVArray* copy = CreateArray(source->dataType, source->elementSize, source->capacity);
    if (!copy) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not allocate array");
    if (source->dataType != eNoData && source->count > 0) {
        if (int rc = CopyArray(copy, source)) {
            ReleaseArray(copy, 0);
            return rc;
        }
        int size = source->inlineValues ? 0 : plainValueSize(source->dataType);
        for (int i = 0; size > 0 && i < copy->count; ++i) {
            const void* element = GetValue(copy, i);
            void* own = element ? std::malloc(static_cast<size_t>(size)) : nullptr;
            if (own) std::memcpy(own, element, static_cast<size_t>(size));
            SetValue(copy, i, own);
        }
    }
    *out = copy;
    return 0;
}

int allocNew(void** slot, const void* value, int dataType) {
    if (int size = plainValueSize(dataType)) {
        void* storage = std::calloc(1, static_cast<size_t>(size));
        if (!storage) return QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not allocate %d bytes", size);
        *slot = storage;
        if (!value) return 0;
        std::memcpy(storage, value, static_cast<size_t>(size));
        // A copied char reports -1 although the copy succeeded; callers rely on it, kept.
        return dataType == eChar ? QV_ERR_UNKNOWN : 0;
    }
    switch (dataType) {
    case eString: {
        auto* text = static_cast<char*>(std::calloc(QV_STRING_SIZE, 1));
        if (!text) return QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not allocate %d bytes", QV_STRING_SIZE);
        if (value) std::strncpy(text, static_cast<const char*>(value), QV_STRING_SIZE - 1);
        *slot = text;
        return 0;
    }
    case eQVArray: {
        QVArray* array = nullptr;
        if (value) {
            if (int rc = copyArrayNew(static_cast<const QVArray*>(value), &array)) return rc;
        } else {
            array = CreateArray(eNoData, 0, 0);
            if (!array) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not allocate array");
        }
        *slot = array;
        return 0;
    }
    case eQVBinaryData: {
        QVBinaryData* record = nullptr;
        if (value) {
            const auto* src = static_cast<const QVBinaryData*>(value);
            void* bytes = nullptr;
            if (src->data && src->size > 0) {
                bytes = std::malloc(static_cast<size_t>(src->size));
                if (!bytes)
                    return QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not allocate %d bytes", src->size);
                std::memcpy(bytes, src->data, static_cast<size_t>(src->size));
            }
            record = CreateBinaryData(bytes, bytes ? src->size : 0, src->name);
            if (!record) {
                std::free(bytes);
                return QV_ERR_MEMORY;
            }
            record->ownsData = bytes ? 1 : 0;
        } else {
            record = CreateBinaryData(nullptr, 0, nullptr);
            if (!record) return QV_ERR_MEMORY;
        }
        *slot = record;
        return 0;
    }
    default:
        if (!value)
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                           "unknown dataType to set data in mode eAllocNewPtr, only eInt,eDouble and eString supported");
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "unknown dataType to set data in mode eAllocNewPtr, only eBool,eInt,eDouble and eString supported");
    }
}

}  // namespace

extern "C" {

QV_API int SetData(void** slot, const void* value, int dataType, int mode) {
    if (!slot) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "data pointer is NULL");
    void* pointer = const_cast<void*>(value);
    switch (mode) {
    case eClearPtr: *slot = nullptr; return 0;
    case eReplacePtr:
    case eSetPtr: *slot = pointer; return 0;
    case eSwapPtr:
        if (*slot != pointer) *slot = pointer;
        return 0;
    case eOverwriteData: return overwrite(*slot, value, dataType);
    case eAllocNewPtr: return allocNew(slot, value, dataType);
    case eReallocData:
        ReleaseData(*slot, dataType, 0);
        *slot = nullptr;
        return allocNew(slot, value, dataType);
    case eKeepData: return 0;
    default: return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "unknown dataSetMode");
    }
}

QV_API int ReleaseData(void* data, int dataType, int /*id*/) {
    constexpr const char* kFn = "ReleaseData";
    switch (dataType) {
    case eQVArray: return ReleaseArray(static_cast<QVArray*>(data), 1);
    case eQVRectF:
    case eHexInt:
    case eOptionListMulti:
    case eQVRect:
    case eShort:
    case eOptionList:
    case eChar:
    case eString:
    case eFloat:
    case eDouble:
    case eInt:
    case eBool: std::free(data); return 0;
    case eQVBinaryData: return ReleaseBinaryData(static_cast<QVBinaryData*>(data), 1);
    case eNoData: return 0;
    default: {
        // Points and every other type are deliberately left alone.
        char name[QV_TYPE_NAME_SIZE];
        GetDataTypeStr(dataType, name);
        QV_NOTE(5, __LINE__, "cannot delete data with data type %s", name);
        return QV_ERR_ARGUMENT;
    }
    }
}

}  // extern "C"
