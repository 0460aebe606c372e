// Sqlite: the database library in a few classes that own what they open and throw Failure.
#include "storage/Sqlite.hxx"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>  // for std::generic_category()
#include <utility>

namespace trova::storage {

namespace {

bool is_lack_of_room(int error) {
  return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

bool is_lack_of_rights(int error) {
  return error == EACCES || error == EPERM || error == EROFS;
}

// What the system said where SQLite says no more than that a file operation failed.
uint32_t code_of_system_error(int primary, int error) {
  if (is_lack_of_room(error)) return TROVA_MANAGER_STORE_FULL;
  if (primary == SQLITE_CANTOPEN && is_lack_of_rights(error)) return TROVA_MANAGER_STORE_READ_ONLY;
  return TROVA_MANAGER_STORE_FAILED;
}

// Our statements are constants and fit our schema: where one does not compile or meets a
// constraint, the schema is not what we made.
uint32_t code_of(int result, int system_error) {
  if (result == SQLITE_IOERR_NOMEM) return TROVA_MANAGER_NO_MEMORY;
  if (result == SQLITE_READONLY_DBMOVED) return TROVA_MANAGER_STORE_FAILED;
  switch (result & 0xff) {
    case SQLITE_NOMEM:
      return TROVA_MANAGER_NO_MEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
      return TROVA_MANAGER_STORE_BUSY;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return TROVA_MANAGER_STORE_READ_ONLY;
    case SQLITE_FULL:
      return TROVA_MANAGER_STORE_FULL;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
      return TROVA_MANAGER_STORE_BROKEN;
    case SQLITE_TOOBIG:
      return TROVA_MANAGER_INVALID_ARG;
    case SQLITE_CANTOPEN:
    case SQLITE_IOERR:
      return code_of_system_error(result & 0xff, system_error);
    default:
      return TROVA_MANAGER_INTERNAL;
  }
}

std::string reason_of(sqlite3* connection, int result, int system_error) {
  const int primary = result & 0xff;
  std::string reason = connection == nullptr ? sqlite3_errstr(result) : sqlite3_errmsg(connection);
  if ((primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR) && system_error != 0) {
    reason += ": " + std::generic_category().message(system_error);
  }
  return reason;
}

}  // namespace

std::string describe(uint32_t code, const std::string& title, const std::string& reason) {
  return trova_manager_error_text(code) + (": " + title) + " (" + reason + ")";
}

Database::Database(const std::string& name, int flags, std::string title)
    : title_(std::move(title)) {
  sqlite3* connection = nullptr;
  const int result =
      sqlite3_open_v2(name.c_str(), &connection, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  connection_.reset(connection);  // even a failed one must be closed
  if (result != SQLITE_OK) fail(connection == nullptr ? result : sqlite3_extended_errcode(get()));
  configure();
}

// A file may come from anywhere: nothing in it may make us run what we did not write.
void Database::configure() {
  sqlite3_extended_result_codes(get(), 1);
  sqlite3_busy_handler(get(), wait_for_others, this);
  sqlite3_db_config(get(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(get(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(get(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(get(), SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

int Database::wait_for_others(void* self, int waits) noexcept {
  constexpr int kDelays[] = {1, 2, 5, 10};  // milliseconds
  int& patience = static_cast<Database*>(self)->patience_;
  if (patience <= 0) return 0;
  const int delay = kDelays[std::min<size_t>(static_cast<size_t>(waits), std::size(kDelays) - 1)];
  sqlite3_sleep(delay);
  patience -= delay;
  return 1;
}

void Database::run(const SqlText& sql) {
  const int result = sqlite3_exec(get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(result);
}

Statement Database::take(const SqlText& sql) {
  for (Statement& kept : kept_) {
    if (kept && sql == sqlite3_sql(kept.get())) return std::move(kept);
  }
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v3(get(), sql.c_str(), static_cast<int>(sql.size() + 1),
                                        SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (result != SQLITE_OK) fail(result);
  return Statement(statement);
}

void Database::give_back(Statement statement) noexcept {
  const auto free = std::find_if(kept_.begin(), kept_.end(), [](const Statement& s) { return !s; });
  Statement& place = free != kept_.end() ? *free : kept_[next_victim_++ % kept_.size()];
  place = std::move(statement);
}

void Database::empty_log() noexcept {
  const int patience = std::exchange(patience_, 0);
  sqlite3_wal_checkpoint_v2(get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  patience_ = patience;
}

// What was written to the log before there was no room left still fills the disk.
void Database::roll_back() noexcept {
  if (sqlite3_get_autocommit(get()) == 0) {
    sqlite3_exec(get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  if (std::exchange(is_full_, false)) empty_log();
}

void Database::fail(int result) {
  const int system_error = sqlite3_system_errno(get());
  fail(code_of(result, system_error), reason_of(get(), result, system_error));
}

void Database::fail(uint32_t code, const std::string& reason) {
  is_full_ = code == TROVA_MANAGER_STORE_FULL;
  throw Failure(code, describe(code, title_, reason));
}

Query::~Query() {
  sqlite3_reset(statement());
  sqlite3_clear_bindings(statement());
  database_.give_back(std::move(kept_));
}

Query& Query::check(int result) {
  if (result != SQLITE_OK) database_.fail(result);
  return *this;
}

Query& Query::bind(int parameter, int64_t number) {
  return check(sqlite3_bind_int64(statement(), parameter, number));
}

Query& Query::bind_null(int parameter) {
  return check(sqlite3_bind_null(statement(), parameter));
}

Query& Query::bind_text(int parameter, std::string_view text) {
  return check(sqlite3_bind_text64(statement(), parameter, text.data(), text.size(), SQLITE_STATIC,
                                   SQLITE_UTF8));
}

Query& Query::bind_bytes(int parameter, std::string_view bytes) {
  return check(
      sqlite3_bind_blob64(statement(), parameter, bytes.data(), bytes.size(), SQLITE_STATIC));
}

Query& Query::bind_zeroes(int parameter, uint64_t length) {
  return check(sqlite3_bind_zeroblob64(statement(), parameter, length));
}

bool Query::step() {
  const int result = sqlite3_step(statement());
  if (result != SQLITE_ROW && result != SQLITE_DONE) database_.fail(result);
  return result == SQLITE_ROW;
}

std::string_view Query::bytes(int column) {
  const void* const bytes = sqlite3_column_blob(statement(), column);
  const int length = sqlite3_column_bytes(statement(), column);
  if (bytes == nullptr && length != 0) database_.fail(SQLITE_NOMEM);
  return {static_cast<const char*>(bytes), static_cast<size_t>(length)};
}

int64_t read_number(Database& database, const SqlText& sql) {
  Query query(database, sql);
  return query.step() ? query.number(0) : 0;
}

Transaction::Transaction(Database& database, Kind kind) : database_(database) {
  Query(database, kind == Kind::kWrite ? "BEGIN IMMEDIATE" : "BEGIN").step();
}

void Transaction::commit() {
  Query(database_, "COMMIT").step();
  is_done_ = true;
}

Blob::Blob(Database& database, const std::string& table, const char* column, int64_t row, Mode mode)
    : database_(database) {
  sqlite3_blob* blob = nullptr;
  const int result = sqlite3_blob_open(database.get(), "main", table.c_str(), column, row,
                                       static_cast<int>(mode), &blob);
  if (result != SQLITE_OK) database.fail(result);
  blob_.reset(blob);
}

void Blob::read(char* to) {
  const int result = sqlite3_blob_read(blob_.get(), to, sqlite3_blob_bytes(blob_.get()), 0);
  if (result != SQLITE_OK) database_.fail(result);
}

void Blob::write(std::string_view bytes) {
  const int result =
      sqlite3_blob_write(blob_.get(), bytes.data(), static_cast<int>(bytes.size()), 0);
  if (result != SQLITE_OK) database_.fail(result);
}

}  // namespace trova::storage
