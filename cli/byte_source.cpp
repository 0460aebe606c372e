// ByteSource: read(2) into one block.
#include "byte_source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "error.h"

namespace trova_cli {
namespace {

constexpr std::size_t kBlockSize = 64 * 1024;
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

[[noreturn]] void ThrowSystemError(const std::string& path) {
  throw CommandError(fmt::format("{}: {}", path, std::strerror(errno)));
}

}  // namespace

ByteSource::ByteSource(const std::string& path)
    : path_(path), fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)), buffer_(kBlockSize) {
  if (fd_ < 0) ThrowSystemError(path_);
  try {
    Fill();
  } catch (...) {
    close(fd_);
    throw;
  }
  if (std::string_view(buffer_.data(), filled_).starts_with(kByteOrderMark)) {
    at_ = kByteOrderMark.size();
  }
}

ByteSource::~ByteSource() {
  close(fd_);
}

bool ByteSource::Fill() {
  ssize_t got = 0;
  do {
    got = read(fd_, buffer_.data(), buffer_.size());
  } while (got < 0 && errno == EINTR);
  if (got < 0) ThrowSystemError(path_);
  at_ = 0;
  filled_ = static_cast<std::size_t>(got);
  return got > 0;
}

}  // namespace trova_cli
