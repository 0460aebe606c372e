// vrel_thread: re-entrant critical sections, events and threads over POSIX threads.
//
// Every function returns 0 or a code of package 0x02: a failure of the thread library in the
// translation of _vrel_thread_map_posix, 0x90020001 for a null argument, 0x90020002 when memory
// is short, 0x90020007 where the module must have been started and was not. `out` parameters are
// written on success only.
#ifndef VREL_THREAD_H
#define VREL_THREAD_H

#include <cstddef>
#include <cstdint>

constexpr uint32_t kVrelThreadInvalidArg = 0x90020001u;
constexpr uint32_t kVrelThreadNoMemory = 0x90020002u;
constexpr uint32_t kVrelThreadNoSuchThread = 0x90020003u;
constexpr uint32_t kVrelThreadBusy = 0x90020006u;
constexpr uint32_t kVrelThreadNotInited = 0x90020007u;
constexpr uint32_t kVrelThreadUnknown = 0x9002003du;
constexpr uint32_t kVrelThreadDeadlock = 0x90020281u;
constexpr uint32_t kVrelThreadAgain = 0x90020282u;
constexpr uint32_t kVrelThreadInterrupted = 0x90020283u;
constexpr uint32_t kVrelThreadNotPermitted = 0x90020284u;
// A warning: a timed wait ended without a signal.
constexpr uint32_t kVrelThreadTimedOut = 0x10020084u;

// ---- The module ----

// Counted. The first start brings up the allocator and the thread-specific keys, the last stop
// gives them back. Raw results: 10 for a start that failed, 7 for a stop too many.
[[nodiscard]] uint32_t vrel_thread_initialize();
uint32_t vrel_thread_shutdown();

// How often the module is started; 0 while it is down.
uint32_t vrel_thread_initchecks();

const char* vrel_thread_get_version();

// An error number of the thread library as a code of this module. Not logged.
uint32_t _vrel_thread_map_posix(int error);

// ---- Critical sections ----

// Entered any number of times by the thread that owns it, and left as often.
struct vrel_critsec;

uint32_t vrel_thread_critsec_create(vrel_critsec** out);
uint32_t vrel_thread_critsec_enter(vrel_critsec* section);

// Leaving a section that another thread holds, or none, changes nothing and returns 0.
uint32_t vrel_thread_critsec_leave(vrel_critsec* section);

// Refused with kVrelThreadBusy while a thread waits for the section or another thread holds it.
uint32_t vrel_thread_critsec_delete(vrel_critsec* section);

// Holds a critical section for the length of a scope. A null section is none: nothing is locked.
class vrel_critsec_guard {
 public:
  explicit vrel_critsec_guard(vrel_critsec* section)
      : section_(section), error_(section == nullptr ? 0 : vrel_thread_critsec_enter(section)) {}
  ~vrel_critsec_guard() {
    if (section_ != nullptr && error_ == 0) (void)vrel_thread_critsec_leave(section_);
  }
  vrel_critsec_guard(const vrel_critsec_guard&) = delete;
  vrel_critsec_guard& operator=(const vrel_critsec_guard&) = delete;

  // What entering returned; when it is not 0 the section is not held.
  uint32_t error() const { return error_; }

 private:
  vrel_critsec* section_;
  uint32_t error_;
};

// ---- Events ----

struct vrel_event;

// The timeout that waits for as long as it takes.
constexpr uint32_t kVrelNoTimeout = 0xffffffffu;

// A signal of a manual-reset event lets all waiting threads go, and the event stays signalled. Each
// signal of any other lets one go, the one that waits longest; without waiters the event stays
// signalled, once however often it was signalled, until a thread takes it.
uint32_t vrel_thread_event_create(vrel_event** out, uint8_t manual_reset);

// No thread may be waiting.
uint32_t vrel_thread_event_delete(vrel_event* event);

// Returns 0 once the event is signalled. Any timeout short of kVrelNoTimeout ends at once, with
// kVrelThreadTimedOut, unless the event is signalled already: the timeout is taken as a point in
// time, and that point is long past.
uint32_t vrel_thread_event_wait(vrel_event* event, uint32_t timeout_ms);
uint32_t vrel_thread_event_signal(vrel_event* event);

// Returns 0 even when the event could not be locked, and then leaves it as it is.
uint32_t vrel_thread_event_reset(vrel_event* event);

// ---- Threads ----

struct vrel_thread;

// What a thread runs. Its result is what vrel_thread_wait_and_cleanup reports.
typedef uint32_t (*vrel_thread_routine)(void* argument);

// Priorities: 0 keeps what the creating thread has, 1 to 100 span the lowest to the highest of
// the scheduling policy in force.
constexpr uint32_t kVrelPriorityInherited = 0;
constexpr uint32_t kVrelPriorityHighest = 100;

// The result of a thread that was cancelled.
constexpr uint32_t kVrelThreadCancelled = 0xffffffffu;

// Starts a thread. `name` is copied, up to 15 bytes of it, and may be null; `stack_size` in bytes,
// 0 for the system's own. The thread must be ended with vrel_thread_wait_and_cleanup.
uint32_t vrel_thread_create(vrel_thread** out, vrel_thread_routine routine, void* argument,
                            const char* name, uint32_t priority, size_t stack_size);
uint32_t vrel_thread_set_priority(vrel_thread* thread, uint32_t priority);

// Waits for the thread to end and frees it. `out_result` may be null. A thread that waits for
// itself gets kVrelThreadDeadlock.
uint32_t vrel_thread_wait_and_cleanup(vrel_thread* thread, uint32_t* out_result);

// Asks the thread to end at its next cancellation point. It must still be waited for.
uint32_t vrel_thread_cancel(vrel_thread* thread);

uint32_t vrel_thread_sleep(uint32_t milliseconds);

// The calling thread's number: given when first asked for, counted from 1, never given twice.
uint32_t vrel_thread_get_id(uint32_t* out_id);

// Names the calling thread, for itself and for the system's tools; 15 bytes are kept.
uint32_t vrel_thread_set_name(const char* name);

// The calling thread's name, empty when it has none. Borrowed: valid until the thread is named
// again or ends.
uint32_t vrel_thread_get_name(const char** out_name);

#endif  // VREL_THREAD_H
