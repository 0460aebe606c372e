// TextPool: each text once, numbered from 0 in the order of arrival.
#ifndef TROVA_CLI_TEXT_POOL_H
#define TROVA_CLI_TEXT_POOL_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace trova_cli {

// A million tracks share few artists and albums, and a number takes half the room of a pointer.
// All texts stand in one block, so what Get() gives is valid until the next Intern().
class TextPool {
 public:
  TextPool();

  // The number of a text. Throws CommandError beyond 4 GiB of texts.
  std::uint32_t Intern(std::string_view text);
  std::optional<std::uint32_t> Find(std::string_view text) const;
  // Zero-terminated.
  const char* Get(std::uint32_t number) const { return bytes_.data() + offsets_[number]; }
  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(offsets_.size() - 1); }

 private:
  std::string_view View(std::uint32_t number) const;
  // The slot of a text, or the empty slot where it belongs.
  std::size_t SlotOf(std::string_view text) const;
  void Grow();

  std::vector<char> bytes_;
  std::vector<std::uint32_t> offsets_;  // by number; last, where the next text will stand
  std::vector<std::uint32_t> slots_;    // number plus 1, 0 for empty; a power of two, half full
};

}  // namespace trova_cli

#endif
