// Spline resampling of a sampled signal with GSL: every step-th sample (optionally only those
// whose weight exceeds a threshold) becomes a support point, and the spline is evaluated at the
// integer positions 0 ... count-1.
#include <gsl/gsl_errno.h>
#include <gsl/gsl_spline.h>

#include <cstring>
#include <new>
#include <vector>

#include "measure/measure_internal.h"

extern "C" {

QV_API int QV_MathTools_SplineInterpolation(const double* x, const double* y, const double* weights,
                                            int count, double threshold, int step, int type,
                                            double* out) {
    constexpr const char* kFn = "QV_MathTools_SplineInterpolation";
    if (!y || !out || count < 2)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "an input or output parameter is NULL or invalid");
    if (type == 0) {
        std::memmove(out, y, sizeof(double) * static_cast<size_t>(count));
        return 0;
    }
    static const gsl_interp_type* const* const kTypes[] = {&gsl_interp_linear, &gsl_interp_cspline,
                                                           &gsl_interp_akima, &gsl_interp_polynomial};
    if (type < 1 || type > 4) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid interpolation type");
    const gsl_interp_type* interpType = *kTypes[type - 1];
    if (step < 1 || step >= count) step = 1;
    const int n = static_cast<int>(static_cast<float>(count) / static_cast<float>(step));
    if (n < 2) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid step size");
    if (x) {
        // The first n positions are checked consecutively, although the support points use
        // every step-th one; kept as it is.
        for (int i = 1; i < n; ++i)
            if (!(x[i] > x[i - 1]))
                return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "x values must be provided in ascending order");
    }
    std::vector<double> px, py;
    try {
        px.reserve(n);
        py.reserve(n);
    } catch (const std::bad_alloc&) {
        return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate memory");
    }
    for (int i = 0; i < n; ++i) {
        const int j = i * step;
        if (weights && !(weights[j] > threshold)) continue;
        px.push_back(x ? x[j] : j);
        py.push_back(y[j]);
    }
    if (px.empty()) return 0;
    const unsigned minSize = gsl_interp_type_min_size(interpType);
    // The number of output values is compared with the type's minimum. Fewer kept support
    // points than that minimum would make the allocation fail, so it is reported the same way.
    if (static_cast<unsigned>(count) < minSize || px.size() < minSize)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "not enough data values given for the selected interpolation type, %d values "
                       "needed for spline type %s",
                       static_cast<int>(minSize), interpType->name);
    qv::measure::quietGsl();
    gsl_interp_accel* accel = gsl_interp_accel_alloc();
    gsl_spline* spline = gsl_spline_alloc(interpType, px.size());
    if (!accel || !spline) {
        gsl_spline_free(spline);
        gsl_interp_accel_free(accel);
        return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate the spline");
    }
    int result = count;
    if (gsl_spline_init(spline, px.data(), py.data(), px.size()) != GSL_SUCCESS) {
        // Stepped positions that do not ascend (only the first n were checked above).
        result = QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "x values must be provided in ascending order");
    } else {
        for (int i = 0; i < count; ++i) out[i] = gsl_spline_eval(spline, i, accel);
    }
    gsl_spline_free(spline);
    gsl_interp_accel_free(accel);
    return result;
}

}  // extern "C"
