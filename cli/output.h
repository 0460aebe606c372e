// Output: a buffered stream that notices when it cannot be written.
#ifndef TROVA_CLI_OUTPUT_H
#define TROVA_CLI_OUTPUT_H

#include <string>
#include <string_view>

namespace trova_cli {

class Output {
 public:
  // @param fd  stays the caller's
  explicit Output(int fd) : fd_(fd) {}

  // Throws CommandError when the system refuses the bytes. A reader that went away is no error:
  // everything that follows is dropped.
  void Write(std::string_view bytes);

  // Writes what is still in the buffer. Whoever writes calls it last; without it the rest is lost.
  void Flush();

  int fd() const noexcept { return fd_; }

 private:
  int fd_;
  bool reader_gone_ = false;
  std::string buffer_;
};

}  // namespace trova_cli

#endif
