// Utf8: where a text may be cut.
#ifndef TROVA_MANAGER_UTIL_UTF8_HXX
#define TROVA_MANAGER_UTIL_UTF8_HXX

#include <cstddef>

namespace trova {

// @return the largest number of bytes, at most `limit` and `length`, that does not end inside a
//         character
inline size_t utf8_prefix(const char* text, size_t length, size_t limit) noexcept {
  if (length <= limit) return length;
  const auto continues = [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
  };
  size_t end = limit;
  while (end > 0 && continues(text[end])) --end;
  return end;
}

}  // namespace trova

#endif  // TROVA_MANAGER_UTIL_UTF8_HXX
