// First-derivative (Sobel, aperture 3) gradient images in one direction, over the source's
// region of interest.
#include "imaging/filter_internal.h"
#include "logging/frame.h"

using namespace qv::imaging::filters;

extern "C" {

int QV_ImageProcessing_GradientImage_XDirection(const void* source, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_GradientImage_XDirection";
    // Null images would reach OpenCV's header reads unchecked; they are refused as for the Y direction.
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    if (!isIplImage(source)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "srcImg is not an IplImage");
    return guarded(kFn, __LINE__, [&] {
        const auto* image = static_cast<const IplImage*>(source);
        const CvRect roi = cvGetImageROI(image);
        const CvSize size = cvSize(image->width, image->height);
        // Work images over the source's region: 16-bit derivatives and 8-bit smoothed values.
        // They start cleared, so the first conversion below copies zeros.
        TempImage t16(size, IPL_DEPTH_16S, 1, true);
        TempImage t8(size, IPL_DEPTH_8U, 1, true);
        cvSetImageROI(t16.get(), roi);
        cvSetImageROI(t8.get(), roi);
        cvSmooth(source, t8.get(), CV_GAUSSIAN, 3, 3, 0, 0);
        // This conversion runs before the derivative is written to t16: the order is kept.
        cvConvertScaleAbs(t16.get(), destination, 1, 0);
        cvSobel(t8.get(), t16.get(), 1, 0, 3);
        cvConvertScaleAbs(t16.get(), t8.get(), 1, 0);
        cvAdd(t8.get(), destination, destination);
    });
}

int QV_ImageProcessing_GradientImage_YDirection(const void* source, void* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_GradientImage_YDirection";
    QV_CHECK_NULL(source && destination, __LINE__, "srcImg and/or destImg image is NULL");
    if (!isIplImage(source) || !isIplImage(destination))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "srcImg and/or destImg is not an IplImage");
    return guarded(kFn, __LINE__, [&] {
        // The destination takes the source's region of interest and keeps it afterwards.
        cvSetImageROI(static_cast<IplImage*>(destination), cvGetImageROI(static_cast<const IplImage*>(source)));
        cvSobel(source, destination, 0, 1, 3);
    });
}

}  // extern "C"
