// vrel_spinlock: a lock that needs no creation call, for module counts and other short sections.
#include "vrel_spinlock.h"

#include "vrel_error.h"

static const char kSource[] = "vrel_spinlock";

static constexpr uint32_t kInvalidArg = 0x901f0001u;
static constexpr uint32_t kMutexFailed = 0x901f003cu;

uint32_t vrel_spinlock_lock(vrel_spinlock* lock) {
  if (lock == nullptr) return VREL_LOG_HERE(kInvalidArg);
  return pthread_mutex_lock(&lock->mutex) == 0 ? 0 : VREL_LOG_HERE(kMutexFailed);
}

uint32_t vrel_spinlock_unlock(vrel_spinlock* lock) {
  if (lock == nullptr) return VREL_LOG_HERE(kInvalidArg);
  return pthread_mutex_unlock(&lock->mutex) == 0 ? 0 : VREL_LOG_HERE(kMutexFailed);
}
