// Guard: the one place where an exception becomes an error code.
#include "util/Guard.hxx"

#include <new>

#include "errors/ErrorInfo.hxx"
#include "trova_manager.h"
#include "util/Failure.hxx"
#include "vrel_log.h"

namespace trova {

namespace {

constexpr uint32_t kFailureBit = 0x80000000;

constexpr uint32_t package_of(uint32_t code) {
  return (code >> 16) & 0xff;
}

bool is_logged(uint32_t code) {
  return (g_vrel_log_enabled_pkgs[package_of(code)] & VREL_LOG_ERROR) != 0;
}

// The words of a failure; its code is logged by whoever returns it to the application.
uint32_t report(const Failure& failure) noexcept {
  const uint32_t code = failure.code();
  error_service_table().set(code, failure.what());
  const vrel_log_callback callback = g_vrel_log_callback;
  if (callback != nullptr && is_logged(code)) {
    callback(0, nullptr, package_of(code), VREL_LOG_ERROR, "%s", failure.what());
  }
  return code;
}

}  // namespace

uint32_t code_of_current_exception() noexcept {
  try {
    throw;
  } catch (const Failure& failure) {
    return report(failure);
  } catch (const std::bad_alloc&) {
    return TROVA_MANAGER_NO_MEMORY;
  } catch (...) {
    return TROVA_MANAGER_INTERNAL;
  }
}

uint32_t log_failure(const char* function, uint32_t code) noexcept {
  if ((code & kFailureBit) == 0) return code;
  const vrel_log_error_callback callback = g_vrel_log_error_callback;
  if (callback == nullptr) return code;
  if (!is_logged(code)) return code;
  return callback(0, function, code, 0);
}

}  // namespace trova
