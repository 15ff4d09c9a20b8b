/* QV_Tools measure family: measurement mathematics and one-dimensional profile analysis.
 *
 * Math tools (QV_MathTools_..., QV_GetMinMax and the float helpers) are stateless numerical
 * functions: quantiles, line/circle/ellipse fits, spline resampling, intersections, distances,
 * a polygon walk, a point-in-outline test, a sine table and single-precision comparisons.
 * Profile tools (QV_ProfileTools_...) work on lines of 16-bit samples: mean removal, matching
 * a short profile inside a longer one, correlation curves, bit-mask filtering, gap filling,
 * derivatives, edge and step detection, tilting and resampling.
 *
 * Failures are logged through LogMsgGeneric under the function's own name and returned as the
 * negative codes of logging.h, unless a function says otherwise. The caller owns every array. */
#ifndef QVTOOLS_MEASURE_H
#define QVTOOLS_MEASURE_H

#include "qvtools/export.h"

#ifdef __cplusplus
#include <cstdint>
#else
#include <stdint.h>
#endif

/* An ellipse: centre, semi-axes (axis1 is the larger), angle in degrees and both foci. */
typedef struct QV_Ellipse {
    double centerX;
    double centerY;
    double axis1;
    double axis2;
    double angle;
    double focus1X;
    double focus1Y;
    double focus2X;
    double focus2Y;
} QV_Ellipse;

/* Single-precision point for the line intersections (passed by value). */
typedef struct QV_MathPoint2f {
    float x;
    float y;
} QV_MathPoint2f;

/* Integer rectangle for QV_MathTools_AbsDistanceBetweenRects. */
typedef struct QV_MathRect {
    int x;
    int y;
    int width;
    int height;
} QV_MathRect;

/* A float function of one float, integrated by QV_MathTools_ApproximateIntegral. */
typedef float (*QV_MathFunction1f)(float);

/* Bits of the flag words written by QV_ProfileTools_GapFiller. */
#define QV_GAPFLAG_VALID        0x0001 /* cleared on samples the filler replaced */
#define QV_GAPFLAG_ISLAND       0x0020 /* removed as a short island */
#define QV_GAPFLAG_HELD         0x0040 /* filled by holding or by the lower neighbour */
#define QV_GAPFLAG_RAMP         0x0080 /* lowered by a border ramp */
#define QV_GAPFLAG_INTERPOLATED 0x0100 /* filled by linear interpolation */

/* Longest region the derivative and edge functions accept (their working buffers). */
#define QV_PROFILE_MAX_REGION 2048

QV_EXTERN_C_BEGIN

/* ===================================== statistics and fits ===================================== */

/* Sorts a copy of `values`. p == 0.5: the median goes to both outputs. Otherwise `quantile`
 * gets the interpolated p-quantile and `trimmedMean` the mean of the central part of the sorted
 * copy between the q and 1-q fractions (q = min(p, 1-p)); when that part has fewer than two
 * values, -5 "invalid range" is logged, trimmedMean is left alone and 0 is still returned.
 * Returns 0; -5 "p must be in [0,1] and numVals must be > 0"; -2 when values is null. */
QV_API int QV_MathTools_PQuantile(const double* values, int count, double p, double* trimmedMean,
                                  double* quantile);

/* Least-squares line y = intercept + slope*x over `count` samples read with the given strides;
 * meanSquaredResidual is the residual sum of squares divided by count. Outputs may be null.
 * Returns 0; -2 "Null or invalid argument" for null arrays, count < 2 or a stride < 1. */
QV_API int QV_MathTools_LinearFit(const double* x, const double* y, int count, int xStride,
                                  int yStride, double* intercept, double* slope,
                                  double* meanSquaredResidual);

/* Slope from p1 to p2 (each {x, y}). Equal x: -5 with the largest double when p2 lies above
 * (nothing logged), else -5 with 0 and the warning "points are equal, cannot calc slope". */
QV_API int QV_MathTools_CalcSlope(const double p1[2], const double p2[2], double* slope);

/* Iterative geometric circle fit of `count` points (x, y pairs). Writes centre and radius;
 * returns the number of extra iterations needed (0 when the first pass converges) or -1 when
 * 256 iterations did not converge (the last estimate is written). -2 for null pointers. */
QV_API int QV_MathTools_CircleFit(int count, const double* points, double* centreX, double* centreY,
                                  double* radius);

/* Does nothing; returns 0. */
QV_API int QV_MathTools_CubicSplineFit(void);

/* Resamples y (optionally at positions x, optionally weighted) with a spline of `type`
 * (0 copy, 1 linear, 2 cspline, 3 akima, 4 polynomial) through every step-th sample whose
 * weight exceeds `threshold`, and writes its value at 0 ... count-1 into out. Positions outside
 * the support points give NaN. Returns count (0 for type 0 or when no point is kept);
 * -2 "an input or output parameter is NULL or invalid" (null y/out, count < 2); -5 "invalid
 * interpolation type", "invalid step size" (count/step below 2; a step below 1 or not below
 * count means 1), "x values must be provided in ascending order", "not enough data values
 * given for the selected interpolation type, %d values needed for spline type %s". */
QV_API int QV_MathTools_SplineInterpolation(const double* x, const double* y, const double* weights,
                                            int count, double threshold, int step, int type,
                                            double* out);

/* Smallest and largest value through Min1D/Max1D (first occurrence wins; values truncated to
 * int). Returns the OR of both search statuses; -2 "i_piArray is NULL"; -3 on allocation. */
QV_API int QV_MathTools_GetMinMax(const int16_t* values, int count, int* min, int* max,
                                  unsigned* minIndex, unsigned* maxIndex);

/* Smallest and largest sample in one pass (first occurrence wins). Returns 0;
 * -5 "value array is NULL, or number of values invalid". */
QV_API int QV_GetMinMax(const int16_t* values, int count, int16_t* min, int16_t* max,
                        unsigned* minIndex, unsigned* maxIndex);

/* values[0] + ... + values[lastIndex] as double; 0.0 for null values or lastIndex < 0. */
QV_API double QV_MathTools_PartialSum(const int* values, int lastIndex);

/* Single-precision trapezoid rule over n + 1 equal intervals of [a, b]; f is called once per
 * node, in order. Returns 0.0 without calling f when f is null or n < 0. */
QV_API float QV_MathTools_ApproximateIntegral(QV_MathFunction1f f, float a, float b, int n);

/* ============================================ geometry ============================================ */

/* sqrt(dx*dx + dy*dy); the y term is squared in 32-bit integer arithmetic (it wraps beyond
 * 46340 pixels), the x term in double. */
QV_API double QV_MathTools_EuclideanDistanceInPx(int x1, int y1, int x2, int y2);

/* Scaled distance, negative when the scaled y difference is negative. */
QV_API float QV_MathTools_EuclideanDistanceInWorld(double x1, double y1, double x2, double y2,
                                                   double scaleX, double scaleY);

/* The cosine of the angle between (x1-cx, y1-cy) and (x2-cx, y2-cy) (not the angle). */
QV_API double QV_MathTools_GetAngleForPoints(double x1, double y1, double x2, double y2, double cx,
                                             double cy);

/* slope = tan(angle degrees) / (scale2/scale1) in single precision. Returns 0;
 * -5 "output argument is NULL"; -5 "scale factors must not be 0". */
QV_API int QV_MathTools_SlopeFromDegrees(float angle, float scale1, float scale2, float* slope);

/* Sine and cosine of a whole angle from a table of 451 entries. Valid angles are -360 ... 450;
 * outside that range (and for null outputs) nothing is written. */
QV_API void QV_MathTools_SinCos(int angle, float* cosine, float* sine);

/* Distance between the centres of two rectangles, scaled per axis. */
QV_API float QV_MathTools_AbsDistanceBetweenRects(QV_MathRect r1, QV_MathRect r2, float scaleX,
                                                  float scaleY);

/* Intersection of the lines through p1 with slope m1 and through p2 with slope m2. Returns 0
 * (also for a null out, which is not written); -5 "given lines are parallel" when m1 == m2. */
QV_API int QV_MathTools_IntersectLines(QV_MathPoint2f p1, float m1, QV_MathPoint2f p2, float m2,
                                       QV_MathPoint2f* out);

/* Intersection of the lines p1p2 and p3p4. -5 "invalid points" for a vertical line; otherwise
 * the result of QV_MathTools_IntersectLines. */
QV_API int QV_MathTools_IntersectPtLines(QV_MathPoint2f p1, QV_MathPoint2f p2, QV_MathPoint2f p3,
                                         QV_MathPoint2f p4, QV_MathPoint2f* out);

/* Intersection of the segments P1P2 and P3P4 (nothing logged). Returns -1 for parallel segments
 * (outputs untouched); otherwise writes the lines' crossing and returns 0 when it lies on both
 * segments (0.01 tolerance), else -1. */
QV_API int QV_MathTools_FindIntersectionBetweenLines(float x1, float y1, float x2, float y2, float x3,
                                                     float y3, float x4, float y4, float* outX,
                                                     float* outY);

/* Overlap of the ranges [a1, a2] and [b1, b2] (either order). Returns its length and writes
 * start/end; without overlap returns 0 with start = the would-be start and end = 0. */
QV_API float QV_MathTools_CalcRangeOverlap(float a1, float a2, float b1, float b2, float* start,
                                           float* end);

/* Angle-driven walk from the topmost point (largest y, then smallest x) that stores each visited
 * point until it returns to its start; returns the number stored. outX and outY must hold
 * `count` values: a walk that has not closed after `count` points is stopped and reported as
 * -5 "polygon walk did not return to its start point" (the points so far are written and
 * outCount says how many). -2 for null arrays. */
QV_API int QV_MathTools_FindSmallestPolygon(const double* x, const double* y, int count, double* outX,
                                            double* outY, int* outCount);

/* Even-odd test of (px, py) against an outline of straight and quadratic segments: x, y pairs;
 * 2.0 in an x place marks the next pair as a control point, 3.0 starts a new contour, -2.0
 * ends the outline (it must be present; a plain vertex therefore cannot have x equal to 2.0, 3.0
 * or -2.0). Returns 0 inside; -1 (no crossing) or 1 outside;
 * -1 for a null or empty outline. */
QV_API int QV_MathTools_PointInSplinePoly(const double* outline, double px, double py);

/* ======================================= float helpers ======================================= */

QV_API int QV_IsInfiniteF(float f);
QV_API int QV_IsNanF(float f);
/* 1 when a and b are at most 10 representable floats apart (+0 and -0 are equal). */
QV_API int QV_AlmostEqualF(float a, float b);

/* =================================== profile normalisation and matching =================================== */

/* Mean of the samples 0, step, 2*step, ... below count. Returns the number of samples used (0 for
 * a negative count, with NaN as the mean); -5 "input data invalid" for a null profile or count
 * 0, and for a step below 1. */
QV_API int QV_ProfileTools_CalcMean(const int16_t* profile, int count, int step, double* mean);

/* out[i] = sample - mean of the stepped samples, truncated toward zero (a plain copy when the
 * mean is exactly 0). profile and out may be the same. Returns 0; -2 "input profile output
 * profile pointer is NULL or step size invalid" (null pointers, step or count 0); a negative
 * step gets the -5 of QV_ProfileTools_CalcMean. */
QV_API int QV_ProfileTools_NormalizeProfile(const int16_t* profile, int count, int16_t* out, int step,
                                            double* mean);

/* Best offset of a test profile inside a longer reference (offsets 0 ... referenceCount -
 * testCount - 1; the last possible offset is not tried). The reference is read every step-th
 * sample while the test profile is read contiguously. normalize != 0 removes both means first.
 * offset gets the best offset or 0xFFFFFFFF. Returns 0; -2 "reference profile or test profile
 * is NULL, or stepSize is invalid"; -5 "test profile must be shorter than reference profile". */
QV_API int QV_ProfileTools_MatchProfilesCrossCorr(const int16_t* test, int testCount,
                                                  const int16_t* reference, int referenceCount,
                                                  int step, int normalize, unsigned int* offset);
/* As above with the smallest sum of squared differences (each square wraps in 32 bits). */
QV_API int QV_ProfileTools_MatchProfilesSqrDiffSumCorr(const int16_t* test, int testCount,
                                                       const int16_t* reference, int referenceCount,
                                                       int step, int normalize, unsigned int* offset);
/* As above with the normalised cross-correlation (both profiles read every step-th sample);
 * correlation gets the best score (-1.0 when nothing scored above it). */
QV_API int QV_ProfileTools_MatchProfilesNormalizedCrossCorr(const int16_t* test, int testCount,
                                                            const int16_t* reference,
                                                            int referenceCount, int step,
                                                            int normalize, double* correlation,
                                                            unsigned int* offset);

/* Signed squared correlation of a against every stretch of b (shifts 0 ... countB - countA),
 * from integer means and 32-bit products of the centred samples (summed in double), written
 * to curve; maxValue/maxPosition get the best positive value and its shift (0.0 and 0
 * when none is positive). Returns 0, or -1 without logging when a count is below 1 or above
 * 1000, countB < countA, step < 1 or a pointer is null. */
QV_API int QV_ProfileTools_Correlation(const int16_t* a, const int16_t* b, int countA, int countB,
                                       int step, double* curve, double* maxValue,
                                       unsigned int* maxPosition);

/* destination[i] = (source[i] & mask) ? valueIfSet : valueIfClear; a null destination writes
 * back into source. Returns 0; -5 "mask or destination array is  NULL"; -5 "w < 1". */
QV_API int QV_ProfileTools_FilterBitMask(uint16_t* source, uint16_t* destination, int count,
                                         uint16_t mask, uint16_t valueIfSet, uint16_t valueIfClear);

/* ====================================== gaps, derivatives, edges ====================================== */

/* Repairs a laser line in place (0 = missing sample): removes short islands (minRun != 0),
 * fills gaps (mode 0 hold, 1 linear interpolation up to maxGap else the lower neighbour,
 * 4 last value - 200; other modes only remove islands) and lowers both borders by a ramp of
 * rampStep per sample (at most 200). flags (optional) get the QV_GAPFLAG_* bits. Returns 0;
 * -5 "data is  NULL or width is invalid". */
QV_API int QV_ProfileTools_GapFiller(unsigned mode, uint16_t* data, int width, unsigned rampStep,
                                     int minRun, unsigned maxGap, uint16_t* flags);

/* Pore-detection variant: mode 3 stores the line as reference (at most 1280 samples), mode 2
 * fills zero samples from it, modes 0 and 1 remove islands and fill as above and drop the
 * borders by borderDrop; other modes, and lines without a valid sample, become the last valid
 * value seen. Always returns 0 (a null line or width < 1 is logged and ignored). */
QV_API int QV_ProfileTools_GapFiller_Porenerkennung(unsigned mode, uint16_t* data, int width,
                                                    unsigned borderDrop, int minRun, unsigned maxGap);

/* mask[i] = valueIfMatch where profile[i] == matchValue, else valueElse (or profile[i] when
 * valueElse < 0). Returns the number of matches; -2 "profile or mask is NULL". */
QV_API int QV_ProfileTools_GapFiller_CreateMask(const uint16_t* profile, uint16_t* mask, int count,
                                                uint16_t matchValue, uint16_t valueIfMatch,
                                                int16_t valueElse);

/* Central differences of width1 over data[offset ...] (at most `length` samples) and of width2
 * over those. Returns 0; -2 "input or output argument is NULL or data len or offset invaild"
 * (also for a negative offset); -5 for negative widths or a region longer than
 * QV_PROFILE_MAX_REGION samples. */
QV_API int QV_ProfileTools_CalcDerivations(const int16_t* data, int dataLength, int offset, int length,
                                           int width1, double* firstDerivative, int width2,
                                           double* secondDerivative);

/* Rising (mode 0) or falling (mode 1) edges where the second derivative passes +-threshold,
 * with hysteresis at 0.9*threshold. Writes up to maxEdges positions/values and, optionally,
 * both derivatives and the mean-free region. Returns the number of edges found; -5 "mode
 * invalid"; -5 for a null profile or a region longer than QV_PROFILE_MAX_REGION samples. */
QV_API int QV_ProfileTools_FindEdges(const int16_t* profile, int count, int offset, int roiLength,
                                     int width1, int width2, double threshold, int mode, int maxEdges,
                                     int* positions, double* values, double* firstDerivative,
                                     double* secondDerivative, int* centred);

/* Pairs the k-th rising with the k-th falling edge and keeps pairs narrower than maxStepWidth.
 * Returns the number kept; -5 "input data is null or datalen invalid"; -5 "invalid step mode". */
QV_API int QV_ProfileTools_FindSteps(const int16_t* profile, int count, int offset, int roiLength,
                                     int width1, int width2, double riseThreshold,
                                     double fallThreshold, int stepMode, int maxStepWidth,
                                     int maxSteps, int* risePositions, int* fallPositions);

/* Tilts a profile about its middle sample by `angle` degrees (|angle| <= 80). Returns 0;
 * -2 "profile data is NULL, or len invalid or angle invalid"; the failure of
 * QV_MathTools_SlopeFromDegrees for a zero scale. */
QV_API int QV_ProfileTools_RotateProfile(const uint16_t* profile, int count, float angle, float scale1,
                                         float scale2, uint16_t* out, uint16_t* offsets);

/* Resamples count values to `samples` values, optionally averaging neighbours. Returns samples;
 * -2 "input or output values is NULL". */
QV_API int QV_ProfileTools_SampleValues(const float* values, int count, int samples, float* out,
                                        int average);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <vector>
struct CvPoint;  // OpenCV's C point (two ints); include OpenCV's types_c.h to call the fit.

/* Random five-point conic fit (draws with rand(); seed with srand). status: 0, or -5 when
 * fewer than five points are given or no draw gave an ellipse within a bounded number of
 * draws (a zero ellipse is returned then). Points within the ellipse's focal-distance sum are
 * appended to inliers (optional). */
QV_API QV_Ellipse QV_MathTools_FitEllipse(std::vector<CvPoint> points, int count, int* status,
                                          std::vector<CvPoint>* inliers);
#endif

#endif
