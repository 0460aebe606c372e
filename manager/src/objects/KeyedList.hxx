// KeyedList: entries under keys, in the order in which they came; a data object has one of values
// and one of children.
//
// The list only grows, so reading it takes no lock: an entry is complete before it is linked, and
// what is linked stays. A list with many entries has an index besides, which is read and written
// under the lock.
#ifndef TROVA_MANAGER_OBJECTS_KEYED_LIST_HXX
#define TROVA_MANAGER_OBJECTS_KEYED_LIST_HXX

#include <atomic>
#include <cstdint>
#include <string_view>

#include "memory/Allocator.hxx"
#include "objects/Arena.hxx"
#include "objects/Key.hxx"
#include "util/SpinLock.hxx"

namespace trova {

// What the lists of one object share. `lock` guards the arena and everything that writes. Lock
// order: behind Record's lock of the tree; under it only memory is taken.
struct ListStorage {
  SpinLock lock;
  Arena arena;
};

class KeyedList {
 public:
  KeyedList() = default;
  ~KeyedList();
  KeyedList(const KeyedList&) = delete;
  KeyedList& operator=(const KeyedList&) = delete;

  // Copies key and payload. Throws std::bad_alloc and then leaves the list as it was.
  void append(ListStorage& storage, const Key& key, std::string_view payload);

  uint32_t count(ListStorage& storage, const Key& key) const noexcept;

  // @param ordinal  from 1
  // @return the payload, not aligned, or null when there is none
  const char* find(ListStorage& storage, const Key& key, uint32_t ordinal) const noexcept;

  // Calls visit(payload) for each entry.
  template <class Visit>
  void for_each(Visit visit) const {
    for (const Entry* entry = first(); entry != nullptr; entry = entry->following()) {
      visit(entry->payload());
    }
  }

 private:
  // Key (unless it is known) and payload stand right behind the tag.
  struct Entry {
    std::atomic<Entry*> next;
    uint32_t tag;

    static constexpr size_t kHeaderSize = sizeof(next) + sizeof(tag);
    char* stored() noexcept { return reinterpret_cast<char*>(this) + kHeaderSize; }
    const char* stored() const noexcept { return const_cast<Entry*>(this)->stored(); }
    std::string_view key() const noexcept;
    const char* payload() const noexcept;
    const Entry* following() const noexcept { return next.load(std::memory_order_acquire); }
  };

  // Keys are borrowed from the entries.
  struct Index : Counted {
    HashMap<std::string_view, Vector<const char*>> payloads;

    const Vector<const char*>* of(const Key& key) const noexcept;
  };

  // From so many entries on, an index costs less than walking the list.
  static constexpr uint32_t kIndexFrom = 32;

  const Entry* first() const noexcept { return first_.load(std::memory_order_acquire); }
  bool is_indexed() const noexcept { return index_.load(std::memory_order_acquire) != nullptr; }
  void add_to_index(const Entry* entry);
  void make_index();

  std::atomic<Entry*> first_ = nullptr;
  Entry* last_ = nullptr;
  std::atomic<Index*> index_ = nullptr;  // owned; set once
  uint32_t count_ = 0;
};

}  // namespace trova

#endif  // TROVA_MANAGER_OBJECTS_KEYED_LIST_HXX
