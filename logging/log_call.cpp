// The log calls: assembly of the log line, hand-over to the loggers, and the last error.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "logging/frame.h"
#include "logging/logging_internal.h"
#include "qvtools/system.h"
#include "system/call_stack.h"

namespace {

int g_lastCode = 0;
std::string g_lastMsg;

// Sends the line to the whole list (id < 0) or to one id logger, then records a nonzero code.
void dispatch(int level, std::string& line, int code, bool toId, int id) {
    if (CLogManager* manager = qv::logging::managerIfAlive()) {
        if (toId)
            manager->LogIdMessage(level, line, code, id);
        else
            manager->LogMessage(level, line, code);
    }
    if (code != 0) {
        g_lastCode = code;
        g_lastMsg = line;
    }
}

// "[level] Name: date time class::function::line: msg", or the bare message for code >= 1.
std::string assemble(int level, const char* msg, int code, const char* date, const char* time,
                     const char* className, const char* function, int line) {
    if (code >= 1) return msg;
    std::string out = "[" + itos(level) + "] ";
    if (code != 0) out += qv::logging::errorName(code) + ": ";
    if (date) out.append(date).append(" ");
    if (time) out.append(time).append(" ");
    if (className) {
        out += className;
        if (function) out += "::";
    }
    if (function) {
        out += function;
        if (line > 0) out += "::" + itos(line);
    }
    out += ": ";
    out += msg;
    return out;
}

std::string vformatGeneric(int level, int code, const char* date, const char* time,
                           const char* className, const char* function, int line,
                           const char* format, va_list args) {
    auto text = [](const char* s) { return s ? s : ""; };
    char header[QV_NAME_SIZE];
    if (className && date) {
        std::snprintf(header, sizeof header, "[%d] %s %s %s: %s::%s(%d)", level, date, text(time),
                      qv::logging::errorName(code).c_str(), className, text(function), line);
    } else {
        std::snprintf(header, sizeof header, "[%d] %s: %s(%d)", level, text(time), text(function),
                      line);
    }
    char message[QV_STRING_SIZE];
    std::vsnprintf(message, sizeof message, format ? format : "", args);
    // The whole line is bounded to 512 characters: a longer one is cut, on purpose.
    char whole[QV_STRING_SIZE];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-truncation"
    std::snprintf(whole, sizeof whole, "%s: %s", header, message);
#pragma GCC diagnostic pop
    return whole;
}

}  // namespace

namespace qv {

int fail(int level, int code, const char* function, int line, const char* fmt, ...) {
    // A notice that no logger would write leaves no trace at all (it never becomes the last
    // error), so it is not even formatted: notices sit on hot paths such as tree writing.
    if (code == 0) {
        CLogManager* manager = qv::logging::managerIfAlive();
        if (!manager || !manager->AcceptsLevel(level)) return code;
    }
    const char* date = currentDateEn();
    const char* time = currentTimeDetail(':');
    va_list args;
    va_start(args, fmt);
    std::string text = vformatGeneric(level, code, date, time, nullptr, function, line, fmt, args);
    va_end(args);
    dispatch(level, text, code, false, 0);
    return code;
}

}  // namespace qv

extern "C" {

QV_API void LogMsg(int level, const char* msg, int code, const char* date, const char* time,
                   const char* className, const char* function, int line) {
    std::string text = assemble(level, msg ? msg : "", code, date, time, className, function, line);
    dispatch(level, text, code, false, 0);
}

QV_API void LogIDMsg(int level, int id, const char* msg, int code, const char* date,
                     const char* time, const char* className, const char* function, int line) {
    std::string text = assemble(level, msg ? msg : "", code, date, time, className, function, line);
    dispatch(level, text, code, true, id);
}

QV_API void LogMsgStack(int level, const char* msg, int code, const char* date, const char* time) {
    if (!msg) msg = "";
    std::string text;
    if (code >= 1) {
        text = msg;
    } else {
        text = "[" + itos(level) + "] ";
        if (code != 0) text += qv::logging::errorName(code) + ": ";
        if (date) text.append(date).append(" ");
        if (time) text.append(time).append(" ");
        // The caller's stack, from this function's own frame on (one line per frame).
        char stack[qv::stack::kCallStackTextSize] = "";
        qv::stack::copyCallStack(stack, "LogMsgStack");
        text += stack;
        text += "\n";
        text += msg;
    }
    dispatch(level, text, code, false, 0);
}

QV_API void LogMsgGeneric(int level, int code, const char* date, const char* time,
                          const char* className, const char* function, int line,
                          const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text = vformatGeneric(level, code, date, time, className, function, line, format, args);
    va_end(args);
    dispatch(level, text, code, false, 0);
}

QV_API int QV_GetLastError(void) { return g_lastCode; }

QV_API int QV_GetLastErrorMsg(char* out) {
    if (out) std::memcpy(out, g_lastMsg.c_str(), g_lastMsg.size() + 1);
    return g_lastCode;
}

}  // extern "C"
