// TextPool: open addressing over one block of bytes.
#include "text_pool.h"

#include <functional>
#include <limits>

#include "error.h"

namespace trova_cli {
namespace {

constexpr std::size_t kFirstSlots = 64;

}  // namespace

TextPool::TextPool() : offsets_{0}, slots_(kFirstSlots) {}

std::uint32_t TextPool::Intern(std::string_view text) {
  std::size_t slot = SlotOf(text);
  if (slots_[slot] != 0) return slots_[slot] - 1;
  if (bytes_.size() + text.size() >= std::numeric_limits<std::uint32_t>::max()) {
    throw CommandError("the library's texts take more than 4 GiB");
  }
  bytes_.insert(bytes_.end(), text.begin(), text.end());
  bytes_.push_back('\0');
  offsets_.push_back(static_cast<std::uint32_t>(bytes_.size()));
  slots_[slot] = size();
  const std::uint32_t number = size() - 1;
  if (offsets_.size() * 2 > slots_.size()) Grow();
  return number;
}

std::optional<std::uint32_t> TextPool::Find(std::string_view text) const {
  const std::uint32_t found = slots_[SlotOf(text)];
  if (found == 0) return std::nullopt;
  return found - 1;
}

std::string_view TextPool::View(std::uint32_t number) const {
  return {Get(number), offsets_[number + 1] - offsets_[number] - 1};
}

std::size_t TextPool::SlotOf(std::string_view text) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(text) & mask;
  while (slots_[slot] != 0 && View(slots_[slot] - 1) != text) slot = (slot + 1) & mask;
  return slot;
}

void TextPool::Grow() {
  slots_.assign(slots_.size() * 2, 0);
  for (std::uint32_t number = 0; number < size(); ++number) {
    slots_[SlotOf(View(number))] = number + 1;
  }
}

}  // namespace trova_cli
