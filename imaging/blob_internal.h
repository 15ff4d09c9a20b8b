// Internals of blob detection shared by the detection object, the registry and the C functions.
// Nothing here is exported.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "qvtools/imaging.h"

namespace qv::imaging {

// A blob record as detection creates it: the id, area and feature3 to feature5 at -1, every
// other field zero.
QV_BLOB_INFO newBlobRecord(unsigned int id);

// Takes a contour out of its chain by linking its neighbours to each other (each where present).
// The contour's own links are left as they are, so a chain walked from a removed first contour
// still reaches the contours that followed it.
void unlinkContour(CvSeq* contour);

// Frees a blob's point array with its values; null is accepted.
void releasePoints(QVArray* points);

// Reaches into the registry for the C functions.
struct BlobRegistryAccess {
    // Makes every blob of every registered detection object that holds `points` hold null
    // instead, so that the array can be freed elsewhere without being freed twice.
    static void forgetPointArray(const QVArray* points);
};

}  // namespace qv::imaging
