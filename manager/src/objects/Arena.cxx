// Arena: memory that only grows and is freed as a whole; what it gave never moves.
#include "objects/Arena.hxx"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "memory/Allocator.hxx"

namespace trova {

Arena::~Arena() {
  while (chunks_ != nullptr) vrel_memory_free(std::exchange(chunks_, chunks_->next));
}

void* Arena::allocate(size_t size) {
  if (size > std::numeric_limits<size_t>::max() / 2) throw std::bad_alloc();
  const size_t rounded = (size + kAlignment - 1) / kAlignment * kAlignment;
  if (rounded > static_cast<size_t>(end_ - free_)) return allocate_chunk(rounded);
  return std::exchange(free_, free_ + rounded);
}

// A large piece gets a chunk of its own and leaves the current one in use.
void* Arena::allocate_chunk(size_t size) {
  const bool own = size > next_chunk_ / 2;
  const size_t capacity = own ? size : next_chunk_;
  char* const block = Allocator<char>().allocate(sizeof(Chunk) + capacity);
  chunks_ = new (block) Chunk{chunks_};
  char* const begin = block + sizeof(Chunk);
  if (own) return begin;
  free_ = begin + size;
  end_ = begin + capacity;
  next_chunk_ = std::min(next_chunk_ * 2, kLargestChunk);
  return begin;
}

}  // namespace trova
