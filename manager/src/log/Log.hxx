// Log: the log globals, and the lines that are written when an application asks for them.
#ifndef TROVA_MANAGER_LOG_LOG_HXX
#define TROVA_MANAGER_LOG_LOG_HXX

#include <cstdint>

namespace trova {

// Names a package in log lines. The tag is copied; what is too long is cut.
// @return 0; TROVA_MANAGER_INVALID_ARG
uint32_t set_package_tag(uint32_t package, const char* tag) noexcept;

}  // namespace trova

#endif  // TROVA_MANAGER_LOG_LOG_HXX
