// random_streams: random collections as bytes, whole and damaged, their synchronisation and the
// views of their idents, through the library and through the model.
//
// TROVA_MODEL_CASES sets the number of collections, TROVA_MODEL_SEED the first one's seed.
#include <algorithm>

#include "random_world.h"

using model::Collection;
using model::Items;
using trova_mock::mock;

namespace {

const Strings kCustoms = words("mx_num MX_Text mx_both mx_wild mx_half MX_NUM");
const Strings kDataKeys = words(
    "_sdkmgr_val_list_genre_id _sdkmgr_val_list_artist_type_id _sdkmgr_val_list_era_id "
    "_sdkmgr_val_list_origin_id _sdkmgr_val_list_mood_id _sdkmgr_val_list_mood_data "
    "_sdkmgr_val_list_tempo_value trova_val_artist trova_val_title_display");
const Strings kKeys = words(
    "trova_val_list_arttype trova_val_desc_era trova_val_list_genremeta trova_val_list_genre "
    "trova_val_list_genremicro TROVA_VAL_LIST_GENRE trova_val_list_origin trova_val_list_mood "
    "trova_val_moodsub trova_val_moodcat trova_val_tempometa trova_val_temposub trova_val_nothing "
    "QX_Genre qx_genre qx_artisttype QX_ERA QX_Origin qx_mood QX_Tempo qx_albumname QX_ARTISTNAME "
    "Mx_Num mx_text mx_both MX_wild mx_half");
const Strings kStatements = {"genpl",
                             "genpl where mx_num > 7 or mx_text > 'r'",
                             "genpl where mx_both >= 9 order mx_wild like 7 limit 9 results",
                             "genpl where qx_genre = 3 or qx_era != 5 order mx_num > 100",
                             "genpl where mx_wild != 'x' limit 2 per mx_both, 20 results",
                             "genpl where mx_half like 'red' limit 1 per qx_origin",
                             "genpl where qx_mood = 3 or qx_artistname != 'of' order qx_tempo "
                             "like 90 limit 3 per qx_artistname"};
const std::vector<uint32_t> kIntegers = {
    0,     1,     126,   127,        128,     254,        255,        256,
    32768, 65535, 65536, 0x11111111, 1 << 30, 0x7fffffff, 0x80000000, 0xffffffff};
const std::vector<uint32_t> kLengths = {31, 32, 255, 256, 65535, 65536};

// Items that are invalid in a stream, or in most places of it, and other forms of valid ones.
const Strings kOddItems = words(
    "c0 c1 c2 c3 ca3f800000 cb3ff0000000000000 90 9101 80 8101920102 dc000101 dcffff ddffffffff "
    "dd00ffffff df007fffff dbffffffff db7fffffff c600ffffff c40178 c5000178 d40178 c702017879 "
    "d90178 da000178 db0000000178 a0 a3610062 ff e0 d080 d001 d17fff d200000001 d211111111 "
    "d30000000000000001 d3ffffffffffffffff cc01 cd0100 ce00000001 ce33333333 ce55555555 "
    "ce00000000 ceffffffff cf0000000000000001 cf0000000033333333 cf0000000100000001 "
    "cf0000000133333333 cfffffffff00000001");

std::string from_hex(const std::string& digits) {
  std::string bytes;
  for (size_t at = 0; at < digits.size(); at += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

std::string joined(const Items& items) {
  std::string bytes;
  for (const std::string& item : items) bytes += item;
  return bytes;
}

// The largest allocated block, through the manager or not. 0 without the address sanitizer.
size_t g_largest_block = 0;
#ifdef __SANITIZE_ADDRESS__
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(const volatile void*,
                                                                           size_t),
                                                         void (*on_free)(const volatile void*));
void note_block(const volatile void*, size_t size) {
  g_largest_block = std::max(g_largest_block, size);
}
const int kBlockHooks = __sanitizer_install_malloc_and_free_hooks(note_block, [](auto*) {});
#endif

// A view in both worlds, and the texts that the library's view returned.
struct ViewPair {
  trova_gdo* library;
  model::View model;
  std::vector<std::pair<const char*, std::string>> texts = {};
};

// One start of the library and a collection.
class World : private RandomWorld {
 public:
  explicit World(uint32_t seed) : RandomWorld(seed, {}) {}

  void run() {
    Pair pair;
    const std::string name = chance(5) ? text_of(pick(kLengths)) : text_of(1 + below(40));
    EXPECT_EQ(trova_playlist_collection_create(name.c_str(), &pair.library), 0u);
    pair.model = std::make_unique<Collection>(registry_);
    pair.model->title = name;
    for (uint32_t n = chance(15) ? 0 : below(25); n > 0; --n) change(&pair);
    for (int round = 0; round < 3 && pair.library && !::testing::Test::HasFailure(); ++round) {
      live(&pair);
    }
    const Items items = model::write(*pair.model);
    const int most = joined(items).size() > 5000 ? 4 : 25;
    for (int n = 0; n < most && !::testing::Test::HasFailure(); ++n) {
      compare_damaged(damaged(items));
    }
    end(&pair);
  }

 private:
  std::string random_statement() override { return pick(kStatements); }

  void change(Pair* pair) {
    const Change change = random_change();
    EXPECT_EQ(apply(change, pair->library), apply(change, pair));
  }

  // Changes and queries a collection, with a write and a read in between.
  void live(Pair* pair) {
    compare_collections(pair);
    if (::testing::Test::HasFailure()) return;
    if (chance(60)) {
      const std::string bytes = joined(model::write(*pair->model));
      end(pair);
      *pair = loaded(bytes);
      if (::testing::Test::HasFailure()) return;
      compare_collections(pair);
    }
    for (uint32_t n = below(6); n > 0; --n) change(pair);
    compare_statement(pair);
    compare_views(pair);
    if (chance(70)) compare_processing(pair);
  }

  // Releases a collection before its views.
  void end(Pair* pair) {
    if (pair->library == nullptr) return;
    EXPECT_EQ(trova_playlist_collection_release(pair->library), 0u);
    for (int n = 0; n < 5; ++n) read_views();
    for (const ViewPair& view : views_) EXPECT_EQ(mock().objects().gdo_release(view.library), 0u);
    views_.clear();
    *pair = Pair();
  }

  // ------------------------------------------------------------------------------ Bytes

  void compare_collections(Pair* pair) {
    const Collection& expected = *pair->model;
    const char* text = nullptr;
    EXPECT_EQ(trova_playlist_collection_get_name(pair->library, &text), 0u);
    EXPECT_EQ(text, expected.title);
    compare_contents(*pair);
    compare_bytes(pair->library, joined(model::write(expected)), model::bound(expected));
  }

  static void compare_bytes(trova_playlist_collection* library, const std::string& expected,
                            uint32_t bound) {
    uint32_t size = 0;
    EXPECT_EQ(trova_playlist_collection_serialize_size(library, &size), 0u);
    EXPECT_EQ(size, bound);
    size = 7;
    EXPECT_EQ(trova_playlist_collection_serialize(library, nullptr, &size), 0u);
    EXPECT_EQ(size, bound);
    std::string bytes(bound, '?');
    size = bound - 1;
    EXPECT_EQ(trova_playlist_collection_serialize(library, bytes.data(), &size), 0x90890008u);
    EXPECT_EQ(size, bound - 1);
    EXPECT_EQ(bytes, std::string(bound, '?'));
    size = bound;
    EXPECT_EQ(trova_playlist_collection_serialize(library, bytes.data(), &size), 0u);
    EXPECT_TRUE(bytes.substr(0, size) == expected)
        << "library: " << dump(bytes.substr(0, size)) << "\nmodel:   " << dump(expected);
  }

  // Reads bytes in both worlds. The library must not allocate more than they can fill.
  Pair loaded(const std::string& bytes) {
    Pair pair;
    mock().lines.clear();
    mock().errors.clear();
    mock().watch_peak();
    const size_t before = mock().bytes();
    // The sanitizer detects a read past the end of a block.
    const std::unique_ptr<char[]> copy(new char[bytes.size() + (bytes.empty() ? 1 : 0)]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    g_largest_block = 0;
    const uint32_t code = trova_playlist_collection_deserialize(
        copy.get(), static_cast<uint32_t>(bytes.size()), &pair.library);
    EXPECT_LE(g_largest_block, 16 * bytes.size() + 16384);
    model::Loaded expected = model::read(bytes, registry_);
    EXPECT_EQ(hex(code), hex(expected.code));
    EXPECT_EQ(pair.library != nullptr, expected.collection != nullptr);
    EXPECT_LE(mock().peak_bytes() - before, 16 * bytes.size() + 4096);
    EXPECT_TRUE(pair.library != nullptr || mock().bytes() == before);
    Strings warnings;
    for (const trova_mock::LogLine& line : mock().lines) {
      EXPECT_EQ(std::pair(line.package, line.level), std::pair(0x89u, 2u));
      warnings.push_back(line.text);
    }
    // The mock truncates lines.
    for (std::string& warning : expected.warnings) warning = warning.substr(0, 1023);
    EXPECT_EQ(warnings, expected.warnings);
    if (code != 0 && !mock().errors.empty()) {
      EXPECT_EQ(mock().errors.back(),
                (trova_mock::ErrorCall{0, "trova_playlist_collection_deserialize", code, 0}));
    }
    EXPECT_EQ(mock().errors.empty(), code == 0);
    pair.model = std::move(expected.collection);
    return pair;
  }

  void compare_damaged(const std::string& bytes) {
    Pair pair = loaded(bytes);
    if (pair.library != nullptr && pair.model != nullptr) {
      compare_collections(&pair);
      compare_statement(&pair);
      for (int n = 0; n < 3; ++n) look(&pair), read_views();
      if (chance(30)) {
        for (uint32_t n = below(4); n > 0; --n) change(&pair);
        compare_processing(&pair);
        if (pair.library != nullptr) compare_collections(&pair);
      }
    }
    if (::testing::Test::HasFailure()) ADD_FAILURE() << "the bytes: " << dump(bytes);
    end(&pair);
  }

  static std::string dump(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) text += hex(static_cast<unsigned char>(c)).substr(8);
    return text;
  }

  static bool begins_section(const std::string& item) {
    static const Items kMarkers = {model::marker(0x11111111), model::marker(0x22222222),
                                   model::marker(0x33333333), model::marker(0x44444444)};
    return std::find(kMarkers.begin(), kMarkers.end(), item) != kMarkers.end();
  }

  static std::vector<Items> sections_of(const Items& items) {
    std::vector<Items> sections;
    for (const std::string& item : items) {
      if (begins_section(item)) sections.emplace_back();
      sections.back().push_back(item);
    }
    return sections;
  }

  std::string damaged(const Items& whole) {
    std::vector<Items> sections = sections_of(whole);
    if (chance(40)) damage_sections(&sections);
    Items items;
    for (const Items& section : sections) items.insert(items.end(), section.begin(), section.end());
    for (uint32_t n = chance(60) ? 1 + below(2) : 0; n > 0 && !items.empty(); --n) {
      std::string* item = random_item(&items);
      const uint32_t what = below(8);
      *item = what == 0   ? ""
              : what == 1 ? *item + *item
              : what == 2 ? model::number(chance(50) ? below(300) : pick(kIntegers))
              : what == 3 ? model::raw(pick(kCustoms))
              : what < 6  ? written_otherwise(*item)
                          : from_hex(pick(kOddItems));
    }
    std::string bytes = joined(items);
    for (uint32_t n = chance(40) ? 1 + below(2) : 0; n > 0 && !bytes.empty(); --n) {
      const uint32_t at = below(static_cast<uint32_t>(bytes.size()));
      const uint32_t what = below(5);
      if (what == 0) bytes.resize(at);
      if (what == 1) bytes.erase(at, 1);
      if (what == 2) bytes.insert(at, 1, static_cast<char>(below(256)));
      if (what == 3) bytes[at] = static_cast<char>(below(256));
      if (what == 4) bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
    }
    return bytes;
  }

  // Half the time one of the first items of a section.
  std::string* random_item(Items* items) {
    const size_t skip = below(5);
    std::vector<std::string*> heads;
    for (size_t i = 0; i + skip < items->size(); ++i) {
      if (begins_section((*items)[i])) heads.push_back(&(*items)[i + skip]);
    }
    return chance(50) && !heads.empty() ? pick(heads)
                                        : &(*items)[below(static_cast<uint32_t>(items->size()))];
  }

  // Another form of the same number or bytes, valid or not.
  std::string written_otherwise(const std::string& item) {
    const auto head = static_cast<unsigned char>(item[0]);
    if (head >= 0xa0 && head < 0xc0) {
      const std::string form = pick(words("d9 c4 da00 c500 db000000 c6000000"));
      return from_hex(form) + static_cast<char>(head & 31) + item.substr(1);
    }
    if (item.empty() || (head >= 0xc0 && (head < 0xcc || head > 0xce))) return item;
    uint32_t value = head;
    if (head >= 0xcc) value = 0;
    for (const char c : item.substr(1)) value = value << 8 | static_cast<unsigned char>(c);
    const std::string form = pick(words("ce d2 cf00000000 cf00000001 d300000000 d3ffffffff"));
    return from_hex(form) + model::marker(value).substr(1);
  }

  void damage_sections(std::vector<Items>* sections) {
    const auto count = static_cast<uint32_t>(sections->size());
    Items& section = (*sections)[below(count)];
    const uint32_t what = below(7);
    if (what == 0) section.clear();
    if (what == 1) section.resize(below(static_cast<uint32_t>(section.size()) + 1));
    if (what == 2) std::shuffle(sections->begin() + below(2), sections->end(), engine());
    if (what == 3) sections->push_back(Items(section));
    if (what == 4) sections->push_back(odd_table());
    if (what == 5) sections->insert(sections->begin() + below(count), extra_attribute());
    if (what == 6) (*sections)[0].back() = model::raw(pick(Strings{"", std::string("a\0b", 3)}));
  }

  Items extra_attribute() {
    const std::string name = pick(Strings{"mx_num", "MX_NUM", "Mx_Num", "qx_genre", "QX_Era",
                                          "QX_Mo", "QX_Mood2", "", std::string("mx_num\0x", 8)});
    const auto size = static_cast<uint32_t>(name.size());
    const uint32_t count = below(4);
    Items items = {model::marker(0x22222222), "\x01", model::number(size + below(2)),
                   model::number(count), model::raw(name)};
    for (uint32_t n = 0; n < 3 * count; ++n) items.push_back(model::number(pick(kIntegers)));
    return items;
  }

  // Runs of zeros, duplicate texts and missing terminators.
  Items odd_table() {
    std::string buffer;
    for (uint32_t n = below(7); n > 0; --n) {
      buffer += pick(Strings{std::string(1 + below(4), '\0'), "a", "bb", std::string("\0a", 2)});
    }
    if (chance(60)) buffer.push_back('\0');
    const auto size = static_cast<uint32_t>(buffer.size());
    Items items = {model::marker(chance(70) ? 0x33333333 : 0x44444444), "\x01",
                   model::number(size + below(2)), model::raw(buffer)};
    if (items[2][0] == 0 && chance(90)) items.pop_back();
    return items;
  }

  // ------------------------------------------------------------------------- Statements

  void compare_statement(Pair* pair) {
    const Change statement = {Change::generate, random_statement()};
    mock().errors.clear();
    g_calls.clear();
    const std::string answer = apply(statement, pair->library);
    const Strings calls = std::exchange(g_calls, {});
    EXPECT_EQ(answer, apply(statement, pair)) << statement.text;
    EXPECT_EQ(calls, g_calls) << statement.text;
    g_transcript.push_back(answer);
    for (const auto& [line, source, code, extra] : mock().errors) {
      g_transcript.push_back(source + " " + std::to_string(line) + " " + hex(code));
    }
  }

  // -------------------------------------------------------------------- Synchronisation

  // A callback of the library, and what it did.
  struct Step {
    std::string ident;
    uint32_t status;
    bool stops;
    std::vector<Change> changes;
  };

  struct Processing {
    World* world;
    Pair* pair;
    std::vector<Step> steps = {};
    size_t replayed = 0;
    uint32_t nested_codes = 0, nested_model_codes = 0;
    bool lively = false, released = false, replays_release = false;
  };

  static void on_difference(void* data, trova_playlist_collection* collection, const char* ident,
                            uint32_t status, uint8_t* out_stop) {
    auto& processing = *static_cast<Processing*>(data);
    World& world = *processing.world;
    EXPECT_EQ(collection, processing.pair->library);
    EXPECT_EQ(*out_stop, 0);
    Step step = {ident, status, world.chance(5), {}};
    const bool changes = processing.lively && processing.steps.size() < 60;
    for (uint32_t n = changes ? world.below(3) : 0; n > 0; --n) {
      step.changes.push_back(world.random_step());
    }
    if (processing.released) step.changes.clear();
    processing.steps.push_back(step);
    for (const Change& change : step.changes) {
      if (processing.released) break;
      g_calls.push_back(apply(change, collection));
      if (change.kind == Change::process) {
        processing.nested_codes =
            31 * processing.nested_codes +
            trova_playlist_collection_sync_process(collection, on_difference, data);
      }
      processing.released |= change.kind == Change::release;
    }
    *out_stop = step.stops ? static_cast<uint8_t>(1 + world.below(255)) : 0;
  }

  bool replay(Processing* processing, const std::string& ident, uint32_t status) {
    if (processing->replayed == processing->steps.size()) {
      ADD_FAILURE() << "the model calls for '" << ident << "', " << status;
      return true;
    }
    const Step step = processing->steps[processing->replayed++];
    EXPECT_EQ(std::pair(step.ident, step.status), std::pair(ident, status));
    for (const Change& change : step.changes) {
      if (processing->replays_release) break;
      processing->replays_release = change.kind == Change::release;
      g_calls.push_back(apply(change, processing->pair));
      if (change.kind == Change::process) {
        processing->nested_model_codes = 31 * processing->nested_model_codes + process(processing);
      }
    }
    return step.stops;
  }

  uint32_t process(Processing* processing) {
    return processing->pair->report.process(
        *processing->pair->model, [&](const std::string& ident, uint32_t status) {
          return ::testing::Test::HasFailure() || replay(processing, ident, status);
        });
  }

  void compare_processing(Pair* pair) {
    report(pair);
    Processing processing{this, pair};
    processing.lively = chance(40);
    if (chance(30)) {
      EXPECT_EQ(trova_playlist_collection_sync_process(pair->library, nullptr, nullptr),
                0x90890001u);
    }
    if (chance(10)) return;  // leaves the report to the next processing or to the release
    g_calls.clear();
    const uint32_t code =
        trova_playlist_collection_sync_process(pair->library, on_difference, &processing);
    const Strings calls = std::exchange(g_calls, {});
    EXPECT_EQ(hex(code), hex(process(&processing)));
    EXPECT_EQ(calls, g_calls);
    EXPECT_EQ(processing.replayed, processing.steps.size());
    if (::testing::Test::HasFailure()) ADD_FAILURE() << "the library's calls:" << shown(processing);
    EXPECT_EQ(processing.nested_codes, processing.nested_model_codes);
    if (processing.released) {
      pair->library = nullptr;
      for (const ViewPair& view : views_) EXPECT_EQ(mock().objects().gdo_release(view.library), 0u);
      views_.clear();
    } else if (!processing.lively) {
      EXPECT_EQ(trova_playlist_collection_sync_process(pair->library, on_difference, &processing),
                0x9089000du);
    }
  }

  static std::string shown(const Processing& processing) {
    std::string text;
    for (const Step& step : processing.steps) {
      text += "\n'" + step.ident + "' " + std::to_string(step.status) + (step.stops ? " stop" : "");
      for (const Change& change : step.changes) {
        text += ", " + std::to_string(change.kind) + " '" + change.text + "'";
      }
    }
    return text;
  }

  Change random_step() {
    if (chance(50)) return random_interference(true);
    return {pick(std::vector<Change::Kind>{Change::report, Change::process, Change::nothing}),
            random_ident()};
  }

  // Most idents of the collection, some twice, and some new ones.
  void report(Pair* pair) {
    Strings idents;
    for (const uint32_t id : pair->model->idents.ids()) {
      const std::string ident = pair->model->idents.get(id);
      for (uint32_t n = chance(80) ? 1 : below(3); n > 0 && !ident.empty(); --n) {
        idents.push_back(ident);
      }
    }
    for (uint32_t n = below(4); n > 0; --n) idents.push_back(random_ident());
    std::shuffle(idents.begin(), idents.end(), engine());
    if (chance(15)) idents.clear();
    for (const std::string& ident : idents) {
      const Change report = {Change::report, ident};
      EXPECT_EQ(apply(report, pair->library), apply(report, pair));
    }
  }

  // ------------------------------------------------------------------------------ Views

  void look(Pair* pair) {
    std::string ident = random_ident();
    const std::vector<uint32_t> ids = pair->model->idents.ids();
    if (chance(90) && !ids.empty()) ident = pair->model->idents.get(pick(ids));
    if (ident.empty()) return;
    trova_gdo* view = nullptr;
    const uint32_t code =
        trova_playlist_collection_ident_get_gdo(pair->library, ident.c_str(), &view);
    const auto id = pair->model->idents.find(ident);
    EXPECT_EQ(hex(code), hex(id ? 0 : 0x10890003));
    if (id && view != nullptr) views_.push_back({view, model::View(*pair->model, *id)});
  }

  void compare_views(Pair* pair) {
    for (uint32_t n = below(8); n > 0; --n) {
      if (views_.size() < 3) look(pair);
      if (chance(20)) change(pair);
      read_views();
      if (chance(20) && !views_.empty()) {
        EXPECT_EQ(mock().objects().gdo_release(views_.back().library), 0u);
        views_.pop_back();
      }
    }
  }

  void read_views() {
    for (ViewPair& view : views_) {
      read(&view, chance(80) ? pick(kKeys) : pick(kDataKeys),
           pick(std::vector<uint32_t>{0, 1, 1, 1, 2}));
      if (chance(10)) set_locale(&view);
    }
  }

  void read(ViewPair* view, const std::string& key, uint32_t ordinal) {
    SCOPED_TRACE(key + " " + std::to_string(ordinal));
    void* self = nullptr;
    const trova_gdo_operations& operations = mock().operations(view->library, &self);
    mock().errors = {{0, "nothing", 0, 0}};
    g_calls.clear();
    const char* text = "untouched";
    const uint32_t code =
        mock().objects().gdo_get_value(view->library, key.c_str(), ordinal, &text);
    Strings calls = std::exchange(g_calls, {});
    std::string expected = "untouched";
    const uint32_t expected_code = view->model.get(key, ordinal, &expected);
    EXPECT_EQ(hex(code), hex(expected_code));
    view->texts.emplace_back(text, expected);
    for (const auto& [kept, was] : view->texts) EXPECT_EQ(kept, was);
    EXPECT_EQ(calls, g_calls);
    if (model::failed(code)) {
      EXPECT_EQ(mock().errors.back(),
                (trova_mock::ErrorCall{435, "playlist_api_coll_gdo", code, 0}));
    }
    uint32_t count = 9;
    EXPECT_EQ(operations.value_count(self, key.c_str(), &count), 0u);
    EXPECT_EQ(count, view->model.get(key, 1, &expected) == 0 ? 1u : 0u);
    EXPECT_EQ(operations.child_count(self, key.c_str(), &count), 0u);
    EXPECT_EQ(count, 0u);
    trova_gdo* child = nullptr;
    EXPECT_EQ(operations.get_child(self, key.c_str(), 1, 0, &child), 0x10890003u);
    EXPECT_EQ(operations.get_context(self, &text), 0u);
    EXPECT_STREQ(text, "trova_ctx_extdata");
    EXPECT_EQ(operations.addref(self), self);
  }

  // Sets a loaded locale, unless the service fails.
  void set_locale(ViewPair* view) {
    const auto& service = mock().list_service();
    void* self = nullptr;
    const trova_gdo_operations& operations = mock().operations(view->library, &self);
    trova_locale* locale = nullptr;
    EXPECT_EQ(operations.get_locale(self, &locale), 0u);
    // Sets its own locale again, or none.
    EXPECT_EQ(chance(30) ? operations.set_locale(self, locale) : 0, 0u);
    if (mock().lists.locales.empty()) return;
    EXPECT_EQ(service.locale_load(mock().lists.locales.begin()->first.c_str(), &locale), 0u);
    const bool refuses = chance(30);
    if (refuses) mock().fail_slot("list.locale_addref", 1, 0x90100005);
    EXPECT_EQ(operations.set_locale(self, locale) != 0, refuses);
    mock().clear_faults();
    trova_locale* found = nullptr;
    EXPECT_EQ(operations.get_locale(self, &found), 0u);
    EXPECT_EQ(found, refuses ? nullptr : locale);
    EXPECT_EQ(service.locale_release(locale), 0u);
    view->model.has_locale = !refuses;
  }

  std::vector<ViewPair> views_;
};

}  // namespace

TEST(ModelRandom, library_and_model_read_and_write_alike) {
  for_each_seed(160, 1, [](uint32_t seed) { World(seed).run(); });
}
