// Names of the library's error codes.
#include <cstdio>
#include <cstring>

#include "logging/frame.h"
#include "logging/logging_internal.h"

namespace qv::logging {

std::string errorName(int code) {
    switch (code) {
        case 0: return "";
        case QV_ERR_UNKNOWN: return "UnknownError";
        case QV_ERR_NULL_ARGUMENT: return "NullArgumentError";
        case QV_ERR_MEMORY: return "MemoryError";
        case QV_ERR_IO: return "IOError";
        case QV_ERR_ARGUMENT: return "ArgumentError";
        case QV_ERR_NETWORK: return "NetworkError";
        case QV_ERR_ASSERT: return "AssertError";
        case QV_ERR_XML: return "XMLError";
        case QV_ERR_NOT_IMPLEMENTED: return "NotImplementedError";
        case QV_ERR_OUT_OF_BOUNDS: return "OutOfBoundsError";
        case QV_ERR_DATABASE: return "DatabaseError";
        default: {
            // -11 is deliberately unnamed: callers use it as their own code.
            char buf[QV_NAME_SIZE];
            std::snprintf(buf, sizeof buf, "user-defined error(%d)", code);
            return buf;
        }
    }
}

}  // namespace qv::logging

extern "C" QV_API int ErrorCode2String(int code, char* out) {
    constexpr const char* kFn = "ErrorCode2String";
    QV_CHECK_NULL(out, 217, "output arg is NULL");
    const std::string name = qv::logging::errorName(code);
    std::memcpy(out, name.c_str(), name.size() + 1);
    return 0;
}
