// random_statements: random collections and statements through the library and through the model.
//
// TROVA_MODEL_CASES sets the number of statements, TROVA_MODEL_SEED the first world's seed.
#include <sstream>

#include "random_world.h"

using model::Playlist;
using trova_mock::mock;

namespace {

const Strings kCustoms = words("mx_num MX_Text mx_both mx_wild mx_half MX_NUM");
const Strings kBlanks = {" ", " ", " ", "\n", "\t  "};

// Nonterminals begin with "%". Their first alternatives lead to the shortest texts.
const std::map<std::string, Strings> kGrammar = {
    {"%statement", {"%head %where %order %limit"}},
    {"%head", {"genpl", "GENPL", "generate PLAYLIST"}},
    {"%where", {"", "where %any", "where %any", "where %any", "where %any"}},
    {"%any", {"%term", "%term", "%term and %any", "%term or %any"}},
    {"%term",
     {"%test", "%test", "( %test )", "%test >= %score", "( %test ) %op %score", "( %any )",
      "( %test ) %op %term", "( %any ) %op ( %test )", "( %near ) %op %score",
      "( %any ) or ( %near ) %op %score", "%custom != %number and %name != %title",
      "( %test or ( %near ) %op %score ) and %test", "qx_mood like seed or %custom != %number"}},
    {"%near",
     {"%list like %id", "%list like seed", "%name like %title", "qx_mood like seed",
      "qx_mood like seed", "qx_tempo like %tempo"}},
    {"%test",
     {"mx_num > 7",
      "%near",
      "%near",
      "%near",
      "%near",
      "%list %is %id",
      "qx_era %op %id",
      "%name %is %title",
      "%name %is seed",
      "%name like seed",
      "qx_mood %is %mood",
      "qx_mood like %mood",
      "qx_tempo %op %tempo",
      "qx_tempo %alike seed",
      "%custom like seed",
      "%custom %op %number",
      "%custom %op %text",
      "%custom != %number",
      "%custom like %number",
      "%custom like %text",
      "%odd"}},
    {"%odd",
     {"%custom > %number", "%custom > %number", "%number %op %custom", "%custom = %custom",
      "%list %op seed", "%custom = %refused", "qx_era like %text", "%wrong"}},
    {"%wrong", {"1 = 2", "%list %op %id", "qx_nosuch = 1", "( %any ) >= %score"}},
    {"%is", {"=", "!="}},
    {"%alike", {"like", "=", "<"}},
    {"%op", {"=", "==", "!=", "<", "<=", ">", ">=", ">="}},
    {"%list", {"qx_genre", "QX_ArtistType", "qx_era", "qx_origin"}},
    {"%name", {"qx_artistname", "QX_AlbumName"}},
    {"%any-attribute", {"%list", "%name", "%custom", "qx_mood", "qx_tempo"}},
    {"%tempo", {"1", "30", "60", "100", "120", "121", "320", "400", "'x'"}},
    {"%custom", kCustoms},
    {"%id", {"1", "2", "3", "4", "5", "6", "7", "8", "9", "12", "13", "1970", "-3", "'1 '", "0"}},
    {"%number", {"0", "1", "7", "9", "13", "18", "20", "27", "32", "36", "99999999999"}},
    {"%score", {"0", "-160", "1", "50", "77", "600", "999", "1000", "-99999999999"}},
    {"%text", {"'red'", "\"reed\"", "'rad'", "'blue'", "\"bad\"", "'so'", "''", "'x'"}},
    {"%refused", {"'0x9089000b'", "'0x107f01a4'", "'0x10550003'", "'0x90550077'"}},
    {"%order", {"", "", "order %sum"}},
    {"%sum",
     {"%part", "%part", "mx_wild != 'x'", "%part + %sum", "%part - %sum", "%part * %sum",
      "%part / %sum"}},
    {"%part", {"%test", "( %sum )", "%number", "rand ( %number )", "rand ( %number , %number )"}},
    {"%limit", {"", "", "limit %cuts"}},
    {"%cuts", {"%cut", "%cut , %cuts"}},
    {"%cut",
     {"%number results", "%number per %any-attribute", "2 per %any-attribute", "3 per %key",
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

// One start of the library and a collection.
class World : private RandomWorld {
 public:
  World(uint32_t seed, const Size& size) : RandomWorld(seed, size) {
    EXPECT_EQ(trova_playlist_collection_create("c", &pair_.library), 0u);
    pair_.model = std::make_unique<model::Collection>(registry_);
    pair_.model->title = "c";
  }

  ~World() override { EXPECT_EQ(trova_playlist_collection_release(pair_.library), 0u); }

  void run(uint32_t statements) {
    uint32_t changes = chance(30) ? below(6) : below(100);
    if (size_.idents > 50) changes = size_.idents;
    for (; changes > 0 && !is_over(); --changes) change();
    for (; statements > 0 && !is_over(); --statements) {
      compare_statement();
      for (changes = below(4); changes > 1 && !is_over(); --changes) change();
      if (!is_over()) compare_contents(pair_);
    }
  }

  // Most worlds are small. Some have hundreds of distinct values of each attribute, a few more
  // entries than model::kMostInOrder.
  static Size size_of(uint32_t seed) {
    if (seed % 64 == 7) return {1500, 40, 100000, 1000, 1200, seed % 128 == 7};
    if (seed % 16 == 5) return {700, 1000, seed % 32 == 5 ? 3000u : 400u, 700, 1200};
    return {50, 14, 40, 0, std::vector<uint32_t>{10, 40, 611, 2000}[seed % 4]};
  }

 private:
  // The results of a call.
  struct Answer {
    uint32_t code = 0;
    std::vector<trova_mock::ErrorInfo> infos = {};
    Strings calls = {};
    Strings idents = {};
  };

  bool is_over() const { return pair_.library == nullptr || ::testing::Test::HasFailure(); }

  // ----------------------------------------------------------------------- Collections

  void change() {
    const Change change = random_change();
    if (size_.single && pair_.model->idents.find(change.text)) return;
    const Plan plan = random_plan(true);
    trova_playlist_collection* const library = pair_.library;
    Answer found;
    Answer expected;
    const bool released =
        run_as_planned(plan, library, [&] { found.idents = {apply(change, library)}; });
    found.calls = std::exchange(g_calls, {});
    (void)run_as_planned(plan, &pair_, [&] { expected.idents = {apply(change, &pair_)}; });
    expected.calls = std::exchange(g_calls, {});
    compare(change.text, found, expected);
    if (released) return void(pair_.library = nullptr);
    uint8_t exists = 2;
    EXPECT_EQ(trova_playlist_collection_ident_exists(library, change.text.c_str(), &exists), 0u);
    EXPECT_EQ(exists, pair_.model->idents.find(change.text).has_value());
  }

  // A new collection of the same contents, not evaluated yet.
  Pair copy() {
    std::string bytes;
    for (const std::string& item : model::write(*pair_.model)) bytes += item;
    Pair pair;
    const auto size = static_cast<uint32_t>(bytes.size());
    EXPECT_EQ(trova_playlist_collection_deserialize(bytes.data(), size, &pair.library), 0u);
    pair.model = model::read(bytes, registry_).collection;
    return pair;
  }

  // ------------------------------------------------------------------------ Statements

  void expand(const std::string& symbol, int depth, Strings* into) {
    auto rule = kGrammar.find(symbol);
    if (symbol == "%title") return into->push_back("'" + random_name() + "'");
    if (symbol == "%mood") return into->push_back(std::to_string(below(size_.moods)));
    if (rule == kGrammar.end()) return into->push_back(symbol);
    const bool ends = depth > 8 && symbol != "%head";
    std::istringstream symbols(ends ? rule->second[0] : pick(rule->second));
    for (std::string next; symbols >> next;) expand(next, depth + 1, into);
  }

  std::string random_statement() override {
    Strings symbols;
    expand("%statement", 0, &symbols);
    for (uint32_t n = chance(80) ? 0 : 1 + below(2); n > 0; --n) {
      const auto at = symbols.begin() + below(static_cast<uint32_t>(symbols.size()));
      const std::string junk = chance(70) ? pick(kGrammar.at("%junk")) : *at;
      *at = chance(50) ? junk : chance(50) ? "" : *at + " " + junk;
    }
    std::string text = " ";  // an empty statement is an invalid argument
    const uint32_t close = chance(10) ? 10 : 0;
    for (const std::string& symbol : symbols) text += symbol + (chance(close) ? "" : pick(kBlanks));
    return text;
  }

  // ------------------------------------------------------------------------ Comparison

  void compare_statement() {
    const std::string text = random_statement();
    uint8_t used = 77;
    bool model_used = false;
    const Answer validated =
        library_answer(text, "trova_playlist_statement_validate", [&](Answer*) {
          return trova_playlist_statement_validate(text.c_str(), pair_.library, &used);
        });
    compare(text, validated, model_answer([&](Answer*) {
              model_used = model::parse(text, *pair_.model).seed_used;
            }));
    EXPECT_EQ(used, validated.code == 0 ? model_used : 77) << text;
    Change statement = {Change::generate, text, chance(90) ? random_object() : nullptr};
    if (chance(5)) statement = {Change::generate, model::kMoreLikeThis, random_object()};
    if (chance(50)) return compare_run(statement, &pair_);
    Pair fresh = copy();
    if (chance(20)) {
      run_with_fault(statement, fresh.library);
    } else {
      compare_run(statement, &fresh);
    }
    EXPECT_EQ(trova_playlist_collection_release(fresh.library), 0u);
  }

  void compare_run(const Change& statement, Pair* pair) {
    const Plan plan = random_plan(true);
    trova_gdo* const seed = statement.object ? statement.object->get() : nullptr;
    const auto* const data = statement.object ? &statement.object->data() : nullptr;
    Answer found;
    const bool released = run_as_planned(plan, pair->library,
                                         [&] { found = generate(statement, seed, pair->library); });
    Playlist playlist;
    Answer expected;
    (void)run_as_planned(plan, pair, [&] {
      expected = model_answer([&](Answer* answer) {
        playlist = model::generate(statement.text, *pair->model, data);
        answer->idents = playlist.idents;
      });
    });
    if (released) pair->library = nullptr;
    if (playlist.certainty == Playlist::kNothing) return start_over();
    if (playlist.allows(found.idents)) expected.idents = found.idents;
    compare(statement.text, found, expected);
  }

  // After a statement whose results the model does not know.
  void start_over() {
    model::g_random = g_library_random;
    Pair fresh = copy();
    EXPECT_EQ(trova_playlist_collection_release(pair_.library), 0u);
    pair_ = std::move(fresh);
  }

  // The model has no such faults: only the transcripts are compared.
  void run_with_fault(const Change& statement, trova_playlist_collection* library) {
    static const Strings slots = words(
        "list.locale_load list.locale_info list.list_load list.correlates_load "
        "list.correlate_set_open gdo.gdo_get_value gdo.gdo_get_child gdo.gdo_get_context "
        "handle.handle_add");
    trova_gdo* const seed = statement.object ? statement.object->get() : nullptr;
    if (chance(50)) (void)generate(statement, seed, library);
    mock().fail_slot(pick(slots), 1 + below(4), chance(50) ? 0x90100005 : 0x10100006);
    (void)generate(statement, seed, library);
    mock().clear_faults();
    g_library_random = model::g_random;
    g_calls.clear();
  }

  static Answer generate(const Change& statement, trova_gdo* seed,
                         trova_playlist_collection* library) {
    const bool is_more = statement.text == model::kMoreLikeThis;
    const char* const text = statement.text.c_str();
    return library_answer(
        statement.text,
        is_more ? "trova_playlist_generate_morelikethis" : "trova_playlist_generate_playlist",
        [&](Answer* answer) {
          trova_playlist_results* results = nullptr;
          const uint32_t code =
              is_more ? trova_playlist_generate_morelikethis(mock().user(), library, seed, &results)
                      : trova_playlist_generate_playlist(nullptr, text, library, seed, &results);
          EXPECT_EQ(results != nullptr, code == 0);
          answer->idents = take_idents(results);
          return code;
        });
  }

  // Runs a call of the library. The last log line must be its failure.
  static Answer library_answer(const std::string& text, const char* function,
                               const std::function<uint32_t(Answer*)>& call) {
    mock().infos.clear();
    mock().lines.clear();
    mock().errors = {{0, "nothing", 0, 0}};
    g_calls.clear();
    Answer answer;
    answer.code = call(&answer);
    answer.infos = mock().infos;
    answer.calls = std::exchange(g_calls, {});
    if (model::failed(answer.code)) {
      EXPECT_EQ(mock().errors.back(), (trova_mock::ErrorCall{0, function, answer.code, 0}));
    }
    Strings logged;
    for (const auto& [line, source, code, extra] : mock().errors) {
      logged.push_back(source + " " + std::to_string(line) + " " + hex(code));
    }
    for (const trova_mock::LogLine& line : mock().lines) logged.push_back(line.text);
    // With memories an ORDER evaluates its values in another order.
    const auto is_change = [](const std::string& each) { return each.rfind("meanwhile", 0) == 0; };
    const bool has_order = text.find("order") != std::string::npos;
    if (has_order || std::any_of(answer.calls.begin(), answer.calls.end(), is_change)) {
      std::sort(logged.begin(), logged.end());
    }
    g_transcript.push_back(shown(answer));
    g_transcript.insert(g_transcript.end(), logged.begin(), logged.end());
    return answer;
  }

  static Answer model_answer(const std::function<void(Answer*)>& call) {
    Answer answer;
    try {
      call(&answer);
    } catch (const model::Failure& failure) {
      answer.code = model::map_error(failure.code);
      answer.infos = {{failure.code, failure.message}};
    }
    answer.calls = std::exchange(g_calls, {});
    return answer;
  }

  void compare(const std::string& text, Answer found, Answer expected) {
    if (size_.idents > 50) {
      // The model may not know the order of evaluation.
      std::sort(found.calls.begin(), found.calls.end());
      std::sort(expected.calls.begin(), expected.calls.end());
    }
    if (shown(found) == shown(expected)) return;
    std::string collection;
    for (const auto& attribute : pair_.model->attributes) {
      if (size_.idents > 50) break;
      collection += "\n  " + attribute->name + (attribute->records.sorted ? " (sorted):" : ":");
      for (const model::Record& r : attribute->records.items) {
        collection += " [" + pair_.model->idents.get(r.ident) + "]=" +
                      (r.is_text ? pair_.model->values.get(r.value) : std::to_string(r.value));
      }
    }
    ADD_FAILURE() << text << "\nlibrary: " << shown(found) << "\nmodel: " << shown(expected)
                  << "\ncollection now:" << collection;
  }

  static std::string shown(const Answer& answer) {
    std::string text = hex(answer.code);
    for (const auto& info : answer.infos) text += ", " + hex(info.code) + info.text.value_or("-");
    for (const std::string& ident : answer.idents) text += " [" + ident + "]";
    for (const std::string& call : answer.calls) text += "\n  " + call;
    return text;
  }

  Pair pair_;
};

}  // namespace

TEST(ModelRandom, library_and_model_answer_alike) {
  constexpr uint32_t kPerWorld = 20;
  for_each_seed(5000, kPerWorld,
                [](uint32_t seed) { World(seed, World::size_of(seed)).run(kPerWorld); });
}
