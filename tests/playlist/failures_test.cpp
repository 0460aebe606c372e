// failures_test: every exported function with each of its allocations failing once, and each of its
// calls of a service failing and warning once: the right code, nothing leaked, the collection as
// before or as after the call, and the next call works.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <set>

#include "behaviour.h"
#include "trova_mock.h"
#include "trova_playlist.h"

using trova_mock::kNotFound;
using trova_mock::mock;
using trova_mock::Object;
using Strings = std::vector<std::string>;

namespace {

constexpr uint32_t kDiskFailure = 0x90100005;
const char kGenreKey[] = "_sdkmgr_val_list_genre_id";
const char kUnset[] = "unset";
constexpr uint32_t kFew = 12;
// Beyond so many entries it depends on the memory at hand which of equals come first.
constexpr uint32_t kFixedTies = 1024;

void add_provider(int i) {
  g_behaviours[i] = Behaviour{std::string("qx_") + "abc"[i]};
  const trova_playlist_attribute_provider provider = provider_of(i);
  (void)trova_playlist_register_attribute_provider(&provider);
}

Strings idents_of(trova_playlist_results* results) {
  Strings idents;
  const char* ident = nullptr;
  for (uint32_t i = 0; trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
    idents.push_back(ident);
  }
  return idents;
}

void hear(void* heard, trova_playlist_collection*, const char* ident, uint32_t status, uint8_t*) {
  static_cast<Strings*>(heard)->push_back(std::to_string(status) + " " + ident);
}

// Releases a handle for good: where the call cannot look at it, nothing happens and it may be tried
// again.
template <class T>
uint32_t release(uint32_t (*release_handle)(T*), T** handle) {
  const std::string held = mock().usage();
  const uint32_t code = release_handle(*handle);
  if (mock().usage() != held) *handle = nullptr;
  return code;
}

// A library with a collection, its record in the store, a playlist, and what the calls hand out.
// All of it is made anew for each call that is to fail.
class World {
 public:
  explicit World(uint32_t tracks, bool runs = true) : tracks_(tracks) {
    mock().reset();
    mock().has_storage = true;
    mock().lists.locales["trova_locale_music"] = "eng";
    mock().lists.lists["trova_list_type_genres"].add(1, 0).add(2, 1).add(3, 2);
    mock().lists.correlates["trova_correlates_genre"] = {{2, {{2, 1000}, {3, 600}}}};
    if (runs) start();
  }

  ~World() {
    mock().clear_faults();
    for (auto** each : {&results, &playlist}) (void)release(trova_playlist_results_release, each);
    EXPECT_EQ(mock().objects().gdo_release(object), 0u);
    for (auto** each : {&made, &collection}) {
      (void)release(trova_playlist_collection_release, each);
    }
    while (trova_playlist_initchecks() != 0) EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(g_open_contexts, 0);
    mock().expect_clean();
  }

  // Everything that can be asked about the library and the collection, a fact on each line. Asking
  // may put things in another order, so this is the last that is done to a world.
  Strings facts() {
    Strings facts;
    const auto say = [&](const std::string& fact) { facts.push_back(fact); };
    say("users " + std::to_string(trova_playlist_initchecks()));
    for (const auto& [name, store] : mock().stores) {
      for (const auto& record : store.records) say("stored " + record->at("coll_name"));
    }
    const char* fact = nullptr;
    for (uint32_t i = 0; trova_playlist_attributes_enum(i, &fact) == 0; ++i) {
      say(std::string("attribute ") + fact);
    }
    if (collection == nullptr) return facts;
    EXPECT_EQ(trova_playlist_collection_get_name(collection, &fact), 0u);
    say(std::string("name ") + fact);
    tell_idents(say);
    tell_playlists(say);
    Strings heard;
    if (trova_playlist_collection_sync_process(collection, hear, &heard) != 0) say("no report");
    for (const std::string& each : heard) say("differs: " + each);
    std::sort(facts.begin(), facts.end());
    return facts;
  }

  // What a call handed out.
  std::string handed_out() const {
    std::string all = std::to_string(number) + " " + text;
    Strings idents = idents_of(results);
    all += " " + std::to_string(idents.size());
    if (tracks_ > kFixedTies) idents.clear();
    if (shuffled) std::sort(idents.begin(), idents.end());
    for (const std::string& ident : idents) all += " " + ident;
    uint32_t size = 0;
    if (made != nullptr) (void)trova_playlist_collection_serialize_size(made, &size);
    return all + " " + std::to_string(size) + (object == nullptr ? "" : " object");
  }

  trova_playlist_collection* collection = nullptr;
  trova_playlist_results* playlist = nullptr;
  std::string bytes;
  Object track{"trova_ctx_track"};

  // Handed out.
  uint32_t number = 77;
  uint8_t byte = 77;
  const char* text = kUnset;
  trova_playlist_collection* made = nullptr;
  trova_playlist_results* results = nullptr;
  trova_gdo* object = nullptr;
  bool shuffled = false;  // the results are in no order of their own

 private:
  template <class Say>
  void tell_idents(Say say) {
    uint32_t count = 0;
    const char* ident = nullptr;
    EXPECT_EQ(trova_playlist_collection_ident_count(collection, &count), 0u);
    for (uint32_t i = 0; i < count; ++i) {
      EXPECT_EQ(trova_playlist_collection_ident_enum(collection, i, &ident), 0u);
      std::string fact = std::string("ident ") + (*ident == '\0' ? "new" : ident);
      if (*ident != '\0' && (count < 100 || i % 64 == 0)) fact += values_of(ident);
      say(fact);
    }
  }

  std::string values_of(const char* ident) {
    std::string values;
    trova_gdo* view = nullptr;
    EXPECT_EQ(trova_playlist_collection_ident_get_gdo(collection, ident, &view), 0u);
    for (const char* key : {kGenreKey, "QX_ArtistName", "qx_a", "qx_b"}) {
      const char* value = "";
      (void)mock().objects().gdo_get_value(view, key, 1, &value);
      values += std::string(" | ") + value;
    }
    EXPECT_EQ(mock().objects().gdo_release(view), 0u);
    return values;
  }

  template <class Say>
  void tell_playlists(Say say) {
    for (const char* statement : {"genpl where qx_genre = 2", "genpl where qx_artistname = 'John'",
                                  "genpl where qx_a > 2 or qx_b = 'red'"}) {
      trova_playlist_results* found = nullptr;
      EXPECT_EQ(trova_playlist_generate_playlist(nullptr, statement, collection, nullptr, &found),
                0u);
      for (const std::string& ident : idents_of(found)) {
        say(std::string(statement) + ": " + (ident.empty() ? "new" : ident));
      }
      EXPECT_EQ(trova_playlist_results_release(found), 0u);
    }
  }

  void start() {
    ASSERT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    for (int i = 0; i < 2; ++i) add_provider(i);
    track.value(kGenreKey, "2").value("trova_val_artist", "John").value("value of qx_a", "#4");
    track.value("value of qx_b", "red").value("_sdkmgr_val_list_mood_data", "5:100");
    // Filling a large collection takes long, so that its bytes are kept.
    static std::map<uint32_t, std::string> kept;
    if (kept.count(tracks_) == 0) {
      fill();
      kept[tracks_] = bytes;
    }
    bytes = kept[tracks_];
    ASSERT_EQ(trova_playlist_collection_deserialize(bytes.data(),
                                                    static_cast<uint32_t>(bytes.size()), &made),
              0u);
    // The handle manager only knows one from the store.
    ASSERT_EQ(trova_playlist_storage_store_collection(made), 0u);
    ASSERT_EQ(trova_playlist_collection_release(made), 0u);
    made = nullptr;
    ASSERT_EQ(trova_playlist_storage_load_collection("world", &collection), 0u);
    for (const char* ident : {"late", "later"}) add(ident, 3);
    ASSERT_EQ(trova_playlist_generate_playlist(nullptr, "genpl limit 3 results", collection,
                                               nullptr, &playlist),
              0u);
  }

  void fill() {
    ASSERT_EQ(trova_playlist_collection_create("world", &collection), 0u);
    for (uint32_t i = 0; i < tracks_; ++i) add("t" + std::to_string(i), i);
    ASSERT_EQ(trova_playlist_storage_store_collection(collection), 0u);
    bytes = mock().stores.begin()->second.records[0]->at("coll_data");
    ASSERT_EQ(trova_playlist_collection_release(collection), 0u);
    collection = nullptr;
  }

  void add(const std::string& ident, uint32_t i) {
    Object data("trova_ctx_track");
    data.value(kGenreKey, std::to_string(i % 3 + 1))
        .value("value of qx_a", "#" + std::to_string(i));
    if (i % 2 == 0) data.value("trova_val_artist", i % 4 == 0 ? "John" : "Ann " + ident);
    if (i % 5 == 0) data.value("value of qx_b", i % 10 == 0 ? "red" : "blue");
    EXPECT_EQ(trova_playlist_collection_ident_add(collection, ident.c_str(), data.get()), 0u);
  }

  const uint32_t tracks_;
};

// ----------------------------------------------------------------------------------- Calls

// What a failed call may have changed.
enum class Touches { kNothing, kOneIdent, kAll };

struct Call {
  const char* function;
  uint32_t (*call)(World&);
  // Without one of its allocations: the code, or 0 for a call that may do without. Those that may
  // do without answer and leave what they would have with it, but for what they touch.
  bool may_do_without = false;
  Touches touches = Touches::kNothing;
  uint32_t failure = PLERR_NoMemory;

  // Start and stop are called on a library that is not running.
  bool stopped() const { return failure == PLERR_InitFailed; }
};

template <const char* const& statement>
uint32_t generate(World& w) {
  return trova_playlist_generate_playlist(mock().user(), statement, w.collection, w.track.get(),
                                          &w.results);
}

const char* const kByOwn = "genpl where qx_a > 1 order qx_a like 3 limit 5 results, 2 per qx_b";
const char* const kByLists =
    "genpl where (qx_genre like seed) >= 500 or qx_artistname = 'John' "
    "order (qx_genre like seed) * 2 + qx_era like seed + rand(9, 4) limit 7 results, 4 per "
    "qx_genre";
const char* const kByAnd = "genpl where qx_genre = 2 and qx_a != 3 and qx_artistname like 'Ann'";
const char* const kAll = "genpl order (qx_artistname = 'John') + 1";
const char* const kBroken = "genpl where qx_a = 1 order nothing";
const char* const kRefused = "genpl where qx_a = '0x90890003'";

const Call kCalls[] = {
    {"trova_playlist_initialize",
     [](World&) { return trova_playlist_initialize(mock().manager()); }, true, Touches::kAll,
     PLERR_InitFailed},
    {"trova_playlist_shutdown",
     [](World& w) {
       if (trova_playlist_initchecks() == 0) (void)trova_playlist_initialize(mock().manager());
       if (trova_playlist_initchecks() == 0) return PLERR_InitFailed;
       return w.number = 1, trova_playlist_shutdown();
     },
     true, Touches::kAll, PLERR_InitFailed},
    {"trova_playlist_initchecks",
     [](World& w) { return w.number = trova_playlist_initchecks(), 0u; }},
    {"trova_playlist_get_version",
     [](World& w) { return w.text = trova_playlist_get_version(), 0u; }},
    {"trova_playlist_get_build_date",
     [](World& w) { return w.text = trova_playlist_get_build_date(), 0u; }},
    {"trova_playlist_attributes_count",
     [](World& w) { return trova_playlist_attributes_count(&w.number); }},
    {"trova_playlist_attributes_enum",
     [](World& w) { return trova_playlist_attributes_enum(4, &w.text); }},
    {"trova_playlist_register_attribute_provider",
     [](World&) {
       g_behaviours[2] = Behaviour{"qx_c"};
       const trova_playlist_attribute_provider provider = provider_of(2);
       return trova_playlist_register_attribute_provider(&provider);
     }},
    {"trova_playlist_collection_create",
     [](World& w) { return trova_playlist_collection_create("made", &w.made); }, true,
     Touches::kAll},
    {"trova_playlist_collection_release",
     [](World& w) {
       return w.collection == nullptr ? 0u
                                      : release(trova_playlist_collection_release, &w.collection);
     },
     false, Touches::kAll},
    {"trova_playlist_collection_get_name",
     [](World& w) { return trova_playlist_collection_get_name(w.collection, &w.text); }},
    {"trova_playlist_collection_update_name",
     [](World& w) { return trova_playlist_collection_update_name(w.collection, "renamed"); }},
    {"trova_playlist_collection_attributes_count",
     [](World& w) { return trova_playlist_collection_attributes_count(w.collection, &w.number); }},
    {"trova_playlist_collection_attributes_enum",
     [](World& w) { return trova_playlist_collection_attributes_enum(w.collection, 9, &w.text); }},
    {"trova_playlist_collection_ident_add",
     [](World& w) {
       return trova_playlist_collection_ident_add(w.collection, "new", w.track.get());
     },
     true, Touches::kOneIdent},
    {"trova_playlist_collection_ident_add",
     [](World& w) {
       Object album("trova_ctx_album");
       album.value(kGenreKey, "3").child("trova_ctx_track!matching", w.track);
       return trova_playlist_collection_ident_add(w.collection, "new", album.get());
     },
     true, Touches::kOneIdent},
    {"trova_playlist_collection_ident_exists",
     [](World& w) {
       const uint32_t code = trova_playlist_collection_ident_exists(w.collection, "t3", &w.byte);
       return w.number = w.byte, code;
     }},
    {"trova_playlist_collection_ident_count",
     [](World& w) { return trova_playlist_collection_ident_count(w.collection, &w.number); }},
    {"trova_playlist_collection_ident_enum",
     [](World& w) { return trova_playlist_collection_ident_enum(w.collection, 5, &w.text); }},
    {"trova_playlist_collection_ident_remove",
     [](World& w) { return trova_playlist_collection_ident_remove(w.collection, "t3"); }, true,
     Touches::kOneIdent},
    {"trova_playlist_collection_ident_get_gdo",
     [](World& w) {
       return trova_playlist_collection_ident_get_gdo(w.collection, "t3", &w.object);
     }},
    {"trova_playlist_collection_ident_get_gdo",
     [](World& w) {
       trova_gdo* object = nullptr;
       uint32_t code = trova_playlist_collection_ident_get_gdo(w.collection, "t3", &object);
       if (code != 0) return code;
       void* view = nullptr;
       const trova_gdo_operations& reads = mock().operations(object, &view);
       const char* read = nullptr;
       for (const char* key : {"QX_Genre", kGenreKey, "qx_a"}) {
         if (code == 0) code = reads.get_value(view, key, 1, &read);
       }
       (void)mock().objects().gdo_release(object);
       return code;
     }},
    {"trova_playlist_collection_serialize_size",
     [](World& w) { return trova_playlist_collection_serialize_size(w.collection, &w.number); }},
    {"trova_playlist_collection_serialize",
     [](World& w) {
       std::string bytes(2 * w.bytes.size() + 4096, 'x');
       auto size = static_cast<uint32_t>(bytes.size());
       const uint32_t code = trova_playlist_collection_serialize(w.collection, bytes.data(), &size);
       if (code == 0) w.number = size;
       return code;
     }},
    {"trova_playlist_collection_deserialize",
     [](World& w) {
       return trova_playlist_collection_deserialize(w.bytes.data(),
                                                    static_cast<uint32_t>(w.bytes.size()), &w.made);
     },
     true},
    {"trova_playlist_storage_store_collection",
     [](World& w) { return trova_playlist_storage_store_collection(w.collection); }},
    {"trova_playlist_storage_store_collection",
     [](World& w) {
       (void)trova_playlist_collection_update_name(w.collection, "renamed");
       return trova_playlist_storage_store_collection(w.collection);
     },
     true, Touches::kAll},
    {"trova_playlist_storage_load_collection",
     [](World& w) { return trova_playlist_storage_load_collection("world", &w.made); }, true},
    {"trova_playlist_storage_count_collections",
     [](World& w) { return trova_playlist_storage_count_collections(&w.number); }},
    {"trova_playlist_storage_enum_collections",
     [](World&) {
       char name[8] = "";
       const uint32_t code = trova_playlist_storage_enum_collections(0, name, sizeof name);
       EXPECT_STREQ(name, code == 0 ? "world" : "");
       return code;
     }},
    {"trova_playlist_storage_remove_collection",
     [](World&) {
       const bool held = !mock().stores["trova_collection.store"].records.empty();
       return held ? trova_playlist_storage_remove_collection("world") : 0u;
     }},
    {"trova_playlist_collection_sync_ident_add",
     [](World& w) { return trova_playlist_collection_sync_ident_add(w.collection, "fresh"); },
     false, Touches::kAll},
    {"trova_playlist_collection_sync_process",
     [](World& w) {
       uint32_t code = trova_playlist_collection_sync_ident_add(w.collection, "fresh");
       Strings heard;
       if (code == 0) code = trova_playlist_collection_sync_process(w.collection, hear, &heard);
       if (code == 0) w.number = static_cast<uint32_t>(heard.size());
       return code;
     },
     true, Touches::kAll},
    {"trova_playlist_statement_validate",
     [](World& w) {
       const uint32_t code = trova_playlist_statement_validate(kByLists, w.collection, &w.byte);
       return w.number = w.byte, code;
     }},
    {"trova_playlist_generate_playlist", generate<kByOwn>, true},
    {"trova_playlist_generate_playlist", generate<kByLists>, true},
    {"trova_playlist_generate_playlist", generate<kByAnd>, true},
    {"trova_playlist_generate_playlist", generate<kAll>, true},
    {"trova_playlist_generate_playlist", generate<kBroken>, true},
    {"trova_playlist_generate_playlist", generate<kRefused>, true},
    {"trova_playlist_generate_morelikethis",
     [](World& w) {
       w.shuffled = true;
       return trova_playlist_generate_morelikethis(mock().user(), w.collection, w.track.get(),
                                                   &w.results);
     },
     true},
    {"trova_playlist_results_count",
     [](World& w) { return trova_playlist_results_count(w.playlist, &w.number); }},
    {"trova_playlist_results_enum",
     [](World& w) { return trova_playlist_results_enum(w.playlist, 1, &w.text); }},
    {"trova_playlist_results_release",
     [](World& w) {
       return w.playlist == nullptr ? 0u : release(trova_playlist_results_release, &w.playlist);
     }},
};

// --------------------------------------------------------------------------------- Driving

struct Outcome {
  uint32_t code;
  std::string handed_out;
  Strings facts;
};

Outcome run(const Call& call, World& world) {
  const uint32_t code = call.call(world);
  mock().clear_faults();
  return {code, world.handed_out(), {}};
}

// What stays when one ident is left out of account, of which there may be more or less.
Strings without_touched(const Strings& facts, Touches touches) {
  Strings kept;
  if (touches == Touches::kAll) return kept;
  for (const std::string& fact : facts) {
    const bool touched = fact.find(" new") != std::string::npos || fact.find("ident t3 ") == 0 ||
                         fact.find(": t3") != std::string::npos || fact == "ident t3";
    if (touches == Touches::kNothing || !touched) kept.push_back(fact);
  }
  return kept;
}

struct Expected {
  Strings before;
  Outcome after;
  std::string nothing;  // handed out
};

Expected expect_of(const Call& call, uint32_t tracks) {
  Expected expected;
  {
    World world(tracks, !call.stopped());
    expected.nothing = world.handed_out();
    expected.before = world.facts();
  }
  World world(tracks, !call.stopped());
  expected.after = run(call, world);
  expected.after.facts = world.facts();
  return expected;
}

using Arm = std::function<void()>;

// Whether two worlds differ in nothing but what the call touches.
void expect_same(const Call& call, const Strings& found, const Strings& expected) {
  EXPECT_EQ(without_touched(found, call.touches), without_touched(expected, call.touches));
}

// What a failure leaves: nothing was handed out, and the call works when it is made again.
void expect_retry(const Call& call, const Expected& expected, World& world, const Outcome& failed) {
  EXPECT_EQ(failed.handed_out, expected.nothing);
  if (call.stopped()) {
    EXPECT_EQ(trova_playlist_initchecks(), 0u);
  }
  if (call.touches == Touches::kAll) return (void)world.facts();
  const Outcome again = run(call, world);
  EXPECT_EQ(again.code, expected.after.code) << "when it is called again";
  if (call.touches == Touches::kNothing) {
    EXPECT_EQ(again.handed_out, expected.after.handed_out) << "when it is called again";
  }
  expect_same(call, world.facts(), expected.after.facts);
}

// The same failure in another world, which is then looked at.
void expect_as_before(const Call& call, const Expected& expected, uint32_t tracks, const Arm& arm) {
  World world(tracks, !call.stopped());
  arm();
  (void)run(call, world);
  expect_same(call, world.facts(), expected.before);
}

// Runs a call with its n-th allocation failing; false when it has not so many.
bool fails_allocation(const Call& call, const Expected& expected, uint32_t tracks, unsigned n) {
  SCOPED_TRACE(std::string(call.function) + ", allocation " + std::to_string(n));
  const Arm arm = [n] { mock().fail_allocation(n); };
  {
    World world(tracks, !call.stopped());
    arm();
    const uint32_t code = call.call(world);
    const bool met = mock().allocation_failed();
    mock().clear_faults();
    if (!met) return false;
    const Outcome outcome = {code, world.handed_out(), {}};
    if (code == expected.after.code) {
      EXPECT_TRUE(call.may_do_without) << "said that all went well";
      if (call.touches == Touches::kNothing) {
        EXPECT_EQ(outcome.handed_out, expected.after.handed_out);
      }
      expect_same(call, world.facts(), expected.after.facts);
      return true;
    }
    EXPECT_EQ(hex(code), hex(call.failure));
    expect_retry(call, expected, world, outcome);
  }
  expect_as_before(call, expected, tracks, arm);
  return true;
}

void fails_slot(const Call& call, const Expected& expected, const std::string& slot, unsigned n,
                uint32_t answer) {
  SCOPED_TRACE(std::string(call.function) + ", " + slot + " call " + std::to_string(n) +
               " answers " + hex(answer));
  const Arm arm = [&] { mock().fail_slot(slot, n, answer); };
  {
    World world(kFew, !call.stopped());
    arm();
    const Outcome outcome = run(call, world);
    if (outcome.code == expected.after.code) return (void)world.facts();
    // Codes of others never come out as they are.
    EXPECT_EQ(outcome.code & 0x00ff0000u, 0x00890000u) << hex(outcome.code);
    expect_retry(call, expected, world, outcome);
  }
  expect_as_before(call, expected, kFew, arm);
}

// The names of the functions that the library exports.
std::set<std::string> exported() {
  std::set<std::string> names;
  std::ifstream file(TROVA_EXPORTS);
  for (std::string line; std::getline(file, line);) {
    const size_t at = line.find("trova_playlist_");
    const size_t end = line.find(';');
    if (at != std::string::npos && end != std::string::npos) {
      names.insert(line.substr(at, end - at));
    }
  }
  return names;
}

}  // namespace

TEST(Failures, every_exported_function_is_among_the_calls) {
  std::set<std::string> called;
  for (const Call& call : kCalls) called.insert(call.function);
  EXPECT_EQ(called, exported());
}

TEST(Failures, an_allocation_that_fails_is_answered_or_done_without) {
  unsigned total = 0;
  // The larger collection has pages, and indexes of several pages.
  for (const uint32_t tracks : {kFew, 1500u}) {
    for (const Call& call : kCalls) {
      const Expected expected = expect_of(call, tracks);
      unsigned n = 1;
      while (fails_allocation(call, expected, tracks, n)) ++n;
      total += n - 1;
    }
  }
  RecordProperty("allocations", static_cast<int>(total));
  EXPECT_GT(total, 500u);
}

TEST(Failures, a_service_that_fails_is_answered_or_done_without) {
  unsigned total = 0;
  for (const Call& call : kCalls) {
    const Expected expected = expect_of(call, kFew);
    std::map<std::string, unsigned> calls;
    {
      World world(kFew, !call.stopped());
      mock().calls.clear();
      (void)call.call(world);
      calls = mock().calls;
    }
    for (const auto& [slot, count] : calls) {
      for (unsigned n = 1; n <= count; ++n) {
        for (const uint32_t answer : {kDiskFailure, kNotFound}) {
          fails_slot(call, expected, slot, n, answer);
        }
        total += 2;
      }
    }
  }
  RecordProperty("slots", static_cast<int>(total));
  EXPECT_GT(total, 500u);
}

// Memory that does not come back fails all that is left of a call.
TEST(Failures, no_more_memory_at_all_leaves_nothing_behind) {
  for (const Call& call : kCalls) {
    for (unsigned n = 1; n < 60; n += 3) {
      SCOPED_TRACE(std::string(call.function) + ", from allocation " + std::to_string(n));
      World world(kFew, !call.stopped());
      mock().fail_allocation(n, true);
      (void)call.call(world);
      mock().clear_faults();
      (void)world.facts();
    }
  }
}
