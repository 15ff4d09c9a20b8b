// Internals of the filter and morphology exports: the fixed 3x3 kernels as OpenCV matrix headers,
// temporary images released on every path, and the boundary that turns an OpenCV exception into
// a logged code. Nothing here is exported.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "qvtools/imaging.h"

#include <exception>
#include <new>

namespace qv::imaging::filters {

// ---- Kernels ----------------------------------------------------------------------------------
// Entries row by row, top to bottom.
using Kernel3Values = int[9];

constexpr Kernel3Values kLaplacian = {1, 1, 1, 1, -8, 1, 1, 1, 1};
// Differentiates along the rows: the change from the row above to the row below.
constexpr Kernel3Values kOptimalX = {-3, -10, -3, 0, 0, 0, 3, 10, 3};
// Differentiates along the columns: the change from the left column to the right one.
constexpr Kernel3Values kOptimalY = {-3, 0, 3, -10, 0, 10, -3, 0, 3};
// A pixel minus the pixel above it.
constexpr Kernel3Values kEdge = {0, -1, 0, 0, 1, 0, 0, 0, 0};

// A 3x3 kernel of 32-bit signed integers behind a continuous CV_32SC1 matrix header (row step
// 12 bytes), kept on the stack. The header points into the object itself, so it is not copied.
class Kernel3 {
public:
    explicit Kernel3(const Kernel3Values& values);
    Kernel3(const Kernel3&) = delete;
    Kernel3& operator=(const Kernel3&) = delete;
    const CvMat* mat() const { return &m_header; }

private:
    int m_values[9];
    CvMat m_header;
};

// -1 -1 -1 / -1 centre -1 / -1 -1 -1: the eight neighbours taken from the weighted centre.
// (Returned by guaranteed copy elision, so the header still points at its own entries.)
Kernel3 convolutionKernel(int centre);

// cvFilter2D(source, destination, kernel) anchored at the kernel centre.
void filter(const CvArr* source, CvArr* destination, const Kernel3& kernel);

// ---- Temporary images -------------------------------------------------------------------------
// An IplImage released when it goes out of scope. `cleared` zero-fills it: OpenCV does not clear a
// new image, and some filter sequences read a temporary before anything was written to it.
class TempImage {
public:
    TempImage(CvSize size, int depth, int channels, bool cleared);
    ~TempImage() { cvReleaseImage(&m_image); }
    TempImage(const TempImage&) = delete;
    TempImage& operator=(const TempImage&) = delete;
    IplImage* get() const { return m_image; }

private:
    IplImage* m_image;
};

// True when `array` is an IplImage header (not a CvMat or anything else): the region-of-interest
// calls read and write IplImage fields and must not be given another array.
bool isIplImage(const CvArr* array);

// ---- Boundary ---------------------------------------------------------------------------------
// Logs, under `function` and `line`, why an OpenCV sequence stopped, and returns the code:
// -3 when memory ran out, -5 for anything OpenCV refused (sizes, depths or channels that do not fit
// together, a bad parameter), -1 for anything else.
int openCvFailure(const char* function, int line, const cv::Exception& error);
int memoryFailure(const char* function, int line);
int otherFailure(const char* function, int line, const char* what);

// Runs `body`, a sequence of OpenCV calls, and returns 0; an exception thrown on the way is logged
// and returned as a code (nothing is thrown across the library's interface).
template <typename Body>
int guarded(const char* function, int line, Body&& body) {
    try {
        body();
        return 0;
    } catch (const cv::Exception& error) {
        return openCvFailure(function, line, error);
    } catch (const std::bad_alloc&) {
        return memoryFailure(function, line);
    } catch (const std::exception& error) {
        return otherFailure(function, line, error.what());
    }
}

}  // namespace qv::imaging::filters
