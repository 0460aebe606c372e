// vrel_atomic: a 32-bit counter guarded by a mutex of its own.
#include "vrel_atomic.h"

#include "vrel_error.h"

static const char kSource[] = "vrel_atomic";

static constexpr uint32_t kInvalidArg = 0x901f0001u;
static constexpr uint32_t kMutexFailed = 0x901f003cu;

// value = value * keep + addend: keep 0 sets, keep 1 adds. The new value goes to `out_value`.
static uint32_t _vrel_atomic_change(vrel_atomic* counter, uint32_t keep, uint32_t addend,
                                    uint32_t* out_value) {
  if (counter == nullptr) return VREL_LOG_HERE(kInvalidArg);
  if (pthread_mutex_lock(&counter->mutex) != 0) return VREL_LOG_HERE(kMutexFailed);
  const uint32_t value = counter->value * keep + addend;
  counter->value = value;
  if (pthread_mutex_unlock(&counter->mutex) != 0) return VREL_LOG_HERE(kMutexFailed);
  if (out_value != nullptr) *out_value = value;
  return 0;
}

uint32_t vrel_atomic_set(vrel_atomic* counter, uint32_t value) {
  return _vrel_atomic_change(counter, 0, value, nullptr);
}
uint32_t vrel_atomic_add(vrel_atomic* counter, uint32_t value) {
  return _vrel_atomic_change(counter, 1, value, nullptr);
}
uint32_t vrel_atomic_read(vrel_atomic* counter, uint32_t* out_value) {
  return _vrel_atomic_change(counter, 1, 0, out_value);
}
uint32_t vrel_atomic_inc(vrel_atomic* counter, uint32_t* out_value) {
  return _vrel_atomic_change(counter, 1, 1, out_value);
}
uint32_t vrel_atomic_dec(vrel_atomic* counter, uint32_t* out_value) {
  return _vrel_atomic_change(counter, 1, UINT32_MAX, out_value);
}
