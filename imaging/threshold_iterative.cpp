// Threshold methods that follow the class means: Huang's fuzzy entropy (a membership in each
// class decided by the distance to that class's mean) and Li's minimum cross entropy (an
// iteration of the threshold towards the logarithmic mean of the two class means).
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {
namespace {

// Shannon's function of a membership value, 0 for values too close to 0 or 1.
inline double huangTerm(double mu) {
    if (mu < 1e-6 || mu > 0.999999) return 0.0;
    return -mu * std::log(mu) - (1.0 - mu) * std::log(1.0 - mu);
}

// A wrapped 32-bit sum read as a signed integer.
inline double signed32(std::uint32_t value) { return static_cast<double>(static_cast<std::int32_t>(value)); }

}  // namespace

int thresholdHuang(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByHuang";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    WorkArray<double> mu0(kBins), mu1(kBins);
    if (!mu0) return QV_WORK_ARRAY_FAILED("mu_0");
    if (!mu1) return QV_WORK_ARRAY_FAILED("mu_1");

    int first = 0;
    for (int i = 0; i < kBins; ++i)
        if (hist[i] != 0) {
            first = i;
            break;
        }
    int last = kBins - 1;
    for (int i = kBins - 1; i >= first; --i)
        if (hist[i] != 0) {
            last = i;
            break;
        }
    // Fewer than two occupied bins: the membership scale 1 / (last - first) does not exist (and
    // an empty histogram has no class means); no threshold.
    if (hist[first] == 0 || first == last) return -1;
    const double scale = 1.0 / (last - first);

    // Class means: mu0[t] of the bins first..t (t >= first), mu1[t] of the bins t+1..last
    // (t < last), sums in signed 32-bit integers. They wrap (and turn negative) past 2^31 - 1,
    // which large bright images reach; kept as it is. Entries outside those ranges stay 0; they
    // only ever meet empty bins.
    std::uint32_t sum = 0, count = 0;  // unsigned only so that the wrap is defined
    for (int i = first; i < kBins; ++i) {
        sum += static_cast<std::uint32_t>(i) * hist[i];
        count += hist[i];
        mu0[i] = signed32(sum) / signed32(count);
    }
    sum = count = 0;
    for (int i = last; i > 0; --i) {
        sum += static_cast<std::uint32_t>(i) * hist[i];
        count += hist[i];
        mu1[i - 1] = signed32(sum) / signed32(count);
    }

    // Empty bins add nothing, so only first..last is visited; the order of the additions is that
    // of the full sum over all bins.
    double best = DBL_MAX;
    int threshold = -1;
    for (int t = 0; t < kBins; ++t) {
        double entropy = 0.0;
        const double m0 = mu0[t];
        for (int i = first; i <= t && i <= last; ++i)
            if (hist[i] != 0) entropy += hist[i] * huangTerm(1.0 / (1.0 + scale * std::fabs(i - m0)));
        const double m1 = mu1[t];
        for (int i = t + 1 > first ? t + 1 : first; i <= last; ++i)
            if (hist[i] != 0) entropy += hist[i] * huangTerm(1.0 / (1.0 + scale * std::fabs(i - m1)));
        if (entropy < best) {
            best = entropy;
            threshold = t;
        }
    }
    return threshold;
}

int thresholdLi(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByLi";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    constexpr double kTolerance = 0.5;

    std::uint64_t count = 0, sum = 0;
    for (int i = 0; i < kBins; ++i) {
        count += hist[i];
        sum += std::uint64_t{hist[i]} * static_cast<std::uint64_t>(i);
    }
    if (count == 0) return -1;  // empty histogram: no mean to start from
    const double mean = static_cast<double>(sum) / static_cast<double>(count);

    // After the first round the threshold is a whole number; meeting one again means the
    // iteration would cycle for ever, so it stops there.
    bool seen[kBins] = {};
    double next = mean, previous;
    int t;
    bool firstRound = true;
    do {
        previous = next;
        t = static_cast<int>(previous + 0.5);
        if (t < 0 || t >= kBins) break;  // cannot happen: every class mean lies in 0..255
        if (!firstRound) {
            if (seen[t]) break;
            seen[t] = true;
        }
        firstRound = false;

        std::uint64_t sumBack = 0, numBack = 0, sumObject = 0, numObject = 0;
        for (int i = 0; i <= t; ++i) {
            sumBack += std::uint64_t{hist[i]} * static_cast<std::uint64_t>(i);
            numBack += hist[i];
        }
        for (int i = t + 1; i < kBins; ++i) {
            sumObject += std::uint64_t{hist[i]} * static_cast<std::uint64_t>(i);
            numObject += hist[i];
        }
        const double muBack = numBack == 0 ? 0.0 : static_cast<double>(sumBack) / static_cast<double>(numBack);
        const double muObject =
            numObject == 0 ? 0.0 : static_cast<double>(sumObject) / static_cast<double>(numObject);
        // Both means 0 (every pixel in bin 0): the logarithmic mean is 0 / 0. Stop at t.
        const double denominator = std::log(muBack) - std::log(muObject);
        if (!(denominator < 0.0 || denominator > 0.0)) break;
        const double x = (muBack - muObject) / denominator;
        next = x < -DBL_EPSILON ? static_cast<int>(x - 0.5) : static_cast<int>(x + 0.5);
    } while (std::fabs(next - previous) > kTolerance);
    // The last threshold tried, not the last estimate (intended).
    return t;
}

}  // namespace qv::imaging
