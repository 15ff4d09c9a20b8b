// Quantiles, line and circle fits, slopes, minimum/maximum searches, sums and the integral.
#include <cfloat>
#include <cmath>
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;

class MathStats : public MeasureTest {};

TEST_F(MathStats, QuantileMedianAndTrimmedMean) {
    const double four[] = {4, 1, 3, 2};
    double trimmed = -1, quantile = -1;
    EXPECT_EQ(QV_MathTools_PQuantile(four, 4, 0.5, &trimmed, &quantile), 0);
    EXPECT_EQ(trimmed, 2.5);
    EXPECT_EQ(quantile, 2.5);
    EXPECT_EQ(QV_MathTools_PQuantile(four, 4, 0.75, &trimmed, &quantile), 0);
    EXPECT_DOUBLE_EQ(quantile, 3.25);   // position 3 * 0.75 between 3 and 4
    EXPECT_DOUBLE_EQ(trimmed, 2.0);     // q = 0.25: sorted[0 ... 2]
    // Ten values, p = 0.2: lo = trunc(2) - 1 = 1, hi = round(8) - 1 = 7, so 2 ... 8 are kept
    // (one value dropped below, two above).
    const double ten[] = {100, 9, 8, 7, 6, 5, 4, 3, 2, 1};
    EXPECT_EQ(QV_MathTools_PQuantile(ten, 10, 0.2, &trimmed, &quantile), 0);
    EXPECT_DOUBLE_EQ(trimmed, 5.0);
    EXPECT_DOUBLE_EQ(quantile, 2.8);
    EXPECT_EQ(count(), 0u);
}

TEST_F(MathStats, TrimmedMeanRoundsTheUpperBoundHalfUp) {
    // count 6, q = 0.25: lo = trunc(1.5) - 1 = 0, hi = round(4.5) - 1 = 4: the mean of 1 ... 5.
    const double six[] = {6, 5, 4, 3, 2, 1};
    double trimmed = -1, quantile = -1;
    EXPECT_EQ(QV_MathTools_PQuantile(six, 6, 0.25, &trimmed, &quantile), 0);
    EXPECT_DOUBLE_EQ(trimmed, 3.0);
    EXPECT_DOUBLE_EQ(quantile, 2.25);
    EXPECT_EQ(QV_MathTools_PQuantile(six, 6, 0.75, &trimmed, &quantile), 0);
    EXPECT_DOUBLE_EQ(trimmed, 3.0);
    EXPECT_DOUBLE_EQ(quantile, 4.75);
    EXPECT_EQ(count(), 0u);
}

TEST_F(MathStats, QuantileRangeTooSmallIsLoggedButNotFailed) {
    const double two[] = {5, 1};
    double trimmed = -1, quantile = -1;
    EXPECT_EQ(QV_MathTools_PQuantile(two, 2, 0.3, &trimmed, &quantile), 0);
    EXPECT_FAILED(1, -5, "QV_MathTools_PQuantile", "invalid range");
    EXPECT_EQ(trimmed, -1);
    EXPECT_DOUBLE_EQ(quantile, 2.2);
    EXPECT_EQ(QV_MathTools_PQuantile(two, 2, 1.5, &trimmed, &quantile), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_PQuantile", "p must be in [0,1] and numVals must be > 0");
    EXPECT_EQ(QV_MathTools_PQuantile(two, 0, 0.5, &trimmed, &quantile), -5);
}

TEST_F(MathStats, LinearFitWithStrides) {
    const double xy[] = {0, 0, 1, 1, 2, 0};  // x and y interleaved
    double c0 = 0, c1 = 0, msr = 0;
    EXPECT_EQ(QV_MathTools_LinearFit(xy, xy + 1, 3, 2, 2, &c0, &c1, &msr), 0);
    EXPECT_NEAR(c0, 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(c1, 0.0, 1e-12);
    EXPECT_NEAR(msr, (6.0 / 9.0) / 3.0, 1e-12);  // residuals -1/3, 2/3, -1/3
    EXPECT_EQ(QV_MathTools_LinearFit(xy, xy + 1, 1, 2, 2, &c0, &c1, &msr), -2);
    EXPECT_FAILED(1, -2, "QV_MathTools_LinearFit", "Null or invalid argument");
    EXPECT_EQ(QV_MathTools_LinearFit(xy, xy + 1, 3, 0, 2, &c0, &c1, &msr), -2);
}

TEST_F(MathStats, SlopeOfVerticalPairs) {
    const double a[] = {1, 1}, b[] = {1, 5}, c[] = {3, 9};
    double slope = -1;
    EXPECT_EQ(QV_MathTools_CalcSlope(a, c, &slope), 0);
    EXPECT_EQ(slope, 4.0);
    EXPECT_EQ(QV_MathTools_CalcSlope(a, b, &slope), -5);
    EXPECT_EQ(slope, DBL_MAX);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_MathTools_CalcSlope(b, a, &slope), -5);
    EXPECT_EQ(slope, 0.0);
    EXPECT_FAILED(2, -5, "QV_MathTools_CalcSlope", "points are equal, cannot calc slope");
}

TEST_F(MathStats, CircleFitIterations) {
    std::vector<double> pts;
    for (int i = 0; i < 8; ++i) {
        pts.push_back(2 + 5 * std::cos(i * M_PI / 4));
        pts.push_back(3 + 5 * std::sin(i * M_PI / 4));
    }
    double cx = 0, cy = 0, r = 0;
    EXPECT_EQ(QV_MathTools_CircleFit(8, pts.data(), &cx, &cy, &r), 0);  // the mean is the centre
    EXPECT_NEAR(cx, 2, 1e-9);
    EXPECT_NEAR(cy, 3, 1e-9);
    EXPECT_NEAR(r, 5, 1e-9);
    const double triangle[] = {0, 0, 4, 0, 0, 3};  // circumcircle (2, 1.5), radius 2.5
    const int it = QV_MathTools_CircleFit(3, triangle, &cx, &cy, &r);
    EXPECT_GT(it, 0);
    EXPECT_LT(it, 256);
    EXPECT_NEAR(cx, 2, 1e-4);
    EXPECT_NEAR(cy, 1.5, 1e-4);
    EXPECT_NEAR(r, 2.5, 1e-4);
    // A short arc settles too slowly: -1 after 256 iterations, the last estimate written.
    std::vector<double> arc;
    for (int i = 0; i < 5; ++i) {
        arc.push_back(2 + 5 * std::cos(i * 0.3));
        arc.push_back(3 + 5 * std::sin(i * 0.3));
    }
    cx = cy = r = -99;
    EXPECT_EQ(QV_MathTools_CircleFit(5, arc.data(), &cx, &cy, &r), -1);
    EXPECT_NEAR(cx, 2, 0.5);
    EXPECT_NEAR(r, 5, 0.5);
}

TEST_F(MathStats, MinMaxSearches) {
    const int16_t v[] = {3, -2, 7, -2, 7};
    int lo = 0, hi = 0;
    unsigned loI = 9, hiI = 9;
    EXPECT_EQ(QV_MathTools_GetMinMax(v, 5, &lo, &hi, &loI, &hiI), 0);
    EXPECT_EQ(lo, -2);
    EXPECT_EQ(hi, 7);
    EXPECT_EQ(loI, 1u);
    EXPECT_EQ(hiI, 2u);
    int16_t slo = 0, shi = 0;
    EXPECT_EQ(QV_GetMinMax(v, 5, &slo, &shi, &loI, &hiI), 0);
    EXPECT_EQ(slo, -2);
    EXPECT_EQ(shi, 7);
    EXPECT_EQ(loI, 1u);
    EXPECT_EQ(hiI, 2u);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_MathTools_GetMinMax(v, 0, &lo, &hi, nullptr, nullptr), -5);  // both searches fail
    EXPECT_LAST_FAILURE(1, -5, "Max1D(257): need at least one value");
    EXPECT_EQ(QV_MathTools_GetMinMax(nullptr, 5, &lo, &hi, nullptr, nullptr), -2);
    EXPECT_FAILED(1, -2, "QV_MathTools_GetMinMax", "i_piArray is NULL");
    EXPECT_EQ(QV_GetMinMax(v, 0, &slo, &shi, nullptr, nullptr), -5);
    EXPECT_FAILED(1, -5, "QV_GetMinMax", "value array is NULL, or number of values invalid");
}

std::vector<float> g_nodes;
float recordSquare(float x) {
    g_nodes.push_back(x);
    return x * x;
}

TEST_F(MathStats, SumsAndTrapezoids) {
    const int v[] = {1, 2, 3};
    EXPECT_EQ(QV_MathTools_PartialSum(v, 1), 3.0);
    EXPECT_EQ(QV_MathTools_PartialSum(v, -1), 0.0);
    EXPECT_EQ(QV_MathTools_PartialSum(nullptr, 2), 0.0);
    g_nodes.clear();
    // Two intervals on [0, 1]: (0 + 0.25) * 0.25 + (0.25 + 1) * 0.25 = 0.375.
    EXPECT_FLOAT_EQ(QV_MathTools_ApproximateIntegral(recordSquare, 0.0f, 1.0f, 1), 0.375f);
    EXPECT_EQ(g_nodes, (std::vector<float>{0.0f, 0.5f, 1.0f}));
    g_nodes.clear();
    QV_MathTools_ApproximateIntegral(recordSquare, 0.0f, 1.0f, 2);
    ASSERT_EQ(g_nodes.size(), 4u);
    EXPECT_EQ(g_nodes[2], 1.0f / 3.0f + 1.0f / 3.0f);
    EXPECT_EQ(g_nodes[3], 1.0f);  // the last node is b itself
    EXPECT_EQ(QV_MathTools_CubicSplineFit(), 0);
}

}  // namespace
