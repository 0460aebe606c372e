// Values: what is known in memory of one record's fields, by position.
#include "storage/Values.hxx"

#include <cstring>
#include <utility>

namespace trova::storage {

Block make_block(uint32_t length) {
  const size_t size = size_t{length} + 1;
  if (size == 0) throw std::bad_alloc();
  Block block(Allocator<char>().allocate(size));
  block.get()[length] = '\0';
  return block;
}

std::string_view Values::bytes(size_t position) const noexcept {
  const Value& value = values_[position];
  return {value.bytes.get(), value.length};
}

const char* Values::hand_out(size_t position) noexcept {
  values_[position].is_handed_out = true;
  return values_[position].bytes.get();
}

void Values::set(size_t position, std::string_view bytes) {
  const uint32_t length = static_cast<uint32_t>(bytes.size());
  Block copy = make_block(length);
  if (length != 0) std::memcpy(copy.get(), bytes.data(), length);
  load(position, std::move(copy), length);
  values_[position].is_changed = true;
}

void Values::load(size_t position, Block bytes, uint32_t length) {
  Value& value = values_[position];
  if (value.is_handed_out) retired_.push_back(std::move(value.bytes));
  value = {.bytes = std::move(bytes), .length = length, .state = State::kKnown};
}

void Values::mark_stored() noexcept {
  for (Value& value : values_) value.is_changed = false;
}

void Values::mark_removed() noexcept {
  for (Value& value : values_) {
    if (value.state == State::kNotLoaded) value.state = State::kNone;
    value.is_changed = value.state == State::kKnown;
  }
}

}  // namespace trova::storage
