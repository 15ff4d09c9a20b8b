// The C functions of blob detection: detection into a new registered object, filtering of a
// detection or of a caller's array of blob records, copying the records out, drawing, release.
#include <cstdlib>
#include <new>
#include <vector>

#include "imaging/blob_internal.h"
#include "logging/frame.h"

using namespace qv::imaging;

namespace {

QV_BlobDetection* detectionOf(int id) { return QV_BlobDetectionManager::getManager()->getBlobDetection(id); }

// The blob arrays of the C functions hold one pointer per element.
bool holdsPointers(const QVArray* array) { return !array->inlineValues; }

constexpr const char* kNoObject = "could not achieve specified blob detection object";
constexpr const char* kNotPointers = "array does not hold blob pointers";

}  // namespace

extern "C" {

int QV_BlobDetection_DetectBlobs(void* /*unused*/, IplImage* source, IplImage* temp, int calculate, int* count) {
    constexpr const char* kFn = "QV_BlobDetection_DetectBlobs";
    if (!source) return QV_FAIL(0, QV_ERR_NULL_ARGUMENT, __LINE__, "source image is NULL");
    if (temp && (temp->nChannels != 1 || temp->depth != IPL_DEPTH_8U))
        return QV_FAIL(0, QV_ERR_ARGUMENT, __LINE__, "temp image has wrong type or wrong depth");
    IplImage* ownTemp = nullptr;
    try {
        // The search works on an 8-bit copy of the source (of its roi, when it has one).
        if (!temp) temp = ownTemp = cvCreateImage(cvGetSize(source), IPL_DEPTH_8U, 1);
        if (temp != source) cvConvertScaleAbs(source, temp, 1.0, 0);
    } catch (const cv::Exception&) {
        if (ownTemp) cvReleaseImage(&ownTemp);
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not convert source image into temp image");
    }
    auto* detection = new (std::nothrow) QV_BlobDetection;
    if (!detection) {
        if (ownTemp) cvReleaseImage(&ownTemp);
        return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to create blob detection object");
    }
    const int id = QV_BlobDetectionManager::getManager()->AddBlobDetection(detection);
    const int found = detection->detectBlobs(temp, calculate != 0);
    if (count) *count = found;
    if (ownTemp) cvReleaseImage(&ownTemp);
    return id;
}

int QV_BlobDetection_FilterDetectedBlobs(int id, int filterType, double min, double max, int release) {
    constexpr const char* kFn = "QV_BlobDetection_FilterDetectedBlobs";
    QV_BlobDetection* detection = detectionOf(id);
    if (!detection) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNoObject);
    return detection->filterAllBlobs(static_cast<EFilterTypeBlobs>(filterType), min, max, release != 0);
}

int QV_BlobDetection_FilterBlobs(QVArray* blobs, int filterType, double min, double max, int release) {
    constexpr const char* kFn = "QV_BlobDetection_FilterBlobs";
    if (!blobs) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "input or output array is NULL");
    if (!holdsPointers(blobs)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNotPointers);
    std::vector<QV_BLOB_INFO*> all;
    all.reserve(blobs->count > 0 ? static_cast<std::size_t>(blobs->count) : 0);
    for (int i = 0; i < blobs->count; ++i) all.push_back(static_cast<QV_BLOB_INFO*>(GetValue(blobs, i)));
    ClearArray(blobs, 0);

    int removed = 0;
    const auto type = static_cast<EFilterTypeBlobs>(filterType);
    for (QV_BLOB_INFO* blob : all) {
        if (!blob || QV_BlobDetection::filterBlob(*blob, type, min, max)) {
            AppendValue(blobs, blob);  // the slot exists already: cannot fail
            continue;
        }
        unlinkContour(blob->contour);
        if (release) {
            // The records handed out by QV_BlobDetection_GetBlobs share their point arrays with
            // the detection: it forgets a freed one, so that its own release does not free it
            // a second time.
            BlobRegistryAccess::forgetPointArray(blob->points);
            releasePoints(blob->points);
            std::free(blob);
        }
        ++removed;
    }
    return removed;
}

int QV_BlobDetection_DrawDetectedBlobs(int id, IplImage* image, CvScalar color, int thickness, CvPoint offset) {
    constexpr const char* kFn = "QV_BlobDetection_DrawDetectedBlobs";
    QV_BlobDetection* detection = detectionOf(id);
    if (!detection) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNoObject);
    return detection->drawBlobs(image, color, thickness, offset);
}

int QV_BlobDetection_GetBlobs(int id, QVArray* output) {
    constexpr const char* kFn = "QV_BlobDetection_GetBlobs";
    if (!output) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "output array is NULL");
    QV_BlobDetection* detection = detectionOf(id);
    if (!detection) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNoObject);
    if (!holdsPointers(output)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNotPointers);
    for (const auto& entry : detection->getBlobs()) {
        auto* copy = static_cast<QV_BLOB_INFO*>(std::malloc(sizeof(QV_BLOB_INFO)));
        if (!copy) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to copy blob record");
        *copy = entry.second;
        if (const int rc = AppendValue(output, copy)) {
            std::free(copy);
            return rc;
        }
    }
    return 0;
}

int QV_BlobDetection_ReleaseBlobDetection(int id) {
    return QV_BlobDetectionManager::getManager()->releaseBlobDetection(id);
}

int QV_BlobDetection_DrawBlobsEllipses(const QVArray* blobs, IplImage* image, CvScalar color, int thickness) {
    constexpr const char* kFn = "QV_BlobDetection_DrawBlobsEllipses";
    if (!blobs || !image) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "blob array or destination image is NULL");
    if (!holdsPointers(blobs)) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "%s", kNotPointers);
    try {
        for (int i = 0; i < blobs->count; ++i) {
            const auto* blob = static_cast<const QV_BLOB_INFO*>(GetValue(blobs, i));
            if (!blob) continue;
            const QVBox2D& box = blob->minAreaRect;
            const CvPoint center = cvPoint(cvRound(box.center.x), cvRound(box.center.y));
            const CvSize axes = cvSize(cvRound(box.width * 0.5), cvRound(box.height * 0.5));
            cvEllipse(image, center, axes, box.angle, 0, 360, color, thickness, 8, 0);
        }
    } catch (const cv::Exception& e) {
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not draw blob ellipses: %s", e.err.c_str());
    }
    return 0;
}

}  // extern "C"
