// engine_test: the library on the embedded manager, for tests that need no strict one.
#ifndef ENGINE_TEST_H
#define ENGINE_TEST_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "trova_manager.h"
#include "trova_playlist.h"

// A running library with an in-memory store and an empty collection.
class EngineTest : public testing::Test {
 protected:
  void SetUp() override {
    ManagerHandle* manager = nullptr;
    const trova_manager_options options = {sizeof options, nullptr, 0, ":memory:"};
    ASSERT_EQ(trova_manager_start(&options, &manager), 0u);
    ASSERT_EQ(trova_playlist_initialize(manager), 0u);
    ASSERT_EQ(trova_playlist_collection_create("engine", &collection_), 0u);
  }

  void TearDown() override {
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(trova_manager_stop(), 0u);
  }

  static uint32_t id_of(const char* type, const std::string& name) {
    trova_list* list = nullptr;
    trova_manager_element element = {};
    EXPECT_EQ(trova_manager_list_load(type, &list), 0u);
    EXPECT_EQ(trova_manager_list_find(list, name.c_str(), &element), 0u) << name;
    trova_manager_list_release(list);
    return element.id;
  }

  trova_playlist_collection* collection_ = nullptr;
};

#endif  // ENGINE_TEST_H
