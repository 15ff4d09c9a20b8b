// Gap filling of laser height lines, where a sample of 0 means "no measurement": removal of
// short islands, filling by holding, interpolating or a fixed drop, border ramps, and the
// pore-detection variant with its stored reference line. Sample values compare as signed
// 16-bit numbers. The last valid values and the reference line are process-wide (no lock).
#include <algorithm>
#include <cstring>

#include "measure/measure_internal.h"

namespace {

// Process-wide state shared by all calls (the library is single-threaded by contract).
uint16_t g_lastValid = 0;             // last non-zero sample seen by the gap filler
uint16_t g_poreLastValid = 0;         // the same for the pore-detection variant
constexpr int kReferenceSize = 1280;  // samples kept by the pore-detection reference line
uint16_t g_poreReference[kReferenceSize] = {};

constexpr int kGuardBand = 30;
constexpr int kMaxRamp = 200;
constexpr int kDecayDrop = 200;

int16_t sval(uint16_t v) { return static_cast<int16_t>(v); }

void mark(uint16_t* flags, int i, uint16_t set, bool clearValid) {
    if (!flags) return;
    flags[i] |= set;
    if (clearValid) flags[i] &= static_cast<uint16_t>(~QV_GAPFLAG_VALID);
}

// Sets runs of non-zero samples shorter than minRun to 0, except near the line's borders: runs
// must start more than 30 samples after the first valid sample and end 30 samples before the
// last one (a run reaching the end of the line is never removed).
void removeIslands(uint16_t* data, int width, int minRun, uint16_t* flags) {
    int firstValid = -1;
    for (int i = 0; i < width && firstValid < 0; ++i)
        if (data[i] != 0) firstValid = i;
    int lastInner = -1;
    for (int i = width - kGuardBand - 1; i >= 0 && lastInner < 0; --i)
        if (data[i] != 0) lastInner = i;
    const int lowGuard = firstValid >= 0 ? firstValid + kGuardBand : 0;
    const int highGuard = lastInner >= 0 ? lastInner - kGuardBand : width - 1;
    int run = 0;
    for (int i = 0; i < width; ++i) {
        if (data[i] != 0) {
            ++run;
            continue;
        }
        const int start = i - run;
        if (run < minRun && start > lowGuard && i < highGuard && start < i) {
            for (int k = start; k < i; ++k) {
                data[k] = 0;
                mark(flags, k, QV_GAPFLAG_ISLAND, true);
            }
        }
        run = 0;
    }
}

// Where the valid samples of a line begin and end (-1 when there is none).
struct ValidRange {
    int first = -1;
    int last = -1;
    void see(int i) {
        if (first < 0) first = i;
        last = i;
    }
};

// Mode 1: linear interpolation across gaps of at most maxGap samples (maxGap 0: any gap);
// longer gaps take the smaller bordering value. Samples outside the valid range stay 0.
ValidRange interpolate(uint16_t* data, int width, unsigned maxGap, uint16_t* flags, uint16_t& lastValid) {
    ValidRange range;
    for (int i = 0; i < width; ++i) {
        if (data[i] == 0) continue;
        const int prev = range.last;
        const int gap = i - prev;
        if (prev >= 0 && gap > 1) {
            const int16_t left = sval(data[prev]), right = sval(data[i]);
            if (maxGap != 0 && static_cast<unsigned>(gap) > maxGap) {
                const uint16_t lower = static_cast<uint16_t>(std::min(left, right));
                for (int k = prev + 1; k < i; ++k) {
                    data[k] = lower;
                    mark(flags, k, QV_GAPFLAG_HELD, true);
                }
            } else {
                const float slope = static_cast<float>(right - left) / static_cast<float>(gap);
                for (int k = 1; k < gap; ++k) {
                    data[prev + k] = static_cast<uint16_t>(static_cast<int>(k * slope + left));
                    mark(flags, prev + k, QV_GAPFLAG_INTERPOLATED, false);
                }
            }
        }
        range.see(i);
        lastValid = data[i];
    }
    return range;
}

// Modes 0 and 4: every zero sample takes the most recent valid value (0 before the first one);
// with `decay` that value lowered by 200, not below 0 (the same for the whole gap, not a
// growing decay).
ValidRange hold(uint16_t* data, int width, bool decay, uint16_t* flags, uint16_t& lastValid) {
    ValidRange range;
    int16_t recent = 0;
    for (int i = 0; i < width; ++i) {
        if (data[i] != 0) {
            recent = sval(data[i]);
            lastValid = data[i];
            range.see(i);
        } else {
            data[i] = static_cast<uint16_t>(decay ? std::max(recent - kDecayDrop, 0) : recent);
            mark(flags, i, QV_GAPFLAG_HELD, true);
        }
    }
    return range;
}

// Lowers sample i by min(rampStep*k, 200); the product is taken in 16 bits and compared signed.
void lowerByRamp(uint16_t* data, int i, unsigned rampStep, int k, uint16_t* flags) {
    int d = static_cast<int16_t>(static_cast<uint16_t>(rampStep * static_cast<unsigned>(k)));
    if (d > kMaxRamp) d = kMaxRamp;
    const int lowered = sval(data[i]) - d;
    data[i] = static_cast<uint16_t>(lowered > 0 ? lowered : 0);
    mark(flags, i, QV_GAPFLAG_RAMP, false);
}

}  // namespace

extern "C" {

QV_API int QV_ProfileTools_GapFiller(unsigned mode, uint16_t* data, int width, unsigned rampStep,
                                     int minRun, unsigned maxGap, uint16_t* flags) {
    constexpr const char* kFn = "QV_ProfileTools_GapFiller";
    if (!data || width < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "data is  NULL or width is invalid");
    if (minRun != 0) removeIslands(data, width, minRun, flags);
    ValidRange range;
    if (mode == 0) range = hold(data, width, false, flags, g_lastValid);
    else if (mode == 1) range = interpolate(data, width, maxGap, flags, g_lastValid);
    else if (mode == 4) range = hold(data, width, true, flags, g_lastValid);
    else return 0;
    if (range.first < 0) return 0;
    // Both ramps start on the valid border samples themselves (k = 1); intended.
    for (int i = range.first, k = 1; i >= 0; --i, ++k) lowerByRamp(data, i, rampStep, k, flags);
    for (int i = range.last, k = 1; i < width; ++i, ++k) lowerByRamp(data, i, rampStep, k, flags);
    return 0;
}

QV_API int QV_ProfileTools_GapFiller_Porenerkennung(unsigned mode, uint16_t* data, int width,
                                                    unsigned borderDrop, int minRun, unsigned maxGap) {
    constexpr const char* kFn = "QV_ProfileTools_GapFiller_Porenerkennung";
    if (!data || width < 1) {
        // Guard: reported, while the function keeps its promise to return 0.
        QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "data is  NULL or width is invalid");
        return 0;
    }
    // The reference line holds 1280 samples: longer lines are stored and filled only that far.
    const int stored = std::min(width, kReferenceSize);
    if (mode == 3) {
        std::memcpy(g_poreReference, data, sizeof(uint16_t) * static_cast<size_t>(stored));
        return 0;
    }
    if (mode == 2) {
        for (int i = 0; i < stored; ++i)
            if (data[i] == 0) data[i] = g_poreReference[i];
        return 0;
    }
    if (minRun != 0) removeIslands(data, width, minRun, nullptr);
    ValidRange range;
    if (mode == 0) {
        range = hold(data, width, false, nullptr, g_poreLastValid);
    } else if (mode == 1) {
        range = interpolate(data, width, maxGap, nullptr, g_poreLastValid);
    } else {
        for (int i = 0; i < width; ++i)
            if (data[i] != 0) {
                range.see(i);
                g_poreLastValid = data[i];
            }
    }
    if (range.first < 0 || (mode != 0 && mode != 1)) {
        std::fill(data, data + width, g_poreLastValid);
        return 0;
    }
    if (borderDrop != 0) {
        // A constant drop, not a ramp.
        const auto dropped = [borderDrop](uint16_t v) {
            const long long lowered = static_cast<long long>(sval(v)) - borderDrop;
            return static_cast<uint16_t>(lowered > 0 ? lowered : 0);
        };
        const uint16_t before = dropped(data[range.first]);
        for (int i = 0; i < range.first; ++i) data[i] = before;
        for (int i = range.last; i < width; ++i) data[i] = dropped(data[i]);
    }
    return 0;
}

QV_API int QV_ProfileTools_GapFiller_CreateMask(const uint16_t* profile, uint16_t* mask, int count,
                                                uint16_t matchValue, uint16_t valueIfMatch,
                                                int16_t valueElse) {
    constexpr const char* kFn = "QV_ProfileTools_GapFiller_CreateMask";
    if (!profile || !mask) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "profile or mask is NULL");
    int matches = 0;
    for (int i = 0; i < count; ++i) {
        if (profile[i] == matchValue) {
            mask[i] = valueIfMatch;
            ++matches;
        } else {
            mask[i] = valueElse >= 0 ? static_cast<uint16_t>(valueElse) : profile[i];
        }
    }
    return matches;
}

}  // extern "C"
