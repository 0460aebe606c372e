// playlist_array: plain arrays of the library's memory.
#ifndef PLAYLIST_ARRAY_H
#define PLAYLIST_ARRAY_H

#include <cstddef>
#include <cstdint>

#include "vrel_memory.h"

// Null when there is no memory, or the array would take more bytes than 32 bits count; freed with
// vrel_memory_free(). What is in it is not known.
template <typename T>
T* playlist_array(uint64_t count) {
  if (count > UINT32_MAX / sizeof(T)) return nullptr;
  return static_cast<T*>(vrel_memory_alloc(static_cast<size_t>(count) * sizeof(T)));
}

// The same, full of zeros.
template <typename T>
T* playlist_array_of_zeros(uint64_t count) {
  if (count > UINT32_MAX / sizeof(T)) return nullptr;
  return static_cast<T*>(vrel_memory_calloc(static_cast<size_t>(count), sizeof(T)));
}

#endif  // PLAYLIST_ARRAY_H
