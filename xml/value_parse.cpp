// The value parser: the text form of a typed value (as DataToString writes it) back into a new,
// zero-initialised value of that type, owned by the caller. Several results are odd on
// purpose and kept exactly: integer 2-D points and double points are read through
// single-precision variables, and a char always parses to 0.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "logging/frame.h"
#include "qvtools/data.h"
#include "qvtools/xml.h"

namespace {

constexpr const char* kFn = "ParseData";

// A zeroed value of type T, released by the caller with free().
template <typename T>
T* newValue() {
    return static_cast<T*>(std::calloc(1, sizeof(T)));
}

// The message of incomplete integer 2-D point, float 2-D point and rectangle texts.
constexpr const char* kRectMessage = "could not parse QV_RectF correctly";

// Reads N numbers separated by ';' with "%d" (int) or "%f" (float) conversions; numbers the
// text lacks stay 0, and then `message` is logged at level 2 with code -5.
template <typename T, std::size_t N>
std::array<T, N> readNumbers(const char* text, const char* message) {
    static_assert(std::is_same_v<T, int> || std::is_same_v<T, float>, "int or float fields");
    static_assert(N >= 2 && N <= 4, "two to four fields");
    static const char* const kIntFormats[] = {"%d;%d", "%d;%d;%d", "%d;%d;%d;%d"};
    static const char* const kFloatFormats[] = {"%f;%f", "%f;%f;%f", "%f;%f;%f;%f"};
    const char* format = std::is_same_v<T, int> ? kIntFormats[N - 2] : kFloatFormats[N - 2];
    T read[4] = {};  // room for the longest format; extra arguments are not touched
    const int found = std::sscanf(text, format, &read[0], &read[1], &read[2], &read[3]);
    if (found != static_cast<int>(N)) QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "%s", message);
    std::array<T, N> out{};
    std::copy(read, read + N, out.begin());
    return out;
}

// A new zeroed record filled with `fields`, which have the record's layout; null when no
// memory is left.
template <typename Record, typename Fields>
Record* store(const Fields& fields) {
    static_assert(sizeof(Record) == sizeof(Fields), "fields must match the record");
    Record* value = newValue<Record>();
    if (value) std::memcpy(value, fields.data(), sizeof(Record));
    return value;
}

// The bits of an integer read as a float, truncated back to an integer. The result keeps the
// integer point's intended oddity: ordinary integers are tiny denormals and come out as 0. Bit
// patterns that are not numbers or lie outside the integer range (their conversion is not
// defined) give the processor's "integer indefinite" value, INT_MIN.
int intThroughFloatBits(int bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    if (!(value > -2147483904.0f && value < 2147483648.0f)) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// Doubles each holding a float's bit pattern in its low four bytes, the upper four zero.
template <std::size_t N>
std::array<double, N> floatBitsInDoubles(const std::array<float, N>& values) {
    std::array<double, N> out{};
    for (std::size_t i = 0; i < N; ++i) {
        std::uint32_t bits;
        std::memcpy(&bits, &values[i], sizeof bits);
        const std::uint64_t wide = bits;
        std::memcpy(&out[i], &wide, sizeof wide);
    }
    return out;
}

QVArray* parseArray(const char* text) {
    int elementType = eUndef;
    std::sscanf(text, "%d\n", &elementType);
    const char* newline = std::strchr(text, '\n');
    if (!newline) return nullptr;
    const int size = GetTypeSize(elementType);
    if (size <= 0) return nullptr;
    QVArray* array = CreateArray(elementType, size, 0);
    if (!array) return nullptr;
    // A malformed element text leaves the array empty; the reader logs why.
    QVReadArrayData(array, newline + 1, ';');
    return array;
}

}  // namespace

QV_API void* ParseData(const char* text, int dataType) {
    if (dataType < eDoublePoint3d || dataType > eNoData) return nullptr;
    switch (dataType) {
        case eChar:
            // The text is not used: a char value is always 0, kept so on purpose.
            return newValue<char>();
        case eQVBinaryData:
            return CreateBinaryData(nullptr, 0, text);
        case eNoData: case eUndef: case eRefToNode: case eQVProperty: case eQVPropertyList:
        case eLocNode: case eUserData:
            return nullptr;
        default:
            break;
    }
    // Every other type reads the text; a missing text gives no value instead of a crash.
    if (!text) return nullptr;

    switch (dataType) {
        case eBool: case eInt: case eOptionList: case eOptionListMulti: {
            int* value = newValue<int>();
            if (value) *value = std::atoi(text);
            return value;
        }
        case eHexInt: {
            int* value = newValue<int>();
            if (value) *value = static_cast<int>(std::strtol(text, nullptr, 16));
            return value;
        }
        case eShort: {
            auto* value = newValue<std::int16_t>();
            if (value) *value = static_cast<std::int16_t>(std::atoi(text));
            return value;
        }
        case eFloat: {
            float* value = newValue<float>();
            if (value) *value = static_cast<float>(std::atof(text));
            return value;
        }
        case eDouble: {
            double* value = newValue<double>();
            if (value) *value = std::atof(text);
            return value;
        }
        case eString: {
            auto* value = static_cast<char*>(std::calloc(1, QV_STRING_SIZE));
            // Longer texts are cut to the 511 characters a string value holds.
            if (value) std::strncpy(value, text, QV_STRING_SIZE - 1);
            return value;
        }
        case eIntPoint2d: {
            // Read as the library always has: the integers land in float variables and are
            // converted back, so 1;2 gives (0, 0). Kept on purpose.
            const auto bits = readNumbers<int, 2>(text, kRectMessage);
            return store<QVPoint2i>(std::array<int, 2>{intThroughFloatBits(bits[0]),
                                                       intThroughFloatBits(bits[1])});
        }
        case eFloatPoint2d:
            return store<QVPoint2f>(readNumbers<float, 2>(text, kRectMessage));
        case eIntPoint3d:
            return store<QVPoint3i>(readNumbers<int, 3>(text, "could not parse QV_Point3i correctly"));
        case eFloatPoint3d:
            return store<QVPoint3f>(readNumbers<float, 3>(text, "could not parse eFloatPoint3d correctly"));
        case eDoublePoint2d:
            // Single-precision reads into double fields: each double holds a float's bit
            // pattern in its low bytes, in effect 0. Kept on purpose.
            return store<QVPoint2d>(
                floatBitsInDoubles(readNumbers<float, 2>(text, "could not parse eDoublePoint2d correctly")));
        case eDoublePoint3d:  // as eDoublePoint2d, kept on purpose
            return store<QVPoint3d>(
                floatBitsInDoubles(readNumbers<float, 3>(text, "could not parse eFloatPoint3d correctly")));
        case eQVRect:
            return store<QVRect>(readNumbers<int, 4>(text, kRectMessage));
        case eQVRectF:
            return store<QVRectF>(readNumbers<float, 4>(text, kRectMessage));
        case eQVArray:
            return parseArray(text);
        default:
            // -23 and -27 are no types.
            return nullptr;
    }
}
