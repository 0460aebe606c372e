#include "table.h"

#include <cstdio>

#include "workloads.h"

namespace bench {

namespace {

// How far ahead of SQLite we are to be, how near to the limit with queries, how little may grow
// with ten times the tracks, and what adding may cost beside reading the values.
constexpr double kLeastAhead = 5;
constexpr double kMostOfLimit = 3;
constexpr double kMostGrowth = 13;
constexpr double kMostOfReading = 3;

std::string figure(double value) {
  const int digits = value >= 100 ? 0 : value >= 10 ? 1 : value >= 1 ? 2 : value >= 0.1 ? 3 : 4;
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

// In italics when it misses its aim.
std::string judged(double value, bool reached) {
  return reached ? figure(value) : "*" + figure(value) + "*";
}

double at(const Times& times, const char* row, const char* side, uint32_t size) {
  return times.at(row).at(side).at(size);
}

void print_row(const Times& times, const char* row, uint32_t size, uint32_t smaller, bool near) {
  // A filter may have left sides out.
  for (const char* const side : {kOurs, kSqlite, kLimit}) {
    if (!measured(times, row, side, size)) return;
  }
  const double ours = at(times, row, kOurs, size);
  const double sqlite = at(times, row, kSqlite, size);
  const double limit = at(times, row, kLimit, size);
  const double ahead = sqlite / ours;
  const double of_limit = ours / limit;
  std::printf("| %s | %s | %s | %s | %s | %s |", row, figure(ours).c_str(), figure(sqlite).c_str(),
              figure(limit).c_str(), judged(ahead, ahead >= kLeastAhead).c_str(),
              judged(of_limit, !near || of_limit <= kMostOfLimit).c_str());
  if (smaller != 0) {
    const double growth = ours / at(times, row, kOurs, smaller);
    const double most = kMostGrowth / 10 * size / smaller;
    std::printf(" %s |", judged(growth, growth <= most).c_str());
  }
  std::printf("\n");
}

void print_reading(const Times& times, uint32_t size) {
  for (const char* const row : {kReadValues.name, kAdd.name}) {
    if (!measured(times, row, kOurs, size)) return;
  }
  const double read = at(times, kReadValues.name, kOurs, size);
  const double ratio = at(times, kAdd.name, kOurs, size) / read;
  std::printf("\nReading their values from the data objects takes %s ms: add / read is %s.\n",
              figure(read).c_str(), judged(ratio, ratio <= kMostOfReading).c_str());
}

}  // namespace

bool measured(const Times& times, const char* row, const char* side, uint32_t size) {
  const auto sides = times.find(row);
  if (sides == times.end()) return false;
  const auto sizes = sides->second.find(side);
  return sizes != sides->second.end() && sizes->second.count(size) != 0;
}

void print_table(const Times& times, uint32_t size, uint32_t smaller) {
  std::printf("\n| %u tracks, ms | ours | SQLite | limit | SQLite / ours | ours / limit |", size);
  if (smaller != 0) std::printf(" growth from %u |", smaller);
  std::printf("\n|---|--:|--:|--:|--:|--:|%s\n", smaller != 0 ? "--:|" : "");
  for (const QueryWorkload& row : kQueries) print_row(times, row.name, size, smaller, true);
  print_row(times, kAdd.name, size, smaller, false);
  for (const Workload& row : kChanges) print_row(times, row.name, size, smaller, false);
  for (const Workload& row : kStoring) print_row(times, row.name, size, smaller, false);
  print_reading(times, size);
}

}  // namespace bench
