// LogLine: the text of one log line, of bounded length and without control characters.
#ifndef TROVA_MANAGER_LOG_LOG_LINE_HXX
#define TROVA_MANAGER_LOG_LOG_LINE_HXX

#include <cstdarg>
#include <cstddef>

namespace trova {

class LogLine {
 public:
  LogLine() noexcept { text_[0] = '\0'; }

  void append(const char* format, ...) noexcept __attribute__((format(printf, 2, 3)));
  void append_list(const char* format, va_list arguments) noexcept;

  // Makes what was appended one line: control characters become blanks, and a text that did not
  // fit ends in "...".
  // @return the text; a terminator stands at its end
  const char* finish() noexcept;

  // The finished line with a line end instead of the terminator.
  const char* with_line_end() noexcept;
  size_t length() const noexcept { return length_; }

 private:
  // What one write(2) to a pipe puts there in one piece.
  static constexpr size_t kCapacity = 4096;

  size_t length_ = 0;  // without the terminator
  bool is_cut_ = false;
  char text_[kCapacity];
};

}  // namespace trova

#endif  // TROVA_MANAGER_LOG_LOG_LINE_HXX
