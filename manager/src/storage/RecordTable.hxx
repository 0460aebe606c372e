// RecordTable: the records of one store in the file.
//
// The order of records is that of their first insertion: ids grow, an update keeps the id, and a
// record that replaces others by a unique value takes the place of the oldest of them.
#ifndef TROVA_MANAGER_STORAGE_RECORD_TABLE_HXX
#define TROVA_MANAGER_STORAGE_RECORD_TABLE_HXX

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "storage/Layout.hxx"
#include "storage/Values.hxx"

namespace trova::storage {

class RecordTable {
 public:
  RecordTable(Database& database, const Layout& layout) : database_(database), layout_(layout) {}

  // @return the id of the youngest record; 0 when there is none
  int64_t last_id();

  // Ids between `after` (exclusive) and `last` whose fields have the known values of `criteria`, in
  // order.
  // @return how many were written
  size_t list(const Values& criteria, int64_t after, int64_t last, std::span<int64_t> out);

  // The values of a record, all but those of bulk fields.
  std::optional<Values> read(int64_t id);
  // @return false when the record or the value does not exist
  bool read_bulk(int64_t id, size_t position, Values& values);

  // Writes a record; id 0 is a new one. Records that have one of its unique values are replaced. A
  // record that was deleted meanwhile is written anew if all its values are known.
  // @return the id that the record has now; 0: it is gone
  int64_t write(int64_t id, const Values& values);

  // @return false when it was gone
  bool remove(int64_t id);

 private:
  template <class Visit>
  void for_each_column(Visit visit) const;

  void prepare_for(const Values& values);
  bool exists(int64_t id);
  Vector<int64_t> rivals(int64_t id, const Values& values);
  int64_t write_row(int64_t id, const Values& values);
  void write_bulk(int64_t id, const Values& values, bool is_same);
  void insert_bulk(int64_t id, size_t position, std::string_view bytes);
  void remove_bulk(int64_t id, size_t position);
  bool remove_row(int64_t id);

  Database& database_;
  const Layout& layout_;
};

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_RECORD_TABLE_HXX
