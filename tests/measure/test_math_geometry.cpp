// Distances, slopes from angles, the sine table, intersections, range overlap, the polygon walk,
// the point-in-outline test and the float helpers.
#include <cmath>
#include <limits>
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;

class MathGeometry : public MeasureTest {};
class MathPolygon : public MeasureTest {};

TEST_F(MathGeometry, Distances) {
    EXPECT_EQ(QV_MathTools_EuclideanDistanceInPx(0, 0, 3, 4), 5.0);
    EXPECT_EQ(QV_MathTools_EuclideanDistanceInPx(0, 0, 50000, 0), 50000.0);
    // The y square is 32-bit: 50000^2 wraps to a negative number.
    EXPECT_TRUE(std::isnan(QV_MathTools_EuclideanDistanceInPx(0, 0, 0, 50000)));
    EXPECT_EQ(QV_MathTools_EuclideanDistanceInWorld(0, 0, 0, -2, 1, 1), -2.0f);
    EXPECT_FLOAT_EQ(QV_MathTools_EuclideanDistanceInWorld(0, 0, 3, 4, 2, 0.5), std::sqrt(40.0f));
    EXPECT_EQ(QV_MathTools_GetAngleForPoints(1, 0, 0, 1, 0, 0), 0.0);  // a cosine, not an angle
    EXPECT_NEAR(QV_MathTools_GetAngleForPoints(3, 1, 1, 1, 2, 1), -1.0, 1e-9);
    const QV_MathRect r1 = {0, 0, 10, 10}, r2 = {10, 6, 10, 2};
    EXPECT_FLOAT_EQ(QV_MathTools_AbsDistanceBetweenRects(r1, r2, 2.0f, 1.0f), std::sqrt(400.0f + 4.0f));
}

TEST_F(MathGeometry, SlopesAndSineTable) {
    float slope = 0;
    EXPECT_EQ(QV_MathTools_SlopeFromDegrees(45, 1, 2, &slope), 0);
    EXPECT_NEAR(slope, 0.5f, 1e-6);
    EXPECT_EQ(QV_MathTools_SlopeFromDegrees(45, 1, 0, &slope), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_SlopeFromDegrees", "scale factors must not be 0");
    EXPECT_EQ(QV_MathTools_SlopeFromDegrees(45, 1, 1, nullptr), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_SlopeFromDegrees", "output argument is NULL");
    float c = 9, s = 9;
    QV_MathTools_SinCos(-90, &c, &s);  // entries 270 and 180
    EXPECT_EQ(s, -1.0f);
    EXPECT_NEAR(c, 0.0f, 1e-7);
    QV_MathTools_SinCos(1, &c, &s);
    EXPECT_NEAR(s, 0.0174524f, 1e-7);
    QV_MathTools_SinCos(450, &c, &s);
    EXPECT_EQ(s, 1.0f);
    EXPECT_EQ(c, 0.0f);
    c = s = 9;
    QV_MathTools_SinCos(451, &c, &s);  // outside the table: nothing written
    QV_MathTools_SinCos(-361, &c, &s);
    EXPECT_EQ(c, 9.0f);
    EXPECT_EQ(s, 9.0f);
}

TEST_F(MathGeometry, LineIntersections) {
    QV_MathPoint2f out = {-1, -1};
    EXPECT_EQ(QV_MathTools_IntersectLines({0, 0}, 1, {0, 2}, -1, &out), 0);
    EXPECT_EQ(out.x, 1.0f);
    EXPECT_EQ(out.y, 1.0f);
    EXPECT_EQ(QV_MathTools_IntersectLines({0, 0}, 1, {0, 2}, 1, &out), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_IntersectLines", "given lines are parallel");
    EXPECT_EQ(QV_MathTools_IntersectLines({0, 0}, 1, {0, 2}, -1, nullptr), 0);
    out = {-1, -1};
    EXPECT_EQ(QV_MathTools_IntersectPtLines({0, 0}, {4, 2}, {0, 3}, {3, 0}, &out), 0);
    EXPECT_FLOAT_EQ(out.x, 2.0f);
    EXPECT_FLOAT_EQ(out.y, 1.0f);
    EXPECT_EQ(QV_MathTools_IntersectPtLines({1, 0}, {1, 5}, {0, 3}, {3, 0}, &out), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_IntersectPtLines", "invalid points");
}

TEST_F(MathGeometry, SegmentIntersections) {
    float x = -7, y = -7;
    EXPECT_EQ(QV_MathTools_FindIntersectionBetweenLines(0, 0, 2, 2, 0, 2, 2, 0, &x, &y), 0);
    EXPECT_FLOAT_EQ(x, 1.0f);
    EXPECT_FLOAT_EQ(y, 1.0f);
    // The lines cross at (1.5, 1.5), beyond the end of the first segment.
    EXPECT_EQ(QV_MathTools_FindIntersectionBetweenLines(0, 0, 1, 1, 3, 0, 4, -1, &x, &y), -1);
    EXPECT_FLOAT_EQ(x, 1.5f);
    EXPECT_FLOAT_EQ(y, 1.5f);
    x = y = -7;
    EXPECT_EQ(QV_MathTools_FindIntersectionBetweenLines(0, 0, 2, 0, 0, 1, 3, 1, &x, &y), -1);
    EXPECT_EQ(x, -7.0f);  // parallel: untouched
    EXPECT_EQ(count(), 0u);
}

TEST_F(MathGeometry, RangeOverlap) {
    float start = -1, end = -1;
    EXPECT_EQ(QV_MathTools_CalcRangeOverlap(0, 10, 5, 20, &start, &end), 5.0f);
    EXPECT_EQ(start, 5.0f);
    EXPECT_EQ(end, 10.0f);
    EXPECT_EQ(QV_MathTools_CalcRangeOverlap(10, 0, 20, 5, &start, &end), 5.0f);
    EXPECT_EQ(QV_MathTools_CalcRangeOverlap(0, 1, 5, 6, &start, &end), 0.0f);
    EXPECT_EQ(start, 5.0f);
    EXPECT_EQ(end, 0.0f);
}

TEST_F(MathGeometry, FloatHelpers) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    EXPECT_EQ(QV_IsInfiniteF(inf), 1);
    EXPECT_EQ(QV_IsInfiniteF(-inf), 1);
    EXPECT_EQ(QV_IsInfiniteF(nan), 0);
    EXPECT_EQ(QV_IsNanF(nan), 1);
    EXPECT_EQ(QV_IsNanF(inf), 0);
    EXPECT_EQ(QV_IsNanF(1.0f), 0);
    EXPECT_EQ(QV_AlmostEqualF(0.0f, -0.0f), 1);
    float ten = 1.0f, eleven;
    for (int i = 0; i < 10; ++i) ten = std::nextafter(ten, 2.0f);
    eleven = std::nextafter(ten, 2.0f);
    EXPECT_EQ(QV_AlmostEqualF(1.0f, ten), 1);
    EXPECT_EQ(QV_AlmostEqualF(1.0f, eleven), 0);
    // Across zero: five steps on each side are ten apart.
    const float tiny = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(QV_AlmostEqualF(-5 * tiny, 5 * tiny), 1);
    EXPECT_EQ(QV_AlmostEqualF(-5 * tiny, 6 * tiny), 0);
}

TEST_F(MathPolygon, WalkThatReturnsToItsStart) {
    // Start at the top (5, 10); from there every direction points down (angle 0), so the first
    // other point follows; from (0, 0) the start is the steepest up-right direction.
    const double x[] = {0, 10, 5}, y[] = {0, 0, 10};
    double ox[3] = {}, oy[3] = {};
    int n = -1;
    EXPECT_EQ(QV_MathTools_FindSmallestPolygon(x, y, 3, ox, oy, &n), 2);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(ox[0], 5.0);
    EXPECT_EQ(oy[0], 10.0);
    EXPECT_EQ(ox[1], 0.0);
    EXPECT_EQ(oy[1], 0.0);
    const double same[] = {4, 4};
    EXPECT_EQ(QV_MathTools_FindSmallestPolygon(same, same, 2, ox, oy, &n), 1);
}

TEST_F(MathPolygon, WalkThatNeverClosesIsStoppedAtCount) {
    // A square: the walk goes (0,10), (0,0), (10,10), (0,0), (10,10) ... and never returns.
    const double x[] = {0, 10, 10, 0}, y[] = {0, 0, 10, 10};
    std::vector<double> ox(4), oy(4);  // exactly count entries: overrunning would be caught by ASan
    int n = -1;
    EXPECT_EQ(QV_MathTools_FindSmallestPolygon(x, y, 4, ox.data(), oy.data(), &n), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_FindSmallestPolygon", "polygon walk did not return to its start point");
    EXPECT_EQ(n, 4);
    EXPECT_EQ(ox, (std::vector<double>{0, 0, 10, 0}));
    EXPECT_EQ(oy, (std::vector<double>{10, 0, 10, 0}));
}

TEST_F(MathPolygon, PointInOutlineWithStraightAndCurvedSegments) {
    const double square[] = {0, 0, 10, 0, 10, 10, 0, 10, -2.0};
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(square, 5, 5), 0);
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(square, 15, 5), 1);   // two crossings
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(square, -5, 5), -1);  // none
    // Right side bulges through control point (20, 5) and reaches x = 15 at y = 5.
    const double bulge[] = {0, 0, 10, 0, 2.0, 20, 5, 10, 10, 0, 10, -2.0};
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(bulge, 14, 5), 0);
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(bulge, 16, 5), 1);
    // Two control points in a row meet at their midpoint (10, 5); at y = 1 the curve is at
    // x = 6.94, while the chord from (0, 0) to (10, 5) would be at x = 2.
    const double round[] = {0, 0, 2.0, 10, 0, 2.0, 10, 10, 0, 10, -2.0};
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(round, 6, 1), 0);
    EXPECT_NE(QV_MathTools_PointInSplinePoly(round, 8, 1), 0);
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(round, 9, 5), 0);
    // A second contour (3.0) cuts a hole.
    const double holed[] = {0, 0, 10, 0, 10, 10, 0, 10, 3.0, 4, 4, 6, 4, 6, 6, 4, 6, -2.0};
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(holed, 1, 5), 0);
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(holed, 5, 5), 1);
    const double empty[] = {-2.0};
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(empty, 0, 0), -1);
    EXPECT_EQ(QV_MathTools_PointInSplinePoly(nullptr, 0, 0), -1);
}

}  // namespace
