/*
 * vrel_log.h: the log globals that the manager library exports.
 *
 * An application sets them before it starts the playlist library; the libraries only read them.
 */
#ifndef VREL_LOG_H
#define VREL_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of g_vrel_log_enabled_pkgs[package]. */

#define VREL_LOG_ERROR UINT32_C(1)   /* failures */
#define VREL_LOG_WARNING UINT32_C(2) /* what goes on, but not as wanted */
#define VREL_LOG_INFO UINT32_C(4)    /* start and stop */

/*
 * Called for every failure code of an enabled package, from the thread that fails, often under a
 * lock: it must not call the libraries.
 * @param line    of the source file; 0 when `source` names an exported function
 * @param source  static text: an exported function or a source file
 * @param code    the failure
 * @param extra   0
 * @return `code`. What you answer is what the exported function returns where `line` is 0, and is
 * not looked at elsewhere; what failed stays a failure.
 */
typedef uint32_t (*vrel_log_error_callback)(uint32_t line, const char* source, uint32_t code,
                                            uint32_t extra);

/*
 * Called for every message of an enabled package and level, likewise.
 * @param line     of the source file, or 0
 * @param source   static text, or null
 * @param package  whose message it is: 137 for the playlist library
 * @param level    VREL_LOG_WARNING or VREL_LOG_INFO
 * @param format   as for printf(); its arguments follow and are valid during the call
 */
typedef void (*vrel_log_callback)(uint32_t line, const char* source, uint32_t package,
                                  uint32_t level, const char* format, ...);

/* Null while no failures are to be told. */
extern vrel_log_error_callback g_vrel_log_error_callback;
/* Null while no messages are to be told. */
extern vrel_log_callback g_vrel_log_callback;

/* What each package may log, by package id: VREL_LOG_ERROR and so on, joined by "or". */
extern uint32_t g_vrel_log_enabled_pkgs[256];

#ifdef __cplusplus
}
#endif

#endif /* VREL_LOG_H */
