// Date and time texts and conversions, all in local time, and the placeholder cipher functions.
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "system/platform.h"

namespace {
// The four shared buffers; each call overwrites its buffer's previous text.
char g_dateBuffer[QV_DATE_SIZE];
char g_timeDetailBuffer[QV_DATE_SIZE];
char g_timeBuffer[QV_DATE_SIZE];
char g_dateDeBuffer[QV_DATE_SIZE];

// Splits at `sep` and stores atoi of the first pieces; fewer than `needed` pieces is a failure.
int splitFields(const char* kFn, const char* text, char sep, const char* nullMsg, int nullLine,
                const char* formatMsg, int formatLine, std::size_t needed, int* fields[3]) {
    if (!text) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, nullLine, "%s", nullMsg);
    const std::vector<std::string> pieces = Tokenize(text, std::string(1, sep));
    if (pieces.size() < needed) return QV_FAIL(1, QV_ERR_ARGUMENT, formatLine, formatMsg, text);
    for (std::size_t i = 0; i < 3 && i < pieces.size(); ++i)
        if (fields[i]) *fields[i] = std::atoi(pieces[i].c_str());
    return 0;
}
}  // namespace

extern "C" {

QV_API long long currentTimestamp(void) { return static_cast<long long>(qv::platform::now()); }

QV_API const char* currentTime(char sep) {
    const std::tm t = qv::platform::localNow();
    std::snprintf(g_timeBuffer, sizeof g_timeBuffer, "%02d%c%02d", t.tm_hour, sep, t.tm_min);
    return g_timeBuffer;
}

QV_API const char* currentTimeDetail(char sep) {
    const std::tm t = qv::platform::localNow();
    std::snprintf(g_timeDetailBuffer, sizeof g_timeDetailBuffer, "%02d%c%02d%c%02d", t.tm_hour, sep,
                  t.tm_min, sep, t.tm_sec);
    return g_timeDetailBuffer;
}

QV_API const char* currentDateDe(void) {
    const std::tm t = qv::platform::localNow();
    std::strftime(g_dateDeBuffer, sizeof g_dateDeBuffer, "%d-%m-%y", &t);
    return g_dateDeBuffer;
}

QV_API const char* currentDateEn(void) {
    const std::tm t = qv::platform::localNow();
    std::strftime(g_dateBuffer, sizeof g_dateBuffer, "%Y-%m-%d", &t);
    return g_dateBuffer;
}

QV_API long long timestampFromTM(struct tm* t) {
    return t ? static_cast<long long>(qv::platform::makeTime(*t)) : -1;
}

QV_API long long timestampFromTime(int year, int month, int day, int hour, int minute, int second) {
    constexpr const char* kFn = "timestampFromTime";
    if (month < 1 || month > 12) return QV_FAIL(1, QV_ERR_ARGUMENT, 164, "month must be in [0..12]");
    if (static_cast<unsigned>(hour) >= 24) return QV_FAIL(1, QV_ERR_ARGUMENT, 168, "hour must be in [0..23]");
    auto fields = [&](int isDst) {
        std::tm t{};
        t.tm_year = year - 1900;
        t.tm_mon = month - 1;
        t.tm_mday = day;
        t.tm_hour = hour;
        t.tm_min = minute;
        t.tm_sec = second;
        t.tm_isdst = isDst;
        return t;
    };
    std::tm first = fields(0);
    const std::time_t standard = qv::platform::makeTime(first);
    if (standard < 0) return QV_FAIL(1, QV_ERR_ARGUMENT, 187, "time info invalid");
    // Second conversion with the daylight-saving flag that local time has at the first result.
    std::tm second_ = fields(qv::platform::localTime(standard).tm_isdst);
    return static_cast<long long>(qv::platform::makeTime(second_));
}

QV_API int dateTimeFromTimestamp(long long ts, int* year, int* month, int* day, int* hour,
                                 int* minute, int* second) {
    const std::tm t = qv::platform::localTime(static_cast<std::time_t>(ts));
    if (year) *year = t.tm_year + 1900;
    if (month) *month = t.tm_mon + 1;
    if (day) *day = t.tm_mday;
    if (hour) *hour = t.tm_hour;
    if (minute) *minute = t.tm_min;
    if (second) *second = t.tm_sec;
    return 0;
}

QV_API int dateTimeStrFromTimestamp(long long ts, char* dateOut, char dateSep, char* timeOut,
                                    char timeSep, char* hourMinuteOut) {
    constexpr const char* kFn = "dateTimeStrFromTimestamp";
    if (ts < 1) return QV_FAIL(1, QV_ERR_ARGUMENT, 116, "timestamp invalid");
    const std::tm t = qv::platform::localTime(static_cast<std::time_t>(ts));
    if (dateOut)
        std::sprintf(dateOut, "%04d%c%02d%c%02d", t.tm_year + 1900, dateSep, t.tm_mon + 1, dateSep, t.tm_mday);
    if (timeOut) std::sprintf(timeOut, "%02d%c%02d%c%02d", t.tm_hour, timeSep, t.tm_min, timeSep, t.tm_sec);
    if (hourMinuteOut) std::sprintf(hourMinuteOut, "%02d%c%02d", t.tm_hour, timeSep, t.tm_min);
    return 0;
}

QV_API int dateFromDateStr(const char* text, char sep, int* first, int* second, int* third) {
    int* fields[3] = {first, second, third};
    return splitFields("dateFromDateStr", text, sep, "date string is NULL", 42,
                       "could not extract date from string: %s", 53, 3, fields);
}

QV_API int timeFromTimeStr(const char* text, char sep, int* hour, int* minute, int* second) {
    // Two pieces suffice; the second's output is set only when a third piece exists.
    int* fields[3] = {hour, minute, second};
    return splitFields("timeFromTimeStr", text, sep, "time string is NULL", 81,
                       "could not extract time from string: %s", 92, 2, fields);
}

QV_API int QV_EnDecryptText(char* /*text*/, unsigned /*length*/) {
    constexpr const char* kFn = "QV_EnDecryptText";
    return QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, 39, "cryptlib support not activated");
}

QV_API int QV_Crypto_EncryptFile(const char* /*source*/, const char* /*target*/) {
    constexpr const char* kFn = "QV_Crypto_EncryptFile";
    return QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, 84, "cryptlib support not activated");
}

QV_API int QV_Crypto_DecryptFile(const char* /*source*/, const char* /*target*/) {
    constexpr const char* kFn = "QV_Crypto_DecryptFile";
    return QV_FAIL(1, QV_ERR_NOT_IMPLEMENTED, __LINE__, "cryptlib support not activated");
}

}  // extern "C"
