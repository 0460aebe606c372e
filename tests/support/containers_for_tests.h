// containers_for_tests: what the tests of the containers have in common.
#ifndef CONTAINERS_FOR_TESTS_H
#define CONTAINERS_FOR_TESTS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#include "memory_for_tests.h"
#include "vrel_datatypes.h"
#include "vrel_thread.h"

// The same numbers in every run.
class Random {
 public:
  explicit Random(uint32_t seed) : engine_(seed) {}
  uint32_t operator()() { return static_cast<uint32_t>(engine_()); }

 private:
  std::mt19937 engine_;
};

// The quicksort as it is defined, step by step: `order(a, b)` compares two elements.
template <typename Element, typename Order>
void plain_quicksort(std::vector<Element>& all, size_t lo, size_t hi, Order order) {
  while (lo < hi) {
    size_t i = lo + 1;
    size_t j = hi;
    while (j > i) {
      if (order(all[i], all[lo]) <= 0) {
        ++i;
      } else if (--j != i) {
        std::swap(all[i], all[j]);
      }
    }
    std::swap(all[lo], all[i - 1]);
    plain_quicksort(all, lo, i - 1, order);
    lo = j;
  }
}

// The search of a sorted array as it is defined: found or not, and the place. `order(element)`
// compares an element with the value.
template <typename Element, typename Order>
std::pair<bool, uint32_t> plain_search(const std::vector<Element>& all, Order order) {
  if (all.empty()) return {false, 0};
  int lo = -1;
  int hi = static_cast<int>(all.size()) - 1;
  while (hi - lo >= 2) {
    const int mid = (lo + hi) / 2;
    const int32_t result = order(all[static_cast<size_t>(mid)]);
    if (result == 0) return {true, mid};
    (result < 0 ? lo : hi) = mid;
  }
  const int32_t result = order(all[static_cast<size_t>(hi)]);
  return {result == 0, result < 0 ? hi + 1 : hi};
}

// Starts the modules, and checks that nothing allocated in between is left.
class ContainersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(vrel_thread_initialize(), 0u);
    ASSERT_EQ(vrel_datatypes_initialize(), 0u);
    blocks_ = test_memory_blocks();
  }
  void TearDown() override {
    EXPECT_EQ(test_memory_blocks(), blocks_) << "blocks that nobody freed";
    EXPECT_EQ(vrel_datatypes_shutdown(), 0u);
    EXPECT_EQ(vrel_thread_shutdown(), 0u);
  }

 private:
  size_t blocks_ = 0;
};

// Runs the task with 0, 1, 2, ... allocations allowed, until it returns 0. Every earlier run must
// say that memory is short, and `check` must hold after it.
inline void each_allocation_failing(const std::function<uint32_t()>& task,
                                    const std::function<void()>& check) {
  for (int allowed = 0; allowed < 10000; ++allowed) {
    test_memory_fail_after(allowed);
    const uint32_t code = task();
    test_memory_fail_after(-1);
    if (code == 0) {
      EXPECT_GT(allowed, 0) << "the task allocates nothing";
      return;
    }
    ASSERT_EQ(code & 0x8000ffffu, 0x80000002u) << "with " << allowed << " allocations";
    check();
  }
  FAIL() << "the task never succeeds";
}

#endif  // CONTAINERS_FOR_TESTS_H
