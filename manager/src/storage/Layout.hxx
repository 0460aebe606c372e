// Layout: a store's fields, and the catalogue of the stores in the file.
#ifndef TROVA_MANAGER_STORAGE_LAYOUT_HXX
#define TROVA_MANAGER_STORAGE_LAYOUT_HXX

#include <cstdint>
#include <string>
#include <string_view>

#include "memory/Allocator.hxx"
#include "storage/Sqlite.hxx"

namespace trova::storage {

// Type codes and flags are written to the file; their values never change.
inline constexpr uint32_t kText = 1;
inline constexpr uint32_t kBinary = 3;
inline constexpr uint32_t kSearched = 1;  // records are looked for by the value
inline constexpr uint32_t kUnique = 2;    // no two records have the same value

struct Field {
  String name;
  uint32_t type;
  uint32_t flags;

  bool is_unique() const noexcept { return (flags & kUnique) != 0; }
  bool has_index() const noexcept { return (flags & (kSearched | kUnique)) != 0; }
  // Kept in a table of its own and read when it is asked for.
  bool is_bulk() const noexcept { return type == kBinary && !has_index(); }

  bool operator==(const Field&) const = default;
};

struct Layout {
  uint64_t session;  // of the file that the store is in
  int64_t id;        // 0: not in the file yet
  String name;
  Vector<Field> fields;

  bool is_finished() const noexcept { return id != 0; }
  static constexpr size_t kNowhere = SIZE_MAX;
  size_t position_of(std::string_view field) const noexcept;
};

std::string record_table(const Layout& layout);
std::string bulk_table(const Layout& layout, size_t position);
std::string column(size_t position);

// Fills `id` and `fields` from the catalogue.
// @return false when the file has no store of the layout's name
bool find_store(Database& database, Layout& layout);

// Enters a store with its fields and makes its tables, in one transaction. Where another process
// did so meanwhile with the same fields, its store is taken; with other fields that is a failure.
// @return the store's id
int64_t make_store(Database& database, const Layout& layout);

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_LAYOUT_HXX
