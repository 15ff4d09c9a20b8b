// The automatic threshold of an 8-bit image: one histogram pass over the image, then the chosen
// method on the 256 bins. Also the linear value mapping of the family.
#include <climits>
#include <cstdint>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {

int thresholdByMethod(std::uint32_t* hist, int width, int height, int method) {
    switch (method) {
        case eThresholdOtsu: return thresholdOtsu(hist, width, height);
        case eThresholdMoments: return thresholdMoments(hist);
        case eThresholdMaxEntropy: return thresholdMaxEntropy(hist);
        case eThresholdHuang: return thresholdHuang(hist);
        case eThresholdLi: return thresholdLi(hist);
        case eThresholdMean: return thresholdMean(hist);
        case eThresholdShanbhag: return thresholdShanbhag(hist);
        case eThresholdTriangle: return thresholdTriangle(hist);
        case eThresholdYen: return thresholdYen(hist);
        case eThresholdPercentile: return thresholdPercentile(hist);
        case eThresholdRenyiEntropy: return thresholdRenyiEntropy(hist);
        default: return 0;  // no such method: 0, silently
    }
}

}  // namespace qv::imaging

using namespace qv::imaging;

extern "C" {

int QV_ImageProcessing_FindAutoThreshold(const unsigned char* data, int width, int height, int method) {
    constexpr const char* kFn = "QV_ImageProcessing_FindAutoThreshold";
    if (!data || height < 1 || width < 1)
        return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "imageData is NULL and img height and width is not > 0");
    WorkArray<std::uint32_t> hist(kBins);
    if (!hist) return QV_WORK_ARRAY_FAILED("histogram");
    WorkArray<std::uint32_t> smoothed(kBins);
    if (!smoothed) return QV_WORK_ARRAY_FAILED("smoothed histogram");

    histogram(data, static_cast<std::size_t>(width) * static_cast<std::size_t>(height), hist.get());
    // The smoothed histogram is made and never used: every method works on the raw one. The
    // step is kept as it is.
    smoothHistogram(hist.get(), 4, smoothed.get());
    return thresholdByMethod(hist.get(), width, height, method);
}

int QV_ImageProcessing_MapRange(int value, int* result, int srcMin, int srcMax, int dstMin, int dstMax) {
    constexpr const char* kFn = "QV_ImageProcessing_MapRange";
    if (!result) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "result is NULL");
    const float range = static_cast<float>(sub32(dstMax, dstMin));
    if (range == 0.0f) {
        *result = 0;
        return QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "destination interval has size 0, cannot map value");
    }
    // Scaled from 0, not from srcMin (intended), in single precision.
    const float mapped = range / static_cast<float>(sub32(srcMax, srcMin)) * static_cast<float>(value) +
                         static_cast<float>(dstMin);
    // A value without a 32-bit integer (an empty source range gives an infinity or NaN, a large
    // one simply overflows) becomes INT_MIN, the "no integer" value of the x86-64 conversion; the
    // mapping still succeeds. Done explicitly because the C++ conversion is undefined there.
    *result = mapped > -2147483904.0f && mapped < 2147483648.0f ? static_cast<int>(mapped) : INT_MIN;
    return 0;
}

}  // extern "C"
