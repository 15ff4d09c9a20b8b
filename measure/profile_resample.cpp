// Tilting a profile by an angle about its middle sample, and resampling a float profile to a
// given number of samples (optionally averaging neighbours).
#include <cstring>

#include "measure/measure_internal.h"

using qv::measure::roundHalfAway;

extern "C" {

QV_API int QV_ProfileTools_RotateProfile(const uint16_t* profile, int count, float angle, float scale1,
                                         float scale2, uint16_t* out, uint16_t* offsets) {
    constexpr const char* kFn = "QV_ProfileTools_RotateProfile";
    if (!profile || count < 1 || !out || !(angle >= -80.0f && angle <= 80.0f))
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "profile data is NULL, or len invalid or angle invalid");
    if (angle == 0.0f) {
        std::memmove(out, profile, sizeof(uint16_t) * static_cast<size_t>(count));
        return 0;
    }
    const int c = roundHalfAway((count - 1) * 0.5);
    const uint16_t ref = profile[c];
    float slope = 0.0f;
    if (const int rc = QV_MathTools_SlopeFromDegrees(angle, scale1, scale2, &slope)) return rc;
    for (int i = 0; i < count; ++i) {
        const int d = qv::measure::truncToInt(static_cast<float>(i - c) * slope);
        out[i] = static_cast<uint16_t>(profile[i] - d);  // 16-bit wrap-around
        if (offsets) offsets[i] = static_cast<uint16_t>(d + ref);
    }
    return 0;
}

QV_API int QV_ProfileTools_SampleValues(const float* values, int count, int samples, float* out,
                                        int average) {
    constexpr const char* kFn = "QV_ProfileTools_SampleValues";
    if (!values || !out) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "input or output values is NULL");
    if (samples < 1) return samples;  // guard: nothing to write (and no division by zero)
    const float r = static_cast<float>(count) / static_cast<float>(samples);
    const int half = roundHalfAway(r * 0.5f);
    // Index k·r + half, truncated; -1 when it lies past the end. For count >= 1 the position is
    // not negative, so "truncated index > count - 1" is "position >= count", tested before the
    // conversion so that no position too large for an int is converted.
    const auto centre = [count, r, half](int k) {
        const float pos = static_cast<float>(k) * r + static_cast<float>(half);
        return (count < 1 || static_cast<double>(pos) >= count) ? -1 : static_cast<int>(pos);
    };
    if (average != 0 && r >= 2.0f) {
        const int w = static_cast<int>(r * 0.5f);
        for (int k = 0; k < samples; ++k) {
            const int c = centre(k);
            if (c < 0) {
                QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid index");
                continue;
            }
            float sum = 0.0f;
            int used = 0;
            for (int j = c - w; j <= c + w; ++j) {
                if (j < 0 || j > count - 1) continue;
                sum += values[j];
                ++used;
            }
            out[k] = sum / static_cast<float>(used);
        }
    } else {
        for (int k = 0; k < samples; ++k) {
            const int c = centre(k);
            if (c < 0) {
                QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid index");
                continue;
            }
            out[k] = values[c];
        }
    }
    return samples;
}

}  // extern "C"
