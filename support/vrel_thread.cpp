// vrel_thread: the module's start and stop, critical sections and events.
#include "vrel_thread.h"

#include <errno.h>
#include <pthread.h>
#include <time.h>

#include "vrel_error.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_module.h"
#include "vrel_thread_private.h"

static const char kSource[] = "vrel_thread";

// The failure of a thread-library call, translated and logged at the caller's line.
#define MAP_HERE(error) VREL_LOG_HERE(_vrel_thread_map_posix(error))

struct PosixCode {
  int error;
  uint32_t code;
};

static constexpr PosixCode kPosixCodes[] = {
    {0, 0},
    {EPERM, kVrelThreadNotPermitted},
    {ESRCH, kVrelThreadNoSuchThread},
    {EINTR, kVrelThreadInterrupted},
    {EAGAIN, kVrelThreadAgain},
    {ENOMEM, kVrelThreadNoMemory},
    {EFAULT, kVrelThreadInvalidArg},
    {EINVAL, kVrelThreadInvalidArg},
    {EOPNOTSUPP, kVrelThreadInvalidArg},
    {EBUSY, kVrelThreadBusy},
    {EDEADLK, kVrelThreadDeadlock},
    {ETIMEDOUT, kVrelThreadTimedOut},
};

uint32_t _vrel_thread_map_posix(int error) {
  for (const PosixCode& row : kPosixCodes) {
    if (row.error == error) return row.code;
  }
  return kVrelThreadUnknown;
}

// ---- The module ----

static vrel_module g_module;

static uint32_t _vrel_thread_setup() {
  if (vrel_memory_initialize(nullptr) != 0) return kVrelModuleSetupFailed;
  if (_vrel_thread_keys_create() == 0) return 0;
  (void)vrel_memory_shutdown();
  return kVrelModuleSetupFailed;
}

static uint32_t _vrel_thread_teardown() {
  _vrel_thread_keys_delete();
  return vrel_memory_shutdown();
}

uint32_t vrel_thread_initialize() {
  return vrel_module_start(&g_module, _vrel_thread_setup);
}
uint32_t vrel_thread_shutdown() {
  return vrel_module_stop(&g_module, _vrel_thread_teardown);
}
uint32_t vrel_thread_initchecks() {
  return g_module.count.load(std::memory_order_acquire);
}
const char* vrel_thread_get_version() {
  return "2.0.0.118";
}

// ---- Critical sections ----

// `mutex` guards all other fields and is never held for longer than a few instructions, nor while
// another lock is taken.
struct vrel_critsec {
  int32_t waiting;  // threads inside pthread_cond_wait
  int32_t depth;    // how often the owner has entered; 0 when nobody has
  pthread_t owner;  // means something while depth is positive
  pthread_cond_t freed;
  pthread_mutex_t mutex;
};
VREL_LAYOUT_FIELD(vrel_critsec, waiting, 0);
VREL_LAYOUT_FIELD(vrel_critsec, depth, 4);
VREL_LAYOUT_FIELD(vrel_critsec, owner, 8);

// Makes a mutex and a condition, or neither.
static int _vrel_thread_pair_init(pthread_mutex_t* mutex, pthread_cond_t* condition) {
  int error = pthread_mutex_init(mutex, nullptr);
  if (error != 0) return error;
  error = pthread_cond_init(condition, nullptr);
  if (error != 0) (void)pthread_mutex_destroy(mutex);
  return error;
}

static void _vrel_thread_pair_destroy(pthread_mutex_t* mutex, pthread_cond_t* condition) {
  (void)pthread_cond_destroy(condition);
  (void)pthread_mutex_destroy(mutex);
}

uint32_t vrel_thread_critsec_create(vrel_critsec** out) {
  if (out == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  auto* section = static_cast<vrel_critsec*>(vrel_memory_calloc(1, sizeof(vrel_critsec)));
  if (section == nullptr) return VREL_LOG_HERE(kVrelThreadNoMemory);
  const int error = _vrel_thread_pair_init(&section->mutex, &section->freed);
  if (error != 0) {
    vrel_memory_free(section);
    return MAP_HERE(error);
  }
  *out = section;
  return 0;
}

// Caller holds section->mutex, here and below.
static bool _vrel_thread_is_owner(const vrel_critsec* section) {
  return section->depth > 0 && pthread_equal(section->owner, pthread_self()) != 0;
}

static bool _vrel_thread_is_held_by_another(const vrel_critsec* section) {
  return section->depth > 0 && !_vrel_thread_is_owner(section);
}

static int _vrel_thread_wait_until_free(vrel_critsec* section) {
  int error = 0;
  while (error == 0 && _vrel_thread_is_held_by_another(section)) {
    ++section->waiting;
    error = pthread_cond_wait(&section->freed, &section->mutex);
    --section->waiting;
  }
  return error;
}

uint32_t vrel_thread_critsec_enter(vrel_critsec* section) {
  if (section == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  int error = pthread_mutex_lock(&section->mutex);
  if (error != 0) return MAP_HERE(error);
  error = _vrel_thread_wait_until_free(section);
  if (error == 0) {
    ++section->depth;
    section->owner = pthread_self();
  }
  (void)pthread_mutex_unlock(&section->mutex);
  return MAP_HERE(error);
}

uint32_t vrel_thread_critsec_leave(vrel_critsec* section) {
  if (section == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  int error = pthread_mutex_lock(&section->mutex);
  if (error != 0) return MAP_HERE(error);
  if (_vrel_thread_is_owner(section)) {
    --section->depth;
    if (section->depth == 0 && section->waiting > 0) {
      error = pthread_cond_broadcast(&section->freed);
    }
  }
  (void)pthread_mutex_unlock(&section->mutex);
  return MAP_HERE(error);
}

uint32_t vrel_thread_critsec_delete(vrel_critsec* section) {
  if (section == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  const int error = pthread_mutex_lock(&section->mutex);
  if (error != 0) return MAP_HERE(error);
  const bool busy = section->waiting > 0 || _vrel_thread_is_held_by_another(section);
  (void)pthread_mutex_unlock(&section->mutex);
  if (busy) return VREL_LOG_HERE(kVrelThreadBusy);
  _vrel_thread_pair_destroy(&section->mutex, &section->freed);
  vrel_memory_free(section);
  return 0;
}

// ---- Events ----

// `mutex` guards all other fields but `manual_reset`.
struct vrel_event {
  uint8_t signalled;
  uint8_t manual_reset;
  pthread_mutex_t mutex;
  pthread_cond_t changed;
  // Waiters are numbered as they come, and those up to `served` may go. They go even when the event
  // is reset, or signalled again, before they get to run. Both numbers wrap around.
  uint32_t waiters;
  uint32_t served;
};
static_assert(offsetof(vrel_event, manual_reset) == 1, "two bytes before the mutex");
VREL_LAYOUT_FIELD(vrel_event, mutex, 4);

uint32_t vrel_thread_event_create(vrel_event** out, uint8_t manual_reset) {
  if (out == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  auto* event = static_cast<vrel_event*>(vrel_memory_calloc(1, sizeof(vrel_event)));
  if (event == nullptr) return VREL_LOG_HERE(kVrelThreadNoMemory);
  const int error = _vrel_thread_pair_init(&event->mutex, &event->changed);
  if (error != 0) {
    vrel_memory_free(event);
    return MAP_HERE(error);
  }
  event->manual_reset = manual_reset != 0 ? 1 : 0;
  *out = event;
  return 0;
}

uint32_t vrel_thread_event_delete(vrel_event* event) {
  if (event == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  _vrel_thread_pair_destroy(&event->mutex, &event->changed);
  vrel_memory_free(event);
  return 0;
}

// Waits for a signal, also across wake-ups that bring none. Caller holds event->mutex.
static int _vrel_thread_event_wait_changed(vrel_event* event) {
  const uint32_t number = ++event->waiters;
  int error = 0;
  while (error == 0 && static_cast<int32_t>(event->served - number) < 0) {
    error = pthread_cond_wait(&event->changed, &event->mutex);
  }
  return error;
}

uint32_t vrel_thread_event_wait(vrel_event* event, uint32_t timeout_ms) {
  if (event == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  int error = pthread_mutex_lock(&event->mutex);
  if (error != 0) return MAP_HERE(error);
  if (event->signalled == 0) {
    // A deadline is an absolute time, so these milliseconds count from 1970 and are over. Callers
    // poll with timed waits and rely on never being held up.
    error = timeout_ms != kVrelNoTimeout ? ETIMEDOUT : _vrel_thread_event_wait_changed(event);
  } else if (event->manual_reset == 0) {
    event->signalled = 0;
  }
  (void)pthread_mutex_unlock(&event->mutex);
  return MAP_HERE(error);
}

uint32_t vrel_thread_event_signal(vrel_event* event) {
  if (event == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  int error = pthread_mutex_lock(&event->mutex);
  if (error != 0) return MAP_HERE(error);
  const bool is_awaited = event->served != event->waiters;
  if (event->manual_reset != 0) {
    event->signalled = 1;
    event->served = event->waiters;
  } else if (is_awaited) {
    ++event->served;
  } else {
    event->signalled = 1;
  }
  // Wakes all, as only they know whose turn it is.
  if (is_awaited) error = pthread_cond_broadcast(&event->changed);
  (void)pthread_mutex_unlock(&event->mutex);
  return MAP_HERE(error);
}

uint32_t vrel_thread_event_reset(vrel_event* event) {
  if (event == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  // An event that cannot be locked stays signalled, and its owner is not told.
  if (pthread_mutex_lock(&event->mutex) != 0) return 0;
  event->signalled = 0;
  (void)pthread_mutex_unlock(&event->mutex);
  return 0;
}
