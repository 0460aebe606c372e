// vrel_error: the layout of error codes and the steps that log them.
#include "vrel_error.h"

#include "vrel_log.h"

namespace {

// What the log's callback answers; the code itself where nobody is told.
uint32_t tell(uint32_t line, const char* source, uint32_t code) {
  if (!vrel_failed(code)) return code;
  const vrel_log_error_callback callback = g_vrel_log_error_callback;
  if (callback == nullptr) return code;
  if ((g_vrel_log_enabled_pkgs[vrel_error_package(code)] & VREL_LOG_ERROR) == 0) return code;
  return callback(line, source, code, 0);
}

}  // namespace

uint32_t vrel_log_error(uint32_t line, const char* source, uint32_t code) {
  static_cast<void>(tell(line, source, code));
  return code;
}

uint32_t vrel_report_error(const char* function, uint32_t code) {
  return tell(0, function, code);
}
