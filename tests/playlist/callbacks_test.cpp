// callbacks_test: whoever the library calls may call it back, and may answer anything. Each slot of
// an attribute and the synchronisation callback change, ask and release the very collection that is
// worked on; the error log answers that nothing was wrong. The sanitizers watch.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "playlist_memories.h"
#include "trova_mock.h"
#include "trova_playlist.h"

using trova_mock::mock;
using trova_mock::Object;
using Strings = std::vector<std::string>;

namespace {

// What is done once, where; `where` is emptied when it was done.
struct Interruption {
  std::string where;
  std::function<void()> action;
};
Interruption g_interruption;

uint32_t reach(const char* where) {
  if (g_interruption.where != where) return 0;
  g_interruption.where.clear();
  g_interruption.action();
  return 0;
}

uint32_t evaluate(const char* where, int32_t* out_score, int32_t score) {
  (void)reach(where);
  *out_score = score;
  return 0;
}

// Every value is some thousand; texts and numbers are both captured.
constexpr trova_playlist_attribute_provider kProvider = {
    [](const char** out_name) { return *out_name = "qx_hook", reach("get_name"); },
    [](uint32_t index, uint32_t* out_operator) -> uint32_t {
      *out_operator = index == 0 ? TROVA_PLAYLIST_OP_LIKE : TROVA_PLAYLIST_OP_EQUAL;
      return index < 2 ? reach("enum_operators") : PLERR_NotFound;
    },
    [](void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
      const char* text = nullptr;
      if (mock().objects().gdo_get_value(data, "value", 1, &text) != 0) return 0u;
      EXPECT_EQ(callbacks->set_integer(writer, static_cast<uint32_t>(std::stoul(text))), 0u);
      (void)reach("capture");
      return callbacks->set_string(writer, text);
    },
    [](void** out_context) { return *out_context = &g_interruption, reach("create_context"); },
    [](void*, uint32_t, const char*) { return reach("set_value_from_string"); },
    [](void*, uint32_t, trova_gdo*) { return reach("set_value_from_seed"); },
    [](void*, uint32_t value, int32_t* out_score) {
      return evaluate("evaluate_integer", out_score, 1000 - static_cast<int32_t>(value));
    },
    [](void*, const char* value, int32_t* out_score) {
      return evaluate("evaluate_string", out_score, 900 - std::stoi(value));
    },
    [](void*, uint32_t, const char*, trova_locale*, const char** out_text) {
      return *out_text = "integer", reach("render_integer");
    },
    [](void*, const char*, const char*, trova_locale*, const char** out_text) {
      return *out_text = "string", reach("render_string");
    },
    [](void*) { return reach("delete_context"); },
};

const char kGenre[] = "_sdkmgr_val_list_genre_id";
const char kMoods[] = "_sdkmgr_val_list_mood_data";
const char kStatement[] =
    "generate playlist where qx_hook = seed order qx_hook like seed limit 3 per qx_hook";

class Callbacks : public ::testing::Test {
 protected:
  Callbacks() {
    mock().reset();
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    EXPECT_EQ(trova_playlist_register_attribute_provider(&kProvider), 0u);
    start();
  }
  ~Callbacks() override {
    finish();
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    mock().expect_clean();
  }

  void start() {
    EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
    for (int i = 0; i < 40; ++i) add(std::to_string(i), i % 7);
  }
  void finish() {
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    collection_ = nullptr;
  }

  void add(const std::string& ident, int value) {
    Object track("trova_ctx_track");
    track.value("value", std::to_string(value)).value(kGenre, value % 2 == 0 ? "3" : "2");
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), track.get()), 0u);
  }
  void add_genre(const std::string& ident, const char* genre) {
    Object track("trova_ctx_track");
    track.value(kGenre, genre);
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), track.get()), 0u);
  }
  Strings generate(const char* statement = kStatement, const std::string& moods = "") {
    Strings idents;
    Object seed("trova_ctx_track");
    if (!moods.empty()) seed.value(kMoods, moods);
    trova_playlist_results* results = nullptr;
    EXPECT_EQ(
        trova_playlist_generate_playlist(nullptr, statement, collection_, seed.get(), &results),
        0u);
    const char* ident = nullptr;
    for (uint32_t i = 0; trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
      idents.push_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    return idents;
  }
  void read_view() {
    trova_gdo* view = nullptr;
    const char* text = nullptr;
    if (trova_playlist_collection_ident_get_gdo(collection_, "11", &view) != 0) return;
    const uint32_t code = mock().objects().gdo_get_value(view, "qx_hook", 1, &text);
    EXPECT_TRUE(code != 0 || *text != '\0');
    EXPECT_EQ(mock().objects().gdo_release(view), 0u);
  }
  void synchronize() {
    EXPECT_EQ(trova_playlist_collection_sync_ident_add(collection_, "new"), 0u);
    const auto callback = [](void*, trova_playlist_collection*, const char*, uint32_t, uint8_t*) {
      (void)reach("synchronize");
    };
    EXPECT_EQ(trova_playlist_collection_sync_process(collection_, callback, nullptr), 0u);
  }

  trova_playlist_collection* collection_ = nullptr;
};

TEST_F(Callbacks, may_do_to_their_collection_what_they_like) {
  struct Action {
    const char* name;
    bool changes;
    std::function<void()> run;
  };
  const Action actions[] = {
      {"reads a view", false, [&] { read_view(); }},
      {"generates", false, [&] { generate("genpl order qx_hook like 3 limit 2 per qx_hook"); }},
      {"adds many", true,
       [&] {
         for (int i = 0; i < 500; ++i) add("n" + std::to_string(i), i % 5);
       }},
      {"removes", true,
       [&] {
         for (const char* ident : {"11", "39", "0", "1", "2"}) {
           EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, ident), 0u);
         }
       }},
      {"releases", true, [&] { finish(); }},
  };
  const char* const places[] = {
      "capture",          "create_context",  "set_value_from_string", "set_value_from_seed",
      "evaluate_integer", "evaluate_string", "render_integer",        "render_string",
      "delete_context",   "synchronize",     "enum_operators"};
  for (const char* place : places) {
    for (const Action& action : actions) {
      SCOPED_TRACE(std::string(place) + " " + action.name);
      g_interruption = {place, action.run};
      const std::string where = place;
      if (where == "capture") {
        add("11", 5);
        const Strings all = collection_ != nullptr ? generate("genpl") : Strings{"11"};
        EXPECT_EQ(std::count(all.begin(), all.end(), "11"), 1) << "what was captured has its ident";
      } else if (where.rfind("render", 0) == 0) {
        read_view();
      } else if (where == "synchronize") {
        synchronize();
      } else if (where == "set_value_from_string") {
        generate("genpl where qx_hook = 1 order qx_hook like 3");
      } else {
        // Which of a group stay may change when the values are sorted meanwhile.
        const Strings idents = generate();
        EXPECT_TRUE(action.changes || idents.size() == 3 * 7) << testing::PrintToString(idents);
      }
      // The first value of an ident is of one kind only.
      EXPECT_TRUE(g_interruption.where.empty() || where.rfind("render", 0) == 0);
      g_interruption = {};
      if (collection_ != nullptr) finish();
      start();
    }
  }
}

// The calls fail as they would with a log that answers as it should.
TEST_F(Callbacks, the_error_log_cannot_make_a_failure_undone) {
  const char* name = "unset";
  uint32_t count = 77;
  trova_playlist_collection* other = nullptr;
  Object track("trova_ctx_track");
  track.value("value", "1");
  auto* const refused = reinterpret_cast<trova_playlist_collection*>(&count);
  mock().error_answer = 0;
  EXPECT_EQ(trova_playlist_collection_get_name(nullptr, &name), PLERR_InvalidArg);
  EXPECT_NE(trova_playlist_collection_get_name(refused, &name), 0u);
  EXPECT_STREQ(name, "unset");
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, "x", nullptr), PLERR_InvalidArg);
  EXPECT_EQ(trova_playlist_collection_ident_add(nullptr, "x", track.get()), PLERR_InvalidArg);
  mock().fail_allocation(1, true);
  EXPECT_EQ(trova_playlist_collection_create("d", &other), 0u) << "as the log answers";
  EXPECT_EQ(other, nullptr);
  mock().clear_faults();
  EXPECT_EQ(trova_playlist_collection_ident_count(collection_, &count), 0u);
  EXPECT_EQ(count, 40u);

  finish();
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  for (const auto& [slot, n] :
       {std::pair{"manager.register_package", 1u}, {"memory.initialize", 2u}}) {
    mock().fail_slot(slot, n, 0x90040005);
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u) << "as the log answers";
    EXPECT_EQ(trova_playlist_initchecks(), 0u);
  }
  mock().error_answer.reset();
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  EXPECT_EQ(trova_playlist_register_attribute_provider(&kProvider), 0u);
  start();
}

TEST_F(Callbacks, providers_that_fail_leave_out_parameters_and_other_attributes_alone) {
  static uint32_t failure = 0;
  trova_playlist_attribute_provider provider = kProvider;
  provider.get_name = [](const char** out_name) { return *out_name = "qx_failing", failure; };
  ASSERT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
  for (const uint32_t code : {PLERR_NoMemory, PLERR_NotFound, PLERR_InvalidData}) {
    failure = code;
    const char* name = "unset";
    trova_playlist_collection* collection = nullptr;
    EXPECT_EQ(trova_playlist_attributes_enum(9, &name), code);
    EXPECT_STREQ(name, "unset");
    ASSERT_EQ(trova_playlist_collection_create("d", &collection), 0u);
    uint32_t count = 0;
    EXPECT_EQ(trova_playlist_collection_attributes_count(collection, &count), 0u);
    EXPECT_EQ(count, 9u) << "the one that cannot say its name is left out";
    EXPECT_EQ(trova_playlist_collection_release(collection), 0u);
  }
}

TEST_F(Callbacks, a_failure_ends_what_a_comparison_selects_and_nothing_in_front_is_tested) {
  finish();
  EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
  mock().lists.locales["trova_locale_music"] = "eng";
  mock().lists.correlates["trova_correlates_genre"] = {{2, {{2, 1000}, {3, 600}}}};
  Strings all;
  for (int i = 0; i < 30; ++i) {
    all.push_back(std::string(1, static_cast<char>('A' + i)));
    i == 20 ? add(all.back(), 1) : add_genre(all.back(), i == 2 ? "1" : i % 2 == 0 ? "3" : "2");
  }
  const std::pair<const char*, Strings> cases[] = {
      {"genpl where (qx_genre like 2) >= 700 and qx_genre = 2", {"A", "B"}},
      {"genpl where (qx_genre like 2) >= 1001 and qx_genre = 2", {"A", "B"}},
      {"genpl where (qx_hook = 1 or (qx_genre like 2) >= 1001) and qx_genre = 2", {"A", "B", "U"}},
      {"genpl where qx_genre != 9 and qx_genre like 2", all}};
  for (const auto& [statement, idents] : cases) {
    mock().fail_slot("list.correlate_score", 3, PLERR_InvalidData);  // of the third value: genre 1
    Strings found = generate(statement);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, idents) << statement;
  }

  // Of an ident with several records the first failure is told.
  finish();
  EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
  add_genre("Z", "2");
  add_genre("Z", "3");
  mock().fail_slot("list.correlate_score", 1, PLERR_InvalidData);
  mock().fail_slot("list.correlate_score", 2, PLERR_CorruptData);
  trova_playlist_results* results = nullptr;
  EXPECT_EQ(trova_playlist_generate_playlist(nullptr, "genpl order qx_genre like 2", collection_,
                                             nullptr, &results),
            PLERR_InvalidData);
}

TEST_F(Callbacks, what_is_remembered_is_told_apart_and_asked_again_when_it_failed) {
  // Among the values of qx_hook are the number 3 and the third text.
  EXPECT_EQ(generate("genpl where qx_hook = 1 and qx_mood = 3").size(), 6u);
  EXPECT_EQ(generate("genpl where qx_hook = 1 and qx_mood != 3").size(), 34u);

  // Where an entry goes among sorted ones depends on which of them are there.
  mock().lists.locales["trova_locale_music"] = "eng";
  mock().lists.correlates["trova_correlates_genre"] = {{2, {{2, 1000}, {3, 600}, {4, 800}}}};
  for (int i = 0; i < 40; ++i) add_genre(std::to_string(i), i % 3 == 0 ? "4" : "3");
  const char kSorted[] = "genpl where (qx_hook = 1 or qx_hook = 2) or (qx_genre like 2) >= 700";
  const Strings remembered = generate(kSorted);
  g_playlist_memories = false;
  EXPECT_EQ(generate(kSorted), remembered);
  g_playlist_memories = true;

  // These moods have one place in the memo.
  const std::string moods = "1:50,611:50";
  mock().lists.correlates["trova_correlates_mood"] = {{1, {{1, 1000}, {611, 0}}},
                                                      {611, {{1, 0}, {611, 1000}}}};
  for (const std::string& ident : {moods, moods + ",", "9:0," + moods}) {
    Object track("trova_ctx_track");
    track.value(kMoods, ident);
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), track.get()), 0u);
  }
  // The seed asks four times; then fails the first score of the first row.
  mock().fail_slot("list.correlate_score", 5, PLERR_InvalidData);
  EXPECT_EQ(generate("genpl where (qx_mood like seed) = 1000", moods), Strings{moods + ","});
  // Two comparisons with one seed, of which the first misplaces it.
  mock().fail_slot("list.correlate_score", 1, PLERR_InvalidData);
  EXPECT_EQ(generate("genpl where (qx_mood like seed) = 1000 or (qx_mood like seed) = 1000", moods)
                .size(),
            2u);
}

bool was_told(const char* source, uint32_t code, uint32_t line = 0) {
  return std::any_of(mock().errors.begin(), mock().errors.end(), [&](const auto& error) {
    return error.source == source && error.code == code && (line == 0 || error.line == line);
  });
}

TEST_F(Callbacks, the_log_and_the_services_learn_things_in_their_place) {
  // Contexts go when the reason of a failure was told.
  size_t told = 77;
  g_interruption = {"delete_context", [&] { told = mock().infos.size(); }};
  trova_playlist_results* results = nullptr;
  const char kBareNumber[] = "genpl where qx_hook = 1 order 5";
  EXPECT_EQ(trova_playlist_generate_playlist(nullptr, kBareNumber, collection_, nullptr, &results),
            PLERR_Unsupported);
  EXPECT_EQ(told, 1u);

  // What is wrong with a statement is told by the call alone.
  EXPECT_EQ(trova_playlist_statement_validate("genpl where", collection_, nullptr), PLERR_Syntax);
  EXPECT_FALSE(was_told("playlist_pdl_parser", PLERR_Syntax));

  // Memory that ORDER itself lacks is told by its file.
  uint32_t failures = 0;
  for (uint32_t n = 1; n < 200; ++n) {
    mock().errors.clear();
    mock().fail_allocation(n);
    const uint32_t code = trova_playlist_generate_playlist(
        nullptr, "genpl order 1 * (rand(9) - rand(7))", collection_, nullptr, &results);
    EXPECT_TRUE(code != 0 || trova_playlist_results_release(results) == 0);
    if (code == 0 && !mock().allocation_failed()) break;
    const bool is_told = was_told("playlist_pdl_actions", PLERR_NoMemory);
    EXPECT_TRUE(code != 0 || !is_told);
    failures += is_told ? 1 : 0;
  }
  mock().clear_faults();
  EXPECT_EQ(failures, 3u) << "two for its scores, one for those of a left side";

  // A stream that names an attribute which nobody has, a version that only looks like 1, and bytes
  // that are none; a name with a zero in it is no attribute's.
  const std::string header("\xce\x11\x11\x11\x11\x01\x01\x01\xa1s", 10);
  const std::string attribute("\xce\x22\x22\x22\x22\x01\x09\x00\xa9qx_hook\0z", 18);
  const std::string wide("\xce\x11\x11\x11\x11\xcf\0\0\0\1\0\0\0\1\x01\x01\xa1s", 18);
  const auto read = [](const std::string& bytes, size_t cut = 0) {
    trova_playlist_collection* collection = nullptr;
    const uint32_t code = trova_playlist_collection_deserialize(
        bytes.data(), static_cast<uint32_t>(bytes.size() - cut), &collection);
    return code == 0 ? trova_playlist_collection_release(collection) : code;
  };
  mock().lines.clear();
  EXPECT_EQ(read(header + attribute), 0u);
  const trova_mock::LogLine warning = {
      925, "playlist_api_coll_storage", 137, 2,
      "Collection 's' has Attribute 'qx_hook' for which no support "
      "was found. Skipping."};
  EXPECT_EQ(mock().lines, std::vector<trova_mock::LogLine>{warning});
  EXPECT_EQ(read(wide), PLERR_InvalidData);
  EXPECT_EQ(read(header + "?"), PLERR_CorruptData);
  const std::string entry(
      "\xce\x22\x22\x22\x22\x01\x07\x01\xa7qx_hook\xc2\xce\0\0\0\1\xce\0\0\0\1\0", 28);
  EXPECT_EQ(read(header + entry, 2), PLERR_CorruptData) << "its last byte lies behind the end";
  trova_playlist_attribute_provider nameless = kProvider;
  nameless.get_name = [](const char** out_name) -> uint32_t { return *out_name = nullptr, 0; };
  EXPECT_EQ(trova_playlist_register_attribute_provider(&nameless), 0u);
  nameless.create_context = nullptr;
  EXPECT_EQ(trova_playlist_register_attribute_provider(&nameless), PLERR_InvalidArg);
  EXPECT_EQ(read(header + std::string("\xce\x22\x22\x22\x22\x01\x00\x00\xa0", 9)), 0u);
  EXPECT_TRUE(was_told("playlist_api_coll_storage", PLERR_InvalidData));
  EXPECT_TRUE(was_told("playlist_api_coll_storage", PLERR_CorruptData));
}

TEST_F(Callbacks, a_view_may_outlive_the_library) {
  trova_gdo* view = nullptr;
  const char* text = nullptr;
  ASSERT_EQ(trova_playlist_collection_ident_get_gdo(collection_, "11", &view), 0u);
  ASSERT_EQ(mock().objects().gdo_get_value(view, "qx_hook", 1, &text), 0u);
  finish();
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  EXPECT_EQ(mock().objects().gdo_get_value(view, "qx_hook", 1, &text), PLERR_NotInited);
  EXPECT_EQ(mock().objects().gdo_release(view), 0u);
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  EXPECT_EQ(trova_playlist_register_attribute_provider(&kProvider), 0u);
  start();
}

}  // namespace
