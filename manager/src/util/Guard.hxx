// Guard: the one place where an exception becomes an error code.
#ifndef TROVA_MANAGER_UTIL_GUARD_HXX
#define TROVA_MANAGER_UTIL_GUARD_HXX

#include <cstdint>
#include <utility>

namespace trova {

// The code for the exception that is being handled; call it from a catch block only.
// The code of a Failure, whose words are then the thread's last error; TROVA_MANAGER_NO_MEMORY for
// std::bad_alloc, TROVA_MANAGER_INTERNAL for everything else.
uint32_t code_of_current_exception() noexcept;

// Reports a failure of one of our exported functions to the error log and returns what the log
// returns; other codes come back as they are.
uint32_t log_failure(const char* function, uint32_t code) noexcept;

// Runs the body of a table slot: a callable that returns an error code.
template <class Body>
uint32_t guard(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return code_of_current_exception();
  }
}

// Runs the body of an exported function and logs its failure under the function's name (__func__).
// Slots do not log: whoever called them does.
template <class Body>
uint32_t guard_exported(const char* function, Body&& body) noexcept {
  return log_failure(function, guard(std::forward<Body>(body)));
}

}  // namespace trova

#endif  // TROVA_MANAGER_UTIL_GUARD_HXX
