// workloads: the work that is measured, the same for each side and each way to measure.
#ifndef BENCH_WORKLOADS_H
#define BENCH_WORKLOADS_H

#include <functional>
#include <vector>

#include "side.h"

namespace bench {

// As many data objects as an application may have at a time.
constexpr uint32_t kBatch = 1000;

// Told which parts of a workload count. The others prepare.
class Meter {
 public:
  virtual ~Meter() = default;
  virtual void start() = 0;
  virtual void stop() = 0;
};

class NotMeasured final : public Meter {
 public:
  void start() override {}
  void stop() override {}
};

using Run = std::function<void(const Library& library, Side* side, Meter* meter)>;

struct Workload {
  const char* id;
  const char* name;
  Run run;
};

struct QueryWorkload {
  const char* id;
  const char* name;
  Query query;
};

extern const std::vector<QueryWorkload> kQueries;

// Expects an empty side.
extern const Workload kAdd;

// Those that leave a filled side as it was: the queries, writing, and starting from what was
// written.
std::vector<Workload> reading();

extern const std::vector<Workload> kStoring;

// Those that change it, each once and in this order.
extern const std::vector<Workload> kChanges;

// Reads what adding reads from the data objects; needs no side.
extern const Workload kReadValues;

}  // namespace bench

#endif  // BENCH_WORKLOADS_H
