#include "memory.h"

#include <cstdio>
#include <functional>
#include <string>
#include <unordered_set>

#include "trova_manager.h"
#include "vrel_memory.h"
#include "workloads.h"

namespace bench {

namespace {

// What a collection cannot do without.
constexpr size_t kBytesOfEntry = 12;
constexpr size_t kBytesOfText = 16;  // beside the text itself

constexpr double kMostOfCollection = 1.5;
constexpr double kMostOfEntry = 64;

trova_manager_memory_stats stats() {
  trova_manager_memory_stats now = {};
  require(trova_manager_memory_stats_get(&now), "memory");
  return now;
}

// The most that was in use at a time, beyond what was before. The allocator remembers the highest
// peak that it ever had: we fill up to it, so that every byte more shows.
size_t peak_of(const std::function<void()>& work) {
  const trova_manager_memory_stats before = stats();
  const size_t room = before.peak_bytes - before.bytes_in_use;
  void* const filling = room == 0 ? nullptr : vrel_memory_alloc(room);
  if (room != 0 && filling == nullptr) require(TROVA_MANAGER_NO_MEMORY, "memory");
  work();
  const size_t peak = stats().peak_bytes - before.peak_bytes;
  vrel_memory_free(filling);
  return peak;
}

class OwnBytes {
 public:
  explicit OwnBytes(const Library& library) : library_(library) {
    for (uint32_t i = 0; i < library.count(); ++i) add(i);
  }
  size_t total() const { return bytes_; }

 private:
  void add(uint32_t number) {
    const Track& track = library_.track(number);
    for (const bool present :
         {track.genre != 0, track.year != 0, track.origin != 0, track.artist_type != 0,
          track.tempo != 0, track.moods[0] != 0, track.artist != 0}) {
      bytes_ += present ? kBytesOfEntry : 0;
    }
    add_text(library_.ident(number));
    if (track.artist != 0) add_text(library_.artist(track.artist));
    if (track.moods[0] != 0) add_text(profile(library_, track));
  }

  void add_text(const std::string& text) {
    if (texts_.insert(text).second) bytes_ += kBytesOfText + text.size() + 1;
  }

  const Library& library_;
  std::unordered_set<std::string> texts_;
  size_t bytes_ = 0;
};

const char* verdict(double value, double most) {
  return value <= most ? "" : ", missed";
}

void report_collection(const char* when, size_t bytes, size_t own) {
  const double ratio = static_cast<double>(bytes) / static_cast<double>(own);
  std::printf("| collection, %s | %zu | %.2f times its own bytes (%zu) | %.1f%s |\n", when, bytes,
              ratio, own, kMostOfCollection, verdict(ratio, kMostOfCollection));
}

void report_generation(const char* name, size_t bytes, size_t entries) {
  const double each = static_cast<double>(bytes) / static_cast<double>(entries);
  std::printf("| %s | %zu | %.1f for each of %zu entries | %.0f%s |\n", name, bytes, each, entries,
              kMostOfEntry, verdict(each, kMostOfEntry));
}

size_t answer_size(Side* side, Query query) {
  side->run(query);
  return side->answer().size();
}

// How many entries WHERE lets through: LIMIT comes later.
size_t selected(const Library& library, Side* side, Query query) {
  switch (query) {
    case Query::kFilter:
    case Query::kShuffled:
      return answer_size(side, Query::kFilter);
    case Query::kMoreLike:
    case Query::kMoreLike50:
      return answer_size(side, Query::kMoreLike);
    case Query::kTwoPerArtist:
      return library.count();
    default:
      return answer_size(side, query);
  }
}

}  // namespace

void report_memory(const Library& library) {
  NotMeasured nothing;
  const size_t own = OwnBytes(library).total();
  const size_t before = stats().bytes_in_use;
  const std::unique_ptr<Side> side = make_trova(library);
  const size_t building = peak_of([&] { kAdd.run(library, side.get(), &nothing); });
  std::printf("\n| memory at %u tracks | bytes at most | that is | aim |\n|---|--:|---|--:|\n",
              library.count());
  std::printf("| building it, with %u data objects at a time | %zu | | |\n", kBatch, building);
  report_collection("as built", stats().bytes_in_use - before, own);
  for (const QueryWorkload& row : kQueries) {
    const size_t entries = selected(library, side.get(), row.query);
    side->forget();
    const size_t bytes = peak_of([&] { side->run(row.query); });
    report_generation(row.name, bytes, entries);
  }
  side->forget();
  report_collection("after these statements", stats().bytes_in_use - before, own);
}

}  // namespace bench
