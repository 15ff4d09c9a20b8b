// The 256-bin histogram of a byte buffer and its box smoothing.
//
// The histogram is the one pass over the image that the threshold functions make, so it is the
// part that has to be fast. One counter per bin stalls when neighbouring bytes are equal: every
// increment waits for the store of the previous one to the same counter. Eight partial
// histograms, one per byte position in a 64-bit word, turn that into eight independent chains;
// sixteen equal bytes in a row (large flat areas) are counted with a single addition. The
// partial counts are added at the end, so the result is exactly that of the plain loop.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "imaging/imaging_internal.h"
#include "logging/frame.h"

namespace qv::imaging {

void histogram(const std::uint8_t* data, std::size_t count, std::uint32_t* hist) {
    constexpr int kParts = 8;
    std::uint32_t part[kParts][kBins];
    std::memset(part, 0, sizeof part);
    constexpr std::uint64_t kEveryByte = 0x0101010101010101ull;

    // Written out rather than looped so that every build, not only the most optimised one, gets
    // straight-line code. Fewer partial histograms are a little faster on noise but fall back
    // towards the plain loop's stall on nearly flat images; eight keep both above 3 GB/s.
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        std::uint64_t a, b;
        std::memcpy(&a, data + i, 8);
        std::memcpy(&b, data + i + 8, 8);
        if (a == b && a == (a & 0xffu) * kEveryByte) {
            part[0][a & 0xffu] += 16;
            continue;
        }
        const std::uint32_t a0 = static_cast<std::uint32_t>(a), a1 = static_cast<std::uint32_t>(a >> 32);
        const std::uint32_t b0 = static_cast<std::uint32_t>(b), b1 = static_cast<std::uint32_t>(b >> 32);
        ++part[0][a0 & 0xffu], ++part[1][(a0 >> 8) & 0xffu], ++part[2][(a0 >> 16) & 0xffu], ++part[3][a0 >> 24];
        ++part[4][a1 & 0xffu], ++part[5][(a1 >> 8) & 0xffu], ++part[6][(a1 >> 16) & 0xffu], ++part[7][a1 >> 24];
        ++part[0][b0 & 0xffu], ++part[1][(b0 >> 8) & 0xffu], ++part[2][(b0 >> 16) & 0xffu], ++part[3][b0 >> 24];
        ++part[4][b1 & 0xffu], ++part[5][(b1 >> 8) & 0xffu], ++part[6][(b1 >> 16) & 0xffu], ++part[7][b1 >> 24];
    }
    for (; i < count; ++i) ++part[0][data[i]];

    for (int bin = 0; bin < kBins; ++bin) {
        std::uint32_t sum = 0;
        for (int k = 0; k < kParts; ++k) sum += part[k][bin];
        hist[bin] = sum;
    }
}

void smoothHistogram(const std::uint32_t* source, int radius, std::uint32_t* destination) {
    for (int i = 0; i < kBins; ++i) {
        // Indices outside 0..255 are skipped; the range is clipped in 64 bits so that any radius
        // is safe. A negative radius adds nothing and leaves the bin 0.
        const std::int64_t from = std::max<std::int64_t>(0, std::int64_t{i} - radius);
        const std::int64_t to = std::min<std::int64_t>(kBins - 1, std::int64_t{i} + radius);
        std::uint64_t sum = 0;
        for (std::int64_t j = from; j <= to; ++j) sum += source[j];
        destination[i] = to >= from ? static_cast<std::uint32_t>(sum / static_cast<std::uint64_t>(to - from + 1)) : 0u;
    }
}

}  // namespace qv::imaging

extern "C" {

int QV_ImageProcessing_CreateHistogram(const unsigned char* data, unsigned int count, int /*width*/,
                                       int /*height*/, unsigned int* hist) {
    constexpr const char* kFn = "QV_ImageProcessing_CreateHistogram";
    if (!data) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "imgPtr is NULL");
    if (!hist) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "hist is NULL");
    qv::imaging::histogram(data, count, hist);
    return 0;
}

int QV_ImageProcessing_SmoothHistogram(const unsigned int* source, int radius, unsigned int* destination) {
    constexpr const char* kFn = "QV_ImageProcessing_SmoothHistogram";
    if (!source) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "sourceHist is NULL");
    if (!destination) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "destHist is NULL");
    qv::imaging::smoothHistogram(source, radius, destination);
    return 0;
}

}  // extern "C"
