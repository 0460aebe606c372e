// vrel_error: the layout of error codes and the steps that log them.
#ifndef VREL_ERROR_H
#define VREL_ERROR_H

#include <cstdint>

// Bits 23 to 16 of a code: who raised it.
constexpr uint32_t kVrelPackageThread = 0x02;
constexpr uint32_t kVrelPackageString = 0x05;
constexpr uint32_t kVrelPackageDatatypes = 0x0d;
constexpr uint32_t kVrelPackageSort = 0x0f;
constexpr uint32_t kVrelPackageAtomic = 0x1f;

// Bit 31 alone tells a failure from success and from a warning.
constexpr bool vrel_failed(uint32_t code) {
  return (code & 0x80000000u) != 0;
}
constexpr uint32_t vrel_error_package(uint32_t code) {
  return (code >> 16) & 0xffu;
}
constexpr uint32_t vrel_error_low(uint32_t code) {
  return code & 0xffffu;
}

// Tells the error log of a failure, when one is set and the code's own package is enabled: a source
// line, and the name of its file. Returns the code, whatever the log's callback answers: a failure
// stays the failure that it was.
uint32_t vrel_log_error(uint32_t line, const char* source, uint32_t code);

// The same for a failure that leaves an exported function, under the function's name. Returns what
// the log's callback answers; that is what the application gets.
uint32_t vrel_report_error(const char* function, uint32_t code);

// vrel_log_error for the line it stands on, in a file that defines kSource.
#define VREL_LOG_HERE(code) vrel_log_error(__LINE__, kSource, (code))

#endif  // VREL_ERROR_H
