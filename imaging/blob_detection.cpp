// The blob detection object: outer contours of a binary image found by OpenCV, one record per
// contour with its points and features, filtering by a feature range, and drawing of the chain.
//
// The contours live in the object's OpenCV memory storage and are linked into one chain through
// their h_prev/h_next pointers; the records point into that chain. Removing a blob unlinks its
// contour from the chain but never moves the object's first contour.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

#include "imaging/blob_internal.h"
#include "logging/frame.h"

// The record crosses the interface: its fields stay in this order at these places.
static_assert(offsetof(QV_BLOB_INFO, area) == 32 && offsetof(QV_BLOB_INFO, feature5) == 64 &&
                  offsetof(QV_BLOB_INFO, boundingRect) == 68 && offsetof(QV_BLOB_INFO, minAreaRect) == 84 &&
                  offsetof(QV_BLOB_INFO, points) == 104 && sizeof(QV_BLOB_INFO) == 120,
              "QV_BLOB_INFO layout");
static_assert(sizeof(QVBox2D) == sizeof(CvBox2D), "QVBox2D has CvBox2D's five floats");

namespace qv::imaging {

QV_BLOB_INFO newBlobRecord(unsigned int id) {
    QV_BLOB_INFO info;
    std::memset(&info, 0, sizeof info);
    info.id = id;
    info.area = -1.0;
    info.feature3 = -1.0;
    info.feature4 = -1.0;
    info.feature5 = -1.0f;
    return info;
}

void unlinkContour(CvSeq* contour) {
    if (!contour) return;
    if (contour->h_prev) contour->h_prev->h_next = contour->h_next;
    if (contour->h_next) contour->h_next->h_prev = contour->h_prev;
}

void releasePoints(QVArray* points) {
    if (points) ReleaseArray(points, 0);
}

}  // namespace qv::imaging

using namespace qv::imaging;

namespace {

// The feature a filter type tests, or false for a type without one.
bool featureOf(const QV_BLOB_INFO& info, int type, double& value) {
    switch (type) {
        case eBlobFilterArea: value = info.area; return true;
        case eBlobFilterPerimeter: value = info.perimeter; return true;
        case eBlobFilterFeature3: value = info.feature3; return true;
        case eBlobFilterAngle: value = static_cast<double>(info.minAreaRect.angle); return true;
        case eBlobFilterAspect:
            // 0 / 0 before the features are computed: NaN, which no range holds.
            value = static_cast<double>(info.boundingRect.height) / static_cast<double>(info.boundingRect.width);
            return true;
        default: return false;
    }
}

}  // namespace

QV_BlobDetection::QV_BlobDetection() : m_storage(nullptr), m_firstContour(nullptr) {}

QV_BlobDetection::~QV_BlobDetection() { clearBlobs(true, true); }

int QV_BlobDetection::detectBlobs(IplImage* image, bool calculate) {
    constexpr const char* kFn = "QV_BlobDetection::detectBlobs";
    if (!image) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "input image is NULL");
    CvSeq* first = nullptr;
    int found = 0;
    try {
        if (!m_storage) m_storage = cvCreateMemStorage(0);
        // Outer contours only, every boundary point kept. OpenCV clears the image's outermost
        // pixels and marks the contours it traces in the image.
        found = cvFindContours(image, m_storage, &first, sizeof(CvContour), CV_RETR_EXTERNAL,
                               CV_CHAIN_APPROX_NONE, cvPoint(0, 0));
    } catch (const cv::Exception& e) {
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "contour search failed: %s", e.err.c_str());
    }
    if (found < 1) return found;
    if (!m_firstContour) {
        m_firstContour = first;
    } else {
        // A search while the chain of an earlier one is still held: the new chain goes after
        // the last contour reached from the held first contour, so that drawing covers both.
        CvSeq* last = m_firstContour;
        while (last->h_next) last = last->h_next;
        last->h_next = first;
        first->h_prev = last;
    }

    unsigned int id = static_cast<unsigned int>(m_blobs.size());
    for (CvSeq* contour = first; contour; contour = contour->h_next) {
        if (contour->total < 1) continue;
        QV_BLOB_INFO info = newBlobRecord(id);
        // CreateArray logs its own failure; the blob is then kept without points.
        info.points = CreateArray(eIntPoint2d, 8, contour->total);
        if (info.points) {
            cvCvtSeqToArray(contour, info.points->values, CV_WHOLE_SEQ);
            info.points->count = contour->total;
        }
        info.contour = contour;
        if (calculate) calcBlobFeatures(info);
        // Ids count on from the map's size; after a filter has left a gap a new id can meet a
        // blob still held, which keeps its place; the new record's points would then belong
        // to nobody, so they are freed.
        if (!m_blobs.emplace(id, info).second) releasePoints(info.points);
        ++id;
    }
    return found;
}

unsigned int QV_BlobDetection::getNumBlobs() const { return static_cast<unsigned int>(m_blobs.size()); }

void QV_BlobDetection::clearBlobs(bool releaseStorage, bool releasePointArrays) {
    if (releasePointArrays)
        for (auto& entry : m_blobs) releasePoints(entry.second.points);
    m_blobs.clear();
    // The chain goes with the blobs, so that the object can detect again.
    m_firstContour = nullptr;
    if (releaseStorage && m_storage) cvReleaseMemStorage(&m_storage);
}

int QV_BlobDetection::drawBlobs(IplImage* image, CvScalar color, int thickness, CvPoint offset) {
    constexpr const char* kFn = "QV_BlobDetection::drawBlobs";
    if (!image) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "destination image is NULL");
    if (!m_firstContour || m_firstContour->total < 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "no blobs available to draw, call detectBlobs first");
    try {
        // Outer and hole colour alike, every level, 8-connected lines.
        cvDrawContours(image, m_firstContour, color, color, 10000, thickness, 8, offset);
    } catch (const cv::Exception& e) {
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not draw blobs: %s", e.err.c_str());
    }
    return 0;
}

int QV_BlobDetection::calcAllBlobFeatures() {
    for (auto& entry : m_blobs) calcBlobFeatures(entry.second);
    return static_cast<int>(m_blobs.size());
}

int QV_BlobDetection::filterAllBlobs(EFilterTypeBlobs type, double min, double max, bool releasePointArrays) {
    int removed = 0;
    const std::map<unsigned int, QV_BLOB_INFO> blobs = m_blobs;
    for (auto entry : blobs) {
        if (filterBlob(entry.second, type, min, max)) continue;
        if (releasePointArrays) releasePoints(entry.second.points);
        unlinkContour(entry.second.contour);
        m_blobs.erase(entry.first);
        ++removed;
    }
    return removed;
}

int QV_BlobDetection::calcBlobFeatures(QV_BLOB_INFO& info) {
    constexpr const char* kFn = "QV_BlobDetection::calcBlobFeatures";
    if (!info.contour)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "cannot calculate blob features, cv contour sequence pointer of blob is NULL");
    try {
        info.area = std::fabs(cvContourArea(info.contour, CV_WHOLE_SEQ, 0));
        info.perimeter = cvArcLength(info.contour, CV_WHOLE_SEQ, 1);
        const CvBox2D box = cvMinAreaRect2(info.contour, nullptr);
        info.minAreaRect.center.x = box.center.x;
        info.minAreaRect.center.y = box.center.y;
        info.minAreaRect.width = box.size.width;
        info.minAreaRect.height = box.size.height;
        info.minAreaRect.angle = box.angle;
        const CvRect rect = cvBoundingRect(info.contour, 0);
        info.boundingRect = QVRect{rect.x, rect.y, rect.width, rect.height};
    } catch (const cv::Exception& e) {
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "cannot calculate blob features: %s", e.err.c_str());
    }
    return 0;
}

bool QV_BlobDetection::filterBlob(QV_BLOB_INFO& info, EFilterTypeBlobs type, double min, double max) {
    constexpr const char* kFn = "QV_BlobDetection::filterBlob";
    const int kind = static_cast<int>(type);
    if (kind == eBlobFilterNone) return false;
    double value = 0.0;
    if (!featureOf(info, kind, value)) return QV_FAIL_VAL(false, 1, QV_ERR_ARGUMENT, __LINE__, "invalid filter type");
    if (value == -1.0) return false;  // not computed
    return min < value && value < max;
}

std::map<unsigned int, QV_BLOB_INFO> QV_BlobDetection::getBlobs() const { return m_blobs; }
