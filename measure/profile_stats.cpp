// Profile mean, mean removal and bit-mask filtering. Sums are 32-bit signed integers that wrap
// like the hardware's; samples are read as signed 16-bit values.
#include <cstring>

#include "measure/measure_internal.h"

extern "C" {

QV_API int QV_ProfileTools_CalcMean(const int16_t* profile, int count, int step, double* mean) {
    constexpr const char* kFn = "QV_ProfileTools_CalcMean";
    if (!profile || count == 0) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "input data invalid");
    // Guard: a step below 1 would never leave the loop (0) or read before the array.
    if (step < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "input data invalid");
    int32_t sum = 0;
    int used = 0;
    for (int i = 0; i < count; i += step) {
        sum = qv::measure::wrapAdd(sum, profile[i]);
        ++used;
    }
    // A negative count uses no sample and yields 0.0/0.0 (NaN); intended.
    if (mean) *mean = static_cast<double>(sum) / static_cast<double>(used);
    return used;
}

QV_API int QV_ProfileTools_NormalizeProfile(const int16_t* profile, int count, int16_t* out, int step,
                                            double* mean) {
    constexpr const char* kFn = "QV_ProfileTools_NormalizeProfile";
    if (!profile || !out || step == 0 || count == 0)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "input profile output profile pointer is NULL or step size invalid");
    double m = 0.0;
    const int used = QV_ProfileTools_CalcMean(profile, count, step, &m);
    if (used < 0) return used;  // a negative step, refused by the mean
    if (m == 0.0) {
        if (out != profile) std::memmove(out, profile, sizeof(int16_t) * static_cast<size_t>(count));
    } else {
        // Every sample is shifted, not only the stepped ones the mean was taken from.
        for (int i = 0; i < count; ++i) out[i] = static_cast<int16_t>(static_cast<int>(profile[i] - m));
    }
    if (mean) *mean = m;
    return 0;
}

QV_API int QV_ProfileTools_FilterBitMask(uint16_t* source, uint16_t* destination, int count,
                                         uint16_t mask, uint16_t valueIfSet, uint16_t valueIfClear) {
    constexpr const char* kFn = "QV_ProfileTools_FilterBitMask";
    if (!source) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "mask or destination array is  NULL");
    if (count < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "w < 1");
    uint16_t* target = destination ? destination : source;
    for (int i = 0; i < count; ++i) target[i] = (source[i] & mask) ? valueIfSet : valueIfClear;
    return 0;
}

}  // extern "C"
