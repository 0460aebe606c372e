// playlist_walk: visits every element of a vector in order, by stretches that lie side by side.
#ifndef PLAYLIST_WALK_H
#define PLAYLIST_WALK_H

#include <cstdint>

#include "vrel_vector2.h"

// Calls visit(T* first, count) for each stretch, which answers a code; the first non-zero one ends
// the walk and is the result. The visitor must not add to the vector or delete from it.
template <typename T, typename Visit>
uint32_t playlist_for_each_stretch(vrel_vector2* vector, Visit visit) {
  uint32_t count = 0;
  if (const uint32_t code = vrel_vector2_count(vector, &count)) return code;
  for (uint32_t index = 0; index < count;) {
    void* first = nullptr;
    uint32_t stretch = 0;
    if (const uint32_t code = vrel_vector2_span(vector, index, &first, &stretch)) return code;
    if (const uint32_t code = visit(static_cast<T*>(first), stretch)) return code;
    index += stretch;
  }
  return 0;
}

// The same for visit(T&), element by element.
template <typename T, typename Visit>
uint32_t playlist_for_each(vrel_vector2* vector, Visit visit) {
  return playlist_for_each_stretch<T>(vector, [&](T* elements, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      if (const uint32_t code = visit(elements[i])) return code;
    }
    return uint32_t{0};
  });
}

#endif  // PLAYLIST_WALK_H
