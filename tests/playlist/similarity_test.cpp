// similarity_test: the arithmetic of moods, tempos and names, by itself and through statements.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "engine_test.h"
#include "playlist_dsp.h"
#include "vrel_string_fuzzy.h"

namespace {

using Values = std::vector<std::pair<const char*, std::string>>;
using Object = std::unique_ptr<trova_gdo, decltype(&trova_manager_gdo_release)>;

Object make_object(const char* context, const Values& values) {
  trova_gdo* object = nullptr;
  EXPECT_EQ(trova_manager_gdo_create(context, &object), 0u);
  for (const auto& [key, text] : values) {
    EXPECT_EQ(trova_manager_gdo_add_value(object, key, text.c_str()), 0u);
  }
  return Object(object, trova_manager_gdo_release);
}

class SimilarityTest : public EngineTest {
 protected:
  void add(const char* ident, const Values& values, const char* context = TROVA_CTX_TRACK) {
    const Object object = make_object(context, values);
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident, object.get()), 0u);
  }

  static std::string listed(uint32_t code, trova_playlist_results* results) {
    if (code != 0) return "code " + std::to_string(code);
    std::vector<std::string> idents;
    const char* ident = nullptr;
    for (uint32_t i = 0; trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
      idents.emplace_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    std::sort(idents.begin(), idents.end());
    std::string all;
    for (const std::string& each : idents) all += (all.empty() ? "" : " ") + each;
    return all;
  }

  // The idents that a where part selects, in alphabetical order.
  std::string selected(const std::string& where, trova_gdo* seed = nullptr) {
    trova_playlist_results* results = nullptr;
    const uint32_t code = trova_playlist_generate_playlist(
        nullptr, ("genpl where " + where).c_str(), collection_, seed, &results);
    return listed(code, results);
  }
};

// ------------------------------------------------------------------------------------ Tempo

TEST_F(SimilarityTest, tempo_likeness_follows_the_curve) {
  const struct {
    uint32_t a, b;
    int32_t score;
  } rows[] = {{120, 125, 982}, {125, 120, 982}, {60, 180, 476},         {0, 400, -727},
              {0, 320, -727},  {97, 97, 1000},  {320, UINT32_MAX, 1000}};
  for (const auto& row : rows) {
    int32_t score = 0;
    EXPECT_EQ(dsp_primary_tempo_similarity(row.a, row.b, &score), 0u);
    EXPECT_EQ(score, row.score) << row.a << " and " << row.b;
  }
  EXPECT_EQ(dsp_primary_tempo_similarity(1, 2, nullptr), 62u);
}

// ------------------------------------------------------------------------------------- Mood

TEST_F(SimilarityTest, mood_profiles_are_read_as_pairs) {
  std::string many;
  for (int i = 1; i <= 40; ++i) many += std::to_string(i) + ":" + std::to_string(i) + ",";
  const struct {
    const char* text;
    uint32_t count, last_id, last_weight;  // of the slot behind the pairs before the last one
  } rows[] = {{"12:80,15:20", 2, 15, 20}, {"12:80,15", 1, 12, 80}, {"12:80,", 1, 12, 80},
              {many.c_str(), 17, 17, 17}, {"7: 5", 1, 7, 5},       {"12:80;15:20", 1, 12, 80}};
  for (const auto& row : rows) {
    RawMoodVector vector;
    EXPECT_EQ(playlist_fill_mood_vector(row.text, &vector), 0u);
    ASSERT_EQ(vector.count, row.count) << row.text;
    EXPECT_EQ(vector.ids[row.count - 1], row.last_id) << row.text;
    EXPECT_EQ(vector.weights[row.count - 1], row.last_weight) << row.text;
  }
  RawMoodVector vector;
  EXPECT_EQ(playlist_fill_mood_vector("12:80,15", &vector), 0u);
  EXPECT_EQ(vector.ids[1], 15u);  // stored, though it does not count
  EXPECT_EQ(playlist_fill_mood_vector("12:80", nullptr), PLERR_InvalidArg);
}

TEST_F(SimilarityTest, mood_distance_is_linear_between_the_same_place_and_the_farthest) {
  NormalizedMoodVector seed = {};
  RawMoodVector raw = {};
  int32_t score = 1;
  EXPECT_EQ(dsp_mood_similarity(&seed, &raw, nullptr, &score), 62u);
  EXPECT_EQ(score, 0);
  EXPECT_EQ(dsp_mood_similarity(nullptr, &raw, nullptr, &score), 62u);
  EXPECT_EQ(dsp_mood_normalize_vector(&raw, &seed, nullptr), 62u);
  // Without a correlate set, B is 0 and the coordinates decide alone.
  raw.count = 1;
  seed.count = 1;
  const std::pair<float, int32_t> rows[] = {{0.0f, 1000}, {100.0f, 0}, {-50.0f, 500}, {25.9f, 750}};
  for (const auto& [coordinate, expected] : rows) {
    seed.coordinates[0] = coordinate;
    EXPECT_EQ(dsp_mood_similarity(&seed, &raw, nullptr, &score), 0u);
    EXPECT_EQ(score, expected) << coordinate;
  }
}

// ------------------------------------------------------------------------------------ Names

// The size of the intersection, found the slow way.
float slow_likeness(const std::string& a, const std::string& b) {
  std::map<std::pair<char, char>, int> pairs;
  const auto each = [](const std::string& text, auto visit) {
    std::string low = text;
    std::transform(low.begin(), low.end(), low.begin(), ::tolower);
    visit({low[0], '\0'});
    for (size_t i = 0; i < low.size(); ++i) visit({low[i], low[i + 1]});
  };
  each(a, [&](std::pair<char, char> pair) { ++pairs[pair]; });
  int common = 0;
  each(b, [&](std::pair<char, char> pair) { common += pairs[pair]-- > 0 ? 1 : 0; });
  const float total = static_cast<float>(a.size() + b.size() + 2);
  return static_cast<float>(common) / (total * 0.5f);
}

TEST_F(SimilarityTest, text_likeness_is_the_share_of_common_pairs) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string texts[2];
    for (std::string& text : texts) {
      text.resize(1 + random() % (round % 20 == 0 ? 400 : 30));
      for (char& c : text) c = static_cast<char>("abcABC "[random() % 7]);
    }
    EXPECT_EQ(vrel_string_fuzzycmp(texts[0].c_str(), texts[1].c_str(), 0),
              slow_likeness(texts[0], texts[1]))
        << texts[0] << " | " << texts[1];
  }
  const struct {
    std::string a, b;
    uint32_t flags;
    float likeness;
  } rows[] = {
      {"Miles", "mILES", 0, 1.0f},
      {"a  b", "a b", 1, 1.0f},
      {"a  b", "a b", 0, 8.0f / 9.0f},
      {"", "a", 0, 0.0f},
      {" \t ", "a", 1, 0.0f},
      {" \t ", " ", 1, 0.0f},
      {"abc", "xyz", 0, 0.0f},
      {"\xc3\x89t\xc3\xa9", "\xc3\xa9t\xc3\xa9", 0, 0.5f},  // only ASCII letters lose their case
      {std::string(200, 'x'), std::string(200, 'X'), 0, 1.0f},
      {"a\xff junk", "a", 0, 2.0f / 3.0f},
      {"\xf0\x9f\x8e\xb5", "\xef\x8e\xb5", 0, 1.0f},  // U+1F3B5 counts as U+F3B5
  };
  for (const auto& row : rows) {
    EXPECT_FLOAT_EQ(vrel_string_fuzzycmp(row.a.c_str(), row.b.c_str(), row.flags), row.likeness)
        << row.a << " | " << row.b;
  }
}

TEST_F(SimilarityTest, names_are_equal_without_case_and_alike_by_their_pairs) {
  add("miles", {{TROVA_VAL_ARTIST, "Miles Davis"}});
  add("bjork", {{TROVA_VAL_ARTIST, "Bj\xc3\xb6rk"}});
  const Object seed = make_object(TROVA_CTX_TRACK, {{TROVA_VAL_ARTIST, "MILES DAVIS"}});
  const Object nameless = make_object(TROVA_CTX_TRACK, {});
  const std::string book(100'000, 'm');
  EXPECT_EQ(selected("qx_artistname = 'miles davis'"), "miles");
  EXPECT_EQ(selected("qx_artistname = \"BJ\xc3\xb6RK\""), "bjork");
  EXPECT_EQ(selected("qx_artistname = \"bj\xc3\x96rk\""),
            "");  // other than ASCII: letter by letter
  EXPECT_EQ(selected("qx_artistname != ''"), "bjork miles");
  EXPECT_EQ(selected("qx_artistname like ''"), "");
  EXPECT_EQ(selected("(qx_artistname like seed) = 1000", seed.get()), "miles");
  EXPECT_EQ(selected("qx_artistname like seed", nameless.get()), "");
  EXPECT_EQ(selected("qx_artistname like '" + book + "'"), "miles");  // the first 299 bytes
}

}  // namespace
