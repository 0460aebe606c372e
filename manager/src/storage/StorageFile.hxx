// StorageFile: the one file that holds the stores: opened, made, checked.
//
// The file is an SQLite database that carries our application id and, as user_version, the version
// of its layout. How its names are shared out:
//   - "trova_cli_..."  tables of the trova command, written through a connection of its own. The
//                      command leaves the two numbers alone and may come first: a database that
//                      holds nothing else is still one that we make ours.
//   - "trova_..."      everything else that starts so is the manager's:
//       trova_stores   the stores: id, name
//       trova_fields   their fields: store, position, name, type, flags
//       trova_store_N  the records of store N: id and one column fP for each field at position P
//                      that is text or searched for. Ids grow and are never used again.
//       trova_bulk_N_P the values of field P of store N, one row each under the record's id, where
//                      the field is binary and not searched for: lists of records stay dense, and
//                      a change of name leaves the data alone.
//       trova_index_N_P
//   - other names      nobody's; left alone.
// Names of stores and fields come from outside: they are values in the two catalogue tables and
// never part of a statement.
//
// A commit waits until the disk has it (synchronous = FULL): devices lose power at any moment, and
// what was reported as stored must be there afterwards. Collections are stored rarely enough.
// Readers and one writer work side by side (write-ahead log), so the file has two companions,
// "-wal" and "-shm", while somebody uses it.
//
// Nothing but SQLite may open the file in this process: closing a second descriptor would give up
// the locks of the first.
#ifndef TROVA_MANAGER_STORAGE_STORAGE_FILE_HXX
#define TROVA_MANAGER_STORAGE_STORAGE_FILE_HXX

#include <string>

#include "storage/Sqlite.hxx"

namespace trova::storage {

inline constexpr char kInMemory[] = ":memory:";

class StorageFile {
 public:
  // Throws Failure when the file cannot be used; what is there stays as it is.
  explicit StorageFile(const std::string& path);

  Database& database() noexcept { return database_; }

 private:
  void make_ready();
  void tune();

  Database database_;
};

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_STORAGE_FILE_HXX
