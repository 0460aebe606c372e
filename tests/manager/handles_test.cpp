// The handle manager: which addresses validate, and that the dead are never read.
#include <algorithm>
#include <memory>
#include <random>
#include <utility>
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

// The handle of a small object is stale for longer than one use of its memory by somebody else.
TEST_F(HandlesTest, AddressThatHeldSomethingElseIsDeadOnceThatIsFreed) {
  uint32_t* const object = make_object(256);
  table->handle_add(object);
  vrel_memory_free(object);
  std::vector<uint32_t*> others(1000);
  for (uint32_t*& other : others) {
    other = make_object(256);
    *other = ~kMagic;
  }
  for (uint32_t*& other : others) {
    EXPECT_EQ(validate(object), TROVA_MANAGER_BAD_HANDLE);
    vrel_memory_free(other);
  }
  EXPECT_EQ(validate(object), TROVA_MANAGER_BAD_HANDLE);
}

// A block of words, each of which may be an object, and what the test knows of them.
struct Field {
  static constexpr size_t kWords = 1 << 15;  // so that the tables grow

  uint32_t* words = static_cast<uint32_t*>(vrel_memory_alloc(kWords * sizeof(uint32_t)));
  std::vector<bool> dead = std::vector<bool>(kWords, false);

  Field() { std::fill_n(words, kWords, kMagic); }
  ~Field() { vrel_memory_free(words); }
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;
};

TEST_F(HandlesTest, RandomOperationsAgreeWithASimpleModel) {
  auto first = std::make_unique<Field>();
  Field second;
  std::mt19937 random(7);
  for (int step = 0; step < 200'000; ++step) {
    Field& field = random() % 2 == 0 ? *first : second;
    const size_t at = random() % Field::kWords;
    const bool kill = random() % 2 == 0;
    ASSERT_EQ((kill ? table->handle_remove : table->handle_add)(&field.words[at]), 0u);
    field.dead[at] = kill;
    const size_t asked = random() % Field::kWords;
    ASSERT_EQ(validate(&field.words[asked]) != 0, field.dead[asked]) << step;
  }
  // A block that is handed out again forgets its dead; those of the other block stay.
  const uint32_t* const old_words = first->words;
  first.reset();
  const Field again;
  for (size_t i = 0; i < Field::kWords; ++i) {
    ASSERT_EQ(validate(&second.words[i]) != 0, second.dead[i]) << i;
    ASSERT_EQ(validate(&again.words[i]), 0u) << i << (again.words == old_words);
  }
}

TEST_F(HandlesTest, UsersComeAndGoInAnyOrder) {
  std::vector<trova_user*> users(3000, nullptr);
  std::mt19937 random(11);
  for (int step = 0; step < 60'000; ++step) {
    trova_user*& user = users[random() % users.size()];
    if (user == nullptr) {
      ASSERT_EQ(trova_manager_user_create("somebody", &user), 0u);
    } else {
      trova_user* const released = std::exchange(user, nullptr);
      ASSERT_EQ(trova_manager_user_release(released), 0u) << step;
      ASSERT_EQ(trova_manager_user_release(released), TROVA_MANAGER_BAD_HANDLE) << step;
      ASSERT_EQ(table->handle_validate_user(released), TROVA_MANAGER_BAD_HANDLE) << step;
    }
    trova_user* const asked = users[random() % users.size()];
    if (asked == nullptr) continue;
    ASSERT_EQ(table->handle_validate_user(asked), 0u) << step;
    ASSERT_EQ(table->handle_validate_object(reinterpret_cast<trova_gdo*>(asked)),
              TROVA_MANAGER_BAD_HANDLE);
  }
  for (trova_user* const user : users) EXPECT_EQ(trova_manager_user_release(user), 0u);
}

}  // namespace
