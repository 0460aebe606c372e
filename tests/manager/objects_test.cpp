// Data objects: values and children, references, and views that somebody else answers.
#include <string>
#include <thread>
#include <vector>

#include "ManagerTest.h"

namespace {

trova_gdo* make_object(const char* context = TROVA_CTX_TRACK) {
  trova_gdo* object = nullptr;
  EXPECT_EQ(trova_manager_gdo_create(context, &object), 0u);
  return object;
}

void release(trova_gdo* object) {
  EXPECT_EQ(trova_manager_gdo_release(object), 0u);
}

uint32_t code_of_value(trova_gdo* object, const char* key, uint32_t ordinal) {
  const char* text = nullptr;
  return trova_manager_gdo_get_value(object, key, ordinal, &text);
}

std::string value(trova_gdo* object, const char* key, uint32_t ordinal = 1) {
  const char* text = nullptr;
  EXPECT_EQ(trova_manager_gdo_get_value(object, key, ordinal, &text), 0u) << key << ordinal;
  return text == nullptr ? "(none)" : text;
}

uint32_t count(trova_gdo* object, const char* key) {
  uint32_t values = 0;
  EXPECT_EQ(trova_manager_gdo_value_count(object, key, &values), 0u);
  return values;
}

using ObjectsTest = ManagerTest;

TEST_F(ObjectsTest, ValuesStandUnderTheirKeysInTheOrderOfAdding) {
  trova_gdo* const track = make_object();
  const std::string long_text(10'000, 'x');
  trova_manager_gdo_add_value(track, TROVA_VAL_TITLE, "one");
  trova_manager_gdo_add_value(track, "my_own_key", "mine");
  trova_manager_gdo_add_value(track, TROVA_VAL_TITLE, "");
  trova_manager_gdo_add_value(track, "my_own_kez", long_text.c_str());
  trova_manager_gdo_add_number(track, TROVA_VAL_TEMPO, 0xffffffff);
  EXPECT_EQ(value(track, TROVA_VAL_TITLE, 1), "one");
  EXPECT_EQ(value(track, TROVA_VAL_TITLE, 2), "");
  EXPECT_EQ(value(track, "my_own_key"), "mine");
  EXPECT_EQ(value(track, "my_own_kez"), long_text);
  EXPECT_EQ(value(track, TROVA_VAL_TEMPO), "4294967295");
  EXPECT_EQ(count(track, TROVA_VAL_TITLE), 2u);
  EXPECT_EQ(count(track, TROVA_VAL_MOOD_ID), 0u);
  EXPECT_EQ(code_of_value(track, TROVA_VAL_TITLE, 3), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(code_of_value(track, TROVA_VAL_TITLE, 0), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(code_of_value(track, "my_own_ke", 1), TROVA_MANAGER_NOT_FOUND);
  release(track);
}

TEST_F(ObjectsTest, ManyValuesReadBackAndTheFirstTextsStayInPlace) {
  trova_gdo* const track = make_object("anything else");
  const char* context = nullptr;
  EXPECT_EQ(trova_manager_gdo_get_context(track, &context), 0u);
  const char* early = nullptr;
  for (uint32_t i = 1; i <= 20'000; ++i) {
    trova_manager_gdo_add_number(track, i % 2 == 0 ? TROVA_VAL_TITLE : "odd", i);
    if (i == 1) trova_manager_gdo_get_value(track, "odd", 1, &early);
  }
  for (uint32_t i = 1; i <= 10'000; ++i) {
    ASSERT_EQ(value(track, TROVA_VAL_TITLE, i), std::to_string(2 * i));
    ASSERT_EQ(value(track, "odd", i), std::to_string(2 * i - 1));
  }
  EXPECT_EQ(count(track, "odd"), 10'000u);
  EXPECT_EQ(code_of_value(track, "odd", 10'001), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(count(track, "none"), 0u);
  EXPECT_STREQ(early, "1");
  EXPECT_STREQ(context, "anything else");
  release(track);
}

TEST_F(ObjectsTest, WrongArgumentsAreRefused) {
  trova_gdo* const track = make_object();
  uint32_t number = 0;
  trova_gdo* other = nullptr;
  const uint32_t codes[] = {
      trova_manager_gdo_create(nullptr, &other),
      trova_manager_gdo_add_value(track, "", "x"),
      trova_manager_gdo_add_value(track, "key", nullptr),
      trova_manager_gdo_add_value(nullptr, "key", "x"),
      trova_manager_gdo_add_child(track, "key", nullptr),
      trova_manager_gdo_get_value(track, "key", 1, nullptr),
      trova_manager_gdo_value_count(track, nullptr, &number),
      trova_manager_gdo_get_child(track, "key", 0, &other),
  };
  for (size_t i = 0; i < std::size(codes); ++i) EXPECT_EQ(codes[i], TROVA_MANAGER_INVALID_ARG) << i;
  release(track);
  release(nullptr);
}

TEST_F(ObjectsTest, ChildrenLiveAsLongAsTheirParentOrTheirHandles) {
  trova_gdo* const track = make_object();
  trova_gdo* const album = make_object(TROVA_CTX_ALBUM);
  trova_manager_gdo_add_value(album, TROVA_VAL_TITLE, "album");
  ASSERT_EQ(trova_manager_gdo_add_child(track, TROVA_CHILD_ALBUM, album), 0u);
  release(album);
  // The parent's reference is not the caller's to give back.
  EXPECT_EQ(trova_manager_gdo_release(album), TROVA_MANAGER_BAD_HANDLE);
  trova_gdo* child = nullptr;
  ASSERT_EQ(trova_manager_gdo_get_child(track, TROVA_CHILD_ALBUM, 1, &child), 0u);
  EXPECT_EQ(trova_manager_gdo_get_child(track, TROVA_CHILD_ALBUM, 2, &child),
            TROVA_MANAGER_NOT_FOUND);
  uint32_t children = 0;
  EXPECT_EQ(trova_manager_gdo_child_count(track, TROVA_CHILD_ALBUM, &children), 0u);
  EXPECT_EQ(children, 1u);
  release(track);
  EXPECT_EQ(trova_manager_gdo_release(track), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(code_of_value(track, TROVA_VAL_TITLE, 1), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(value(child, TROVA_VAL_TITLE), "album");
  EXPECT_EQ(trova_manager_gdo_addref(child), 0u);
  release(child);
  release(child);
}

TEST_F(ObjectsTest, CyclesAreRefusedAndSharedChildrenAreNot) {
  trova_gdo* const a = make_object();
  trova_gdo* const b = make_object();
  trova_gdo* const c = make_object();
  EXPECT_EQ(trova_manager_gdo_add_child(a, "k", a), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(trova_manager_gdo_add_child(a, "k", b), 0u);
  EXPECT_EQ(trova_manager_gdo_add_child(b, "k", c), 0u);
  EXPECT_EQ(trova_manager_gdo_add_child(a, "k", c), 0u);
  EXPECT_EQ(trova_manager_gdo_add_child(c, "k", a), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(trova_manager_gdo_add_child(c, "k", b), TROVA_MANAGER_INVALID_ARG);
  // The refusals left nothing behind that would spoil the next search.
  trova_gdo* const d = make_object();
  EXPECT_EQ(trova_manager_gdo_add_child(c, "k", d), 0u);
  EXPECT_EQ(trova_manager_gdo_add_child(d, "k", a), TROVA_MANAGER_INVALID_ARG);
  for (trova_gdo* const object : {a, b, c, d}) release(object);
}

TEST_F(ObjectsTest, DeepTreesAreBuiltEitherWayAndFreedWithoutRecursion) {
  constexpr int kDepth = 100'000;
  for (const bool from_root : {true, false}) {
    trova_gdo* const root = make_object();
    trova_gdo* last = root;
    for (int i = 0; i < kDepth; ++i) {
      trova_gdo* const next = make_object();
      trova_gdo* const parent = from_root ? last : next;
      trova_gdo* const child = from_root ? next : last;
      ASSERT_EQ(trova_manager_gdo_add_child(parent, "deeper", child), 0u);
      release(last);
      last = next;
    }
    // From the root down, nobody holds the root any more: the tree is gone but for its end.
    release(last);
  }
}

TEST_F(ObjectsTest, ReadersSeeWholeEntriesWhileAnotherThreadAdds) {
  trova_gdo* const track = make_object();
  std::thread writer([&] {
    for (uint32_t i = 1; i <= 300; ++i) {
      trova_manager_gdo_add_number(track, TROVA_VAL_TITLE, i);
      trova_gdo* const child = make_object();
      trova_manager_gdo_add_child(track, "k", child);
      release(child);
    }
  });
  uint32_t seen = 0;
  while (seen < 300) {
    seen = count(track, TROVA_VAL_TITLE);
    if (seen != 0) {
      EXPECT_EQ(value(track, TROVA_VAL_TITLE, seen), std::to_string(seen));
    }
    trova_gdo* child = nullptr;
    if (trova_manager_gdo_get_child(track, "k", 1, &child) == 0) release(child);
  }
  writer.join();
  release(track);
}

// A view that answers from its own fields and counts its releases.
struct View {
  uint32_t releases = 0;
  uint32_t release_code = 0;
  std::string asked;
};

constexpr trova_gdo_operations kOperations = {
    .addref = nullptr,
    .get_context = [](void*, const char** out) -> uint32_t { return *out = TROVA_CTX_EXTDATA, 0; },
    .child_count = nullptr,
    .get_child = [](void*, const char*, uint32_t, uint32_t, trova_gdo**) -> uint32_t {
      return TROVA_MANAGER_NOT_FOUND;
    },
    .value_count = [](void*, const char*, uint32_t* out) -> uint32_t { return *out = 7, 0; },
    .get_value = [](void* view, const char* key, uint32_t ordinal, const char** out) -> uint32_t {
      std::string& asked = static_cast<View*>(view)->asked;
      asked = key + std::to_string(ordinal);
      return *out = asked.c_str(), 0;
    },
    .unused6 = nullptr,
    .set_locale = nullptr,
    .get_locale = nullptr,
    .unused9 = nullptr,
    .release = [](void* view) -> uint32_t {
      ++static_cast<View*>(view)->releases;
      return static_cast<View*>(view)->release_code;
    },
};

TEST_F(ObjectsTest, ViewsAnswerThroughTheirTableAndAreReleasedOnce) {
  const auto& table = service<trova_gdo_interface>(TROVA_SERVICE_GDO);
  View view;
  view.release_code = 0x900d0001;
  trova_gdo* object = nullptr;
  EXPECT_EQ(table.gdo_create(&view, nullptr, 0, &object), TROVA_MANAGER_INVALID_ARG);
  trova_manager_memory_limit_set(1);
  EXPECT_EQ(table.gdo_create(&view, &kOperations, 0, &object), TROVA_MANAGER_NO_MEMORY);
  trova_manager_memory_limit_set(0);
  EXPECT_EQ(view.releases, 0u);
  ASSERT_EQ(table.gdo_create(&view, &kOperations, 0, &object), 0u);
  EXPECT_EQ(value(object, "key", 0), "key0");
  EXPECT_EQ(count(object, "key"), 7u);
  uint32_t children = 0;
  EXPECT_EQ(trova_manager_gdo_child_count(object, "key", &children), TROVA_MANAGER_UNSUPPORTED);
  trova_gdo* child = nullptr;
  EXPECT_EQ(table.gdo_get_child(object, "key", 1, 0, &child), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(trova_manager_gdo_add_value(object, "key", "x"), TROVA_MANAGER_UNSUPPORTED);
  EXPECT_EQ(trova_manager_gdo_add_child(object, "key", object), TROVA_MANAGER_UNSUPPORTED);
  trova_gdo* const parent = make_object();
  EXPECT_EQ(trova_manager_gdo_add_child(parent, "k", object), 0u);
  trova_manager_gdo_addref(object);
  release(parent);
  EXPECT_EQ(table.gdo_release(object), 0u);
  EXPECT_EQ(view.releases, 0u);
  EXPECT_EQ(table.gdo_release(object), 0x900d0001);
  EXPECT_EQ(table.gdo_release(object), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(view.releases, 1u);
}

}  // namespace
