// Shared pieces of the filter exports: kernel headers, temporary images, the IplImage test and the
// messages for a sequence that OpenCV stopped.
#include "imaging/filter_internal.h"

#include <algorithm>

#include "logging/frame.h"

namespace qv::imaging::filters {

Kernel3::Kernel3(const Kernel3Values& values) {
    std::copy(values, values + 9, m_values);
    m_header = cvMat(3, 3, CV_32SC1, m_values);  // continuous, step 3 x 4 = 12 bytes
}

Kernel3 convolutionKernel(int centre) {
    const Kernel3Values values = {-1, -1, -1, -1, centre, -1, -1, -1, -1};
    return Kernel3(values);
}

void filter(const CvArr* source, CvArr* destination, const Kernel3& kernel) {
    cvFilter2D(source, destination, kernel.mat(), cvPoint(-1, -1));
}

TempImage::TempImage(CvSize size, int depth, int channels, bool cleared)
    : m_image(cvCreateImage(size, depth, channels)) {
    if (cleared) cvSetZero(m_image);
}

bool isIplImage(const CvArr* array) { return CV_IS_IMAGE_HDR(array); }

int openCvFailure(const char* function, int line, const cv::Exception& error) {
    const int code = error.code == cv::Error::StsNoMem ? QV_ERR_MEMORY : QV_ERR_ARGUMENT;
    return fail(1, code, function, line, "OpenCV error in %s: %s", error.func.c_str(), error.err.c_str());
}

int memoryFailure(const char* function, int line) {
    return fail(1, QV_ERR_MEMORY, function, line, "insufficient memory for the filter");
}

int otherFailure(const char* function, int line, const char* what) {
    return fail(1, QV_ERR_UNKNOWN, function, line, "filter failed: %s", what);
}

}  // namespace qv::imaging::filters
