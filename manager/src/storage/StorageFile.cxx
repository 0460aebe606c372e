// StorageFile: the one file that holds the stores: opened, made, checked.
#include "storage/StorageFile.hxx"

#include <sys/stat.h>
#include <sys/statvfs.h>

namespace trova::storage {

namespace {

constexpr int64_t kApplicationId = 0x54524f56;  // "TROV"
constexpr int64_t kVersion = 1;

constexpr char kSchema[] = R"(
CREATE TABLE trova_stores(id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE);
CREATE TABLE trova_fields(
  store INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,
  type INTEGER NOT NULL, flags INTEGER NOT NULL,
  PRIMARY KEY(store, position), UNIQUE(store, name)) WITHOUT ROWID;
)";

enum class Contents { kNone, kOurs, kNewer, kDamaged, kForeign };

// Caller holds a transaction: the answers belong together.
Contents inspect(Database& database) {
  const int64_t application = read_number(database, "PRAGMA application_id");
  const int64_t version = read_number(database, "PRAGMA user_version");
  if (application == kApplicationId) {
    if (version > kVersion) return Contents::kNewer;
    return version == kVersion ? Contents::kOurs : Contents::kDamaged;
  }
  const int64_t others = read_number(database,
                                     "SELECT count(*) FROM sqlite_master"
                                     " WHERE substr(tbl_name, 1, 10) <> 'trova_cli_'"
                                     " AND substr(tbl_name, 1, 7) <> 'sqlite_'");
  const bool is_free = application == 0 && version == 0 && others == 0;
  return is_free ? Contents::kNone : Contents::kForeign;
}

Contents inspect_alone(Database& database) {
  Transaction reading(database, Transaction::Kind::kRead);
  const Contents contents = inspect(database);
  reading.commit();
  return contents;
}

// Another process may have been quicker.
void make(Database& database) {
  if (database.is_read_only()) {
    database.fail(TROVA_MANAGER_STORE_READ_ONLY, "it is empty and must not be written");
  }
  Transaction making(database, Transaction::Kind::kWrite);
  if (inspect(database) == Contents::kNone) {
    database.run(kSchema);
    database.run("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.run("PRAGMA user_version = " + std::to_string(kVersion));
  }
  making.commit();
}

void require_ours(Database& database, Contents contents) {
  switch (contents) {
    case Contents::kNone:
    case Contents::kOurs:
      return;
    case Contents::kNewer:
      database.fail(TROVA_MANAGER_STORE_NEWER,
                    "version " + std::to_string(read_number(database, "PRAGMA user_version")));
    case Contents::kDamaged:
      database.fail(TROVA_MANAGER_STORE_BROKEN, "its version number is not one that was written");
    case Contents::kForeign:
      database.fail(TROVA_MANAGER_STORE_BROKEN, "it is a database of another program");
  }
}

// SQLite gives a meaning to names that start with ":" or "file:". Ours are names of files.
std::string literal(const std::string& path) {
  return path.front() == '/' ? path : "./" + path;
}

std::string as_uri(const std::string& path) {
  std::string uri = "file:";
  for (const char byte : literal(path)) {
    if (byte == '%' || byte == '?' || byte == '#') {
      char escaped[4];
      sqlite3_snprintf(sizeof escaped, escaped, "%%%02X", static_cast<unsigned>(byte));
      uri += escaped;
    } else {
      uri += byte;
    }
  }
  return uri;
}

// On a read-only file system nobody writes, so that reading needs no locks and no companion files,
// which could not be made there. A log that was left behind must be read, though.
bool can_never_change(const std::string& path) {
  struct statvfs system = {};
  struct stat log = {};
  if (statvfs(path.c_str(), &system) != 0 || (system.f_flag & ST_RDONLY) == 0) return false;
  return stat((path + "-wal").c_str(), &log) != 0 || log.st_size == 0;
}

[[noreturn]] void refuse(const std::string& path, uint32_t code, const char* reason) {
  throw Failure(code, describe(code, path, reason));
}

// What SQLite would treat otherwise: it might wait for a pipe or a device, and it takes a file of
// one byte for an empty one.
void require_file(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return;  // a new one, or opening it tells what is wrong
  if (!S_ISREG(status.st_mode)) refuse(path, TROVA_MANAGER_STORE_FAILED, "it is not a file");
  if (status.st_size == 1) refuse(path, TROVA_MANAGER_STORE_BROKEN, "it has one byte");
}

// The connection has a cache of its own; it is not shared with others of this process.
constexpr int kReadWrite = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_PRIVATECACHE;

Database open(const std::string& path) {
  if (path == kInMemory) return Database(path, kReadWrite | SQLITE_OPEN_MEMORY, path);
  require_file(path);
  if (!can_never_change(path)) return Database(literal(path), kReadWrite, path);
  return Database(as_uri(path) + "?immutable=1", SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, path);
}

}  // namespace

StorageFile::StorageFile(const std::string& path) : database_(open(path)) {
  database_.retry_while_busy([this] { make_ready(); });
}

// Nothing is written before it is known that the file is ours or empty.
void StorageFile::make_ready() {
  const Contents contents = inspect_alone(database_);
  require_ours(database_, contents);
  if (contents == Contents::kNone) make(database_);
  if (!database_.is_read_only()) database_.run("PRAGMA journal_mode = WAL");
  tune();
  read_number(database_, "SELECT count(*) FROM trova_stores, trova_fields WHERE 0");
}

void StorageFile::tune() {
  database_.run("PRAGMA synchronous = FULL");
  database_.run("PRAGMA cell_size_check = ON");
  database_.run("PRAGMA cache_size = -1024");            // KiB
  database_.run("PRAGMA journal_size_limit = 1048576");  // bytes; a large value leaves no large log
  // A device need not have a folder for temporary files.
  database_.run("PRAGMA temp_store = MEMORY");
  // Idents are no secrets, and wiping them would cost as much as storing them.
  database_.run("PRAGMA secure_delete = OFF");
}

}  // namespace trova::storage
