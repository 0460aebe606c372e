// The handle manager: which addresses validate, and that the dead are never read.
#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "ManagerTest.h"

namespace {

constexpr uint32_t kMagic = 0xa11ea11e;
constexpr uint32_t kOther = 0xb22eb22e;

class HandlesTest : public ManagerTest {
 protected:
  void SetUp() override {
    ManagerTest::SetUp();
    table = &service<trova_handlemanager_interface>(TROVA_SERVICE_HANDLEMANAGER);
  }

  uint32_t validate(const void* handle) { return table->handle_validate(handle, kMagic); }

  const trova_handlemanager_interface* table = nullptr;
};

uint32_t* make_object(size_t size = 64, size_t offset = 0) {
  auto* const object = static_cast<uint32_t*>(vrel_memory_alloc(size)) + offset;
  *object = kMagic;
  return object;
}

TEST_F(HandlesTest, NullOddAndForeignAddressesAreRefused) {
  uint32_t object[2] = {kMagic, kMagic};
  const void* const odd = reinterpret_cast<char*>(object) + 1;
  EXPECT_EQ(validate(nullptr), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(table->handle_add(nullptr), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(table->handle_remove(nullptr), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(validate(odd), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(table->handle_validate(object, kOther), TROVA_MANAGER_BAD_HANDLE);
  // The manager's own kinds must have been made by the manager.
  EXPECT_EQ(table->handle_validate_user(reinterpret_cast<trova_user*>(object)),
            TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(table->handle_validate_object(reinterpret_cast<trova_gdo*>(object)),
            TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(table->handle_validate_object(nullptr), TROVA_MANAGER_INVALID_ARG);
}

TEST_F(HandlesTest, ObjectIsLiveByItsMagicUntilItIsRemovedAndAgainOnceAdded) {
  uint32_t object = kMagic;
  EXPECT_EQ(validate(&object), 0u);
  EXPECT_EQ(table->handle_remove(&object), 0u);
  EXPECT_EQ(validate(&object), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(table->handle_add(&object), 0u);
  EXPECT_EQ(table->handle_add(&object), 0u);
  EXPECT_EQ(validate(&object), 0u);
  EXPECT_EQ(table->handle_remove(&object), 0u);
  EXPECT_EQ(validate(&object), TROVA_MANAGER_BAD_HANDLE);
}

// The address sanitizer proves that the freed word is not read.
TEST_F(HandlesTest, FreedObjectIsDeadWhereverItStoodInItsBlock) {
  for (const size_t offset : {0u, 1u, 100u, 4000u}) {
    uint32_t* const object = make_object(20'000, offset);
    ASSERT_EQ(table->handle_add(object), 0u);
    vrel_memory_free(object - offset);
    EXPECT_EQ(validate(object), TROVA_MANAGER_BAD_HANDLE) << offset;
  }
  uint32_t* const object = make_object();
  ASSERT_EQ(table->handle_add(object), 0u);
  void* const moved = vrel_memory_realloc(object, 1 << 20);
  EXPECT_EQ(validate(object), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(validate(moved), 0u);
  vrel_memory_free(moved);
}

TEST_F(HandlesTest, AddressThatIsHandedOutAgainIsNew) {
  const size_t size = 1 << 20;  // soon handed out again even where a sanitizer delays that
  uint32_t* const object = make_object(size);
  table->handle_add(object);
  table->handle_remove(object);
  vrel_memory_free(object);
  uint32_t* again = nullptr;
  for (int i = 0; i < 1000 && again != object; ++i) {
    again = make_object(size);
    if (again != object) vrel_memory_free(again);
  }
  if (again != object) GTEST_SKIP() << "the system did not hand the address out again";
  EXPECT_EQ(validate(again), 0u);
  vrel_memory_free(again);
}

TEST_F(HandlesTest, RandomOperationsAgreeWithASimpleModel) {
  constexpr size_t kWords = 1 << 16;  // so that the tables grow
  // Of the allocator: what the test took from elsewhere could have been a handle before.
  auto* const memory = static_cast<uint32_t*>(vrel_memory_alloc(kWords * sizeof(uint32_t)));
  std::fill_n(memory, kWords, kMagic);
  std::vector<bool> dead(kWords, false);
  std::mt19937 random(7);
  for (int step = 0; step < 300'000; ++step) {
    const size_t at = random() % kWords;
    if (random() % 2 == 0) {
      table->handle_add(&memory[at]);
      dead[at] = false;
    } else {
      table->handle_remove(&memory[at]);
      dead[at] = true;
    }
    const size_t asked = random() % kWords;
    ASSERT_EQ(validate(&memory[asked]), dead[asked] ? TROVA_MANAGER_BAD_HANDLE : 0u) << step;
  }
  vrel_memory_free(memory);
}

TEST_F(HandlesTest, ThreadsDoNotDisturbEachOther) {
  uint32_t* const shared = make_object();
  table->handle_add(shared);
  const auto work = [&] {
    for (int i = 0; i < 5000; ++i) {
      uint32_t context = kMagic;
      uint32_t* const block = make_object();
      EXPECT_EQ(table->handle_add(&context) | table->handle_add(block), 0u);
      EXPECT_EQ(validate(&context) | validate(block) | validate(shared), 0u);
      EXPECT_EQ(table->handle_remove(&context), 0u);
      EXPECT_EQ(validate(&context), TROVA_MANAGER_BAD_HANDLE);
      vrel_memory_free(block);
    }
  };
  std::thread first(work), second(work), third(work);
  first.join();
  second.join();
  third.join();
  table->handle_remove(shared);
  vrel_memory_free(shared);
}

TEST_F(HandlesTest, ReleasedUserIsAStaleHandle) {
  trova_user* user = nullptr;
  ASSERT_EQ(trova_manager_user_create("somebody", &user), 0u);
  EXPECT_EQ(table->handle_validate_user(user), 0u);
  EXPECT_EQ(table->handle_validate_object(reinterpret_cast<trova_gdo*>(user)),
            TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(trova_manager_user_release(user), 0u);
  EXPECT_EQ(table->handle_validate_user(user), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(trova_manager_user_release(user), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(trova_manager_user_release(nullptr), 0u);
}

}  // namespace
