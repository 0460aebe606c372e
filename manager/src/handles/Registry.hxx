// Registry: which addresses are live handles, and which were and must not be touched any more.
//
// Two kinds of object are told apart.
//   - The manager's own (users, data objects, lists, ...): live from enter() to leave(), and
//     nothing else validates. An address that is not entered is never read.
//   - Foreign ones, which the playlist library adds through the handle manager's table: anything
//     that carries the asked magic validates, unless its address is known to be dead, and is
//     registered from then on.
//
// A foreign address is dead once it was removed, or once its block was freed while it was
// registered; one of our own is dead to foreign eyes once it left. Either comes back to life when
// it is added again. When the allocator hands out a block that covers it, its magic may be read
// again, until that block is freed. Foreign addresses are remembered without limit of time, one
// word each: there are at most as many as addresses that once held an object.
//
// Everything here is safe from any thread. The registry's own memory comes from malloc() and is not
// counted, like the allocator's headers: what it remembers outlives the objects.
#ifndef TROVA_MANAGER_HANDLES_REGISTRY_HXX
#define TROVA_MANAGER_HANDLES_REGISTRY_HXX

#include <cstddef>
#include <cstdint>

namespace trova::handles {

// ---- The manager's own objects. `magic` is the first 32-bit word of the object.

// Throws std::bad_alloc.
void enter(const void* object);

// @return true for the one caller that took a live object of that magic out of the registry
bool leave(const void* object, uint32_t magic) noexcept;

// @return 0; TROVA_MANAGER_INVALID_ARG for null; TROVA_MANAGER_BAD_HANDLE
[[nodiscard]] uint32_t check(const void* handle, uint32_t magic) noexcept;

// ---- Foreign objects: what the handle manager's table does.

// @return 0; TROVA_MANAGER_INVALID_ARG for null or a misaligned address; throws std::bad_alloc
uint32_t add_foreign(const void* object);

// Also marks an object that was never added.
// @return 0; TROVA_MANAGER_INVALID_ARG for null
uint32_t remove_foreign(const void* object) noexcept;

// @return 0; TROVA_MANAGER_INVALID_ARG for null; TROVA_MANAGER_BAD_HANDLE
uint32_t validate_foreign(const void* handle, uint32_t magic) noexcept;

// ---- What the allocator tells. This costs a few nanoseconds where no foreign object was.

// Before a block is given back to the system: foreign addresses in it are dead from now on.
void block_freed(const void* block, size_t size) noexcept;

// After a block came from the system: what is in it is new.
void block_allocated(const void* block, size_t size) noexcept;

// @return true when foreign objects, live or dead, were in the block since it was allocated
bool block_holds_foreign(const void* block, size_t size) noexcept;

}  // namespace trova::handles

#endif  // TROVA_MANAGER_HANDLES_REGISTRY_HXX
