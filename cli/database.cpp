// Database: SQLite's C functions, with codes turned into words.
#include "database.h"

#include <fmt/format.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "error.h"
#include "interrupt.h"

namespace trova_cli {
namespace {

constexpr std::chrono::milliseconds kPause{20};
constexpr int kAttemptsUntilTold = 100;      // 2 seconds
constexpr int kAttemptsUntilGivenUp = 6000;  // 2 minutes

// A URI, in which no byte of the path means anything to SQLite. On a read-only file system nobody
// writes: reading needs no companion files there, which could not be made.
std::string NameFor(const std::string& path) {
  if (path == kInMemory) return path;
  std::string name = path.starts_with('/') ? "file:" : "file:./";
  for (const char byte : path) {
    if (std::string_view("%?#").find(byte) == std::string_view::npos) {
      name += byte;
    } else {
      name += fmt::format("%{:02X}", static_cast<unsigned char>(byte));
    }
  }
  struct statvfs system {};
  const bool read_only = statvfs(path.c_str(), &system) == 0 && (system.f_flag & ST_RDONLY) != 0;
  return read_only ? name + "?immutable=1" : name;
}

const char* ReasonOf(int code, const char* text) {
  switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "another process holds it; please try again";
    case SQLITE_FULL:
      return "no room on the disk";
    case SQLITE_READONLY:
      return "it must not be written";
    case SQLITE_NOTADB:
      return "it is no database";
    case SQLITE_CORRUPT:
      return "it is damaged";
    default:
      return text;
  }
}

}  // namespace

Database::Database(const std::string& path, Access access, Console& console)
    : path_(path), console_(console) {
  const int how =
      access == Access::kRead ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(NameFor(path).c_str(), &connection,
                                   how | SQLITE_OPEN_URI | SQLITE_OPEN_EXRESCODE, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK) Throw(code);
  sqlite3_busy_handler(connection, WaitForOthers, this);
  if (access == Access::kWrite) UseWriteAheadLog();
}

void Database::Execute(const char* sql) {
  const int code = sqlite3_exec(get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Throw(code);
}

void Database::Throw(int code) const {
  const char* text = connection_ ? sqlite3_errmsg(get()) : sqlite3_errstr(code);
  throw CommandError(fmt::format("{}: {}", path_, ReasonOf(code, text)));
}

int Database::WaitForOthers(void* self, int attempt) {
  if (attempt >= kAttemptsUntilGivenUp || Interrupted()) return 0;
  const Database* database = static_cast<Database*>(self);
  if (attempt == kAttemptsUntilTold) {
    database->console_.Warn(fmt::format("{}: waiting for another process", database->path_));
  }
  std::this_thread::sleep_for(kPause);
  return 1;
}

// SQLite does not call the busy handler where two processes change the mode of one file at once.
void Database::UseWriteAheadLog() {
  for (int attempt = 0;; ++attempt) {
    const int code = sqlite3_exec(get(), "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL",
                                  nullptr, nullptr, nullptr);
    if (code == SQLITE_OK) return;
    if ((code & 0xff) != SQLITE_BUSY || WaitForOthers(this, attempt) == 0) Throw(code);
  }
}

Statement::Statement(Database& database, const char* sql) : database_(database) {
  sqlite3_stmt* statement = nullptr;
  const int code =
      sqlite3_prepare_v3(database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  statement_.reset(statement);
  if (code != SQLITE_OK) database_.Throw(code);
}

bool Statement::Next() {
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  sqlite3_reset(statement_.get());
  if (code != SQLITE_DONE) database_.Throw(code);
  return false;
}

std::int64_t Statement::Number(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string_view Statement::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  if (text == nullptr) return "";
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::string_view Statement::Blob(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  if (bytes == nullptr) return "";
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

void Statement::Bind(int mark, std::int64_t number) {
  CheckBound(sqlite3_bind_int64(statement_.get(), mark, number));
}

void Statement::Bind(int mark, std::string_view text) {
  CheckBound(sqlite3_bind_text64(statement_.get(), mark, text.data(), text.size(), SQLITE_STATIC,
                                 SQLITE_UTF8));
}

// A null pointer binds NULL.
void Statement::Bind(int mark, Bytes bytes) {
  const char* data = bytes.null ? nullptr : bytes.bytes.empty() ? "" : bytes.bytes.data();
  CheckBound(sqlite3_bind_blob64(statement_.get(), mark, data, bytes.bytes.size(), SQLITE_STATIC));
}

void Statement::CheckBound(int code) {
  if (code != SQLITE_OK) database_.Throw(code);
}

// The right to write is taken at once: a transaction that reads first could be refused it later.
Transaction::Transaction(Database& database) : database_(database) {
  database_.Execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
  if (open_) sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
  database_.Execute("COMMIT");
  open_ = false;
}

}  // namespace trova_cli
