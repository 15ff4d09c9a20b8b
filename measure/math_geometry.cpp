// Geometry of the math tools: distances, the cosine between two vectors, slopes from angles,
// the sine table, line and segment intersections and the overlap of two ranges.
#include <cmath>
#include <cstdint>

#include "measure/measure_internal.h"

namespace {

// sin(k degrees) for k = 0 ... 450; the cosine of a is entry 450 - a.
struct SineTable {
    float values[451];
    SineTable() {
        for (int k = 0; k <= 450; ++k) values[k] = static_cast<float>(std::sin(k * M_PI / 180.0));
    }
};

const SineTable& sineTable() {
    static const SineTable table;
    return table;
}

}  // namespace

extern "C" {

QV_API double QV_MathTools_EuclideanDistanceInPx(int x1, int y1, int x2, int y2) {
    const double dx = static_cast<double>(qv::measure::wrapSub(x1, x2));
    const int32_t dy = qv::measure::wrapSub(y1, y2);
    // The y term is squared in 32 bits and wraps for differences beyond 46340; kept that way.
    return std::sqrt(dx * dx + qv::measure::wrapMul(dy, dy));
}

QV_API float QV_MathTools_EuclideanDistanceInWorld(double x1, double y1, double x2, double y2,
                                                   double scaleX, double scaleY) {
    const double dx = (x2 - x1) * scaleX;
    const double dy = (y2 - y1) * scaleY;
    const double s = dx * dx + dy * dy;
    const double d = s >= 0.0 ? std::sqrt(s) : 0.0;
    return static_cast<float>(dy < 0.0 ? -d : d);  // the sign follows the y direction
}

QV_API double QV_MathTools_GetAngleForPoints(double x1, double y1, double x2, double y2, double cx,
                                             double cy) {
    const double ax = x1 - cx, ay = y1 - cy, bx = x2 - cx, by = y2 - cy;
    const double dot = ax * bx + ay * by;
    return dot / std::sqrt((ax * ax + ay * ay) * (bx * bx + by * by) + 1e-10);
}

QV_API int QV_MathTools_SlopeFromDegrees(float angle, float scale1, float scale2, float* slope) {
    constexpr const char* kFn = "QV_MathTools_SlopeFromDegrees";
    if (!slope) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "output argument is NULL");
    if (scale1 == 0.0f || scale2 == 0.0f)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "scale factors must not be 0");
    *slope = std::tan(angle / 180.0f * 3.1415927f) / (scale2 / scale1);
    return 0;
}

QV_API void QV_MathTools_SinCos(int angle, float* cosine, float* sine) {
    const int a = angle < 0 ? angle + 360 : angle;
    if (a < 0 || a > 450) return;  // guard: outside the table
    if (sine) *sine = sineTable().values[a];
    if (cosine) *cosine = sineTable().values[450 - a];
}

QV_API float QV_MathTools_AbsDistanceBetweenRects(QV_MathRect r1, QV_MathRect r2, float scaleX,
                                                  float scaleY) {
    const double dx = ((r2.x + 0.5 * r2.width) - (r1.x + 0.5 * r1.width)) * scaleX;
    const double dy = ((r2.y + 0.5 * r2.height) - (r1.y + 0.5 * r1.height)) * scaleY;
    return static_cast<float>(std::sqrt(dx * dx + dy * dy));
}

QV_API int QV_MathTools_IntersectLines(QV_MathPoint2f p1, float m1, QV_MathPoint2f p2, float m2,
                                       QV_MathPoint2f* out) {
    constexpr const char* kFn = "QV_MathTools_IntersectLines";
    if (m1 == m2) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "given lines are parallel");
    if (!out) return 0;
    const float b1 = p1.y - p1.x * m1;
    out->x = (p2.y - p2.x * m2 - b1) / (m1 - m2);
    out->y = out->x * m1 + b1;
    return 0;
}

QV_API int QV_MathTools_IntersectPtLines(QV_MathPoint2f p1, QV_MathPoint2f p2, QV_MathPoint2f p3,
                                         QV_MathPoint2f p4, QV_MathPoint2f* out) {
    constexpr const char* kFn = "QV_MathTools_IntersectPtLines";
    if (p1.x == p2.x || p3.x == p4.x) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid points");
    const float m1 = (p2.y - p1.y) / (p2.x - p1.x);
    const float m2 = (p4.y - p3.y) / (p4.x - p3.x);
    return QV_MathTools_IntersectLines(p1, m1, p3, m2, out);
}

QV_API int QV_MathTools_FindIntersectionBetweenLines(float x1, float y1, float x2, float y2, float x3,
                                                     float y3, float x4, float y4, float* outX,
                                                     float* outY) {
    const float d1x = x2 - x1, d1y = y2 - y1, d2x = x4 - x3, d2y = y4 - y3;
    const float len1 = std::sqrt(d1x * d1x + d1y * d1y);
    const float len2 = std::sqrt(d2x * d2x + d2y * d2y);
    if (std::fabs((d1x * d2x + d1y * d2y) / (len1 * len2)) == 1.0f) return -1;  // parallel
    const float t = ((y1 - y3) * d2x - (x1 - x3) * d2y) / (d2y * d1x - d2x * d1y);
    const float px = x1 + t * d1x, py = y1 + t * d1y;
    if (outX) *outX = px;
    if (outY) *outY = py;
    const auto dist = [](float ax, float ay, float bx, float by) {
        return std::sqrt((ax - bx) * (ax - bx) + (ay - by) * (ay - by));
    };
    const bool onFirst = std::fabs(len1 - (dist(px, py, x1, y1) + dist(px, py, x2, y2))) <= 0.01f;
    const bool onSecond = std::fabs(len2 - (dist(px, py, x3, y3) + dist(px, py, x4, y4))) <= 0.01f;
    return onFirst && onSecond ? 0 : -1;
}

QV_API float QV_MathTools_CalcRangeOverlap(float a1, float a2, float b1, float b2, float* start,
                                           float* end) {
    const float aLo = a1 < a2 ? a1 : a2, aHi = a1 > a2 ? a1 : a2;
    const float bLo = b1 < b2 ? b1 : b2, bHi = b1 > b2 ? b1 : b2;
    const float lo = aLo > bLo ? aLo : bLo;
    const float hi = aHi < bHi ? aHi : bHi;
    const float length = hi - lo;
    if (start) *start = lo;
    if (length > 0.0f) {
        if (end) *end = hi;
        return length;
    }
    if (end) *end = 0.0f;
    return 0.0f;
}

}  // extern "C"
