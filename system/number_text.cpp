// Number-to-text and text-to-number conversions.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "logging/frame.h"
#include "qvtools/system.h"

namespace {
// Formats into a new malloc'ed block of at least `minSize` bytes (released with QV_Release).
template <typename... Args>
char* newText(std::size_t minSize, const char* format, Args... args) {
    const int needed = std::snprintf(nullptr, 0, format, args...);
    if (needed < 0) return nullptr;
    std::size_t size = static_cast<std::size_t>(needed) + 1;
    if (size < minSize) size = minSize;
    char* block = static_cast<char*>(std::calloc(size, 1));
    if (block) std::snprintf(block, size, format, args...);
    return block;
}
}  // namespace

extern "C" {

QV_API int itoc(int value, char* out) {
    constexpr const char* kFn = "itoc";
    QV_CHECK_NULL(out, 129, "output parameter is NULL");
    std::sprintf(out, "%d", value);
    return 0;
}

QV_API int uitoc(unsigned value, char* out) {
    constexpr const char* kFn = "uitoc";
    QV_CHECK_NULL(out, 139, "output parameter is NULL");
    std::sprintf(out, "%u", value);
    return 0;
}

QV_API int lltoc(long long value, char* out) {
    constexpr const char* kFn = "lltoc";
    QV_CHECK_NULL(out, 150, "output parameter is NULL");
    std::sprintf(out, "%lld", value);
    return 0;
}

QV_API int ulltoc(unsigned long long value, char* out) {
    constexpr const char* kFn = "ulltoc";
    QV_CHECK_NULL(out, 160, "output parameter is NULL");
    std::sprintf(out, "%llu", value);
    return 0;
}

QV_API int dtoc(double value, int precision, char* out) {
    constexpr const char* kFn = "dtoc";
    QV_CHECK_NULL(out, 277, "output parameter is NULL");
    std::sprintf(out, "%.*f", precision, value);
    return 0;
}

QV_API int ftoc(float value, int precision, char* out) {
    constexpr const char* kFn = "ftoc";
    QV_CHECK_NULL(out, 288, "output parameter is NULL");
    std::sprintf(out, "%.*f", precision, static_cast<double>(value));
    return 0;
}

QV_API char* itocp(int value) { return newText(16, "%d", value); }
QV_API char* itohexcp(unsigned value) { return newText(16, "0x%08x", value); }
QV_API char* dtocp(double value, int precision) { return newText(16, "%.*f", precision, value); }
QV_API char* ftocp(float value, int precision) {
    return newText(16, "%.*f", precision, static_cast<double>(value));
}

QV_API long hextol(const char* text) { return text ? std::strtol(text, nullptr, 16) : 0; }

QV_API long long cptoll(const char* text) {
    if (!text) return 0;
    while (*text == ' ' || *text == '\t') ++text;
    bool negative = false;
    if (*text == '+' || *text == '-') negative = *text++ == '-';
    // Unsigned accumulation: no overflow test, and no undefined behaviour on wrap-around.
    unsigned long long value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) value = value * 10 + static_cast<unsigned>(*text - '0');
    return static_cast<long long>(negative ? 0ULL - value : value);
}

QV_API bool isNumeric(const char* text, double* value) {
    if (!text || !*text) return false;
    char* end = nullptr;
    const double parsed = std::strtod(text, &end);
    if (value) *value = parsed;
    return end != text;
}

}  // extern "C"

QV_API std::string itos(int value) { return std::to_string(value); }
