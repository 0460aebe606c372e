// LogLine: the text of one log line, of bounded length and without control characters.
#include "log/LogLine.hxx"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "util/Utf8.hxx"

namespace trova {

namespace {

constexpr char kEllipsis[] = "...";

bool is_control(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value < 0x20 || value == 0x7f;
}

}  // namespace

void LogLine::append_list(const char* format, va_list arguments) noexcept {
  const size_t room = kCapacity - length_;
  const int wanted = std::vsnprintf(text_ + length_, room, format, arguments);
  if (wanted < 0) return;
  is_cut_ |= static_cast<size_t>(wanted) >= room;
  length_ += std::min(static_cast<size_t>(wanted), room - 1);
}

void LogLine::append(const char* format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  append_list(format, arguments);
  va_end(arguments);
}

const char* LogLine::finish() noexcept {
  std::replace_if(text_, text_ + length_, is_control, ' ');
  if (is_cut_) {
    length_ = utf8_prefix(text_, length_, kCapacity - sizeof kEllipsis);
    std::memcpy(text_ + length_, kEllipsis, sizeof kEllipsis);
    length_ += sizeof kEllipsis - 1;
    is_cut_ = false;
  }
  text_[length_] = '\0';
  return text_;
}

const char* LogLine::with_line_end() noexcept {
  text_[length_++] = '\n';
  return text_;
}

}  // namespace trova
