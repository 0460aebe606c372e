// vrel_spinlock: a lock that needs no creation call, for module counts and other short sections.
#ifndef VREL_SPINLOCK_H
#define VREL_SPINLOCK_H

#include <pthread.h>

#include <cstdint>

// A plain mutex. A zeroed one is unlocked, so a global or a record from calloc needs no set-up and
// no tear-down. Not re-entrant.
struct vrel_spinlock {
  pthread_mutex_t mutex;
};
static_assert(sizeof(vrel_spinlock) == sizeof(pthread_mutex_t), "a mutex, nothing else");

// Codes: 0x901f0001 for null, 0x901f003c when the mutex refuses.
uint32_t vrel_spinlock_lock(vrel_spinlock* lock);
uint32_t vrel_spinlock_unlock(vrel_spinlock* lock);

#endif  // VREL_SPINLOCK_H
