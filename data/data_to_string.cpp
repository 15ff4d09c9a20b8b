// The text form of one value of any data type (DataToString), and the hook through which the
// property tree supplies the text of reference nodes, which this family cannot read itself.
#include <cstdio>
#include <cstring>
#include <string>

#include "data/data_internal.h"
#include "logging/frame.h"
#include "qvtools/system.h"

namespace qv::data {

namespace {

RefNodeTextFn g_refNodeText = nullptr;

// Formats into the 512-byte text buffer; longer output is cut to 511 characters.
template <typename... Args>
void put(char* text, const char* format, Args... args) {
    std::snprintf(text, QV_STRING_SIZE, format, args...);
}

// A float or double with `precision` decimals through the library's number formatters, as long
// as the result fits the 512-byte buffer (huge values with many decimals are cut instead).
template <typename T>
void putReal(char* text, T value, int precision) {
    const double d = static_cast<double>(value);
    if (std::snprintf(nullptr, 0, "%.*f", precision, d) >= QV_STRING_SIZE)
        put(text, "%.*f", precision, d);
    else if constexpr (sizeof(T) == sizeof(float))
        ftoc(value, precision, text);
    else
        dtoc(value, precision, text);
}

template <typename T>
T read(const void* data) {
    T value;
    std::memcpy(&value, data, sizeof(T));
    return value;
}

}  // namespace

void setRefNodeTextHook(RefNodeTextFn fn) { g_refNodeText = fn; }
RefNodeTextFn refNodeTextHook() { return g_refNodeText; }

}  // namespace qv::data

QV_EXTERN_C_BEGIN

QV_API int DataToString(const void* data, int dataType, unsigned precision, char* text) {
    constexpr const char* kFn = "DataToString";
    using namespace qv::data;
    if (!data || !text)
        return QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "input data or output string is NULL");
    const int decimals = static_cast<int>(precision);
    switch (dataType) {
        case eNoData: text[0] = '\0'; return 0;
        case eBool:
        case eInt:
        case eOptionList:
        case eOptionListMulti:
            return itoc(read<int>(data), text);
        case eShort: return itoc(read<short>(data), text);
        case eChar: return itoc(read<signed char>(data), text);
        case eHexInt: put(text, "%#X", read<unsigned>(data)); return 0;
        case eFloat: putReal(text, read<float>(data), decimals); return 0;
        case eDouble: putReal(text, read<double>(data), decimals); return 0;
        case eString: {
            const char* s = static_cast<const char*>(data);
            const std::size_t n = strnlen(s, QV_STRING_SIZE - 1);
            std::memcpy(text, s, n);
            text[n] = '\0';
            return 0;
        }
        case eIntPoint2d: {
            const auto p = read<QVPoint2i>(data);
            put(text, "%d;%d", p.x, p.y);
            return 0;
        }
        case eIntPoint3d: {
            const auto p = read<QVPoint3i>(data);
            put(text, "%d;%d;%d", p.x, p.y, p.z);
            return 0;
        }
        // "%6f" is a field width of six with the default six decimals, as intended.
        case eFloatPoint2d: {
            const auto p = read<QVPoint2f>(data);
            put(text, "%6f;%6f", double(p.x), double(p.y));
            return 0;
        }
        case eFloatPoint3d: {
            const auto p = read<QVPoint3f>(data);
            put(text, "%6f;%6f;%6f", double(p.x), double(p.y), double(p.z));
            return 0;
        }
        case eDoublePoint2d: {
            const auto p = read<QVPoint2d>(data);
            put(text, "%6f;%6f", p.x, p.y);
            return 0;
        }
        case eDoublePoint3d: {
            const auto p = read<QVPoint3d>(data);
            put(text, "%6f;%6f;%6f", p.x, p.y, p.z);
            return 0;
        }
        case eQVRect: {
            const auto r = read<QVRect>(data);
            put(text, "%d;%d;%d;%d", r.x, r.y, r.width, r.height);
            return 0;
        }
        case eQVRectF: {
            const auto r = read<QVRectF>(data);
            put(text, "%.6f;%.6f;%.6f;%.6f", double(r.x), double(r.y), double(r.width),
                double(r.height));
            return 0;
        }
        case eQVPropertyList: std::strcpy(text, "PropertyList"); return 0;
        case eQVBinaryData: {
            const auto* bin = static_cast<const QVBinaryData*>(data);
            // The name only for a record that holds bytes.
            const std::size_t n = bin->size > 0 ? strnlen(bin->name, QV_STRING_SIZE - 1) : 0;
            std::memcpy(text, bin->name, n);
            text[n] = '\0';
            return 0;
        }
        case eQVArray: {
            // The element type on the first line, then the elements, ten to a line.
            const auto* array = static_cast<const QVArray*>(data);
            std::string out = std::to_string(array->dataType) + "\n";
            if (int rc = arrayText(array, 10, ';', out, kFn)) return rc;
            std::memcpy(text, out.c_str(), out.size() + 1);
            return 0;
        }
        case eRefToNode:
            if (RefNodeTextFn hook = refNodeTextHook()) return hook(data, text);
            break;  // without the property tree there is no path text to write
        default:
            break;
    }
    std::strcpy(text, "unknown_data");
    QV_NOTE(5, __LINE__, "cannot parse unknown data type to string: %d", dataType);
    return QV_ERR_ARGUMENT;
}

QV_EXTERN_C_END
