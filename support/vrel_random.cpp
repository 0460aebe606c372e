// vrel_random: a small linear congruential generator, the same on every machine.
#include "vrel_random.h"

#include <atomic>

#include "vrel_module.h"

static vrel_module g_module;

// Lives as long as the library is loaded: starting and stopping the module does not rewind it.
static std::atomic<uint32_t> g_shared_state{0x12345678u};

uint32_t vrel_random_initialize() {
  return vrel_module_start(&g_module, nullptr);
}
uint32_t vrel_random_shutdown() {
  return vrel_module_stop(&g_module, nullptr);
}
uint32_t vrel_random_initchecks() {
  return g_module.count.load(std::memory_order_acquire);
}
const char* vrel_random_get_version() {
  return "2.0.0.49";
}
const char* vrel_random_get_build_date() {
  return "2011-11-08 03:56 UTC";
}

static uint32_t _vrel_random_next(uint32_t state) {
  return state * 214013u + 2531011u;
}

// Only the high half of a state is worth anything: its low bits repeat after a few steps.
static uint32_t _vrel_random_number(uint32_t state) {
  return (state >> 16) & 0x7fffu;
}

static uint32_t _vrel_random_draw_shared() {
  uint32_t state = g_shared_state.load(std::memory_order_relaxed);
  while (!g_shared_state.compare_exchange_weak(state, _vrel_random_next(state),
                                               std::memory_order_relaxed)) {
  }
  return _vrel_random_number(_vrel_random_next(state));
}

uint32_t vrel_random_rand(uint32_t* state) {
  if (state == nullptr) return _vrel_random_draw_shared();
  *state = _vrel_random_next(*state);
  return _vrel_random_number(*state);
}
