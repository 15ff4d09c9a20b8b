// Allocation of pixel buffers and working arrays for the imaging family. Everything goes through
// the C runtime's allocator (image records free their pixels with free), with one test seam that
// makes a chosen allocation fail so that the out-of-memory paths can be exercised.
#include <cstdlib>

#include "imaging/imaging_internal.h"

namespace qv::imaging {
namespace {

int g_failCountdown = 0;  // n > 0: the n-th following allocation fails

bool failThisOne() {
    if (g_failCountdown <= 0) return false;
    return --g_failCountdown == 0;
}

}  // namespace

void testing::failAllocation(int nth) { g_failCountdown = nth > 0 ? nth : 0; }

void* allocZeroed(std::size_t count, std::size_t size) {
    return failThisOne() ? nullptr : std::calloc(count, size);
}

void* allocRaw(std::size_t bytes) { return failThisOne() ? nullptr : std::malloc(bytes); }

void* reallocRaw(void* ptr, std::size_t bytes) { return failThisOne() ? nullptr : std::realloc(ptr, bytes); }

}  // namespace qv::imaging
