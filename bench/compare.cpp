// compare: what we take for each kind of work, beside SQLite and beside the machine's limit.
//
// compare [SIZE...] [--benchmark_...]: makes libraries of these sizes, checks that all sides give
// the same answers, and prints tables of milliseconds and of memory. SQLite's number is the best of
// its schemas. To look into one row with a profiler: compare 10000
// --benchmark_filter=ours/more.*all
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <unordered_map>

#include "data_reads.h"
#include "memory.h"
#include "side.h"
#include "table.h"
#include "workloads.h"

namespace bench {

namespace {

using Make = std::function<std::unique_ptr<Side>(const Library&)>;

// The best one counts: other work on the machine only adds.
constexpr int kRepetitions = 3;

// One entry of so many may differ.
constexpr size_t kTolerated = 5000;

// ---------------------------------------------------------------------------- Measurements

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

class StopWatch final : public Meter {
 public:
  void start() override { start_ = std::chrono::steady_clock::now(); }
  void stop() override { elapsed_ += std::chrono::steady_clock::now() - start_; }
  double seconds() const { return elapsed_.count(); }

 private:
  std::chrono::steady_clock::time_point start_;
  std::chrono::duration<double> elapsed_{0};
};

benchmark::internal::Benchmark* measure(const char* side, const char* row,
                                        const std::function<void(Meter*)>& work) {
  const std::string name = std::string(side) + '/' + row;
  return benchmark::RegisterBenchmark(name.c_str(),
                                      [work](benchmark::State& state) {
                                        for (auto _ : state) {
                                          StopWatch watch;
                                          work(&watch);
                                          state.SetIterationTime(watch.seconds());
                                        }
                                      })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

benchmark::internal::Benchmark* measure(const char* name, const Library& library,
                                        const Workload& workload, Side* side) {
  const Run run = workload.run;
  return measure(name, workload.name,
                 [&library, side, run](Meter* meter) { run(library, side, meter); });
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
  std::fprintf(stderr, "%s: %s: %zu of %zu entries differ\n", side, row, differing.size(),
               expected.size());
  return differing.size() * kTolerated <= expected.size();
}

using Answers = std::map<Query, Numbers>;

// The tracks of an answer in the order of their numbers.
Numbers run_sorted(const Library& library, Side* side, Query query) {
  side->run(query);
  Numbers answer;
  for (const std::string_view ident : side->answer()) answer.push_back(library.number(ident));
  std::sort(answer.begin(), answer.end());
  return answer;
}

void check(const char* name, const Library& library, const Answers& expected, Side* side) {
  for (const QueryWorkload& row : kQueries) {
    const Numbers answer = run_sorted(library, side, row.query);
    const Numbers& all = expected.at(whole(row.query));
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

Answers expected_answers(const Library& library, Side* limit) {
  Answers answers;
  for (const QueryWorkload& row : kQueries) {
    answers.emplace(row.query, run_sorted(library, limit, row.query));
  }
  return answers;
}

// --------------------------------------------------------------------------------- The run

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

class Comparison {
 public:
  Comparison(const Library& library, Times* times)
      : library_(library), times_(times), collector_(times, library.count()) {}

  void run(const Contender& contender) {
    const char* const name = contender.name;
    for (int round = 0; round < rounds(); ++round) {
      const std::unique_ptr<Side> side = build(contender);
      if (round == 0) {
        if (expected_.empty()) expected_ = expected_answers(library_, side.get());
        check(name, library_, expected_, side.get());
        for (const Workload& workload : reading()) {
          measure(name, library_, workload, side.get())->Repetitions(kRepetitions);
        }
        run_registered();
      }
      side->run(Query::kMoreLike50);  // sorts the values
      change(name, side.get());
    }
  }

  void measure_data_reads() {
    measure(kOurs, library_, kReadValues, nullptr)->Iterations(1)->Repetitions(rounds());
    run_registered();
  }

 private:
  std::unique_ptr<Side> build(const Contender& contender) {
    std::unique_ptr<Side> side;
    const auto fill = [&](Meter* meter) {
      side.reset();
      side = contender.make(library_);
      kAdd.run(library_, side.get(), meter);
    };
    measure(contender.name, kAdd.name, fill)->Iterations(1);
    run_registered();
    NotMeasured unused;
    if (side == nullptr) fill(&unused);  // filtered out
    return side;
  }

  // Each changes the side, so each runs once.
  void change(const char* name, Side* side) {
    for (const Workload& workload : kChanges) {
      measure(name, library_, workload, side)->Iterations(1);
    }
    run_registered();
    const bool changed =
        std::all_of(kChanges.begin(), kChanges.end(), [&](const Workload& workload) {
          return measured(*times_, workload.name, name, library_.count());
        });
    if (changed && side->count() != library_.count()) differ(name, "count after changes");
  }

  // How often what cannot be repeated is done anew, as time allows. The best one counts.
  int rounds() const { return library_.count() > 100'000 ? 2 : 5; }

  void run_registered() {
    benchmark::RunSpecifiedBenchmarks(&collector_);
    benchmark::ClearRegisteredBenchmarks();
  }

  const Library& library_;
  Times* times_;
  Collector collector_;
  Answers expected_;
};

int compare(std::vector<uint32_t> sizes) {
  if (sizes.empty()) sizes = {10'000, 100'000, 1'000'000};
  Times times;
  uint32_t smaller = 0;
  for (const uint32_t size : sizes) {
    const Library library(size);
    Comparison comparison(library, &times);
    for (const Contender& contender : kContenders) comparison.run(contender);
    comparison.measure_data_reads();
    print_table(times, size, smaller);
    report_memory(library);
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
  bench::start_library();
  const int status = bench::compare(std::move(sizes));
  bench::stop_library();
  return status;
}
