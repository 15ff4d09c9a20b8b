// The file logger: appends accepted lines to a text file and can continue in a new file.
#include "logging/frame.h"
#include "logging/logging_internal.h"
#include "qvtools/system.h"
#include "system/platform.h"

namespace qv::logging {
std::string logFileName(const std::string& directory) {
    char name[QV_STRING_SIZE];
    const char* date = currentDateEn();
    const char* time = currentTime('_');
    std::snprintf(name, sizeof name, "%s%c%s__%s_logfile.log", directory.c_str(),
                  qv::platform::kPathSeparator, date, time);
    return name;
}

std::string idLogFileName(const std::string& directory, int id) {
    char name[QV_STRING_SIZE];
    const char* date = currentDateEn();
    const char* time = currentTime('_');
    std::snprintf(name, sizeof name, "%s%c%03d__%s__%s_logfile.log", directory.c_str(),
                  qv::platform::kPathSeparator, id, date, time);
    return name;
}
}  // namespace qv::logging

namespace {
void openForAppend(std::ofstream& stream, const std::string& path) { stream.open(path, std::ios::out | std::ios::app); }
}  // namespace

CFileLogger::CFileLogger(int level, std::string filePath, int id)
    : CStdLogger(level, 1, id), m_filePath(std::move(filePath)), m_newFileRequest(false) {
    constexpr const char* kFn = "CFileLogger::CFileLogger";
    const std::string::size_type cut = m_filePath.find_last_of(qv::platform::kPathSeparator);
    if (cut != std::string::npos) qv::platform::makePath(m_filePath.substr(0, cut));
    openForAppend(m_stream, m_filePath);
    if (m_stream.fail() || !m_stream.is_open())
        QV_FAIL(1, QV_ERR_ARGUMENT, 18, "could not open filestream for file logger");
    std::string startup = qv::logging::banner("===============File-Logger startup at ", "===============");
    LogMessage(0, startup, 0);
    // A path without separator gives an empty directory: new files then start at the root.
    m_directory = cut == std::string::npos ? std::string() : m_filePath.substr(0, cut + 1);
}

CFileLogger::~CFileLogger() {
    std::string exitBanner = qv::logging::banner("===============File-Logger exit at ", "===============");
    LogMessage(0, exitBanner, 0);
    SaveFile("");
}

void CFileLogger::LogMessage(int level, std::string& line, int /*code*/) {
    if (m_level < 0 || level > m_level || m_stream.fail()) return;
    if (m_newFileRequest) {
        // The 0xB4 byte (an acute accent in Windows-1252) is part of the note.
        std::string note = "==*== it\xB4s a new Logger day - continuing file " + m_filePath + " ==*==";
        SaveFile("");
        // A logger without id (negative id) takes the plain pattern, any other the id pattern.
        m_filePath = m_id < 0 ? qv::logging::logFileName(m_directory)
                              : qv::logging::idLogFileName(m_directory, m_id);
        openForAppend(m_stream, m_filePath);
        m_stream << note << '\n';
        m_newFileRequest = false;
    } else if (!m_stream.is_open()) {
        openForAppend(m_stream, m_filePath);
    }
    m_stream << line << std::endl;
}

void CFileLogger::QueryNewLogFile() { m_newFileRequest = true; }

bool CFileLogger::SaveFile(std::string name) {
    if (name.empty()) name = m_filePath;  // the name is otherwise not used
    if (m_stream.fail()) return false;
    if (m_stream.is_open()) m_stream.close();  // a failing close sets the failed state
    return true;
}

void CFileLogger::SetFilePath(std::string path) { m_filePath = std::move(path); }

std::string CFileLogger::GetFilePath() const { return m_filePath; }
