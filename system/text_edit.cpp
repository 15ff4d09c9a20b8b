// Text tests, edits and splitting.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "logging/frame.h"
#include "qvtools/system.h"

namespace {
constexpr const char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr const char kDigits[] = "0123456789";

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

template <char (*Convert)(char)>
int convertCase(const char* source, char* target) {
    char* out = target ? target : const_cast<char*>(source);
    int n = 0;
    for (; source[n]; ++n) out[n] = Convert(source[n]);
    return n;
}
}  // namespace

extern "C" {

QV_API int AllCharsEqual(const char* text) {
    constexpr const char* kFn = "AllCharsEqual";
    QV_CHECK_NULL(text, 452, "source string is NULL");
    for (const char* p = text; *p; ++p)
        if (*p != *text) return 0;
    return 1;
}

QV_API int FindDifferentChar(const char* text, char c) {
    constexpr const char* kFn = "FindDifferentChar";
    QV_CHECK_NULL(text, 432, "source string is NULL");
    for (const char* p = text; *p; ++p)
        if (*p != c) return 1;
    return 0;
}

QV_API int replaceChar(char* text, char from, char to) {
    constexpr const char* kFn = "replaceChar";
    QV_CHECK_NULL(text, 475, "source string is NULL");
    if (from == to) return 0;
    int count = 0;
    for (char* p = text; *p; ++p)
        if (*p == from) {
            *p = to;
            ++count;
        }
    return count;
}

QV_API int RemoveTrailingSpaces(char* text) {
    constexpr const char* kFn = "RemoveTrailingSpaces";
    QV_CHECK_NULL(text, 514, "string is NULL");
    // Despite the name: a leading space goes, and a trailing one only together with it.
    const std::size_t length = std::strlen(text);
    if (length < 2 || text[0] != ' ') return QV_ERR_ARGUMENT;
    std::size_t keep = length - 1;
    int removed = 1;
    if (text[length - 1] == ' ') {
        --keep;
        removed = 2;
    }
    if (keep > QV_STRING_SIZE - 1) keep = QV_STRING_SIZE - 1;
    std::memmove(text, text + 1, keep);
    text[keep] = '\0';
    return removed;
}

QV_API int strcmpLower(const char* a, const char* b) {
    if (a == b) return 0;
    if (!a || !b) return -1;
    std::string la(a), lb(b);
    for (char& c : la) c = lower(c);
    for (char& c : lb) c = lower(c);
    return std::strcmp(la.c_str(), lb.c_str());
}

QV_API bool isAlpha(char c) { return c != '\0' && std::strchr(kLetters, upper(c)) != nullptr; }

QV_API bool isAlphaNum(char c) {
    return isAlpha(c) || (c != '\0' && std::strchr(kDigits, c) != nullptr);
}

QV_API int strToUpper(const char* source, char* target) {
    constexpr const char* kFn = "strToUpper";
    QV_CHECK_NULL(source, 704, "input is NULL");
    return convertCase<upper>(source, target);
}

QV_API int strToLower(const char* source, char* target) {
    constexpr const char* kFn = "strToLower";
    QV_CHECK_NULL(source, __LINE__, "input is NULL");
    return convertCase<lower>(source, target);
}

QV_API char** tokenizeString(const char* source, const char* delimiters) {
    constexpr const char* kFn = "tokenizeString";
    if (!source || !delimiters)
        return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, 376, "source string or delimiters string is NULL");
    if (!*source || !*delimiters)
        return QV_FAIL_NULL(2, QV_ERR_ARGUMENT, 388, "source string or delimiters is empty");
    if (!std::strpbrk(source, delimiters))
        return QV_FAIL_NULL(1, QV_ERR_ARGUMENT, 398, "could not find any of the tokens \"%s\" in string \"%s\"",
                            delimiters, source);
    const std::vector<std::string> pieces = Tokenize(source, delimiters);
    char** out = static_cast<char**>(std::calloc(pieces.size() + 1, sizeof(char*)));
    if (!out) return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "not enough memory for %zu tokens", pieces.size());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        out[i] = static_cast<char*>(std::malloc(pieces[i].size() + 1));
        if (out[i]) std::memcpy(out[i], pieces[i].c_str(), pieces[i].size() + 1);
    }
    return out;
}

}  // extern "C"

QV_API std::vector<std::string> Tokenize(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    std::string::size_type start = 0;
    for (;;) {
        const std::string::size_type cut = text.find_first_of(delimiters, start);
        if (cut == std::string::npos) {
            pieces.push_back(text.substr(start));
            return pieces;
        }
        pieces.push_back(text.substr(start, cut - start));
        start = cut + 1;
    }
}
