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
#define VREL_LOG_ERROR UINT32_C(1)
#define VREL_LOG_WARNING UINT32_C(2)
#define VREL_LOG_INFO UINT32_C(4)

/*
 * Called for every failure code of an enabled package. `source` names the exported function (then
 * `line` is 0) or the source file. It must return `code`: what it returns is what the failing
 * function returns.
 */
typedef uint32_t (*vrel_log_error_callback)(uint32_t line, const char* source, uint32_t code,
                                            uint32_t extra);

/* Called for every message of an enabled package and level. `source` may be null. */
typedef void (*vrel_log_callback)(uint32_t line, const char* source, uint32_t package,
                                  uint32_t level, const char* format, ...);

/* Null while no log is wanted. */
extern vrel_log_error_callback g_vrel_log_error_callback;
extern vrel_log_callback g_vrel_log_callback;

/* What each package may log, by package id: VREL_LOG_ERROR and so on, joined by "or". */
extern uint32_t g_vrel_log_enabled_pkgs[256];

#ifdef __cplusplus
}
#endif

#endif /* VREL_LOG_H */
