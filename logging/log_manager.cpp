// The log manager: the library's one owner of loggers, a list in order of adding and an id map.
#include "logging/logging_internal.h"
#include "qvtools/logging.h"

namespace {
// The library's instance while it exists; null before it is built and after it is destroyed.
CLogManager* g_instance = nullptr;
}

namespace qv::logging {
CLogManager* managerIfAlive() {
    CLogManager::GetLogManager();
    return g_instance;
}
}  // namespace qv::logging

CLogManager* CLogManager::GetLogManager() {
    static CLogManager instance;
    static const bool registered = (g_instance = &instance, true);
    static_cast<void>(registered);
    return &instance;
}

// Built when the library is loaded, so that it outlives the other subsystems' singletons.
namespace {
[[maybe_unused]] const CLogManager* const g_buildAtLoad = CLogManager::GetLogManager();
}

CLogManager::CLogManager() : m_count(0) {}

CLogManager::~CLogManager() {
    if (g_instance == this) g_instance = nullptr;
    for (CStdLogger* logger : m_list) delete logger;
    for (auto& entry : m_idMap) delete entry.second;
    m_idMap.clear();
    m_list.clear();
}

int CLogManager::AddLogger(CStdLogger* logger) {
    m_list.push_back(logger);
    return m_count++;
}

int CLogManager::AddIdLogger(CStdLogger* logger, int id) {
    m_idMap[id] = logger;
    return static_cast<int>(m_idMap.size());
}

CStdLogger* CLogManager::GetLogger(int index) {
    if (index < 0 || index > m_count - 1) return nullptr;
    return m_list[static_cast<size_t>(index)];
}

void CLogManager::LogMessage(int level, std::string& line, int code) {
    for (CStdLogger* logger : m_list)
        if (logger) logger->LogMessage(level, line, code);
}

bool CLogManager::AcceptsLevel(int level) const {
    for (const CStdLogger* logger : m_list)
        if (logger && logger->GetLogLevel() >= 0 && level <= logger->GetLogLevel()) return true;
    return false;
}

void CLogManager::LogIdMessage(int level, std::string& line, int code, int id) {
    CStdLogger*& logger = m_idMap[id];
    if (logger) logger->LogMessage(level, line, code);
}

void CLogManager::FileLoggersQueryNewFile() {
    for (CStdLogger* logger : m_list)
        if (logger && logger->GetLoggerType() == 1) static_cast<CFileLogger*>(logger)->QueryNewLogFile();

    // Walk the ids from 0 upwards while the id is below the map's size, adding a null entry for
    // every missing id: afterwards the map holds an entry for every id from 0 to the largest.
    // Negative ids also count in the size, so with one present the walk would never end; it
    // therefore also stops once it has passed the largest id, which changes nothing otherwise.
    if (m_idMap.empty()) return;
    const int largest = m_idMap.rbegin()->first;
    for (int id = 0; id < static_cast<int>(m_idMap.size()) && id <= largest; ++id) {
        CStdLogger*& logger = m_idMap[id];
        if (logger && logger->GetLoggerType() == 1) static_cast<CFileLogger*>(logger)->QueryNewLogFile();
    }
}

void CLogManager::SetLogLevel(int /*level*/) {}
