// vrel_atomic: a 32-bit counter guarded by a mutex of its own.
#ifndef VREL_ATOMIC_H
#define VREL_ATOMIC_H

#include <pthread.h>

#include <cstdint>

// Zeroed, it is ready for use and holds 0.
struct vrel_atomic {
  pthread_mutex_t mutex;
  uint32_t value;
};

// Arithmetic wraps. `out_value` receives the counter's new value, on success only; it may be null.
// Codes: 0x901f0001 for a null counter, 0x901f003c when the mutex refuses.
uint32_t vrel_atomic_set(vrel_atomic* counter, uint32_t value);
uint32_t vrel_atomic_add(vrel_atomic* counter, uint32_t value);
uint32_t vrel_atomic_read(vrel_atomic* counter, uint32_t* out_value);
uint32_t vrel_atomic_inc(vrel_atomic* counter, uint32_t* out_value);
uint32_t vrel_atomic_dec(vrel_atomic* counter, uint32_t* out_value);

#endif  // VREL_ATOMIC_H
