// The random five-point ellipse fit and the spline resampling.
#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;

class EllipseFit : public MeasureTest {};
class SplineResampling : public MeasureTest {};

CvPoint pt(int x, int y) {
    CvPoint p;
    p.x = x;
    p.y = y;
    return p;
}

// The twelve integer points of x^2 + y^2 = 25 stretched by 2 in x: exactly on the ellipse with
// centre (100, 50) and semi-axes 10 and 5, so any five of them give that ellipse.
std::vector<CvPoint> exactEllipse() {
    const int c[12][2] = {{5, 0}, {-5, 0}, {0, 5}, {0, -5}, {3, 4}, {-3, 4}, {3, -4}, {-3, -4},
                          {4, 3}, {-4, 3}, {4, -3}, {-4, -3}};
    std::vector<CvPoint> pts;
    for (const auto& p : c) pts.push_back(pt(100 + 2 * p[0], 50 + p[1]));
    return pts;
}

TEST_F(EllipseFit, FiveExactPointsGiveTheEllipse) {
    std::vector<CvPoint> pts = exactEllipse();
    pts.push_back(pt(100, 50));  // the centre: inside
    pts.push_back(pt(130, 50));  // outside
    std::srand(3);
    int status = 9;
    std::vector<CvPoint> inliers;
    // Only the first twelve take part in the draws; all fourteen are tested as inliers.
    const QV_Ellipse e = QV_MathTools_FitEllipse(pts, 12, &status, &inliers);
    EXPECT_EQ(status, 0);
    EXPECT_NEAR(e.centerX, 100, 1e-6);
    EXPECT_NEAR(e.centerY, 50, 1e-6);
    EXPECT_NEAR(e.axis1, 10, 1e-6);
    EXPECT_NEAR(e.axis2, 5, 1e-6);
    EXPECT_NEAR(e.angle, 0, 1e-6);
    const double f = std::sqrt(75.0);
    EXPECT_NEAR(e.focus1X, 100 - f, 1e-6);
    EXPECT_NEAR(e.focus2X, 100 + f, 1e-6);
    EXPECT_NEAR(e.focus1Y, 50, 1e-6);
    bool centre = false, far = false;
    for (const CvPoint& p : inliers) {
        centre = centre || (p.x == 100 && p.y == 50);
        far = far || p.x == 130;
    }
    EXPECT_TRUE(centre);
    EXPECT_FALSE(far);
}

TEST_F(EllipseFit, ExactTiltedEllipseHasItsFociOnTheMajorAxis) {
    // u^2 + u v + v^2 = 3 around (10, 20): semi-axes sqrt(6) along (1, -1) and sqrt(2) along
    // (1, 1), foci 2 from the centre on the major axis. Any five of the six points fix it.
    const int c[6][2] = {{1, 1}, {-1, -1}, {1, -2}, {-1, 2}, {2, -1}, {-2, 1}};
    std::vector<CvPoint> pts;
    for (const auto& p : c) pts.push_back(pt(10 + p[0], 20 + p[1]));
    for (unsigned seed = 1; seed <= 5; ++seed) {
        std::srand(seed);
        int status = 9;
        const QV_Ellipse e = QV_MathTools_FitEllipse(pts, 6, &status, nullptr);
        EXPECT_EQ(status, 0);
        EXPECT_NEAR(e.centerX, 10, 1e-6);
        EXPECT_NEAR(e.centerY, 20, 1e-6);
        EXPECT_NEAR(e.axis1, std::sqrt(6.0), 1e-6);
        EXPECT_NEAR(e.axis2, std::sqrt(2.0), 1e-6);
        EXPECT_NEAR(std::fmod(e.angle + 360, 180), 135, 1e-6);
        // The foci, in either order, are (10 -+ sqrt 2, 20 +- sqrt 2).
        const double r2 = std::sqrt(2.0);
        const double fx = std::min(e.focus1X, e.focus2X), fy = std::max(e.focus1Y, e.focus2Y);
        EXPECT_NEAR(fx, 10 - r2, 1e-6);
        EXPECT_NEAR(fy, 20 + r2, 1e-6);
        EXPECT_NEAR(e.focus1X + e.focus2X, 20, 1e-6);
        EXPECT_NEAR(e.focus1Y + e.focus2Y, 40, 1e-6);
        EXPECT_NEAR((e.focus1X - 10) * (e.focus1Y - 20), -2, 1e-6);  // on the (1, -1) line
    }
}

TEST_F(EllipseFit, TiltedEllipseFromRoundedPoints) {
    std::vector<CvPoint> pts;
    const double tilt = 30 * M_PI / 180;
    for (int i = 0; i < 72; ++i) {
        const double t = i * 2 * M_PI / 72, x = 120 * std::cos(t), y = 60 * std::sin(t);
        pts.push_back(pt(static_cast<int>(std::lround(300 + x * std::cos(tilt) - y * std::sin(tilt))),
                         static_cast<int>(std::lround(200 + x * std::sin(tilt) + y * std::cos(tilt)))));
    }
    std::srand(1);
    int status = 9;
    const QV_Ellipse e = QV_MathTools_FitEllipse(pts, 72, &status, nullptr);
    EXPECT_EQ(status, 0);
    // Five rounded points fix the ellipse only roughly.
    EXPECT_NEAR(e.centerX, 300, 5);
    EXPECT_NEAR(e.centerY, 200, 5);
    EXPECT_NEAR(e.axis1, 120, 8);
    EXPECT_NEAR(e.axis2, 60, 8);
    EXPECT_NEAR(std::fmod(e.angle + 180, 180), 30, 3);
    EXPECT_GT(e.axis1, e.axis2);
}

TEST_F(EllipseFit, DegeneratePointSetsEndWithAStatus) {
    std::vector<CvPoint> line;
    for (int i = 0; i < 10; ++i) line.push_back(pt(i, 2 * i));
    int status = 0;
    QV_Ellipse e = QV_MathTools_FitEllipse(line, 10, &status, nullptr);
    EXPECT_EQ(status, -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_FitEllipse", "no ellipse found in 1000 draws");
    EXPECT_EQ(e.axis1, 0.0);
    e = QV_MathTools_FitEllipse(line, 4, &status, nullptr);
    EXPECT_EQ(status, -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_FitEllipse", "need at least 5 points, 4 given (10 in the vector)");
    e = QV_MathTools_FitEllipse(line, 11, &status, nullptr);
    EXPECT_EQ(status, -5);
}

TEST_F(SplineResampling, LinearThroughSteppedSupportPoints) {
    const double y[] = {0, 1, 4, 9, 16, 25};
    double out[6] = {};
    // count 6, step 2: support points 0, 2, 4 with values 0, 4, 16; 5 lies beyond them.
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y, nullptr, 6, 0, 2, 1, out), 6);
    EXPECT_EQ(std::vector<double>(out, out + 5), (std::vector<double>{0, 2, 4, 10, 16}));
    EXPECT_TRUE(std::isnan(out[5]));
    // count 5, step 2: 5/2 truncates to 2 support points (0 and 2).
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y, nullptr, 5, 0, 2, 1, out), 5);
    EXPECT_TRUE(std::isnan(out[3]));
    // Weights: only samples with a weight above 0.5 are kept (0, 2, 3).
    const double w[] = {1, 1, 1, 1, 0.5};
    double out2[5] = {};
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y, w, 5, 0.5, 1, 1, out2), 5);
    EXPECT_DOUBLE_EQ(out2[1], 1.0);
    EXPECT_DOUBLE_EQ(out2[3], 9.0);
    EXPECT_TRUE(std::isnan(out2[4]));  // beyond the last support point
    // Polynomial through three points of x^2 is x^2.
    const double q[] = {0, 1, 4, 9, 16, 25};
    double out3[6] = {};
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, q, nullptr, 6, 0, 2, 4, out3), 6);
    EXPECT_NEAR(out3[3], 9.0, 1e-9);
    EXPECT_TRUE(std::isnan(out3[5]));
    // type 0 copies
    double copy[5] = {};
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y, nullptr, 5, 0, 1, 0, copy), 0);
    EXPECT_EQ(copy[4], 16.0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(SplineResampling, StepsPositionsAndFailures) {
    std::vector<double> y(10, 1.0), out(10, -1.0);
    const char* fn = "QV_MathTools_SplineInterpolation";
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), nullptr, 10, 0, 6, 1, out.data()), -5);
    EXPECT_FAILED(1, -5, fn, "invalid step size");  // 10/6 truncates to 1
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), nullptr, 10, 0, 20, 1, out.data()), 10);
    EXPECT_EQ(out[9], 1.0);  // step 20 became 1
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), nullptr, 10, 0, 1, 5, out.data()), -5);
    EXPECT_FAILED(1, -5, fn, "invalid interpolation type");
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, nullptr, nullptr, 10, 0, 1, 1, out.data()), -2);
    EXPECT_FAILED(1, -2, fn, "an input or output parameter is NULL or invalid");
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), nullptr, 1, 0, 1, 1, out.data()), -2);
    const double x[] = {0, 2, 1, 3};
    EXPECT_EQ(QV_MathTools_SplineInterpolation(x, y.data(), nullptr, 4, 0, 1, 1, out.data()), -5);
    EXPECT_FAILED(1, -5, fn, "x values must be provided in ascending order");
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), nullptr, 4, 0, 1, 3, out.data()), -5);
    EXPECT_FAILED(1, -5, fn, "not enough data values given for the selected interpolation type, "
                                  "5 values needed for spline type akima");
    // No weight above the threshold: nothing written, 0 returned.
    std::vector<double> w(10, 0.0), untouched(10, -1.0);
    EXPECT_EQ(QV_MathTools_SplineInterpolation(nullptr, y.data(), w.data(), 10, 0, 1, 2, untouched.data()), 0);
    EXPECT_EQ(untouched[0], -1.0);
    // Positions given: the output is still evaluated at 0 ... count-1.
    const double xs[] = {0, 1, 2, 3, 4}, ys[] = {0, 10, 20, 30, 40};
    double o[5] = {};
    EXPECT_EQ(QV_MathTools_SplineInterpolation(xs, ys, nullptr, 5, 0, 1, 2, o), 5);
    EXPECT_NEAR(o[3], 30.0, 1e-9);
}

}  // namespace
