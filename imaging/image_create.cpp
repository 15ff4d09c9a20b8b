// Creating, resizing, refilling, cloning and releasing image records. The record owns its pixel
// buffer in every case, adopted or copied, and frees it with free().
#include <cstdlib>
#include <cstring>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

using namespace qv::imaging;

namespace {

QVImage* newRecord() { return static_cast<QVImage*>(std::calloc(1, sizeof(QVImage))); }

void setSize(QVImage* image, int width, int height) {
    image->width = width;
    image->height = height;
    image->roi.width = width;
    image->roi.height = height;
}

}  // namespace

extern "C" {

QVImage* CreateEmptyImage(int width, int height, int tag) {
    constexpr const char* kFn = "CreateEmptyImage";
    QVImage* image = newRecord();
    if (!image) return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "insufficient memory to create image");
    image->tag = tag;
    setSize(image, width, height);
    const int pixels = pixelCount(width, height);
    if (pixels >= 1) {
        image->data = static_cast<short*>(allocZeroed(static_cast<std::size_t>(pixels), sizeof(short)));
        if (!image->data) {
            // The record is of no use to anybody once null is returned: release it.
            std::free(image);
            return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "insufficient memory to create image");
        }
    }
    return image;
}

QVImage* CreateImage(short* pixels, int width, int height, int copy) {
    constexpr const char* kFn = "CreateImage";
    QVImage* image = newRecord();
    if (!image) return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "insufficient memory to create image");
    const int count = pixelCount(width, height);
    if (pixels && !copy) {
        image->data = pixels;  // adopted as it is, whatever its size
    } else if (count <= 0) {
        std::free(image);
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, __LINE__, "width and height must be > 0");
    } else if (pixels) {
        image->data = static_cast<short*>(allocRaw(pixelBytes(count)));
        if (!image->data) {
            std::free(image);
            return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "insufficient memory to create image");
        }
        std::memcpy(image->data, pixels, pixelBytes(count));
    } else {
        // No message is defined for this allocation: the record comes back without pixels.
        image->data = static_cast<short*>(allocZeroed(static_cast<std::size_t>(count), sizeof(short)));
    }
    setSize(image, width, height);
    return image;
}

int ResizeImage(QVImage** image, int width, int height) {
    constexpr const char* kFn = "ResizeImage";
    const int count = pixelCount(width, height);
    if (count < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "width and height must be > 0");
    if (!image) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image is NULL");

    bool reallocFailed = false;
    if (!*image) {
        *image = CreateImage(nullptr, width, height, 0);
    } else if ((*image)->data) {
        void* grown = reallocRaw((*image)->data, pixelBytes(count));
        if (!grown) {
            static_cast<void>(QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not realloc memory"));
            std::free((*image)->data);
            // The old buffer is gone; the record must not keep pointing at it.
            (*image)->data = nullptr;
            reallocFailed = true;
        } else {
            (*image)->data = static_cast<short*>(grown);
        }
    } else {
        (*image)->data = static_cast<short*>(allocZeroed(static_cast<std::size_t>(count), sizeof(short)));
    }
    if (*image) {
        (*image)->width = width;
        (*image)->height = height;
    }
    // A failed reallocation still reports success here (kept on purpose).
    if (!*image || (!(*image)->data && !reallocFailed))
        return QV_FAIL(0, QV_ERR_MEMORY, __LINE__, "could not (re)allocate specified image data");
    return 0;
}

int ReleaseImage(QVImage* image) {
    if (image) {
        std::free(image->data);
        std::free(image);
    }
    return 0;
}

int SetImageData(QVImage* image, int width, int height, short* pixels, int copy) {
    constexpr const char* kFn = "SetImageData";
    if (!image || !pixels) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data is NULL");
    const int count = pixelCount(width, height);
    if (count < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "height or width invalid");
    if (copy) {
        if (!(image->data && image->width == width && image->height == height)) {
            void* buffer = image->data ? reallocRaw(image->data, pixelBytes(count))
                                       : allocZeroed(static_cast<std::size_t>(count), sizeof(short));
            if (!buffer)
                return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not (re)allocate specified image data");
            image->data = static_cast<short*>(buffer);
            setSize(image, width, height);
        }
        std::memmove(image->data, pixels, pixelBytes(count));
    } else {
        // Adopting the buffer the image already holds must not free it.
        if (image->data != pixels) std::free(image->data);
        image->data = pixels;
        setSize(image, width, height);
    }
    return 0;
}

QVImage* CloneImage(const QVImage* image, int tag) {
    constexpr const char* kFn = "CloneImage";
    if (!image || !image->data)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "image or image data to copy is NULL");
    // Copy mode only reads the pixels.
    QVImage* clone = CreateImage(image->data, image->width, image->height, 1);
    if (!clone) return QV_FAIL_NULL(0, QV_ERR_MEMORY, __LINE__, "could not clone image -> insufficient memory?");
    clone->tag = tag;
    clone->aux1 = image->aux1;
    clone->aux2 = image->aux2;
    clone->roi = image->roi;
    return clone;
}

}  // extern "C"
