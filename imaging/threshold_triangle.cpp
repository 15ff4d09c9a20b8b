// Zack's triangle threshold: the bin farthest from the line between the histogram's lower end
// and its peak. When the longer tail lies above the peak, the histogram is mirrored in place for
// the search and restored before returning.
#include <cmath>
#include <cstdint>
#include <utility>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {
namespace {

void mirror(std::uint32_t* hist) {
    for (int i = 0; i < kBins / 2; ++i) std::swap(hist[i], hist[kBins - 1 - i]);
}

}  // namespace

int thresholdTriangle(std::uint32_t* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_FindThresholdByTriangle";
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "ptrHistValue is NULL");

    // Lower end: only bins 0 and 1 are looked at, and either way the end is bin 0. This narrow
    // search is intended and kept.
    int lower = 0;
    if (hist[0] != 0) {
        lower = 0;
    } else if (hist[1] != 0) {
        lower = 1 - 1;
    }
    // Upper end: one past the last occupied bin (at most 255); 1 when only bin 0 is occupied.
    int upper = 0;
    for (int i = kBins - 1; i > 0; --i)
        if (hist[i] != 0) {
            upper = i;
            break;
        }
    if (upper < kBins - 1) ++upper;
    // Peak: the first bin with the largest count.
    int peak = 0;
    std::uint32_t peakCount = 0;
    for (int i = 0; i < kBins; ++i)
        if (hist[i] > peakCount) {
            peakCount = hist[i];
            peak = i;
        }

    const bool mirrored = peak - lower < upper - peak;
    if (mirrored) {
        mirror(hist);
        lower = kBins - 1 - upper;
        peak = kBins - 1 - peak;
    }

    // Unit normal of the line from (lower, hist[lower]) to (peak, hist[peak]).
    double nx = hist[peak];
    double ny = lower - peak;
    const double d = std::sqrt(nx * nx + ny * ny);
    int split = lower;
    if (d > 0.0) {  // always so (the peak holds a count or the line slants); guards the division
        nx /= d;
        ny /= d;
        const double d0 = nx * lower + ny * hist[lower];
        double best = 0.0;
        for (int i = lower + 1; i <= peak; ++i) {
            const double distance = nx * i + ny * hist[i] - d0;
            if (distance > best) {
                best = distance;
                split = i;
            }
        }
    }

    if (mirrored) {
        mirror(hist);
        return kBins - split;
    }
    return split - 1;
}

}  // namespace qv::imaging
