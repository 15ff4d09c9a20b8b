// The failure frame shared by every export of the library.
//
// An export names itself once:   constexpr const char* kFn = "CreateTreeNode";
// (a method names itself "Class::method", e.g. "CFileLogger::CFileLogger")
// and reports a failure with one expression that logs through LogMsgGeneric (with the current
// date and time and the short "[level] time: function(line)" header) and yields the value to
// return:
//     if (!node) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, 412, "node is NULL");
//     if (!buf)  return QV_FAIL_NULL(1, QV_ERR_MEMORY, __LINE__, "cannot allocate %d bytes", n);
//     QV_NOTE(4, __LINE__, "created %d nodes", n);          // notice: code 0, last error kept
// Line numbers that belong to a documented message are passed as literals; elsewhere __LINE__.
#pragma once

#include "qvtools/logging.h"

namespace qv {

// Logs `fmt` at `level` with `code` under `function` and `line`; returns `code`.
int fail(int level, int code, const char* function, int line, const char* fmt, ...)
    __attribute__((format(printf, 5, 6)));

}  // namespace qv

#define QV_FAIL(level, code, line, ...) ::qv::fail((level), (code), kFn, (line), __VA_ARGS__)
#define QV_FAIL_NULL(level, code, line, ...) \
    (static_cast<void>(::qv::fail((level), (code), kFn, (line), __VA_ARGS__)), nullptr)
#define QV_FAIL_VAL(value, level, code, line, ...) \
    (static_cast<void>(::qv::fail((level), (code), kFn, (line), __VA_ARGS__)), (value))
#define QV_NOTE(level, line, ...) static_cast<void>(::qv::fail((level), 0, kFn, (line), __VA_ARGS__))
// Argument guard for int-returning exports: a null pointer logs at level 1 with code -2.
#define QV_CHECK_NULL(ptr, line, ...) \
    do { if (!(ptr)) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, (line), __VA_ARGS__); } while (0)
