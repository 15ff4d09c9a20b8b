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

#endif
