// Fuzz target: arbitrary text parsed as a value of every type number (and a few that are no
// types), each result released as its type requires. No logger is registered, so failures stay
// silent. Inputs are capped so that single runs stay fast.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "QV_Tools.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 16 * 1024;
    if (size > kMaxInput) return 0;
    // The parser reads zero-terminated text.
    const std::string text(data ? reinterpret_cast<const char*>(data) : "", data ? size : 0);
    for (int type = -31; type <= 1; ++type) {
        void* value = ParseData(text.c_str(), type);
        if (!value) continue;
        if (type == eQVArray)
            ReleaseArray(static_cast<QVArray*>(value), 1);
        else if (type == eQVBinaryData)
            ReleaseBinaryData(static_cast<QVBinaryData*>(value), 1);
        else
            std::free(value);
    }
    return 0;
}
