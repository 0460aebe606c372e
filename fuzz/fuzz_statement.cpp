// fuzz_statement: the input is a statement. It is checked and run on a collection that has every
// attribute: with all memory, with nothing remembered, with one allocation failing, and with all
// from one on.
//
// The check and the run agree about what is wrong, and a run gives idents of the collection. With
// nothing remembered the playlist and the error log are the same; with less memory the playlist is
// the same or there is none.
// Either way the next run gives what the first one gave.
#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "fuzz_library.h"
#include "fuzz_target.h"
#include "playlist_memories.h"
#include "vrel_log.h"

namespace {

struct Failure {
  uint32_t line;
  std::string source;
  uint32_t code;
  auto operator<=>(const Failure&) const = default;
};
std::vector<Failure> g_failures;

uint32_t note_failure(uint32_t line, const char* source, uint32_t code, uint32_t) {
  g_failures.push_back({line, source, code});
  return code;
}

struct Playlist {
  uint32_t code = 0;
  std::vector<std::string> idents = {};
  std::vector<Failure> failures = {};  // that were told, in no order
};

Playlist run(const char* statement, trova_playlist_collection* collection, trova_gdo* seed) {
  fuzz_rewind_random();
  Playlist playlist;
  g_failures.clear();
  trova_playlist_results* results = nullptr;
  playlist.code = trova_playlist_generate_playlist(nullptr, statement, collection, seed, &results);
  FUZZ_REQUIRE((playlist.code == 0) == (results != nullptr));
  // ORDER asks about the entries of one ident after the other, or about values.
  std::sort(g_failures.begin(), g_failures.end());
  playlist.failures = std::move(g_failures);
  if (results == nullptr) return playlist;
  // Reading needs no memory.
  playlist.idents = fuzz_playlist(results);
  FUZZ_REQUIRE(trova_playlist_results_release(results) == 0);
  return playlist;
}

void require_idents_of(const Playlist& playlist, trova_playlist_collection* collection) {
  for (const std::string& ident : playlist.idents) {
    uint8_t exists = 0;
    FUZZ_REQUIRE(trova_playlist_collection_ident_exists(collection, ident.c_str(), &exists) == 0);
    FUZZ_REQUIRE(exists == 1);
  }
}

uint32_t hash_of(const std::string& text) {
  uint32_t hash = 2166136261u;
  for (const char c : text) hash = (hash ^ static_cast<uint8_t>(c)) * 16777619u;
  return hash;
}

// On a collection that no statement was run on yet: the first one lays out columns for later ones.
class FreshCollection {
 public:
  FreshCollection() : collection_(fuzz_collection_of(fuzz_collection_bytes())) {}
  ~FreshCollection() { FUZZ_REQUIRE(trova_playlist_collection_release(collection_) == 0); }
  trova_playlist_collection* get() const { return collection_; }

 private:
  trova_playlist_collection* collection_;
};

void run_forgetful(const char* statement, trova_gdo* seed, const Playlist& expected) {
  const FreshCollection collection;
  g_playlist_memories = false;
  const Playlist playlist = run(statement, collection.get(), seed);
  g_playlist_memories = true;
  FUZZ_REQUIRE(playlist.code == expected.code && playlist.idents == expected.idents);
  FUZZ_REQUIRE(playlist.failures == expected.failures);
}

// AND passes over the failures of its sides.
bool may_say_and(std::string text) {
  for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
  for (size_t at = text.find('a'); at != std::string::npos; at = text.find('a', at + 1)) {
    const bool begins = at == 0 || !std::isalpha(static_cast<unsigned char>(text[at - 1]));
    size_t end = at;
    while (end - at < 3 && end < text.size() && text[end] == "and"[end - at]) ++end;
    const bool ends = end == text.size() || !std::isalpha(static_cast<unsigned char>(text[end]));
    if (begins && ends) return true;
  }
  return false;
}

void run_with_less_memory(const std::string& text, trova_gdo* seed, const Playlist& expected,
                          uint32_t n, bool all_later) {
  const FreshCollection collection;
  fuzz_fail_allocation(n, all_later);
  const Playlist playlist = run(text.c_str(), collection.get(), seed);
  const bool failed = fuzz_allocation_failed();
  if (playlist.code == expected.code) {
    FUZZ_REQUIRE(playlist.idents == expected.idents || may_say_and(text));
  } else {
    FUZZ_REQUIRE(failed && playlist.code == PLERR_NoMemory);
  }
  const Playlist again = run(text.c_str(), collection.get(), seed);
  FUZZ_REQUIRE(again.code == expected.code && again.idents == expected.idents);
}

void start() {
  static const bool started = [] {
    FUZZ_REQUIRE(trova_playlist_initialize(fuzz_manager()) == 0);
    fuzz_register_attributes();
    g_vrel_log_error_callback = note_failure;
    g_vrel_log_enabled_pkgs[0x89] = VREL_LOG_ERROR;
    return true;
  }();
  (void)started;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  start();
  const std::string text(reinterpret_cast<const char*>(data), size);
  const char* const statement = text.c_str();
  trova_gdo* const seed = fuzz_objects()[hash_of(text) % fuzz_objects().size()];
  const FreshCollection collection;

  uint8_t seed_used = 2;
  const uint32_t check = trova_playlist_statement_validate(statement, collection.get(), &seed_used);
  FUZZ_REQUIRE(check == 0 ? seed_used <= 1 : seed_used == 2);
  const uint64_t before = fuzz_allocations();
  const Playlist playlist = run(statement, collection.get(), seed);
  const auto allocations = static_cast<uint32_t>(fuzz_allocations() - before);
  if (check != 0) {
    FUZZ_REQUIRE(playlist.code == check);
    return 0;
  }
  FUZZ_REQUIRE(playlist.code != PLERR_Syntax && playlist.code != PLERR_StatementMismatch);
  require_idents_of(playlist, collection.get());
  const uint32_t seedless = run(statement, collection.get(), nullptr).code;
  FUZZ_REQUIRE((seedless == PLERR_StatementMismatch) == (seed_used == 1));

  run_forgetful(statement, seed, playlist);
  run_with_less_memory(text, seed, playlist, 1 + hash_of(text + "one") % allocations, false);
  run_with_less_memory(text, seed, playlist, 1 + hash_of(text + "all") % allocations, true);
  return 0;
}
