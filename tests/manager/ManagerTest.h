// ManagerTest: a running manager, its tables, and the check that a test gave back what it took.
#ifndef TROVA_TESTS_MANAGER_MANAGER_TEST_H
#define TROVA_TESTS_MANAGER_MANAGER_TEST_H

#include <gtest/gtest.h>

#include "trova_manager.h"
#include "vrel_memory.h"

inline trova_manager_memory_stats memory_stats() {
  trova_manager_memory_stats stats = {};
  EXPECT_EQ(trova_manager_memory_stats_get(&stats), 0u);
  return stats;
}

class ManagerTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(trova_manager_start(nullptr, &manager), 0u);
    before_ = memory_stats();
  }

  void TearDown() override {
    trova_manager_memory_limit_set(0);
    EXPECT_EQ(memory_stats().blocks_in_use, before_.blocks_in_use);
    EXPECT_EQ(memory_stats().bytes_in_use, before_.bytes_in_use);
    EXPECT_EQ(trova_manager_stop(), 0u);
  }

  template <class Table>
  const Table& service(const char* name) {
    void* table = nullptr;
    EXPECT_EQ(manager->query_interface(name, &table), 0u) << name;
    return *static_cast<const Table*>(table);
  }

  // Bytes that the test itself holds.
  size_t bytes_held() const { return memory_stats().bytes_in_use - before_.bytes_in_use; }

  ManagerHandle* manager = nullptr;

 private:
  trova_manager_memory_stats before_ = {};
};

#endif  // TROVA_TESTS_MANAGER_MANAGER_TEST_H
