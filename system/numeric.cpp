// Small numeric utilities: trigonometry, rounding, minimum and maximum, clamping, sleeping.
#include <cmath>
#include <cstdlib>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "system/platform.h"

namespace {
// Index of the first smallest (Less = true) or largest value; strict comparison keeps ties first.
template <bool Smallest>
int extremum(const char* kFn, int line, const double* values, int count, double* value, unsigned* index) {
    if (count <= 0) return QV_FAIL(1, QV_ERR_ARGUMENT, line, "need at least one value");
    QV_CHECK_NULL(values, __LINE__, "value array is NULL");
    unsigned best = 0;
    for (int i = 1; i < count; ++i) {
        const bool better = Smallest ? values[i] < values[best] : values[i] > values[best];
        if (better) best = static_cast<unsigned>(i);
    }
    if (value) *value = values[best];
    if (index) *index = best;
    return 0;
}
}  // namespace

extern "C" {

QV_API double qv_sin(double x) { return std::sin(x); }
QV_API double qv_cos(double x) { return std::cos(x); }
QV_API double qv_tan(double x) { return std::tan(x); }
QV_API double rad2deg(double x) { return x * 57.29577951308232; }

QV_API int Min1D(const double* values, int count, double* value, unsigned* index) {
    return extremum<true>("Min1D", 225, values, count, value, index);
}

QV_API int Max1D(const double* values, int count, double* value, unsigned* index) {
    return extremum<false>("Max1D", 257, values, count, value, index);
}

// Outside the range the result is the smaller bound below lo and the larger bound above hi,
// which matters when the bounds are given the wrong way round.
QV_API int clampIntValue(int x, int lo, int hi) {
    if (x < lo) return lo < hi ? lo : hi;
    if (x > hi) return lo > hi ? lo : hi;
    return x;
}

QV_API double clampDoubleValue(double x, double lo, double hi) {
    if (x < lo) return lo < hi ? lo : hi;
    if (x > hi) return lo > hi ? lo : hi;
    return x;
}

QV_API int clampIntValueSet(int x, int lo, int hi, int replacement) {
    return (lo <= x && x <= hi) ? x : replacement;
}

QV_API bool isNan(double x) { return x != x; }

QV_API void QV_Sleep(unsigned ms) { qv::platform::sleepMs(ms); }

QV_API void QV_Release(void* block) { std::free(block); }

}  // extern "C"

QV_API double round(double x, unsigned digits) {
    static constexpr double kPowers[9] = {1.0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    const double factor = kPowers[digits > 8 ? 8 : digits];
    return std::floor(x * factor + 0.5) / factor;
}
