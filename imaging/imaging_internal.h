// Internals of the imaging family: pixel-buffer allocation (with a test seam), size arithmetic,
// the histogram pass and the automatic threshold methods. Nothing here is exported.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "qvtools/imaging.h"

namespace qv::imaging {

constexpr int kBins = 256;

// ---- Allocation -----------------------------------------------------------------------------
// Pixel buffers and working arrays go through these so that tests can make an allocation fail.
// Pixel buffers must stay malloc-family memory: the image record frees them with free().
void* allocZeroed(std::size_t count, std::size_t size);
void* allocRaw(std::size_t bytes);
void* reallocRaw(void* ptr, std::size_t bytes);

namespace testing {
// Makes the n-th following allocation (1 = the next one) fail; 0 switches failing off.
void failAllocation(int nth);
}  // namespace testing

// A working array of T released on every path out of its scope.
template <typename T>
class WorkArray {
public:
    explicit WorkArray(std::size_t count) : m_data(static_cast<T*>(allocZeroed(count, sizeof(T)))) {}
    ~WorkArray() { std::free(m_data); }
    WorkArray(const WorkArray&) = delete;
    WorkArray& operator=(const WorkArray&) = delete;
    explicit operator bool() const { return m_data != nullptr; }
    T& operator[](std::size_t i) { return m_data[i]; }
    const T& operator[](std::size_t i) const { return m_data[i]; }
    T* get() { return m_data; }

private:
    T* m_data;
};

// 32-bit signed arithmetic that wraps on overflow instead of being undefined.
inline int add32(int a, int b) { return static_cast<int>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b)); }
inline int sub32(int a, int b) { return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b)); }
inline int mul32(int a, int b) { return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b)); }
// width x height as the record counts its pixels.
inline int pixelCount(int width, int height) { return mul32(width, height); }
// Bytes of a buffer of `pixels` 16-bit pixels (at least one pixel, so that a zero-size request
// never turns a reallocation into a release).
inline std::size_t pixelBytes(int pixels) {
    return static_cast<std::size_t>(pixels > 0 ? pixels : 1) * sizeof(short);
}

// ---- Histogram ------------------------------------------------------------------------------
// Counts `count` bytes into hist[256] (cleared first). Bit-identical to one increment per byte.
void histogram(const std::uint8_t* data, std::size_t count, std::uint32_t* hist);
// Box mean of radius `radius` (see QV_ImageProcessing_SmoothHistogram); both pointers non-null.
void smoothHistogram(const std::uint32_t* source, int radius, std::uint32_t* destination);

// Logs the failed allocation of the working array `name` under the calling method's name (kFn)
// and yields -3. The message ends in a blank, as every caller of these methods expects.
#define QV_WORK_ARRAY_FAILED(name)                                                                  \
    QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "not enough memory to allocate specified memory amount for the %s array ", \
            (name))

// ---- Threshold methods ------------------------------------------------------------------------
// Each takes a 256-bin histogram and returns a threshold, -1 when it finds none, or -3 (logged
// under the method's own name) for a null histogram or a failed working array.
int thresholdOtsu(const std::uint32_t* hist, int width, int height);
int thresholdMoments(const std::uint32_t* hist);
int thresholdMaxEntropy(const std::uint32_t* hist);
int thresholdHuang(const std::uint32_t* hist);
int thresholdLi(const std::uint32_t* hist);
int thresholdMean(const std::uint32_t* hist);
int thresholdShanbhag(const std::uint32_t* hist);
// Reverses the histogram while it works and restores it before returning.
int thresholdTriangle(std::uint32_t* hist);
int thresholdYen(const std::uint32_t* hist);
int thresholdPercentile(const std::uint32_t* hist);
int thresholdRenyiEntropy(const std::uint32_t* hist);

// Calls the method numbered `method` (QVThresholdMethod); 0 for any other number.
int thresholdByMethod(std::uint32_t* hist, int width, int height, int method);

// The last step of the Renyi-entropy method: combines three thresholds (any order) with the
// cumulative sums P1 and P2 of the normalised histogram.
int renyiCombine(int ta, int tb, int tc, const double* P1, const double* P2);

}  // namespace qv::imaging
