// Threshold methods on entropies of the normalised histogram: Kapur-Sahoo-Wong maximum
// entropy, Shanbhag, Yen and the Renyi-entropy combination. They share the normalised histogram
// p, its cumulative sums P1 and P2 = 1 - P1, and the range [first, last] of thresholds where
// both classes hold more than rounding noise.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {
namespace {

// Fills p, P1 and P2; returns the histogram's sum (0: nothing was filled).
double normalise(const std::uint32_t* hist, double* p, double* P1, double* P2) {
    double total = 0.0;
    for (int i = 0; i < kBins; ++i) total += hist[i];
    if (total == 0.0) return 0.0;
    for (int i = 0; i < kBins; ++i) p[i] = hist[i] / total;
    P1[0] = p[0];
    P2[0] = 1.0 - P1[0];
    for (int i = 1; i < kBins; ++i) {
        P1[i] = P1[i - 1] + p[i];
        P2[i] = 1.0 - P1[i];
    }
    return total;
}

// first: the first bin whose P1 is not negligible (0 if none); last: the last one, searching
// down to first, whose P2 is not negligible (255 if none).
void classRange(const double* P1, const double* P2, int& first, int& last) {
    first = 0;
    for (int i = 0; i < kBins; ++i)
        if (std::fabs(P1[i]) >= DBL_EPSILON) {
            first = i;
            break;
        }
    last = kBins - 1;
    for (int i = kBins - 1; i >= first; --i)
        if (std::fabs(P2[i]) >= DBL_EPSILON) {
            last = i;
            break;
        }
}

// Sum of the Shannon entropies of the background (bins <= t) and the object (bins > t).
double kapurEntropy(const std::uint32_t* hist, const double* p, const double* P1, const double* P2, int t) {
    double back = 0.0;
    for (int i = 0; i <= t; ++i)
        if (hist[i] != 0) back -= (p[i] / P1[t]) * std::log(p[i] / P1[t]);
    double object = 0.0;
    for (int i = t + 1; i < kBins; ++i)
        if (hist[i] != 0) object -= (p[i] / P2[t]) * std::log(p[i] / P2[t]);
    return back + object;
}

// The working arrays of the entropy methods (allocated in the order of their names) and the
// range of thresholds they try.
class Normalised {
public:
    const double* p() { return m_p.get(); }
    const double* P1() { return m_P1.get(); }
    const double* P2() { return m_P2.get(); }
    int first = 0, last = kBins - 1;

    // Fills the arrays and the range. Returns 0 to go on; -1 (no threshold) for an empty
    // histogram or an empty range; -3 after logging, under the method's name kFn, the first
    // array that could not be had.
    int prepare(const char* kFn, const std::uint32_t* hist) {
        const char* missing = !m_p ? "norm_histo" : !m_P1 ? "P1" : !m_P2 ? "P2" : nullptr;
        if (missing) return QV_WORK_ARRAY_FAILED(missing);
        if (normalise(hist, m_p.get(), m_P1.get(), m_P2.get()) == 0.0) return -1;
        classRange(m_P1.get(), m_P2.get(), first, last);
        return first > last ? -1 : 0;
    }

private:
    WorkArray<double> m_p{kBins}, m_P1{kBins}, m_P2{kBins};
};

}  // namespace

int thresholdMaxEntropy(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByEntropy";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    Normalised a;
    if (const int status = a.prepare(kFn, hist)) return status;

    double best = DBL_MIN;
    int threshold = -1;
    for (int t = a.first; t <= a.last; ++t) {
        const double entropy = kapurEntropy(hist, a.p(), a.P1(), a.P2(), t);
        if (entropy > best) {
            best = entropy;
            threshold = t;
        }
    }
    return threshold;
}

int thresholdShanbhag(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByShanbhag";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    Normalised a;
    if (const int status = a.prepare(kFn, hist)) return status;
    const double *p = a.p(), *P1 = a.P1(), *P2 = a.P2();
    const int first = a.first, last = a.last;

    // Empty bins are skipped: they add p = 0 times a finite logarithm, nothing. The one exception
    // is an object class sum P2[t] of 0, which happens only when every bin above t is empty
    // (one pixel in 2^32 is far above rounding); the terms are NaN then, and so is the skipped
    // sum once multiplied by b = 0.5 / 0: t loses either way.
    double best = DBL_MAX;
    int threshold = -1;
    for (int t = first; t <= last; ++t) {
        const double a1 = 0.5 / P1[t];
        double back = 0.0;
        for (int i = 1; i <= t; ++i)
            if (hist[i] != 0) back -= p[i] * std::log(1.0 - a1 * P1[i - 1]);
        back *= a1;
        const double b = 0.5 / P2[t];
        double object = 0.0;
        for (int i = t + 1; i < kBins; ++i)
            if (hist[i] != 0) object -= p[i] * std::log(1.0 - b * P2[i]);
        object *= b;
        const double difference = std::fabs(back - object);
        if (difference < best) {
            best = difference;
            threshold = t;
        }
    }
    return threshold;
}

int thresholdYen(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByYen";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    WorkArray<double> p(kBins), P1(kBins), P1sq(kBins), P2sq(kBins);
    if (!p) return QV_WORK_ARRAY_FAILED("norm_histo");
    if (!P1) return QV_WORK_ARRAY_FAILED("P1");
    if (!P1sq) return QV_WORK_ARRAY_FAILED("P1_sq");
    if (!P2sq) return QV_WORK_ARRAY_FAILED("P2_sq");

    double total = 0.0;
    for (int i = 0; i < kBins; ++i) total += hist[i];
    if (total == 0.0) return -1;  // empty histogram
    for (int i = 0; i < kBins; ++i) p[i] = hist[i] / total;
    P1[0] = p[0];
    P1sq[0] = p[0] * p[0];
    for (int i = 1; i < kBins; ++i) {
        P1[i] = P1[i - 1] + p[i];
        P1sq[i] = P1sq[i - 1] + p[i] * p[i];
    }
    P2sq[kBins - 1] = 0.0;
    for (int i = kBins - 2; i >= 0; --i) P2sq[i] = P2sq[i + 1] + p[i + 1] * p[i + 1];

    double best = DBL_MIN;
    int threshold = -1;
    for (int t = 0; t < kBins; ++t) {
        const double squares = P1sq[t] * P2sq[t];
        const double classes = P1[t] * (1.0 - P1[t]);
        const double crit = -1.0 * (squares > 0.0 ? std::log(squares) : 0.0) +
                            2 * (classes > 0.0 ? std::log(classes) : 0.0);
        if (crit > best) {
            best = crit;
            threshold = t;
        }
    }
    return threshold;
}

int renyiCombine(int ta, int tb, int tc, const double* P1, const double* P2) {
    int t[3] = {ta, tb, tc};
    std::sort(t, t + 3);
    const int t1 = t[0], t2 = t[1], t3 = t[2];
    int beta1, beta2, beta3;
    const bool near12 = std::abs(t1 - t2) <= 5;
    const bool near23 = std::abs(t2 - t3) <= 5;
    if (near12 && near23) {
        beta1 = 1, beta2 = 2, beta3 = 1;
    } else if (near12) {
        beta1 = 0, beta2 = 1, beta3 = 3;
    } else if (near23) {
        beta1 = 3, beta2 = 1, beta3 = 0;
    } else {
        beta1 = 1, beta2 = 2, beta3 = 1;
    }
    const double omega = P1[t3] - P1[t1];
    return static_cast<int>(t1 * (P1[t1] + 0.25 * omega * beta1) + 0.25 * t2 * omega * beta2 +
                            t3 * (P2[t3] + 0.25 * omega * beta3));
}

int thresholdRenyiEntropy(const std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByRenyiEntropy";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");
    Normalised a;
    if (const int status = a.prepare(kFn, hist)) return status;
    const double *p = a.p(), *P1 = a.P1(), *P2 = a.P2();
    const int first = a.first, last = a.last;

    // Order 1: the maximum-entropy criterion, here starting from 0.
    int tb = 0;
    double best = 0.0;
    for (int t = first; t <= last; ++t) {
        const double crit = kapurEntropy(hist, p, P1, P2, t);
        if (crit > best) {
            best = crit;
            tb = t;
        }
    }
    // Orders 0.5 and 2 in one pass over t: the criterion of order 0.5 is 1 / (1 - 0.5) = 2 times
    // the log of the product of the sums of roots, that of order 2 is 1 / (1 - 2) = -1 times the
    // log of the product of the sums of squares.
    // An empty bin adds sqrt(0) = 0 and 0 squared, nothing, so only occupied bins are visited.
    // The one exception is an object class sum P2[t] of 0, which happens only when every bin
    // above t is empty; the full sum is then NaN (0 / 0) and the skipped one 0, and both give the
    // criterion 0.
    int ta = 0, tc = 0;
    double bestA = 0.0, bestC = 0.0;
    for (int t = first; t <= last; ++t) {
        double backRoots = 0.0, backSquares = 0.0;
        for (int i = 0; i <= t; ++i)
            if (hist[i] != 0) {
                const double q = p[i] / P1[t];
                backRoots += std::sqrt(q);
                backSquares += q * q;
            }
        double objectRoots = 0.0, objectSquares = 0.0;
        for (int i = t + 1; i < kBins; ++i)
            if (hist[i] != 0) {
                const double q = p[i] / P2[t];
                objectRoots += std::sqrt(q);
                objectSquares += q * q;
            }
        const double roots = backRoots * objectRoots;
        const double critA = 2.0 * (roots > 0.0 ? std::log(roots) : 0.0);
        if (critA > bestA) {
            bestA = critA;
            ta = t;
        }
        const double squares = backSquares * objectSquares;
        const double critC = -1.0 * (squares > 0.0 ? std::log(squares) : 0.0);
        if (critC > bestC) {
            bestC = critC;
            tc = t;
        }
    }
    return renyiCombine(ta, tb, tc, P1, P2);
}

}  // namespace qv::imaging
