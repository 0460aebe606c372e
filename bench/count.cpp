// count: runs workloads of the library between markers, for whoever counts instructions.
//
// count SIZE [ID...] runs each workload once, after it ran once before where it can be repeated;
// count SIZE without ids prints them all. callgrind writes one file for each workload, qemu's
// plugin (qemu_count.c) one line; without either nothing is counted. No threads, no time, no
// chance: a count is the same each time.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "data_reads.h"
#include "workloads.h"

#if defined(__arm__)
#include <unistd.h>

#include "count_marker.h"
#elif __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define BENCH_HAS_CALLGRIND
#endif

namespace bench {

namespace {

#if defined(__arm__)

class Counter final : public Meter {
 public:
  void start() override { mark(BENCH_MARKER_START); }
  void stop() override { mark(BENCH_MARKER_STOP); }
  void finish(const char*) { mark(BENCH_MARKER_FINISH); }

 private:
  static void mark(int what) { syscall(BENCH_MARKER_CALL, BENCH_MARKER, what); }
};

#elif defined(BENCH_HAS_CALLGRIND)

// Client requests, which do nothing elsewhere.
class Counter final : public Meter {
 public:
  void start() override { CALLGRIND_START_INSTRUMENTATION; }
  void stop() override { CALLGRIND_STOP_INSTRUMENTATION; }
  void finish(const char* id) { CALLGRIND_DUMP_STATS_AT(id); }
};

#else
#error "counting needs valgrind's header, Debian's package valgrind"
#endif

std::unique_ptr<Side> filled(const Library& library) {
  NotMeasured nothing;
  std::unique_ptr<Side> side = make_trova(library);
  kAdd.run(library, side.get(), &nothing);
  return side;
}

// Finds the workload and runs what must come before it.
class Runner {
 public:
  Runner(const Library& library, const char* id) : library_(library), id_(id) {}

  bool run() {
    if (is(kAdd)) {
      side_ = make_trova(library_);
      return count(kAdd);
    }
    if (is(kReadValues)) return count(kReadValues);
    for (const Workload& workload : reading()) {
      if (is(workload)) return count_repeated(workload);
    }
    for (const Workload& workload : kChanges) {
      if (is(workload)) return count_change(workload);
    }
    return false;
  }

 private:
  bool is(const Workload& workload) const { return std::strcmp(workload.id, id_) == 0; }

  bool count(const Workload& workload) {
    workload.run(library_, side_.get(), &counter_);
    counter_.finish(id_);
    return true;
  }

  // The first run sorts values and fills what is remembered.
  bool count_repeated(const Workload& workload) {
    side_ = filled(library_);
    side_->write();
    workload.run(library_, side_.get(), &nothing_);
    return count(workload);
  }

  bool count_change(const Workload& workload) {
    side_ = filled(library_);
    side_->run(Query::kMoreLike50);
    for (const Workload& change : kChanges) {
      if (change.id == workload.id) break;
      change.run(library_, side_.get(), &nothing_);
    }
    return count(workload);
  }

  const Library& library_;
  const char* id_;
  std::unique_ptr<Side> side_;
  Counter counter_;
  NotMeasured nothing_;
};

void list() {
  std::puts(kAdd.id);
  std::puts(kReadValues.id);
  for (const Workload& workload : reading()) std::puts(workload.id);
  for (const Workload& workload : kChanges) std::puts(workload.id);
}

int count(uint32_t size, char** ids) {
  const Library library(size);
  for (; *ids != nullptr; ++ids) {
    if (Runner(library, *ids).run()) continue;
    std::fprintf(stderr, "no workload is called %s\n", *ids);
    return 2;
  }
  return 0;
}

}  // namespace

}  // namespace bench

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: trova_count SIZE [ID...]\n");
    return 2;
  }
  if (argc == 2) {
    bench::list();
    return 0;
  }
  bench::start_library();
  const int status =
      bench::count(static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10)), argv + 2);
  bench::stop_library();
  return status;
}
