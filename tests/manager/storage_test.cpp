// The storage service: what it keeps, in which order, and what becomes of it when things go wrong.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <thread>

#include "ManagerTest.h"
#include "StorageCalls.h"
#include "vrel_log.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// A connection of somebody else's.
class Outsider {
 public:
  explicit Outsider(const std::string& path) { EXPECT_EQ(sqlite3_open(path.c_str(), &db_), 0); }
  ~Outsider() { sqlite3_close(db_); }
  Outsider(const Outsider&) = delete;
  Outsider& operator=(const Outsider&) = delete;

  // @return the last value of the last row
  std::string run(const char* sql) {
    std::string value;
    const auto keep = [](void* out, int columns, char** row, char**) {
      const char* const last = row[columns - 1];
      *static_cast<std::string*>(out) = last == nullptr ? "" : last;
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(db_, sql, keep, &value, nullptr), 0) << sqlite3_errmsg(db_);
    return value;
  }

 private:
  sqlite3* db_ = nullptr;
};

// The superuser may write everywhere; as somebody else the test meets limits.
class Unprivileged {
 public:
  Unprivileged() { EXPECT_EQ(seteuid(is_root_ ? 65534 : geteuid()), 0); }
  ~Unprivileged() { EXPECT_EQ(seteuid(getuid()), 0); }

 private:
  bool is_root_ = geteuid() == 0;
};

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
    while (trova_manager_stop() == 0) {
    }
    EXPECT_EQ(memory_stats().blocks_in_use, blocks_before_);
    fs::remove_all(folder);
  }

  uint32_t start() { return start_storage(file.c_str()); }
  uint32_t restart() { return trova_manager_stop() != 0 ? 1 : start(); }
  std::string loaded(const std::string& name) {
    std::string data;
    EXPECT_EQ(load(name, data), 0u) << name;
    return data;
  }
  // Everything in the file is whole.
  std::string check_file() { return Outsider(file).run("PRAGMA integrity_check"); }

  std::string folder, file;

 private:
  size_t blocks_before_ = memory_stats().blocks_in_use;
};

// ---------------------------------------------------------------------------------- Contents

TEST_F(StorageTest, CollectionsComeBackInOrderOfTheirFirstStoringAndAfterARestart) {
  const std::string big = data_of("x", 7) + std::string(3'000'000, '\0') + "end";
  for (const std::string& path : {std::string(":memory:"), file}) {
    ASSERT_EQ(start_storage(path.c_str()), 0u);
    Owner<trova_store> store;
    std::string data;
    EXPECT_EQ(open_store(store) & 0xffff, 3u);
    EXPECT_EQ(load("first", data) & 0xffff, 3u);
    for (const char* const name : {"first", "\xff\xfe", "First", "z' OR 1", "second"}) {
      ASSERT_EQ(put(name, name), 0u);
    }
    ASSERT_EQ(put("first", big), 0u);
    ASSERT_EQ(put("second", ""), 0u);
    ASSERT_EQ(put("z' OR 1", "renamed", "r"), 0u);
    ASSERT_EQ(put("\xff\xfe", "First", "took over"), 0u);
    ASSERT_EQ(put("new", "n"), 0u);
    ASSERT_EQ(take_away("new"), 0u);
    EXPECT_EQ(take_away("new") & 0xffff, 3u);
    ASSERT_EQ(put("last", "l"), 0u);
    if (path == file) {
      ASSERT_EQ(restart(), 0u);
    }
    EXPECT_EQ(names(), (Names{"first", "First", "renamed", "second", "last"}));
    EXPECT_EQ(loaded("first"), big);
    EXPECT_EQ(loaded("First"), "took over");
    EXPECT_EQ(loaded("second"), "");
    ASSERT_EQ(trova_manager_stop(), 0u);
  }
  ASSERT_EQ(start_storage(":memory:"), 0u);
  EXPECT_EQ(names(), Names());
}

TEST_F(StorageTest, StoresThatWereNotFinishedDoNotExistAndFieldsAreAsTheyWereAdded) {
  ASSERT_EQ(start(), 0u);
  Owner<trova_store> store, other, same;
  Owner<trova_record> record;
  ASSERT_EQ(acquire(store, g_storage->create, "s"), 0u);
  EXPECT_EQ(g_storage->finish(store.get()), TROVA_MANAGER_INVALID_ARG);
  const struct {
    const char* name;
    uint32_t type, flags, code;
  } fields[] = {
      {"name", 1, 3, 0},
      {"name", 3, 0, TROVA_MANAGER_INVALID_ARG},
      {"", 1, 0, TROVA_MANAGER_INVALID_ARG},
      {"two", 2, 0, TROVA_MANAGER_INVALID_ARG},
      {"four", 1, 4, TROVA_MANAGER_INVALID_ARG},
      {"key", 3, 2, 0},
      {"note", 1, 0, 0},
      {"data", 3, 0, 0},
  };
  std::vector<std::string> added;
  for (const auto& field : fields) {
    EXPECT_EQ(g_storage->add_field(store.get(), field.name, field.type, field.flags), field.code);
    if (field.code == 0) added.push_back(field.name);
  }
  EXPECT_EQ(acquire(other, g_storage->open, "s") & 0xffff, 3u);
  EXPECT_EQ(acquire(record, g_storage->record_new, store.get()), TROVA_MANAGER_INVALID_ARG);
  ASSERT_EQ(g_storage->finish(store.get()), 0u);
  EXPECT_EQ(g_storage->add_field(store.get(), "late", 1, 0), TROVA_MANAGER_INVALID_ARG);
  ASSERT_EQ(acquire(other, g_storage->open, "s"), 0u);
  uint32_t count = 0, type = 0, flags = 0;
  const char* name = nullptr;
  EXPECT_EQ(g_storage->field_count(other.get(), &count), 0u);
  EXPECT_EQ(count, added.size());
  ASSERT_EQ(g_storage->field_info(other.get(), 1, &name, &type, &flags), 0u);
  EXPECT_EQ(name + std::to_string(type) + std::to_string(flags), "key32");
  EXPECT_EQ(g_storage->field_info(other.get(), count, &name, &type, &flags) & 0xffff, 3u);
  // Whoever comes second gets the store that is there, unless it is another.
  ASSERT_EQ(acquire(same, g_storage->create, "s"), 0u);
  ASSERT_EQ(g_storage->add_field(same.get(), "name", 1, 3), 0u);
  EXPECT_EQ(g_storage->finish(same.get()), TROVA_MANAGER_INVALID_ARG);
  ASSERT_EQ(g_storage->add_field(same.get(), "key", 3, 2), 0u);
  ASSERT_EQ(g_storage->add_field(same.get(), "note", 1, 0), 0u);
  ASSERT_EQ(g_storage->add_field(same.get(), "data", 3, 0), 0u);
  EXPECT_EQ(g_storage->finish(same.get()), 0u);
  EXPECT_EQ(g_storage->close(same.release()), 0u);
}

TEST_F(StorageTest, ARecordReplacesAllThatHaveOneOfItsUniqueValues) {
  ASSERT_EQ(start(), 0u);
  Owner<trova_store> store;
  Owner<trova_record> records[3], criteria;
  Owner<trova_cursor> cursor;
  ASSERT_EQ(acquire(store, g_storage->create, "pairs"), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "a", 1, 2), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "b", 3, 3), 0u);
  ASSERT_EQ(g_storage->add_field(store.get(), "c", 3, 0), 0u);
  ASSERT_EQ(g_storage->finish(store.get()), 0u);
  for (const int i : {0, 1, 2}) {
    trova_record* const record =
        (acquire(records[i], g_storage->record_new, store.get()), records[i].get());
    ASSERT_EQ(g_storage->set_string(record, "a", i == 2 ? "1" : i == 1 ? "1" : "0"), 0u);
    ASSERT_EQ(g_storage->set_binary(record, "b", i == 1 ? "y" : "x", 1), 0u);
    if (i == 2) break;
    ASSERT_EQ(g_storage->set_binary(record, "c", "old", 3), 0u);
    ASSERT_EQ(g_storage->record_insert(record), 0u);
  }
  ASSERT_EQ(g_storage->record_insert(records[2].get()), 0u);
  ASSERT_EQ(acquire(cursor, g_storage->query, store.get(), records[2].get()), 0u);
  ASSERT_EQ(acquire(criteria, g_storage->cursor_next, cursor.get()), 0u);
  const void* bytes = nullptr;
  uint32_t length = 0;
  EXPECT_EQ(g_storage->get_binary(criteria.get(), "c", &bytes, &length), TROVA_MANAGER_NOT_FOUND);
  ASSERT_EQ(acquire(cursor, g_storage->query, store.get(), nullptr), 0u);
  EXPECT_EQ(g_storage->cursor_next(cursor.get(), nullptr), 0u);
  EXPECT_EQ(g_storage->cursor_next(cursor.get(), nullptr), TROVA_MANAGER_NOT_FOUND);
  // What is not searched for is no criterion.
  ASSERT_EQ(g_storage->set_binary(criteria.get(), "c", "x", 1), 0u);
  EXPECT_EQ(acquire(cursor, g_storage->query, store.get(), criteria.get()),
            TROVA_MANAGER_INVALID_ARG);
}

TEST_F(StorageTest, CursorsSkipWhatIsGoneAndEndWithWhatWasThere) {
  ASSERT_EQ(start(), 0u);
  constexpr int kRecords = 700;  // some batches of a cursor
  for (int i = 0; i < kRecords; ++i) ASSERT_EQ(put(std::to_string(i), "d"), 0u);
  Owner<trova_store> store;
  Owner<trova_cursor> cursor;
  Owner<trova_record> record;
  ASSERT_EQ(open_store(store), 0u);
  ASSERT_EQ(acquire(cursor, g_storage->query, store.get(), nullptr), 0u);
  store.reset();
  int seen = 0;
  while (acquire(record, g_storage->cursor_next, cursor.get()) == 0) {
    const char* name = nullptr;
    ASSERT_EQ(g_storage->get_string(record.get(), "coll_name", &name), 0u);
    ASSERT_EQ(std::stoi(name), seen * 2);
    ASSERT_EQ(take_away(std::to_string(seen * 2 + 1)), 0u);
    ASSERT_EQ(put("new " + std::to_string(seen), "d"), 0u);
    ++seen;
  }
  EXPECT_EQ(seen, kRecords / 2);
}

TEST_F(StorageTest, RecordsKeepWhatTheyHandedOutAndOutliveStoreAndFile) {
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "first"), 0u);
  ASSERT_EQ(put("other", "o"), 0u);
  Owner<trova_store> store;
  Owner<trova_record> record, unread, gone;
  const void* bytes = nullptr;
  const char* text = nullptr;
  uint32_t length = 0;
  ASSERT_EQ(open_store(store), 0u);
  ASSERT_EQ(find_record(store.get(), "n", record), 0u);
  ASSERT_EQ(find_record(store.get(), "n", unread), 0u);
  ASSERT_EQ(find_record(store.get(), "other", gone), 0u);
  ASSERT_EQ(g_storage->get_binary(record.get(), "coll_data", &bytes, &length), 0u);
  ASSERT_EQ(g_storage->get_string(record.get(), "coll_name", &text), 0u);
  ASSERT_EQ(fill(record.get(), "m", "second"), 0u);
  store.reset();
  ASSERT_EQ(g_storage->record_update(record.get()), 0u);
  EXPECT_EQ(std::string(static_cast<const char*>(bytes), length) + text, "firstn");
  // A record that somebody deleted is stored again, if all of it is known.
  ASSERT_EQ(take_away("other"), 0u);
  EXPECT_EQ(g_storage->record_update(gone.get()) & 0xffff, 3u);
  ASSERT_EQ(fill(gone.get(), "other", "again"), 0u);
  EXPECT_EQ(g_storage->record_update(gone.get()), 0u);
  EXPECT_EQ(g_storage->record_insert(gone.get()), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(loaded("other"), "again");
  ASSERT_EQ(restart(), 0u);
  EXPECT_EQ(g_storage->get_string(unread.get(), "coll_name", &text), 0u);
  EXPECT_STREQ(text, "n");
  EXPECT_EQ(g_storage->get_binary(unread.get(), "coll_data", &bytes, &length),
            TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(g_storage->record_delete(gone.get()), TROVA_MANAGER_NOT_RUNNING);
  EXPECT_EQ(names(), (Names{"m", "other"}));
}

TEST_F(StorageTest, HandlesAreCheckedAndNullIsReleased) {
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  Owner<trova_store> store;
  Owner<trova_record> record;
  ASSERT_EQ(open_store(store), 0u);
  ASSERT_EQ(find_record(store.get(), "n", record), 0u);
  auto* const no_store = reinterpret_cast<trova_store*>(record.get());
  auto* const no_record = reinterpret_cast<trova_record*>(store.get());
  auto* const no_cursor = reinterpret_cast<trova_cursor*>(store.get());
  const char* text = nullptr;
  trova_cursor* cursor = nullptr;
  for (const uint32_t code :
       {g_storage->finish(no_store), g_storage->close(no_store), g_storage->store_release(no_store),
        g_storage->query(no_store, nullptr, &cursor),
        g_storage->query(store.get(), no_record, &cursor), g_storage->record_insert(no_record),
        g_storage->record_delete(no_record), g_storage->get_string(no_record, "coll_name", &text),
        g_storage->cursor_next(no_cursor, nullptr), g_storage->cursor_release(no_cursor)}) {
    EXPECT_EQ(code, TROVA_MANAGER_BAD_HANDLE);
  }
  EXPECT_EQ(g_storage->set_string(record.get(), "x", ""), TROVA_MANAGER_NOT_FOUND);
  EXPECT_EQ(g_storage->set_string(record.get(), "coll_data", ""), TROVA_MANAGER_INVALID_ARG);
  EXPECT_EQ(g_storage->set_binary(record.get(), "coll_data", "", UINT32_MAX),
            TROVA_MANAGER_INVALID_ARG);
  trova_store* const stale = store.release();
  EXPECT_EQ(g_storage->close(stale), 0u);
  EXPECT_EQ(g_storage->store_release(stale), TROVA_MANAGER_BAD_HANDLE);
  EXPECT_EQ(g_storage->close(nullptr) | g_storage->store_release(nullptr) |
                g_storage->record_release(nullptr) | g_storage->cursor_release(nullptr),
            0u);
}

TEST_F(StorageTest, LackOfMemoryAnywhereIsACodeAndLeavesTheRecordAsItWas) {
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "old"), 0u);
  const size_t used = memory_stats().bytes_in_use;
  uint32_t refusals = 0;
  for (size_t room = 1;; room += 16) {
    trova_manager_memory_limit_set(used + room);
    std::string data;
    const uint32_t written = put("n", "n", std::string(500, 'd'));
    const uint32_t code = written != 0 ? written : load("n", data);
    trova_manager_memory_limit_set(0);
    ASSERT_EQ(memory_stats().bytes_in_use, used) << room;
    if (code == 0) break;
    ASSERT_EQ(code, TROVA_MANAGER_NO_MEMORY) << room;
    ASSERT_EQ(loaded("n") == "old", written != 0) << room;
    ++refusals;
  }
  EXPECT_GT(refusals, 20u);
}

// ------------------------------------------------------------------- Several at the same time

class Helper {
 public:
  Helper(const std::string& file, const std::string& who, const std::string& count) {
    std::string path = STORAGE_HELPER, arguments[] = {file, who, count};
    char* argv[] = {path.data(), arguments[0].data(), arguments[1].data(), arguments[2].data(),
                    nullptr};
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
    EXPECT_EQ(posix_spawn(&id_, path.c_str(), &actions, nullptr, argv, environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    out_ = ends[0];
  }
  ~Helper() { close(out_); }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  void kill_now() { kill(id_, SIGKILL); }

  // What it stored, by name: the last number.
  std::map<std::string, int> stored() {
    std::string text;
    char bytes[4096];
    for (ssize_t n; (n = read(out_, bytes, sizeof bytes)) > 0;) {
      text.append(bytes, static_cast<size_t>(n));
    }
    std::map<std::string, int> last;
    std::istringstream lines(text);
    std::string name;
    for (int number; lines >> number && std::getline(lines >> std::ws, name);) last[name] = number;
    return last;
  }
  int wait() {
    int status = 0;
    EXPECT_EQ(waitpid(id_, &status, 0), id_);
    return status;
  }

 private:
  pid_t id_ = 0;
  int out_ = -1;
};

// @return the number of the data, or -1 when it is not whole
int number_of(const std::string& name, const std::string& data) {
  const int number = std::atoi(data.c_str());
  return data == data_of(name, static_cast<unsigned>(number)) ? number : -1;
}

TEST_F(StorageTest, KilledWriterLosesNoneButTheStoreThatWasRunning) {
  std::mt19937 random(3);
  std::map<std::string, int> known;
  for (int round = 0; round < 40; ++round) {
    Helper helper(file, "w", "1000000");
    const bool may_be_opening = round % 4 == 0;
    usleep(static_cast<useconds_t>(random() % 30'000 + (may_be_opening ? 0 : 20'000)));
    helper.kill_now();
    const std::map<std::string, int> stored = helper.stored();
    helper.wait();
    for (const auto& [name, number] : stored) known[name] = number;
    ASSERT_EQ(check_file(), "ok") << round;
    ASSERT_EQ(start(), 0u);
    for (const std::string& name : names()) ASSERT_GE(number_of(name, loaded(name)), 0) << name;
    for (const auto& [name, number] : stored) {
      ASSERT_GE(number_of(name, loaded(name)), number) << name;
    }
    ASSERT_GE(names().size(), known.size());
    ASSERT_EQ(trova_manager_stop(), 0u);
  }
  EXPECT_GT(known.size(), 10u);
}

TEST_F(StorageTest, ProcessesCreateAndFillOneFileTogether) {
  for (int round = 0; round < 5; ++round) {
    fs::remove(file);
    std::vector<std::unique_ptr<Helper>> helpers;
    for (int i = 0; i < 6; ++i) {
      helpers.push_back(std::make_unique<Helper>(file, std::to_string(i), "2"));
    }
    for (auto& helper : helpers) EXPECT_EQ(helper->wait(), 0);
    ASSERT_EQ(start(), 0u);
    EXPECT_EQ(names().size(), 7u);
    ASSERT_EQ(trova_manager_stop(), 0u);
  }
}

TEST_F(StorageTest, TwoProcessesStoreAThousandTimesEach) {
  Helper a(file, "a", "1000"), b(file, "b", "1000");
  std::map<std::string, int> stored = a.stored();
  stored.merge(b.stored());
  EXPECT_EQ(a.wait() | b.wait(), 0);
  ASSERT_EQ(stored.size(), 1005u);
  ASSERT_EQ(start(), 0u);
  EXPECT_EQ(names().size(), stored.size());
  for (const auto& [name, number] : stored) {
    const int found = number_of(name, loaded(name));
    ASSERT_GE(found, 0) << name;
    ASSERT_TRUE(found == number || name[0] == 's') << name;
  }
  trova_manager_stop();
  EXPECT_EQ(check_file(), "ok");
}

TEST_F(StorageTest, ThreadsStoreAndReadAtTheSameTime) {
  ASSERT_EQ(start(), 0u);
  const auto work = [](const std::string& who) {
    for (unsigned i = 0; i < 60; ++i) {
      EXPECT_EQ(put(who, data_of(who, i)) | put("shared", data_of("shared", i)), 0u);
      std::string data;
      EXPECT_EQ(load("shared", data), 0u);
      EXPECT_GE(number_of("shared", data), 0);
      EXPECT_GE(names().size(), 2u);
    }
  };
  std::thread first(work, "1"), second(work, "2"), third(work, "3");
  first.join();
  second.join();
  third.join();
  EXPECT_EQ(names().size(), 4u);
}

// ------------------------------------------------------------------------- Files that fail

// Lets SQLite's waits pass at once, so that a test need not wait as long as a user would.
class FastClock {
 public:
  FastClock() : real_(sqlite3_vfs_find(nullptr)), fast_(*real_) {
    fast_.zName = "fast";
    fast_.xSleep = [](sqlite3_vfs*, int microseconds) { return microseconds; };
    sqlite3_vfs_register(&fast_, 1);
  }
  ~FastClock() {
    sqlite3_vfs_unregister(&fast_);
    sqlite3_vfs_register(real_, 1);
  }
  FastClock(const FastClock&) = delete;
  FastClock& operator=(const FastClock&) = delete;

 private:
  sqlite3_vfs* real_;
  sqlite3_vfs fast_;
};

// The words of the last error name the file, and so does a line of the log.
void expect_words(const std::string& file, const Names& log) {
  const char* text = nullptr;
  trova_manager_last_error(nullptr, &text);
  EXPECT_NE(std::string(text).find(file), std::string::npos) << text;
  const auto names_it = [&](const std::string& line) { return line.find(file) != line.npos; };
  EXPECT_TRUE(std::any_of(log.begin(), log.end(), names_it)) << text;
}

TEST_F(StorageTest, BadFilesFailTheStartWithACodeInWordsAndStayAsTheyAre) {
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", std::string(20'000, 'd')), 0u);
  ASSERT_EQ(trova_manager_stop(), 0u);
  const std::string good = read_file(file);
  const auto noise = [](size_t size) { return std::string(size, '\x9c'); };
  const auto sql = [&](const char* statement) {
    fs::remove(file);
    Outsider(file).run(statement);
    return read_file(file);
  };
  const auto changed = [&](const char* statement) {
    write_file(file, good);
    Outsider(file).run(statement);
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
      {"foreign", sql("CREATE TABLE songs(x)"), TROVA_MANAGER_STORE_BROKEN},
      {"foreign number", sql("PRAGMA application_id = 77"), TROVA_MANAGER_STORE_BROKEN},
      {"version 0", changed("PRAGMA user_version = 0"), TROVA_MANAGER_STORE_BROKEN},
      {"no catalogue", changed("DROP TABLE trova_fields"), TROVA_MANAGER_STORE_BROKEN},
      {"newer", changed("PRAGMA user_version = 2"), TROVA_MANAGER_STORE_NEWER},
  };
  Names log;
  trova_manager_log_to_callback(
      [](void* lines, uint32_t, uint32_t, const char* line) {
        static_cast<Names*>(lines)->push_back(line);
      },
      &log, VREL_LOG_ERROR);
  for (const auto& bad : cases) {
    log.clear();
    for (const char* const companion : {"-wal", "-shm"}) fs::remove(file + companion);
    write_file(file, bad.bytes);
    EXPECT_EQ(start(), bad.code) << bad.what;
    expect_words(file, log);
    EXPECT_TRUE(read_file(file) == bad.bytes) << bad.what;
    EXPECT_EQ(trova_manager_stop(), TROVA_MANAGER_NOT_RUNNING) << bad.what;
  }
  ASSERT_EQ(mkfifo((folder + "/fifo").c_str(), 0600), 0);
  for (const std::string& no_file : {folder, folder + "/fifo", folder + "/none/file"}) {
    EXPECT_EQ(start_storage(no_file.c_str()), TROVA_MANAGER_STORE_FAILED) << no_file;
    expect_words(no_file, log);
  }
  EXPECT_EQ(start_storage(""), TROVA_MANAGER_INVALID_ARG);
  write_file(file, good);
  EXPECT_EQ(start(), 0u);
  EXPECT_EQ(names(), Names{"n"});
  trova_manager_log_to_fd(-1, 0);
}

TEST_F(StorageTest, TablesOfTheCommandMayStandInTheFile) {
  Outsider(file).run(
      "CREATE TABLE trova_cli_things(x UNIQUE); INSERT INTO trova_cli_things VALUES(7)");
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  EXPECT_EQ(Outsider(file).run("SELECT x FROM trova_cli_things"), "7");
  ASSERT_EQ(restart(), 0u);
  EXPECT_EQ(loaded("n"), "d");
}

TEST_F(StorageTest, LockedFileIsWaitedForAndThenRefused) {
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  ASSERT_EQ(trova_manager_stop(), 0u);
  const FastClock clock;
  Outsider holder(file);
  ASSERT_EQ(start(), 0u);
  holder.run("BEGIN IMMEDIATE");
  EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_BUSY);
  expect_words(file, {file});
  EXPECT_EQ(loaded("n"), "d");
  holder.run("COMMIT");
  EXPECT_EQ(put("n", "e"), 0u);
  trova_manager_stop();
  holder.run("PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE");
  EXPECT_EQ(start(), TROVA_MANAGER_STORE_BUSY);
}

TEST_F(StorageTest, ReadOnlyFileIsReadWhereThatIsSafe) {
  write_file(file, "");
  fs::permissions(file, fs::perms::owner_read);
  chmod(file.c_str(), 0444);
  {
    const Unprivileged user;
    EXPECT_EQ(start(), TROVA_MANAGER_STORE_READ_ONLY);
  }
  fs::remove(file);
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  ASSERT_EQ(trova_manager_stop(), 0u);
  chmod(file.c_str(), 0444);
  const Unprivileged user;
  ASSERT_EQ(start(), 0u);
  EXPECT_EQ(loaded("n"), "d");
  EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_READ_ONLY);
  EXPECT_EQ(take_away("n"), TROVA_MANAGER_STORE_READ_ONLY);
  EXPECT_EQ(loaded("n"), "d");
}

// A file system of 2 MB in the test's folder, where the test may mount one.
class SmallDisk {
 public:
  explicit SmallDisk(const std::string& folder) : folder_(folder) {
    is_mounted_ = mount("none", folder.c_str(), "tmpfs", 0, "size=2m") == 0;
  }
  ~SmallDisk() {
    trova_manager_stop();
    if (is_mounted_) umount2(folder_.c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  bool is_mounted() const { return is_mounted_; }
  bool make_read_only() {
    return mount("none", folder_.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, "") == 0;
  }

 private:
  std::string folder_;
  bool is_mounted_;
};

TEST_F(StorageTest, ReadOnlyFileSystemIsRead) {
  SmallDisk disk(folder);
  if (!disk.is_mounted()) GTEST_SKIP() << "no right to mount";
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  ASSERT_EQ(trova_manager_stop(), 0u);
  ASSERT_TRUE(disk.make_read_only());
  ASSERT_EQ(start(), 0u);
  EXPECT_EQ(loaded("n"), "d");
  EXPECT_EQ(put("n", "e"), TROVA_MANAGER_STORE_READ_ONLY);
}

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_ = {};
};

TEST_F(StorageTest, FullDiskRefusesWhatDoesNotFitAndNothingElse) {
  const SmallDisk disk(folder);  // else the limit alone
  const FileSizeLimit limit(disk.is_mounted() ? RLIM_INFINITY : 1'000'000);
  ASSERT_EQ(start(), 0u);
  ASSERT_EQ(put("n", "d"), 0u);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(put("n", std::string(3'000'000, 'x')), TROVA_MANAGER_STORE_FULL);
    expect_words(file, {file});
    EXPECT_EQ(loaded("n"), round == 0 ? "d" : "small");
    EXPECT_EQ(put("n", "small"), 0u);
    EXPECT_LT(fs::file_size(file + "-wal"), 100'000u);
  }
}

}  // namespace
