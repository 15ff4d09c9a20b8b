// Difference derivatives of a profile, edge detection on the second derivative with
// hysteresis, and step detection as pairs of rising and falling edges. Working buffers hold
// QV_PROFILE_MAX_REGION (2048) samples; longer regions are refused with -5 rather than overrun.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "measure/measure_internal.h"

namespace qv::measure {

void centralDifferences(const int16_t* p, int len, int h1, int h2, double* d1, double* d2) {
    std::fill(d1, d1 + len, 0.0);
    std::fill(d2, d2 + len, 0.0);
    for (int i = h1; i < len - h1; ++i) d1[i] = p[i + h1] - p[i - h1];
    for (int i = h2; i < len - h2; ++i) d2[i] = d1[i + h2] - d1[i - h2];
}

}  // namespace qv::measure

namespace {

using qv::measure::kMaxRegion;

// Half of a window width; widths are clamped so that the halves stay well inside int.
int halfWidth(long long width) { return static_cast<int>(std::min<long long>(width, 1LL << 30) / 2); }

}  // namespace

extern "C" {

QV_API int QV_ProfileTools_CalcDerivations(const int16_t* data, int dataLength, int offset, int length,
                                           int width1, double* firstDerivative, int width2,
                                           double* secondDerivative) {
    constexpr const char* kFn = "QV_ProfileTools_CalcDerivations";
    // A negative offset would read before the data: refused with the same report.
    if (!data || (!firstDerivative && !secondDerivative) || dataLength < 0 || offset > dataLength || offset < 0)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "input or output argument is NULL or data len or offset invaild");
    if (width1 < 0 || width2 < 0)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "derivative widths must not be negative");
    const int h1 = static_cast<int>(static_cast<float>(width1) * 0.5f);
    const int h2 = static_cast<int>(static_cast<float>(width2) * 0.5f);
    const int n = std::min(dataLength - offset, length);
    if (n > kMaxRegion)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "region of %d samples exceeds the working buffer of %d samples", n, kMaxRegion);
    double d1[kMaxRegion] = {};
    for (int i = h1; i < n - h1; ++i) d1[i] = data[offset + i + h1] - data[offset + i - h1];
    if (firstDerivative) std::copy(d1, d1 + std::max(n, 0), firstDerivative);
    if (secondDerivative) {
        // The offset is applied a second time when reading the first derivative; intended.
        // Positions outside the working buffer read as 0, like its unused entries.
        const auto at = [&d1](long long j) { return j >= 0 && j < kMaxRegion ? d1[j] : 0.0; };
        for (int i = h2; i < n - h2; ++i)
            secondDerivative[i] = at(static_cast<long long>(offset) + i + h2) -
                                  at(static_cast<long long>(offset) + i - h2);
    }
    return 0;
}

QV_API int QV_ProfileTools_FindEdges(const int16_t* profile, int count, int offset, int roiLength,
                                     int width1, int width2, double threshold, int mode, int maxEdges,
                                     int* positions, double* values, double* firstDerivative,
                                     double* secondDerivative, int* centred) {
    constexpr const char* kFn = "QV_ProfileTools_FindEdges";
    if (!profile) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "profile is NULL");
    if (offset < 0) offset = 0;
    long long len = roiLength;
    if (roiLength < 1) len = static_cast<long long>(count) - offset;
    if (static_cast<long long>(offset) + roiLength > count) {
        QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "roi length was invalid");
        len = static_cast<long long>(count) - offset;
    }
    long long w1 = width1, w2 = width2;
    if (width1 < 1 || width2 < 1) {
        QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "offset or data length or step size invalid");
        w1 = std::llabs(w1);
        w2 = std::llabs(w2);
    }
    if (mode != 0 && mode != 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "mode invalid");
    if (len > kMaxRegion)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                       "region of %lld samples exceeds the working buffer of %d samples", len, kMaxRegion);
    if (len < 1) return 0;  // nothing inside the profile to look at
    const int L = static_cast<int>(len);
    const int16_t* p = profile + offset;
    const int h1 = halfWidth(w1), h2 = halfWidth(w2);
    double d1[kMaxRegion], d2[kMaxRegion];
    qv::measure::centralDifferences(p, L, h1, h2, d1, d2);

    int edgePos[kMaxRegion];
    double edgeVal[kMaxRegion];
    int found = 0;
    bool open = false;
    int peak = 0;  // an integer: later samples within the same integer take the peak over
    int peakIndex = 0;
    for (int i = h2; i < L - h2; ++i) {
        const double v = d2[i];
        bool close = false;
        if (mode == 0) {
            if (!open && v > threshold) {
                open = true;
                peak = static_cast<int>(v);
                peakIndex = i;
            }
            if (v > peak) {  // also while closed: harmless, the peak is reset on opening
                peak = static_cast<int>(v);
                peakIndex = i;
            }
            close = open && threshold * 0.9 > v;
        } else {
            // The opening sample is already the first peak candidate (the peak rests at 0).
            if (!open && v < -threshold) open = true;
            if (open) {
                if (v < peak) {
                    peak = static_cast<int>(v);
                    peakIndex = i;
                }
                close = v > -0.9 * threshold;
            }
        }
        if (close) {
            if (found < kMaxRegion) {
                edgePos[found] = std::max(offset + peakIndex, 0);
                edgeVal[found] = peak;
                ++found;
            }
            open = false;
            peak = 0;
        }
    }  // an edge still open here is dropped

    const int reported = std::min(std::max(maxEdges, 0), found);
    if (positions) std::copy(edgePos, edgePos + reported, positions);
    if (values) std::copy(edgeVal, edgeVal + reported, values);
    if (centred) {
        int32_t sum = 0;
        for (int i = 0; i < L; ++i) sum += p[i];
        const int32_t mean = sum / L;
        for (int i = 0; i < L; ++i) centred[i] = p[i] - mean;
    }
    if (firstDerivative) std::copy(d1, d1 + L, firstDerivative);
    if (secondDerivative) std::copy(d2, d2 + L, secondDerivative);
    return found;
}

QV_API int QV_ProfileTools_FindSteps(const int16_t* profile, int count, int offset, int roiLength,
                                     int width1, int width2, double riseThreshold,
                                     double fallThreshold, int stepMode, int maxStepWidth,
                                     int maxSteps, int* risePositions, int* fallPositions) {
    constexpr const char* kFn = "QV_ProfileTools_FindSteps";
    if (!profile || count < 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "input data is null or datalen invalid");
    if (stepMode != 0 && stepMode != 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid step mode");
    int rises[kMaxRegion], falls[kMaxRegion];
    const int riseCount = QV_ProfileTools_FindEdges(profile, count, offset, roiLength, width1, width2,
                                                    std::fabs(riseThreshold), 0, kMaxRegion, rises,
                                                    nullptr, nullptr, nullptr, nullptr);
    if (riseCount < 0) return riseCount;
    const int fallCount = QV_ProfileTools_FindEdges(profile, count, offset, roiLength, width1, width2,
                                                    std::fabs(fallThreshold), 1, kMaxRegion, falls,
                                                    nullptr, nullptr, nullptr, nullptr);
    if (fallCount < 0) return fallCount;
    const long long w = std::llabs(static_cast<long long>(maxStepWidth));
    const int pairs = std::min(riseCount, fallCount);
    int kept = 0;
    for (int k = 0; k < pairs; ++k) {  // paired by index, not by position
        const long long width = stepMode == 0 ? static_cast<long long>(falls[k]) - rises[k]
                                              : static_cast<long long>(rises[k]) - falls[k];
        if (width >= w) continue;  // a negative width always passes
        if (kept < maxSteps) {
            if (risePositions) risePositions[kept] = rises[k];
            if (fallPositions) fallPositions[kept] = falls[k];
        }
        ++kept;
    }
    return kept;
}

}  // extern "C"
