// Regions of an image: cropping into a new image, copying pixels and roi between images, and
// testing whether a rectangle lies inside an image's roi.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

using namespace qv::imaging;

namespace {

// True when `rows` rows of `cols` pixels, row r starting at (top + r) x stride + left, all lie
// inside a buffer of `size` pixels. The start is linear in r, so the first and last rows decide.
bool rowsInside(int top, int left, int rows, int cols, int stride, int size) {
    for (const std::int64_t r : {std::int64_t{0}, std::int64_t{rows} - 1}) {
        const std::int64_t start = (r + top) * stride + left;
        if (start < 0 || start + cols > size) return false;
    }
    return true;
}

}  // namespace

extern "C" {

QVImage* ImageFromRoi(const QVImage* image, void* /*unused*/, const QVRect* rect) {
    constexpr const char* kFn = "ImageFromRoi";
    if (!image || !image->data)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data to copy is NULL or roi is invalid");
    const QVRect& roi = image->roi;
    const int size = pixelCount(image->width, image->height);

    if (rect) {
        const bool valid = mul32(rect->width, add32(rect->y, rect->height)) <= sub32(size, 1) &&
                           add32(rect->x, rect->width) <= roi.width &&
                           add32(rect->y, rect->height) <= roi.height;
        if (!valid) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "roi is invalid");
        const int cols = std::min(rect->width, roi.width > 0 ? roi.width : image->width);
        const int rows = std::min(rect->height, sub32(roi.height >= 1 ? roi.height : image->height, rect->y));
        // Rows are read with the roi's width as stride; refuse a rectangle that would read
        // outside the source buffer (negative left or top, or a roi larger than the image).
        if (rows >= 1 && cols >= 1 && !rowsInside(rect->y, rect->x, rows, cols, roi.width, size))
            return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "roi is invalid");
        QVImage* crop = CreateImage(nullptr, cols, rows, 0);
        if (rows < 1 || !crop) return crop;
        if (!crop->data) {
            ReleaseImage(crop);
            return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data is NULL, insufficient memory?");
        }
        for (int r = 0; r < rows; ++r) {
            const std::int64_t from = (std::int64_t{r} + rect->y) * roi.width + rect->x;
            std::memcpy(crop->data + static_cast<std::int64_t>(r) * cols, image->data + from,
                        static_cast<std::size_t>(cols) * sizeof(short));
        }
        return crop;
    }

    const int count = mul32(roi.width, roi.height);
    if (count < 1) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "roi is invalid");
    // Only whole rows can be copied in one block. Checked before the new image is made, so that
    // nothing is left allocated on this path.
    if (roi.x != 0) return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "roi.left != 0 not supported");
    // The block starts at roi.y x roi.width; refuse one that reaches outside the source.
    const std::int64_t from = std::int64_t{roi.y} * roi.width;
    if (from < 0 || from + count > size) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "roi is invalid");
    QVImage* crop = CreateImage(nullptr, roi.width, roi.height, 0);
    if (!crop || !crop->data) {
        ReleaseImage(crop);
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data is NULL, insufficient memory?");
    }
    std::memcpy(crop->data, image->data + from, static_cast<std::size_t>(count) * sizeof(short));
    return crop;
}

int CopyImageData(const QVImage* source, QVImage* destination) {
    constexpr const char* kFn = "CopyImageData";
    if (!source || !source->data || !destination)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "original image or data or copy is NULL");
    const int count = pixelCount(source->width, source->height);
    if (destination->data) {
        // A destination at least as large keeps its buffer, width and height (intended). The
        // pixel count is checked too, so that odd signs can never make the copy overrun it.
        const bool keep = destination->height >= source->height && destination->width >= source->width &&
                          pixelCount(destination->width, destination->height) >= count;
        if (!keep) {
            void* buffer = reallocRaw(destination->data, pixelBytes(count));
            if (!buffer) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not (re)allocate specified image data");
            destination->data = static_cast<short*>(buffer);
            destination->width = source->width;
            destination->height = source->height;
        }
    } else {
        void* buffer = allocZeroed(static_cast<std::size_t>(std::max(count, 1)), sizeof(short));
        if (!buffer) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not (re)allocate specified image data");
        destination->data = static_cast<short*>(buffer);
        destination->width = source->width;
        destination->height = source->height;
    }
    destination->roi = source->roi;
    if (count > 0)
        std::memmove(destination->data, source->data, static_cast<std::size_t>(count) * sizeof(short));
    return 0;
}

int ImageRoiContainsRoi(const QVImage* image, const QVRect* rect) {
    constexpr const char* kFn = "ImageRoiContainsRoi";
    if (!image) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "input image is NULL");
    if (!rect) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "input roi is NULL");
    const QVRect& roi = image->roi;
    if (rect->y < 0 || rect->x < 0 || rect->x < roi.x ||
        add32(rect->x, rect->width) > add32(roi.x, roi.width) || rect->y < roi.y)
        return 0;
    return add32(rect->y, rect->height) <= add32(roi.y, roi.height) ? 1 : 0;
}

}  // extern "C"
