// Fuzz target for the array text reader. The first byte picks the element type, the second the
// separator, the rest is the text. Whatever the reader accepts must be written back and read
// again to the very same slots; the input is capped at 64 KiB.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "QV_Tools.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int kTypes[] = {eInt,          eBool,       eHexInt,       eShort,        eChar,
                                 eFloat,        eDouble,     eIntPoint2d,   eIntPoint3d,   eFloatPoint2d,
                                 eFloatPoint3d, eQVRect,     eQVRectF,      eString,       eDoublePoint2d,
                                 eDoublePoint3d};
    static const char kSeparators[] = {';', ',', '|', ':'};
    if (size < 2 || size > 65536) return 0;
    const int type = kTypes[data[0] % (sizeof kTypes / sizeof kTypes[0])];
    const char separator = kSeparators[data[1] % sizeof kSeparators];
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);  // cut at a zero byte

    QVArray* array = CreateArray(type, 0, 0);
    const bool owns = !array->inlineValues;
    if (QVReadArrayData(array, text.c_str(), separator) >= 0) {
        const int length = QVWriteArrayData(array, nullptr, 0, 7, separator);
        if (length < 0) std::abort();
        std::string written(static_cast<std::size_t>(length) + 1, '\0');
        if (QVWriteArrayData(array, written.data(), length + 1, 7, separator) != length) std::abort();
        QVArray* again = CreateArray(type, 0, 0);
        if (QVReadArrayData(again, written.c_str(), separator) != array->count) std::abort();
        for (int i = 0; i < array->count; ++i) {
            const void* a = GetValue(array, i);
            const void* b = GetValue(again, i);
            const std::size_t bytes = owns ? (type == eDoublePoint2d ? sizeof(QVPoint2d) : sizeof(QVPoint3d))
                                           : static_cast<std::size_t>(array->elementSize);
            // NaN payloads are not kept by the text form; compare their text instead.
            char ta[QV_STRING_SIZE], tb[QV_STRING_SIZE];
            if ((a == nullptr) != (b == nullptr)) std::abort();
            if (a && std::memcmp(a, b, bytes) != 0 &&
                (DataToString(a, type, 17, ta) != 0 || DataToString(b, type, 17, tb) != 0 ||
                 std::strcmp(ta, tb) != 0))
                std::abort();
        }
        ReleaseArray(again, owns);
    }
    ReleaseArray(array, owns);
    return 0;
}
