// Correlation curve between a short profile a and every stretch of a profile b: the signed
// square of the correlation coefficient of the mean-free stretches, with the best positive
// value and its shift. Means are integer means (truncated); working arrays hold 1000 samples.
// Each product of two centred samples is a 32-bit signed integer (it wraps beyond 46340^2)
// before it is added to a double sum.
#include <cmath>

#include "measure/measure_internal.h"

namespace {
constexpr int kMaxSamples = 1000;
using qv::measure::wrapMul;
}

extern "C" {

QV_API int QV_ProfileTools_Correlation(const int16_t* a, const int16_t* b, int countA, int countB,
                                       int step, double* curve, double* maxValue,
                                       unsigned int* maxPosition) {
    // Fails silently (-1, nothing logged). Step and pointers are guarded the same way.
    if (countA > kMaxSamples || countB > kMaxSamples || countA < 1 || countB < 1 || countB < countA)
        return -1;
    if (step < 1 || !a || !b || !curve || !maxValue || !maxPosition) return -1;

    int32_t sumA = 0;
    int32_t n = 0;
    for (int i = 0; i < countA; i += step) {
        sumA += a[i];
        ++n;
    }
    const int32_t meanA = sumA / n;
    int32_t ca[kMaxSamples];
    int32_t cb[kMaxSamples];
    double aa = 0.0;
    for (int i = 0; i < countA; i += step) {
        ca[i] = a[i] - meanA;
        aa += wrapMul(ca[i], ca[i]);
    }
    double best = 0.0;
    unsigned int position = 0;
    double lowest = 999999999.0;  // a running minimum that is kept but never reported
    for (int s = 0; s <= countB - countA; ++s) {
        curve[s] = 0.0;
        int32_t sumB = 0;
        for (int j = s; j < s + countA; j += step) sumB += b[j];
        const int32_t meanB = sumB / n;
        double bb = 0.0;
        for (int j = s; j < s + countA; j += step) {
            cb[j] = b[j] - meanB;
            bb += wrapMul(cb[j], cb[j]);
        }
        const double den = aa * bb;
        double x = 0.0;
        for (int i = 0; i < countA; i += step) x += wrapMul(ca[i], cb[s + i]);
        // Signed squared correlation; a constant stretch (den == 0) gives inf or NaN.
        curve[s] = x >= 0.0 ? x * x / den : -(x * x / den);
        if (curve[s] > best) {
            best = curve[s];
            position = static_cast<unsigned int>(s);
        }
        if (curve[s] < lowest) lowest = curve[s];
    }
    *maxValue = best;
    *maxPosition = position;
    return 0;
}

}  // extern "C"
