// Memory: the allocator, which is malloc() with a header, a limit and statistics.
#include "memory/Memory.hxx"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "handles/Registry.hxx"
#include "trova_manager.h"
#include "util/Export.hxx"
#include "util/Guard.hxx"
#include "vrel_memory.h"

namespace trova::memory {

namespace {

constexpr size_t kNoLimit = std::numeric_limits<size_t>::max();

// Stands before each block. The seal tells a block of ours that is freed for the first time.
struct alignas(std::max_align_t) Header {
  size_t size;  // as asked for
  uintptr_t seal;
};
static_assert(sizeof(Header) == alignof(std::max_align_t));
constexpr size_t kLargestBlock = std::numeric_limits<ptrdiff_t>::max() - sizeof(Header);

// All of it changes with each block, so it shares a cache line.
struct alignas(64) Usage {
  std::atomic<size_t> bytes = 0;
  std::atomic<size_t> peak = 0;
  std::atomic<size_t> limit = kNoLimit;
  std::atomic<uint64_t> allocations = 0;
  std::atomic<uint64_t> releases = 0;
  std::atomic<uint64_t> failures = 0;
};
constinit Usage g_usage;

constinit std::atomic<uint32_t> g_users;

constexpr auto kRelaxed = std::memory_order_relaxed;

uintptr_t seal_of(const Header* header, size_t size) {
  constexpr uintptr_t kSeal = static_cast<uintptr_t>(0x5ea1edb10c5ea1edu);
  return (reinterpret_cast<uintptr_t>(header) ^ size) + kSeal;
}

// Nothing can be told to the caller of free(), and going on would corrupt the heap.
[[noreturn]] void die_of_bad_block(const void* block) {
  std::fprintf(stderr, "trova_manager: %p is not a block in use\n", block);
  std::abort();
}

Header* header_of(void* block) {
  Header* const header = static_cast<Header*>(block) - 1;
  if (header->seal != seal_of(header, header->size)) die_of_bad_block(block);
  return header;
}

void* seal(Header* header, size_t size) {
  header->size = size;
  header->seal = seal_of(header, size);
  return header + 1;
}

void raise_peak(size_t bytes) {
  size_t peak = g_usage.peak.load(kRelaxed);
  while (bytes > peak && !g_usage.peak.compare_exchange_weak(peak, bytes, kRelaxed)) {
  }
}

void* refuse() {
  g_usage.failures.fetch_add(1, kRelaxed);
  return nullptr;
}

// Takes bytes out of what the limit leaves. One at a time, so that a request that is too large does
// not fail a small one beside it.
bool charge(size_t size) {
  if (size > kLargestBlock) return false;
  const size_t limit = g_usage.limit.load(kRelaxed);
  size_t used = g_usage.bytes.load(kRelaxed);
  do {
    if (used > limit || size > limit - used) return false;
  } while (!g_usage.bytes.compare_exchange_weak(used, used + size, kRelaxed));
  raise_peak(used + size);
  return true;
}

void uncharge(size_t size) {
  g_usage.bytes.fetch_sub(size, kRelaxed);
}

// @param acquire  malloc() or calloc() of a number of bytes
template <class Acquire>
void* allocate(size_t size, Acquire acquire) {
  if (!charge(size)) return refuse();
  Header* const header = static_cast<Header*>(acquire(sizeof(Header) + size));
  if (header == nullptr) {
    uncharge(size);
    return refuse();
  }
  g_usage.allocations.fetch_add(1, kRelaxed);
  void* const block = seal(header, size);
  handles::block_allocated(block, size);
  return block;
}

void* allocate(size_t size) {
  return allocate(size, [](size_t bytes) { return std::malloc(bytes); });
}

void release(void* block) {
  Header* const header = header_of(block);
  const size_t size = header->size;
  handles::block_freed(block, size);
  g_usage.releases.fetch_add(1, std::memory_order_release);
  uncharge(size);
  std::free(header);
}

// A handle in the block must be dead before the system may hand its address to somebody else, which
// realloc() does not allow. Such blocks are rare: they are copied.
void* reallocate_by_copy(void* block, size_t old_size, size_t size) {
  void* const copy = allocate(size);
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, block, old_size < size ? old_size : size);
  release(block);
  return copy;
}

void* reallocate(void* block, size_t size) {
  Header* const header = header_of(block);
  const size_t old_size = header->size;
  if (handles::block_holds_foreign(block, old_size))
    return reallocate_by_copy(block, old_size, size);
  const size_t growth = size > old_size ? size - old_size : 0;
  if (size > kLargestBlock || (growth != 0 && !charge(growth))) return refuse();
  handles::block_freed(block, old_size);
  Header* const moved = static_cast<Header*>(std::realloc(header, sizeof(Header) + size));
  if (moved == nullptr) {
    handles::block_allocated(block, old_size);
    uncharge(growth);
    return refuse();
  }
  if (size < old_size) uncharge(old_size - size);
  void* const result = seal(moved, size);
  handles::block_allocated(result, size);
  return result;
}

// The releases are read first: each of them comes after its allocation.
trova_manager_memory_stats statistics() {
  const uint64_t releases = g_usage.releases.load(std::memory_order_acquire);
  const uint64_t allocations = g_usage.allocations.load(kRelaxed);
  return {
      .blocks_in_use = static_cast<size_t>(allocations - releases),
      .bytes_in_use = g_usage.bytes.load(kRelaxed),
      .peak_bytes = g_usage.peak.load(kRelaxed),
      .allocations = allocations,
      .failures = g_usage.failures.load(kRelaxed),
  };
}

}  // namespace

void set_limit(size_t limit) noexcept {
  g_usage.limit.store(limit == 0 ? kNoLimit : limit, kRelaxed);
}

}  // namespace trova::memory

using namespace trova;

extern "C" {

// The allocator needs no start and works at any time; the users are only counted.
TROVA_EXPORT uint32_t vrel_memory_initialize(ManagerHandle*) {
  memory::g_users.fetch_add(1);
  return 0;
}

TROVA_EXPORT uint32_t vrel_memory_shutdown() {
  uint32_t users = memory::g_users.load();
  do {
    if (users == 0) return TROVA_MANAGER_NOT_RUNNING;
  } while (!memory::g_users.compare_exchange_weak(users, users - 1));
  return 0;
}

TROVA_EXPORT void* vrel_memory_alloc(size_t size) {
  return memory::allocate(size);
}

TROVA_EXPORT void* vrel_memory_calloc(size_t count, size_t size) {
  size_t bytes;
  if (__builtin_mul_overflow(count, size, &bytes)) return memory::refuse();
  return memory::allocate(bytes, [](size_t all) { return std::calloc(1, all); });
}

// Size 0 gives an empty block and not null, which callers would take for a failure.
TROVA_EXPORT void* vrel_memory_realloc(void* block, size_t size) {
  return block == nullptr ? memory::allocate(size) : memory::reallocate(block, size);
}

TROVA_EXPORT void vrel_memory_free(void* block) {
  if (block != nullptr) memory::release(block);
}

// Null is fine where the size is 0.
TROVA_EXPORT void* vrel_memory_memcpy(void* to, const void* from, size_t size) {
  return size == 0 ? to : std::memcpy(to, from, size);
}

TROVA_EXPORT void* vrel_memory_memmove(void* to, const void* from, size_t size) {
  return size == 0 ? to : std::memmove(to, from, size);
}

TROVA_EXPORT void* vrel_memory_memset(void* to, int byte, size_t size) {
  return size == 0 ? to : std::memset(to, byte, size);
}

uint32_t trova_manager_memory_stats_get(trova_manager_memory_stats* out_stats) {
  return guard_exported(__func__, [&]() -> uint32_t {
    if (out_stats == nullptr) return TROVA_MANAGER_INVALID_ARG;
    *out_stats = memory::statistics();
    return 0;
  });
}

uint32_t trova_manager_memory_limit_set(size_t limit) {
  memory::set_limit(limit);
  return 0;
}

}  // extern "C"
