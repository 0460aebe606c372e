// Allocator: the counted allocator for containers and objects of the manager itself.
#ifndef TROVA_MANAGER_MEMORY_ALLOCATOR_HXX
#define TROVA_MANAGER_MEMORY_ALLOCATOR_HXX

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vrel_memory.h"

namespace trova {

// For standard containers. A refusal of vrel_memory_alloc() is std::bad_alloc.
template <class T>
struct Allocator {
  using value_type = T;

  static_assert(alignof(T) <= alignof(std::max_align_t));

  Allocator() = default;
  template <class U>
  Allocator(const Allocator<U>&) noexcept {}

  T* allocate(size_t count) {
    if (count > std::numeric_limits<size_t>::max() / sizeof(T)) throw std::bad_alloc();
    void* const block = vrel_memory_alloc(count * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, size_t) noexcept { vrel_memory_free(block); }

  template <class U>
  bool operator==(const Allocator<U>&) const noexcept {
    return true;
  }
};

using String = std::basic_string<char, std::char_traits<char>, Allocator<char>>;

template <class T>
using Vector = std::vector<T, Allocator<T>>;

template <class Key, class T, class Hash = std::hash<Key>, class Equal = std::equal_to<Key>>
using HashMap = std::unordered_map<Key, T, Hash, Equal, Allocator<std::pair<const Key, T>>>;

// Base of classes whose objects live in counted memory when made with `new`.
struct Counted {
  static void* operator new(size_t size) { return Allocator<char>().allocate(size); }
  static void operator delete(void* block) noexcept { vrel_memory_free(block); }
};

// Owner of a block of vrel_memory_alloc().
struct BlockDeleter {
  void operator()(void* block) const noexcept { vrel_memory_free(block); }
};
using Block = std::unique_ptr<char, BlockDeleter>;

}  // namespace trova

#endif  // TROVA_MANAGER_MEMORY_ALLOCATOR_HXX
