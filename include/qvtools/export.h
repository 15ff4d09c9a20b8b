/* QV_Tools export macros.
 *
 * Every public function and class is marked with QV_API; the library is built with hidden
 * visibility, so nothing else leaves it. QV_EXTERN_C_BEGIN/END wrap the plain C declarations
 * of each family header so that the headers can be included from C and from C++. */
#ifndef QVTOOLS_EXPORT_H
#define QVTOOLS_EXPORT_H

#if defined(_WIN32)
#  if defined(QV_BUILDING_LIBRARY)
#    define QV_API __declspec(dllexport)
#  else
#    define QV_API __declspec(dllimport)
#  endif
#else
#  define QV_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#  define QV_EXTERN_C_BEGIN extern "C" {
#  define QV_EXTERN_C_END }
#else
#  define QV_EXTERN_C_BEGIN
#  define QV_EXTERN_C_END
#endif

/* Fixed text sizes shared across the interface, terminators included. */
#define QV_NAME_SIZE 128      /* node names, error-code names, log headers */
#define QV_STRING_SIZE 512    /* string values, localized texts, log messages and lines */
#define QV_DATE_SIZE 16       /* date and time text buffers */

#endif
