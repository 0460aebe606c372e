// edges_test: the corners of the language, of collections, of start and stop and of failures, each
// with the exact answer.
#include <gtest/gtest.h>

#include <algorithm>

#include "behaviour.h"
#include "case_file.h"
#include "playlist_dsp.h"
#include "playlist_memories.h"
#include "trova_mock.h"
#include "trova_playlist.h"
#include "vrel_string_fuzzy.h"

using trova_mock::ErrorCall;
using trova_mock::ErrorInfo;
using trova_mock::kNotFound;
using trova_mock::mock;
using trova_mock::Object;
using Strings = std::vector<std::string>;

namespace {

const char kInitialized[] = "Playlist Initialize: Version 2.0.0.32  Built 2011-11-08 04:01 UTC";

// A running library with a genre list, the attributes qx_a to qx_c and a collection.
class Edges : public ::testing::Test {
 protected:
  Edges() {
    mock().reset();
    mock().lists.locales["trova_locale_music"] = "eng";
    mock().lists.lists["trova_list_type_genres"].add(1, 0).add(2, 1).add(3, 1);
    mock().lists.correlates["trova_correlates_genre"] = {{2, {{2, 1000}, {3, 600}}}};
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    for (int i = 0; i < 3; ++i) register_behaviour(i, std::string("qx_") + "abc"[i]);
    EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
  }

  ~Edges() override {
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(g_open_contexts, 0);
    mock().expect_clean();
  }

  static void register_behaviour(int i, const std::string& name) {
    g_behaviours[i] = Behaviour{name};
    const trova_playlist_attribute_provider provider = provider_of(i);
    EXPECT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
  }

  // Adds an ident with values of qx_a, qx_b and so on; "" stands for none.
  uint32_t add(const std::string& ident, const Strings& values) {
    Object object("trova_ctx_track");
    for (size_t i = 0; i < values.size(); ++i) {
      if (!values[i].empty()) object.value(g_behaviours[i].key(), values[i]);
    }
    return trova_playlist_collection_ident_add(collection_, ident.c_str(), object.get());
  }

  // The code, and the idents in alphabetical order.
  std::string generated(const std::string& statement, trova_gdo* seed = nullptr) {
    trova_playlist_results* results = nullptr;
    const uint32_t code =
        trova_playlist_generate_playlist(nullptr, statement.c_str(), collection_, seed, &results);
    Strings idents;
    const char* ident = nullptr;
    for (uint32_t i = 0; results && trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
      idents.push_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    std::sort(idents.begin(), idents.end());
    std::string text = code == 0 ? "" : hex(code);
    for (const std::string& each : idents) text += (text.empty() ? "" : " ") + each;
    return text;
  }

  trova_playlist_collection* collection_ = nullptr;
};

}  // namespace

// ------------------------------------------------------------------------------- Language

TEST_F(Edges, statements_are_understood_or_refused_with_a_reason) {
  std::vector<Case> cases = read_cases("statements.txt", "valid");
  for (const Case& each : read_cases("statements.txt", "broken")) cases.push_back(each);
  const std::string x299(299, 'x');
  cases.push_back(
      {"genpl where " + x299 + "xx = 1", "attribute '" + x299 + "' not supported by collection"});
  for (const Case& each : cases) {
    uint8_t used = 77;
    mock().infos.clear();
    const uint32_t code = trova_playlist_statement_validate(each[0].c_str(), collection_, &used);
    std::string answer = code == 0 ? std::to_string(used) : "-";
    if (code != 0) {
      EXPECT_EQ(std::pair(code, used), std::pair(PLERR_Syntax, uint8_t{77})) << each[0];
      ASSERT_EQ(mock().infos.size(), 1u) << each[0];
      answer = mock().infos[0].text.value_or("-");
    }
    EXPECT_EQ(answer, each[1]) << each[0];
  }
}

TEST_F(Edges, statements_select_and_fail_as_they_say) {
  for (const auto& [ident, values] : std::vector<std::pair<std::string, Strings>>{
           {"x", {"#1", "#1"}}, {"y", {"#1", "#2"}}, {"z", {"#5", "", "red"}}}) {
    EXPECT_EQ(add(ident, values), 0u);
  }
  Object seed("trova_ctx_track");
  seed.value(g_behaviours[0].key(), "1");
  for (const Case& each : read_cases("statements.txt", "run")) {
    EXPECT_EQ(generated(each[0], each[0].find("seed") == std::string::npos ? nullptr : seed.get()),
              each[1])
        << each[0];
  }
  EXPECT_EQ(generated("genpl where qx_a like seed"), hex(PLERR_StatementMismatch));
}

// ----------------------------------------------------------------------------- Similarity

TEST_F(Edges, likeness_has_its_known_values) {
  const struct {
    uint32_t a, b;
    int32_t score;
  } tempos[] = {{120, 125, 982}, {125, 120, 982}, {60, 180, 476},         {0, 400, -727},
                {0, 320, -727},  {97, 97, 1000},  {320, UINT32_MAX, 1000}};
  for (const auto& row : tempos) {
    int32_t score = 0;
    EXPECT_EQ(dsp_primary_tempo_similarity(row.a, row.b, &score), 0u);
    EXPECT_EQ(score, row.score) << row.a << " and " << row.b;
  }
  // Without a correlate set the coordinates decide alone.
  NormalizedMoodVector mood = {1, {}, {}, {}};
  RawMoodVector raw = {1, {}, {}};
  for (const auto& [coordinate, expected] :
       {std::pair{0.0f, 1000}, {100.0f, 0}, {-50.0f, 500}, {25.9f, 750}}) {
    int32_t score = 1;
    mood.coordinates[0] = coordinate;
    EXPECT_EQ(dsp_mood_similarity(&mood, &raw, nullptr, &score), 0u);
    EXPECT_EQ(score, expected) << coordinate;
  }
  const struct {
    std::string a, b;
    uint32_t flags;
    float likeness;
  } texts[] = {
      {"Miles", "mILES", 0, 1.0f},
      {"a  b", "a b", 1, 1.0f},
      {"a  b", "a b", 0, 8.0f / 9.0f},
      {" \t ", "a", 1, 0.0f},
      {"abc", "xyz", 0, 0.0f},
      {"\xc3\x89t\xc3\xa9", "\xc3\xa9t\xc3\xa9", 0, 0.5f},  // only ASCII letters lose their case
      {std::string(200, 'x'), std::string(200, 'X'), 0, 1.0f},
      {"a\xff junk", "a", 0, 2.0f / 3.0f},
      {"\xf0\x9f\x8e\xb5", "\xef\x8e\xb5", 0, 1.0f},  // U+1F3B5 counts as U+F3B5
  };
  for (const auto& row : texts) {
    EXPECT_FLOAT_EQ(vrel_string_fuzzycmp(row.a.c_str(), row.b.c_str(), row.flags), row.likeness)
        << row.a << " | " << row.b;
  }
}

TEST_F(Edges, what_is_remembered_of_moods_is_of_one_seed_and_no_failure) {
  mock().lists.correlates["trova_correlates_mood"] = {{5, {{5, 1000}, {7, -1000}}},
                                                      {7, {{5, -1000}, {7, 1000}}}};
  const auto track = [&](const std::string& profile) {
    auto object = std::make_unique<Object>("trova_ctx_track");
    object->value("_sdkmgr_val_list_mood_data", profile).value(g_behaviours[0].key(), "#1");
    return object;
  };
  for (const char* const profile : {"5:100", "7:100", "5:100,9:0"}) {
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, profile, track(profile)->get()), 0u);
  }
  const auto alike = [&](const std::string& profile) {
    return generated("genpl where (qx_mood like seed) > 999", track(profile)->get());
  };
  const std::pair<const char*, const char*> cases[] = {{"5:100", "5:100 5:100,9:0"},
                                                       {"5:50", ""},
                                                       {"7:100", "7:100"},
                                                       {"4:100", "5:100 5:100,9:0 7:100"}};
  for (g_playlist_memories = false;; g_playlist_memories = true) {
    // Generates one playlist while another remembers scores.
    for (const auto& [profile, idents] : cases) {
      std::string meanwhile = "nothing";
      g_incidents.meanwhile = [&, profile = profile](size_t) {
        const bool is_due = meanwhile == "nothing" && g_calls.back().find("scores") != SIZE_MAX;
        if (is_due) meanwhile = alike(profile);
      };
      (void)generated("genpl where qx_mood like seed or qx_a = 1", track("5:100")->get());
      g_incidents = {};
      EXPECT_EQ(meanwhile, idents) << profile;
    }
    // The first call is for the seed's own coordinate.
    mock().fail_slot("list.correlate_score", 2, 0x90100005);
    EXPECT_EQ(alike("5:100"), "5:100,9:0");
    // The second of two comparisons of one seed lacks an axis, so it scores 292 and not 0.
    mock().fail_slot("list.correlate_set_open", 3, 0x90100005);
    EXPECT_EQ(generated("genpl where (qx_mood like seed) > 200 or (qx_mood like seed) > 200",
                        track("5:100,7:100")->get()),
              "5:100 5:100,9:0 7:100");
    if (g_playlist_memories) break;
  }
}

// ---------------------------------------------------------------------------- Collections

TEST_F(Edges, an_attribute_without_a_name_fails_a_creation_only_when_it_comes_last) {
  trova_playlist_collection* other = nullptr;
  uint32_t count = 0;
  register_behaviour(3, "");
  EXPECT_EQ(trova_playlist_collection_create("d", &other), PLERR_InvalidArg);
  register_behaviour(4, "qx_e");
  EXPECT_EQ(trova_playlist_collection_create("d", &other), 0u);
  EXPECT_EQ(trova_playlist_collection_attributes_count(other, &count), 0u);
  EXPECT_EQ(count, 12u);
  EXPECT_EQ(trova_playlist_collection_release(other), 0u);
}

TEST_F(Edges, refused_arguments_are_logged_once_where_they_are_refused) {
  const char* text = nullptr;
  uint32_t number = 0;
  uint8_t byte = 0;
  trova_playlist_collection* none = nullptr;
  trova_playlist_results* results = nullptr;
  Object object("trova_ctx_track");
  auto* fake = reinterpret_cast<trova_playlist_collection*>(mock().manager());
  auto* stray = reinterpret_cast<trova_gdo*>(mock().manager());
  const char kCreate[] = "playlist_api_coll_create", kMgmt[] = "playlist_api_coll_mgmt",
             kAttributes[] = "playlist_api_attributes";
  // Line 1 stands for any line of a source file.
  const struct {
    uint32_t code;
    ErrorCall logged;
  } cases[] = {
      {trova_playlist_collection_create("", &none),
       {0, "trova_playlist_collection_create", PLERR_InvalidArg, 0}},
      {trova_playlist_collection_get_name(collection_, nullptr),
       {0, "trova_playlist_collection_get_name", PLERR_InvalidArg, 0}},
      {trova_playlist_collection_get_name(nullptr, &text), {1, kCreate, PLERR_InvalidArg, 0}},
      {trova_playlist_collection_get_name(fake, &text), {1, kCreate, 0x90890321, 0}},
      {trova_playlist_collection_update_name(collection_, ""),
       {0, "trova_playlist_collection_update_name", PLERR_InvalidArg, 0}},
      {trova_playlist_collection_attributes_count(fake, &number), {1, kAttributes, 0x90890321, 0}},
      {trova_playlist_collection_ident_add(collection_, "", object.get()),
       {0, "trova_playlist_collection_ident_add", PLERR_InvalidArg, 0}},
      {trova_playlist_collection_ident_add(nullptr, "x", object.get()),
       {82, kMgmt, PLERR_InvalidArg, 0}},
      {trova_playlist_collection_ident_add(fake, "x", object.get()), {82, kMgmt, 0x90890321, 0}},
      {trova_playlist_collection_ident_add(collection_, "x", nullptr),
       {83, kMgmt, PLERR_InvalidArg, 0}},
      {trova_playlist_collection_ident_add(collection_, "x", stray), {83, kMgmt, 0x90890321, 0}},
      {trova_playlist_collection_ident_exists(nullptr, "x", &byte),
       {144, kMgmt, PLERR_InvalidArg, 0}},
      {trova_playlist_generate_playlist(nullptr, "genpl", fake, nullptr, &results),
       {1, "playlist_api_generate", 0x90890321, 0}},
      {trova_playlist_generate_playlist(nullptr, "genpl", collection_, stray, &results),
       {1, "playlist_api_generate", 0x90890321, 0}},
      {trova_playlist_generate_playlist(nullptr, "", nullptr, nullptr, &results),
       {0, "trova_playlist_generate_playlist", PLERR_InvalidArg, 0}},
  };
  ASSERT_EQ(mock().errors.size(), std::size(cases));
  for (size_t i = 0; i < std::size(cases); ++i) {
    ErrorCall found = mock().errors[i];
    if (cases[i].logged.line == 1 && found.line != 0) found.line = 1;
    EXPECT_EQ(cases[i].code, cases[i].logged.code) << i;
    EXPECT_TRUE(found == cases[i].logged) << i << ": " << found.line << " " << found.source;
  }
  // What the log answers is the result; without its bit nothing is logged.
  mock().error_answer = 0x1234;
  EXPECT_EQ(trova_playlist_collection_create("", &none), 0x1234u);
  mock().errors.clear();
  g_vrel_log_enabled_pkgs[0x89] = ~VREL_LOG_ERROR;
  EXPECT_EQ(trova_playlist_collection_create("", &none), PLERR_InvalidArg);
  EXPECT_TRUE(mock().errors.empty());
}

TEST_F(Edges, the_end_of_a_handle_is_the_end_of_the_call) {
  for (const auto& [answer, result] :
       {std::pair{0x90100009u, 0x90890403u}, {kNotFound, 0x10890003u}}) {
    mock().fail_slot("handle.handle_remove", 1, answer);
    EXPECT_EQ(add("x", {"#1"}), result);
    trova_playlist_collection* other = nullptr;
    EXPECT_EQ(trova_playlist_collection_create("d", &other), 0u);
    const std::string before = mock().usage();
    mock().fail_slot("handle.handle_remove", 1, answer);
    EXPECT_EQ(trova_playlist_collection_release(other), result);
    EXPECT_NE(mock().usage(), before);
  }
  EXPECT_EQ(generated("genpl"), "x");
}

// --------------------------------------------------------------------------- Start and stop

TEST(Lifecycle, starts_and_stops_in_order_and_says_so) {
  mock().reset();
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  EXPECT_EQ(trova_playlist_initchecks(), 1u);
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  EXPECT_EQ(trova_playlist_shutdown(), PLERR_NotInited);
  EXPECT_EQ(mock().errors,
            (std::vector<ErrorCall>{{0, "trova_playlist_shutdown", PLERR_NotInited, 0}}));
  Strings steps = mock().trace;
  EXPECT_EQ(steps.front(), "memory.initialize");
  EXPECT_EQ(steps.back(), "memory.shutdown");
  std::erase_if(steps, [](const std::string& step) { return step.rfind("memory.", 0) == 0; });
  const std::string query = "manager.query_interface _trova_";
  EXPECT_EQ(steps, (Strings{"manager.register_package 137 TROVA PL", query + "errorinfo_interface",
                            query + "handlemanager_interface", query + "userinfo_interface",
                            query + "listmanager_interface", query + "gdo_interface",
                            query + "serialization_interface", query + "storage_interface",
                            "serialization.release", "gdo.release", "list.release",
                            "handle.release", "userinfo.release", "errorinfo.release"}));
  std::vector<trova_mock::LogLine> lines;
  for (const char* text : {kInitialized, kInitialized, "Playlist Shutdown", "Playlist Shutdown",
                           "Playlist Shutdown"}) {
    for (const uint32_t package : {137u, 34u}) lines.push_back({0, {}, package, 4, text});
  }
  EXPECT_EQ(mock().lines, lines);
  mock().expect_clean();
}

TEST(Lifecycle, refuses_what_is_no_manager_of_its_version) {
  mock().reset();
  std::string version = "2.0.0";
  ManagerHandle handle = *mock().manager();
  const auto refused = [&](ManagerHandle* manager, uint32_t code) {
    mock().errors.clear();
    EXPECT_EQ(trova_playlist_initialize(manager), code);
    EXPECT_EQ(mock().errors, (std::vector<ErrorCall>{{0, "trova_playlist_initialize", code, 0}}));
  };
  refused(nullptr, PLERR_InvalidArg);
  handle.version = nullptr;
  refused(&handle, PLERR_BadManager);
  handle.version = "2.0.1";
  refused(&handle, PLERR_BadManager);
  handle.version = version.c_str();
  handle.magic ^= 1;
  refused(&handle, PLERR_BadManager);
  // Without the library every call says so and logs nothing; only registration asks the registry.
  mock().errors.clear();
  uint32_t count = 0;
  EXPECT_EQ(trova_playlist_attributes_count(&count), PLERR_NotInited);
  EXPECT_EQ(trova_playlist_collection_release(nullptr), PLERR_NotInited);
  EXPECT_EQ(trova_playlist_results_release(nullptr), PLERR_NotInited);
  EXPECT_TRUE(mock().errors.empty());
  const trova_playlist_attribute_provider provider = provider_of(0);
  EXPECT_EQ(trova_playlist_register_attribute_provider(&provider), 0x900d0001u);
  EXPECT_EQ(trova_playlist_register_attribute_provider(nullptr), PLERR_InvalidArg);
}

TEST(Lifecycle, a_start_that_fails_leaves_nothing_behind) {
  mock().reset();
  mock().fail_slot("manager.register_package", 1, 0x90100005);
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), PLERR_InitFailed);
  EXPECT_EQ(mock().errors,
            (std::vector<ErrorCall>{{176, "trova_playlist", 0x90100005, 0},
                                    {0, "trova_playlist_initialize", PLERR_InitFailed, 0}}));
  EXPECT_TRUE(mock().lines.empty());
  mock().expect_clean();
}
