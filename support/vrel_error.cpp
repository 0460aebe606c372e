// vrel_error: the layout of error codes and the one step that logs them.
#include "vrel_error.h"

#include "vrel_log.h"

uint32_t vrel_log_error(uint32_t line, const char* source, uint32_t code, uint32_t extra) {
  if (!vrel_failed(code)) return code;
  const vrel_log_error_callback callback = g_vrel_log_error_callback;
  if (callback == nullptr) return code;
  if ((g_vrel_log_enabled_pkgs[vrel_error_package(code)] & VREL_LOG_ERROR) == 0) return code;
  return callback(line, source, code, extra);
}
