// Stored collections: scans follow their folder, whatever ends them, and nothing is lost.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>

#include "case_file.h"
#include "cli_test_files.h"
#include "cli_test_process.h"

namespace {

namespace fs = std::filesystem;

using trova_cli_test::ExitCodeOf;
using trova_cli_test::Has;
using trova_cli_test::OpenScratch;
using trova_cli_test::ReadBack;
using trova_cli_test::RunOnTerminal;
using trova_cli_test::RunResult;
using trova_cli_test::RunTrova;
using trova_cli_test::StartTrova;
using trova_cli_test::TestFolder;
using trova_cli_test::Words;
using trova_cli_test::WriteAudio;

std::string Content(const std::string& path) {
  if (!fs::is_regular_file(path)) return "";
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void RunSql(const std::string& path, const char* sql) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  sqlite3_close(database);
}

class test_cli_collections : public testing::Test {
 protected:
  test_cli_collections() {
    setenv("TROVA_STORE", store_.c_str(), 1);
    fs::create_directory(music_);
  }

  std::string Audio(const std::string& name, const std::string& year = "1975") const {
    return WriteAudio(
        folder_, "music/" + name,
        {{"TITLE", "T " + name}, {"DATE", year}, {"GENRE", "Rock"}, {"GENRE", "Jazz"}});
  }

  // Copies of one file, because tagging each takes long.
  void Fill(int count) const {
    const std::string first = Audio("x0.flac");
    for (int i = 1; i < count; ++i) {
      fs::copy_file(first, music_ + "/x" + std::to_string(i) + ".flac");
    }
  }

  RunResult Scan(const Words& more = {}) const {
    Words words = {"scan", music_};
    words.insert(words.end(), more.begin(), more.end());
    return RunTrova(words);
  }

  // The files that a playlist of everything names, below the folder and sorted.
  Words Files(const Words& more = {}) const {
    Words words = {"generate", "genpl", "-0"};
    words.insert(words.end(), more.begin(), more.end());
    Words files;
    std::string rest = RunTrova(words).out;
    for (std::size_t end = 0; (end = rest.find('\0')) != rest.npos; rest.erase(0, end + 1)) {
      files.push_back(rest.substr(0, end).substr(music_.size() + 1));
    }
    std::sort(files.begin(), files.end());
    return files;
  }

  const TestFolder folder_;
  const std::string store_ = folder_.Path("data/trova.db");
  const std::string music_ = folder_.Path("music");
};

TEST_F(test_cli_collections, scans_read_what_changed_and_open_nothing_else) {
  for (const char* ending : {"mp3", "flac", "ogg", "m4a", "wav"}) {
    Audio(std::string("a.") + ending);
    folder_.Write(std::string("music/broken.") + ending, "?");
  }
  WriteAudio(folder_, "music/sub/empty.flac", {{"TITLE", "nothing to go by"}});

  struct Step {
    std::function<void()> change;
    const char* report;
    Words files;
  };
  const std::string kept = music_ + "/a.flac";
  const Step steps[] = {
      {[] {},
       "5 tracks; 5 added, 0 changed, 0 removed; 11 files read, 0 as before",
       {"a.flac", "a.m4a", "a.mp3", "a.ogg", "a.wav"}},
      // Whoever opened it would see another file.
      {[&] {
         const auto time = fs::last_write_time(kept);
         const std::string other(static_cast<std::size_t>(fs::file_size(kept)), '?');
         std::ofstream(kept) << other;
         fs::last_write_time(kept, time);
       },
       "5 tracks; 0 added, 0 changed, 0 removed; 0 files read, 11 as before",
       {"a.flac", "a.m4a", "a.mp3", "a.ogg", "a.wav"}},
      {[&] {
         Audio("a.mp3", "2001");
         fs::remove(music_ + "/a.ogg");
         fs::remove(music_ + "/broken.ogg");
         Audio("new.flac");
         Audio("broken.wav");
         folder_.Write("music/a.m4a", "broken now");
       },
       "5 tracks; 2 added, 1 changed, 2 removed; 4 files read, 6 as before",
       {"a.flac", "a.mp3", "a.wav", "broken.wav", "new.flac"}},
      {[&] { Audio("a.ogg"); },
       "6 tracks; 1 added, 0 changed, 0 removed; 1 files read, 10 as before",
       {"a.flac", "a.mp3", "a.ogg", "a.wav", "broken.wav", "new.flac"}},
  };
  for (const Step& step : steps) {
    step.change();
    const RunResult result = Scan();
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "Music: " + std::string(step.report) + "\n") << result.err;
    EXPECT_EQ(Files(), step.files);
  }
  EXPECT_EQ(RunTrova({"generate", "genpl where qx_era = {2001}", "--output", "paths"}).out,
            music_ + "/a.mp3\n");
}

TEST_F(test_cli_collections, a_stored_collection_gives_what_its_library_gives) {
  Audio("one.flac", "1971");
  Audio("two.mp3", "1972");
  WriteAudio(folder_, "music/kin.flac",
             {{"TITLE", "Kin"},
              {"ARTIST", "A"},
              {"ALBUM", "B"},
              {"ALBUM", "C"},
              {"DATE", "1959"},
              {"MOOD", "Tender"},
              {"BPM", "90"},
              {"ORIGIN", "France"},
              {"GENRE", "Polka"}});
  Scan();
  const Words queries[] = {
      {"generate", "genpl where qx_genre = {Polka} order 0 - 1 * qx_era", "--output", "json"},
      {"generate", "genpl where qx_era = seed", "--seed", "t one", "--output", "csv"},
      {"generate", "genpl where qx_era < 1900"},
      {"generate", "genpl where qx_genre = {Polke}"},
      {"like", "kin", "--explain"},
      {"like", music_ + "/../music/kin.flac", "--output", "xspf", "--relative-to", music_},
      {"like", "T"},
  };
  for (const Words& query : queries) {
    Words from_folder = query;
    from_folder.insert(from_folder.end(), {"--library", music_});
    const RunResult stored = RunTrova(query);
    const RunResult read = RunTrova(from_folder);
    EXPECT_EQ(stored.code, read.code) << testing::PrintToString(query) << stored.err;
    EXPECT_EQ(stored.out, read.out) << testing::PrintToString(query);
    EXPECT_EQ(stored.err, read.err) << testing::PrintToString(query);
  }
  const RunResult view = RunTrova({"show", "kin"});
  for (const char* part : {"[", "QX_AlbumName   trova_val_title_display", "1959", "90", "France"}) {
    EXPECT_TRUE(Has(view.out, part)) << part << view.out;
  }
}

TEST_F(test_cli_collections, odd_names_long_titles_and_names_of_one_hash_keep_their_bytes) {
  Words names = {"-n.flac", "Aa.flac", "B@.flac", "a\nb.flac", "bad\xff.flac", "Caa/Bb.flac"};
  for (const std::string& name : names) Audio(name);
  names.emplace_back("a long title.flac");
  WriteAudio(folder_, "music/" + names.back(),
             {{"TITLE", std::string(10 << 20, 'L')}, {"GENRE", "Jazz"}});
  fs::create_directory_symlink(music_, music_ + "/loop");
  fs::create_directory_symlink("other", music_ + "/one");
  fs::create_directory_symlink("one", music_ + "/other");
  std::sort(names.begin(), names.end());
  Scan();
  EXPECT_EQ(Files(), names);
  EXPECT_TRUE(Has(Scan().out, "0 files read, 7 as before"));
  fs::remove(music_ + "/Aa.flac");
  names.erase(std::find(names.begin(), names.end(), "Aa.flac"));
  Scan();
  EXPECT_EQ(Files(), names);
  Audio("B@.flac", "1999");
  Audio("Aa.flac");
  EXPECT_TRUE(Has(Scan().out, "7 tracks; 1 added, 1 changed, 0 removed"));
  EXPECT_EQ(Files().size(), 7u);
}

TEST_F(test_cli_collections, tracks_that_cannot_be_seen_just_now_stay) {
  Audio("a.flac");
  Audio("sub/b.flac");
  Audio("sub/c.flac");
  Scan();
  const Words all = Files();
  const std::string sub = music_ + "/sub";
  // Another folder, and then a folder that nobody can enter.
  EXPECT_TRUE(Has(RunTrova({"scan", sub}).out, "3 tracks; 0 added"));
  fs::rename(sub, folder_.Path("away"));
  fs::create_symlink(sub, sub);
  const RunResult hidden = Scan();
  EXPECT_TRUE(Has(hidden.err, "1 file could not be read")) << hidden.err;
  EXPECT_EQ(Files(), all);
  // No folder, and an empty one.
  fs::remove(sub);
  fs::rename(music_, folder_.Path("gone"));
  EXPECT_EQ(Scan().code, 2);
  fs::create_directory(music_);
  EXPECT_EQ(Scan().code, 2);
  EXPECT_EQ(Files(), all);
  EXPECT_TRUE(Has(Scan({"--yes", "--dry-run"}).out, "remove 3"));
  EXPECT_EQ(Files(), all);
  EXPECT_EQ(Scan({"--yes"}).code, 1);
  EXPECT_EQ(Files(), Words());
}

// Of tracks that only a stream brought, the catalogue could not make the collection anew.
TEST_F(test_cli_collections, a_scan_loses_nothing_of_imported_tracks) {
  const std::string table = folder_.Write("t.csv", "ident,genre\n/x,Rock;Jazz\n/y,Jazz\n");
  RunTrova({"import", table, "--collection", "T"});
  RunTrova({"collections", "export", "T", folder_.Path("stream")});
  RunTrova({"collections", "import", folder_.Path("stream"), "--collection", "Music"});
  Audio("a.flac");
  Audio("b.flac");
  EXPECT_TRUE(Has(Scan().out, "4 tracks; 2 added"));
  fs::remove(music_ + "/a.flac");
  Audio("b.flac", "1999");
  const RunResult result = Scan();
  EXPECT_TRUE(Has(result.out, "4 tracks; 0 added, 1 changed, 0 removed")) << result.out;
  EXPECT_TRUE(Has(result.err, "1 track stays in \"Music\" without a file")) << result.err;
  for (const char* genre : {"{Rock}", "{Jazz}"}) {
    const std::string statement = std::string("genpl where qx_genre = ") + genre;
    EXPECT_TRUE(Has(RunTrova({"generate", statement, "--output", "paths"}).out, "/x\n")) << genre;
  }
}

TEST_F(test_cli_collections, an_interrupted_scan_goes_on_where_it_was) {
  constexpr int kFiles = 2000;
  Fill(kFiles);
  int kept = 0;
  for (int i = 0; i < 10; ++i) {
    const int err = OpenScratch();
    const pid_t child = StartTrova({"scan", music_}, err);
    usleep(12'000 + 4'000 * static_cast<unsigned>(i));
    kill(child, i % 2 == 0 ? SIGINT : SIGTERM);
    const int code = ExitCodeOf(child);
    const std::string said = ReadBack(err);
    close(err);
    int read = 0;
    std::sscanf(said.c_str(), "trova: interrupted; %d of", &read);
    kept += code == 0 ? kFiles - kept : read;
    EXPECT_TRUE(code == 0 || code == 2 || code >= 1000) << code;
    EXPECT_TRUE(code != 2 || Has(said, "interrupted")) << said;
  }
  const RunResult rest = Scan();  // nothing is read twice
  EXPECT_TRUE(Has(rest.out, "2000 tracks; " + std::to_string(kFiles - kept) + " added"))
      << rest.out;
  EXPECT_EQ(Files().size(), static_cast<std::size_t>(kFiles));
}

TEST_F(test_cli_collections, several_processes_share_one_file) {
  Fill(1500);
  const Words commands[] = {{"scan", music_},
                            {"scan", music_},
                            {"scan", music_, "--collection", "Other"},
                            {"collections", "ls"},
                            {"generate", "genpl", "--collection", "Other"}};
  std::vector<std::pair<pid_t, int>> children;
  for (const Words& words : commands) {
    const int err = OpenScratch();
    children.emplace_back(StartTrova(words, err), err);
  }
  for (std::size_t i = 0; i < children.size(); ++i) {
    const int code = ExitCodeOf(children[i].first);
    const std::string said = ReadBack(children[i].second);
    EXPECT_TRUE(i > 2 || code == 0) << said;
    EXPECT_FALSE(Has(said, "locked")) << said;
  }
  for (const char* name : {"Music", "Other"}) {
    EXPECT_EQ(Files({"--collection", name}).size(), 1500u) << name;
  }
}

TEST_F(test_cli_collections, collections_are_imported_renamed_exported_and_removed) {
  const std::string table = folder_.Write(
      "t.csv",
      "ident,title,year,genre\nAa,One,1971,Rock\nB@,Two,1972,Jazz\nAa,,,Polka\nx,None,,\n");
  const std::string stream = folder_.Path("stream"), full = folder_.Path("full");
  std::filesystem::create_symlink("/dev/full", full);
  const std::map<std::string, std::string> paths = {
      {"TABLE", table}, {"STREAM", stream}, {"FOLDER", folder_.Path("")}, {"FULL", full}};
  for (const Case& step : read_cases("collections.txt", "step")) {
    Words words(step.begin() + 3, step.end());
    for (std::string& word : words) word = paths.contains(word) ? paths.at(word) : word;
    const std::string shown = testing::PrintToString(words);
    const bool dry_run = words.back() == "--dry-run";
    const std::string before = dry_run ? Content(store_) : "";
    const RunResult result = RunTrova(words);
    EXPECT_EQ(result.code, std::stoi(step[0])) << shown << result.err;
    EXPECT_EQ(result.out, step[1]) << shown;
    EXPECT_TRUE(Has(result.err, step[2])) << shown << result.err;
    EXPECT_TRUE(!dry_run || Content(store_) == before) << shown;
  }
  const RunResult dry = RunTrova({"collections", "export", "T", stream + "2", "--dry-run"});
  EXPECT_TRUE(Has(dry.out, "T would be written to " + stream + "2: ")) << dry.out;
  EXPECT_FALSE(fs::exists(stream + "2"));
  RunTrova({"collections", "export", "T", stream + "2"});
  EXPECT_TRUE(Content(stream) == Content(stream + "2"));
  EXPECT_TRUE(Has(RunOnTerminal({"collections", "rm", "T"}, "1", "n\n"), "nothing was changed"));
  EXPECT_TRUE(Has(RunOnTerminal({"collections", "rm", "T"}, "1", "y\n"), "T is removed"));
}

TEST_F(test_cli_collections, a_file_that_cannot_be_used_is_named) {
  Audio("a.flac");
  Scan();
  const auto copy = [&](const char* name, const char* sql) {
    fs::copy_file(store_, folder_.Path(name));
    RunSql(folder_.Path(name), sql);
    return folder_.Path(name);
  };
  const std::string good = Content(store_);
  const std::string files[] = {
      copy("newer", "PRAGMA user_version = 99"),
      copy("newer_rows", "UPDATE trova_cli_schema SET version = 99"),
      copy("foreign", "PRAGMA application_id = 1"),
      folder_.Write("text", std::string(9000, 'x')),
      folder_.Write("cut", good.substr(0, good.size() / 2)),
      folder_.Write("noise", good.substr(0, 4096) + std::string(good.size() - 4096, '\x9c')),
      folder_.Path("music"),
      "/proc/none/trova.db",
      "/dev/full/trova.db",
  };
  for (const std::string& file : files) {
    const std::string before = Content(file);
    for (const Words& words : {Words{"generate", "genpl"}, Words{"scan", music_}}) {
      Words with_store = words;
      with_store.insert(with_store.end(), {"--store", file});
      const RunResult result = RunTrova(with_store);
      EXPECT_EQ(result.code, 2) << file;
      EXPECT_TRUE(Has(result.err, file.substr(0, 9))) << file << ": " << result.err;
    }
    EXPECT_TRUE(Content(file) == before) << file;
  }
}

// Everything that is known of a collection's tracks.
std::string Known(const char* collection) {
  return RunTrova({"generate", "genpl", "--collection", collection, "--output", "csv"}).out;
}

TEST_F(test_cli_collections, a_full_disk_refuses_what_has_no_room_and_loses_nothing) {
  const std::string disk = folder_.Path("data");
  fs::create_directory(disk);
  if (mount("none", disk.c_str(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "no right to mount";
  const auto table = [&](int tracks, const std::string& genre) {
    std::string rows = "ident,title,genre\n";
    for (int i = 0; i < tracks; ++i) {
      rows += std::to_string(i) + ",Title " + std::to_string(i) + "," + genre + "\n";
    }
    return folder_.Write("t.csv", rows);
  };
  EXPECT_EQ(RunTrova({"import", table(20, "Jazz"), "--collection", "T"}).code, 0);
  Audio("a.flac");
  EXPECT_EQ(Scan().code, 0);
  const std::string tracks = Known("T"), music = Known("Music");
  Fill(400);
  const Words commands[] = {{"import", table(30'000, "Rock"), "--collection", "T"},
                            {"import", table(30'000, "Rock"), "--collection", "New"},
                            {"scan", music_, "--collection", "Music"}};
  for (std::size_t i = 0; i < std::size(commands); ++i) {
    // A scan needs less room than there was for the tables.
    if (i == 2) folder_.Write("data/rest", std::string(1 << 20, 'x'));
    const RunResult result = RunTrova(commands[i]);
    EXPECT_EQ(result.code, 2) << i;
    EXPECT_TRUE(Has(result.err, "no room")) << result.err;
    fs::remove(folder_.Path("data/rest"));  // without any room not even reading is possible
    EXPECT_EQ(Known("T"), tracks) << i;
    EXPECT_EQ(Known("Music"), music) << i;
  }
  EXPECT_EQ(mount("none", disk.c_str(), "tmpfs", MS_REMOUNT, "size=50m"), 0);
  for (const Words& words : commands) EXPECT_EQ(RunTrova(words).code, 0);
  EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST_F(test_cli_collections, a_folder_that_must_not_be_written_keeps_what_it_has) {
  Audio("a.flac");
  Scan();
  const std::string before = Content(store_);
  const std::string known = Known("Music");
  fs::permissions(folder_.Path(""), fs::perms(0755));
  const uid_t user = geteuid();
  const uid_t other = user == 0 ? 65534 : user;  // the superuser may write everywhere
  ASSERT_EQ(setresuid(other, other, user), 0);
  const RunResult result = Scan();
  ASSERT_EQ(setresuid(user, user, user), 0);
  EXPECT_EQ(result.code, user == 0 ? 2 : 0);
  EXPECT_TRUE(user != 0 || Has(result.err, "must not be written: " + store_)) << result.err;
  EXPECT_TRUE(Content(store_) == before);
  EXPECT_EQ(Known("Music"), known);
}

}  // namespace
