/* QV_Tools system services: number and text helpers, date and time conversion, sleeping,
 * and the placeholder cipher functions.
 *
 * Texts written into caller buffers are zero-terminated; the caller provides the room. Texts
 * returned by the current-date/time functions live in shared 16-character buffers that the next
 * call overwrites (the library is single-threaded by contract). */
#ifndef QVTOOLS_SYSTEM_H
#define QVTOOLS_SYSTEM_H

#include "qvtools/export.h"

#ifndef __cplusplus
#include <stdbool.h>
#endif
#include <time.h>

QV_EXTERN_C_BEGIN

/* ---- number to text into a caller buffer; 0, or -2 when out is null ---- */
QV_API int itoc(int value, char* out);
QV_API int uitoc(unsigned value, char* out);
QV_API int lltoc(long long value, char* out);
QV_API int ulltoc(unsigned long long value, char* out);
QV_API int dtoc(double value, int precision, char* out);
QV_API int ftoc(float value, int precision, char* out);

/* ---- number to new text; release with QV_Release ---- */
QV_API char* itocp(int value);            /* 16-byte block, "%d" */
QV_API char* itohexcp(unsigned value);    /* 16-byte block, "0x%08x" */
QV_API char* dtocp(double value, int precision);
QV_API char* ftocp(float value, int precision);

/* ---- text to number ---- */
QV_API long hextol(const char* text);
/* Blanks and tabs, one optional sign, decimal digits; 0 when there is no digit; no overflow test. */
QV_API long long cptoll(const char* text);
/* True when strtod consumed at least one character: trailing text is accepted ("12abc" is 12). */
QV_API bool isNumeric(const char* text, double* value);

/* ---- text tests and edits ---- */
QV_API int AllCharsEqual(const char* text);
QV_API int FindDifferentChar(const char* text, char c);
QV_API int replaceChar(char* text, char from, char to);
/* Removes a leading space, and a trailing one only when the text also begins with a space;
 * returns the number removed (1 or 2), or -5 when the text is shorter than 2 or does not begin
 * with a space. */
QV_API int RemoveTrailingSpaces(char* text);
QV_API int strcmpLower(const char* a, const char* b);
QV_API bool isAlpha(char c);
QV_API bool isAlphaNum(char c);
/* Write the converted characters into target (or source when target is null) without a
 * terminator; return the number of characters, or -2 for a null source. */
QV_API int strToUpper(const char* source, char* target);
QV_API int strToLower(const char* source, char* target);
/* Splits `source` at any of `delimiters` into a null-terminated array of new texts (release
 * each piece and the array with QV_Release); null on failure. */
QV_API char** tokenizeString(const char* source, const char* delimiters);

/* ---- numeric utilities ---- */
QV_API double qv_sin(double x);
QV_API double qv_cos(double x);
QV_API double qv_tan(double x);
QV_API double rad2deg(double x);
QV_API int Min1D(const double* values, int count, double* value, unsigned* index);
QV_API int Max1D(const double* values, int count, double* value, unsigned* index);
QV_API int clampIntValue(int x, int lo, int hi);
QV_API double clampDoubleValue(double x, double lo, double hi);
QV_API int clampIntValueSet(int x, int lo, int hi, int replacement);
QV_API bool isNan(double x);
QV_API void QV_Sleep(unsigned ms);
QV_API void QV_Release(void* block);

/* ---- date and time (local time) ---- */
QV_API long long currentTimestamp(void);
QV_API const char* currentTime(char sep);         /* "%02d%c%02d" hour, sep, minute */
QV_API const char* currentTimeDetail(char sep);   /* "%02d%c%02d%c%02d" */
QV_API const char* currentDateDe(void);           /* "%d-%m-%y" */
QV_API const char* currentDateEn(void);           /* "%Y-%m-%d" */
QV_API long long timestampFromTM(struct tm* t);
QV_API long long timestampFromTime(int year, int month, int day, int hour, int minute, int second);
QV_API int dateTimeFromTimestamp(long long ts, int* year, int* month, int* day, int* hour,
                                 int* minute, int* second);
QV_API int dateTimeStrFromTimestamp(long long ts, char* dateOut, char dateSep, char* timeOut,
                                    char timeSep, char* hourMinuteOut);
QV_API int dateFromDateStr(const char* text, char sep, int* first, int* second, int* third);
QV_API int timeFromTimeStr(const char* text, char sep, int* hour, int* minute, int* second);

/* ---- placeholder cipher functions: log -9 "cryptlib support not activated" ---- */
QV_API int QV_EnDecryptText(char* text, unsigned length);
QV_API int QV_Crypto_EncryptFile(const char* source, const char* target);
QV_API int QV_Crypto_DecryptFile(const char* source, const char* target);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <string>
#include <vector>

/* "%d" as a std::string. */
QV_API std::string itos(int value);
/* The pieces between delimiter characters; empty pieces between two delimiters are kept. An
 * empty text gives an empty vector. */
QV_API std::vector<std::string> Tokenize(const std::string& text, const std::string& delimiters);
/* x rounded half up to `digits` decimals (digits above 8 are treated as 8). C++ linkage, so it
 * overloads rather than replaces the C library's round(double). */
QV_API double round(double x, unsigned digits);
#endif

/* ============================================================================================
 * Periodic timer
 *
 * QV_Timer calls `callback(callbackContext, tick)` every `interval` milliseconds on a worker
 * thread of its own. Assign the two public members before Start(). Each period is measured from
 * the end of the previous callback, so the timer drifts by the callback's duration and never
 * catches up missed periods. Stop() returns at once: a worker that is waiting finishes its wait,
 * calls back once more and then ends. Keep the object alive until then; neither Stop() nor the
 * destructor waits for the worker. A worker only ever tests the running flag: Start() after
 * Stop(), before the previous worker has made that last call, leaves the previous worker running
 * too, and both call back until the next Stop(). The tick counts callbacks since the last Stop() (Stop() sets
 * it to 0).
 * ========================================================================================== */
#ifdef __cplusplus
#include <atomic>
#include <cstdint>
#include <memory>

namespace boost { class thread; }
namespace qv { struct TimerAccess; }

/* The periodic action: the context pointer and the number of the callback (0, 1, 2, ...). */
typedef void (*QV_TimerCallback)(void* context, unsigned tick);

class QV_API QV_Timer {
public:
    /* Interval in milliseconds; the default is 1000. An int converts to a timer with that
     * interval (QV_Timer timer = 250;). */
    QV_Timer();
    QV_Timer(int interval);
    /* Copies every member, the running flag and the tick included; the copy shares the worker
     * thread's handle but no worker runs for it. */
    QV_Timer(const QV_Timer& other);
    QV_Timer& operator=(const QV_Timer& other);
    /* Sets the tick to 0 and running to false and releases the thread handle without joining. */
    virtual ~QV_Timer();

    /* Starts a worker thread; does nothing while the timer runs. Throws the threading library's
     * exception when no thread can be created. */
    void Start();
    /* Sets the tick to 0 and running to false and returns at once. */
    void Stop();
    bool IsRunning();
    /* The interval in milliseconds from the next period on; the current wait is not changed. */
    void SetIntervall(int interval);

    /* First argument of every callback; null at construction. Without a callback it is
     * ignored. */
    void* callbackContext;
    /* Called once per period on the worker thread; null at construction (then the timer only
     * counts ticks). */
    QV_TimerCallback callback;

private:
    friend struct qv::TimerAccess;

    /* End of the current wait: seconds since 1970-01-01 UTC (unsigned 32-bit, enough until
     * 2106) and nanoseconds. */
    struct Deadline {
        std::uint32_t seconds;
        std::int32_t nanoseconds;
    };

    /* The worker thread's body: wait, call back, count, until running turns false. */
    void Loop();

    /* Shared between the caller's thread and the worker, hence atomic (unlocked). */
    std::atomic<std::uint32_t> tick;
    std::atomic<bool> running;
    int initialInterval;
    std::atomic<std::int32_t> interval;
    std::atomic<Deadline> deadline; /* written by the worker, read whole */
    std::shared_ptr<boost::thread> thread;
};
#endif /* __cplusplus */

/* ============================================================================================
 * Signal tower
 *
 * Switches the outputs of USB signal towers through the tower driver library, loaded at run
 * time: "libslma.so" here ("slma.dll" on Windows), looked for first in the directory of the
 * running program, then by the dynamic linker's usual search (LD_LIBRARY_PATH, the system
 * library directories), then in the current working directory. Towers are numbered from 1,
 * outputs ("ios") 1 to 5. Failures are logged at level 1; a missing driver library or driver
 * function is code -11, everything else -5.
 * ========================================================================================== */
QV_EXTERN_C_BEGIN

/* Loads the driver, asks it for the towers and initialises at least eight of them (every
 * output of each given the value 1, remembered values cleared to 0). Returns 0, -11 when the
 * library or one of "SetUsbDevice"/"InitIOStatus" is missing, or -5 when the driver fails with
 * an exception (then no tower is counted and the library is released). */
QV_API int QV_SignalTower_Init(void);
/* Releases the driver library; returns 0. The tower count is kept; call QV_SignalTower_Init
 * again before setting outputs. */
QV_API int QV_SignalTower_Exit(void);
/* The number of towers found by the last initialisation (0 before). */
QV_API int QV_SignalTower_GetNumDevices(void);
/* Sets output `io` (1 to 5) of tower `tower` to `value` and remembers the value. Returns 0, -5
 * (bad tower or output, driver failure) or -11 (driver function missing). */
QV_API int QV_SignalTower_SetIO(int tower, int io, int value);
/* Hands a, b and c unchanged to the driver's "SetIOStatus" for `tower`. Returns 0, -5 (tower
 * beyond the count, driver failure) or -11 (driver not loaded or function missing). */
QV_API int QV_SignalTower_SetIOS(int tower, int a, int b, int c);
/* Sets outputs 1 to 5 of every tower found to `value`; failures are logged and skipped.
 * Returns 0. */
QV_API int QV_SignalTower_SetAllIOs(int value);

QV_EXTERN_C_END

#endif
