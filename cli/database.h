// Database: an SQLite file, its statements and transactions, owned.
#ifndef TROVA_CLI_DATABASE_H
#define TROVA_CLI_DATABASE_H

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "console.h"

namespace trova_cli {

enum class Access {
  kRead,   // the file is there; nothing is changed in it
  kWrite,  // the file is made when it is not there
};

// The path of a database without a file.
inline constexpr char kInMemory[] = ":memory:";

// Bytes that are no text, such as the name of a file.
struct Bytes {
  std::string_view bytes;
  bool null = false;
};

// NULL for what equals `usual`.
inline Bytes BytesUnless(std::string_view bytes, std::string_view usual) {
  return {bytes, bytes == usual};
}

// Other processes may use the same file. While one of them holds it, calls wait; the person at the
// console is told when it takes long. Every function throws CommandError, which names the file.
class Database {
 public:
  // @param console  outlives the database
  Database(const std::string& path, Access access, Console& console);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Runs statements that give no rows and take no values.
  void Execute(const char* sql);

  sqlite3* get() const noexcept { return connection_.get(); }
  [[noreturn]] void Throw(int code) const;

 private:
  struct Closer {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close(connection); }
  };

  static int WaitForOthers(void* self, int attempt);
  void UseWriteAheadLog();

  std::string path_;
  Console& console_;
  std::unique_ptr<sqlite3, Closer> connection_;
};

// A prepared statement, run as often as one likes.
class Statement {
 public:
  // @param database  outlives the statement
  Statement(Database& database, const char* sql);

  // Starts the statement anew with these values, in the order of its marks. Text and bytes are
  // borrowed until the statement ends or starts anew.
  template <typename... Values>
  Statement& Start(const Values&... values) {
    sqlite3_reset(statement_.get());
    int mark = 0;
    (Bind(++mark, values), ...);
    return *this;
  }
  // The next row; false after the last one.
  bool Next();
  // Ends a run before its last row, so that the file is not held.
  void Finish() { sqlite3_reset(statement_.get()); }
  // For statements that give no rows.
  template <typename... Values>
  void Run(const Values&... values) {
    Start(values...).Next();
  }

  // Columns of the row. Texts are zero-terminated, bytes are not; both are valid until the next
  // call of a function that is not const.
  std::int64_t Number(int column) const;
  std::string_view Text(int column) const;
  std::string_view Blob(int column) const;
  bool IsNull(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };

  void Bind(int mark, std::int64_t number);
  void Bind(int mark, std::string_view text);
  void Bind(int mark, Bytes bytes);
  void CheckBound(int code);

  Database& database_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

// Everything until Commit() happens as a whole or, without it, not at all.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  Database& database_;
  bool open_ = true;
};

}  // namespace trova_cli

#endif
