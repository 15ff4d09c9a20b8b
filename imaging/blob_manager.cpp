// The registry of blob detection objects: one per process, built when the library is loaded.
// Objects are kept under ids counted from 0; an id is never given out twice.
#include <exception>

#include "imaging/blob_internal.h"
#include "logging/frame.h"

QV_BlobDetectionManager::QV_BlobDetectionManager() : m_nextId(0) {}

// Objects the callers did not release go with the library.
QV_BlobDetectionManager::~QV_BlobDetectionManager() {
    for (auto& entry : m_detections) delete entry.second;
    m_detections.clear();
}

QV_BlobDetectionManager* QV_BlobDetectionManager::getManager() {
    static QV_BlobDetectionManager m_instance;
    return &m_instance;
}

// Built when the library is loaded, like the other singletons.
namespace {
[[maybe_unused]] const QV_BlobDetectionManager* const g_buildAtLoad = QV_BlobDetectionManager::getManager();
}

int QV_BlobDetectionManager::AddBlobDetection(QV_BlobDetection* detection) {
    const int id = m_nextId++;
    m_detections[id] = detection;
    return id;
}

QV_BlobDetection* QV_BlobDetectionManager::getBlobDetection(int id) {
    const auto found = m_detections.find(id);
    return found == m_detections.end() ? nullptr : found->second;
}

int QV_BlobDetectionManager::releaseBlobDetection(int id) {
    constexpr const char* kFn = "QV_BlobDetectionManager::releaseBlobDetection";
    const auto found = m_detections.find(id);
    if (found == m_detections.end())
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "blob detection with specified id not found - cannot be released");
    try {
        QV_BlobDetection* detection = found->second;
        m_detections.erase(found);
        if (detection) detection->clearBlobs(true, true);
        delete detection;
    } catch (...) {
        return QV_FAIL(1, QV_ERR_UNKNOWN, __LINE__, "exception during release of blob detection object");
    }
    return 0;
}

namespace qv::imaging {

void BlobRegistryAccess::forgetPointArray(const QVArray* points) {
    if (!points) return;
    for (const auto& entry : QV_BlobDetectionManager::getManager()->m_detections) {
        if (!entry.second) continue;
        for (auto& blob : entry.second->m_blobs)
            if (blob.second.points == points) blob.second.points = nullptr;
    }
}

}  // namespace qv::imaging
