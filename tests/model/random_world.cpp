// random_world: the draws of the random programs, and their changes of collections.
#include "random_world.h"

#include <cstdlib>
#include <iterator>
#include <sstream>

#include "playlist_memories.h"

using trova_mock::mock;
using trova_mock::Object;

// Replaces the state of RAND without a seed by one that tests can reset (-Wl,--wrap).
extern "C" uint32_t __real__Z16vrel_random_randPj(uint32_t* state);
extern "C" uint32_t __wrap__Z16vrel_random_randPj(uint32_t* state);
uint32_t g_library_random;
uint32_t __wrap__Z16vrel_random_randPj(uint32_t* state) {
  return __real__Z16vrel_random_randPj(state == nullptr ? &g_library_random : state);
}

Strings g_transcript;

Strings words(const char* text) {
  std::istringstream from(text);
  return Strings(std::istream_iterator<std::string>(from), {});
}

void for_each_seed(uint32_t cases, uint32_t cases_per_world,
                   const std::function<void(uint32_t seed)>& run_world) {
  const auto setting = [](const char* name, uint32_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
  };
  uint32_t seed = setting("TROVA_MODEL_SEED", 1);
  for (uint32_t left = setting("TROVA_MODEL_CASES", cases); left >= cases_per_world;
       left -= cases_per_world, ++seed) {
    Strings transcripts[2];
    for (const bool memories : {true, false}) {
      SCOPED_TRACE("TROVA_MODEL_SEED=" + std::to_string(seed) +
                   (memories ? "" : ", without memories"));
      g_playlist_memories = memories;
      g_library_random = model::g_random = seed;
      g_transcript.clear();
      run_world(seed);
      if (::testing::Test::HasFailure()) return;
      transcripts[memories] = std::exchange(g_transcript, {});
    }
    g_playlist_memories = true;
    for (size_t i = 0; transcripts[0] != transcripts[1]; ++i) {
      if (i < transcripts[0].size() && transcripts[0][i] == transcripts[1].at(i)) continue;
      FAIL() << "TROVA_MODEL_SEED=" << seed << "\nwith memories: " << transcripts[1].at(i)
             << "\nwithout: " << transcripts[0].at(i);
    }
  }
}

// -------------------------------------------------------------------------------- Changes

std::string apply(const Change& change, trova_playlist_collection* library) {
  const char* const text = change.text.c_str();
  trova_gdo* const object = change.object == nullptr ? nullptr : change.object->get();
  if (change.kind == Change::add) {
    return hex(trova_playlist_collection_ident_add(library, text, object));
  }
  if (change.kind == Change::drop) {
    return hex(trova_playlist_collection_ident_remove(library, text));
  }
  if (change.kind == Change::report) {
    return hex(trova_playlist_collection_sync_ident_add(library, text));
  }
  if (change.kind == Change::generate) {
    const auto infos = mock().infos;
    trova_playlist_results* results = nullptr;
    std::string answer =
        hex(trova_playlist_generate_playlist(nullptr, text, library, object, &results));
    mock().infos = infos;
    for (const std::string& ident : take_idents(results)) answer += " " + ident;
    return answer;
  }
  if (change.kind == Change::look) {
    trova_gdo* view = nullptr;
    const char* value = "";
    if (trova_playlist_collection_ident_get_gdo(library, text, &view) != 0) return "no view";
    const uint32_t code = mock().objects().gdo_get_value(view, change.key.c_str(), 1, &value);
    const std::string answer = hex(code) + " " + value;
    EXPECT_EQ(mock().objects().gdo_release(view), 0u);
    return answer;
  }
  return hex(change.kind == Change::release ? trova_playlist_collection_release(library) : 0);
}

std::string apply(const Change& change, Pair* pair) {
  model::Collection& collection = *pair->model;
  if (change.kind == Change::add) collection.add(change.text, change.object->data());
  if (change.kind == Change::report) pair->report.add(collection, change.text);
  if (change.kind == Change::drop) return hex(model::map_error(collection.remove(change.text)));
  if (change.kind == Change::generate) {
    try {
      std::string answer = hex(0);
      const auto* const seed = change.object == nullptr ? nullptr : &change.object->data();
      for (const std::string& ident : model::generate(change.text, collection, seed).idents) {
        answer += " " + ident;
      }
      return answer;
    } catch (const model::Failure& failure) {
      return hex(model::map_error(failure.code));
    }
  }
  if (change.kind == Change::look) {
    const auto id = collection.idents.find(change.text);
    if (!id) return "no view";
    std::string value;
    const uint32_t code = model::View(collection, *id).get(change.key, 1, &value);
    return hex(code) + " " + value;
  }
  return hex(0);
}

// ---------------------------------------------------------------------------------- World

static const Strings kListKeys = words(
    "_sdkmgr_val_list_genre_id _sdkmgr_val_list_artist_type_id _sdkmgr_val_list_era_id "
    "_sdkmgr_val_list_origin_id");
static const Strings kTypes = words("genres artist_types eras origins moods tempos");
static const Strings kCorrelates = words("genre arttype era origin mood");
static const Strings kCustoms = words("mx_num MX_Text mx_both mx_wild mx_half MX_NUM");
static const Strings kTexts = {"red", "reed", "rad", "blue", "bad", "so", "x", ""};
static const Strings kNames = {"Kind of Blue", "KIND of blue",      "Kind of",
                               "Bj\xc3\xb6rk", "bj\xc3\x96RK",      "a",
                               "\xe2\x99\xab", "\xf0\x9f\x8e\xb5 A"};
static const std::vector<uint32_t> kIntegers = {
    0,     1,     126,   127,        128,     254,        255,        256,
    32768, 65535, 65536, 0x11111111, 1 << 30, 0x7fffffff, 0x80000000, 0xffffffff};

RandomWorld::RandomWorld(uint32_t seed, const Size& size) : Dice(seed), size_(size) {
  mock().reset();
  fill_lists();
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  mock().keeps_trace = false;
  registry_ = registered_attributes();
  register_customs();
  for (int n = 0; n < 6; ++n) profiles_.push_back(random_profile());
}

RandomWorld::~RandomWorld() {
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  EXPECT_EQ(g_open_contexts, 0);
  mock().expect_clean();
}

void RandomWorld::fill_lists() {
  auto& lists = mock().lists;
  for (const char* name : {"trova_locale_playlist", "trova_locale_music"}) {
    if (chance(60)) lists.locales[name] = "eng";
  }
  for (const std::string& type : kTypes) {
    auto& list = lists.lists["trova_list_type_" + type];
    for (uint32_t id = 1; id <= 12; ++id) {
      const uint32_t lower = 1950 + below(50);
      list.add(id, id <= 3 ? 0 : 1 + below(id <= 7 ? 3 : 7), lower, lower + below(12));
    }
    if (chance(20)) list.broken[1 + below(size_.ids)] = chance(50) ? 0x90100005 : 0x10100006;
    if (chance(12)) lists.lists.erase("trova_list_type_" + type);
  }
  for (const std::string& name : kCorrelates) {
    auto& table = lists.correlates["trova_correlates_" + name];
    table.ids = name == "mood" ? size_.moods : size_.ids;
    table.mix = below(1000);
    if (chance(12)) lists.correlates.erase("trova_correlates_" + name);
  }
}

void RandomWorld::register_customs() {
  for (int i = 0; i < kBehaviours - static_cast<int>(below(2)); ++i) {
    Behaviour& custom = g_behaviours[i];
    custom = Behaviour{kCustoms[static_cast<size_t>(i)]};
    custom.wild = custom.name == "mx_wild";
    custom.past_end = chance(50) ? 0x10890003 : 0x9089000b;
    if (i == 2) std::erase_if(custom.operators, [&](uint32_t) { return chance(10); });
    for (bool* able : {&custom.scores_integers, &custom.scores_strings, &custom.renders_integers,
                       &custom.renders_strings}) {
      *able = i != 4 || chance(50);
    }
    const trova_playlist_attribute_provider provider = provider_of(i);
    EXPECT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
    registry_.emplace_back(custom);
  }
}

std::string RandomWorld::text_of(uint32_t length) {
  std::string text;
  while (text.size() < length) {
    const auto letter = static_cast<char>('a' + below(26));
    text += text.size() + 1 < length && chance(5) ? std::string("\xc3") + "\x82\x95\xa9"[below(3)]
                                                  : std::string(1, letter);
  }
  return text;
}

// Some have the same hash, with the same length or another.
std::string RandomWorld::random_ident() {
  if (!size_.single && chance(10)) return pick(words("aB b! yfgiz nrskhc \xc3\xa9"));
  if (size_.idents != 0) return "track " + std::to_string(below(size_.idents));
  if (chance(2))
    return text_of(pick(std::vector<uint32_t>{31, 32, 255, 256, 65535, 65536}) - below(2));
  return std::string(1 + below(9), static_cast<char>('a' + below(4)));
}

std::string RandomWorld::random_name() {
  if (size_.names == 0 || chance(20)) return pick(kNames);
  return pick(Strings{"artist ", "Artist ", "the "}) + std::to_string(below(size_.names));
}

std::string RandomWorld::random_id() {
  return chance(10) ? pick({"abc", "-3", "0", " 7", "1970"}) : std::to_string(1 + below(size_.ids));
}

std::string RandomWorld::random_profile() {
  if (chance(50) && profiles_.size() > 5) return pick(profiles_);
  if (chance(3)) return pick({"", "x", "12", ",:,", "7: 5;8:9", "3:4294967295,4:99999999999"});
  if (chance(25)) return std::to_string(1 + below(size_.moods)) + pick({":100", ":50"});
  std::string text;
  for (uint32_t n = chance(20) ? below(20) : 1 + below(5); n > 0; --n) {
    const uint32_t weight = chance(15) ? 0 : chance(30) ? 100 : below(100);
    text += std::to_string(1 + below(size_.moods)) + ":" + std::to_string(weight) + ",";
  }
  if (!text.empty() && chance(90)) text.pop_back();
  return text;
}

void RandomWorld::describe(Object* object) {
  for (const std::string& key : kListKeys) {
    if (chance(60)) object->value(key, random_id());
  }
  if (chance(50))
    object->value("_sdkmgr_val_list_tempo_value",
                  chance(80) ? std::to_string(30 + below(300)) : random_id());
  if (chance(50)) object->value("trova_val_artist", random_name());
  if (chance(50)) object->value("trova_val_title_display", random_name());
  const bool has_profile = chance(50);
  if (has_profile) object->value("_sdkmgr_val_list_mood_data", random_profile());
  if (chance(50) && !(size_.single && has_profile)) {
    object->value("_sdkmgr_val_list_mood_id", std::to_string(1 + below(size_.moods)));
  }
}

std::shared_ptr<Object> RandomWorld::random_object() {
  auto object = std::make_shared<Object>(
      size_.single ? "trova_ctx_track"
                   : pick(words("trova_ctx_track trova_ctx_album trova_ctx_extdata")));
  describe(object.get());
  Object track("trova_ctx_track");
  describe(&track);
  if (chance(50)) object->child("trova_ctx_track!matching", track);
  for (uint32_t n = below(size_.single ? 2 : 4); n > 0; --n) {
    Object album("trova_ctx_album");
    if (chance(80)) album.value("trova_val_title_display", random_name());
    object->child("trova_ctx_album!", album);
  }
  for (const Behaviour& custom : g_behaviours) {
    if (!size_.single && chance(4))
      object->value(custom.key(), pick({"0x9089000b", "0x107f01a4", "0x10550003"}));
    const bool is_many = size_.idents == 0 && many_left_ > 0 && chance(2);
    if (is_many) --many_left_;
    const uint32_t most = is_many ? 250 : size_.single ? 1 : 3;
    for (uint32_t n = is_many ? most : below(most + 1); n > 0; --n) {
      const uint32_t number = chance(5) ? Dice::pick(kIntegers) : below(size_.numbers);
      object->value(custom.key(), chance(50)   ? "#" + std::to_string(number)
                                  : chance(80) ? pick(kTexts)
                                               : text_of(1 + below(chance(5) ? 300 : 9)));
      if (size_.single) break;
    }
  }
  return object;
}

Change RandomWorld::random_change() {
  if (!size_.single && chance(20)) return {Change::drop, random_ident()};
  return {Change::add, random_ident(), random_object()};
}

Change RandomWorld::random_interference(bool may_release) {
  if (may_release && chance(4)) return {Change::release};
  if (chance(40)) return random_change();
  if (chance(40)) return {Change::generate, random_statement(), random_object()};
  if (chance(60)) {
    auto seed = std::make_shared<Object>("trova_ctx_track");
    seed->value("_sdkmgr_val_list_mood_data", random_profile());
    return {Change::generate, "genpl where qx_mood like seed", seed};
  }
  return {Change::look, random_ident(), nullptr,
          pick(words("mx_num mx_text mx_both mx_wild qx_artistname QX_Genre trova_val_temposub "
                     "_sdkmgr_val_list_mood_data"))};
}

RandomWorld::Plan RandomWorld::random_plan(bool may_release) {
  Plan plan;
  if (size_.idents > 50) return plan;  // the model may not know the order of calls
  const uint32_t reach = chance(50) ? 12 : 100;
  if (chance(8)) {
    const std::vector<uint32_t> codes = {0x90550033, 0x10550033, 0x1089003c, 0x908901a4};
    plan.incidents.failing_call = below(reach);
    plan.incidents.code = pick(codes);
  }
  for (uint32_t n = chance(20) ? 1 + below(3) : 0; n > 0; --n) {
    plan.changes[below(reach)] = random_interference(may_release);
  }
  return plan;
}

void RandomWorld::compare_contents(const Pair& pair) {
  Strings found;
  Strings expected;
  const char* text = nullptr;
  uint32_t count = 0;
  EXPECT_EQ(trova_playlist_collection_ident_count(pair.library, &count), 0u);
  for (uint32_t i = 0; i < count; ++i) {
    EXPECT_EQ(trova_playlist_collection_ident_enum(pair.library, i, &text), 0u);
    found.push_back(text);
  }
  EXPECT_EQ(trova_playlist_collection_ident_enum(pair.library, count, &text), 0x90890361u);
  EXPECT_EQ(trova_playlist_collection_attributes_count(pair.library, &count), 0u);
  for (uint32_t i = 0; i < count; ++i) {
    EXPECT_EQ(trova_playlist_collection_attributes_enum(pair.library, i, &text), 0u);
    found.push_back(text);
  }
  EXPECT_EQ(trova_playlist_collection_attributes_enum(pair.library, count, &text), 0x90890361u);
  for (const uint32_t id : pair.model->idents.ids()) {
    expected.push_back(pair.model->idents.get(id));
  }
  for (const auto& attribute : pair.model->attributes) expected.push_back(attribute->name);
  EXPECT_EQ(found, expected);
}
