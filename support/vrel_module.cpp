// vrel_module: the counted start and stop that every support module has.
#include "vrel_module.h"

// Caller holds module->lock, here and in _vrel_module_count_down.
static uint32_t _vrel_module_count_up(vrel_module* module, vrel_module_step setup) {
  const uint32_t count = module->count.load(std::memory_order_relaxed);
  if (count == 0 && setup != nullptr) {
    const uint32_t error = setup();
    if (error != 0) return error;
  }
  module->count.store(count + 1, std::memory_order_release);
  return 0;
}

static uint32_t _vrel_module_count_down(vrel_module* module, vrel_module_step teardown) {
  const uint32_t count = module->count.load(std::memory_order_relaxed);
  if (count == 0) return kVrelModuleNotStarted;
  if (count == 1 && teardown != nullptr) {
    const uint32_t error = teardown();
    if (error != 0) return error;
  }
  module->count.store(count - 1, std::memory_order_release);
  return 0;
}

uint32_t vrel_module_start(vrel_module* module, vrel_module_step setup) {
  uint32_t error = vrel_spinlock_lock(&module->lock);
  if (error != 0) return error;
  error = _vrel_module_count_up(module, setup);
  (void)vrel_spinlock_unlock(&module->lock);
  return error;
}

uint32_t vrel_module_stop(vrel_module* module, vrel_module_step teardown) {
  uint32_t error = vrel_spinlock_lock(&module->lock);
  if (error != 0) return error;
  error = _vrel_module_count_down(module, teardown);
  (void)vrel_spinlock_unlock(&module->lock);
  return error;
}
