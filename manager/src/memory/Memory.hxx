// Memory: the limit and the statistics of the allocator.
#ifndef TROVA_MANAGER_MEMORY_MEMORY_HXX
#define TROVA_MANAGER_MEMORY_MEMORY_HXX

#include <cstddef>

namespace trova::memory {

// @param limit  bytes that may be in use; 0: no limit
void set_limit(size_t limit) noexcept;

}  // namespace trova::memory

#endif  // TROVA_MANAGER_MEMORY_MEMORY_HXX
