// Matching a short test profile inside a longer reference profile: cross-correlation, sum of
// squared differences and normalised cross-correlation over the offsets 0 ... referenceCount -
// testCount - 1. The kernels keep every product in 32 bits and every sum exact in 64 bits; with
// step 1 they are plain dot products that the compiler vectorises. The main loop runs over a
// multiple of 16 terms (n & ~15) so that the vectoriser needs no scalar epilogue, which lets it
// work at -O2 too; the remaining terms follow in a short scalar loop.
#include <cmath>
#include <functional>
#include <new>
#include <vector>

#include "measure/measure_internal.h"

// On x86-64 the kernels are also built for AVX2 and picked at load time when the CPU has it.
#if defined(__GNUC__) && defined(__x86_64__) && !defined(__clang__)
#define QV_MATCH_KERNEL __attribute__((target_clones("avx2", "default")))
#else
#define QV_MATCH_KERNEL
#endif

namespace {

// Kernels over one candidate offset: n terms in reference index space, the test read
// contiguously, the reference with `step`. Internal linkage keeps the load-time selectors of the
// AVX2 clones out of the library's exports.
QV_MATCH_KERNEL int64_t crossSum(const int16_t* test, const int16_t* ref, int n, int step) {
    int64_t sum = 0;
    if (step == 1) {
        const int nMain = n > 0 ? n & ~15 : 0;
        for (int k = 0; k < nMain; ++k) sum += static_cast<int32_t>(test[k] * ref[k]);
        for (int k = nMain; k < n; ++k) sum += static_cast<int32_t>(test[k] * ref[k]);
        return sum;
    }
    for (int r = 0, k = 0; r < n; r += step, ++k) sum += static_cast<int32_t>(test[k] * ref[r]);
    return sum;
}

QV_MATCH_KERNEL int64_t sqrDiffSum(const int16_t* test, const int16_t* ref, int n, int step) {
    int64_t sum = 0;
    if (step == 1) {
        const int nMain = n > 0 ? n & ~15 : 0;
        for (int k = 0; k < nMain; ++k) {
            const int32_t d = ref[k] - test[k];
            sum += qv::measure::wrapMul(d, d);  // the square wraps in 32 bits beyond |d| = 46340
        }
        for (int k = nMain; k < n; ++k) {
            const int32_t d = ref[k] - test[k];
            sum += qv::measure::wrapMul(d, d);
        }
        return sum;
    }
    for (int r = 0, k = 0; r < n; r += step, ++k) {
        const int32_t d = ref[r] - test[k];
        sum += qv::measure::wrapMul(d, d);
    }
    return sum;
}

QV_MATCH_KERNEL void nccSums(const int16_t* test, const int16_t* ref, int n, int step, int64_t* rt, int64_t* rr) {
    int64_t sumRt = 0, sumRr = 0;
    if (step == 1) {
        const int nMain = n > 0 ? n & ~15 : 0;
        for (int i = 0; i < nMain; ++i) {
            sumRt += static_cast<int32_t>(ref[i] * test[i]);
            sumRr += static_cast<int32_t>(ref[i] * ref[i]);
        }
        for (int i = nMain; i < n; ++i) {
            sumRt += static_cast<int32_t>(ref[i] * test[i]);
            sumRr += static_cast<int32_t>(ref[i] * ref[i]);
        }
    } else {
        for (int i = 0; i < n; i += step) {
            sumRt += static_cast<int32_t>(ref[i] * test[i]);
            sumRr += static_cast<int32_t>(ref[i] * ref[i]);
        }
    }
    *rt = sumRt;
    *rr = sumRr;
}

// Mean-free working copies of both profiles when asked for; otherwise the caller's arrays.
class MatchInput {
public:
    MatchInput(const int16_t* test, int testCount, const int16_t* ref, int refCount, bool normalize)
        : m_test(test), m_ref(ref) {
        if (!normalize) return;
        // Copies (a negative count gives an empty copy), each made mean-free over all of its
        // samples. A failure of the mean removal is logged by it and otherwise ignored.
        try {
            m_testCopy.assign(test, test + (testCount > 0 ? testCount : 0));
            m_refCopy.assign(ref, ref + (refCount > 0 ? refCount : 0));
        } catch (const std::bad_alloc&) {
            m_ok = false;
            return;
        }
        QV_ProfileTools_NormalizeProfile(m_testCopy.data(), testCount, m_testCopy.data(), 1, nullptr);
        QV_ProfileTools_NormalizeProfile(m_refCopy.data(), refCount, m_refCopy.data(), 1, nullptr);
        m_test = m_testCopy.data();
        m_ref = m_refCopy.data();
    }
    bool ok() const { return m_ok; }
    const int16_t* test() const { return m_test; }
    const int16_t* ref() const { return m_ref; }

private:
    const int16_t* m_test;
    const int16_t* m_ref;
    std::vector<int16_t> m_testCopy, m_refCopy;
    bool m_ok = true;
};

// The checks all three match functions share; 0 when the arguments are usable.
int checkMatchArguments(const char* kFn, const int16_t* test, int testCount, const int16_t* ref,
                        int refCount, int step) {
    if (!test || !ref || step < 1)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "reference profile or test profile is NULL, or stepSize is invalid");
    if (!(testCount < refCount))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "test profile must be shorter than reference profile");
    return 0;
}

// Scores the candidate offsets 0 ... refCount - testCount - 1 in increasing order (the offset
// refCount - testCount, where the test profile would end with the reference, is deliberately
// not tried). A score replaces `best` only when `better` holds strictly, so ties keep the
// earlier offset. Returns the chosen offset, -1 when no score beat the starting `best`.
template <class T, class Score, class Better>
int64_t bestOffset(int testCount, int refCount, T& best, Score score, Better better) {
    int64_t chosen = -1;
    const int64_t candidates = static_cast<int64_t>(refCount) - testCount;
    for (int64_t o = 0; o < candidates; ++o) {
        const T value = score(o);
        if (better(value, best)) {
            best = value;
            chosen = o;
        }
    }
    return chosen;
}

// The cross-correlation and squared-difference matches: the best 64-bit sum from `start`
// (-1e9 rising, or 1e9 falling), written to offset as an unsigned value (all bits set for none).
template <class Kernel, class Better>
int matchBySum(const char* kFn, const int16_t* test, int testCount, const int16_t* reference,
               int referenceCount, int step, int normalize, unsigned int* offset, int64_t start,
               Kernel kernel, Better better) {
    if (const int rc = checkMatchArguments(kFn, test, testCount, reference, referenceCount, step)) return rc;
    const MatchInput in(test, testCount, reference, referenceCount, normalize != 0);
    if (!in.ok()) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate memory");
    int64_t best = start;
    const int64_t chosen = bestOffset(
        testCount, referenceCount, best,
        [&](int64_t o) { return kernel(in.test(), in.ref() + o, testCount, step); }, better);
    if (offset) *offset = static_cast<unsigned int>(chosen);
    return 0;
}

}  // namespace

extern "C" {

QV_API int QV_ProfileTools_MatchProfilesCrossCorr(const int16_t* test, int testCount,
                                                  const int16_t* reference, int referenceCount,
                                                  int step, int normalize, unsigned int* offset) {
    return matchBySum("QV_ProfileTools_MatchProfilesCrossCorr", test, testCount, reference, referenceCount,
                      step, normalize, offset, -1000000000, crossSum, std::greater<>());
}

QV_API int QV_ProfileTools_MatchProfilesSqrDiffSumCorr(const int16_t* test, int testCount,
                                                       const int16_t* reference, int referenceCount,
                                                       int step, int normalize, unsigned int* offset) {
    return matchBySum("QV_ProfileTools_MatchProfilesSqrDiffSumCorr", test, testCount, reference,
                      referenceCount, step, normalize, offset, 1000000000, sqrDiffSum, std::less<>());
}

QV_API int QV_ProfileTools_MatchProfilesNormalizedCrossCorr(const int16_t* test, int testCount,
                                                            const int16_t* reference,
                                                            int referenceCount, int step,
                                                            int normalize, double* correlation,
                                                            unsigned int* offset) {
    constexpr const char* kFn = "QV_ProfileTools_MatchProfilesNormalizedCrossCorr";
    if (const int rc = checkMatchArguments(kFn, test, testCount, reference, referenceCount, step)) return rc;
    const MatchInput in(test, testCount, reference, referenceCount, normalize != 0);
    if (!in.ok()) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate memory");
    // The sums are defined in double. Every term is an integer below 2^30 in magnitude, so up
    // to 2^23 terms the double sums are exact and equal the 64-bit integer sums used here.
    constexpr int kExactTerms = 1 << 23;
    double tt = 0.0;
    for (int i = 0; i < testCount; i += step) tt += static_cast<int32_t>(in.test()[i] * in.test()[i]);
    double best = -1.0;
    const auto score = [&](int64_t o) {
        const int16_t* ref = in.ref() + o;
        double rt = 0.0, rr = 0.0;
        if (testCount <= kExactTerms) {
            int64_t irt = 0, irr = 0;
            nccSums(in.test(), ref, testCount, step, &irt, &irr);
            rt = static_cast<double>(irt);
            rr = static_cast<double>(irr);
        } else {
            for (int i = 0; i < testCount; i += step) {
                rt += static_cast<int32_t>(ref[i] * in.test()[i]);
                rr += static_cast<int32_t>(ref[i] * ref[i]);
            }
        }
        const double d = std::sqrt(rr * tt);
        return d > 0.0 ? rt / d : 0.0;
    };
    const int64_t chosen = bestOffset(testCount, referenceCount, best, score, std::greater<>());
    if (offset) *offset = static_cast<unsigned int>(chosen);
    if (correlation) *correlation = best;
    return 0;
}

}  // extern "C"
