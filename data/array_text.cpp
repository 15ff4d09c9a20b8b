// Array text: the elements of an array as plain, human-readable text, and reading them back.
//
// Format. The elements in index order, `lineWidth` to a line (all on one line when lineWidth
// is below 1), separated by the separator character; every line ends in '\n'; an empty array is
// the empty text. One element is written as:
//   eBool, eInt, eOptionList, eOptionListMulti, eShort, eChar   signed decimal ("-12")
//   eHexInt                                                    "%#X" ("0XFF"; zero is "0")
//   eFloat / eDouble       "%.9g" / "%.17g": enough digits to read back the same value
//   points, rectangles     their components in field order, separated by one blank ("1 2 3")
//   eString                the text in double quotes; '"' and '\' are escaped with '\', tab,
//                          newline and carriage return as \t \n \r, other control bytes as \xHH
//   eDoublePoint2d/3d      (a pointer array) the pointed-to components, or "null"
// The reader accepts what the writer writes, plus blanks around elements, "\r\n" line ends and
// empty lines. Other element types (pointer arrays of nodes, properties, binary data, nested
// arrays) have no text form. Example, eInt with width 3 and ';':  "1;2;3\n4;5\n".
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "data/data_internal.h"
#include "logging/frame.h"

namespace qv::data {

namespace {

// Element kinds with a text form; the array's type and layout must agree on them.
enum class Kind { None, Int, Short, Char, Hex, Float, Double, Int2, Int3, Float2, Float3, Rect,
                  RectF, String, DoubleP2, DoubleP3 };

Kind kindOf(const QVArray* array) {
    Kind kind = Kind::None;
    switch (array->dataType) {
        case eBool: case eInt: case eOptionList: case eOptionListMulti: kind = Kind::Int; break;
        case eShort: kind = Kind::Short; break;
        case eChar: kind = Kind::Char; break;
        case eHexInt: kind = Kind::Hex; break;
        case eFloat: kind = Kind::Float; break;
        case eDouble: kind = Kind::Double; break;
        case eIntPoint2d: kind = Kind::Int2; break;
        case eIntPoint3d: kind = Kind::Int3; break;
        case eFloatPoint2d: kind = Kind::Float2; break;
        case eFloatPoint3d: kind = Kind::Float3; break;
        case eQVRect: kind = Kind::Rect; break;
        case eQVRectF: kind = Kind::RectF; break;
        case eString: kind = Kind::String; break;
        case eDoublePoint2d: kind = Kind::DoubleP2; break;
        case eDoublePoint3d: kind = Kind::DoubleP3; break;
        default: return Kind::None;
    }
    const SlotLayout layout = slotLayout(array->dataType);
    const bool matches = array->elementSize == layout.size &&
                         (array->inlineValues != 0) == layout.inlineValues;
    return matches ? kind : Kind::None;
}

// Separators that cannot be confused with the text of an element or a line end.
bool validSeparator(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u > 0x20 && u < 0x7f && !std::isalnum(u) && !std::strchr("\"\\+-.", c);
}

// ---- writing ----

void appendf(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string& out, const char* format, ...) {
    char buffer[64];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    out.append(buffer, static_cast<std::size_t>(n));  // every element part fits 64 chars
}

template <typename T>
T at(const unsigned char* p, int index) {
    T value;
    std::memcpy(&value, p + index * sizeof(T), sizeof(T));
    return value;
}

void ints(std::string& out, const unsigned char* p, int n) {
    for (int i = 0; i < n; ++i) appendf(out, i ? " %d" : "%d", at<int>(p, i));
}
void floats(std::string& out, const unsigned char* p, int n) {
    for (int i = 0; i < n; ++i) appendf(out, i ? " %.9g" : "%.9g", double(at<float>(p, i)));
}
void doubles(std::string& out, const unsigned char* p, int n) {
    for (int i = 0; i < n; ++i) appendf(out, i ? " %.17g" : "%.17g", at<double>(p, i));
}

void quoted(std::string& out, const char* s, std::size_t size) {
    out += '"';
    for (std::size_t i = 0; i < size && s[i]; ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\t': out += "\\t"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            default:
                if (c < 0x20 || c == 0x7f)
                    appendf(out, "\\x%02X", c);
                else
                    out += static_cast<char>(c);
        }
    }
    out += '"';
}

void writeElement(std::string& out, Kind kind, const unsigned char* slot, int elementSize) {
    switch (kind) {
        case Kind::Int: ints(out, slot, 1); break;
        case Kind::Short: appendf(out, "%d", at<short>(slot, 0)); break;
        case Kind::Char: appendf(out, "%d", at<signed char>(slot, 0)); break;
        case Kind::Hex: appendf(out, "%#X", at<unsigned>(slot, 0)); break;
        case Kind::Float: floats(out, slot, 1); break;
        case Kind::Double: doubles(out, slot, 1); break;
        case Kind::Int2: ints(out, slot, 2); break;
        case Kind::Int3: ints(out, slot, 3); break;
        case Kind::Rect: ints(out, slot, 4); break;
        case Kind::Float2: floats(out, slot, 2); break;
        case Kind::Float3: floats(out, slot, 3); break;
        case Kind::RectF: floats(out, slot, 4); break;
        // The slot may lack a terminator: at most 511 characters count, as for appended texts.
        case Kind::String: quoted(out, reinterpret_cast<const char*>(slot), size_t(elementSize) - 1); break;
        case Kind::DoubleP2:
        case Kind::DoubleP3: {
            const auto* point = static_cast<const unsigned char*>(readPointer(slot, elementSize));
            if (point)
                doubles(out, point, kind == Kind::DoubleP2 ? 2 : 3);
            else
                out += "null";
            break;
        }
        case Kind::None: break;
    }
}

// ---- reading ----

class Reader {
public:
    Reader(const char* text, char separator) : m_p(text), m_sep(separator) {}

    void skipBlanks() {
        while (*m_p == ' ' || *m_p == '\t') ++m_p;
    }
    void skipBlanksAndLines() {
        while (*m_p == ' ' || *m_p == '\t' || *m_p == '\n' || *m_p == '\r') {
            if (*m_p == '\n') ++m_line;
            ++m_p;
        }
    }
    bool atEnd() const { return *m_p == '\0'; }
    int line() const { return m_line; }

    // After an element: a separator (another element follows), a line end or the end.
    bool endOfElement(bool& another) {
        skipBlanks();
        another = *m_p == m_sep;
        if (another) ++m_p;
        return another || *m_p == '\n' || *m_p == '\r' || *m_p == '\0';
    }

    // `count` values of the element, written to `out` (the element's bytes).
    bool readElement(Kind kind, unsigned char* out, bool& isNull) {
        isNull = false;
        switch (kind) {
            case Kind::Int: return integers(out, 1, INT_MIN, INT_MAX);
            case Kind::Int2: return integers(out, 2, INT_MIN, INT_MAX);
            case Kind::Int3: return integers(out, 3, INT_MIN, INT_MAX);
            case Kind::Rect: return integers(out, 4, INT_MIN, INT_MAX);
            case Kind::Short: {
                int v = 0;
                if (!integers(reinterpret_cast<unsigned char*>(&v), 1, SHRT_MIN, SHRT_MAX)) return false;
                const short s = static_cast<short>(v);
                std::memcpy(out, &s, sizeof s);
                return true;
            }
            case Kind::Char: {
                int v = 0;
                if (!integers(reinterpret_cast<unsigned char*>(&v), 1, SCHAR_MIN, SCHAR_MAX)) return false;
                out[0] = static_cast<unsigned char>(static_cast<signed char>(v));
                return true;
            }
            case Kind::Hex: return hex(out);
            case Kind::Float: return reals<float>(out, 1);
            case Kind::Float2: return reals<float>(out, 2);
            case Kind::Float3: return reals<float>(out, 3);
            case Kind::RectF: return reals<float>(out, 4);
            case Kind::Double: return reals<double>(out, 1);
            case Kind::DoubleP2:
            case Kind::DoubleP3:
                if (std::strncmp(m_p, "null", 4) == 0) {
                    m_p += 4;
                    isNull = true;
                    return true;
                }
                return reals<double>(out, kind == Kind::DoubleP2 ? 2 : 3);
            case Kind::String: return string(reinterpret_cast<char*>(out));
            case Kind::None: break;
        }
        return false;
    }

private:
    // A number must start here: strtol and strtod would otherwise skip line ends.
    bool numberStarts() const {
        return *m_p && !std::isspace(static_cast<unsigned char>(*m_p)) && *m_p != m_sep;
    }

    bool integers(unsigned char* out, int count, long long lo, long long hi) {
        for (int i = 0; i < count; ++i) {
            if (i) skipBlanks();
            if (!numberStarts()) return false;
            char* end = nullptr;
            errno = 0;
            const long long v = std::strtoll(m_p, &end, 10);
            if (end == m_p || errno == ERANGE || v < lo || v > hi) return false;
            m_p = end;
            const int x = static_cast<int>(v);
            std::memcpy(out + i * sizeof x, &x, sizeof x);
        }
        return true;
    }

    bool hex(unsigned char* out) {
        if (!numberStarts() || *m_p == '-' || *m_p == '+') return false;
        char* end = nullptr;
        errno = 0;
        const unsigned long long v = std::strtoull(m_p, &end, 16);
        if (end == m_p || errno == ERANGE || v > UINT_MAX) return false;
        m_p = end;
        const auto x = static_cast<unsigned>(v);
        std::memcpy(out, &x, sizeof x);
        return true;
    }

    template <typename T>
    bool reals(unsigned char* out, int count) {
        for (int i = 0; i < count; ++i) {
            if (i) skipBlanks();
            if (!numberStarts()) return false;
            char* end = nullptr;
            T v;
            if constexpr (sizeof(T) == sizeof(float))
                v = std::strtof(m_p, &end);
            else
                v = std::strtod(m_p, &end);
            if (end == m_p) return false;
            m_p = end;
            std::memcpy(out + i * sizeof v, &v, sizeof v);
        }
        return true;
    }

    // A quoted text into a 512-byte element; longer texts are cut to 511 characters.
    bool string(char* out) {
        if (*m_p != '"') return false;
        ++m_p;
        std::size_t n = 0;
        for (;; ++m_p) {
            char c = *m_p;
            if (c == '\0') return false;
            if (c == '"') break;
            if (c == '\\') {
                c = *++m_p;
                if (c == 'n') c = '\n';
                else if (c == 't') c = '\t';
                else if (c == 'r') c = '\r';
                else if (c == 'x') {
                    if (!std::isxdigit(static_cast<unsigned char>(m_p[1])) ||
                        !std::isxdigit(static_cast<unsigned char>(m_p[2])))
                        return false;
                    const char digits[3] = {m_p[1], m_p[2], '\0'};
                    c = static_cast<char>(std::strtol(digits, nullptr, 16));
                    if (c == '\0') return false;  // an element cannot hold a zero byte
                    m_p += 2;
                } else if (c != '"' && c != '\\') {
                    return false;
                }
            }
            if (n < QV_STRING_SIZE - 1) out[n++] = c;
        }
        ++m_p;
        out[n] = '\0';
        return true;
    }

    const char* m_p;
    char m_sep;
    int m_line = 1;
};

// Takes back elements appended from `first` on (freeing allocated points) after a failed read.
void rollBack(QVArray* array, int first, bool ownsElements) {
    for (int i = first; i < array->count; ++i) {
        unsigned char* slot = slotAt(array, i);
        if (!slot) continue;
        if (ownsElements) std::free(readPointer(slot, array->elementSize));
        std::memset(slot, 0, static_cast<std::size_t>(array->elementSize));
    }
    array->count = first;
}

}  // namespace

int arrayText(const QVArray* array, int lineWidth, char separator, std::string& out, const char* kFn) {
    const Kind kind = kindOf(array);
    if (kind == Kind::None)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "cannot write array elements of data type %d as text",
                       array->dataType);
    if (!validSeparator(separator))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid separator character %d",
                       static_cast<int>(separator));
    const int n = usableCount(array);
    for (int i = 0, onLine = 0; i < n; ++i) {
        if (onLine) out += separator;
        writeElement(out, kind, slotAt(array, i), array->elementSize);
        if (++onLine == lineWidth || i == n - 1) {
            out += '\n';
            onLine = 0;
        }
    }
    return 0;
}

}  // namespace qv::data

QV_EXTERN_C_BEGIN

QV_API int QVWriteArrayData(const QVArray* array, char* text, int textSize, int lineWidth, char separator) {
    constexpr const char* kFn = "QVWriteArrayData";
    QV_CHECK_NULL(array, __LINE__, "array is NULL");
    std::string out;
    if (int rc = qv::data::arrayText(array, lineWidth, separator, out, kFn)) return rc;
    if (out.size() > INT_MAX - 1)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "array text is too long");
    const int length = static_cast<int>(out.size());
    if (!text) return length;
    if (textSize <= length) {
        if (textSize > 0) text[0] = '\0';
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "text buffer of %d bytes is too small, %d needed",
                       textSize, length + 1);
    }
    std::memcpy(text, out.c_str(), out.size() + 1);
    return length;
}

QV_API int QVReadArrayData(QVArray* array, const char* text, char separator) {
    constexpr const char* kFn = "QVReadArrayData";
    if (!array || !text) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "array or text is NULL");
    const qv::data::Kind kind = qv::data::kindOf(array);
    if (kind == qv::data::Kind::None)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "cannot read array elements of data type %d from text",
                       array->dataType);
    if (!qv::data::validSeparator(separator))
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid separator character %d",
                       static_cast<int>(separator));
    const bool pointers = !array->inlineValues;
    const int first = array->count;
    qv::data::Reader reader(text, separator);
    bool another = false;
    for (int index = 0;; ++index) {
        if (another)
            reader.skipBlanks();
        else
            reader.skipBlanksAndLines();
        if (!another && reader.atEnd()) break;
        unsigned char element[QV_STRING_SIZE] = {};
        bool isNull = false;
        bool ok = reader.readElement(kind, element, isNull) && reader.endOfElement(another);
        if (ok) {
            void* pointer = nullptr;
            if (pointers && !isNull) {
                const std::size_t size = kind == qv::data::Kind::DoubleP2 ? sizeof(QVPoint2d) : sizeof(QVPoint3d);
                pointer = std::malloc(size);
                if (pointer) std::memcpy(pointer, element, size);
                ok = pointer != nullptr;
            }
            ok = ok && qv::data::appendElement(array, pointers ? pointer : element) == 0;
            if (!ok && pointer) std::free(pointer);
        }
        if (!ok) {
            qv::data::rollBack(array, first, pointers);
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "malformed array text at element %d (line %d)",
                           index + 1, reader.line());
        }
    }
    return array->count - first;
}

QV_EXTERN_C_END
