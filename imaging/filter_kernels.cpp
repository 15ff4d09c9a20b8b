// Filters built on the fixed 3x3 kernels: Laplacian and sharpening, the "optimal" derivative
// pair and their combination, the edge kernel and the convolution with a chosen centre weight.
// Three of them smooth the caller's image in place before filtering: the Y derivative, the
// convolution and the combined filter. That is part of their behaviour, not a side effect to fix.
#include "imaging/filter_internal.h"
#include "logging/frame.h"

using namespace qv::imaging::filters;

namespace {

// 3x3 Gaussian smoothing of `image` in place.
void smoothInPlace(void* image) { cvSmooth(image, image, CV_GAUSSIAN, 3, 0, 0, 0); }

}  // namespace

extern "C" {

int QV_ImageProcessing_Laplace(const void* image, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_Laplace";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] { filter(image, destination, Kernel3(kLaplacian)); });
}

int QV_ImageProcessing_SharpenImage(const void* source, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_SharpenImage";
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] {
        // The Laplacian is added to the source, not subtracted: with this kernel (negative centre)
        // that is the sharpening the library's callers rely on.
        const int type = cvGetElemType(source);
        TempImage laplacian(cvGetSize(source), cvIplDepth(type), CV_MAT_CN(type), false);
        filter(source, laplacian.get(), Kernel3(kLaplacian));
        cvAdd(source, laplacian.get(), destination);
    });
}

int QV_ImageProcessing_OptimalSobelFilter_XDirection(const void* image, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_OptimalSobelFilter_XDirection";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] { filter(image, destination, Kernel3(kOptimalX)); });
}

int QV_ImageProcessing_OptimalSobelFilter_YDirection(void* image, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_OptimalSobelFilter_YDirection";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] {
        smoothInPlace(image);  // only this direction smooths, and it smooths the caller's image
        filter(image, destination, Kernel3(kOptimalY));
    });
}

int QV_ImageProcessing_OptimalSobelFilter(void* image, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_OptimalSobelFilter";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    if (!isIplImage(image)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "img is not an IplImage");
    return guarded(kFn, __LINE__, [&] {
        auto* source = static_cast<IplImage*>(image);
        const CvRect roi = cvGetImageROI(source);
        // Two 8-bit work images over the source's region. They start cleared.
        TempImage a(cvSize(source->width, source->height), IPL_DEPTH_8U, 1, true);
        TempImage b(cvSize(source->width, source->height), IPL_DEPTH_8U, 1, true);
        cvSetImageROI(a.get(), roi);
        cvSetImageROI(b.get(), roi);
        smoothInPlace(source);
        // Both passes read work image B, not the smoothed source; that is the sequence the
        // library has always run, so the destination's region comes out 0.
        filter(b.get(), a.get(), Kernel3(kOptimalX));
        cvConvertScaleAbs(a.get(), destination, 1, 0);
        filter(b.get(), a.get(), Kernel3(kOptimalY));
        cvConvertScaleAbs(a.get(), b.get(), 1, 0);
        cvAdd(b.get(), destination, destination);
    });
}

int QV_ImageProcessing_SobelEdgeFilter(const void* image, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_SobelEdgeFilter";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] { filter(image, destination, Kernel3(kEdge)); });
}

int QV_ImageProcessing_Convolution(void* image, void* destination, int centreWeight) {
    constexpr const char* kFn = "QV_ImageProcessing_Convolution";
    QV_CHECK_NULL(image && destination, __LINE__, "img and/or destImg image is NULL");
    return guarded(kFn, __LINE__, [&] {
        smoothInPlace(image);  // the caller's image is smoothed in place
        filter(image, destination, convolutionKernel(centreWeight));
    });
}

}  // extern "C"
