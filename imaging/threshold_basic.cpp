// Threshold methods on moments of the histogram: Otsu, Tsai's moment preservation, Glasbey's
// mean and the percentile method. Each works on a 256-bin histogram with the arithmetic, the
// starting values and the strict comparisons that make ties go to the first candidate.
#include <cmath>
#include <cstdint>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {

int thresholdOtsu(const std::uint32_t* hist, int width, int height) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByOtsu";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    // The normalisation uses the image size, not the histogram's sum.
    const double n = static_cast<double>(std::int64_t{width} * height);
    if (n == 0.0) return 0;  // nothing to normalise by: no variance beats the start value

    double muT = 0.0;
    for (int i = 0; i < kBins; ++i) muT += i * (hist[i] / n);

    double p1 = 0.0, mu = 0.0, best = 0.0;
    int threshold = 0;
    // Bin 255 is never tried (intended).
    for (int k = 0; k < kBins - 1; ++k) {
        const double p = hist[k] / n;
        p1 += p;
        mu += k * p;
        double sigma = 0.0;
        if (p1 != 0.0 && p1 != 1.0) {
            const double d = muT * p1 - mu;
            sigma = d * d / (p1 * (1.0 - p1));
        }
        if (sigma > best) {
            best = sigma;
            threshold = k;
        }
    }
    return threshold;
}

int thresholdMoments(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByMoments";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    WorkArray<double> histo(kBins);
    if (!histo) return QV_WORK_ARRAY_FAILED("histo");

    double total = 0.0;
    for (int i = 0; i < kBins; ++i) total += hist[i];
    if (total == 0.0) return -1;  // empty histogram: nothing to preserve
    for (int i = 0; i < kBins; ++i) histo[i] = hist[i] / total;

    double m1 = 0.0, m2 = 0.0, m3 = 0.0;  // m0 is 1
    for (int i = 0; i < kBins; ++i) {
        m1 += i * histo[i];
        m2 += (i * i) * histo[i];
        m3 += (i * i * i) * histo[i];
    }
    const double cd = m2 - m1 * m1;
    // A single occupied bin has no variance: no two-level image preserves its moments.
    if (cd == 0.0) return -1;
    const double c0 = (m1 * m3 - m2 * m2) / cd;
    const double c1 = (m1 * m2 - m3) / cd;
    const double root = std::sqrt(c1 * c1 - 4.0 * c0);
    const double z0 = 0.5 * (-c1 - root);
    const double z1 = 0.5 * (-c1 + root);
    // Levels that coincide make p0 an infinity (or NaN): minus infinity gives bin 0 below, plus
    // infinity and NaN give no threshold.
    const double p0 = (z1 - m1) / (z1 - z0);

    double sum = 0.0;
    for (int i = 0; i < kBins; ++i) {
        sum += histo[i];
        if (sum > p0) return i;
    }
    return -1;
}

int thresholdMean(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByMean";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    double total = 0.0, sum = 0.0;
    for (int i = 0; i < kBins; ++i) {
        total += hist[i];
        // The product is formed in 32 bits and may wrap for huge bins (kept as it is).
        sum += static_cast<std::uint32_t>(static_cast<std::uint32_t>(i) * hist[i]);
    }
    if (total == 0.0) return -1;  // empty histogram: no mean
    return static_cast<int>(std::floor(sum / total));
}

int thresholdPercentile(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByPercentile";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    // Filled with every distance and never read again (kept as it is).
    WorkArray<double> avec(kBins);
    if (!avec) return QV_WORK_ARRAY_FAILED("avec");

    constexpr double kFraction = 0.5;
    double total = 0.0;
    for (int i = 0; i < kBins; ++i) total += hist[i];
    if (total == 0.0) return -1;  // empty histogram: no fraction can be reached

    double best = 1.0, partial = 0.0;
    int threshold = -1;
    for (int t = 0; t < kBins; ++t) {
        partial += hist[t];
        avec[t] = std::fabs(partial / total - kFraction);
        if (avec[t] < best) {
            best = avec[t];
            threshold = t;
        }
    }
    return threshold;
}

}  // namespace qv::imaging
