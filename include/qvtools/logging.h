/* QV_Tools logging: error codes, the process-wide last error, the log calls and the loggers.
 *
 * Every exported function of the library reports a failure by logging one line through
 * LogMsgGeneric and returning a negative code. The line goes to every logger of the log
 * manager that accepts its level (a logger of level L takes messages of level M <= L), and a
 * nonzero code becomes the last error, readable with QV_GetLastError/QV_GetLastErrorMsg. */
#ifndef QVTOOLS_LOGGING_H
#define QVTOOLS_LOGGING_H

#include "qvtools/export.h"

/* Error codes. Zero is success; negative values are failures; never renumbered. */
#define QV_OK                      0   /* success */
#define QV_ERR_UNKNOWN            -1   /* "UnknownError" */
#define QV_ERR_NULL_ARGUMENT      -2   /* "NullArgumentError" */
#define QV_ERR_MEMORY             -3   /* "MemoryError" */
#define QV_ERR_IO                 -4   /* "IOError" */
#define QV_ERR_ARGUMENT           -5   /* "ArgumentError" */
#define QV_ERR_NETWORK            -6   /* "NetworkError" */
#define QV_ERR_ASSERT             -7   /* "AssertError" */
#define QV_ERR_XML                -8   /* "XMLError" */
#define QV_ERR_NOT_IMPLEMENTED    -9   /* "NotImplementedError" */
#define QV_ERR_OUT_OF_BOUNDS     -10   /* "OutOfBoundsError" */
/*                               -11      unnamed: printed as "user-defined error(-11)" */
#define QV_ERR_DATABASE          -12   /* "DatabaseError" */

/* Signature of a callback logger: level, the assembled line, the error code. */
typedef void (*QV_LogCallback)(int level, const char* line, int code);

QV_EXTERN_C_BEGIN

/* Writes the name of `code` into `out` (at least 128 characters). Returns 0, or -2 when out is
 * null (logged as "output arg is NULL"). Unnamed codes read "user-defined error(%d)". */
QV_API int ErrorCode2String(int code, char* out);

/* Assembles "[level] Name: date time class::function::line: msg" (pieces absent when null) and
 * sends it to every logger of the list. A code of 1 or more sends the message alone. A nonzero
 * code makes the line the last error. */
QV_API void LogMsg(int level, const char* msg, int code, const char* date, const char* time,
                   const char* className, const char* function, int line);

/* As LogMsg, but only to the logger registered under `id`. */
QV_API void LogIDMsg(int level, int id, const char* msg, int code, const char* date,
                     const char* time, const char* className, const char* function, int line);

/* As LogMsg, with the caller's call stack in place of class, function and line. */
QV_API void LogMsgStack(int level, const char* msg, int code, const char* date, const char* time);

/* The library's own log call: header "[%d] %s: %s(%d)" (level, time, function, line), or
 * "[%d] %s %s %s: %s::%s(%d)" when both class and date are given, then ": " and the message
 * formatted printf-style from `format`. */
QV_API void LogMsgGeneric(int level, int code, const char* date, const char* time,
                          const char* className, const char* function, int line,
                          const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 8, 9)))
#endif
    ;

/* The last nonzero code logged (0 until the first failure). */
QV_API int QV_GetLastError(void);
/* Copies the last error line into `out` when not null (no length limit); returns the code. */
QV_API int QV_GetLastErrorMsg(char* out);

/* Logger entry points. Loggers live until the library is unloaded. */
QV_API int AddStdOutLogger(int level);
QV_API int AddFileLogger(int level, const char* filePath);
QV_API int AddFileLoggerAuto(int level, const char* directory);
QV_API void AddIdFileLogger(int level, int id, const char* filePath);
QV_API void AddIdFileLoggerAuto(int level, int id, const char* directory);
QV_API int AddCallbackLogger(int level, QV_LogCallback callback);
QV_API void FileLoggersQueryNewFile(void);
/* Does nothing: a logger's level is set when it is created, or on the logger itself. */
QV_API void SetLogLevel(int level);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <fstream>
#include <map>
#include <string>
#include <vector>

/* Base of all loggers, and itself the standard-output logger (type 0). */
class QV_API CStdLogger {
public:
    CStdLogger(int level, int type, int id);
    CStdLogger(const CStdLogger&) = default;
    CStdLogger& operator=(const CStdLogger&) = default;
    virtual ~CStdLogger();
    /* Writes `line` and an end of line to standard output when level <= the logger's level. */
    virtual void LogMessage(int level, std::string& line, int code);

    int GetLogLevel() const { return m_level; }
    void SetLogLevel(int level) { m_level = level; }
    int GetLoggerType() const { return m_type; }
    int GetId() const { return m_id; }

protected:
    int m_level;
    int m_type;
    int m_id;
};

/* Forwards each accepted line to a callback (type 2); banners at creation and destruction. */
class QV_API CCallbackLogger : public CStdLogger {
public:
    CCallbackLogger(int level, QV_LogCallback callback);
    ~CCallbackLogger() override;
    void LogMessage(int level, std::string& line, int code) override;

private:
    QV_LogCallback m_callback;
};

/* Appends each accepted line to a text file (type 1); can continue in a new file on request. */
class QV_API CFileLogger : public CStdLogger {
public:
    CFileLogger(int level, std::string filePath, int id);
    ~CFileLogger() override;
    void LogMessage(int level, std::string& line, int code) override;

    /* The next accepted line starts a new, time-stamped file in the logger's directory. */
    void QueryNewLogFile();
    /* Closes the file; false (doing nothing) once the stream has failed. */
    bool SaveFile(std::string name);
    /* Replaces the path; takes effect at the next opening. */
    void SetFilePath(std::string path);
    std::string GetFilePath() const;

private:
    std::string m_filePath;
    std::string m_directory;
    std::ofstream m_stream;
    bool m_newFileRequest;
};

/* The one log manager of the library: owns every logger in its list and its id map. */
class QV_API CLogManager {
public:
    static CLogManager* GetLogManager();

    /* Appends to the list; returns the new logger's index. */
    int AddLogger(CStdLogger* logger);
    /* Stores under `id`, replacing (not deleting) any logger there; returns the map's size. */
    int AddIdLogger(CStdLogger* logger, int id);
    /* The list entry at `index`, or null when out of range. */
    CStdLogger* GetLogger(int index);
    void LogMessage(int level, std::string& line, int code);
    void LogIdMessage(int level, std::string& line, int code, int id);
    void FileLoggersQueryNewFile();
    /* Does nothing, deliberately. */
    void SetLogLevel(int level);

    /* True when some logger of the list would write a message of `level`. */
    bool AcceptsLevel(int level) const;
    /* Number of entries in the id map (entries holding null included). */
    int IdMapSize() const { return static_cast<int>(m_idMap.size()); }
    /* True when the id map holds an entry (possibly null) under `id`. */
    bool HasIdEntry(int id) const { return m_idMap.count(id) != 0; }

    CLogManager();
    ~CLogManager();
    CLogManager(const CLogManager&) = delete;
    CLogManager& operator=(const CLogManager&) = delete;

private:
    int m_count;
    std::vector<CStdLogger*> m_list;
    std::map<int, CStdLogger*> m_idMap;
};
#endif /* __cplusplus */

#endif
