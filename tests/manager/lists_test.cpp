// Tests of the lists: what the data promises, names, correlates, handles, and the list compiler.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "ManagerTest.h"
#include "case_file.h"

namespace {

using Element = trova_manager_element;

const std::string kListPrefix = "trova_list_type_";

const char* const kTypes[] = {TROVA_LIST_GENRES,       TROVA_LIST_ERAS,  TROVA_LIST_ORIGINS,
                              TROVA_LIST_ARTIST_TYPES, TROVA_LIST_MOODS, TROVA_LIST_TEMPOS};

class ListsTest : public ManagerTest {
 protected:
  void SetUp() override {
    setenv("LC_ALL", "C", 1);
    ManagerTest::SetUp();
    slots = &service<trova_listmanager_interface>(TROVA_SERVICE_LISTMANAGER);
    for (const char* type : kTypes) ASSERT_EQ(trova_manager_list_load(type, &lists[type]), 0u);
  }

  void TearDown() override {
    for (auto& [type, list] : lists) EXPECT_EQ(trova_manager_list_release(list), 0u);
    ManagerTest::TearDown();
  }

  std::vector<Element> elements(const std::string& type) {
    uint32_t count = 0;
    EXPECT_EQ(trova_manager_list_count(lists[type], &count), 0u);
    std::vector<Element> all(count);
    for (uint32_t i = 0; i < count; ++i) {
      EXPECT_EQ(trova_manager_list_get(lists[type], i, &all[i]), 0u);
    }
    return all;
  }

  // The element of that name; its id is 0 when there is none.
  Element find(const std::string& type, const std::string& text) {
    Element element = {};
    trova_manager_list_find(lists[type], text.c_str(), &element);
    return element;
  }

  int32_t score(const std::string& type, const std::string& a, const std::string& b) {
    int32_t value = -9999;
    const uint32_t error =
        trova_manager_list_correlate(type.c_str(), find(type, a).id, find(type, b).id, &value);
    EXPECT_EQ(error, 0u) << a << " / " << b;
    return value;
  }

  std::vector<std::string> search(const std::string& type, const std::string& text,
                                  uint32_t capacity) {
    std::vector<Element> found(capacity);
    uint32_t count = 0;
    EXPECT_EQ(trova_manager_list_search(lists[type], text.c_str(), capacity, found.data(), &count),
              0u);
    std::vector<std::string> names;
    for (uint32_t i = 0; i < count; ++i) names.push_back(found[i].name);
    return names;
  }

  const trova_listmanager_interface* slots = nullptr;
  std::map<std::string, trova_list*> lists;
};

std::vector<std::string> split(const std::string& text) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t bar; (bar = text.find('|', start)) != std::string::npos; start = bar + 1) {
    parts.push_back(text.substr(start, bar - start));
  }
  if (start < text.size()) parts.push_back(text.substr(start));
  return parts;
}

// ------------------------------------------------------------------------------------ Data

TEST_F(ListsTest, a_list_is_a_tree_read_from_the_top_with_nested_ranges) {
  for (const char* type : kTypes) {
    std::map<uint32_t, Element> seen;
    for (const Element& element : elements(type)) {
      SCOPED_TRACE(std::string(type) + " " + element.name);
      EXPECT_TRUE(seen.emplace(element.id, element).second);
      EXPECT_EQ(element.level == 1, element.parent == 0);
      EXPECT_STRNE(element.name, "");
      if (element.parent == 0) continue;
      ASSERT_TRUE(seen.contains(element.parent));
      const Element& parent = seen[element.parent];
      EXPECT_EQ(element.level, parent.level + 1);
      EXPECT_LE(parent.lower, element.lower);
      EXPECT_GE(parent.upper, element.upper);
    }
  }
}

TEST_F(ListsTest, lists_have_their_sizes_at_each_level) {
  for (const Case& each : read_cases("lists.txt", "size")) {
    std::array<size_t, 3> counts = {};
    for (const Element& element : elements(kListPrefix + each[0])) ++counts[element.level - 1];
    for (size_t i = 0; i < 3; ++i) {
      const size_t least = std::stoul(each[i + 1]);
      EXPECT_GE(counts[i], least) << each[0] << " " << i + 1;
      EXPECT_EQ(counts[i] == 0, least == 0) << each[0] << " " << i + 1;
    }
  }
}

TEST_F(ListsTest, ids_keep_their_meaning) {
  for (const Case& each : read_cases("lists.txt", "id")) {
    Element element = {};
    const auto id = static_cast<uint32_t>(std::stoul(each[1]));
    EXPECT_EQ(trova_manager_list_element(lists[kListPrefix + each[0]], id, &element), 0u) << id;
    EXPECT_EQ(element.name, each[2]);
  }
  for (const Element& era : elements(TROVA_LIST_ERAS)) EXPECT_GT(era.id, 9999u) << era.name;
  for (const Element& tempo : elements(TROVA_LIST_TEMPOS)) {
    EXPECT_EQ(tempo.level == 3, tempo.id <= 400) << tempo.name;
    EXPECT_EQ(tempo.level == 3, tempo.lower == tempo.id && tempo.upper == tempo.id);
  }
}

TEST_F(ListsTest, every_name_and_synonym_in_both_languages_finds_its_element) {
  for (const char* type : kTypes) {
    trova_list* german = nullptr;
    ASSERT_EQ(slots->list_load(type, "de", "", "", &german), 0u);
    size_t translated = 0;
    const std::vector<Element> all = elements(type);
    for (uint32_t i = 0; i < all.size(); ++i) {
      Element other = {};
      ASSERT_EQ(trova_manager_list_get(german, i, &other), 0u);
      EXPECT_EQ(other.id, all[i].id);
      translated += std::string(other.name) != all[i].name;
      std::vector<std::string> names = split(all[i].synonyms);
      names.insert(names.end(), {all[i].name, other.name});
      for (const std::string& name : names) EXPECT_EQ(find(type, name).id, all[i].id) << name;
    }
    EXPECT_GT(translated, 2u) << type;
    slots->list_release(german);
  }
}

TEST_F(ListsTest, every_tagged_genre_name_is_known) {
  size_t count = 0;
  for (const Case& each : read_cases("lists.txt", "tagged")) {
    for (const std::string& name : each) {
      EXPECT_NE(find(TROVA_LIST_GENRES, name).id, 0u) << name;
      ++count;
    }
  }
  EXPECT_GT(count, 192u);
}

// ----------------------------------------------------------------------------------- Names

TEST_F(ListsTest, find_folds_case_accents_and_conjunctions) {
  for (Case each : read_cases("lists.txt", "find")) {
    each.resize(3);
    const Element element = find(kListPrefix + each[0], each[1]);
    EXPECT_EQ(element.name == nullptr ? "" : element.name, each[2]) << each[1];
  }
  EXPECT_EQ(find(TROVA_LIST_GENRES, std::string(100000, 'n')).id, 0u);
}

TEST_F(ListsTest, search_puts_the_best_match_first) {
  for (Case each : read_cases("lists.txt", "search")) {
    if (each.size() == 1) each.emplace_back();
    const std::vector<std::string> names(each.begin() + 2, each.end());
    const auto capacity = static_cast<uint32_t>(std::max<size_t>(names.size(), 1));
    EXPECT_EQ(search(kListPrefix + each[0], each[1], capacity), names) << each[1];
  }
  EXPECT_TRUE(search(TROVA_LIST_GENRES, std::string(100000, 'r'), 5).empty());
  EXPECT_TRUE(search(TROVA_LIST_GENRES, "rock", 0).empty());
}

// ------------------------------------------------------------------------------ Correlates

TEST_F(ListsTest, correlates_order_pairs_as_listeners_do) {
  for (const Case& each : read_cases("lists.txt", "nearer")) {
    const std::string type = kListPrefix + each[0];
    EXPECT_GT(score(type, each[1], each[2]), score(type, each[1], each[3]))
        << each[1] << ": " << each[2] << " / " << each[3];
  }
}

TEST_F(ListsTest, correlates_fit_the_bounds_of_more_like_this) {
  for (const Case& each : read_cases("lists.txt", "score")) {
    const int32_t value = score(kListPrefix + each[0], each[1], each[2]);
    EXPECT_GE(value, std::stoi(each[3])) << each[1] << " / " << each[2];
    EXPECT_LE(value, std::stoi(each[4])) << each[1] << " / " << each[2];
  }
}

TEST_F(ListsTest, correlates_are_symmetric_and_within_bounds_for_all_pairs) {
  const std::map<std::string, const char*> tables = {
      {TROVA_LIST_GENRES, "trova_correlates_genre"},
      {TROVA_LIST_ERAS, "trova_correlates_era"},
      {TROVA_LIST_ORIGINS, "trova_correlates_origin"},
      {TROVA_LIST_ARTIST_TYPES, "trova_correlates_arttype"},
      {TROVA_LIST_MOODS, "trova_correlates_mood"}};
  for (const auto& [type, name] : tables) {
    trova_correlates* table = nullptr;
    ASSERT_EQ(slots->correlates_load(name, &table), 0u);
    const std::vector<Element> all = elements(type);
    std::vector<std::vector<int32_t>> rows(all.size(), std::vector<int32_t>(all.size()));
    for (size_t a = 0; a < all.size(); ++a) {
      trova_correlate_set* set = nullptr;
      ASSERT_EQ(slots->correlate_set_open(table, all[a].id, &set), 0u);
      for (size_t b = 0; b < all.size(); ++b) {
        ASSERT_EQ(slots->correlate_score(set, all[b].id, &rows[a][b]), 0u);
      }
      EXPECT_EQ(slots->correlate_set_release(set), 0u);
    }
    size_t faults = 0;
    for (size_t a = 0; a < all.size(); ++a) {
      for (size_t b = 0; b < all.size(); ++b) {
        const bool bounded = a == b ? rows[a][b] == 1000 : rows[a][b] >= -1000 && rows[a][b] < 1000;
        if (bounded && rows[a][b] == rows[b][a]) continue;
        ++faults;
        ADD_FAILURE() << all[a].name << " / " << all[b].name << ": " << rows[a][b];
        ASSERT_LT(faults, 10u);
      }
    }
    int32_t direct = 0;
    EXPECT_EQ(trova_manager_list_correlate(type.c_str(), all[1].id, all[5].id, &direct), 0u);
    EXPECT_EQ(direct, rows[1][5]);
    EXPECT_EQ(slots->correlates_release(table), 0u);
  }
}

// ----------------------------------------------------------------------------------- Slots

TEST_F(ListsTest, element_lookup_climbs_and_never_descends) {
  trova_list_element* element = nullptr;
  uint32_t id = 0;
  for (const auto& [level, expected] : {std::pair{0u, 150301u}, {1u, 150000u}, {2u, 150300u}}) {
    ASSERT_EQ(slots->element_lookup(lists[TROVA_LIST_GENRES], 150301, level, &element), 0u);
    EXPECT_EQ(slots->element_id(element, &id), 0u);
    EXPECT_EQ(id, expected);
  }
  EXPECT_EQ(slots->element_level(element, &id), 0u);
  EXPECT_EQ(id, 2u);
  const auto lookup = [&](const char* type, uint32_t unknown, uint32_t level) {
    return slots->element_lookup(lists[type], unknown, level, &element);
  };
  EXPECT_EQ(lookup(TROVA_LIST_GENRES, 150300, 3), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(lookup(TROVA_LIST_GENRES, 150301, 4), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(lookup(TROVA_LIST_GENRES, 0, 0), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(lookup(TROVA_LIST_ERAS, 1975, 0), TROVA_MANAGER_NOT_FOUND);
  ASSERT_EQ(lookup(TROVA_LIST_ERAS, 41975, 2), 0u);
  uint32_t lower = 0, upper = 0;
  const char* text = nullptr;
  EXPECT_EQ(slots->element_range(element, &lower, &upper), 0u);
  EXPECT_EQ(slots->element_display(element, &text), 0u);
  EXPECT_TRUE(lower == 1970 && upper == 1979) << lower << " " << upper;
  EXPECT_STREQ(text, "1970s");
}

TEST_F(ListsTest, handles_that_are_null_stale_or_foreign_are_refused) {
  trova_list_element* element = nullptr;
  trova_correlate_set* set = nullptr;
  trova_correlates* table = nullptr;
  int32_t value = 0;
  EXPECT_EQ(slots->list_release(nullptr) | slots->correlate_set_release(nullptr) |
                slots->correlates_release(nullptr) | slots->locale_release(nullptr),
            0u);
  uint64_t foreign[8] = {};
  auto* const list = reinterpret_cast<trova_list*>(foreign);
  EXPECT_EQ(slots->element_lookup(list, 1, 0, &element), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(slots->element_id(reinterpret_cast<trova_list_element*>(foreign), nullptr),
            TROVA_MANAGER_INVALID_ARG);
  auto* const inside =
      reinterpret_cast<trova_list*>(reinterpret_cast<char*>(lists[TROVA_LIST_ERAS]) + 4);
  EXPECT_EQ(trova_manager_list_release(inside), TROVA_MANAGER_BAD_HANDLE);

  ASSERT_EQ(slots->correlates_load("trova_correlates_mood", &table), 0u);
  ASSERT_EQ(slots->correlate_set_open(table, 101, &set), 0u);
  EXPECT_EQ(slots->correlate_score(set, 99, &value), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(slots->correlate_set_open(table, 99, &set), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(slots->correlates_load("trova_correlates_tempo", &table), TROVA_MANAGER_NOT_FOUND);
  trova_manager_memory_limit_set(1);
  trova_correlate_set* refused = nullptr;
  EXPECT_EQ(slots->correlate_set_open(table, 102, &refused), TROVA_MANAGER_NO_MEMORY);
  EXPECT_EQ(slots->correlate_set_open(table, 101, &refused), 0u);  // shares the first one's scores
  trova_manager_memory_limit_set(0);
  EXPECT_EQ(slots->correlate_set_release(refused), 0u);
  EXPECT_EQ(slots->correlate_set_release(set), 0u);
  EXPECT_EQ(slots->correlate_set_release(set), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(slots->correlate_score(set, 101, &value), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(slots->correlates_release(table), 0u);
  EXPECT_EQ(slots->correlate_set_open(table, 101, &set), TROVA_MANAGER_BAD_HANDLE);
}

TEST_F(ListsTest, locales_count_their_users_and_speak_the_language_of_the_manager) {
  trova_locale* locale = nullptr;
  const char *language = nullptr, *region = nullptr, *descriptor = nullptr;
  EXPECT_EQ(slots->locale_load("trova_locale_video", &locale), TROVA_MANAGER_NOT_FOUND);
  for (const char* name : {"trova_locale_playlist", "trova_locale_music"}) {
    ASSERT_EQ(slots->locale_load(name, &locale), 0u);
    EXPECT_EQ(slots->locale_addref(locale), 0u);
    EXPECT_EQ(slots->locale_release(locale), 0u);
    EXPECT_EQ(slots->locale_info(locale, &language, &region, &descriptor), 0u);
    EXPECT_STREQ(language, "en");
    EXPECT_EQ(slots->locale_release(locale), 0u);
    EXPECT_EQ(slots->locale_addref(locale), TROVA_MANAGER_BAD_HANDLE);
  }
  trova_list* list = nullptr;
  EXPECT_EQ(slots->list_load("trova_list_type_labels", "en", "", "", &list),
            TROVA_MANAGER_NOT_FOUND);
  ASSERT_EQ(slots->list_load(TROVA_LIST_ERAS, "xx", nullptr, nullptr, &list), 0u);
  EXPECT_EQ(list, lists[TROVA_LIST_ERAS]);  // English speaks for the others
  EXPECT_EQ(slots->list_release(list), 0u);
}

TEST(ListLanguageTest, comes_from_the_options_or_the_environment) {
  for (const Case& each : read_cases("lists.txt", "language")) {
    setenv("LC_ALL", each[1].c_str(), 1);
    setenv("LC_MESSAGES", each[2].c_str(), 1);
    setenv("LANG", each[3].c_str(), 1);
    const char* const option = each[0] == "-" ? nullptr : each[0].c_str();
    const trova_manager_options options = {sizeof options, option, 0, nullptr};
    ManagerHandle* manager = nullptr;
    ASSERT_EQ(trova_manager_start(&options, &manager), 0u);
    trova_list* list = nullptr;
    Element element = {};
    ASSERT_EQ(trova_manager_list_load(TROVA_LIST_MOODS, &list), 0u);
    EXPECT_EQ(trova_manager_list_find(list, "happy", &element), 0u);
    EXPECT_EQ(element.name, each[4]);
    ASSERT_EQ(trova_manager_stop(), 0u);
    EXPECT_EQ(trova_manager_list_find(list, "happy", &element), TROVA_MANAGER_BAD_HANDLE);
    EXPECT_EQ(trova_manager_list_load(TROVA_LIST_MOODS, &list), TROVA_MANAGER_NOT_RUNNING);
  }
}

// --------------------------------------------------------------------------- List compiler

#ifdef LIST_COMPILER

// Compiles the lists with a line appended to one of them; what the compiler said.
std::string compile_with(const std::string& file, const std::string& line) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(testing::TempDir()) / "trova_lists_test";
  fs::remove_all(folder);
  fs::copy(LIST_FOLDER, folder);
  std::ofstream(folder / file, std::ios::app) << line << "\n";
  const std::string command = std::string(LIST_COMPILER) + " " + folder.string() + " " +
                              (folder / "out.cpp").string() + " 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  char said[512] = {};
  EXPECT_TRUE(fread(said, 1, sizeof said - 1, pipe) > 0 || line.empty());
  EXPECT_EQ(pclose(pipe) == 0, line.empty());
  EXPECT_EQ(fs::exists(folder / "out.cpp"), line.empty());
  fs::remove_all(folder);
  return said;
}

TEST(ListCompilerTest, names_file_and_line_of_a_fault) {
  EXPECT_EQ(compile_with("genres.csv", ""), "");
  for (const Case& each : read_cases("lists.txt", "compiled")) {
    const std::string said = compile_with(each[0], each[1]);
    EXPECT_NE(said.find(each[0] + ":"), std::string::npos) << said;
    EXPECT_NE(said.find(": " + each[2] + "\n"), std::string::npos) << said;
  }
}

#endif

}  // namespace
