// compare: what we take for each kind of work, beside SQLite and beside the machine's limit.
//
// compare [SIZE...] [--benchmark_...]: makes libraries of these sizes, checks that all sides give
// the same answers, and prints milliseconds. SQLite's number is the best of its schemas. To look
// into one row with a profiler: compare 10000 --benchmark_filter=ours/more.*all
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>

#include "side.h"
#include "trova_manager.h"
#include "trova_playlist.h"

namespace bench {

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;
using Make = std::function<std::unique_ptr<Side>(const Library&)>;

// One entry of so many may differ.
constexpr size_t kTolerated = 5000;

constexpr const char* kOurs = "ours";
constexpr const char* kSqlite = "SQLite";
constexpr const char* kLimit = "limit";

struct QueryRow {
  Query query;
  const char* name;
};
constexpr QueryRow kQueries[] = {
    {Query::kFilter, "two genres or a decade"},
    {Query::kShuffled, "the same, 50 in random order"},
    {Query::kMoreLike, "more like this, all"},
    {Query::kMoreLike50, "more like this, 50"},
    {Query::kTwoPerArtist, "its order, 50, 2 per artist"},
    {Query::kNamesLike, "artist like seed, all"},
    {Query::kNamesEqual, "20 artists by name"},
};

const char kAdd[] = "add n idents";
const char kRemove[] = "remove 1 % one by one";
const char kSynchronize[] = "synchronise with 1 % changes";
const char kAddMore[] = "add 1 % after sorting";
const char kWrite[] = "write the bytes";
const char kStart[] = "bytes to first playlist";

const char* const kOrder[] = {
    kQueries[0].name, kQueries[1].name, kQueries[2].name, kQueries[3].name,
    kQueries[4].name, kQueries[5].name, kQueries[6].name, kAdd,
    kRemove,          kSynchronize,     kAddMore,         kStart,
    kWrite,
};

// ---------------------------------------------------------------------------- Measurements

// The best time of each row, side and size.
using Times = std::map<std::string, std::map<std::string, std::map<uint32_t, double>>>;

class Collector final : public benchmark::BenchmarkReporter {
 public:
  Collector(Times* times, uint32_t size) : times_(times), size_(size) {}

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const std::string name = run.run_name.function_name;
      const size_t split = name.find('/');
      auto& best = (*times_)[name.substr(split + 1)][name.substr(0, split)];
      const double time = run.GetAdjustedRealTime();
      const auto [at, fresh] = best.emplace(size_, time);
      if (!fresh) at->second = std::min(at->second, time);
    }
  }

 private:
  Times* times_;
  uint32_t size_;
};

using Work = std::function<void()>;

benchmark::internal::Benchmark* measure(
    const char* side, const char* row, const Work& work, const Work& prepare = [] {}) {
  const std::string name = std::string(side) + '/' + row;
  return benchmark::RegisterBenchmark(name.c_str(),
                                      [work, prepare](benchmark::State& state) {
                                        for (auto _ : state) {
                                          prepare();
                                          const auto start = std::chrono::steady_clock::now();
                                          work();
                                          const std::chrono::duration<double> time =
                                              std::chrono::steady_clock::now() - start;
                                          state.SetIterationTime(time.count());
                                        }
                                      })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

Numbers every_hundredth(const Library& library, uint32_t first) {
  Numbers numbers;
  for (uint32_t i = first; i < library.count(); i += 100) numbers.push_back(i);
  return numbers;
}

// After every hundredth was removed: the ones behind them go, and as many new ones come.
Numbers after_changes(const Library& library) {
  Numbers numbers;
  for (uint32_t i = 0; i < library.count() + library.spare(); ++i) {
    if (i >= library.count() || i % 100 > 1) numbers.push_back(i);
  }
  return numbers;
}

void measure_reading(const char* name, Side* side) {
  for (const QueryRow& row : kQueries) {
    measure(name, row.name, [side, row] { side->run(row.query); });
  }
  measure(name, kWrite, [side] { side->write(); });
  // Another run lets go of what the start before read.
  measure(
      name, kStart, [side] { side->start_from_bytes(Query::kShuffled); },
      [side] { side->run(Query::kShuffled); });
}

// Each of these changes the side, so each runs once and in this order.
void measure_changes(const char* name, const Library& library, Side* side) {
  measure(name, kRemove, [&library, side] {
    side->remove(every_hundredth(library, 0));
  })->Iterations(1);
  const auto changed = std::make_shared<Numbers>(after_changes(library));
  measure(name, kSynchronize, [side, changed] { side->synchronize(*changed); })->Iterations(1);
  measure(
      name, kAddMore,
      [&library, side] { side->add(library.total() - library.spare(), library.total()); },
      [side] { side->run(Query::kMoreLike50); })
      ->Iterations(1);
}

// ---------------------------------------------------------------------------------- Checks

[[noreturn]] void differ(const char* side, const char* what) {
  std::fprintf(stderr, "%s: %s: another answer\n", side, what);
  std::exit(1);
}

bool at_most_two_per_artist(const Library& library, const Numbers& answer) {
  std::unordered_map<uint32_t, int> counts;
  return std::all_of(answer.begin(), answer.end(),
                     [&](uint32_t number) { return ++counts[library.track(number).artist] <= 2; });
}

// The set that an answer must be, or be taken from.
Query whole(Query query) {
  if (query == Query::kShuffled) return Query::kFilter;
  return query == Query::kMoreLike50 ? Query::kMoreLike : query;
}

// Two sets. A few tracks may differ: the library tells values apart by a 32-bit hash, so of a
// million profiles a few are read as another one.
bool agree(const char* side, const char* row, const Numbers& answer, const Numbers& expected) {
  Numbers differing;
  std::set_symmetric_difference(answer.begin(), answer.end(), expected.begin(), expected.end(),
                                std::back_inserter(differing));
  if (differing.empty()) return true;
  std::printf("%s: %s: %zu of %zu entries differ\n", side, row, differing.size(), expected.size());
  return differing.size() * kTolerated <= expected.size();
}

using Answers = std::map<Query, Numbers>;

void check(const char* name, const Library& library, const Answers& expected, Side* side) {
  for (const QueryRow& row : kQueries) {
    side->run(row.query);
    Numbers answer = side->answer();
    const Numbers& all = expected.at(whole(row.query));
    std::sort(answer.begin(), answer.end());
    const bool distinct = std::adjacent_find(answer.begin(), answer.end()) == answer.end();
    bool right = distinct;
    if (row.query == Query::kTwoPerArtist) {
      right = right && answer.size() == all.size() && at_most_two_per_artist(library, answer);
    } else if (whole(row.query) == row.query) {
      right = right && agree(name, row.name, answer, all);
    } else {
      right = right && answer.size() == std::min<size_t>(kShort, all.size()) &&
              std::includes(all.begin(), all.end(), answer.begin(), answer.end());
    }
    if (!right) differ(name, row.name);
  }
}

Answers expected_answers(Side* limit) {
  Answers answers;
  for (const QueryRow& row : kQueries) {
    limit->run(row.query);
    Numbers answer = limit->answer();
    std::sort(answer.begin(), answer.end());
    answers.emplace(row.query, std::move(answer));
  }
  return answers;
}

// --------------------------------------------------------------------------------- The run

bool measured(const Times& times, const char* row, const char* side, const Library& library) {
  const auto sides = times.find(row);
  if (sides == times.end()) return false;
  const auto sizes = sides->second.find(side);
  return sizes != sides->second.end() && sizes->second.count(library.count()) != 0;
}

struct Contender {
  const char* name;
  Make make;
};

const std::vector<Contender> kContenders = {
    {kLimit, make_limit},
    {kOurs, make_trova},
    {kSqlite, [](const Library& library) { return make_sqlite(library, Schema::kPlain); }},
    {kSqlite, [](const Library& library) { return make_sqlite(library, Schema::kIndexed); }},
    {kSqlite, [](const Library& library) { return make_sqlite(library, Schema::kTables); }},
};

void run_contender(const Contender& contender, const Library& library, Answers* expected,
                   Times* times) {
  std::unique_ptr<Side> side;
  Collector collector(times, library.count());
  const auto run = [&] {
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
  };
  measure(
      contender.name, kAdd, [&] { side->add(0, library.count()); },
      [&] {
        side.reset();
        side = contender.make(library);
      })
      ->Iterations(1);
  run();
  if (side == nullptr) {  // filtered out
    side = contender.make(library);
    side->add(0, library.count());
  }
  if (expected->empty()) *expected = expected_answers(side.get());
  check(contender.name, library, *expected, side.get());
  measure_reading(contender.name, side.get());
  run();
  measure_changes(contender.name, library, side.get());
  run();
  const auto ran = [&](const char* row) { return measured(*times, row, contender.name, library); };
  const bool changed = ran(kRemove) && ran(kSynchronize) && ran(kAddMore);
  if (changed && side->count() != library.count()) differ(contender.name, "count after changes");
}

// ------------------------------------------------------------------------------- The table

double at(const Times& times, const char* row, const char* side, uint32_t size) {
  return times.at(row).at(side).at(size);
}

void print(const Times& times, uint32_t size, uint32_t smaller) {
  std::printf("\n%u tracks, milliseconds\n", size);
  std::printf("%-30s %10s %10s %10s %12s %11s", "", kOurs, kSqlite, kLimit, "ours/SQLite",
              "ours/limit");
  std::printf(smaller != 0 ? "  growth from %u\n" : "\n", smaller);
  for (const char* const row : kOrder) {
    // A filter may have left sides out.
    if (times.count(row) == 0 || times.at(row).size() < 3) continue;
    const double ours = at(times, row, kOurs, size);
    const double sqlite = at(times, row, kSqlite, size);
    const double limit = at(times, row, kLimit, size);
    std::printf("%-30s %10.3f %10.3f %10.3f %12.2f %11.2f", row, ours, sqlite, limit, ours / sqlite,
                ours / limit);
    if (smaller != 0) std::printf(" %8.1f", ours / at(times, row, kOurs, smaller));
    std::printf("\n");
  }
}

int compare(std::vector<uint32_t> sizes) {
  if (sizes.empty()) sizes = {10'000, 100'000, 1'000'000};
  Times times;
  uint32_t smaller = 0;
  for (const uint32_t size : sizes) {
    const Library library(size);
    Answers expected;
    for (const Contender& contender : kContenders) {
      run_contender(contender, library, &expected, &times);
    }
    print(times, size, smaller);
    std::fflush(stdout);
    smaller = size;
  }
  return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::vector<uint32_t> sizes;
  for (int i = 1; i < argc; ++i) {
    sizes.push_back(static_cast<uint32_t>(std::strtoul(argv[i], nullptr, 10)));
  }
  ManagerHandle* manager = nullptr;
  bench::require(trova_manager_start(nullptr, &manager), "manager");
  bench::require(trova_playlist_initialize(manager), "library");
  const int status = bench::compare(std::move(sizes));
  trova_playlist_shutdown();
  trova_manager_stop();
  return status;
}
