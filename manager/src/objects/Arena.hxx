// Arena: memory that only grows and is freed as a whole; what it gave never moves.
#ifndef TROVA_MANAGER_OBJECTS_ARENA_HXX
#define TROVA_MANAGER_OBJECTS_ARENA_HXX

#include <cstddef>

namespace trova {

class Arena {
 public:
  Arena() = default;
  ~Arena();
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  // Aligned for pointers. Throws std::bad_alloc.
  void* allocate(size_t size);

 private:
  struct Chunk {
    Chunk* next;
  };
  static constexpr size_t kAlignment = alignof(Chunk);
  // Room for the eight or so values of a usual track, in the same block as its object.
  static constexpr size_t kInlineSize = 192;
  static constexpr size_t kFirstChunk = 128;
  static constexpr size_t kLargestChunk = 4096;

  void* allocate_chunk(size_t size);

  char* free_ = inline_;
  char* end_ = inline_ + kInlineSize;
  Chunk* chunks_ = nullptr;
  size_t next_chunk_ = kFirstChunk;
  alignas(kAlignment) char inline_[kInlineSize];
};

}  // namespace trova

#endif  // TROVA_MANAGER_OBJECTS_ARENA_HXX
