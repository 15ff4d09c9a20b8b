// Pixel and line addressing, clearing an image, and wrapping raw pixels in an OpenCV header.
#include <cstdint>
#include <cstring>

#include <opencv2/core/core_c.h>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

using namespace qv::imaging;

namespace {

// data + offset pixels. Done on the address so that an offset beyond the buffer (which the
// pixel addressing allows) is a plain value, not out-of-range pointer arithmetic.
short* offsetPixels(short* data, std::uint32_t offset) {
    return reinterpret_cast<short*>(reinterpret_cast<std::uintptr_t>(data) + std::uintptr_t{offset} * sizeof(short));
}

}  // namespace

extern "C" {

short* QVGetPixel(const QVImage* image, unsigned int x, unsigned int y) {
    constexpr const char* kFn = "QVGetPixel";
    if (!image || !image->data) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image is NULL");
    if (x > static_cast<unsigned int>(image->width) || y > static_cast<unsigned int>(image->height))
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "x or y invalid");
    // The library's pixel addressing is (y + 1) x x, not y x width + x; kept as it is.
    return offsetPixels(image->data, (y + 1u) * x);
}

short* QVGetImageLine(const QVImage* image, unsigned int line) {
    constexpr const char* kFn = "QVGetImageLine";
    if (!image || !image->data) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image is NULL");
    // Unsigned on purpose: with roi.height 0 every line passes.
    if (line > static_cast<unsigned int>(image->roi.height) - 1u)
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "lineIdx > roi.height-1 ");
    return offsetPixels(image->data, static_cast<unsigned int>(image->roi.width) * line);
}

short* QVGetImageLineFast(const QVImage* image, unsigned int line) {
    return offsetPixels(image->data, line * static_cast<unsigned int>(image->roi.width));
}

int ZeroImage(QVImage* image) {
    constexpr const char* kFn = "ZeroImage";
    if (!image || !image->data) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data is NULL");
    const int count = pixelCount(image->width, image->height);
    if (count > 0) std::memset(image->data, 0, static_cast<std::size_t>(count) * sizeof(short));
    return 0;
}

struct _IplImage* QV_Improc_DataToIplImage(short* pixels, int width, int height) {
    constexpr const char* kFn = "QV_Improc_DataToIplImage";
    if (!pixels) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "data is NULL");
    // OpenCV rejects negative sizes and images of more than 2^31 - 1 bytes by throwing, after it
    // has allocated the header, which is then lost; such sizes are refused here first.
    const std::int64_t rowBytes = (std::int64_t{width} * static_cast<std::int64_t>(sizeof(short)) + 3) & ~std::int64_t{3};
    IplImage* header = nullptr;
    if (width >= 0 && height >= 0 && rowBytes * height <= INT32_MAX) {
        try {
            header = cvCreateImageHeader(cvSize(width, height), IPL_DEPTH_16S, 1);
        } catch (...) {
            header = nullptr;  // no exception leaves the library
        }
    }
    if (!header) return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "could not create opencv image header for data");
    header->imageData = reinterpret_cast<char*>(pixels);
    header->imageDataOrigin = reinterpret_cast<char*>(pixels);
    return header;
}

}  // extern "C"
