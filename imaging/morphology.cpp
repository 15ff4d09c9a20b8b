// Morphological closing with a 3x3 cross.
#include "imaging/filter_internal.h"
#include "logging/frame.h"

using namespace qv::imaging::filters;

extern "C" {

int QV_ImageProcessing_Closing(void* /*unused*/, const void* source, void* destination, int iterations) {
    constexpr const char* kFn = "QV_ImageProcessing_Closing";
    QV_CHECK_NULL(source, __LINE__, "i_pSrcImg image is NULL");
    QV_CHECK_NULL(destination, __LINE__, "i_pDestImg image is NULL");
    return guarded(kFn, __LINE__, [&] {
        // A 3x3 cross anchored at its centre, made anew on every call and deliberately not
        // released (a few bytes per call, kept as the function has always behaved). The tests
        // make their successful calls with the leak checker looking away for that reason.
        IplConvKernel* cross = cvCreateStructuringElementEx(3, 3, 1, 1, CV_SHAPE_CROSS);
        cvMorphologyEx(source, destination, nullptr, cross, CV_MOP_CLOSE, iterations);
    });
}

}  // extern "C"
