// ByteSource: a file read forward, byte by byte, with a line count.
#ifndef TROVA_CLI_BYTE_SOURCE_H
#define TROVA_CLI_BYTE_SOURCE_H

#include <cstddef>
#include <string>
#include <vector>

namespace trova_cli {

// The most that one line or record may hold. Beyond it a file is no table but something else, and
// reading on would only fill the memory.
inline constexpr std::size_t kMaxRecordSize = 16 * 1024 * 1024;

class ByteSource {
 public:
  static constexpr int kEnd = -1;

  // Throws CommandError when the file cannot be opened. A UTF-8 byte order mark is passed over.
  explicit ByteSource(const std::string& path);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // The next byte, or kEnd. Throws CommandError when the file cannot be read.
  int Get() {
    if (at_ == filled_ && !Fill()) return kEnd;
    const auto byte = static_cast<unsigned char>(buffer_[at_++]);
    if (byte == '\n') ++line_;
    return byte;
  }

  // The line that the next byte stands on, from 1.
  std::size_t line() const noexcept { return line_; }
  const std::string& path() const noexcept { return path_; }

 private:
  bool Fill();

  std::string path_;
  int fd_;
  std::vector<char> buffer_;
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
  std::size_t line_ = 1;
};

}  // namespace trova_cli

#endif
