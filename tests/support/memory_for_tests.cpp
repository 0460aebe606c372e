// memory_for_tests: a counting allocator behind vrel_memory_*, which can be made to run out.
#include "memory_for_tests.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "vrel_log.h"
#include "vrel_memory.h"

namespace {

std::atomic<int> g_budget{-1};
std::atomic<size_t> g_blocks{0};
std::atomic<int> g_starts{0};

bool take_allowance() {
  int left = g_budget.load();
  while (left > 0 && !g_budget.compare_exchange_weak(left, left - 1)) {
  }
  return left != 0;
}

void* counted(void* block) {
  if (block != nullptr) ++g_blocks;
  return block;
}

}  // namespace

void test_memory_fail_after(int n) {
  g_budget = n;
}
size_t test_memory_blocks() {
  return g_blocks;
}
int test_memory_starts() {
  return g_starts;
}

extern "C" {

vrel_log_error_callback g_vrel_log_error_callback = nullptr;
vrel_log_callback g_vrel_log_callback = nullptr;
uint32_t g_vrel_log_enabled_pkgs[256] = {};

uint32_t vrel_memory_initialize(ManagerHandle*) {
  ++g_starts;
  return 0;
}

uint32_t vrel_memory_shutdown(void) {
  --g_starts;
  return 0;
}

void* vrel_memory_alloc(size_t size) {
  return take_allowance() ? counted(std::malloc(size)) : nullptr;
}

void* vrel_memory_calloc(size_t count, size_t size) {
  return take_allowance() ? counted(std::calloc(count, size)) : nullptr;
}

void* vrel_memory_realloc(void* block, size_t size) {
  if (block == nullptr) return vrel_memory_alloc(size);
  return take_allowance() ? std::realloc(block, size) : nullptr;
}

void vrel_memory_free(void* block) {
  if (block != nullptr) --g_blocks;
  std::free(block);
}

void* vrel_memory_memcpy(void* to, const void* from, size_t size) {
  return std::memcpy(to, from, size);
}

void* vrel_memory_memmove(void* to, const void* from, size_t size) {
  return std::memmove(to, from, size);
}

void* vrel_memory_memset(void* to, int byte, size_t size) {
  return std::memset(to, byte, size);
}

}  // extern "C"
