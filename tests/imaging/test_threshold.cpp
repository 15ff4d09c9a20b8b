// Histograms, their smoothing, the automatic threshold methods and the value mapping. Expected
// thresholds were worked out by hand from small histograms; a second group compares the methods
// whose loops skip empty bins with a plain transcription of their formulas.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "QV_Tools.h"
#include "imaging/imaging_internal.h"
#include "support/log_capture.h"

namespace {

using qvtest::clear;
using qvtest::LogTest;
namespace im = qv::imaging;

struct Expected {
    int method;
    int threshold;
};

class Threshold : public LogTest {
protected:
    void TearDown() override {
        im::testing::failAllocation(0);
        LogTest::TearDown();
    }
    static void expectAll(const std::vector<unsigned char>& image, int width, int height,
                          const std::vector<Expected>& table) {
        for (const Expected& e : table)
            EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(image.data(), width, height, e.method), e.threshold)
                << "method " << e.method;
    }
};

TEST_F(Threshold, HistogramMatchesOneCounterPerByte) {
    std::mt19937 rng(7);
    std::vector<unsigned char> bytes(5000);
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    // Runs of equal bytes, also across the 16-byte blocks, and tails of every length.
    for (int i = 100; i < 180; ++i) bytes[i] = 42;
    for (int i = 1000; i < 1016; ++i) bytes[i] = 7;
    for (unsigned count : {0u, 1u, 15u, 16u, 17u, 31u, 200u, 1016u, 5000u}) {
        unsigned int expected[256] = {};
        for (unsigned i = 0; i < count; ++i) ++expected[bytes[i]];
        unsigned int hist[256];
        std::fill(hist, hist + 256, 99u);
        EXPECT_EQ(QV_ImageProcessing_CreateHistogram(bytes.data(), count, 0, 0, hist), 0);
        EXPECT_TRUE(std::equal(hist, hist + 256, expected)) << count;
    }
    unsigned int hist[256];
    EXPECT_EQ(QV_ImageProcessing_CreateHistogram(nullptr, 4, 2, 2, hist), -3);
    EXPECT_FAILED(1, -3, "QV_ImageProcessing_CreateHistogram", "imgPtr is NULL");
}

TEST_F(Threshold, SmoothingIsABoxMeanInIntegers) {
    unsigned int source[256] = {};
    source[0] = 10, source[1] = 20, source[2] = 30, source[3] = 40, source[4] = 51, source[5] = 1000;
    unsigned int smoothed[256];
    EXPECT_EQ(QV_ImageProcessing_SmoothHistogram(source, 4, smoothed), 0);
    EXPECT_EQ(smoothed[0], 151u / 5);           // bins 0..4: five values, remainder dropped
    EXPECT_EQ(smoothed[1], 1151u / 6);          // bins 0..5
    EXPECT_EQ(smoothed[9], 1000u / 9);          // bins 5..13
    EXPECT_EQ(smoothed[255], 0u);
    EXPECT_EQ(QV_ImageProcessing_SmoothHistogram(source, 0, smoothed), 0);
    EXPECT_EQ(smoothed[4], 51u);
    EXPECT_EQ(QV_ImageProcessing_SmoothHistogram(source, 1000, smoothed), 0);
    EXPECT_EQ(smoothed[128], 1151u / 256);
    EXPECT_EQ(QV_ImageProcessing_SmoothHistogram(source, -1, smoothed), 0);
    EXPECT_EQ(smoothed[5], 0u);
    EXPECT_EQ(QV_ImageProcessing_SmoothHistogram(nullptr, 4, smoothed), -3);
    EXPECT_FAILED(1, -3, "QV_ImageProcessing_SmoothHistogram", "sourceHist is NULL");
}

TEST_F(Threshold, UniformImage) {
    const std::vector<unsigned char> image(16, 100);
    expectAll(image, 4, 4,
              {{eThresholdOtsu, 0}, {eThresholdMoments, -1}, {eThresholdMaxEntropy, -1}, {eThresholdHuang, -1},
               {eThresholdLi, 0}, {eThresholdMean, 100}, {eThresholdShanbhag, -1}, {eThresholdTriangle, 98},
               {eThresholdYen, -1}, {eThresholdPercentile, 0}, {eThresholdRenyiEntropy, 0}});
    EXPECT_EQ(count(), 0u);
}

TEST_F(Threshold, TwoEqualSpikesAtTheEnds) {
    std::vector<unsigned char> image(16, 0);
    std::fill(image.begin() + 8, image.end(), 255);
    expectAll(image, 4, 4,
              {{eThresholdOtsu, 0}, {eThresholdMoments, 255}, {eThresholdMaxEntropy, -1}, {eThresholdHuang, 0},
               {eThresholdLi, 0}, {eThresholdMean, 127}, {eThresholdShanbhag, 0}, {eThresholdTriangle, 2},
               {eThresholdPercentile, 0}, {eThresholdRenyiEntropy, 0}});
}

TEST_F(Threshold, ThreeOccupiedBins) {
    // 10, 20, 30, 30: every method has a distinct, hand-computed answer. Li stops with the new
    // estimate 22 at exactly the tolerance from the mean 22.5 and returns the t it tried, 23.
    const std::vector<unsigned char> image = {10, 20, 30, 30};
    expectAll(image, 2, 2,
              {{eThresholdOtsu, 20}, {eThresholdMoments, 20}, {eThresholdMaxEntropy, 20}, {eThresholdHuang, 20},
               {eThresholdLi, 23}, {eThresholdMean, 22}, {eThresholdShanbhag, 10}, {eThresholdTriangle, 28},
               {eThresholdYen, 20}, {eThresholdPercentile, 20}, {eThresholdRenyiEntropy, 20}});
}

TEST_F(Threshold, LiConvergesOnTheLogarithmicMean) {
    std::uint32_t hist[256] = {};
    hist[50] = hist[150] = 5;  // mean 100, then 100 / ln 3 = 91.02
    EXPECT_EQ(im::thresholdLi(hist), 91);
    std::uint32_t black[256] = {};
    black[0] = 9;  // both class means 0: stops at once
    EXPECT_EQ(im::thresholdLi(black), 0);
}

TEST_F(Threshold, EmptyHistograms) {
    std::uint32_t empty[256] = {};
    EXPECT_EQ(im::thresholdPercentile(empty), -1);
    EXPECT_EQ(im::thresholdMoments(empty), -1);
    EXPECT_EQ(im::thresholdMean(empty), -1);
    EXPECT_EQ(im::thresholdHuang(empty), -1);
    EXPECT_EQ(im::thresholdLi(empty), -1);
    EXPECT_EQ(im::thresholdMaxEntropy(empty), -1);
    EXPECT_EQ(im::thresholdShanbhag(empty), -1);
    EXPECT_EQ(im::thresholdYen(empty), -1);
    EXPECT_EQ(im::thresholdRenyiEntropy(empty), -1);
    EXPECT_EQ(im::thresholdOtsu(empty, 0, 0), 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Threshold, TriangleMirrorsForALongUpperTailAndRestores) {
    std::uint32_t hist[256] = {};
    hist[10] = 100;
    hist[200] = 1;
    // Mirrored: the line runs from bin 54 to the peak at 245; the farthest bin is 244.
    EXPECT_EQ(im::thresholdTriangle(hist), 256 - 244);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(hist[i], i == 10 ? 100u : i == 200 ? 1u : 0u) << i;

    std::uint32_t upper[256] = {};
    upper[240] = 100;
    upper[50] = 1;
    // Not mirrored: the lower end is bin 0 (bins 0 and 1 empty) and the farthest bin is 239.
    EXPECT_EQ(im::thresholdTriangle(upper), 238);
}

TEST_F(Threshold, OtsuNormalisesByTheImageSizeAndSkipsBin255) {
    std::uint32_t hist[256] = {};
    hist[50] = hist[200] = 8;
    EXPECT_EQ(im::thresholdOtsu(hist, 4, 4), 50);
    // Only bin 255 occupied, a quarter of a 4 x 4 image: P1 is 0 up to 254, so no variance.
    std::uint32_t top[256] = {};
    top[255] = 4;
    EXPECT_EQ(im::thresholdOtsu(top, 4, 4), 0);
}

TEST_F(Threshold, MeanFormsItsProductsIn32Bits) {
    std::uint32_t hist[256] = {};
    hist[255] = 20000000;  // 255 x 2e7 wraps to 805032704
    EXPECT_EQ(im::thresholdMean(hist), 40);
}

TEST_F(Threshold, MomentsWithCoincidingLevelsFollowsTheDivision) {
    // A nearly single-valued histogram: the discriminant c1^2 - 4 c0 rounds to exactly 0, so both
    // levels are 128 and p0 = (128 - m1) / 0 with m1 just above 128, minus infinity. The first
    // running sum, 0 at bin 0, already exceeds it.
    std::uint32_t hist[256] = {};
    hist[128] = 2204138361u;
    hist[129] = 1;
    EXPECT_EQ(im::thresholdMoments(hist), 0);
    // Levels that coincide above the mean give plus infinity: no running sum exceeds it.
    std::uint32_t single[256] = {};
    single[77] = 12;
    EXPECT_EQ(im::thresholdMoments(single), -1);
}

TEST_F(Threshold, HuangClassSumsAreSigned32BitIntegers) {
    // 200 x 11e6 = 2.2e9 passes 2^31: the running sums turn negative, and so do the class means
    // of every threshold whose class holds bin 200. The fuzzy entropy is then least at 20; with
    // sums that did not wrap (or wrapped as unsigned) it would be 100.
    std::uint32_t hist[256] = {};
    hist[20] = 1000;
    hist[100] = 1000;
    hist[200] = 11000000;
    EXPECT_EQ(im::thresholdHuang(hist), 20);
}

TEST_F(Threshold, RenyiWeights) {
    double P1[256], P2[256];
    for (int i = 0; i < 256; ++i) {
        P1[i] = (i + 1) / 256.0;
        P2[i] = 1.0 - P1[i];
    }
    EXPECT_EQ(im::renyiCombine(10, 12, 14, P1, P2), 13);  // both gaps small: 1, 2, 1
    EXPECT_EQ(im::renyiCombine(10, 12, 40, P1, P2), 37);  // first gap small: 0, 1, 3
    EXPECT_EQ(im::renyiCombine(10, 15, 40, P1, P2), 37);  // a gap of 5 still counts as small
    EXPECT_EQ(im::renyiCombine(10, 30, 33, P1, P2), 30);  // second gap small: 3, 1, 0
    EXPECT_EQ(im::renyiCombine(10, 30, 60, P1, P2), 52);  // both gaps large: 1, 2, 1
    EXPECT_EQ(im::renyiCombine(60, 10, 30, P1, P2), 52);  // any order
}

TEST_F(Threshold, UnknownMethodsGiveZeroSilently) {
    const std::vector<unsigned char> image = {10, 20, 30, 30};
    for (int method : {0, 10, 12, 15, 18, -1, 1000})
        EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(image.data(), 2, 2, method), 0) << method;
    EXPECT_EQ(count(), 0u);
}

TEST_F(Threshold, FindAutoThresholdRejectsBadImages) {
    const unsigned char pixel = 1;
    const char* message = "imageData is NULL and img height and width is not > 0";
    EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(nullptr, 2, 2, 1), -3);
    EXPECT_FAILED(1, -3, "QV_ImageProcessing_FindAutoThreshold", message);
    clear();
    EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(&pixel, 0, 1, 1), -3);
    EXPECT_FAILED(1, -3, "QV_ImageProcessing_FindAutoThreshold", message);
    clear();
    EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(&pixel, 1, -1, 1), -3);
    EXPECT_FAILED(1, -3, "QV_ImageProcessing_FindAutoThreshold", message);
}

TEST_F(Threshold, WorkingArrayFailures) {
    const std::vector<unsigned char> image = {10, 20, 30, 30};
    const std::string prefix = "not enough memory to allocate specified memory amount for the ";
    struct Case {
        int method;
        int nth;  // which allocation of the call fails
        const char* function;
        const char* array;
    };
    const Case cases[] = {
        {1, 1, "QV_ImageProcessing_FindAutoThreshold", "histogram"},
        {1, 2, "QV_ImageProcessing_FindAutoThreshold", "smoothed histogram"},
        {16, 3, "QV_ImageProcessing_FindThresholdByPercentile", "avec"},
        {2, 3, "QV_ImageProcessing_FindThresholdByMoments", "histo"},
        {3, 3, "QV_ImageProcessing_FindThresholdByEntropy", "norm_histo"},
        {3, 4, "QV_ImageProcessing_FindThresholdByEntropy", "P1"},
        {3, 5, "QV_ImageProcessing_FindThresholdByEntropy", "P2"},
        {17, 4, "QV_ImageProcessing_FindThresholdByRenyiEntropy", "P1"},
        {7, 5, "QV_ImageProcessing_FindThresholdByShanbhag", "P2"},
        {4, 3, "QV_ImageProcessing_FindThresholdByHuang", "mu_0"},
        {4, 4, "QV_ImageProcessing_FindThresholdByHuang", "mu_1"},
        {9, 3, "QV_ImageProcessing_FindThresholdByYen", "norm_histo"},
        {9, 4, "QV_ImageProcessing_FindThresholdByYen", "P1"},
        {9, 5, "QV_ImageProcessing_FindThresholdByYen", "P1_sq"},
        {9, 6, "QV_ImageProcessing_FindThresholdByYen", "P2_sq"},
    };
    for (const Case& c : cases) {
        clear();
        im::testing::failAllocation(c.nth);
        EXPECT_EQ(QV_ImageProcessing_FindAutoThreshold(image.data(), 2, 2, c.method), -3) << c.array;
        EXPECT_FAILED(1, -3, c.function, prefix + c.array + " array ");
        im::testing::failAllocation(0);
    }
}

TEST_F(Threshold, EveryMethodRejectsANullHistogram) {
    const std::pair<int, const char*> methods[] = {
        {1, "Otsu"}, {2, "Moments"}, {3, "Entropy"}, {4, "Huang"}, {5, "Li"}, {6, "Mean"},
        {7, "Shanbhag"}, {8, "Triangle"}, {9, "Yen"}, {16, "Percentile"}, {17, "RenyiEntropy"}};
    for (const auto& [number, name] : methods) {
        clear();
        EXPECT_EQ(im::thresholdByMethod(nullptr, 2, 2, number), -3) << name;
        EXPECT_FAILED(1, -3, std::string("QV_ImageProcessing_FindThresholdBy") + name, "ptrHistValue is NULL");
    }
}

TEST_F(Threshold, MapRange) {
    int result = -1;
    EXPECT_EQ(QV_ImageProcessing_MapRange(5, &result, 0, 10, 0, 100), 0);
    EXPECT_EQ(result, 50);
    // Scaled from 0: srcMin only sets the width of the source range.
    EXPECT_EQ(QV_ImageProcessing_MapRange(5, &result, 5, 15, 0, 100), 0);
    EXPECT_EQ(result, 50);
    EXPECT_EQ(QV_ImageProcessing_MapRange(5, &result, 0, 10, 20, 120), 0);
    EXPECT_EQ(result, 70);
    // Truncated towards zero; single precision (16777217 has no float).
    EXPECT_EQ(QV_ImageProcessing_MapRange(-5, &result, 0, 10, 0, 3), 0);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(QV_ImageProcessing_MapRange(16777217, &result, 0, 1, 0, 1), 0);
    EXPECT_EQ(result, 16777216);
    EXPECT_EQ(count(), 0u);

    EXPECT_EQ(QV_ImageProcessing_MapRange(5, &result, 0, 10, 7, 7), -5);
    EXPECT_EQ(result, 0);
    EXPECT_FAILED(2, -5, "QV_ImageProcessing_MapRange", "destination interval has size 0, cannot map value");

    // The ratio is taken first, in single precision: (1 / 41) x 41 is 0.99999994f, whereas
    // 1 x 41 / 41 or double precision would give 1; (1 / 49) x 49 is exactly 1.0f, where double
    // precision gives 0.9999999999999999.
    EXPECT_EQ(QV_ImageProcessing_MapRange(41, &result, 0, 41, 0, 1), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(QV_ImageProcessing_MapRange(49, &result, 0, 49, 0, 1), 0);
    EXPECT_EQ(result, 1);

    // A mapped value without a 32-bit integer (an empty source range gives an infinity or NaN,
    // or simply too large) is still a success; the result is INT_MIN, the conversion's
    // "no integer" value on x86-64.
    clear();
    result = -1;
    EXPECT_EQ(QV_ImageProcessing_MapRange(5, &result, 3, 3, 0, 10), 0);
    EXPECT_EQ(result, INT_MIN);
    result = -1;
    EXPECT_EQ(QV_ImageProcessing_MapRange(0, &result, 3, 3, 0, 10), 0);
    EXPECT_EQ(result, INT_MIN);
    result = -1;
    EXPECT_EQ(QV_ImageProcessing_MapRange(2000000000, &result, 0, 1, 0, 100), 0);
    EXPECT_EQ(result, INT_MIN);
    EXPECT_EQ(QV_ImageProcessing_MapRange(-2147483647 - 1, &result, 0, 1, 0, 1), 0);
    EXPECT_EQ(result, INT_MIN);
    EXPECT_EQ(count(), 0u);
}

// ---- Plain transcriptions of the methods whose loops skip work -------------------------------

struct Cumulative {
    double p[256], P1[256], P2[256];
    int first = 0, last = 255;
    explicit Cumulative(const std::uint32_t* h) {
        double total = 0;
        for (int i = 0; i < 256; ++i) total += h[i];
        for (int i = 0; i < 256; ++i) p[i] = h[i] / total;
        P1[0] = p[0];
        P2[0] = 1.0 - P1[0];
        for (int i = 1; i < 256; ++i) P1[i] = P1[i - 1] + p[i], P2[i] = 1.0 - P1[i];
        for (int i = 0; i < 256; ++i)
            if (std::fabs(P1[i]) >= DBL_EPSILON) { first = i; break; }
        for (int i = 255; i >= first; --i)
            if (std::fabs(P2[i]) >= DBL_EPSILON) { last = i; break; }
    }
};

double kapur(const std::uint32_t* h, const Cumulative& c, int t) {
    double b = 0, o = 0;
    for (int i = 0; i <= t; ++i)
        if (h[i]) b -= (c.p[i] / c.P1[t]) * std::log(c.p[i] / c.P1[t]);
    for (int i = t + 1; i < 256; ++i)
        if (h[i]) o -= (c.p[i] / c.P2[t]) * std::log(c.p[i] / c.P2[t]);
    return b + o;
}

int plainRenyi(const std::uint32_t* h) {
    const Cumulative c(h);
    int t3[3] = {0, 0, 0};
    double best[3] = {0, 0, 0};
    for (int t = c.first; t <= c.last; ++t) {
        double sb = 0, so = 0, qb = 0, qo = 0;
        for (int i = 0; i <= t; ++i) sb += std::sqrt(c.p[i] / c.P1[t]), qb += (c.p[i] / c.P1[t]) * (c.p[i] / c.P1[t]);
        for (int i = t + 1; i < 256; ++i)
            so += std::sqrt(c.p[i] / c.P2[t]), qo += (c.p[i] / c.P2[t]) * (c.p[i] / c.P2[t]);
        const double crit[3] = {2.0 * (sb * so > 0 ? std::log(sb * so) : 0), kapur(h, c, t),
                                -1.0 * (qb * qo > 0 ? std::log(qb * qo) : 0)};
        for (int k = 0; k < 3; ++k)
            if (crit[k] > best[k]) best[k] = crit[k], t3[k] = t;
    }
    return im::renyiCombine(t3[0], t3[1], t3[2], c.P1, c.P2);
}

int plainShanbhag(const std::uint32_t* h) {
    const Cumulative c(h);
    double best = DBL_MAX;
    int threshold = -1;
    for (int t = c.first; t <= c.last; ++t) {
        double b = 0, o = 0, a = 0.5 / c.P1[t], bb = 0.5 / c.P2[t];
        for (int i = 1; i <= t; ++i) b -= c.p[i] * std::log(1.0 - a * c.P1[i - 1]);
        for (int i = t + 1; i < 256; ++i) o -= c.p[i] * std::log(1.0 - bb * c.P2[i]);
        const double d = std::fabs(b * a - o * bb);
        if (d < best) best = d, threshold = t;
    }
    return threshold;
}

int plainHuang(const std::uint32_t* h) {
    int first = 0, last = 255;
    for (int i = 0; i < 256; ++i)
        if (h[i]) { first = i; break; }
    for (int i = 255; i >= first; --i)
        if (h[i]) { last = i; break; }
    if (first == last) return -1;
    const double C = 1.0 / (last - first);
    double mu0[256] = {}, mu1[256] = {};
    std::uint32_t s = 0, n = 0;  // 32-bit sums read as signed integers
    for (int i = first; i < 256; ++i)
        s += i * h[i], n += h[i], mu0[i] = double(std::int32_t(s)) / double(std::int32_t(n));
    s = n = 0;
    for (int i = last; i > 0; --i)
        s += i * h[i], n += h[i], mu1[i - 1] = double(std::int32_t(s)) / double(std::int32_t(n));
    auto S = [](double m) { return m < 1e-6 || m > 0.999999 ? 0.0 : -m * std::log(m) - (1 - m) * std::log(1 - m); };
    double best = DBL_MAX;
    int threshold = -1;
    for (int t = 0; t < 256; ++t) {
        double e = 0;
        for (int i = 0; i <= t; ++i) e += h[i] * S(1.0 / (1.0 + C * std::fabs(i - mu0[t])));
        for (int i = t + 1; i < 256; ++i) e += h[i] * S(1.0 / (1.0 + C * std::fabs(i - mu1[t])));
        if (e < best) best = e, threshold = t;
    }
    return threshold;
}

TEST_F(Threshold, SkippingEmptyBinsChangesNoResult) {
    std::mt19937 rng(2026);
    for (int trial = 0; trial < 300; ++trial) {
        std::uint32_t h[256] = {};
        // From a single spike to a full histogram, with counts from 1 to large.
        const int occupied = 2 + trial % 40 + (trial % 7 == 0 ? 200 : 0);
        const std::uint32_t scale = trial % 3 == 0 ? 1u : trial % 3 == 1 ? 1000u : 1000000u;
        for (int k = 0; k < occupied; ++k) h[rng() % 256] += 1 + rng() % scale;
        if (trial % 25 == 0) std::fill(h, h + 256, 0u), h[rng() % 256] = 1 + trial;  // one spike
        EXPECT_EQ(im::thresholdRenyiEntropy(h), plainRenyi(h)) << trial;
        EXPECT_EQ(im::thresholdShanbhag(h), plainShanbhag(h)) << trial;
        EXPECT_EQ(im::thresholdHuang(h), plainHuang(h)) << trial;
    }
}

}  // namespace
