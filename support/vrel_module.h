// vrel_module: the counted start and stop that every support module has.
#ifndef VREL_MODULE_H
#define VREL_MODULE_H

#include <atomic>
#include <cstdint>

#include "vrel_spinlock.h"

// Raw results of starting and stopping, outside the layout of error codes. Callers test for zero.
constexpr uint32_t kVrelModuleNotStarted = 7;
constexpr uint32_t kVrelModuleSetupFailed = 10;

// Zeroed, it stands for a module that was not started. The lock guards changes of the count; a
// reader may look at the count without it.
struct vrel_module {
  vrel_spinlock lock;
  std::atomic<uint32_t> count;
};

typedef uint32_t (*vrel_module_step)();

// Counts up. The first start runs `setup` (which may be null) under the lock; when it fails, its
// result is returned and the count stays 0.
[[nodiscard]] uint32_t vrel_module_start(vrel_module* module, vrel_module_step setup);

// Counts down. The last stop runs `teardown` (which may be null); when it fails, its result is
// returned and the module stays up. Stopping what is not up returns kVrelModuleNotStarted.
uint32_t vrel_module_stop(vrel_module* module, vrel_module_step teardown);

#endif  // VREL_MODULE_H
