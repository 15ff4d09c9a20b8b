// The standard-output logger (base of all loggers) and the callback logger, with their banners.
#include <iostream>

#include "logging/logging_internal.h"
#include "qvtools/logging.h"
#include "qvtools/system.h"

namespace qv::logging {
std::string banner(const char* opening, const char* closing) {
    std::string text = opening;
    text += currentTime(':');
    text += " - ";
    text += currentDateEn();
    text += closing;
    return text;
}
}  // namespace qv::logging

namespace {
// A message of level M reaches a logger of level L when M <= L; a negative L takes nothing.
bool accepts(int loggerLevel, int level) { return loggerLevel >= 0 && level <= loggerLevel; }
}  // namespace

CStdLogger::CStdLogger(int level, int type, int id) : m_level(level), m_type(type), m_id(id) {}

CStdLogger::~CStdLogger() {
    if (m_level >= 0)
        std::cout << qv::logging::banner("===================StdOut-Logger exit at ",
                                         "===================")
                  << std::endl;
}

void CStdLogger::LogMessage(int level, std::string& line, int /*code*/) {
    if (accepts(m_level, level)) std::cout << line << std::endl;
}

CCallbackLogger::CCallbackLogger(int level, QV_LogCallback callback)
    : CStdLogger(level, 2, -1), m_callback(callback) {
    if (m_callback && m_level >= 0)
        m_callback(0, qv::logging::banner("=================Callback-Logger startup at ",
                                          "==================").c_str(), 0);
}

CCallbackLogger::~CCallbackLogger() {
    if (m_callback && m_level >= 0)
        m_callback(0, qv::logging::banner("=================Callback-Logger exit at ",
                                          "==================").c_str(), 0);
}

void CCallbackLogger::LogMessage(int level, std::string& line, int code) {
    if (m_callback && accepts(m_level, level)) m_callback(level, line.c_str(), code);
}
