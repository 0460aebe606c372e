// table: what was measured, as a table.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include <cstdint>
#include <map>
#include <string>

namespace bench {

constexpr const char* kOurs = "ours";
constexpr const char* kSqlite = "SQLite";
constexpr const char* kLimit = "limit";

// The best time of each row, side and size, in milliseconds.
using Times = std::map<std::string, std::map<std::string, std::map<uint32_t, double>>>;

bool measured(const Times& times, const char* row, const char* side, uint32_t size);

// Prints the rows of a size with their ratios, and growth from the smaller size unless that is 0.
void print_table(const Times& times, uint32_t size, uint32_t smaller);

}  // namespace bench

#endif  // BENCH_TABLE_H
