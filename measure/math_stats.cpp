// Statistics and fits of the math tools: quantiles and trimmed means, the least-squares line,
// slopes, the iterative circle fit, minimum/maximum searches, partial sums and the trapezoid
// integral. Sorting, quantiles and the line fit come from GSL.
#include <gsl/gsl_errno.h>
#include <gsl/gsl_fit.h>
#include <gsl/gsl_sort.h>
#include <gsl/gsl_statistics_double.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

#include "measure/measure_internal.h"
#include "qvtools/system.h"

namespace qv::measure {

void quietGsl() {
    static std::once_flag once;
    std::call_once(once, [] { gsl_set_error_handler_off(); });
}

}  // namespace qv::measure

using qv::measure::quietGsl;
using qv::measure::roundHalfAway;

extern "C" {

QV_API int QV_MathTools_PQuantile(const double* values, int count, double p, double* trimmedMean,
                                  double* quantile) {
    constexpr const char* kFn = "QV_MathTools_PQuantile";
    if (!(p >= 0.0 && p <= 1.0) || count < 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "p must be in [0,1] and numVals must be > 0");
    QV_CHECK_NULL(values, __LINE__, "value array is NULL");
    quietGsl();
    std::vector<double> sorted;
    try {
        sorted.assign(values, values + count);
    } catch (const std::bad_alloc&) {
        return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate memory");
    }
    gsl_sort(sorted.data(), 1, sorted.size());
    const size_t n = sorted.size();
    if (p == 0.5) {
        const double median = gsl_stats_median_from_sorted_data(sorted.data(), 1, n);
        if (trimmedMean) *trimmedMean = median;
        if (quantile) *quantile = median;
        return 0;
    }
    if (quantile) *quantile = gsl_stats_quantile_from_sorted_data(sorted.data(), 1, n, p);
    const double q = p <= 0.5 ? p : 1.0 - p;
    int lo = static_cast<int>(count * q) - 1;
    if (lo < 0) lo = 0;
    int hi = roundHalfAway((1.0 - q) * count) - 1;
    if (hi > count - 1) hi = count - 1;
    if (hi - lo < 1) {
        // Reported, but deliberately not an error return: the quantile is still valid.
        QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid range");
        return 0;
    }
    double sum = 0.0;
    for (int i = lo; i <= hi; ++i) sum += sorted[i];
    if (trimmedMean) *trimmedMean = sum / (hi - lo + 1);
    return 0;
}

QV_API int QV_MathTools_LinearFit(const double* x, const double* y, int count, int xStride,
                                  int yStride, double* intercept, double* slope,
                                  double* meanSquaredResidual) {
    constexpr const char* kFn = "QV_MathTools_LinearFit";
    if (!x || !y || count < 2 || xStride < 1 || yStride < 1)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "Null or invalid argument");
    quietGsl();
    double c0 = 0, c1 = 0, cov00 = 0, cov01 = 0, cov11 = 0, sumsq = 0;
    const int status = gsl_fit_linear(x, xStride, y, yStride, count, &c0, &c1, &cov00, &cov01,
                                      &cov11, &sumsq);
    if (intercept) *intercept = c0;
    if (slope) *slope = c1;
    if (meanSquaredResidual) *meanSquaredResidual = sumsq / count;
    return status;
}

QV_API int QV_MathTools_CalcSlope(const double p1[2], const double p2[2], double* slope) {
    constexpr const char* kFn = "QV_MathTools_CalcSlope";
    QV_CHECK_NULL(p1 && p2, __LINE__, "point is NULL");
    if (p1[0] != p2[0]) {
        if (slope) *slope = (p2[1] - p1[1]) / (p2[0] - p1[0]);
        return 0;
    }
    if (p2[1] > p1[1]) {
        if (slope) *slope = DBL_MAX;
        return QV_ERR_ARGUMENT;  // vertical upward: reported by the code alone
    }
    // A vertical downward pair is reported as equal points; intended.
    if (slope) *slope = 0.0;
    return QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "points are equal, cannot calc slope");
}

QV_API int QV_MathTools_CircleFit(int count, const double* points, double* centreX, double* centreY,
                                  double* radius) {
    constexpr const char* kFn = "QV_MathTools_CircleFit";
    QV_CHECK_NULL((points || count <= 0) && centreX && centreY && radius, __LINE__,
                  "input or output argument is NULL");
    double meanX = 0.0, meanY = 0.0;
    for (int i = 0; i < count; ++i) {
        meanX += points[2 * i];
        meanY += points[2 * i + 1];
    }
    meanX /= count;
    meanY /= count;
    double a = meanX, b = meanY;
    double newA = a, newB = b, L = 0.0;
    for (int iteration = 0; iteration < 256; ++iteration) {
        double sumL = 0.0, sumA = 0.0, sumB = 0.0;
        for (int i = 0; i < count; ++i) {
            const double dx = points[2 * i] - a, dy = points[2 * i + 1] - b;
            const double li = std::sqrt(dx * dx + dy * dy);
            if (std::fabs(li) > 1e-6) {  // points on the centre are skipped, the means still divide by count
                sumL += li;
                sumA += -dx / li;
                sumB += -dy / li;
            }
        }
        L = sumL / count;
        newA = meanX + L * sumA / count;
        newB = meanY + L * sumB / count;
        if (std::fabs(newA - a) <= 1e-6 && std::fabs(newB - b) <= 1e-6) {
            *centreX = newA;
            *centreY = newB;
            *radius = L;
            return iteration;
        }
        a = newA;
        b = newB;
    }
    *centreX = newA;
    *centreY = newB;
    *radius = L;
    return -1;
}

QV_API int QV_MathTools_CubicSplineFit(void) { return 0; }

QV_API int QV_MathTools_GetMinMax(const int16_t* values, int count, int* min, int* max,
                                  unsigned* minIndex, unsigned* maxIndex) {
    constexpr const char* kFn = "QV_MathTools_GetMinMax";
    QV_CHECK_NULL(values, __LINE__, "i_piArray is NULL");
    double* copy = nullptr;
    if (count > 0) {  // Min1D/Max1D report an empty range themselves
        copy = static_cast<double*>(std::malloc(sizeof(double) * static_cast<size_t>(count)));
        if (!copy) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate memory");
        for (int i = 0; i < count; ++i) copy[i] = values[i];
    }
    double lo = 0.0, hi = 0.0;
    const int minStatus = Min1D(copy, count, &lo, minIndex);
    const int maxStatus = Max1D(copy, count, &hi, maxIndex);
    std::free(copy);
    if (minStatus == 0 && min) *min = static_cast<int>(lo);
    if (maxStatus == 0 && max) *max = static_cast<int>(hi);
    return minStatus | maxStatus;
}

QV_API int QV_GetMinMax(const int16_t* values, int count, int16_t* min, int16_t* max,
                        unsigned* minIndex, unsigned* maxIndex) {
    constexpr const char* kFn = "QV_GetMinMax";
    if (!values || count < 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "value array is NULL, or number of values invalid");
    int16_t lo = values[0], hi = values[0];
    unsigned loIndex = 0, hiIndex = 0;
    for (int i = 1; i < count; ++i) {
        if (values[i] < lo) {
            lo = values[i];
            loIndex = static_cast<unsigned>(i);
        } else if (values[i] > hi) {
            hi = values[i];
            hiIndex = static_cast<unsigned>(i);
        }
    }
    if (min) *min = lo;
    if (max) *max = hi;
    if (minIndex) *minIndex = loIndex;
    if (maxIndex) *maxIndex = hiIndex;
    return 0;
}

QV_API double QV_MathTools_PartialSum(const int* values, int lastIndex) {
    if (!values || lastIndex < 0) return 0.0;
    double sum = 0.0;
    for (int i = 0; i <= lastIndex; ++i) sum += values[i];
    return sum;
}

QV_API float QV_MathTools_ApproximateIntegral(QV_MathFunction1f f, float a, float b, int n) {
    if (!f || n < 0) return 0.0f;  // guard: no interval to sum, and no division by zero
    const float h = (b - a) / static_cast<float>(n + 1);
    float x = a;
    float fPrev = f(x);
    float sum = 0.0f;
    for (int k = 0; k <= n; ++k) {
        x = (k == n) ? b : x + h;  // the last node is b exactly
        const float fNext = f(x);
        sum += (fPrev + fNext) * 0.5f * h;
        fPrev = fNext;
    }
    return sum;
}

}  // extern "C"
