// Output: write(2) until everything is out.
#include "output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "error.h"

namespace trova_cli {
namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

}  // namespace

void Output::Write(std::string_view bytes) {
  buffer_ += bytes;
  if (buffer_.size() >= kBufferSize) Flush();
}

void Output::Flush() {
  std::string_view rest = buffer_;
  while (!rest.empty() && !reader_gone_) {
    const ssize_t written = write(fd_, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      reader_gone_ = true;
    } else if (errno != EINTR) {
      throw CommandError(fmt::format("cannot write the output: {}", std::strerror(errno)));
    }
  }
  buffer_.clear();
}

}  // namespace trova_cli
