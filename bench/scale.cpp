// scale: how the cost of building and generating grows with the number of idents.
//
// Prints seconds for each size and, beside those of the largest size, their ratio to the size
// before. Generation runs on a thread with 256 KiB of stack.
#include <pthread.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "trova_manager.h"
#include "trova_playlist.h"

namespace {

constexpr size_t kStackBytes = 256 * 1024;
constexpr uint32_t kGenres[] = {1101, 1102, 1201, 2101, 2102, 2201, 3101, 4101, 5101};

void require(uint32_t code, const char* what) {
  if (code == 0) return;
  std::fprintf(stderr, "%s: 0x%08x %s\n", what, code, trova_manager_error_text(code));
  std::exit(2);
}

double seconds(const std::function<void()>& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void* run_body(void* body) {
  (*static_cast<std::function<void()>*>(body))();
  return nullptr;
}

double seconds_on_small_stack(std::function<void()> body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  return seconds([&] {
    pthread_t thread;
    if (pthread_create(&thread, &attributes, run_body, &body) != 0) std::exit(2);
    pthread_join(thread, nullptr);
  });
}

void add_range(trova_playlist_collection* collection, uint32_t first, uint32_t last) {
  for (uint32_t i = first; i < last; ++i) {
    trova_gdo* track = nullptr;
    require(trova_manager_gdo_create(TROVA_CTX_TRACK, &track), "data object");
    trova_manager_gdo_add_number(track, TROVA_VAL_GENRE_ID, kGenres[i % std::size(kGenres)]);
    trova_manager_gdo_add_number(track, TROVA_VAL_ERA_ID, 41950 + i % 70);
    trova_manager_gdo_add_number(track, TROVA_VAL_ARTIST_TYPE_ID, i % 5 + 1);
    const std::string ident = "/music/artist/album/" + std::to_string(i) + ".flac";
    require(trova_playlist_collection_ident_add(collection, ident.c_str(), track), "add");
    trova_manager_gdo_release(track);
  }
}

uint32_t run(trova_playlist_collection* collection, const char* statement) {
  trova_playlist_results* results = nullptr;
  uint32_t count = 0;
  require(trova_playlist_generate_playlist(nullptr, statement, collection, nullptr, &results),
          statement);
  require(trova_playlist_results_count(results, &count), "count");
  require(trova_playlist_results_release(results), "release");
  return count;
}

std::vector<char> serialize(trova_playlist_collection* collection) {
  uint32_t size = 0;
  require(trova_playlist_collection_serialize(collection, nullptr, &size), "measure");
  std::vector<char> bytes(size);
  require(trova_playlist_collection_serialize(collection, bytes.data(), &size), "serialize");
  bytes.resize(size);
  return bytes;
}

void read_back(const std::vector<char>& bytes) {
  trova_playlist_collection* collection = nullptr;
  require(trova_playlist_collection_deserialize(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                &collection),
          "deserialize");
  require(trova_playlist_collection_release(collection), "release");
}

void ignore(void*, trova_playlist_collection*, const char*, uint32_t, uint8_t*) {}

// Reports what the collection holds, all but every hundredth ident.
void synchronize(trova_playlist_collection* collection) {
  uint32_t count = 0;
  require(trova_playlist_collection_ident_count(collection, &count), "count");
  for (uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    if (i % 100 == 0 || trova_playlist_collection_ident_enum(collection, i, &ident) != 0) continue;
    // A removed ident has no text.
    if (*ident != 0) require(trova_playlist_collection_sync_ident_add(collection, ident), "report");
  }
  require(trova_playlist_collection_sync_process(collection, ignore, nullptr), "synchronize");
}

void view_each(trova_playlist_collection* collection, uint32_t count) {
  for (uint32_t i = 1; i <= count; ++i) {
    trova_gdo* view = nullptr;
    const char* text = nullptr;
    const std::string ident = "/music/artist/album/" + std::to_string(i) + ".flac";
    require(trova_playlist_collection_ident_get_gdo(collection, ident.c_str(), &view), "view");
    require(trova_manager_gdo_get_value(view, TROVA_VAL_GENRE_ID, 1, &text), "value");
    trova_manager_gdo_release(view);
  }
}

struct Row {
  const char* name;
  std::function<void(trova_playlist_collection*, uint32_t)> work;
};

Row statement_row(const char* statement) {
  return {statement, [statement](trova_playlist_collection* collection, uint32_t) {
            run(collection, statement);
          }};
}

const std::vector<Row> kRows = {
    {"add n idents",
     [](trova_playlist_collection* collection, uint32_t n) { add_range(collection, 0, n); }},
    statement_row("generate playlist;"),
    statement_row("genpl where qx_artisttype = 1 or qx_artisttype != 1"),
    statement_row("genpl where qx_genre = 1101 or qx_era = 31970 limit 50 results"),
    statement_row("genpl order (qx_genre like 1101) + (qx_era like 41975)"),
    statement_row("genpl order rand(1000, 7) limit 50 results, 2 per qx_era"),
    {"serialize", [](trova_playlist_collection* collection, uint32_t) { serialize(collection); }},
    {"serialize and deserialize",
     [](trova_playlist_collection* collection, uint32_t) { read_back(serialize(collection)); }},
    {"report 99 of 100 idents and synchronise",
     [](trova_playlist_collection* collection, uint32_t) { synchronize(collection); }},
    {"look into n / 100 idents",
     [](trova_playlist_collection* collection, uint32_t n) { view_each(collection, n / 100); }},
    {"remove n / 100 idents",
     [](trova_playlist_collection* collection, uint32_t n) {
       for (uint32_t i = 0; i < n; i += 100) {
         const std::string ident = "/music/artist/album/" + std::to_string(i) + ".flac";
         require(trova_playlist_collection_ident_remove(collection, ident.c_str()), "remove");
       }
     }},
    {"add n / 100 more, after sorting", [](trova_playlist_collection* collection,
                                           uint32_t n) { add_range(collection, n, n + n / 100); }},
};

std::vector<double> measure(uint32_t n) {
  trova_playlist_collection* collection = nullptr;
  require(trova_playlist_collection_create("scale", &collection), "create");
  std::vector<double> times;
  for (const Row& row : kRows) {
    times.push_back(seconds_on_small_stack([&] { row.work(collection, n); }));
  }
  require(trova_playlist_collection_release(collection), "release");
  return times;
}

}  // namespace

int main(int argc, char** argv) {
  const auto largest =
      argc > 1 ? static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10)) : 1'000'000u;
  ManagerHandle* manager = nullptr;
  require(trova_manager_start(nullptr, &manager), "manager");
  require(trova_playlist_initialize(manager), "library");
  const std::vector<double> small = measure(largest / 10);
  const std::vector<double> large = measure(largest);
  std::printf("%-62s %10u %10u  growth\n", "seconds", largest / 10, largest);
  for (size_t i = 0; i < kRows.size(); ++i) {
    std::printf("%-62s %10.3f %10.3f  %6.1f\n", kRows[i].name, small[i], large[i],
                large[i] / small[i]);
  }
  trova_playlist_shutdown();
  trova_manager_stop();
}
