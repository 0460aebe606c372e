// vrel_thread_run: threads, and the record that each thread has of itself.
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <string.h>
#include <time.h>

#include <atomic>

#include "vrel_error.h"
#include "vrel_memory.h"
#include "vrel_thread.h"
#include "vrel_thread_private.h"

static const char kSource[] = "vrel_thread_run";

#define MAP_HERE(error) VREL_LOG_HERE(_vrel_thread_map_posix(error))

// As much of a name as the system's tools show.
static constexpr size_t kNameBytes = 15;

// What a thread knows of itself, whoever started it. Made when the thread gets a name.
struct ThreadRecord {
  char name[kNameBytes + 1];
};

// A thread that this module started. It is freed by the one who waits for it.
struct vrel_thread {
  pthread_t id;
  vrel_thread_routine routine;
  void* argument;
  uint32_t result;
  char name[kNameBytes + 1];
};

// The number that vrel_thread_get_id has given to the thread, null before it was asked.
static pthread_key_t g_id_key;
// The ThreadRecord, freed when its thread ends.
static pthread_key_t g_record_key;

// ---- Thread-specific keys ----

static void _vrel_thread_record_free(void* record) {
  vrel_memory_free(record);
}

int _vrel_thread_keys_create() {
  int error = pthread_key_create(&g_id_key, nullptr);
  if (error != 0) return error;
  error = pthread_key_create(&g_record_key, _vrel_thread_record_free);
  if (error != 0) (void)pthread_key_delete(g_id_key);
  return error;
}

void _vrel_thread_keys_delete() {
  // Deleting a key runs no destructors. Records of threads other than this one are theirs to free
  // before the module stops.
  vrel_memory_free(pthread_getspecific(g_record_key));
  (void)pthread_setspecific(g_record_key, nullptr);
  (void)pthread_key_delete(g_record_key);
  (void)pthread_key_delete(g_id_key);
}

static std::atomic<uint32_t> g_last_id{0};

static void _vrel_thread_copy_name(char (&to)[kNameBytes + 1], const char* name) {
  const size_t length = strnlen(name, kNameBytes);
  memcpy(to, name, length);
  to[length] = '\0';
}

// ---- Starting ----

static void* _vrel_thread_main(void* pointer) {
  auto* thread = static_cast<vrel_thread*>(pointer);
  // A thread that cannot be named runs all the same.
  if (thread->name[0] != '\0') (void)vrel_thread_set_name(thread->name);
  thread->result = thread->routine(thread->argument);
  return nullptr;
}

// Maps 1 .. kVrelPriorityHighest onto the range of the policy.
static int _vrel_thread_scale_priority(int policy, uint32_t priority) {
  const int lowest = sched_get_priority_min(policy);
  const int highest = sched_get_priority_max(policy);
  const int steps = static_cast<int>(kVrelPriorityHighest) - 1;
  return lowest + (highest - lowest) * (static_cast<int>(priority) - 1) / steps;
}

static int _vrel_thread_apply_priority(pthread_t id, uint32_t priority) {
  if (priority == kVrelPriorityInherited) return 0;
  int policy = 0;
  sched_param parameters = {};
  const int error = pthread_getschedparam(id, &policy, &parameters);
  if (error != 0) return error;
  parameters.sched_priority = _vrel_thread_scale_priority(policy, priority);
  return pthread_setschedparam(id, policy, &parameters);
}

static int _vrel_thread_set_attributes(pthread_attr_t* attributes, uint32_t priority,
                                       size_t stack_size) {
  if (stack_size != 0) {
    const int error = pthread_attr_setstacksize(attributes, stack_size);
    if (error != 0) return error;
  }
  if (priority == kVrelPriorityInherited) return 0;
  int policy = 0;
  sched_param parameters = {};
  int error = pthread_getschedparam(pthread_self(), &policy, &parameters);
  if (error == 0) error = pthread_attr_setschedpolicy(attributes, policy);
  if (error != 0) return error;
  parameters.sched_priority = _vrel_thread_scale_priority(policy, priority);
  error = pthread_attr_setschedparam(attributes, &parameters);
  if (error != 0) return error;
  return pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED);
}

static int _vrel_thread_start(vrel_thread* thread, uint32_t priority, size_t stack_size) {
  pthread_attr_t attributes;
  int error = pthread_attr_init(&attributes);
  if (error != 0) return error;
  error = _vrel_thread_set_attributes(&attributes, priority, stack_size);
  if (error == 0) error = pthread_create(&thread->id, &attributes, _vrel_thread_main, thread);
  (void)pthread_attr_destroy(&attributes);
  return error;
}

uint32_t vrel_thread_create(vrel_thread** out, vrel_thread_routine routine, void* argument,
                            const char* name, uint32_t priority, size_t stack_size) {
  if (vrel_thread_initchecks() == 0) return VREL_LOG_HERE(kVrelThreadNotInited);
  if (out == nullptr || routine == nullptr || priority > kVrelPriorityHighest) {
    return VREL_LOG_HERE(kVrelThreadInvalidArg);
  }
  auto* thread = static_cast<vrel_thread*>(vrel_memory_calloc(1, sizeof(vrel_thread)));
  if (thread == nullptr) return VREL_LOG_HERE(kVrelThreadNoMemory);
  thread->routine = routine;
  thread->argument = argument;
  if (name != nullptr) _vrel_thread_copy_name(thread->name, name);
  const int error = _vrel_thread_start(thread, priority, stack_size);
  if (error != 0) {
    vrel_memory_free(thread);
    return MAP_HERE(error);
  }
  *out = thread;
  return 0;
}

// ---- Steering and ending ----

uint32_t vrel_thread_set_priority(vrel_thread* thread, uint32_t priority) {
  if (thread == nullptr || priority > kVrelPriorityHighest) {
    return VREL_LOG_HERE(kVrelThreadInvalidArg);
  }
  return MAP_HERE(_vrel_thread_apply_priority(thread->id, priority));
}

uint32_t vrel_thread_wait_and_cleanup(vrel_thread* thread, uint32_t* out_result) {
  if (thread == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  void* end = nullptr;
  const int error = pthread_join(thread->id, &end);
  if (error != 0) return MAP_HERE(error);
  if (out_result != nullptr) {
    *out_result = end == PTHREAD_CANCELED ? kVrelThreadCancelled : thread->result;
  }
  vrel_memory_free(thread);
  return 0;
}

uint32_t vrel_thread_cancel(vrel_thread* thread) {
  if (thread == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  return MAP_HERE(pthread_cancel(thread->id));
}

uint32_t vrel_thread_sleep(uint32_t milliseconds) {
  timespec left = {};
  left.tv_sec = static_cast<time_t>(milliseconds / 1000);
  left.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000L;
  int error = 0;
  do {
    error = clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left);
  } while (error == EINTR);
  return MAP_HERE(error);
}

// ---- The calling thread ----

uint32_t vrel_thread_get_id(uint32_t* out_id) {
  if (vrel_thread_initchecks() == 0) return VREL_LOG_HERE(kVrelThreadNotInited);
  if (out_id == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  auto id = reinterpret_cast<uintptr_t>(pthread_getspecific(g_id_key));
  if (id == 0) {
    id = g_last_id.fetch_add(1, std::memory_order_relaxed) + 1;
    const int error = pthread_setspecific(g_id_key, reinterpret_cast<void*>(id));
    if (error != 0) return MAP_HERE(error);
  }
  *out_id = static_cast<uint32_t>(id);
  return 0;
}

static ThreadRecord* _vrel_thread_record_create() {
  auto* record = static_cast<ThreadRecord*>(vrel_memory_calloc(1, sizeof(ThreadRecord)));
  if (record == nullptr) return nullptr;
  if (pthread_setspecific(g_record_key, record) == 0) return record;
  vrel_memory_free(record);
  return nullptr;
}

uint32_t vrel_thread_set_name(const char* name) {
  if (vrel_thread_initchecks() == 0) return VREL_LOG_HERE(kVrelThreadNotInited);
  if (name == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  auto* record = static_cast<ThreadRecord*>(pthread_getspecific(g_record_key));
  if (record == nullptr) record = _vrel_thread_record_create();
  if (record == nullptr) return VREL_LOG_HERE(kVrelThreadNoMemory);
  _vrel_thread_copy_name(record->name, name);
  return MAP_HERE(pthread_setname_np(pthread_self(), record->name));
}

uint32_t vrel_thread_get_name(const char** out_name) {
  if (vrel_thread_initchecks() == 0) return VREL_LOG_HERE(kVrelThreadNotInited);
  if (out_name == nullptr) return VREL_LOG_HERE(kVrelThreadInvalidArg);
  const auto* record = static_cast<const ThreadRecord*>(pthread_getspecific(g_record_key));
  *out_name = record == nullptr ? "" : record->name;
  return 0;
}
