// random_statements: random collections and statements through the library and through the model.
//
// TROVA_MODEL_CASES sets the number of statements, TROVA_MODEL_SEED the first world's seed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <sstream>

#include "dice.h"
#include "model.h"
#include "trova_playlist.h"

using model::Collection;
using trova_mock::mock;
using trova_mock::Object;

namespace {

using Strings = std::vector<std::string>;

const Strings kListKeys = {"_sdkmgr_val_list_genre_id", "_sdkmgr_val_list_artist_type_id",
                           "_sdkmgr_val_list_era_id", "_sdkmgr_val_list_origin_id"};
const Strings kLists = {"trova_list_type_genres", "trova_list_type_artist_types",
                        "trova_list_type_eras", "trova_list_type_origins"};
const Strings kCorrelates = {"trova_correlates_genre", "trova_correlates_arttype",
                             "trova_correlates_era", "trova_correlates_origin"};
const Strings kCustoms = {"mx_num", "MX_Text", "mx_both", "mx_wild", "mx_half", "MX_NUM"};
const Strings kBlanks = {" ", " ", " ", "\n", "\t  "};
const Strings kTexts = {"red", "reed", "rad", "blue", "bad", "so", "x", ""};

// Nonterminals begin with "%". The first alternative of each ends soonest.
const std::map<std::string, Strings> kGrammar = {
    {"%statement", {"%head %where %order %limit"}},
    {"%head", {"genpl", "GENPL", "generate PLAYLIST"}},
    {"%where", {"", "where %any", "where %any", "where %any", "where %any"}},
    {"%any", {"%term", "%term", "%term and %any", "%term or %any"}},
    {"%term",
     {"%test", "%test", "( %test )", "%test >= %score", "( %test ) %op %score", "( %any )",
      "( %test ) %op %term", "( %any ) %op ( %test )"}},
    {"%test",
     {"mx_num > 7", "%list = %id", "%list != %id", "%list like %id", "%list like seed",
      "qx_era %op %id", "%custom like seed", "%custom %op %number", "%custom %op %text",
      "%custom != %number", "%custom like %number", "%custom like %text", "%odd"}},
    {"%odd",
     {"%custom > %number", "%custom > %number", "%number %op %custom", "%custom = %custom",
      "%list %op seed", "%custom = %refused", "qx_era like %text", "%wrong"}},
    {"%wrong", {"1 = 2", "%list %op %id", "qx_nosuch = 1", "( %any ) >= %score"}},
    {"%op", {"=", "==", "!=", "<", "<=", ">", ">=", ">="}},
    {"%list", {"qx_genre", "QX_ArtistType", "qx_era", "qx_origin"}},
    {"%custom", kCustoms},
    {"%id", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "12", "13", "1970", "-3", "'1 '", "0"}},
    {"%number", {"0", "1", "7", "9", "13", "18", "20", "27", "32", "36", "99999999999"}},
    {"%score", {"0", "-160", "1", "50", "77", "600", "999", "1000", "-99999999999"}},
    {"%text", {"'red'", "\"reed\"", "'rad'", "'blue'", "\"bad\"", "'so'", "''", "'x'"}},
    {"%refused", {"'0x9089000b'", "'0x107f01a4'", "'0x10550003'", "'0x90550077'"}},
    {"%order", {"", "", "order %sum"}},
    {"%sum",
     {"%part", "%part", "%part", "%part + %sum", "%part - %sum", "%part * %sum", "%part / %sum"}},
    {"%part", {"%test", "( %sum )", "%number", "rand ( %number )", "rand ( %number , %number )"}},
    {"%limit", {"", "", "limit %cuts"}},
    {"%cuts", {"%cut", "%cut , %cuts"}},
    {"%cut",
     {"%number results", "%number per %list", "%number per %custom", "2 per %custom", "3 per %key",
      "-1 results"}},
    {"%key", {"%custom", "'mx_num'", "''", "5", "seed"}},
    {"%junk", {"&",       "|",        "(",
               ")",       "12abc",    "-5",
               "-12abc",  "'abc",     "\"ab;c\"",
               "!",       ";",        "limit",
               "results", "per",      "order",
               "rand",    "seed",     "where",
               "genpl",   "o",        "l",
               "r",       "a",        "pl",
               "re",      "\xc3\xb6", ",",
               "like",    "=",        "-",
               "*",       "and",      std::string(310, 'x')}}};

// One start of the library: its lists, its attributes, a collection and the model of that.
class World : private Dice {
 public:
  explicit World(uint32_t seed) : Dice(seed) {
    mock().reset();
    fill_lists();
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    registry_ = registered_attributes();
    register_customs();
    EXPECT_EQ(trova_playlist_collection_create("c", &library_), 0u);
    model_ = std::make_unique<Collection>(registry_);
  }

  ~World() {
    EXPECT_EQ(trova_playlist_collection_release(library_), 0u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(g_open_contexts, 0);
    mock().expect_clean();
  }

  void run(int statements) {
    for (uint32_t changes = chance(30) ? below(6) : below(70); changes > 0; --changes) change();
    for (int i = 0; i < statements && !::testing::Test::HasFailure(); ++i) {
      compare_statement();
      for (uint32_t changes = below(4); changes > 1; --changes) change();
      compare_idents();
    }
  }

 private:
  // What came of a call.
  struct Answer {
    uint32_t code = 0;
    std::vector<trova_mock::ErrorInfo> infos = {};
    Strings calls = {};
    Strings idents = {};
    bool operator==(const Answer&) const = default;
  };

  const std::string& pick(const Strings& from) { return Dice::pick(from); }

  void fill_lists() {
    auto& lists = mock().lists;
    if (chance(80)) lists.locales["trova_locale_" + pick({"playlist", "music"})] = "eng";
    for (size_t i = 0; i < kLists.size(); ++i) {
      auto& list = lists.lists[kLists[i]];
      for (uint32_t id = 1; id <= 12; ++id) {
        const uint32_t lower = 1950 + below(50);
        list.add(id, id <= 3 ? 0 : 1 + below(id <= 7 ? 3 : 7), lower, lower + below(12));
      }
      auto& table = lists.correlates[kCorrelates[i]];
      for (int n = 0; n < 80; ++n) {
        table[1 + below(14)][1 + below(14)] = static_cast<int32_t>(below(2001)) - 1000;
      }
      if (chance(15)) lists.lists.erase(kLists[i]);
      if (chance(15)) lists.correlates.erase(kCorrelates[i]);
    }
  }

  void register_customs() {
    for (int i = 0; i < kBehaviours - static_cast<int>(below(2)); ++i) {
      Behaviour& custom = g_behaviours[i];
      custom = Behaviour{kCustoms[static_cast<size_t>(i)]};
      custom.wild = custom.name == "mx_wild";
      custom.past_end = chance(50) ? 0x10890003 : 0x9089000b;
      if (i == 2) std::erase_if(custom.operators, [&](uint32_t) { return chance(10); });
      custom.scores_integers = i != 4 || chance(50);
      custom.scores_strings = i != 4 || chance(50);
      const trova_playlist_attribute_provider provider = provider_of(i);
      EXPECT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
      registry_.emplace_back(custom);
    }
  }

  // ----------------------------------------------------------------------- Collections

  void fill(Object& object) {
    const auto id = [&] {
      return chance(10) ? pick({"abc", "-3", "0", " 7", "1970"}) : std::to_string(1 + below(14));
    };
    for (const std::string& key : kListKeys) {
      if (chance(70)) object.value(key, id());
    }
    Object track("trova_ctx_track");
    track.value(pick(kListKeys), id()).value(pick(kListKeys), id());
    if (chance(50)) object.child("trova_ctx_track!matching", track);
    for (const Behaviour& custom : g_behaviours) {
      if (chance(4)) object.value(custom.key(), pick({"0x9089000b", "0x107f01a4", "0x10550003"}));
      for (uint32_t n = below(4); n > 0; --n) {
        object.value(custom.key(), chance(50) ? "#" + std::to_string(below(40)) : pick(kTexts));
      }
    }
  }

  std::string random_context() {
    return pick({"trova_ctx_track", "trova_ctx_album", "trova_ctx_extdata"});
  }

  void change() {
    // Some share a hash, with and without sharing a length.
    const std::string ident = chance(10) ? pick({"aB", "b!", "yfgiz", "nrskhc", "\xc3\xa9"})
                                         : "track " + std::to_string(below(50));
    Object object(random_context());
    fill(object);
    const bool removes = chance(15);
    g_calls.clear();
    const uint32_t code =
        removes ? trova_playlist_collection_ident_remove(library_, ident.c_str())
                : trova_playlist_collection_ident_add(library_, ident.c_str(), object.get());
    const Strings calls = std::exchange(g_calls, {});
    EXPECT_EQ(code, removes ? model::map_error(model_->remove(ident)) : 0);
    if (!removes) model_->add(ident, object.data());
    EXPECT_EQ(calls, g_calls);
    uint8_t exists = 2;
    EXPECT_EQ(trova_playlist_collection_ident_exists(library_, ident.c_str(), &exists), 0u);
    EXPECT_EQ(exists, model_->idents.find(ident).has_value());
  }

  void compare_idents() {
    const std::vector<uint32_t> ids = model_->idents.ids();
    uint32_t count = 0;
    EXPECT_EQ(trova_playlist_collection_ident_count(library_, &count), 0u);
    ASSERT_EQ(count, ids.size());
    const char* text = nullptr;
    for (uint32_t i = 0; i < count; ++i) {
      EXPECT_EQ(trova_playlist_collection_ident_enum(library_, i, &text), 0u);
      EXPECT_EQ(text, model_->idents.get(ids[i]));
    }
    EXPECT_EQ(trova_playlist_collection_ident_enum(library_, count, &text), 0x90890361u);
    for (uint32_t i = 0; i < model_->attributes.size(); ++i) {
      EXPECT_EQ(trova_playlist_collection_attributes_enum(library_, i, &text), 0u);
      EXPECT_EQ(text, model_->attributes[i]->name);
    }
  }

  // ------------------------------------------------------------------------ Statements

  void expand(const std::string& symbol, int depth, Strings* words) {
    auto rule = kGrammar.find(symbol);
    if (rule == kGrammar.end()) return words->push_back(symbol);
    const bool ends = depth > 8 && symbol != "%head";
    std::istringstream symbols(ends ? rule->second[0] : pick(rule->second));
    for (std::string next; symbols >> next;) expand(next, depth + 1, words);
  }

  std::string random_statement() {
    Strings words;
    expand("%statement", 0, &words);
    for (uint32_t n = chance(80) ? 0 : 1 + below(2); n > 0; --n) {
      const auto at = words.begin() + below(static_cast<uint32_t>(words.size()));
      const std::string junk = chance(70) ? pick(kGrammar.at("%junk")) : *at;
      *at = chance(50) ? junk : chance(50) ? "" : *at + " " + junk;
    }
    std::string text = " ";  // an empty statement is refused before it is read
    const uint32_t close = chance(10) ? 10 : 0;
    for (const std::string& word : words) text += word + (chance(close) ? "" : pick(kBlanks));
    return text;
  }

  // ------------------------------------------------------------------------ Comparison

  void compare_statement() {
    const std::string text = random_statement();
    Object seed(random_context());
    fill(seed);
    const bool seeded = chance(90);
    uint8_t used = 77;
    bool model_used = false;
    const Answer validated = library_answer("trova_playlist_statement_validate", [&](Strings*) {
      return trova_playlist_statement_validate(text.c_str(), library_, &used);
    });
    compare(text, validated, model_answer([&] {
              model_used = model::parse(text, *model_).seed_used;
              return Strings();
            }));
    EXPECT_EQ(used, validated.code == 0 ? model_used : 77) << text;
    const Answer run = library_answer("trova_playlist_generate_playlist", [&](Strings* idents) {
      return generate(text, seeded ? seed.get() : nullptr, idents);
    });
    compare(text, run, model_answer([&] {
              return model::generate(text, *model_, seeded ? &seed.data() : nullptr);
            }));
  }

  uint32_t generate(const std::string& text, trova_gdo* seed, Strings* idents) {
    trova_playlist_results* results = nullptr;
    const uint32_t code =
        trova_playlist_generate_playlist(nullptr, text.c_str(), library_, seed, &results);
    EXPECT_EQ(results != nullptr, code == 0);
    const char* ident = nullptr;
    for (uint32_t i = 0; results && trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
      idents->push_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    return code;
  }

  // Runs a call of the library; its failure must be what was logged last.
  static Answer library_answer(const char* function,
                               const std::function<uint32_t(Strings*)>& call) {
    mock().infos.clear();
    mock().errors = {{0, "nothing", 0, 0}};
    g_calls.clear();
    Answer answer;
    answer.code = call(&answer.idents);
    answer.infos = mock().infos;
    answer.calls = std::exchange(g_calls, {});
    if (model::failed(answer.code)) {
      EXPECT_EQ(mock().errors.back(), (trova_mock::ErrorCall{0, function, answer.code, 0}));
    }
    return answer;
  }

  static Answer model_answer(const std::function<Strings()>& call) {
    Answer answer;
    try {
      answer.idents = call();
    } catch (const model::Failure& failure) {
      answer.code = model::map_error(failure.code);
      answer.infos = {{failure.code, failure.message}};
    }
    answer.calls = std::exchange(g_calls, {});
    return answer;
  }

  void compare(const std::string& text, const Answer& library, const Answer& expected) {
    if (library == expected) return;
    std::string collection;
    for (const auto& attribute : model_->attributes) {
      collection += "\n  " + attribute->name + (attribute->records.sorted ? " (sorted):" : ":");
      for (const model::Record& r : attribute->records.items) {
        collection += " [" + model_->idents.get(r.ident) +
                      "]=" + (r.is_text ? model_->values.get(r.value) : std::to_string(r.value));
      }
    }
    ADD_FAILURE() << text << "\nlibrary: " << shown(library) << "\nmodel: " << shown(expected)
                  << "\ncollection now:" << collection;
  }

  static std::string shown(const Answer& answer) {
    std::string text = hex(answer.code);
    for (const auto& info : answer.infos) text += ", " + hex(info.code) + info.text.value_or("-");
    for (const std::string& ident : answer.idents) text += " [" + ident + "]";
    for (const std::string& call : answer.calls) text += "\n  " + call;
    return text;
  }

  std::vector<model::Attribute> registry_;
  trova_playlist_collection* library_ = nullptr;
  std::unique_ptr<Collection> model_;
};

}  // namespace

TEST(ModelRandom, library_and_model_answer_alike) {
  constexpr uint32_t kPerWorld = 20;
  for_each_seed(8000, kPerWorld, [](uint32_t seed) { World(seed).run(kPerWorld); });
}
