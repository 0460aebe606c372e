#include "workloads.h"

#include <algorithm>

#include "data_reads.h"

namespace bench {

namespace {

template <typename Work>
void measure(Meter* meter, Work work) {
  meter->start();
  work();
  meter->stop();
}

void for_each_batch(const Library& library, uint32_t first, uint32_t last,
                    const std::function<void(const DataObjects&)>& work) {
  for (; first < last; first += kBatch) {
    work(DataObjects(library, first, std::min(first + kBatch, last)));
  }
}

void add(const Library& library, uint32_t first, uint32_t last, Side* side, Meter* meter) {
  measure(meter, [&] { side->begin_adding(); });
  for_each_batch(library, first, last,
                 [&](const DataObjects& objects) { measure(meter, [&] { side->add(objects); }); });
  measure(meter, [&] { side->end_adding(); });
}

void add_all(const Library& library, Side* side, Meter* meter) {
  add(library, 0, library.count(), side, meter);
}

void remove_some(const Library& library, Side* side, Meter* meter) {
  Numbers numbers;
  for (uint32_t i = 0; i < library.count(); i += 100) numbers.push_back(i);
  measure(meter, [&] { side->remove(numbers); });
}

// After every hundredth was removed: the ones behind them go, and as many new ones come.
void synchronize(const Library& library, Side* side, Meter* meter) {
  const uint32_t end = library.count() + library.spare();
  Numbers numbers;
  for (uint32_t i = 0; i < end; ++i) {
    if (i >= library.count() || i % 100 > 1) numbers.push_back(i);
  }
  const DataObjects fresh(library, library.count(), end);
  measure(meter, [&] { side->synchronize(numbers, fresh); });
}

void add_more(const Library& library, Side* side, Meter* meter) {
  side->run(Query::kMoreLike50);  // sorts the values
  add(library, library.total() - library.spare(), library.total(), side, meter);
}

void write(const Library&, Side* side, Meter* meter) {
  measure(meter, [&] { side->write(); });
}

void start(const Library&, Side* side, Meter* meter) {
  side->run(Query::kShuffled);  // lets go of what a start before has read
  measure(meter, [&] { side->start_from_bytes(Query::kShuffled); });
}

void read_all_values(const Library& library, Side*, Meter* meter) {
  read_values(library, DataObjects(library, 0, 1));  // the first time finds out what to read
  for_each_batch(library, 0, library.count(), [&](const DataObjects& objects) {
    measure(meter, [&] { read_values(library, objects); });
  });
}

}  // namespace

std::vector<Workload> reading() {
  std::vector<Workload> workloads = kStoring;
  for (const QueryWorkload& row : kQueries) {
    const Query query = row.query;
    workloads.push_back({row.id, row.name, [query](const Library&, Side* side, Meter* meter) {
                           measure(meter, [&] { side->run(query); });
                         }});
  }
  return workloads;
}

const std::vector<QueryWorkload> kQueries = {
    {"filter", "two genres or a decade", Query::kFilter},
    {"shuffled", "the same, 50 in random order", Query::kShuffled},
    {"more_like", "more like this, all", Query::kMoreLike},
    {"more_like_50", "more like this, 50", Query::kMoreLike50},
    {"two_per_artist", "its order, 50, 2 per artist", Query::kTwoPerArtist},
    {"names_like", "artist like seed, all", Query::kNamesLike},
    {"names_equal", "20 artists by name", Query::kNamesEqual},
};

const Workload kAdd = {"add", "add n idents", add_all};

const std::vector<Workload> kStoring = {
    {"write", "write the bytes", write},
    {"start", "bytes to first playlist", start},
};

const std::vector<Workload> kChanges = {
    {"remove", "remove 1 % one by one", remove_some},
    {"synchronize", "synchronise with 1 % changes", synchronize},
    {"add_more", "add 1 % after sorting", add_more},
};

const Workload kReadValues = {"read_values", "read the values of n idents", read_all_values};

}  // namespace bench
