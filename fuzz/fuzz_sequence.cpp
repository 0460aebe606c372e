// fuzz_sequence: the input is a program of calls of the exported functions, in any order, over
// several collections, playlists, views and stored collections, with handles that are live,
// released or of another kind, and with allocations that fail.
//
// A plain record of what every object holds is kept beside the library. After each call the code,
// what came out and what the objects hold must be as the headers say: a call that fails leaves
// things as they were, a handle that is not a live one of its kind is refused, results stay as they
// were made, a collection that is read back is the one that was written, a synchronisation tells
// exactly the difference. At the end everything is released and no block is left.
#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_library.h"
#include "fuzz_target.h"
#include "playlist_memories.h"

namespace {

constexpr uint32_t kBadHandle = TROVA_PLAYLIST_FAILURE | (TROVA_MANAGER_BAD_HANDLE & 0xffff);
constexpr int kMostCalls = 80;
constexpr size_t kMostObjects = 12;

const char* const kNames[] = {"one", "two", "three", "four words in it", "\xff"};
const char* const kKeys[] = {
    TROVA_VAL_GENRE_ID, TROVA_VAL_MOOD_DATA, TROVA_VAL_TEMPO, "QX_Genre",
    "qx_rating",        "QX_Note",           "qx_albumname",  "trova_val_list_genremeta",
    "trova_val_nothing"};

// Those before kFirstSeeded need no seed; what those before kFirstOrdered give does not depend on
// the order of equals.
const char* const kStatements[] = {
    "genpl",
    "genpl where qx_genre = 25000 or qx_era < 1975",
    "genpl where qx_artistname = 'miles davis'",
    "genpl where (qx_albumname like 'blue') >= 300 order qx_tempo like 120",
    "genpl where qx_tempo > 80 and qx_artistname like 'idir' > 0",
    "genpl where qx_origin like 1010 order (qx_mood like 100) + (qx_era like 1959)",
    "genpl order 3 * (qx_artisttype like 110) limit 3 results",
    "genpl order rand(100) limit 1 per qx_artistname, 6 results",
    "genpl where qx_albumname != 'arrival' limit 2 per qx_albumname",
    "genpl where qx_note = 'red' or qx_rating > 2",
    "genpl where qx_rating > 1000",
    "genpl where",
    "genpl where qx_mood like seed order qx_genre like seed",
    "genpl where qx_artistname like seed or qx_albumname = seed",
    "genpl order (qx_tempo like seed) + qx_era like seed limit 2 per qx_genre, 4 results",
};
constexpr uint32_t kFirstOrdered = 3;
constexpr uint32_t kFirstSeeded = 12;

const std::string kLongIdent(300, 'i');

std::string ident_of(uint32_t number) {
  return number % 16 == 15 ? kLongIdent : "ident " + std::to_string(number % 16);
}

// What a collection holds.
struct Content {
  // Every ident that it met: whether it has values, so was not removed.
  std::map<std::string, bool> idents = {};
  // False once it is not sure that all of its idents are found by their text.
  bool certain = true;

  bool has_removed() const {
    return std::any_of(idents.begin(), idents.end(), [](const auto& it) { return !it.second; });
  }
};

// Reported idents, by whether they were known at the time.
struct Report {
  bool started = false;
  bool certain = true;
  std::map<std::string, uint32_t> known = {};
  std::set<std::string> fresh = {};
};

struct Collection {
  trova_playlist_collection* handle;
  std::string name;
  Content content = {};
  Report report = {};
};
// Held by the application, and by playlists and views as in the library.
using CollectionRef = std::shared_ptr<Collection>;

struct Results {
  trova_playlist_results* handle;
  CollectionRef collection;
  std::vector<std::pair<const char*, std::string>> idents = {};
};

struct View {
  trova_gdo* handle;
  CollectionRef collection;
  uint32_t references = 1;
  std::vector<std::pair<const char*, std::string>> texts = {};
};

// The memory that a call is refused: its n-th allocation, or all from it on; or what goes beyond so
// many bytes more. 0: none.
struct Fault {
  uint32_t allocation = 0;
  bool stays = false;
  uint32_t limit = 0;
};

// What a handle is not.
struct Foreign {
  uint32_t magic = 0xdeadbeef;
  uint32_t rest[15] = {};
};

trova_manager_memory_stats memory_stats() {
  trova_manager_memory_stats stats = {};
  FUZZ_REQUIRE(trova_manager_memory_stats_get(&stats) == 0);
  return stats;
}

class Program {
 public:
  Program(const uint8_t* data, size_t size) : bytes_(data, size) {
    FUZZ_REQUIRE(trova_manager_user_create("somebody", &user_) == 0);
    fuzz_rewind_random();
  }

  ~Program() {
    while (!results_.empty()) release_results(0);
    while (!views_.empty()) release_view(0);
    while (!collections_.empty()) release_collection(0);
    char name[400];
    while (trova_playlist_storage_enum_collections(0, name, sizeof name) == 0) {
      FUZZ_REQUIRE(trova_playlist_storage_remove_collection(name) == 0);
    }
    FUZZ_REQUIRE(trova_manager_user_release(user_) == 0);
  }

  void run() {
    for (int i = 0; i < kMostCalls && !bytes_.empty(); ++i) step();
  }

 private:
  // ------------------------------------------------------------------------------- Faults

  // Calls the library with the fault that is due, if one is.
  template <class Call>
  uint32_t call(Call body) {
    const Fault fault = std::exchange(fault_, {});
    const trova_manager_memory_stats before = memory_stats();
    if (fault.limit != 0) (void)trova_manager_memory_limit_set(before.bytes_in_use + fault.limit);
    fuzz_fail_allocation(fault.allocation, fault.stays);
    const uint32_t code = body();
    faulted_ = fuzz_allocation_failed() || memory_stats().failures != before.failures;
    limited_ = fault.limit != 0;
    (void)trova_manager_memory_limit_set(0);
    return code;
  }

  // Whether a call did what it should. It may also have failed for want of memory.
  bool settled(uint32_t code, uint32_t expected = 0) const {
    if (code == expected) return code == 0;
    FUZZ_REQUIRE(faulted_);
    FUZZ_REQUIRE(code == PLERR_NoMemory ||
                 (limited_ && (code == PLERR_ManagerPkgB || code == PLERR_ListUnavailable)));
    return false;
  }

  // ------------------------------------------------------------------------------- Choices

  void step() {
    using Step = void (Program::*)();
    static constexpr Step kSteps[] = {&Program::create,
                                      &Program::release_some_collection,
                                      &Program::rename,
                                      &Program::add,
                                      &Program::add,
                                      &Program::add,
                                      &Program::remove,
                                      &Program::look_at_collection,
                                      &Program::make_view,
                                      &Program::read_view,
                                      &Program::release_some_view,
                                      &Program::generate,
                                      &Program::generate,
                                      &Program::more_like_this,
                                      &Program::look_at_results,
                                      &Program::release_some_results,
                                      &Program::write_and_read,
                                      &Program::read_damaged,
                                      &Program::report,
                                      &Program::report,
                                      &Program::process,
                                      &Program::store,
                                      &Program::load,
                                      &Program::look_at_store,
                                      &Program::remove_stored,
                                      &Program::use_bad_collection,
                                      &Program::use_bad_results,
                                      &Program::use_bad_object,
                                      &Program::fail_next,
                                      &Program::limit_next,
                                      &Program::validate,
                                      &Program::register_attributes,
                                      &Program::start_again,
                                      &Program::add_many};
    (this->*bytes_.pick(kSteps))();
  }

  template <class T>
  size_t some_index(const std::vector<T>& objects) {
    return bytes_.below(static_cast<uint32_t>(objects.size()));
  }

  CollectionRef some_collection() {
    if (collections_.empty()) {
      const Fault later = std::exchange(fault_, {});
      create();
      fault_ = later;
    }
    return collections_[some_index(collections_)];
  }

  // A data object to read from: one with values, or a view.
  trova_gdo* some_data(bool* out_has_values) {
    const auto& objects = fuzz_objects();
    const uint32_t number = bytes_.byte();
    *out_has_values = false;
    if (number >= 240 && !views_.empty()) return views_[number % views_.size()].handle;
    const size_t index = number % objects.size();
    *out_has_values = index + 2 < objects.size();
    return objects[index];
  }

  // --------------------------------------------------------------------------- Collections

  void adopt(trova_playlist_collection* handle, const std::string& name, const Content& content) {
    FUZZ_REQUIRE(handle != nullptr);
    collections_.emplace_back(new Collection{handle, name, content}, [this](Collection* unheld) {
      stale_.push_back(unheld->handle);
      delete unheld;
    });
    compare(*collections_.back());
  }

  void create() {
    if (collections_.size() >= kMostObjects) return;
    const char* const name = bytes_.pick(kNames);
    trova_playlist_collection* handle = nullptr;
    const uint32_t code = call([&] { return trova_playlist_collection_create(name, &handle); });
    if (!settled(code)) return FUZZ_REQUIRE(handle == nullptr);
    Content content;
    // For want of memory it may lack an attribute.
    content.certain = !faulted_;
    adopt(handle, name, content);
  }

  void release_some_collection() {
    if (collections_.empty()) return;
    release_collection(some_index(collections_));
  }

  void release_collection(size_t index) {
    const CollectionRef collection = collections_[index];
    collections_.erase(collections_.begin() + static_cast<ptrdiff_t>(index));
    FUZZ_REQUIRE(trova_playlist_collection_release(collection->handle) == 0);
  }

  void rename() {
    const CollectionRef collection = some_collection();
    const char* const name = bytes_.pick(kNames);
    const uint32_t code =
        call([&] { return trova_playlist_collection_update_name(collection->handle, name); });
    if (settled(code)) collection->name = name;
    compare(*collection);
  }

  void look_at_collection() {
    const CollectionRef collection = some_collection();
    compare(*collection);
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_collection_attributes_count(collection->handle, &count) == 0);
    FUZZ_REQUIRE(!collection->content.certain || count >= 8);
    const char* name = nullptr;
    for (uint32_t i = 0; i <= count; ++i) {
      const uint32_t code = trova_playlist_collection_attributes_enum(collection->handle, i, &name);
      FUZZ_REQUIRE(code == (i < count ? 0 : PLERR_EndOfAttributes));
    }
    const std::string ident = ident_of(bytes_.byte());
    uint8_t exists = 2;
    FUZZ_REQUIRE(
        trova_playlist_collection_ident_exists(collection->handle, ident.c_str(), &exists) == 0);
    FUZZ_REQUIRE(!collection->content.certain || exists == collection->content.idents.count(ident));
  }

  // The collection holds what was noted of it.
  static void compare(const Collection& collection) {
    const char* name = nullptr;
    FUZZ_REQUIRE(trova_playlist_collection_get_name(collection.handle, &name) == 0);
    FUZZ_REQUIRE(collection.name == name);
    const std::multiset<std::string> found = idents_in(collection);
    if (!collection.content.certain) return;
    std::multiset<std::string> expected;
    for (const auto& [ident, has_values] : collection.content.idents) {
      expected.insert(has_values ? ident : "");
    }
    FUZZ_REQUIRE(found == expected);
  }

  static std::multiset<std::string> idents_in(const Collection& collection) {
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_collection_ident_count(collection.handle, &count) == 0);
    std::multiset<std::string> idents;
    const char* ident = nullptr;
    for (uint32_t i = 0; i < count; ++i) {
      FUZZ_REQUIRE(trova_playlist_collection_ident_enum(collection.handle, i, &ident) == 0);
      idents.insert(ident);
    }
    FUZZ_REQUIRE(trova_playlist_collection_ident_enum(collection.handle, count, &ident) ==
                 PLERR_EndOfAttributes);
    return idents;
  }

  // Notes anew what the collection holds, after a call of which that cannot be foretold.
  static void note_content(Collection& collection) {
    if (!collection.content.certain) return;
    const std::multiset<std::string> found = idents_in(collection);
    collection.content.idents.clear();
    for (uint32_t i = 0; i < 16; ++i) {
      const std::string ident = ident_of(i);
      uint8_t exists = 0;
      FUZZ_REQUIRE(
          trova_playlist_collection_ident_exists(collection.handle, ident.c_str(), &exists) == 0);
      if (exists != 0) collection.content.idents[ident] = found.count(ident) != 0;
    }
    compare(collection);
  }

  // -------------------------------------------------------------------------------- Idents

  void add() {
    const CollectionRef collection = some_collection();
    const std::string ident = ident_of(bytes_.byte());
    bool has_values = false;
    trova_gdo* const data = some_data(&has_values);
    const uint32_t code = call([&] {
      return trova_playlist_collection_ident_add(collection->handle, ident.c_str(), data);
    });
    FUZZ_REQUIRE(code == 0 || faulted_);
    if (faulted_ || !has_values) {
      note_content(*collection);
    } else {
      collection->content.idents[ident] = true;
    }
    compare(*collection);
  }

  void add_many() {
    const CollectionRef collection = some_collection();
    const uint32_t first = bytes_.byte();
    for (uint32_t i = 0; i < 12; ++i) {
      const std::string ident = ident_of(first + i);
      trova_gdo* const data = fuzz_objects()[(first / 16 + i) % (fuzz_objects().size() - 2)];
      FUZZ_REQUIRE(trova_playlist_collection_ident_add(collection->handle, ident.c_str(), data) ==
                   0);
      collection->content.idents[ident] = true;
    }
    compare(*collection);
  }

  void remove() {
    const CollectionRef collection = some_collection();
    remove(*collection, ident_of(bytes_.byte()));
    compare(*collection);
  }

  void remove(Collection& collection, const std::string& ident) {
    const uint32_t code = call(
        [&] { return trova_playlist_collection_ident_remove(collection.handle, ident.c_str()); });
    if (!collection.content.certain) return;
    const auto found = collection.content.idents.find(ident);
    const uint32_t expected = found == collection.content.idents.end() ? PLERR_NotFound : 0;
    if (settled(code, expected)) {
      found->second = false;
    } else {
      note_content(collection);
    }
  }

  // --------------------------------------------------------------------------------- Views

  void make_view() {
    const CollectionRef collection = some_collection();
    if (views_.size() >= kMostObjects) return;
    const std::string ident = ident_of(bytes_.byte());
    trova_gdo* view = nullptr;
    const uint32_t code = call([&] {
      return trova_playlist_collection_ident_get_gdo(collection->handle, ident.c_str(), &view);
    });
    const Content& content = collection->content;
    const bool known = content.idents.count(ident) != 0;
    if (!content.certain ? code == 0 : settled(code, known ? 0 : PLERR_NotFound)) {
      FUZZ_REQUIRE(view != nullptr);
      views_.push_back({view, collection});
    } else {
      FUZZ_REQUIRE(view == nullptr);
    }
  }

  void read_view() {
    if (views_.empty()) return;
    View& view = views_[some_index(views_)];
    const char* text = nullptr;
    FUZZ_REQUIRE(trova_manager_gdo_get_context(view.handle, &text) == 0);
    FUZZ_REQUIRE(std::strcmp(text, TROVA_CTX_EXTDATA) == 0);
    const char* const key = bytes_.pick(kKeys);
    text = nullptr;
    const uint32_t code =
        call([&] { return trova_manager_gdo_get_value(view.handle, key, 1, &text); });
    FUZZ_REQUIRE((code == 0) == (text != nullptr));
    if (text != nullptr) view.texts.emplace_back(text, text);
    for (const auto& [kept, was] : view.texts) FUZZ_REQUIRE(was == kept);
    uint32_t count = 7;
    FUZZ_REQUIRE(trova_manager_gdo_value_count(view.handle, key, &count) == 0);
    FUZZ_REQUIRE(count <= 1 && (count == 1 || code != 0 || faulted_));
    FUZZ_REQUIRE(trova_manager_gdo_get_value(view.handle, key, 2, &text) == PLERR_NotFound);
    if (bytes_.below(4) == 0 && trova_manager_gdo_addref(view.handle) == 0) ++view.references;
  }

  void release_some_view() {
    if (!views_.empty()) release_view(some_index(views_));
  }

  void release_view(size_t index) {
    View& view = views_[index];
    FUZZ_REQUIRE(trova_manager_gdo_release(view.handle) == 0);
    if (--view.references != 0) return;
    stale_.push_back(view.handle);
    views_.erase(views_.begin() + static_cast<ptrdiff_t>(index));
  }

  // ----------------------------------------------------------------------------- Playlists

  void validate() {
    const CollectionRef collection = some_collection();
    const uint32_t number = bytes_.below(sizeof kStatements / sizeof kStatements[0]);
    const std::string text = bytes_.below(4) == 0 ? bytes_.text(60) : kStatements[number];
    uint8_t seed_used = 7;
    const uint32_t code = call([&] {
      return trova_playlist_statement_validate(text.c_str(), collection->handle, &seed_used);
    });
    FUZZ_REQUIRE(code == 0 ? seed_used <= 1 : seed_used == 7);
    FUZZ_REQUIRE(text != kStatements[number] || code != 0 || seed_used == (number >= kFirstSeeded));
  }

  void generate() {
    const CollectionRef collection = some_collection();
    const char* const statement = bytes_.pick(kStatements);
    bool has_values = false;
    trova_gdo* const seed = bytes_.below(4) == 0 ? nullptr : some_data(&has_values);
    take_results_of(collection, [&](trova_playlist_results** out_results) {
      return trova_playlist_generate_playlist(nullptr, statement, collection->handle, seed,
                                              out_results);
    });
  }

  void more_like_this() {
    const CollectionRef collection = some_collection();
    bool has_values = false;
    trova_gdo* const seed = some_data(&has_values);
    take_results_of(collection, [&](trova_playlist_results** out_results) {
      return trova_playlist_generate_morelikethis(user_, collection->handle, seed, out_results);
    });
  }

  template <class Run>
  void take_results_of(const CollectionRef& collection, Run run) {
    if (results_.size() >= kMostObjects) return;
    trova_playlist_results* results = nullptr;
    const uint32_t code = call([&] { return run(&results); });
    FUZZ_REQUIRE((code == 0) == (results != nullptr));
    compare(*collection);
    if (results != nullptr) take_results(collection, results);
    compare_memories(run);
  }

  // Run once more, with what is remembered and without: the same code, the same places.
  template <class Run>
  static void compare_memories(Run run) {
    const auto playlist = [&](bool memories) {
      g_playlist_memories = memories;
      fuzz_rewind_random();
      trova_playlist_results* results = nullptr;
      const uint32_t code = run(&results);
      uint32_t count = 0;
      if (code == 0) FUZZ_REQUIRE(trova_playlist_results_count(results, &count) == 0);
      std::vector<const char*> idents(count);  // of one collection, so their places tell
      for (uint32_t i = 0; i < count; ++i) {
        (void)trova_playlist_results_enum(results, i, &idents[i]);
      }
      FUZZ_REQUIRE(trova_playlist_results_release(results) == 0);
      g_playlist_memories = true;
      return std::pair(code, idents);
    };
    FUZZ_REQUIRE(playlist(true) == playlist(false));
  }

  void take_results(const CollectionRef& collection, trova_playlist_results* results) {
    results_.push_back({results, collection});
    Results& taken = results_.back();
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_results_count(results, &count) == 0);
    for (uint32_t i = 0; i < count; ++i) {
      const char* const ident = ident_at(taken, i);
      taken.idents.emplace_back(ident, ident == nullptr ? "" : ident);
      FUZZ_REQUIRE(is_listed(collection->content, taken.idents.back().second));
    }
  }

  // Damaged bytes may have made entries of idents that are not there: null.
  static const char* ident_at(const Results& results, uint32_t index) {
    const char* ident = nullptr;
    const uint32_t code = trova_playlist_results_enum(results.handle, index, &ident);
    FUZZ_REQUIRE((code == 0) == (ident != nullptr));
    FUZZ_REQUIRE(code == 0 || !results.collection->content.certain);
    return ident;
  }

  // A statement without WHERE lists removed idents, too.
  static bool is_listed(const Content& content, const std::string& ident) {
    if (!content.certain) return true;
    const auto found = content.idents.find(ident);
    return found == content.idents.end() ? ident.empty() && content.has_removed() : found->second;
  }

  void look_at_results() {
    for (const Results& results : results_) compare(results);
  }

  // The same idents at the same places; those that were removed meanwhile read as nothing.
  static void compare(const Results& results) {
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_results_count(results.handle, &count) == 0);
    FUZZ_REQUIRE(count == results.idents.size());
    const char* ident = nullptr;
    const Content& content = results.collection->content;
    for (uint32_t i = 0; i < count; ++i) {
      ident = ident_at(results, i);
      const auto& [place, text] = results.idents[i];
      FUZZ_REQUIRE(ident == place);
      if (!content.certain || text.empty()) continue;
      const auto found = content.idents.find(text);
      FUZZ_REQUIRE(found != content.idents.end());
      FUZZ_REQUIRE(std::string(ident) == (found->second ? text : ""));
    }
    FUZZ_REQUIRE(trova_playlist_results_enum(results.handle, count, &ident) ==
                 PLERR_EndOfAttributes);
  }

  void release_some_results() {
    if (!results_.empty()) release_results(some_index(results_));
  }

  void release_results(size_t index) {
    const Results results = results_[index];
    compare(results);
    results_.erase(results_.begin() + static_cast<ptrdiff_t>(index));
    FUZZ_REQUIRE(trova_playlist_results_release(results.handle) == 0);
    stale_.push_back(results.handle);
  }

  // --------------------------------------------------------------------------------- Bytes

  static Content content_read_back(const Content& content) {
    Content back = content;
    if (content.has_removed()) back.certain = false;
    return back;
  }

  static std::string written(const Collection& collection) {
    uint32_t bound = 0;
    FUZZ_REQUIRE(trova_playlist_collection_serialize_size(collection.handle, &bound) == 0);
    std::string bytes(bound, '?');
    uint32_t size = bound - 1;
    FUZZ_REQUIRE(trova_playlist_collection_serialize(collection.handle, bytes.data(), &size) ==
                 PLERR_BufferTooSmall);
    size = bound;
    FUZZ_REQUIRE(trova_playlist_collection_serialize(collection.handle, bytes.data(), &size) == 0);
    FUZZ_REQUIRE(size <= bound);
    bytes.resize(size);
    return bytes;
  }

  std::pair<uint32_t, trova_playlist_collection*> read(const std::string& bytes) {
    trova_playlist_collection* handle = nullptr;
    const uint32_t code = call([&] {
      return trova_playlist_collection_deserialize(bytes.data(),
                                                   static_cast<uint32_t>(bytes.size()), &handle);
    });
    FUZZ_REQUIRE((code == 0) == (handle != nullptr));
    return {code, handle};
  }

  void write_and_read() {
    const CollectionRef collection = some_collection();
    if (collections_.size() >= kMostObjects) return;
    const auto [code, handle] = read(written(*collection));
    if (!settled(code)) return;
    adopt(handle, collection->name, content_read_back(collection->content));
    if (!collection->content.certain || collection->content.has_removed()) return;
    compare_playlists(*collection, *collections_.back(), kStatements[bytes_.below(kFirstOrdered)]);
  }

  // Equals may come in another order.
  static void compare_playlists(const Collection& a, const Collection& b, const char* statement) {
    const auto sorted = [&](const Collection& collection) {
      trova_playlist_results* results = nullptr;
      std::vector<std::string> idents;
      if (trova_playlist_generate_playlist(nullptr, statement, collection.handle, nullptr,
                                           &results) == 0) {
        idents = fuzz_playlist(results);
        FUZZ_REQUIRE(trova_playlist_results_release(results) == 0);
      }
      std::sort(idents.begin(), idents.end());
      return idents;
    };
    FUZZ_REQUIRE(sorted(a) == sorted(b));
  }

  void read_damaged() {
    const CollectionRef collection = some_collection();
    if (collections_.size() >= kMostObjects) return;
    std::string bytes = written(*collection);
    const uint32_t at = (bytes_.byte() << 8 | bytes_.byte()) % static_cast<uint32_t>(bytes.size());
    if (bytes_.below(2) == 0) {
      bytes.resize(at);
    } else {
      bytes[at] = static_cast<char>(bytes_.byte());
    }
    trova_playlist_collection* const handle = read(bytes).second;
    if (handle == nullptr) return;
    const char* name = nullptr;
    FUZZ_REQUIRE(trova_playlist_collection_get_name(handle, &name) == 0);
    Content content;
    content.certain = false;
    adopt(handle, name, content);
  }

  // ------------------------------------------------------------------------------- Storage

  void store() {
    const CollectionRef collection = some_collection();
    const uint32_t code =
        call([&] { return trova_playlist_storage_store_collection(collection->handle); });
    if (!settled(code)) return;
    const std::set<std::string> names = stored_names();
    FUZZ_REQUIRE(names.count(collection->name) != 0);
    stored_[collection->name] = content_read_back(collection->content);
    // One that was renamed has taken the place of its old name.
    for (auto it = stored_.begin(); it != stored_.end();) {
      it = names.count(it->first) == 0 ? stored_.erase(it) : std::next(it);
    }
  }

  void load() {
    if (collections_.size() >= kMostObjects) return;
    const std::string name = bytes_.pick(kNames);
    trova_playlist_collection* handle = nullptr;
    const bool there = stored_names().count(name) != 0;
    const uint32_t code =
        call([&] { return trova_playlist_storage_load_collection(name.c_str(), &handle); });
    if (!settled(code, there ? 0 : PLERR_NotFound)) return FUZZ_REQUIRE(handle == nullptr);
    const auto found = stored_.find(name);
    FUZZ_REQUIRE(found != stored_.end());
    adopt(handle, name, found->second);
  }

  void look_at_store() {
    const std::set<std::string> names = stored_names();
    for (const auto& [name, content] : stored_) FUZZ_REQUIRE(names.count(name) != 0);
    char start[3] = "??";
    const uint32_t code = trova_playlist_storage_enum_collections(0, start, sizeof start);
    FUZZ_REQUIRE(code == (names.empty() ? PLERR_NotFound : 0));
    FUZZ_REQUIRE(std::strlen(start) <= 2);
  }

  void remove_stored() {
    const std::string name = bytes_.pick(kNames);
    const std::set<std::string> names = stored_names();
    const uint32_t code =
        call([&] { return trova_playlist_storage_remove_collection(name.c_str()); });
    if (!settled(code, names.count(name) != 0 ? 0 : PLERR_NotFound)) return;
    stored_.erase(name);
    FUZZ_REQUIRE(stored_names().count(name) == 0);
  }

  static std::set<std::string> stored_names() {
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_storage_count_collections(&count) == 0);
    std::set<std::string> names;
    char name[400];
    for (uint32_t i = 0; i < count; ++i) {
      FUZZ_REQUIRE(trova_playlist_storage_enum_collections(i, name, sizeof name) == 0);
      FUZZ_REQUIRE(names.insert(name).second);
    }
    FUZZ_REQUIRE(trova_playlist_storage_enum_collections(count, name, sizeof name) ==
                 PLERR_NotFound);
    return names;
  }

  // ----------------------------------------------------------------------- Synchronisation

  void report() {
    const CollectionRef collection = some_collection();
    const uint32_t first = bytes_.byte();
    // One, or a whole row of them.
    for (uint32_t i = 0; i < (first >= 128 ? 14 : 1); ++i) {
      report(*collection, ident_of(first + i));
    }
  }

  void report(Collection& collection, const std::string& ident) {
    Report& report = collection.report;
    const uint32_t code = call(
        [&] { return trova_playlist_collection_sync_ident_add(collection.handle, ident.c_str()); });
    if (!settled(code)) {
      report.certain = false;
    } else if (collection.content.idents.count(ident) != 0) {
      report.started = true;
      ++report.known[ident];
    } else {
      report.started = true;
      report.fresh.insert(ident);
    }
  }

  using Difference = std::multiset<std::pair<std::string, uint32_t>>;

  static Difference difference_of(const Content& content, const Report& report) {
    Difference difference;
    for (const auto& [ident, has_values] : content.idents) {
      const auto found = report.known.find(ident);
      const uint32_t times = found == report.known.end() ? 1 : found->second - 1;
      for (uint32_t i = 0; i < times; ++i) {
        difference.emplace(has_values ? ident : "", TROVA_PLAYLIST_SYNC_REMOVE);
      }
    }
    for (const std::string& ident : report.fresh) {
      difference.emplace(ident, TROVA_PLAYLIST_SYNC_ADD);
    }
    return difference;
  }

  struct Processing {
    CollectionRef collection;
    bool releases;  // the collection, in the first callback
    bool adds = false;
    Difference told = {};
  };

  static void on_difference(void* data, trova_playlist_collection* handle, const char* ident,
                            uint32_t status, uint8_t* out_stop) {
    auto* const processing = static_cast<Processing*>(data);
    FUZZ_REQUIRE(handle == processing->collection->handle && *out_stop == 0);
    FUZZ_REQUIRE(status == TROVA_PLAYLIST_SYNC_ADD ||
                 (status == TROVA_PLAYLIST_SYNC_REMOVE && !processing->adds));
    processing->adds = status == TROVA_PLAYLIST_SYNC_ADD;
    if (processing->releases && processing->told.empty()) {
      FUZZ_REQUIRE(trova_playlist_collection_release(handle) == 0);
    }
    processing->told.emplace(ident, status);
  }

  void process() {
    const CollectionRef collection = some_collection();
    Processing processing = {collection, bytes_.below(5) == 3};
    const Report report = std::exchange(collection->report, {});
    const bool certain = report.certain && collection->content.certain;
    const Difference expected = difference_of(collection->content, report);
    const uint32_t code = call([&] {
      return trova_playlist_collection_sync_process(collection->handle, on_difference, &processing);
    });
    if (processing.releases && !processing.told.empty()) {
      collections_.erase(std::find(collections_.begin(), collections_.end(), collection));
    }
    if (!certain || !settled(code, report.started ? 0 : PLERR_SyncNotStarted)) return;
    FUZZ_REQUIRE(processing.told == expected);
  }

  // --------------------------------------------------------------------------- Bad handles

  bool is_live(const void* handle) const {
    const auto is_it = [&](const auto& object) { return object.handle == handle; };
    return std::any_of(results_.begin(), results_.end(), is_it) ||
           std::any_of(views_.begin(), views_.end(), is_it) || is_collection(handle) ||
           std::find(fuzz_objects().begin(), fuzz_objects().end(), handle) != fuzz_objects().end();
  }

  bool is_collection(const void* handle) const {
    const auto is_it = [&](const CollectionRef& ref) { return ref->handle == handle; };
    const auto holds_it = [&](const auto& holder) { return holder.collection->handle == handle; };
    return std::any_of(collections_.begin(), collections_.end(), is_it) ||
           std::any_of(results_.begin(), results_.end(), holds_it) ||
           std::any_of(views_.begin(), views_.end(), holds_it);
  }

  enum class Kind { kCollection, kResults, kObject };

  // Something that is no live handle of a kind, or null when there is none at hand.
  void* not_a(Kind kind) {
    void* handle = nullptr;
    const uint32_t which = bytes_.below(7);
    const uint32_t number = bytes_.byte();
    if (which == 0 && !stale_.empty()) handle = stale_[number % stale_.size()];
    if (which == 1 && !stale_.empty()) handle = stale_.back();
    if (handle != nullptr && is_live(handle)) handle = nullptr;
    if (which == 2 && kind != Kind::kCollection && !collections_.empty()) {
      handle = collections_[number % collections_.size()]->handle;
    }
    if (which == 3 && kind != Kind::kResults && !results_.empty()) {
      handle = results_[number % results_.size()].handle;
    }
    if (which == 4 && kind != Kind::kObject)
      handle = fuzz_objects()[number % fuzz_objects().size()];
    if (which == 5) handle = &foreign_;
    if (which == 6) handle = reinterpret_cast<char*>(&foreign_) + 1 + number % 3;
    return handle;
  }

  // Uses a handle for everything that a kind of handle is good for.
  template <class Uses>
  void require_refused(Uses uses, uint32_t expected) {
    FUZZ_REQUIRE(call([&] {
                   for (const uint32_t code : uses()) FUZZ_REQUIRE(code == expected);
                   return uint32_t{0};
                 }) == 0);
  }

  void use_bad_collection() {
    auto* const handle = static_cast<trova_playlist_collection*>(not_a(Kind::kCollection));
    if (handle == nullptr) return;
    const std::string ident = ident_of(bytes_.byte());
    const char* const name = ident.c_str();
    const char* text = nullptr;
    uint32_t count = 77;
    uint8_t flag = 77;
    char buffer[4] = "";
    trova_gdo* const object = fuzz_objects()[0];
    trova_gdo* view = nullptr;
    trova_playlist_results* results = nullptr;
    const auto never = [](void*, auto*, const char*, uint32_t, uint8_t*) { std::abort(); };
    const auto uses = [&] {
      return std::array{
          trova_playlist_collection_get_name(handle, &text),
          trova_playlist_collection_update_name(handle, name),
          trova_playlist_collection_attributes_count(handle, &count),
          trova_playlist_collection_attributes_enum(handle, 0, &text),
          trova_playlist_collection_ident_add(handle, name, object),
          trova_playlist_collection_ident_exists(handle, name, &flag),
          trova_playlist_collection_ident_count(handle, &count),
          trova_playlist_collection_ident_enum(handle, 0, &text),
          trova_playlist_collection_ident_remove(handle, name),
          trova_playlist_collection_ident_get_gdo(handle, name, &view),
          trova_playlist_collection_serialize_size(handle, &count),
          trova_playlist_collection_serialize(handle, buffer, &count),
          trova_playlist_storage_store_collection(handle),
          trova_playlist_collection_sync_ident_add(handle, name),
          trova_playlist_collection_sync_process(handle, never, nullptr),
          trova_playlist_statement_validate("genpl", handle, &flag),
          trova_playlist_generate_playlist(nullptr, "genpl", handle, object, &results),
          trova_playlist_collection_release(handle),
      };
    };
    require_refused(uses, kBadHandle);
    FUZZ_REQUIRE(text == nullptr && count == 77 && flag == 77 && !view && !results);
  }

  void use_bad_results() {
    auto* const handle = static_cast<trova_playlist_results*>(not_a(Kind::kResults));
    if (handle == nullptr) return;
    uint32_t count = 77;
    const char* text = nullptr;
    const auto uses = [&] {
      return std::array{trova_playlist_results_count(handle, &count),
                        trova_playlist_results_enum(handle, 0, &text),
                        trova_playlist_results_release(handle)};
    };
    require_refused(uses, kBadHandle);
    FUZZ_REQUIRE(count == 77 && text == nullptr);
  }

  void use_bad_object() {
    trova_playlist_collection* const collection = some_collection()->handle;
    auto* const object = static_cast<trova_gdo*>(not_a(Kind::kObject));
    if (object == nullptr) return;
    const char* text = nullptr;
    uint32_t count = 77;
    trova_playlist_results* results = nullptr;
    const auto seed_uses = [&] {
      return std::array{
          trova_playlist_collection_ident_add(collection, "x", object),
          trova_playlist_generate_playlist(nullptr, "genpl where qx_era = seed", collection, object,
                                           &results),
          trova_playlist_generate_morelikethis(reinterpret_cast<trova_user*>(object), collection,
                                               fuzz_objects()[0], &results),
      };
    };
    const auto object_uses = [&] {
      return std::array{trova_manager_gdo_addref(object),
                        trova_manager_gdo_get_value(object, "QX_Genre", 1, &text),
                        trova_manager_gdo_value_count(object, "QX_Genre", &count),
                        trova_manager_gdo_add_value(object, "rating", "3"),
                        trova_manager_gdo_release(object)};
    };
    require_refused(seed_uses, kBadHandle);
    require_refused(object_uses, TROVA_MANAGER_BAD_HANDLE);
    FUZZ_REQUIRE(results == nullptr && text == nullptr && count == 77);
  }

  // ----------------------------------------------------------------------------- The rest

  void fail_next() {
    fault_.allocation = 1 + bytes_.byte();
    fault_.stays = bytes_.below(4) == 0;
  }

  void limit_next() { fault_.limit = 1 + (bytes_.byte() << 4); }

  void register_attributes() {
    if (registrations_++ < 2) fuzz_register_attributes();
  }

  // Another user of the library comes and goes.
  void start_again() {
    FUZZ_REQUIRE(trova_playlist_initialize(fuzz_manager()) == 0);
    FUZZ_REQUIRE(trova_playlist_initchecks() == 2);
    FUZZ_REQUIRE(trova_playlist_shutdown() == 0);
    const char* name = nullptr;
    uint32_t count = 0;
    FUZZ_REQUIRE(trova_playlist_attributes_count(&count) == 0);
    FUZZ_REQUIRE(trova_playlist_attributes_enum(count - 1, &name) == 0);
    FUZZ_REQUIRE(trova_playlist_attributes_enum(count, &name) == PLERR_EndOfAttributes);
  }

  FuzzBytes bytes_;
  trova_user* user_ = nullptr;
  std::vector<CollectionRef> collections_ = {};  // of which the application has the handle
  std::vector<Results> results_ = {};
  std::vector<View> views_ = {};
  std::vector<void*> stale_ = {};
  std::map<std::string, Content> stored_ = {};
  Foreign foreign_ = {};
  int registrations_ = 0;

  // The fault of the next call, and what came of it.
  Fault fault_ = {};
  bool faulted_ = false;
  bool limited_ = false;
};

void run_program(const uint8_t* data, size_t size) {
  FUZZ_REQUIRE(trova_playlist_initialize(fuzz_manager()) == 0);
  { Program(data, size).run(); }
  FUZZ_REQUIRE(trova_playlist_shutdown() == 0);
  FUZZ_REQUIRE(trova_playlist_initchecks() == 0);
  uint32_t count = 0;
  FUZZ_REQUIRE(trova_playlist_storage_count_collections(&count) == PLERR_NotInited);
}

// The manager makes some things when they are first asked for, and keeps them: but not each time.
void require_nothing_left(const uint8_t* data, size_t size) {
  static uint64_t kept = 0;
  if (memory_stats().blocks_in_use <= kept) return;
  run_program(data, size);
  kept = memory_stats().blocks_in_use;
  run_program(data, size);
  FUZZ_REQUIRE(memory_stats().blocks_in_use <= kept);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  run_program(data, size);
  require_nothing_left(data, size);
  return 0;
}
