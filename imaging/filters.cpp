// Filters that hand their images straight to one OpenCV call (Canny edges, smoothing, histogram
// equalisation) and the high-pass filter built from a box blur, a difference and a median.
#include "imaging/filter_internal.h"
#include "imaging/imaging_internal.h"
#include "logging/frame.h"

using namespace qv::imaging;
using namespace qv::imaging::filters;

namespace {

// The aperture 2 x radius + 1, wrapping in 32 bits for absurd radii (OpenCV then refuses it).
int aperture(int radius) { return add32(mul32(2, radius), 1); }

}  // namespace

extern "C" {

int QV_ImageProcessing_CannyFilter(const void* source, void* destination, double lowThreshold,
                                   double highThreshold, int aperture) {
    constexpr const char* kFn = "QV_ImageProcessing_CannyFilter";
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] { cvCanny(source, destination, lowThreshold, highThreshold, aperture); });
}

int QV_ImageProcessing_SmoothingFilter(const void* source, void* destination, int smoothType, int param1,
                                       int param2, double param3, double param4) {
    constexpr const char* kFn = "QV_ImageProcessing_SmoothingFilter";
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    return guarded(kFn, __LINE__,
                   [&] { cvSmooth(source, destination, smoothType, param1, param2, param3, param4); });
}

int QV_ImageProcessing_EqualizeHistOpenCV(const void* source, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_EqualizeHistOpenCV";
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] { cvEqualizeHist(source, destination); });
}

int QV_ImageProcessing_HighPassFilter(const void* source, void* destination, int blurRadius, int medianRadius) {
    constexpr const char* kFn = "QV_ImageProcessing_HighPassFilter";
    QV_CHECK_NULL(source && destination, __LINE__, "src and/or dst image is NULL");
    return guarded(kFn, __LINE__, [&] {
        if (blurRadius >= 1 && medianRadius >= 1) {
            // The source minus its box mean keeps the fine detail; the median then removes the
            // isolated speckles that the difference leaves.
            cvSmooth(source, destination, CV_BLUR, aperture(blurRadius));
            cvSub(source, destination, destination);
            cvSmooth(destination, destination, CV_MEDIAN, aperture(medianRadius));
        } else {
            cvCopy(source, destination);  // a radius below 1: no filtering
        }
    });
}

}  // extern "C"
