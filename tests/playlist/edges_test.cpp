// edges_test: the corners of the language, of collections, of start and stop and of failures, each
// with the exact answer.
#include <gtest/gtest.h>

#include <algorithm>

#include "behaviour.h"
#include "case_file.h"
#include "trova_mock.h"
#include "trova_playlist.h"

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

  uint32_t validate(const std::string& statement, uint8_t* out_used = nullptr) {
    mock().infos.clear();
    return trova_playlist_statement_validate(statement.c_str(), collection_, out_used);
  }

  uint32_t generate(const std::string& statement, trova_gdo* seed = nullptr) {
    trova_playlist_results* results = nullptr;
    idents_.clear();
    const uint32_t code =
        trova_playlist_generate_playlist(nullptr, statement.c_str(), collection_, seed, &results);
    uint32_t count = 0;
    if (results != nullptr) (void)trova_playlist_results_count(results, &count);
    for (uint32_t i = 0; i < count; ++i) {
      const char* ident = "?";
      EXPECT_EQ(trova_playlist_results_enum(results, i, &ident), 0u);
      idents_.push_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    return code;
  }

  Strings generated(const std::string& statement, trova_gdo* seed = nullptr) {
    EXPECT_EQ(generate(statement, seed), 0u) << statement;
    return idents_;
  }

  // The idents in the order of their own enumeration.
  Strings enumerated() {
    Strings all;
    uint32_t count = 0;
    EXPECT_EQ(trova_playlist_collection_ident_count(collection_, &count), 0u);
    for (uint32_t i = 0; i < count; ++i) {
      const char* ident = nullptr;
      EXPECT_EQ(trova_playlist_collection_ident_enum(collection_, i, &ident), 0u);
      all.push_back(ident);
    }
    return all;
  }

  static Strings sorted(Strings strings) {
    std::sort(strings.begin(), strings.end());
    return strings;
  }

  trova_playlist_collection* collection_ = nullptr;
  Strings idents_;
};

}  // namespace

// ------------------------------------------------------------------------------- Language

TEST_F(Edges, good_statements_validate_and_say_whether_they_need_a_seed) {
  for (const Case& each : read_cases("statements.txt", "valid")) {
    uint8_t used = 77;
    EXPECT_EQ(validate(each[0], &used), 0u) << each[0];
    EXPECT_EQ(std::to_string(used), each[1]) << each[0];
    EXPECT_TRUE(mock().infos.empty()) << each[0];
  }
}

TEST_F(Edges, broken_statements_say_what_is_wrong) {
  const std::string x310(310, 'x'), x299(299, 'x');
  for (const Case& each : read_cases("statements.txt", "broken")) {
    uint8_t used = 77;
    EXPECT_EQ(validate(each[0], &used), PLERR_Syntax) << each[0];
    std::optional<std::string> text;
    if (each[1] != "-") text = each[1];
    EXPECT_EQ(mock().infos, (std::vector<ErrorInfo>{{PLERR_Syntax, text}})) << each[0];
    EXPECT_EQ(used, 77) << each[0];
  }
  EXPECT_EQ(validate("genpl where " + x310 + " = 1"), PLERR_Syntax);
  EXPECT_EQ(mock().infos.back().text, "attribute '" + x299 + "' not supported by collection");
}

// ----------------------------------------------------------------------------- Evaluation

TEST_F(Edges, where_parts_keep_their_rules) {
  for (const auto& [ident, values] : std::vector<std::pair<std::string, Strings>>{
           {"x", {"#1", "#1"}}, {"y", {"#1", "#2"}}, {"z", {"#5", "", "red"}}}) {
    EXPECT_EQ(add(ident, values), 0u);
  }
  Object seed("trova_ctx_track");
  seed.value(g_behaviours[0].key(), "1");
  for (const Case& each : read_cases("statements.txt", "where")) {
    std::string idents;
    for (const std::string& ident : sorted(generated(each[0], seed.get()))) {
      idents += (idents.empty() ? "" : " ") + ident;
    }
    EXPECT_EQ(idents, each[1]) << each[0];
  }
  EXPECT_EQ(generated("genpl where qx_a > 0 order qx_b like 2")[0], "y");
  EXPECT_EQ(generated("genpl order 0 - rand(1000, 7)"), generated("genpl order 0 - rand(1000, 7)"));
}

TEST_F(Edges, failures_of_a_run_keep_their_codes) {
  EXPECT_EQ(add("x", {"#1"}), 0u);
  EXPECT_EQ(add("y", {"#1"}), 0u);
  const std::pair<const char*, uint32_t> cases[] = {
      {"genpl where 1 = 2", PLERR_Unsupported},
      {"genpl where (qx_a = 1 or qx_b = 2) >= 5", PLERR_Unsupported},
      {"genpl order 7", PLERR_Unsupported},
      {"genpl where qx_a like seed", PLERR_StatementMismatch},
      {"genpl where qx_genre = 'jazz'", PLERR_InvalidData},
      {"genpl order qx_b = 1", PLERR_NotFound},
      {"genpl order (qx_b = 1) * 1", 0},
      // Which of two limits runs first shows by what it says.
      {"genpl limit 9 results, 1 per 'none', 1 per ''", PLERR_InvalidArg},
      {"genpl order rand(2) limit 9 results, 1 per 'none', 1 per ''", PLERR_NotFound},
      {"genpl where qx_a = '0x107f01a4'", 0}};
  for (const auto& [statement, code] : cases) {
    mock().errors.clear();
    EXPECT_EQ(generate(statement), code) << statement;
    const bool logged =
        !mock().errors.empty() &&
        mock().errors.back() == ErrorCall{0, "trova_playlist_generate_playlist", code, 0};
    EXPECT_EQ(logged, (code & 0x80000000u) != 0) << statement;
  }
}

TEST_F(Edges, codes_of_others_become_codes_of_the_library) {
  // The low bits 2 and 3 come first, then the package.
  const std::pair<uint32_t, uint32_t> cases[] = {
      {0x10890003, 0x10890003}, {0x90890001, 0x90890001}, {0x100D0003, 0x10890003},
      {0x900D0002, 0x90890002}, {0x900D0001, 0x90890001}, {0x90040007, 0x90890400},
      {0x90140007, 0x90890400}, {0x90070009, 0x90890404}, {0x90070003, 0x10890003},
      {0x900E0009, 0x90890405}, {0x90100009, 0x90890403}, {0x100D0361, 0x90890361}};
  for (const auto& [code, mapped] : cases) {
    EXPECT_EQ(generate("genpl where qx_a = '" + hex(code) + "'"), mapped) << hex(code);
    EXPECT_EQ(mock().infos.back(), (ErrorInfo{code, std::nullopt}));
  }
}

TEST_F(Edges, entries_of_equal_score_rotate_with_each_sort) {
  for (int i = 0; i < 9; ++i) EXPECT_EQ(add("t" + std::to_string(i), {"#1"}), 0u);
  Strings order = enumerated();
  const auto rotate = [&] { std::rotate(order.begin(), order.begin() + 1, order.end()); };
  rotate();
  EXPECT_EQ(generated("genpl"), order);
  EXPECT_EQ(generated("genpl limit 20 results"), order);
  EXPECT_EQ(generated("genpl limit 0 per qx_a"), order);
  rotate();
  order.resize(3);
  rotate();
  EXPECT_EQ(generated("genpl limit 3 per qx_a"), order);
}

// ---------------------------------------------------------------------------- Collections

TEST_F(Edges, idents_stay_known_after_their_removal) {
  const auto exists = [&](const char* ident) {
    uint8_t answer = 77;
    EXPECT_EQ(trova_playlist_collection_ident_exists(collection_, ident, &answer), 0u);
    return answer;
  };
  EXPECT_EQ(add("nothing", {}), 0u);
  EXPECT_EQ(exists("nothing"), 0);
  EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, "nothing"), PLERR_NotFound);
  EXPECT_EQ(add("aB", {"#1", "#2"}), 0u);
  EXPECT_EQ(add("x", {"#1"}), 0u);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, "aB"), 0u);
    EXPECT_EQ(exists("aB"), 1);
    EXPECT_EQ(sorted(enumerated()), (Strings{"", "x"}));
    EXPECT_EQ(sorted(generated("genpl")), (Strings{"", "x"}));
    EXPECT_EQ(generated("genpl where qx_a = 1"), Strings{"x"});
  }
  // "b!" has the hash and the length of "aB", so it takes its place.
  EXPECT_EQ(add("b!", {"#7"}), 0u);
  EXPECT_EQ(sorted(enumerated()), (Strings{"b!", "x"}));
  EXPECT_EQ(generated("genpl where qx_a = 7"), Strings{"b!"});
}

TEST_F(Edges, results_outlive_the_collection_they_came_from) {
  EXPECT_EQ(add("x", {"#1"}), 0u);
  trova_playlist_results* results = nullptr;
  EXPECT_EQ(trova_playlist_generate_playlist(nullptr, "genpl", collection_, nullptr, &results), 0u);
  EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
  collection_ = nullptr;
  const char* ident = nullptr;
  EXPECT_EQ(trova_playlist_results_enum(results, 0, &ident), 0u);
  EXPECT_STREQ(ident, "x");
  EXPECT_EQ(trova_playlist_results_enum(results, 1, &ident), 0x90890361u);
  auto* as_collection = reinterpret_cast<trova_playlist_collection*>(results);
  EXPECT_EQ(trova_playlist_collection_release(as_collection), 0x90890321u);
  EXPECT_EQ(trova_playlist_results_release(results), 0u);
}

TEST_F(Edges, attributes_come_from_the_providers_of_the_moment) {
  const Strings names = {"QX_AlbumName", "QX_ArtistName", "QX_ArtistType", "QX_Era",
                         "QX_Genre",     "QX_Origin",     "QX_Mood",       "QX_Tempo",
                         "qx_a",         "qx_b",          "qx_c"};
  const char* name = nullptr;
  uint32_t count = 0;
  EXPECT_EQ(trova_playlist_collection_attributes_count(collection_, &count), 0u);
  EXPECT_EQ(count, names.size());
  for (uint32_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(trova_playlist_attributes_enum(i, &name), 0u);
    EXPECT_EQ(name, names[i]);
    EXPECT_EQ(trova_playlist_collection_attributes_enum(collection_, i, &name), 0u);
    EXPECT_EQ(name, names[i]);
  }
  // A later provider of the same name takes the place of the first, at the end.
  register_behaviour(3, "QX_A");
  trova_playlist_collection* other = nullptr;
  EXPECT_EQ(trova_playlist_collection_create("d", &other), 0u);
  EXPECT_EQ(trova_playlist_collection_attributes_enum(other, 8, &name), 0u);
  EXPECT_STREQ(name, "qx_b");
  EXPECT_EQ(trova_playlist_collection_attributes_enum(other, 10, &name), 0u);
  EXPECT_STREQ(name, "QX_A");
  mock().errors.clear();
  EXPECT_EQ(trova_playlist_collection_attributes_enum(other, 11, &name), PLERR_EndOfAttributes);
  EXPECT_EQ(mock().errors.back(),
            (ErrorCall{0, "trova_playlist_collection_attributes_enum", PLERR_EndOfAttributes, 0}));
  EXPECT_EQ(trova_playlist_collection_release(other), 0u);
  // An attribute without a name fails a creation only when it comes last.
  register_behaviour(4, "");
  EXPECT_EQ(trova_playlist_collection_create("d", &other), PLERR_InvalidArg);
  register_behaviour(5, "qx_e");
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
  EXPECT_EQ(generated("genpl"), Strings{"x"});
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
