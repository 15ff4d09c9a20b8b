// Profile mean, mean removal, the three match scores, the correlation curve and the bit mask.
#include <cmath>
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;
using Samples = std::vector<int16_t>;
constexpr unsigned kNone = 0xFFFFFFFFu;

class ProfileStats : public MeasureTest {};
class ProfileMatch : public MeasureTest {};
class ProfileCorrelation : public MeasureTest {};

TEST_F(ProfileStats, CalcMeanUsesEveryStepthSample) {
    const Samples p = {1, 100, 3, 100, 5};
    double mean = 0;
    EXPECT_EQ(QV_ProfileTools_CalcMean(p.data(), 5, 2, &mean), 3);
    EXPECT_DOUBLE_EQ(mean, 3.0);
    EXPECT_EQ(QV_ProfileTools_CalcMean(p.data(), -1, 1, &mean), 0);  // no sample: 0/0
    EXPECT_TRUE(std::isnan(mean));
    EXPECT_EQ(count(), 0u);
}

TEST_F(ProfileStats, CalcMeanFailures) {
    const Samples p = {1, 2};
    EXPECT_EQ(QV_ProfileTools_CalcMean(nullptr, 2, 1, nullptr), -5);
    EXPECT_FAILED(1, -5, "QV_ProfileTools_CalcMean", "input data invalid");
    EXPECT_EQ(QV_ProfileTools_CalcMean(p.data(), 0, 1, nullptr), -5);
    EXPECT_EQ(QV_ProfileTools_CalcMean(p.data(), 2, 0, nullptr), -5);  // would never end
    EXPECT_FAILED(1, -5, "QV_ProfileTools_CalcMean", "input data invalid");
}

TEST_F(ProfileStats, NormalizeTruncatesTowardZeroAndShiftsEverySample) {
    Samples out(4);
    double mean = 0;
    const Samples p = {3, 1, 4, 2};  // mean 2.5
    EXPECT_EQ(QV_ProfileTools_NormalizeProfile(p.data(), 4, out.data(), 1, &mean), 0);
    EXPECT_EQ(out, (Samples{0, -1, 1, 0}));
    EXPECT_DOUBLE_EQ(mean, 2.5);
    // Step 2: the mean of 3 and 4 (3.5) is removed from all four samples.
    EXPECT_EQ(QV_ProfileTools_NormalizeProfile(p.data(), 4, out.data(), 2, &mean), 0);
    EXPECT_EQ(out, (Samples{0, -2, 0, -1}));
    // A stepped mean of exactly 0 copies, in place too.
    Samples q = {2, 7, -2};
    EXPECT_EQ(QV_ProfileTools_NormalizeProfile(q.data(), 3, q.data(), 2, &mean), 0);
    EXPECT_EQ(q, (Samples{2, 7, -2}));
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(QV_ProfileTools_NormalizeProfile(p.data(), 4, out.data(), 0, &mean), -2);
    EXPECT_FAILED(1, -2, "QV_ProfileTools_NormalizeProfile",
                       "input profile output profile pointer is NULL or step size invalid");
}

TEST_F(ProfileStats, FilterBitMask) {
    std::vector<uint16_t> src = {0x0005, 0x0003, 0x0004}, dst(3, 7);
    EXPECT_EQ(QV_ProfileTools_FilterBitMask(src.data(), dst.data(), 3, 0x0004, 100, 0), 0);
    EXPECT_EQ(dst, (std::vector<uint16_t>{100, 0, 100}));
    EXPECT_EQ(QV_ProfileTools_FilterBitMask(src.data(), nullptr, 3, 0x0004, 100, 0), 0);
    EXPECT_EQ(src, (std::vector<uint16_t>{100, 0, 100}));
    EXPECT_EQ(QV_ProfileTools_FilterBitMask(nullptr, dst.data(), 3, 1, 1, 0), -5);
    EXPECT_FAILED(1, -5, "QV_ProfileTools_FilterBitMask", "mask or destination array is  NULL");
    EXPECT_EQ(QV_ProfileTools_FilterBitMask(src.data(), dst.data(), 0, 1, 1, 0), -5);
    EXPECT_FAILED(1, -5, "QV_ProfileTools_FilterBitMask", "w < 1");
}

// Runs all three match functions; returns their offsets (cross, squared difference, NCC).
std::vector<unsigned> matchAll(const Samples& test, const Samples& ref, int step, int normalize = 0,
                               double* ncc = nullptr) {
    unsigned a = 1234, b = 1234, c = 1234;
    const int n = static_cast<int>(test.size()), m = static_cast<int>(ref.size());
    EXPECT_EQ(QV_ProfileTools_MatchProfilesCrossCorr(test.data(), n, ref.data(), m, step, normalize, &a), 0);
    EXPECT_EQ(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(test.data(), n, ref.data(), m, step, normalize, &b), 0);
    EXPECT_EQ(QV_ProfileTools_MatchProfilesNormalizedCrossCorr(test.data(), n, ref.data(), m, step,
                                                               normalize, ncc, &c), 0);
    return {a, b, c};
}

TEST_F(ProfileMatch, LastOffsetIsNeverTried) {
    // The test profile equals the reference's tail (offset 4), which is not a candidate.
    EXPECT_EQ(matchAll({1, 2, 3}, {0, 0, 0, 0, 1, 2, 3}, 1), (std::vector<unsigned>{3, 3, 3}));
    // One sample shorter: only offset 0 is tried, even though offset 1 fits exactly.
    EXPECT_EQ(matchAll({1, 2, 3}, {0, 1, 2, 3}, 1), (std::vector<unsigned>{0, 0, 0}));
}

TEST_F(ProfileMatch, TiesKeepTheLowerOffset) {
    EXPECT_EQ(matchAll({1, 1}, {5, 5, 5, 5, 5, 5}, 1), (std::vector<unsigned>{0, 0, 0}));
    // Offsets 0, 2 and 4 score alike in all three (the 9 lies beyond the last candidate).
    EXPECT_EQ(matchAll({1, 2}, {1, 2, 1, 2, 1, 2, 9}, 1), (std::vector<unsigned>{0, 0, 0}));
}

TEST_F(ProfileMatch, CrossCorrPairsContiguousTestWithSteppedReference) {
    // With step 2, test[0] and test[1] meet reference[o] and reference[o+2]: the score is
    // r[o] - r[o+2], best at offset 2; a common stride (test[0], test[2]) would pick offset 0.
    unsigned offset = 0;
    const Samples test = {1, -1, 5, 0}, ref = {0, 0, 3, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesCrossCorr(test.data(), 4, ref.data(), 10, 2, 0, &offset), 0);
    EXPECT_EQ(offset, 2u);
    // The normalised score advances both profiles by the step: test[0], test[2] against
    // ref[o], ref[o+2]; (1, 2) is matched exactly at offset 2.
    double corr = 0;
    const Samples t2 = {1, 100, 2}, r2 = {0, 0, 1, 50, 2, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesNormalizedCrossCorr(t2.data(), 3, r2.data(), 6, 2, 0, &corr, &offset), 0);
    EXPECT_EQ(offset, 2u);
    EXPECT_DOUBLE_EQ(corr, 1.0);
}

TEST_F(ProfileMatch, ScoreLimitsAndWrappedSquares) {
    unsigned offset = 0;
    // A product of -1073709056 never beats the starting score of -1e9.
    const Samples neg = {-32768}, high = {32767, 32767, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesCrossCorr(neg.data(), 1, high.data(), 3, 1, 0, &offset), 0);
    EXPECT_EQ(offset, kNone);
    // Squares are 32-bit: 32768^2 = 2^30 is not below 1e9, 65535^2 wraps to -131071 and wins.
    const Samples ref = {0, 32767, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(neg.data(), 1, ref.data(), 3, 1, 0, &offset), 0);
    EXPECT_EQ(offset, 1u);
    const Samples zeros = {0, 0, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(neg.data(), 1, zeros.data(), 3, 1, 0, &offset), 0);
    EXPECT_EQ(offset, kNone);
    // Exactly anti-proportional: -1.0 is never beaten.
    double corr = 0;
    const Samples t = {1, 2}, r = {-1, -2, -3};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesNormalizedCrossCorr(t.data(), 2, r.data(), 3, 1, 0, &corr, &offset), 0);
    EXPECT_EQ(offset, kNone);
    EXPECT_EQ(corr, -1.0);
}

TEST_F(ProfileMatch, SumsAre64BitAndSqrDiffPairsContiguousTestWithSteppedReference) {
    unsigned offset = 0;
    // Offset 3 scores 3 * 32767^2 = 3221028867, beyond 32 bits; offset 2 scores 2147352578.
    const Samples high = {32767, 32767, 32767}, ref = {0, 0, 0, 32767, 32767, 32767, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesCrossCorr(high.data(), 3, ref.data(), 7, 1, 0, &offset), 0);
    EXPECT_EQ(offset, 3u);
    // Squared differences of 4.5e9 and 4e9 are both above the starting 1e9: no offset (a
    // 32-bit sum would wrap below it).
    const Samples zeros = {0, 0, 0, 0, 0}, far = {30000, 30000, 30000, 30000, 30000, 20000, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(zeros.data(), 5, far.data(), 7, 1, 0, &offset), 0);
    EXPECT_EQ(offset, kNone);
    // Step 2: test[0], test[1] meet reference[o], reference[o+2] and match exactly at offset 1;
    // a common stride (test[0], test[2]) would pick offset 3.
    const Samples t = {5, 7, 0, 0}, r = {0, 5, 0, 7, 0, 0, 0, 0};
    EXPECT_EQ(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(t.data(), 4, r.data(), 8, 2, 0, &offset), 0);
    EXPECT_EQ(offset, 1u);
}

TEST_F(ProfileMatch, NormalizeWorksOnCopies) {
    const Samples test = {11, 12, 13}, ref = {10, 10, 10, 10, 11, 12, 13, 10, 10};
    const Samples testBefore = test, refBefore = ref;
    // Mean-free copies: test {-1, 0, 1}, reference {0, 0, 0, 0, 0, 1, 2, 0, 0} (truncated).
    // Cross-correlation peaks at 4 (score 2); the squared difference (1) and the normalised
    // score (1/sqrt(2)) prefer offset 3.
    double corr = 0;
    EXPECT_EQ(matchAll(test, ref, 1, 1, &corr), (std::vector<unsigned>{4, 3, 3}));
    EXPECT_DOUBLE_EQ(corr, 1.0 / std::sqrt(2.0));
    EXPECT_EQ(test, testBefore);
    EXPECT_EQ(ref, refBefore);
}

TEST_F(ProfileMatch, Failures) {
    const Samples a = {1, 2, 3};
    unsigned offset = 77;
    const char* names[] = {"QV_ProfileTools_MatchProfilesCrossCorr", "QV_ProfileTools_MatchProfilesSqrDiffSumCorr",
                           "QV_ProfileTools_MatchProfilesNormalizedCrossCorr"};
    for (int f = 0; f < 3; ++f) {
        const auto run = [&](const int16_t* t, int n, int step) {
            if (f == 0) return QV_ProfileTools_MatchProfilesCrossCorr(t, n, a.data(), 3, step, 0, &offset);
            if (f == 1) return QV_ProfileTools_MatchProfilesSqrDiffSumCorr(t, n, a.data(), 3, step, 0, &offset);
            return QV_ProfileTools_MatchProfilesNormalizedCrossCorr(t, n, a.data(), 3, step, 0, nullptr, &offset);
        };
        EXPECT_EQ(run(a.data(), 3, 1), -5);
        EXPECT_FAILED(1, -5, names[f], "test profile must be shorter than reference profile");
        EXPECT_EQ(run(nullptr, 2, 1), -2);
        EXPECT_FAILED(1, -2, names[f], "reference profile or test profile is NULL, or stepSize is invalid");
        EXPECT_EQ(run(a.data(), 2, 0), -2);
    }
    EXPECT_EQ(offset, 77u);
}

TEST_F(ProfileCorrelation, SignedSquaredCoefficientWithIntegerMeans) {
    std::vector<double> curve(3, -9);
    double best = -9;
    unsigned pos = 9;
    // a = {1, 2}: integer mean 1, centred {0, 1}. Shift 1 is constant (0/0), shift 2 scores 0
    // (a double mean would give -1 there).
    const Samples a = {1, 2}, b = {1, 2, 2, 1};
    EXPECT_EQ(QV_ProfileTools_Correlation(a.data(), b.data(), 2, 4, 1, curve.data(), &best, &pos), 0);
    EXPECT_DOUBLE_EQ(curve[0], 1.0);
    EXPECT_TRUE(std::isnan(curve[1]));
    EXPECT_DOUBLE_EQ(curve[2], 0.0);
    EXPECT_EQ(best, 1.0);
    EXPECT_EQ(pos, 0u);
    // Equal counts: one shift; a falling stretch scores -1 and nothing is positive.
    const Samples up = {1, 2, 3}, down = {3, 2, 1};
    EXPECT_EQ(QV_ProfileTools_Correlation(up.data(), down.data(), 3, 3, 1, curve.data(), &best, &pos), 0);
    EXPECT_DOUBLE_EQ(curve[0], -1.0);
    EXPECT_EQ(best, 0.0);
    EXPECT_EQ(pos, 0u);
    // Ties keep the first shift.
    const Samples periodic = {1, 2, 1, 2, 1};
    std::vector<double> c4(4);
    EXPECT_EQ(QV_ProfileTools_Correlation(a.data(), periodic.data(), 2, 5, 1, c4.data(), &best, &pos), 0);
    EXPECT_EQ(c4[2], c4[0]);
    EXPECT_EQ(pos, 0u);
}

TEST_F(ProfileCorrelation, ProductsOfCentredSamplesAre32Bit) {
    // a = {-32768, 32767, 32767, 32767}: integer mean 16383, centred {-49151, 16384, 16384,
    // 16384}. (-49151)^2 = 2415820801 wraps in 32 bits to -1879146495, so aa = bb = x =
    // -1073840127 and the self-correlation is -(x^2 / (aa * bb)) = -1, not +1.
    const Samples a = {-32768, 32767, 32767, 32767};
    double curve = 9, best = -9;
    unsigned pos = 9;
    EXPECT_EQ(QV_ProfileTools_Correlation(a.data(), a.data(), 4, 4, 1, &curve, &best, &pos), 0);
    EXPECT_DOUBLE_EQ(curve, -1.0);
    EXPECT_EQ(best, 0.0);
    EXPECT_EQ(pos, 0u);
    // Below the wrap-around the same shape correlates with +1.
    const Samples small = {-16384, 16383, 16383, 16383};
    EXPECT_EQ(QV_ProfileTools_Correlation(small.data(), small.data(), 4, 4, 1, &curve, &best, &pos), 0);
    EXPECT_DOUBLE_EQ(curve, 1.0);
    EXPECT_DOUBLE_EQ(best, 1.0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(ProfileCorrelation, SilentFailures) {
    std::vector<int16_t> big(1001, 1);
    std::vector<double> curve(2);
    double best = 0;
    unsigned pos = 0;
    EXPECT_EQ(QV_ProfileTools_Correlation(big.data(), big.data(), 1001, 1001, 1, curve.data(), &best, &pos), -1);
    EXPECT_EQ(QV_ProfileTools_Correlation(big.data(), big.data(), 3, 2, 1, curve.data(), &best, &pos), -1);
    EXPECT_EQ(QV_ProfileTools_Correlation(big.data(), big.data(), 0, 2, 1, curve.data(), &best, &pos), -1);
    EXPECT_EQ(QV_ProfileTools_Correlation(big.data(), big.data(), 2, 3, 0, curve.data(), &best, &pos), -1);
    EXPECT_EQ(QV_ProfileTools_Correlation(big.data(), big.data(), 2, 3, 1, nullptr, &best, &pos), -1);
    EXPECT_EQ(count(), 0u);
}

}  // namespace
