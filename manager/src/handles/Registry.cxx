// Registry: which addresses are live handles, and which were and must not be touched any more.
#include "handles/Registry.hxx"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>

#include "trova_manager.h"
#include "util/SpinLock.hxx"

namespace trova::handles {

namespace {

// A registered address and its state, which takes the two low bits that alignment leaves free.
using Word = uintptr_t;
constexpr Word kForeignCovered = 0;  // by a block that was handed out since: no object is known
constexpr Word kForeignLive = 1;
constexpr Word kForeignDead = 2;  // not to be read
constexpr Word kOwn = 3;
constexpr Word kStateMask = 3;

constexpr Word address_of(Word word) {
  return word & ~kStateMask;
}
constexpr Word state_of(Word word) {
  return word & kStateMask;
}

Word address_of(const void* object) {
  return reinterpret_cast<Word>(object);
}
bool is_aligned(const void* object) {
  return (address_of(object) & kStateMask) == 0;
}

// Addresses of one region share a hash, so that a block's worth of them is found by probing its
// regions; a region holds few heap objects.
constexpr unsigned kRegionBits = 8;
constexpr Word kRegionSize = Word{1} << kRegionBits;

constexpr unsigned kHashBits = std::numeric_limits<Word>::digits;
constexpr Word kMultiplier =
    static_cast<Word>(kHashBits == 64 ? 0x9e3779b97f4a7c15u : 0x9e3779b1u);  // 2^n / golden ratio

constexpr Word hash_of(Word address) {
  return (address >> kRegionBits) * kMultiplier;
}

uint32_t first_word(Word address) {
  uint32_t word;
  std::memcpy(&word, reinterpret_cast<const void*>(address), sizeof word);
  return word;
}

// A set of words with distinct addresses: open addressing, linear probing, no tombstones.
// Invariant: between a word's home slot and the slot that it is in, no slot is empty.
class AddressTable {
 public:
  Word* find(Word address) noexcept {
    if (slots_ == nullptr) return nullptr;
    for (Word i = home(address); slots_[i] != 0; i = next(i)) {
      if (address_of(slots_[i]) == address) return &slots_[i];
    }
    return nullptr;
  }

  // The address is not in the table.
  void insert(Word word) {
    if (slots_ == nullptr || is_full()) resize(slots_ == nullptr ? kFirstBits : bits_ + 1);
    place(word);
    ++count_;
  }

  void erase(Word* slot) noexcept {
    close_gap(static_cast<Word>(slot - slots_));
    --count_;
    if (bits_ > kFirstBits && count_ < capacity() / 8) shrink();
  }

  // Calls visit(word&) for each word whose address lies in the region of `address`.
  // @return the first word for which it returned true, or null
  template <class Visit>
  Word* visit_region(Word address, Visit visit) noexcept {
    if (slots_ == nullptr) return nullptr;
    for (Word i = home(address); slots_[i] != 0; i = next(i)) {
      if ((slots_[i] ^ address) < kRegionSize && visit(slots_[i])) return &slots_[i];
    }
    return nullptr;
  }

 private:
  static constexpr unsigned kFirstBits = 5;

  Word capacity() const noexcept { return mask_ + 1; }
  Word next(Word slot) const noexcept { return (slot + 1) & mask_; }
  bool is_full() const noexcept { return (count_ + 1) * 8 > capacity() * 5; }

  // The shard used the top bits of the hash; the slot is the bits below them.
  Word home(Word address) const noexcept;

  void place(Word word) noexcept {
    Word i = home(address_of(word));
    while (slots_[i] != 0) i = next(i);
    slots_[i] = word;
  }

  // Moves words back over the gap for as long as one of them would no longer be found.
  void close_gap(Word gap) noexcept {
    for (Word i = next(gap); slots_[i] != 0; i = next(i)) {
      const Word from_home = (i - home(address_of(slots_[i]))) & mask_;
      const Word from_gap = (i - gap) & mask_;
      if (from_home < from_gap) continue;
      slots_[gap] = slots_[i];
      gap = i;
    }
    slots_[gap] = 0;
  }

  void resize(unsigned bits) {
    Word* const slots = static_cast<Word*>(std::calloc(size_t{1} << bits, sizeof(Word)));
    if (slots == nullptr) throw std::bad_alloc();
    Word* const old = slots_;
    const Word old_capacity = old == nullptr ? 0 : capacity();
    slots_ = slots;
    bits_ = bits;
    mask_ = (Word{1} << bits) - 1;
    for (Word i = 0; i < old_capacity; ++i) {
      if (old[i] != 0) place(old[i]);
    }
    std::free(old);
  }

  void shrink() noexcept {
    try {
      resize(bits_ - 1);
    } catch (const std::bad_alloc&) {
      // The larger table serves as well.
    }
  }

  Word* slots_ = nullptr;
  Word count_ = 0;
  Word mask_ = 0;  // the capacity less one
  unsigned bits_ = 0;
};

constexpr unsigned kShardBits = 6;

Word AddressTable::home(Word address) const noexcept {
  return (hash_of(address) << kShardBits) >> (kHashBits - bits_);
}

// One of the independent parts of the registry; `lock` guards `table`. Lock order: last; nothing is
// called under it, and no second one is taken.
struct alignas(64) Shard {
  SpinLock lock;
  AddressTable table;
};

constinit std::array<Shard, size_t{1} << kShardBits> g_shards;

Shard& shard_of(Word address) {
  return g_shards[hash_of(address) >> (kHashBits - kShardBits)];
}

// How many foreign addresses there are whose hash starts with these bits. Written under the lock of
// the shard, read without: a block that is freed or allocated mostly meets zero.
constexpr unsigned kFilterBits = 16;
constinit std::array<std::atomic<uint32_t>, size_t{1} << kFilterBits> g_foreign_count;

std::atomic<uint32_t>& foreign_count(Word address) {
  return g_foreign_count[hash_of(address) >> (kHashBits - kFilterBits)];
}

bool region_may_hold_foreign(Word address) {
  return foreign_count(address).load(std::memory_order_relaxed) != 0;
}

// Caller holds the lock of the shard.
void insert_foreign(Shard& shard, Word word) {
  shard.table.insert(word);
  foreign_count(address_of(word)).fetch_add(1, std::memory_order_relaxed);
}

// Notes an object that validates though nobody added it, so that it is dead once its block is
// freed. Without memory it stays unknown.
// @param slot  of the address, or null; the caller holds the lock of the shard
void learn_foreign(Shard& shard, Word* slot, Word address) noexcept {
  if (slot != nullptr) {
    *slot = address | kForeignLive;
    return;
  }
  try {
    insert_foreign(shard, address | kForeignLive);
  } catch (const std::bad_alloc&) {
  }
}

// Caller holds the lock of the shard.
void erase_foreign(Shard& shard, Word* slot) noexcept {
  foreign_count(address_of(*slot)).fetch_sub(1, std::memory_order_relaxed);
  shard.table.erase(slot);
}

// Calls visit(region address) for each region of a block that may hold foreign addresses.
template <class Visit>
void for_each_foreign_region(const void* block, size_t size, Visit visit) noexcept {
  const Word begin = address_of(block);
  const Word last = begin + (size == 0 ? 0 : size - 1);
  const Word regions = (last >> kRegionBits) - (begin >> kRegionBits);
  for (Word i = 0; i <= regions; ++i) {
    const Word address = begin + i * kRegionSize;
    if (region_may_hold_foreign(address)) visit(address);
  }
}

// A block as a range of addresses.
struct Range {
  Word begin;
  size_t size;

  bool covers_foreign(Word word) const {
    return state_of(word) != kOwn && address_of(word) - begin < size;
  }
};

bool holds_foreign(Word region, const Range& range) noexcept {
  Shard& shard = shard_of(region);
  const std::lock_guard hold(shard.lock);
  const auto is_held = [&](Word word) {
    return range.covers_foreign(word) && state_of(word) != kForeignCovered;
  };
  return shard.table.visit_region(region, is_held) != nullptr;
}

void set_state(Word region, const Range& range, Word state) noexcept {
  Shard& shard = shard_of(region);
  const std::lock_guard hold(shard.lock);
  shard.table.visit_region(region, [&](Word& word) {
    if (range.covers_foreign(word)) word = address_of(word) | state;
    return false;
  });
}

// Caller holds the lock of the shard: nobody frees a registered object while it is read.
uint32_t compare_magic(Word address, uint32_t magic) {
  return first_word(address) == magic ? 0 : TROVA_MANAGER_BAD_HANDLE;
}

}  // namespace

void enter(const void* object) {
  const Word address = address_of(object);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  if (Word* const slot = shard.table.find(address)) erase_foreign(shard, slot);
  shard.table.insert(address | kOwn);
}

bool leave(const void* object, uint32_t magic) noexcept {
  const Word address = address_of(object);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  Word* const slot = shard.table.find(address);
  if (slot == nullptr || state_of(*slot) != kOwn) return false;
  if (compare_magic(address, magic) != 0) return false;
  // Callers may show it as a handle of another kind.
  *slot = address | kForeignDead;
  foreign_count(address).fetch_add(1, std::memory_order_relaxed);
  return true;
}

uint32_t check(const void* handle, uint32_t magic) noexcept {
  if (handle == nullptr) return TROVA_MANAGER_INVALID_ARG;
  const Word address = address_of(handle);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  const Word* const slot = shard.table.find(address);
  if (slot == nullptr || state_of(*slot) != kOwn) return TROVA_MANAGER_BAD_HANDLE;
  return compare_magic(address, magic);
}

uint32_t add_foreign(const void* object) {
  if (object == nullptr || !is_aligned(object)) return TROVA_MANAGER_INVALID_ARG;
  const Word address = address_of(object);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  Word* const slot = shard.table.find(address);
  if (slot == nullptr) {
    insert_foreign(shard, address | kForeignLive);
  } else if (state_of(*slot) != kOwn) {
    *slot = address | kForeignLive;
  }
  return 0;
}

uint32_t remove_foreign(const void* object) noexcept {
  if (object == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (!is_aligned(object)) return 0;
  const Word address = address_of(object);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  Word* const slot = shard.table.find(address);
  if (slot != nullptr) {
    if (state_of(*slot) != kOwn) *slot = address | kForeignDead;
    return 0;
  }
  try {
    insert_foreign(shard, address | kForeignDead);
  } catch (const std::bad_alloc&) {
    // A removal cannot fail. The object was never added: without memory it stays unknown.
  }
  return 0;
}

uint32_t validate_foreign(const void* handle, uint32_t magic) noexcept {
  if (handle == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (!is_aligned(handle)) return TROVA_MANAGER_BAD_HANDLE;
  const Word address = address_of(handle);
  Shard& shard = shard_of(address);
  const std::lock_guard hold(shard.lock);
  Word* const slot = shard.table.find(address);
  if (slot != nullptr && state_of(*slot) == kForeignDead) return TROVA_MANAGER_BAD_HANDLE;
  const uint32_t code = compare_magic(address, magic);
  const bool is_known = slot != nullptr && state_of(*slot) != kForeignCovered;
  if (code == 0 && !is_known) learn_foreign(shard, slot, address);
  return code;
}

void block_freed(const void* block, size_t size) noexcept {
  const Range range = {address_of(block), size};
  for_each_foreign_region(block, size,
                          [&](Word region) { set_state(region, range, kForeignDead); });
}

void block_allocated(const void* block, size_t size) noexcept {
  const Range range = {address_of(block), size};
  for_each_foreign_region(block, size,
                          [&](Word region) { set_state(region, range, kForeignCovered); });
}

bool block_holds_foreign(const void* block, size_t size) noexcept {
  const Range range = {address_of(block), size};
  bool holds = false;
  for_each_foreign_region(block, size, [&](Word region) { holds |= holds_foreign(region, range); });
  return holds;
}

}  // namespace trova::handles
