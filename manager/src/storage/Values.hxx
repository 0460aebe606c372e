// Values: what is known in memory of one record's fields, by position.
#ifndef TROVA_MANAGER_STORAGE_VALUES_HXX
#define TROVA_MANAGER_STORAGE_VALUES_HXX

#include <cstdint>
#include <string_view>

#include "memory/Allocator.hxx"

namespace trova::storage {

// Counted memory for a value and a terminator. Throws std::bad_alloc.
Block make_block(uint32_t length);

// What a row of the file can hold, less what comes with the value.
inline constexpr size_t kLongestValue = 999'000'000;

class Values {
 public:
  // A value that is not loaded is in the file only.
  enum class State : uint8_t { kNone, kNotLoaded, kKnown };

  explicit Values(size_t fields) : values_(fields) {}

  State state(size_t position) const noexcept { return values_[position].state; }
  bool is_known(size_t position) const noexcept { return state(position) == State::kKnown; }
  // True for values that the application gave and that are not in the file yet.
  bool is_changed(size_t position) const noexcept { return values_[position].is_changed; }
  std::string_view bytes(size_t position) const noexcept;

  // The bytes with a terminator; they stay where they are for as long as this object lives.
  const char* hand_out(size_t position) noexcept;

  // Both throw std::bad_alloc and then change nothing.
  void set(size_t position, std::string_view bytes);
  void load(size_t position, Block bytes, uint32_t length);
  void set_not_loaded(size_t position) noexcept { values_[position].state = State::kNotLoaded; }
  void mark_stored() noexcept;
  // The record left the file: what is known of it is all there is.
  void mark_removed() noexcept;

 private:
  struct Value {
    Block bytes;
    uint32_t length = 0;
    State state = State::kNone;
    bool is_changed = false;
    bool is_handed_out = false;
  };

  Vector<Value> values_;
  Vector<Block> retired_;  // handed out once and replaced since
};

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_VALUES_HXX
