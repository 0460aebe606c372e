// The storage service: what it keeps, in which order, and what becomes of it when things go wrong.
#include <signal.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "ManagerTest.h"
#include "vrel_log.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// The calls that store, load and list collections, as the playlist library makes them.

const trova_storage_interface* g_storage = nullptr;

struct Releaser {
  void operator()(trova_store* store) const { g_storage->store_release(store); }
  void operator()(trova_record* record) const { g_storage->record_release(record); }
  void operator()(trova_cursor* cursor) const { g_storage->cursor_release(cursor); }
};
template <class T>
using Owner = std::unique_ptr<T, Releaser>;

// Calls a slot whose last argument is an out handle.
template <class T, class... Given, class... Args>
uint32_t acquire(Owner<T>& owner, uint32_t (*slot)(Given...), Args... args) {
  T* raw = nullptr;
  const uint32_t code = slot(args..., &raw);
  if (code == 0) owner.reset(raw);
  return code;
}

uint32_t start_storage(const std::string& path) {
  const trova_manager_options options = {sizeof options, "en", 0, path.c_str()};
  ManagerHandle* manager = nullptr;
  void* table = nullptr;
  if (const uint32_t code = trova_manager_start(&options, &manager)) return code;
  const uint32_t code = manager->query_interface(TROVA_SERVICE_STORAGE, &table);
  g_storage = static_cast<const trova_storage_interface*>(table);
  return code;
}

// The store's own code, or that of the first call that fails.
uint32_t open_store(Owner<trova_store>& store) {
  return acquire(store, g_storage->open, "trova_collection.store");
}

uint32_t open_or_create_store(Owner<trova_store>& store) {
  if (open_store(store) == 0) return 0;
  uint32_t code = acquire(store, g_storage->create, "trova_collection.store");
  if (code == 0) code = g_storage->add_field(store.get(), "coll_name", 1, 3);
  if (code == 0) code = g_storage->add_field(store.get(), "coll_data", 3, 0);
  return code != 0 ? code : g_storage->finish(store.get());
}

uint32_t find_record(trova_store* store, const std::string& name, Owner<trova_record>& found) {
  Owner<trova_record> criteria;
  Owner<trova_cursor> cursor;
  uint32_t code = acquire(criteria, g_storage->record_new, store);
  if (code == 0) code = g_storage->set_string(criteria.get(), "coll_name", name.c_str());
  if (code == 0) code = acquire(cursor, g_storage->query, store, criteria.get());
  return code != 0 ? code : acquire(found, g_storage->cursor_next, cursor.get());
}

uint32_t fill(trova_record* record, const std::string& name, const std::string& data) {
  const uint32_t code = g_storage->set_string(record, "coll_name", name.c_str());
  const uint32_t length = static_cast<uint32_t>(data.size());
  return code != 0 ? code : g_storage->set_binary(record, "coll_data", data.data(), length);
}

// @param key  the name under which the collection was stored before
uint32_t put(const std::string& key, const std::string& name, const std::string& data) {
  Owner<trova_store> store;
  Owner<trova_record> record;
  uint32_t code = open_or_create_store(store);
  if (code != 0) return code;
  const bool is_update = find_record(store.get(), key, record) == 0;
  if (!is_update) code = acquire(record, g_storage->record_new, store.get());
  if (code == 0) code = fill(record.get(), name, data);
  if (code != 0) return code;
  return (is_update ? g_storage->record_update : g_storage->record_insert)(record.get());
}
uint32_t put(const std::string& name, const std::string& data) {
  return put(name, name, data);
}

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// A connection of somebody else's.
using Outsider = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;
Outsider connect(const std::string& path) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &database), 0);
  return {database, sqlite3_close};
}

// @return the first value of the last row
std::string run(const Outsider& outsider, const char* sql) {
  std::string value;
  const auto keep = [](void* out, int, char** row, char**) {
    *static_cast<std::string*>(out) = row[0];
    return 0;
  };
  EXPECT_EQ(sqlite3_exec(outsider.get(), sql, keep, &value, nullptr), 0) << sql;
  return value;
}

Names names() {
  Names all;
  Owner<trova_store> store;
  Owner<trova_cursor> cursor;
  Owner<trova_record> record;
  if (open_store(store) != 0) return all;
  EXPECT_EQ(acquire(cursor, g_storage->query, store.get(), nullptr), 0u);
  while (acquire(record, g_storage->cursor_next, cursor.get()) == 0) {
    const char* name = nullptr;
    EXPECT_EQ(g_storage->get_string(record.get(), "coll_name", &name), 0u);
    all.push_back(name);
  }
  return all;
}

uint32_t load(const std::string& name, std::string& out) {
  Owner<trova_store> store;
  Owner<trova_record> record;
  const void* bytes = nullptr;
  uint32_t length = 0;
  uint32_t code = open_store(store);
  if (code == 0) code = find_record(store.get(), name, record);
  if (code == 0) code = g_storage->get_binary(record.get(), "coll_data", &bytes, &length);
  if (code == 0) out.assign(static_cast<const char*>(bytes), length);
  return code;
}

std::string loaded(const std::string& name) {
  std::string data;
  EXPECT_EQ(load(name, data), 0u) << name;
  return data;
}

uint32_t take_away(const std::string& name) {
  Owner<trova_store> store;
  Owner<trova_record> record;
  uint32_t code = open_store(store);
  if (code == 0) code = find_record(store.get(), name, record);
  return code != 0 ? code : g_storage->record_delete(record.get());
}

class StorageTest : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/trova_storage_XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    fs::permissions(name, fs::perms::all);
    folder = name;
    file = folder + "/a #?%20 store.db";
  }
  void TearDown() override {
    trova_manager_stop();
    EXPECT_EQ(trova_manager_stop(), TROVA_MANAGER_NOT_RUNNING);
    EXPECT_EQ(memory_stats().blocks_in_use, blocks_before_);
    fs::remove_all(folder);
  }

  // Stops the manager where it runs.
  uint32_t restart() {
    trova_manager_stop();
    return start_storage(file);
  }

  std::string folder, file;

 private:
  size_t blocks_before_ = memory_stats().blocks_in_use;
};

TEST_F(StorageTest, CollectionsComeBackInOrderOfTheirFirstStoring) {
  const std::string big = std::string(3'000'000, '\0') + "end";
  run(connect(file), "CREATE TABLE trova_cli_x(x); INSERT INTO trova_cli_x VALUES(7)");
  for (const std::string& path : {std::string(":memory:"), file}) {
    ASSERT_EQ(start_storage(path), 0u);
    Owner<trova_store> store;
    EXPECT_EQ(open_store(store) & 0xffff, 3u);
    for (const char* const name : {"first", "\xff\xfe", "First", "z' OR 1", "second", "x"}) {
      ASSERT_EQ(put(name, name), 0u);
    }
    EXPECT_EQ(put("first", big) | put("second", "") | put("z' OR 1", "renamed", "r"), 0u);
    EXPECT_EQ(put("\xff\xfe", "First", "took over") | take_away("x") | put("last", "l"), 0u);
    EXPECT_EQ(take_away("x") & 0xffff, 3u);
    EXPECT_EQ(path == file ? restart() : 0, 0u);
    EXPECT_EQ(names(), (Names{"first", "First", "renamed", "second", "last"}));
    EXPECT_TRUE(loaded("first") == big);
    EXPECT_EQ(loaded("First") + loaded("second"), "took over");
    ASSERT_EQ(trova_manager_stop(), 0u);
  }
  EXPECT_EQ(run(connect(file), "SELECT x FROM trova_cli_x"), "7");
  ASSERT_EQ(start_storage(":memory:"), 0u);
  EXPECT_EQ(names(), Names());
}

TEST_F(StorageTest, StoresExistOnceTheyAreFinished) {
  ASSERT_EQ(restart(), 0u);
  Owner<trova_store> store, other, late;
  Owner<trova_record> record;
  const uint32_t refused = TROVA_MANAGER_INVALID_ARG;
  const struct {
    const char* name;
    uint32_t type, flags, code;
  } fields[] = {{"name", 1, 3, 0},       {"name", 3, 0, refused}, {"", 1, 0, refused},
                {"two", 2, 0, refused},  {"data", 3, 0, 0},       {"zero", 0, 0, refused},
                {"four", 1, 4, refused}, {"key", 3, 2, 0},        {"note", 1, 0, 0}};
  ASSERT_EQ(acquire(store, g_storage->create, "s") | acquire(late, g_storage->create, "s"), 0u);
  EXPECT_EQ(g_storage->finish(store.get()), refused);
  for (const auto& [name, type, flags, code] : fields) {
    EXPECT_EQ(g_storage->add_field(store.get(), name, type, flags), code) << name << type << flags;
  }
  EXPECT_EQ(acquire(other, g_storage->open, "s") & 0xffff, 3u);
  EXPECT_EQ(acquire(record, g_storage->record_new, store.get()), refused);
  ASSERT_EQ(g_storage->finish(store.get()), 0u);
  EXPECT_EQ(g_storage->add_field(store.get(), "late", 1, 0), refused);
  // Whoever comes second gets the store that is there, unless it is another.
  ASSERT_EQ(acquire(other, g_storage->open, "s"), 0u);
  uint32_t count = 0, type = 0, flags = 0;
  ASSERT_EQ(g_storage->field_count(other.get(), &count), 0u);
  ASSERT_EQ(count, 4u);
  std::string all;
  for (uint32_t i = 0; i < count; ++i) {
    const char* name = nullptr;
    EXPECT_EQ(g_storage->finish(late.get()), refused) << i;
    ASSERT_EQ(g_storage->field_info(other.get(), i, &name, &type, &flags), 0u);
    ASSERT_EQ(g_storage->add_field(late.get(), name, type, flags), 0u);
    all += name + std::to_string(type) + std::to_string(flags) + " ";
    EXPECT_EQ(g_storage->field_info(other.get(), count, &name, &type, &flags) & 0xffff, 3u);
  }
  EXPECT_EQ(all, "name13 data30 key32 note10 ");
  EXPECT_EQ(g_storage->finish(late.get()), 0u);
  EXPECT_EQ(g_storage->close(late.release()), 0u);
}

TEST_F(StorageTest, RecordReplacesAllThatHaveOneOfItsUniqueValues) {
  ASSERT_EQ(restart(), 0u);
  Owner<trova_store> store;
  Owner<trova_record> record, found;
  Owner<trova_cursor> cursor;
  const void* bytes = nullptr;
  uint32_t length = 0;
  ASSERT_EQ(acquire(store, g_storage->create, "pairs"), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "a", 1, 2), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "b", 3, 3), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "c", 3, 0) | g_storage->finish(store.get()), 0u);
  for (const char* const values : {"0xc", "1yc", "1x"}) {
    ASSERT_EQ(acquire(record, g_storage->record_new, store.get()), 0u);
    EXPECT_EQ(g_storage->set_string(record.get(), "a", values[0] == '0' ? "0" : "1"), 0u);
    EXPECT_EQ(g_storage->set_binary(record.get(), "b", values + 1, 1), 0u);
    EXPECT_EQ(values[2] != 'c' ? 0 : g_storage->set_binary(record.get(), "c", "old", 3), 0u);
    EXPECT_EQ(g_storage->record_insert(record.get()), 0u);
  }
  ASSERT_EQ(acquire(cursor, g_storage->query, store.get(), record.get()), 0u);
  ASSERT_EQ(acquire(found, g_storage->cursor_next, cursor.get()), 0u);
  EXPECT_EQ(g_storage->get_binary(found.get(), "c", &bytes, &length), TROVA_MANAGER_NOT_FOUND);
  ASSERT_EQ(acquire(cursor, g_storage->query, store.get(), nullptr), 0u);
  EXPECT_EQ(g_storage->cursor_next(cursor.get(), nullptr), 0u);
  EXPECT_EQ(g_storage->cursor_next(cursor.get(), nullptr), TROVA_MANAGER_NOT_FOUND);
  // What is not searched for is no criterion.
  ASSERT_EQ(g_storage->set_binary(found.get(), "c", "x", 1), 0u);
  EXPECT_EQ(acquire(cursor, g_storage->query, store.get(), found.get()), TROVA_MANAGER_INVALID_ARG);
}

TEST_F(StorageTest, CursorsSkipWhatIsGoneAndEndWithWhatWasThere) {
  ASSERT_EQ(start_storage(":memory:"), 0u);
  constexpr int kRecords = 700;  // some batches of a cursor
  for (int i = 0; i < kRecords; ++i) ASSERT_EQ(put(std::to_string(i), "d"), 0u);
  Owner<trova_store> store;
  Owner<trova_cursor> cursor;
  Owner<trova_record> record;
  ASSERT_EQ(open_store(store) | acquire(cursor, g_storage->query, store.get(), nullptr), 0u);
  int seen = 0;
  for (; acquire(record, g_storage->cursor_next, cursor.get()) == 0; ++seen) {
    const char* name = nullptr;
    ASSERT_EQ(g_storage->get_string(record.get(), "coll_name", &name), 0u);
    ASSERT_EQ(std::stoi(name), seen * 2);
    ASSERT_EQ(take_away(std::to_string(seen * 2 + 1)) | put("new" + std::to_string(seen), ""), 0u);
    store.reset();
  }
  EXPECT_EQ(seen, kRecords / 2);
}

TEST_F(StorageTest, RecordsKeepWhatTheyHandedOutAndOutliveStoreAndFile) {
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", "first") | put("other", "o"), 0u);
  Owner<trova_store> store;
  Owner<trova_record> record, unread, gone;
  const void* bytes = nullptr;
  const char* text = nullptr;
  uint32_t length = 0;
  ASSERT_EQ(open_store(store) | find_record(store.get(), "n", record), 0u);
  ASSERT_EQ(find_record(store.get(), "n", unread) | find_record(store.get(), "other", gone), 0u);
  ASSERT_EQ(g_storage->get_binary(record.get(), "coll_data", &bytes, &length), 0u);
  ASSERT_EQ(g_storage->get_string(record.get(), "coll_name", &text), 0u);
  store.reset();
  ASSERT_EQ(fill(record.get(), "m", "second") | g_storage->record_update(record.get()), 0u);
  EXPECT_EQ(std::string(static_cast<const char*>(bytes), length) + text, "firstn");
  // A record that somebody deleted is stored again if all of it is known.
  ASSERT_EQ(take_away("other"), 0u);
  EXPECT_EQ(g_storage->record_update(gone.get()) & 0xffff, 3u);
  ASSERT_EQ(fill(gone.get(), "other", "again") | g_storage->record_update(gone.get()), 0u);
  EXPECT_EQ(g_storage->record_insert(gone.get()), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(loaded("other") + loaded("m"), "againsecond");
  ASSERT_EQ(restart(), 0u);
  EXPECT_EQ(g_storage->get_string(unread.get(), "coll_name", &text), 0u);
  EXPECT_STREQ(text, "n");
  EXPECT_EQ(g_storage->get_binary(unread.get(), "coll_data", &bytes, &length),
            TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(g_storage->record_delete(gone.get()), TROVA_MANAGER_NOT_RUNNING);
}

TEST_F(StorageTest, HandlesAreCheckedAndNullIsReleased) {
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  Owner<trova_store> store;
  Owner<trova_record> record;
  ASSERT_EQ(open_store(store) | find_record(store.get(), "n", record), 0u);
  auto* const no_store = reinterpret_cast<trova_store*>(record.get());
  auto* const no_record = reinterpret_cast<trova_record*>(store.get());
  auto* const no_cursor = reinterpret_cast<trova_cursor*>(store.get());
  trova_cursor* out = nullptr;
  const auto& s = *g_storage;
  for (const uint32_t code :
       {s.finish(no_store), s.close(no_store), s.query(no_store, nullptr, &out),
        s.query(store.get(), no_record, &out), s.record_insert(no_record),
        s.record_delete(no_record), s.set_string(no_record, "coll_name", ""),
        s.cursor_next(no_cursor, nullptr), s.cursor_release(no_cursor)}) {
    EXPECT_EQ(code, TROVA_MANAGER_BAD_HANDLE);
  }
  EXPECT_EQ(s.set_string(record.get(), "x", ""), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(s.set_string(record.get(), "coll_data", ""), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(s.set_binary(record.get(), "coll_data", "", ~0u), TROVA_MANAGER_INVALID_ARG);
  trova_store* const stale = store.release();
  EXPECT_EQ(s.close(stale), 0u);
  EXPECT_EQ(s.store_release(stale), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(s.close(nullptr) | s.record_release(nullptr) | s.cursor_release(nullptr), 0u);
}

TEST_F(StorageTest, LackOfMemoryAnywhereIsACodeAndLeavesTheRecordAsItWas) {
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", "old"), 0u);
  const size_t used = memory_stats().bytes_in_use;
  uint32_t refusals = 0, code = 1;
  for (size_t room = 1; code != 0; room += 16, ++refusals) {
    std::string data;
    trova_manager_memory_limit_set(used + room);
    const uint32_t written = put("n", "n", std::string(500, 'd'));
    code = written != 0 ? written : load("n", data);
    trova_manager_memory_limit_set(0);
    ASSERT_EQ(memory_stats().bytes_in_use, used) << room;
    ASSERT_TRUE(code == 0 || code == TROVA_MANAGER_NO_MEMORY) << room;
    ASSERT_EQ(loaded("n") == "old", written != 0) << room;
  }
  EXPECT_GT(refusals, 20u);
}

// ------------------------------------------------------------------------- Files that fail

// The words of the last error name the file.
void expect_words(const std::string& file) {
  const char* text = nullptr;
  trova_manager_last_error(nullptr, &text);
  EXPECT_NE(std::string(text).find(": " + file + " ("), std::string::npos) << text;
  EXPECT_EQ(std::string(text).find("unknown"), std::string::npos) << text;
}

TEST_F(StorageTest, BadFilesFailTheStartWithACodeInWordsAndStayAsTheyAre) {
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", std::string(20'000, 'd')) | trova_manager_stop(), 0u);
  const std::string good = read_file(file);
  const auto noise = [](size_t size) { return std::string(size, '\x9c'); };
  const auto changed = [&](const std::string& bytes, const char* sql) {
    write_file(file, bytes);
    run(connect(file), sql);
    return read_file(file);
  };
  const struct {
    const char* what;
    std::string bytes;
    uint32_t code;
  } cases[] = {
      {"one byte", noise(1), TROVA_MANAGER_STORE_BROKEN},
      {"noise", noise(511), TROVA_MANAGER_STORE_BROKEN},
      {"more noise", noise(9000), TROVA_MANAGER_STORE_BROKEN},
      {"noise behind the header", good.substr(0, 100) + noise(9000), TROVA_MANAGER_STORE_BROKEN},
      {"cut off", good.substr(0, 5000), TROVA_MANAGER_STORE_BROKEN},
      {"foreign", changed("", "CREATE TABLE songs(x)"), TROVA_MANAGER_STORE_BROKEN},
      {"foreign number", changed("", "PRAGMA application_id = 7"), TROVA_MANAGER_STORE_BROKEN},
      {"version 0", changed(good, "PRAGMA user_version = 0"), TROVA_MANAGER_STORE_BROKEN},
      {"no catalogue", changed(good, "DROP TABLE trova_fields"), TROVA_MANAGER_STORE_BROKEN},
      {"newer", changed(good, "PRAGMA user_version = 2"), TROVA_MANAGER_STORE_NEWER},
  };
  std::string log;
  const auto keep = [](void* lines, uint32_t, uint32_t, const char* line) {
    *static_cast<std::string*>(lines) += line;
  };
  trova_manager_log_to_callback(keep, &log, VREL_LOG_ERROR);
  for (const auto& [what, bytes, code] : cases) {
    log.clear();
    write_file(file, bytes);
    EXPECT_EQ(restart(), code) << what;
    expect_words(file);
    EXPECT_NE(log.find(file), std::string::npos) << what;
    EXPECT_TRUE(read_file(file) == bytes) << what;
  }
  ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
  for (const std::string& path : {folder, folder + "/fifo", folder + "/none/file"}) {
    EXPECT_EQ(start_storage(path), TROVA_MANAGER_STORE_FAILED) << path;
    expect_words(path);
  }
  EXPECT_EQ(start_storage(""), TROVA_MANAGER_INVALID_ARG);
  trova_manager_log_to_fd(-1, 0);
  write_file(file, good);
  EXPECT_EQ(restart(), 0u);
  EXPECT_EQ(names(), Names{"n"});
}

TEST_F(StorageTest, LockedFileIsWaitedForAndThenRefused) {
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  // SQLite's waits pass at once: a test need not wait as long as a user would.
  sqlite3_vfs* const real = sqlite3_vfs_find(nullptr);
  sqlite3_vfs fast = *real;
  fast.zName = "fast";
  fast.xSleep = [](sqlite3_vfs*, int microseconds) { return microseconds; };
  sqlite3_vfs_register(&fast, 1);
  {
    const Outsider holder = connect(file);
    ASSERT_EQ(restart(), 0u);
    run(holder, "BEGIN IMMEDIATE");
    EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_BUSY);
    expect_words(file);
    EXPECT_EQ(loaded("n"), "d");
    run(holder, "COMMIT");
    EXPECT_EQ(put("n", "e") | trova_manager_stop(), 0u);
    run(holder, "PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE");
    EXPECT_EQ(restart(), TROVA_MANAGER_STORE_BUSY);
  }
  sqlite3_vfs_unregister(&fast);
  sqlite3_vfs_register(real, 1);
}

TEST_F(StorageTest, FileThatMustNotBeWrittenIsRead) {
  write_file(folder + "/empty", "");
  ASSERT_EQ(restart(), 0u);
  ASSERT_EQ(put("n", "d") | trova_manager_stop(), 0u);
  for (const std::string& path : {file, folder + "/empty"}) chmod(path.c_str(), 0444);
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);  // the superuser may write everywhere
  EXPECT_EQ(start_storage(folder + "/empty"), TROVA_MANAGER_STORE_READ_ONLY);
  EXPECT_EQ(restart(), 0u);
  EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_READ_ONLY);
  EXPECT_EQ(take_away("n"), TROVA_MANAGER_STORE_READ_ONLY);
  EXPECT_EQ(loaded("n"), "d");
  trova_manager_stop();
  ASSERT_EQ(seteuid(user), 0);
}

TEST_F(StorageTest, ReadOnlyFileSystemIsRead) {
  const auto mount_here = [&](unsigned long flags) {
    return mount("none", folder.c_str(), "tmpfs", flags, "");
  };
  if (mount_here(0) != 0) GTEST_SKIP() << "no right to mount";
  EXPECT_EQ(restart(), 0u);
  EXPECT_EQ(put("n", "d") | trova_manager_stop(), 0u);
  EXPECT_EQ(mount_here(MS_REMOUNT | MS_RDONLY), 0);
  EXPECT_EQ(restart(), 0u);
  EXPECT_EQ(loaded("n"), "d");
  EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_READ_ONLY);
  trova_manager_stop();
  EXPECT_EQ(umount(folder.c_str()), 0);
}

// A file that may not grow stands for a disk that is full.
TEST_F(StorageTest, FullDiskRefusesWhatDoesNotFitAndNothingElse) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit = {1'000'000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  EXPECT_EQ(restart(), 0u);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(put("n", "small"), 0u);
    EXPECT_EQ(put("n", std::string(3'000'000, 'x')), TROVA_MANAGER_STORE_FULL);
    expect_words(file);
    EXPECT_EQ(loaded("n"), "small");
    EXPECT_LT(fs::file_size(file + "-wal"), 100'000u);
  }
  setrlimit(RLIMIT_FSIZE, &before);
}

}  // namespace
