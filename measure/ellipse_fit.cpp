// Random five-point ellipse fit: five distinct points drawn with rand() define a conic
// a x^2 + 2b xy + c y^2 + 2d x + 2f y + g = 0 (g = 1), solved through OpenCV's SVD; the conic is
// turned into centre, semi-axes, angle and foci, and the points inside the focal-distance sum
// are collected as inliers.
#include <opencv2/core/core_c.h>

#include <cmath>
#include <cstdlib>
#include <exception>
#include <utility>
#include <vector>

#include "measure/measure_internal.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
// Draws before the fit gives up: collinear or repeated points never give an ellipse.
constexpr int kMaxDraws = 1000;

// Solves M p = -1 for the conic coefficients p = (a, b, c, d, f), where row i of M is
// (x^2, 2xy, y^2, 2x, 2y) of the i-th drawn point. With M = U W V^T (cvSVD, flag
// CV_SVD_MODIFY_A, V returned untransposed so its columns are the right singular vectors):
//     M^T M = V W^2 V^T   =>   p = V W^-2 V^T (M^T (-1)),
// that is p = sum_k v_k (v_k . M^T(-1)) / w_k^2, built from the entries of V and W alone. A
// singular value below 1e-12 of the largest means the points do not fix a conic: false.
bool solveConic(const double rows[5][5], double p[5]) {
    CvMat* A = cvCreateMat(5, 5, CV_64FC1);
    CvMat* W = cvCreateMat(5, 5, CV_64FC1);
    CvMat* V = cvCreateMat(5, 5, CV_64FC1);
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) cvmSet(A, i, j, rows[i][j]);
    cvSVD(A, W, nullptr, V, CV_SVD_MODIFY_A);
    double rhs[5];  // M^T (-1): minus the column sums of M
    for (int j = 0; j < 5; ++j) {
        rhs[j] = 0.0;
        for (int i = 0; i < 5; ++i) rhs[j] -= rows[i][j];
    }
    bool ok = cvmGet(W, 0, 0) > 0.0;
    for (int k = 0; k < 5 && ok; ++k) ok = cvmGet(W, k, k) > 1e-12 * cvmGet(W, 0, 0);
    for (int j = 0; j < 5; ++j) p[j] = 0.0;
    for (int k = 0; ok && k < 5; ++k) {
        double proj = 0.0;
        for (int j = 0; j < 5; ++j) proj += cvmGet(V, j, k) * rhs[j];
        const double w = cvmGet(W, k, k);
        for (int j = 0; j < 5; ++j) p[j] += cvmGet(V, j, k) * proj / (w * w);
    }
    cvReleaseMat(&A);
    cvReleaseMat(&W);
    cvReleaseMat(&V);
    return ok;
}

// Centre, semi-axes, angle and foci of the conic (a, b, c, d, f, g).
QV_Ellipse conicToEllipse(double a, double b, double c, double d, double f, double g) {
    QV_Ellipse e{};
    const double D = b * b - a * c;
    e.centerX = (c * d - b * f) / D;
    e.centerY = (a * f - b * d) / D;
    const double N = 2.0 * (a * f * f + c * d * d + g * b * b - 2.0 * b * d * f - a * c * g);
    const double R = std::sqrt(4.0 * b * b + (a - c) * (a - c));
    e.axis1 = std::sqrt(N / ((R - (a + c)) * D));
    // The second radicand carries the factor -(a + c + R): (R - (a+c)) and (a + c + R) always
    // have opposite signs for an ellipse (their product is 4D < 0), so without the minus one of
    // the two semi-axes would be the root of a negative number for every ellipse.
    e.axis2 = std::sqrt(N / (-(a + c + R) * D));
    if (b == 0.0) {
        e.angle = c > a ? 0.0 : (a > c ? 90.0 : 0.0);
    } else {
        e.angle = std::atan(1.0 / ((a - c) / (2.0 * b))) * 180.0 / kPi * 0.5;
        if (!(c > a)) e.angle += 90.0;
    }
    if (e.axis2 > e.axis1) {
        std::swap(e.axis1, e.axis2);
        e.angle += 90.0;
    }
    const double ecc = std::sqrt(std::fabs(e.axis1 * e.axis1 - e.axis2 * e.axis2));
    const double theta = e.angle * kPi / 180.0;
    e.focus1X = e.centerX - ecc * std::cos(theta);
    e.focus1Y = e.centerY - ecc * std::sin(theta);
    e.focus2X = e.centerX + ecc * std::cos(theta);
    e.focus2Y = e.centerY + ecc * std::sin(theta);
    return e;
}

}  // namespace

QV_API QV_Ellipse QV_MathTools_FitEllipse(std::vector<CvPoint> points, int count, int* status,
                                          std::vector<CvPoint>* inliers) {
    constexpr const char* kFn = "QV_MathTools_FitEllipse";
    if (status) *status = 0;
    // Guard: five distinct indices need five points, all inside the vector.
    if (count < 5 || static_cast<size_t>(count) > points.size()) {
        const int code = QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                 "need at least 5 points, %d given (%d in the vector)", count,
                                 static_cast<int>(points.size()));
        if (status) *status = code;
        return QV_Ellipse{};
    }
    try {
        for (int draw = 0; draw < kMaxDraws; ++draw) {
            int index[5];
            for (int k = 0; k < 5; ++k) {
                bool repeated;
                do {
                    index[k] = std::rand() % count;
                    repeated = false;
                    for (int j = 0; j < k; ++j) repeated = repeated || index[j] == index[k];
                } while (repeated);
            }
            double rows[5][5];
            for (int k = 0; k < 5; ++k) {
                const double x = points[index[k]].x, y = points[index[k]].y;
                const double row[5] = {x * x, 2.0 * x * y, y * y, 2.0 * x, 2.0 * y};
                for (int j = 0; j < 5; ++j) rows[k][j] = row[j];
            }
            double p[5];
            if (!solveConic(rows, p)) continue;
            const QV_Ellipse e = conicToEllipse(p[0], p[1], p[2], p[3], p[4], 1.0);
            if (!(e.axis1 > 0.0 && e.axis2 > 0.0)) continue;  // not an ellipse: draw again
            const double sumLimit = 2.0 * std::fmax(e.axis1, e.axis2);
            if (inliers) {
                for (const CvPoint& pt : points) {
                    const double d1 = std::hypot(pt.x - e.focus1X, pt.y - e.focus1Y);
                    const double d2 = std::hypot(pt.x - e.focus2X, pt.y - e.focus2Y);
                    if (d1 + d2 <= sumLimit) inliers->push_back(pt);
                }
            }
            std::vector<CvPoint>().swap(points);  // release the copy's storage now
            return e;
        }
    } catch (const std::exception& ex) {
        const int code = QV_FAIL(1, QV_ERR_UNKNOWN, __LINE__, "decomposition failed: %s", ex.what());
        if (status) *status = code;
        return QV_Ellipse{};
    }
    const int code = QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "no ellipse found in %d draws", kMaxDraws);
    if (status) *status = code;
    return QV_Ellipse{};
}
