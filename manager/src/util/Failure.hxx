// Failure: an error code that travels with the reason in words.
#ifndef TROVA_MANAGER_UTIL_FAILURE_HXX
#define TROVA_MANAGER_UTIL_FAILURE_HXX

#include <cstdint>
#include <stdexcept>
#include <string>

namespace trova {

// guard() turns it into its code; the words become the thread's last error and a line of the log.
class Failure : public std::runtime_error {
 public:
  Failure(uint32_t code, const std::string& text) : std::runtime_error(text), code_(code) {}

  uint32_t code() const noexcept { return code_; }

 private:
  uint32_t code_;
};

}  // namespace trova

#endif  // TROVA_MANAGER_UTIL_FAILURE_HXX
