// vrel_thread_test: critical sections, events, threads, counters, random numbers and module counts.
#include "vrel_thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "memory_for_tests.h"
#include "vrel_atomic.h"
#include "vrel_datatypes.h"
#include "vrel_random.h"
#include "vrel_spinlock.h"

// Counts calls of pthread_cond_wait while the mutex is held: a thread that takes the mutex
// afterwards finds the caller waiting.
static std::atomic<uint32_t> g_waits;
extern "C" int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
extern "C" int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  ++g_waits;
  return __real_pthread_cond_wait(condition, mutex);
}

namespace {

class vrel_thread_test : public ::testing::Test {
 protected:
  void SetUp() override {
    blocks_ = test_memory_blocks();
    ASSERT_EQ(vrel_thread_initialize(), 0u);
  }
  void TearDown() override {
    EXPECT_EQ(vrel_thread_shutdown(), 0u);
    EXPECT_EQ(test_memory_blocks(), blocks_);
  }

 private:
  size_t blocks_ = 0;
};

}  // namespace

TEST(vrel_module, starts_and_stops_are_counted) {
  using Step = uint32_t (*)();
  const Step modules[][3] = {
      {vrel_thread_initialize, vrel_thread_shutdown, vrel_thread_initchecks},
      {vrel_random_initialize, vrel_random_shutdown, vrel_random_initchecks},
      {vrel_datatypes_initialize, vrel_datatypes_shutdown, vrel_datatypes_initchecks}};
  for (const auto& [start, stop, checks] : modules) {
    EXPECT_EQ(stop(), 7u);
    EXPECT_EQ(start() + start(), 0u);
    EXPECT_EQ(checks(), 2u);
    EXPECT_EQ(stop() + stop(), 0u);
    EXPECT_EQ(checks(), 0u);
    EXPECT_EQ(stop(), 7u);
  }
  EXPECT_EQ(test_memory_starts(), 0) << "the thread module holds the allocator while it is up";
}

TEST_F(vrel_thread_test, a_section_is_free_once_it_was_left_as_often_as_entered) {
  vrel_critsec* section = nullptr;
  ASSERT_EQ(vrel_thread_critsec_create(&section), 0u);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(vrel_thread_critsec_enter(section), 0u);
  std::atomic<bool> entered{false};
  std::thread other([&] {
    EXPECT_EQ(vrel_thread_critsec_leave(section), 0u) << "not the owner: nothing happens";
    EXPECT_EQ(vrel_thread_critsec_delete(section), 0x90020006u);
    EXPECT_EQ(vrel_thread_critsec_enter(section), 0u);
    entered = true;
    EXPECT_EQ(vrel_thread_critsec_leave(section), 0u);
  });
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(vrel_thread_sleep(5), 0u);
    EXPECT_FALSE(entered);
    EXPECT_EQ(vrel_thread_critsec_leave(section), 0u);
  }
  other.join();
  EXPECT_TRUE(entered);
  EXPECT_EQ(vrel_thread_critsec_leave(section), 0u) << "nobody holds it: nothing happens";
  EXPECT_EQ(vrel_thread_critsec_delete(section), 0u);
}

TEST_F(vrel_thread_test, sections_and_spin_locks_let_one_thread_in_at_a_time) {
  vrel_critsec* section = nullptr;
  ASSERT_EQ(vrel_thread_critsec_create(&section), 0u);
  static vrel_spinlock lock;
  vrel_atomic counter = {};
  int in_section = 0;
  int in_lock = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        const vrel_critsec_guard outer(section);
        const vrel_critsec_guard inner(section);
        ++in_section;
        (void)vrel_spinlock_lock(&lock);
        ++in_lock;
        (void)vrel_spinlock_unlock(&lock);
        (void)vrel_atomic_inc(&counter, nullptr);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  uint32_t count = 0;
  EXPECT_EQ(vrel_atomic_read(&counter, &count), 0u);
  EXPECT_EQ(count, 8000u);
  EXPECT_EQ(in_section, 8000);
  EXPECT_EQ(in_lock, 8000);
  EXPECT_EQ(vrel_thread_critsec_delete(section), 0u);
}

TEST_F(vrel_thread_test, counters_wrap_and_null_is_refused) {
  vrel_atomic counter = {};
  uint32_t value = 5;
  EXPECT_EQ(vrel_atomic_dec(&counter, &value), 0u);
  EXPECT_EQ(value, UINT32_MAX);
  EXPECT_EQ(vrel_atomic_set(&counter, 40) + vrel_atomic_add(&counter, 2), 0u);
  EXPECT_EQ(vrel_atomic_read(&counter, &value), 0u);
  EXPECT_EQ(value, 42u);
  EXPECT_EQ(vrel_atomic_inc(nullptr, &value), 0x901f0001u);
  EXPECT_EQ(vrel_spinlock_lock(nullptr), 0x901f0001u);
  EXPECT_EQ(vrel_thread_critsec_enter(nullptr), 0x90020001u);
}

TEST_F(vrel_thread_test, a_timed_wait_never_waits_and_an_event_clears_as_it_was_made_to) {
  for (const uint8_t manual : {uint8_t{0}, uint8_t{1}}) {
    vrel_event* event = nullptr;
    ASSERT_EQ(vrel_thread_event_create(&event, manual), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0xfffffffeu), 0x10020084u);
    EXPECT_EQ(vrel_thread_event_signal(event), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0), manual != 0 ? 0u : 0x10020084u);
    EXPECT_EQ(vrel_thread_event_reset(event), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0), 0x10020084u);
    EXPECT_EQ(vrel_thread_event_delete(event), 0u);
  }
}

TEST_F(vrel_thread_test, each_signal_lets_one_waiter_go_or_all_of_them) {
  for (const uint8_t manual : {uint8_t{0}, uint8_t{1}}) {
    vrel_event* event = nullptr;
    ASSERT_EQ(vrel_thread_event_create(&event, manual), 0u);
    std::atomic<uint32_t> gone{0};
    g_waits = 0;
    std::vector<std::thread> waiters;
    for (uint32_t i = 0; i < 4; ++i) {
      waiters.emplace_back([&] {
        EXPECT_EQ(vrel_thread_event_wait(event, kVrelNoTimeout), 0u);
        ++gone;
      });
    }
    while (g_waits < 4) std::this_thread::yield();
    // Several signals before any of the threads runs; what comes after them takes none away.
    for (int i = 0; i < (manual != 0 ? 1 : 3); ++i) EXPECT_EQ(vrel_thread_event_signal(event), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0), manual != 0 ? 0u : 0x10020084u);
    EXPECT_EQ(vrel_thread_event_reset(event), 0u);
    while (gone < (manual != 0 ? 4 : 3)) std::this_thread::yield();
    if (manual == 0) {
      EXPECT_EQ(gone, 3u);
      EXPECT_EQ(vrel_thread_event_signal(event), 0u);
    }
    for (std::thread& waiter : waiters) waiter.join();
    // Nobody waits: two signals are one.
    EXPECT_EQ(vrel_thread_event_signal(event) | vrel_thread_event_signal(event), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, kVrelNoTimeout), 0u);
    EXPECT_EQ(vrel_thread_event_wait(event, 0), manual != 0 ? 0u : 0x10020084u);
    EXPECT_EQ(vrel_thread_event_delete(event), 0u);
  }
}

TEST_F(vrel_thread_test, a_thread_runs_its_routine_under_its_name_and_number) {
  using Seen = std::pair<std::string, uint32_t>;
  const auto routine = [](void* argument) -> uint32_t {
    const char* name = nullptr;
    EXPECT_EQ(vrel_thread_get_name(&name), 0u);
    static_cast<Seen*>(argument)->first = name;
    return vrel_thread_get_id(&static_cast<Seen*>(argument)->second) + 42;
  };
  std::set<uint32_t> ids;
  for (const uint32_t priority : {kVrelPriorityInherited, 50u}) {
    Seen seen;
    vrel_thread* thread = nullptr;
    ASSERT_EQ(vrel_thread_create(&thread, routine, &seen, "a name that is too long", priority,
                                 256 * 1024),
              0u);
    uint32_t result = 0;
    EXPECT_EQ(vrel_thread_wait_and_cleanup(thread, &result), 0u);
    EXPECT_EQ(result, 42u);
    EXPECT_EQ(seen.first, "a name that is ");
    EXPECT_TRUE(ids.insert(seen.second).second) << "a number was given twice";
    EXPECT_EQ(vrel_thread_create(&thread, routine, &seen, nullptr, priority, 1), 0x90020001u);
  }
}

TEST_F(vrel_thread_test, a_cancelled_thread_ends_and_says_so) {
  vrel_thread* thread = nullptr;
  const auto routine = [](void*) -> uint32_t {
    while (true) (void)vrel_thread_sleep(1);
  };
  ASSERT_EQ(vrel_thread_create(&thread, routine, nullptr, nullptr, 0, 0), 0u);
  EXPECT_EQ(vrel_thread_cancel(thread), 0u);
  uint32_t result = 0;
  EXPECT_EQ(vrel_thread_wait_and_cleanup(thread, &result), 0u);
  EXPECT_EQ(result, kVrelThreadCancelled);
}

TEST(vrel_random, a_state_of_the_callers_gives_the_fixed_sequence) {
  uint32_t state = 0;
  EXPECT_EQ(vrel_random_rand(&state), 38u);
  EXPECT_EQ(state, 2531011u);
  EXPECT_EQ(vrel_random_rand(&state), 7719u);
}

TEST(vrel_random, the_shared_state_advances_once_for_each_draw_of_any_thread) {
  // Continues behind whatever other tests drew: nothing here draws from the shared state before.
  std::vector<std::vector<uint32_t>> drawn(4);
  std::vector<std::thread> threads;
  for (auto& numbers : drawn) {
    threads.emplace_back([&numbers] {
      for (int i = 0; i < 1000; ++i) numbers.push_back(vrel_random_rand(nullptr));
    });
  }
  for (auto& thread : threads) thread.join();
  std::multiset<uint32_t> expected;
  uint32_t state = 0x12345678u;
  for (int i = 0; i < 4000; ++i) expected.insert(vrel_random_rand(&state));
  std::multiset<uint32_t> all;
  for (const auto& numbers : drawn) all.insert(numbers.begin(), numbers.end());
  EXPECT_EQ(all, expected);
  EXPECT_EQ(vrel_random_rand(nullptr), vrel_random_rand(&state));
}
