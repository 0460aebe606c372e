// Key: the name of a value or a child, with a tag that stands for it in comparisons.
#include "objects/Key.hxx"

#include <array>
#include <bit>
#include <type_traits>

#include "trova_manager.h"

namespace trova {

namespace {

// A known key's tag is its place in this list.
constexpr std::string_view kKnownKeys[] = {
    TROVA_VAL_TITLE,     TROVA_VAL_ARTIST,         TROVA_VAL_GENRE_ID,        TROVA_VAL_ERA_ID,
    TROVA_VAL_ORIGIN_ID, TROVA_VAL_ARTIST_TYPE_ID, TROVA_VAL_MOOD_ID,         TROVA_VAL_MOOD_DATA,
    TROVA_VAL_TEMPO,     TROVA_CHILD_ALBUM,        TROVA_CHILD_MATCHED_TRACK,
};

constexpr size_t kWord = sizeof(uint64_t);

// Bytes as a number, the first one lowest.
constexpr uint64_t load(const char* bytes, size_t count) {
  uint64_t word = 0;
  for (size_t i = 0; i < count; ++i) word |= uint64_t{static_cast<uint8_t>(bytes[i])} << (8 * i);
  return word;
}

// The same for eight bytes, which nearly all keys have: one load.
constexpr uint64_t load_word(const char* bytes) {
  if (std::is_constant_evaluated()) return load(bytes, kWord);
  uint64_t word;
  std::memcpy(&word, bytes, kWord);
  return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

// Length and both ends tell keys apart: they share long prefixes and differ in their last word.
constexpr uint32_t hash_of(std::string_view text) {
  constexpr uint64_t kMultiplier = 0x9e3779b97f4a7c15;  // 2^64 divided by the golden ratio
  const bool is_short = text.size() < kWord;
  const uint64_t head = is_short ? load(text.data(), text.size()) : load_word(text.data());
  const uint64_t tail = is_short ? head : load_word(text.data() + text.size() - kWord);
  const uint64_t mixed = (std::rotl(head, 29) ^ tail) + text.size();
  return static_cast<uint32_t>((mixed * kMultiplier) >> 32);
}

// Open addressing over the known keys; an empty slot ends a search.
constexpr size_t kSlotBits = 6;
constexpr uint8_t kEmpty = 0xff;
using Slots = std::array<uint8_t, size_t{1} << kSlotBits>;

constexpr size_t first_slot(uint32_t hash) {
  return hash >> (32 - kSlotBits);
}
constexpr size_t next_slot(size_t slot) {
  return (slot + 1) % std::tuple_size_v<Slots>;
}

constexpr Slots kSlots = [] {
  static_assert(std::size(kKnownKeys) * 4 <= std::tuple_size_v<Slots>);
  Slots slots{};
  slots.fill(kEmpty);
  for (uint8_t i = 0; i < std::size(kKnownKeys); ++i) {
    size_t slot = first_slot(hash_of(kKnownKeys[i]));
    while (slots[slot] != kEmpty) slot = next_slot(slot);
    slots[slot] = i;
  }
  return slots;
}();

}  // namespace

Key::Key(const char* text) noexcept : text_(text) {
  const uint32_t hash = hash_of(text_);
  tag_ = hash | kUnknownBit;
  for (size_t slot = first_slot(hash); kSlots[slot] != kEmpty; slot = next_slot(slot)) {
    if (kKnownKeys[kSlots[slot]] == text_) tag_ = kSlots[slot];
  }
}

std::string_view Key::known_text(uint32_t tag) {
  return kKnownKeys[tag];
}

}  // namespace trova
