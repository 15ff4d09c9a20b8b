// Single-precision classification and comparison on the bit patterns of floats.
#include <cstdint>
#include <cstring>

#include "measure/measure_internal.h"

namespace {

int32_t bitsOf(float f) {
    int32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}

// Maps a float's pattern onto one integer line ordered like the floats: a negative pattern v
// becomes 0x80000000 - v (32-bit wrap-around), so -0.0 and +0.0 both map to 0.
int32_t orderedBits(float f) {
    const int32_t v = bitsOf(f);
    return v < 0 ? static_cast<int32_t>(0x80000000u - static_cast<uint32_t>(v)) : v;
}

}  // namespace

extern "C" {

QV_API int QV_IsInfiniteF(float f) { return (bitsOf(f) & 0x7fffffff) == 0x7f800000 ? 1 : 0; }

QV_API int QV_IsNanF(float f) {
    const int32_t bits = bitsOf(f);
    return (bits & 0x7f800000) == 0x7f800000 && (bits & 0x7fffff) != 0 ? 1 : 0;
}

QV_API int QV_AlmostEqualF(float a, float b) {
    const int64_t diff = static_cast<int64_t>(orderedBits(a)) - orderedBits(b);
    return (diff < 0 ? -diff : diff) <= 10 ? 1 : 0;  // at most 10 units in the last place
}

}  // extern "C"
