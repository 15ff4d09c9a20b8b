// Polygon tools of the math tools: the angle-driven hull walk and the even-odd point test for
// outlines made of straight and quadratic segments.
#include <cmath>
#include <new>
#include <vector>

#include "measure/measure_internal.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

struct OutlinePoint {
    double x, y;
    bool onCurve;
};

// Parity of ray crossings toward -x. The state starts at -1 (no crossing) and is logically
// negated at each crossing: -1 -> 0 -> 1 -> 0 ..., so 0 means an odd number (inside).
struct Parity {
    double px, ty;
    int state = -1;

    void crossAt(double x) {
        if (px > x) state = !state;
    }

    void line(const OutlinePoint& a, const OutlinePoint& b) {
        if ((a.y < ty && ty <= b.y) || (b.y < ty && ty <= a.y))
            crossAt(a.x + (ty - a.y) / (b.y - a.y) * (b.x - a.x));
    }

    void curve(const OutlinePoint& s, OutlinePoint c, const OutlinePoint& e) {
        double A = 2.0 * (s.y - 2.0 * c.y + e.y);
        if (A == 0.0) {  // a straight (in y) curve: nudge the control point for this segment only
            c.y += 0.0001;
            A -= 0.0004;
        }
        const double B = 2.0 * (c.y - s.y);
        const double disc = B * B - 2.0 * A * (s.y - ty);
        if (disc < 0.0) return;
        for (int k = -1; k <= 1; k += 2) {
            const double t = (k * std::sqrt(disc) - B) / A;
            if (t >= 0.0 && t <= 1.0) {
                const double u = s.x + (c.x - s.x) * t;
                crossAt(u + ((e.x - c.x) * t + c.x - u) * t);
            }
        }
    }

    // Walks one closed contour; two control points in a row imply an on-curve midpoint.
    void contour(const std::vector<OutlinePoint>& pts) {
        const size_t n = pts.size();
        if (n == 0) return;
        const auto mid = [](const OutlinePoint& a, const OutlinePoint& b) {
            return OutlinePoint{(a.x + b.x) * 0.5, (a.y + b.y) * 0.5, true};
        };
        OutlinePoint start;
        size_t first = 0, last = n;  // the points walked after `start`
        if (pts[0].onCurve) {
            start = pts[0];
            first = 1;
        } else if (pts[n - 1].onCurve) {
            start = pts[n - 1];
            last = n - 1;
        } else {
            start = mid(pts[n - 1], pts[0]);
        }
        OutlinePoint cur = start;
        const OutlinePoint* control = nullptr;
        for (size_t i = first; i < last; ++i) {
            const OutlinePoint& p = pts[i];
            if (p.onCurve) {
                if (control) curve(cur, *control, p);
                else line(cur, p);
                cur = p;
                control = nullptr;
            } else {
                if (control) {
                    const OutlinePoint m = mid(*control, p);
                    curve(cur, *control, m);
                    cur = m;
                }
                control = &p;
            }
        }
        if (control) curve(cur, *control, start);
        else line(cur, start);
    }
};

}  // namespace

extern "C" {

QV_API int QV_MathTools_FindSmallestPolygon(const double* x, const double* y, int count, double* outX,
                                            double* outY, int* outCount) {
    constexpr const char* kFn = "QV_MathTools_FindSmallestPolygon";
    QV_CHECK_NULL(x && y && outX && outY && outCount, __LINE__, "input or output argument is NULL");
    *outCount = 0;
    if (count < 1) return 0;
    int current = 0;
    for (int i = 1; i < count; ++i)
        if (y[i] > y[current] || (y[i] == y[current] && x[i] < x[current])) current = i;
    double reference = kPi;
    for (;;) {
        if (*outCount != 0 && x[current] == outX[0] && y[current] == outY[0]) break;
        // Guard: the walk need not return to its start, and the arrays hold `count` points.
        if (*outCount >= count)
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "polygon walk did not return to its start point");
        outX[*outCount] = x[current];
        outY[*outCount] = y[current];
        int next = -1;
        double smallest = 0.0;
        for (int q = 0; q < count; ++q) {
            if (q == current) continue;
            const double dx = x[q] - x[current], dy = y[q] - y[current];
            if (dx == 0.0 && dy == 0.0) continue;
            // Only directions into the first quadrant get an angle; every other one counts as 0.
            const double angle = (dx > 0.0 && dy > 0.0) ? std::acos(dx / std::sqrt(dx * dx + dy * dy)) : 0.0;
            double diff = reference - angle;
            while (diff < 0.0) diff += 2.0 * kPi;
            while (diff >= 2.0 * kPi) diff -= 2.0 * kPi;
            if (next < 0 || diff < smallest) {
                smallest = diff;
                next = q;
            }
        }
        *outCount += 1;
        if (next < 0) break;  // every point coincides with the current one: nothing to walk to
        current = next;
        reference += kPi - smallest;
    }
    return *outCount;
}

QV_API int QV_MathTools_PointInSplinePoly(const double* outline, double px, double py) {
    if (!outline || outline[0] == -2.0) return -1;
    Parity parity{px, py + 1e-6};  // the offset keeps the ray off the vertices
    std::vector<OutlinePoint> contour;
    try {
        for (size_t i = 0; outline[i] != -2.0;) {
            const double v = outline[i];
            if (v == 3.0) {
                parity.contour(contour);
                contour.clear();
                i += 1;
            } else if (v == 2.0) {
                contour.push_back({outline[i + 1], outline[i + 2], false});
                i += 3;
            } else {
                contour.push_back({v, outline[i + 1], true});
                i += 2;
            }
        }
        parity.contour(contour);
    } catch (const std::bad_alloc&) {
        return -1;  // no memory for the contour: reported as outside
    }
    return parity.state;
}

}  // extern "C"
