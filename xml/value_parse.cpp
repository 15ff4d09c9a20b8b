// The value parser: the text form of a typed value (as DataToString writes it) back into a new,
// zero-initialised value of that type, owned by the caller. Several results are odd on
// purpose and kept exactly: integer 2-D points and double points are read through
// single-precision variables, and a char always parses to 0.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

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

// Logs a text that did not yield all the numbers of a point or rectangle.
void incomplete(const char* message) {
    QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "%s", message);
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

// A double holding `value`'s float bit pattern in its low four bytes, the upper four zero.
double floatBitsInDouble(float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const std::uint64_t wide = bits;
    double out;
    std::memcpy(&out, &wide, sizeof out);
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
            auto* value = newValue<QVPoint2i>();
            if (!value) return nullptr;
            // Read as the library always has: the integers land in float variables and are
            // converted back, so 1;2 gives (0, 0). Kept on purpose.
            int bits[2] = {0, 0};
            if (std::sscanf(text, "%d;%d", &bits[0], &bits[1]) != 2)
                incomplete("could not parse QV_RectF correctly");
            value->x = intThroughFloatBits(bits[0]);
            value->y = intThroughFloatBits(bits[1]);
            return value;
        }
        case eFloatPoint2d: {
            auto* value = newValue<QVPoint2f>();
            if (value && std::sscanf(text, "%f;%f", &value->x, &value->y) != 2)
                incomplete("could not parse QV_RectF correctly");
            return value;
        }
        case eIntPoint3d: {
            auto* value = newValue<QVPoint3i>();
            if (value && std::sscanf(text, "%d;%d;%d", &value->x, &value->y, &value->z) != 3)
                incomplete("could not parse QV_Point3i correctly");
            return value;
        }
        case eFloatPoint3d: {
            auto* value = newValue<QVPoint3f>();
            if (value && std::sscanf(text, "%f;%f;%f", &value->x, &value->y, &value->z) != 3)
                incomplete("could not parse eFloatPoint3d correctly");
            return value;
        }
        case eDoublePoint2d: {
            auto* value = newValue<QVPoint2d>();
            if (!value) return nullptr;
            // Single-precision reads into double fields: each double holds a float's bit
            // pattern in its low bytes, in effect 0. Kept on purpose.
            float read[2] = {0.0f, 0.0f};
            if (std::sscanf(text, "%f;%f", &read[0], &read[1]) != 2)
                incomplete("could not parse eDoublePoint2d correctly");
            value->x = floatBitsInDouble(read[0]);
            value->y = floatBitsInDouble(read[1]);
            return value;
        }
        case eDoublePoint3d: {
            auto* value = newValue<QVPoint3d>();
            if (!value) return nullptr;
            float read[3] = {0.0f, 0.0f, 0.0f};  // as for eDoublePoint2d, kept on purpose
            if (std::sscanf(text, "%f;%f;%f", &read[0], &read[1], &read[2]) != 3)
                incomplete("could not parse eFloatPoint3d correctly");
            value->x = floatBitsInDouble(read[0]);
            value->y = floatBitsInDouble(read[1]);
            value->z = floatBitsInDouble(read[2]);
            return value;
        }
        case eQVRect: {
            auto* value = newValue<QVRect>();
            if (value && std::sscanf(text, "%d;%d;%d;%d", &value->x, &value->y, &value->width,
                                     &value->height) != 4)
                incomplete("could not parse QV_RectF correctly");
            return value;
        }
        case eQVRectF: {
            auto* value = newValue<QVRectF>();
            if (value && std::sscanf(text, "%f;%f;%f;%f", &value->x, &value->y, &value->width,
                                     &value->height) != 4)
                incomplete("could not parse QV_RectF correctly");
            return value;
        }
        case eQVArray:
            return parseArray(text);
        default:
            // -23 and -27 are no types.
            return nullptr;
    }
}
