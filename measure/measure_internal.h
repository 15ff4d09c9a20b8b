// Private helpers of the measure family: GSL error handling, the integer conventions the
// profile functions share (32-bit wrap-around, half-away rounding) and the match kernels.
#pragma once

#include <climits>
#include <cstdint>

#include "logging/frame.h"
#include "qvtools/measure.h"

namespace qv::measure {

// GSL aborts the process on errors by default; the library checks statuses itself, so the
// handler is switched off once, before the first GSL call of this family.
void quietGsl();

// x rounded to the nearest integer, halves away from zero (adds 0.5 to a positive value,
// subtracts it from a negative one, then truncates).
inline int roundHalfAway(double x) { return static_cast<int>(x > 0 ? x + 0.5 : x - 0.5); }

// Truncation toward zero. NaN and values outside int give INT_MIN, which is what the x86
// conversion instruction yields, instead of undefined behaviour.
inline int truncToInt(double x) {
    return (x > -2147483649.0 && x < 2147483648.0) ? static_cast<int>(x) : INT_MIN;
}

// 32-bit signed arithmetic with wrap-around, as the sums and products of the profile
// functions are defined: the result is the low 32 bits, read as signed.
inline int32_t wrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// Working-buffer size of the derivative and edge functions.
constexpr int kMaxRegion = QV_PROFILE_MAX_REGION;

// d1[i] = p[i+h1] - p[i-h1] for h1 <= i < len-h1 and d2[i] = d1[i+h2] - d1[i-h2] for
// h2 <= i < len-h2, zero elsewhere; len <= kMaxRegion, h1, h2 >= 0.
void centralDifferences(const int16_t* p, int len, int h1, int h2, double* d1, double* d2);

}  // namespace qv::measure
