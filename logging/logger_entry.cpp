// C entry points that create loggers and hand them to the log manager.
#include "logging/logging_internal.h"
#include "qvtools/logging.h"

extern "C" {

QV_API int AddStdOutLogger(int level) {
    return CLogManager::GetLogManager()->AddLogger(new CStdLogger(level, 0, -1));
}

QV_API int AddFileLogger(int level, const char* filePath) {
    return CLogManager::GetLogManager()->AddLogger(new CFileLogger(level, filePath ? filePath : "", -1));
}

QV_API int AddFileLoggerAuto(int level, const char* directory) {
    return AddFileLogger(level, qv::logging::logFileName(directory ? directory : "").c_str());
}

QV_API void AddIdFileLogger(int level, int id, const char* filePath) {
    CLogManager::GetLogManager()->AddIdLogger(new CFileLogger(level, filePath ? filePath : "", id), id);
}

QV_API void AddIdFileLoggerAuto(int level, int id, const char* directory) {
    AddIdFileLogger(level, id, qv::logging::idLogFileName(directory ? directory : "", id).c_str());
}

QV_API int AddCallbackLogger(int level, QV_LogCallback callback) {
    return CLogManager::GetLogManager()->AddLogger(new CCallbackLogger(level, callback));
}

QV_API void FileLoggersQueryNewFile(void) { CLogManager::GetLogManager()->FileLoggersQueryNewFile(); }

QV_API void SetLogLevel(int /*level*/) {}

}  // extern "C"
