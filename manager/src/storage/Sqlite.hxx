// Sqlite: the database library in a few classes that own what they open and throw Failure.
//
// A database and what was made from it are used by one thread at a time: the caller sees to that.
// What SQLite allocates comes from malloc() and does not count towards the manager's limit; the
// cache of a connection is bounded, and values of any size pass through Blob without a copy.
#ifndef TROVA_MANAGER_STORAGE_SQLITE_HXX
#define TROVA_MANAGER_STORAGE_SQLITE_HXX

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "trova_manager.h"
#include "util/Failure.hxx"

namespace trova::storage {

using SqlText = std::string;

// The words for a failure: what the code means, which file, and why.
std::string describe(uint32_t code, const std::string& title, const std::string& reason);

// A compiled statement.
class Statement {
 public:
  Statement() = default;
  explicit Statement(sqlite3_stmt* statement) noexcept : statement_(statement) {}

  sqlite3_stmt* get() const noexcept { return statement_.get(); }
  explicit operator bool() const noexcept { return statement_ != nullptr; }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// A connection. Statements that were run are kept for the next time.
class Database {
 public:
  // @param name   as sqlite3_open_v2() takes it
  // @param title  the file in messages
  Database(const std::string& name, int flags, std::string title);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  sqlite3* get() const noexcept { return connection_.get(); }
  bool is_read_only() const noexcept { return sqlite3_db_readonly(get(), "main") == 1; }

  // Runs a statement without parameters whose rows do not matter.
  void run(const SqlText& sql);

  Statement take(const SqlText& sql);
  void give_back(Statement statement) noexcept;

  // From now on, waits for other connections add up to kPatience before they fail.
  void restart_patience() noexcept { patience_ = kPatience; }
  // Runs a step again for as long as another connection is in its way. SQLite waits by itself
  // except where that could deadlock, as while the journal's mode is changed.
  template <class Step>
  void retry_while_busy(Step step);

  // Moves what the log holds into the file and cuts the log off, unless somebody uses it just now
  // or there is no room for that.
  void empty_log() noexcept;

  // Undoes the transaction that is open, if one is.
  void roll_back() noexcept;

  [[noreturn]] void fail(int result);
  [[noreturn]] void fail(uint32_t code, const std::string& reason);

 private:
  // Storing 100 MB on a slow card takes this long, and everyone else waits.
  static constexpr int kPatience = 30'000;  // milliseconds
  static constexpr size_t kKeptStatements = 16;

  static int wait_for_others(void* self, int waits) noexcept;
  void configure();

  struct Close {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close(connection); }
  };
  std::unique_ptr<sqlite3, Close> connection_;
  std::string title_;
  int patience_ = kPatience;  // milliseconds left
  bool is_full_ = false;      // the open transaction failed for lack of room
  size_t next_victim_ = 0;
  std::array<Statement, kKeptStatements> kept_;  // finalized before the connection closes
};

template <class Step>
void Database::retry_while_busy(Step step) {
  for (int waits = 0;; ++waits) {
    try {
      return step();
    } catch (const Failure& failure) {
      if (failure.code() != TROVA_MANAGER_STORE_BUSY || !wait_for_others(this, waits)) throw;
    }
  }
}

// A run of a statement. Parameters count from 1, columns from 0. What is bound is not copied and
// must live as long as the query.
class Query {
 public:
  Query(Database& database, const SqlText& sql) : database_(database), kept_(database.take(sql)) {}
  ~Query();
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  Query& bind(int parameter, int64_t number);
  Query& bind_null(int parameter);
  Query& bind_text(int parameter, std::string_view text);
  Query& bind_bytes(int parameter, std::string_view bytes);
  Query& bind_zeroes(int parameter, uint64_t length);

  // @return true when there is a row
  bool step();

  bool is_null(int column) const { return sqlite3_column_type(statement(), column) == SQLITE_NULL; }
  int64_t number(int column) const { return sqlite3_column_int64(statement(), column); }
  // Valid until the next step.
  std::string_view bytes(int column);

 private:
  sqlite3_stmt* statement() const { return kept_.get(); }
  Query& check(int result);

  Database& database_;
  Statement kept_;
};

// The first number of a statement without parameters.
int64_t read_number(Database& database, const SqlText& sql);

// Rolls back unless it was committed.
class Transaction {
 public:
  // One that writes takes the lock at once: one that found out later that it must wait would have
  // to start anew, because what it read may have changed.
  enum class Kind { kRead, kWrite };

  Transaction(Database& database, Kind kind);
  ~Transaction() {
    if (!is_done_) database_.roll_back();
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database_;
  bool is_done_ = false;
};

// The value of one column of one row, moved between the file and the caller's memory page by page.
class Blob {
 public:
  enum class Mode { kRead = 0, kWrite = 1 };

  Blob(Database& database, const std::string& table, const char* column, int64_t row, Mode mode);

  uint32_t length() const noexcept {
    return static_cast<uint32_t>(sqlite3_blob_bytes(blob_.get()));
  }
  void read(char* to);
  void write(std::string_view bytes);

 private:
  struct Close {
    void operator()(sqlite3_blob* blob) const noexcept { sqlite3_blob_close(blob); }
  };
  Database& database_;
  std::unique_ptr<sqlite3_blob, Close> blob_;
};

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_SQLITE_HXX
