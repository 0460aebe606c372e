// stress_kills: the command killed at random moments while it stores, scans and synchronises,
// TROVA_STRESS_KILLS times each. After each kill the file must be whole, and the collection the old
// one, the new one or, of a scan, one on the way; another collection must be as it was; and a run
// that nobody kills must end with the new one.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <string>

#include "cli_test_files.h"
#include "cli_test_process.h"
#include "name_lists.h"
#include "scan.h"
#include "store.h"

namespace {

namespace fs = std::filesystem;
using trova_cli_test::ExitCodeOf;
using trova_cli_test::OpenScratch;
using trova_cli_test::RunTrova;
using trova_cli_test::StartTrova;
using trova_cli_test::TestFolder;
using trova_cli_test::Words;
using trova_cli_test::WriteAudio;

using Idents = std::set<std::string>;
using Microseconds = std::chrono::microseconds;

constexpr int kDefaultKills = 12;
constexpr int kTracks = 600;

int kills() {
  const char* const text = std::getenv("TROVA_STRESS_KILLS");
  return text == nullptr ? kDefaultKills : std::atoi(text);
}

Microseconds TimeOf(const std::function<void()>& task) {
  const auto start = std::chrono::steady_clock::now();
  task();
  return std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now() - start);
}

// What is run and killed; `start` answers the process.
struct Task {
  Words words;
  std::function<pid_t()> start;
};

Task TaskOf(const Words& words) {
  return {words, [words] {
            const int err = OpenScratch();
            const pid_t child = StartTrova(words, err);
            close(err);
            return child;
          }};
}

// A scan that stores as often as it may, so that the end comes at any step of storing.
[[noreturn]] void ScanInHaste(const std::string& store_path, const std::string& folder) {
  trova_cli::Console console(OpenScratch());
  trova_cli::Store store(store_path, trova_cli::StoreUse::kWrite, console);
  const trova_cli::Store::Locked locked = store.Lock("Music");
  trova_cli::NameLists lists;
  trova_cli::Scan({.folder = folder, .collection = "Music", .yes = true, .patience = {}},
                  store.catalogue(), locked.number, lists, console)
      .Run();
  _exit(0);
}

class Kills : public testing::Test {
 protected:
  Kills() { setenv("TROVA_STORE", store_.c_str(), 1); }

  // A table of tracks whose names tell which table they come from.
  std::string Table(const std::string& version) const {
    std::string rows = "ident,title,artist,genre\n";
    for (int i = 0; i < kTracks; ++i) {
      const std::string name = version + std::to_string(1000 + i);
      rows.append(name).append(",T,").append(name).append(",Jazz\n");
    }
    return folder_.Write(version + ".csv", rows);
  }

  // Links to one file, because writing each takes long.
  void Fill(const std::string& folder, int first, int last) const {
    for (int i = first; i < last; ++i) {
      fs::create_hard_link(audio_, folder + "/" + std::to_string(1000 + i) + ".flac");
    }
  }

  static void Run(const Words& words) {
    const auto result = RunTrova(words);
    ASSERT_EQ(result.code, 0) << result.err;
  }

  static Idents Held(const std::string& collection) {
    const auto result = RunTrova({"generate", "genpl", "-0", "--collection", collection});
    EXPECT_EQ(result.code, 0) << result.err;
    Idents idents;
    for (size_t at = 0; at < result.out.size();) {
      const size_t end = result.out.find('\0', at);
      idents.insert(result.out.substr(at, end - at));
      at = end + 1;
    }
    return idents;
  }

  std::string Integrity() const {
    sqlite3* database = nullptr;
    std::string answer;
    const auto keep = [](void* out, int, char** row, char**) {
      *static_cast<std::string*>(out) = row[0];
      return 0;
    };
    EXPECT_EQ(sqlite3_open(store_.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, "PRAGMA integrity_check", keep, &answer, nullptr), SQLITE_OK);
    sqlite3_close(database);
    return answer;
  }

  // @return whether it was killed before its end
  bool RunAndKill(const Task& task, Microseconds usual) {
    const pid_t child = task.start();
    usleep(static_cast<useconds_t>(random_() % static_cast<uint64_t>(usual.count())));
    kill(child, SIGKILL);
    const int code = ExitCodeOf(child);
    EXPECT_TRUE(code == 0 || code == 1000 + SIGKILL) << code;
    return code != 0;
  }

  // Runs the task each time that `change`, by turns, has made something for it to do, and kills it.
  // `whole`: it stores all or nothing.
  void Repeat(const Task& task, const std::string& collection, bool whole,
              const std::function<void(int)>& change) {
    const Words& words = task.words;
    Run({"import", Table("other"), "--collection", "Other"});
    const Idents other = Held("Other");
    change(0);
    Run(words);
    Idents old = Held(collection);
    change(1);
    Microseconds usual = TimeOf([&] { Run(words); });
    Idents fresh = Held(collection);
    ASSERT_NE(old, fresh);

    int killed = 0, runs = 0, were_old = 0, were_new = 0;
    for (; killed < kills(); ++runs) {
      SCOPED_TRACE("run " + std::to_string(runs));
      std::swap(old, fresh);
      change(runs);
      // How long it takes changes with what else the machine does: the kills follow it.
      const bool early = RunAndKill(task, usual);
      usual = early ? usual * 17 / 16 : std::max(usual * 3 / 4, Microseconds(1000));
      killed += early;
      ASSERT_EQ(Integrity(), "ok");
      const Idents held = Held(collection);
      were_old += held == old;
      were_new += held == fresh;
      ASSERT_TRUE(!whole || held == old || held == fresh) << held.size();
      Idents either, both;
      std::set_union(old.begin(), old.end(), fresh.begin(), fresh.end(),
                     std::inserter(either, either.end()));
      std::set_intersection(old.begin(), old.end(), fresh.begin(), fresh.end(),
                            std::inserter(both, both.end()));
      ASSERT_TRUE(std::includes(either.begin(), either.end(), held.begin(), held.end()));
      ASSERT_TRUE(std::includes(held.begin(), held.end(), both.begin(), both.end()));
      ASSERT_EQ(Held("Other"), other);
      Run(words);  // makes up for what was cut off
      ASSERT_EQ(Held(collection), fresh);
    }
    std::printf("%d kills in %d runs of %lld ms; found %d old, %d new, %d on the way\n", killed,
                runs, static_cast<long long>(usual.count() / 1000), were_old, were_new,
                runs - were_old - were_new);
  }

  const TestFolder folder_;
  const std::string store_ = folder_.Path("trova.db");
  const std::string audio_ =
      WriteAudio(folder_, "x.flac", {{"TITLE", "T"}, {"ARTIST", "A"}, {"GENRE", "Jazz"}});
  std::mt19937 random_{std::random_device()()};
};

TEST_F(Kills, of_storing_leave_the_old_collection_or_the_new_one) {
  const std::string tables[] = {Table("a"), Table("b")};
  const std::string table = folder_.Path("table.csv");
  Repeat(TaskOf({"import", table, "--collection", "T"}), "T", true,
         [&](int i) { fs::copy_file(tables[i % 2], table, fs::copy_options::overwrite_existing); });
}

TEST_F(Kills, of_scans_leave_nothing_that_is_in_neither) {
  const std::string music = folder_.Path("music");
  const Words words = {"scan", music, "--yes"};
  const auto change = [&](int i) {
    fs::remove_all(music);
    fs::create_directory(music);
    Fill(music, i % 2 == 0 ? 0 : 20, i % 2 == 0 ? 20 : kTracks);
  };
  Repeat(TaskOf(words), "Music", false, change);
  const auto in_haste = [&] {
    const pid_t child = fork();
    if (child == 0) ScanInHaste(store_, music);
    return child;
  };
  Repeat({words, in_haste}, "Music", false, change);
}

// Some go, some come, and most stay.
TEST_F(Kills, of_synchronising_leave_nothing_that_is_in_neither) {
  constexpr int kSome = 50;
  const std::string music = folder_.Path("music");
  fs::create_directory(music);
  Fill(music, 2 * kSome, kTracks);
  Repeat(TaskOf({"scan", music}), "Music", false, [&](int i) {
    const int gone = i % 2 == 0 ? kSome : 0;
    for (int n = gone; n < gone + kSome; ++n) {
      fs::remove(music + "/" + std::to_string(1000 + n) + ".flac");
    }
    Fill(music, kSome - gone, 2 * kSome - gone);
  });
}

TEST_F(Kills, are_not_needed_where_another_process_holds_the_file) {
  if (std::getenv("TROVA_STRESS_KILLS") == nullptr) GTEST_SKIP() << "takes two minutes";
  const Words words = {"import", Table("a"), "--collection", "T"};
  Run(words);
  const Idents before = Held("T");
  sqlite3* holder = nullptr;
  ASSERT_EQ(sqlite3_open(store_.c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const auto result = RunTrova({"import", Table("b"), "--collection", "T"});
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.err.find(store_ + ": another process holds it"), std::string::npos)
      << result.err;
  EXPECT_EQ(Held("T"), before);  // readers do not wait
  sqlite3_close(holder);
}

}  // namespace
