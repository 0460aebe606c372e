// The command as its users run it: exit codes, streams, terminals.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "cli_test_files.h"

namespace {

using trova_cli_test::OpenScratch;
using trova_cli_test::ReadBack;
using trova_cli_test::TestFolder;
using trova_cli_test::WriteAudio;

using Words = std::vector<std::string>;

[[noreturn]] void Execute(const Words& words) {
  std::vector<char*> arguments;
  std::string program = TROVA_BINARY;
  arguments.push_back(program.data());
  Words copies = words;
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execv(TROVA_BINARY, arguments.data());
  _exit(127);
}

int ExitCodeOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

struct RunResult {
  int code;
  std::string out;
  std::string err;
};

RunResult RunTrova(const Words& words, const std::string& in = {}, int out = OpenScratch()) {
  const int input = OpenScratch();
  const int err = OpenScratch();
  EXPECT_EQ(pwrite(input, in.data(), in.size(), 0), static_cast<ssize_t>(in.size()));
  const pid_t child = fork();
  if (child == 0) {
    dup2(input, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    Execute(words);
  }
  RunResult result{ExitCodeOf(child), {}, ReadBack(err)};
  if (lseek(out, 0, SEEK_END) > 0) result.out = ReadBack(out);
  for (const int fd : {input, out, err}) close(fd);
  return result;
}

// All three streams are one terminal of 60 columns.
std::string RunOnTerminal(const Words& words, const char* no_colour) {
  winsize size{24, 60, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    if (no_colour != nullptr) setenv("NO_COLOR", no_colour, 1);
    Execute(words);
  }
  std::string text;
  std::array<char, 4096> block;
  for (ssize_t got = 0; (got = read(terminal, block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(got));
  }
  ExitCodeOf(child);
  close(terminal);
  return text;
}

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class test_cli_command : public testing::Test {
 protected:
  const TestFolder folder_;
  // Results are sorted by score, equal scores in no particular order, so statements here have one
  // result or are compared by what they hold.
  const std::string library_ =
      folder_.Write("library.csv",
                    "path,title,artist,album,year,genre,country\n"
                    "a.mp3,Money,Pink Floyd,Dark Side,1973,Progressive Rock,United Kingdom\n"
                    "b.mp3,Straße,Björk,Début,1993,Rock; Jazz,Iceland\n"
                    "c.mp3,Money,ABBA,Gold,1976,Pop,Sweden\n"
                    "d.mp3,Strange,Nobody,Odd,1999,Progresive Rokk,\n"
                    "e.mp3,Blank,Nobody,,,,\n");

  Words Generate(const Words& words) const {
    Words all = {"generate", "--library", library_};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
};

TEST_F(test_cli_command, exit_codes_and_streams_tell_results_from_none_and_errors) {
  const RunResult some = RunTrova(Generate({"genpl where qx_genre = {Jazz}"}));
  EXPECT_EQ(some.code, 0);
  EXPECT_TRUE(Has(some.out, "Straße  Björk") && !Has(some.out, "Money")) << some.out;
  EXPECT_TRUE(Has(some.err, "genre \"Progresive Rokk\" (1 track); nearest: \"Progressive Rock\""))
      << some.err;
  EXPECT_TRUE(Has(some.err, "1 track has no genre")) << some.err;

  const RunResult none = RunTrova(Generate({"genpl where qx_era < 1900", "--output", "paths"}));
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.out, "");

  const Words errors[] = {
      Generate({"genpl wher"}),
      Generate({"genpl", "--output", "html"}),
      Generate({"genpl", "-0", "--output", "json"}),
      Generate({"genpl where qx_genre like seed"}),
      Generate({"genpl", "--seed", "money"}),
      Generate({"genpl", "--seed", "no such track"}),
      Generate({"-f", "/nonexistent"}),
      {"generate", "--library", "/nonexistent", "genpl"},
      {"generate", "genpl"},
      {"check", "genpl ("},
      {"lists", "colours"},
      {"frobnicate"},
      {},
  };
  for (const Words& words : errors) {
    const RunResult result = RunTrova(words);
    EXPECT_EQ(result.code, 2) << testing::PrintToString(words);
    EXPECT_EQ(result.out, "") << testing::PrintToString(words);
    EXPECT_TRUE(result.err.find("trova: ") != std::string::npos) << testing::PrintToString(words);
  }
  EXPECT_EQ(RunTrova(Generate({"genpl"}), {}, open("/dev/full", O_WRONLY)).code, 2);
}

TEST_F(test_cli_command, statements_come_from_an_argument_a_file_or_stdin) {
  const TestFolder folder;
  const std::string statement = "genpl\nwhere qx_origin = {Sweden};\n";
  const std::string file = folder.Write("statement", statement);
  for (const RunResult& result : {RunTrova(Generate({"--output", "paths", statement})),
                                  RunTrova(Generate({"--output", "paths", "-f", file})),
                                  RunTrova(Generate({"--output", "paths"}), statement),
                                  RunTrova(Generate({"--output", "paths", "-"}), statement)}) {
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "c.mp3\n");
  }
}

TEST_F(test_cli_command, a_seed_is_found_by_ident_or_words_and_never_guessed) {
  const std::string same_era = "genpl where qx_era = seed";
  for (const char* seed : {"b.mp3", "bjork", "STRASSE", "début björk"}) {
    EXPECT_EQ(RunTrova(Generate({"--output", "paths", "--seed", seed, same_era})).out, "b.mp3\n")
        << seed;
  }
  const RunResult several = RunTrova(Generate({"--seed", "money", same_era}));
  EXPECT_TRUE(Has(several.err, "Pink Floyd - Money  [a.mp3]") && Has(several.err, "ABBA - Money"))
      << several.err;
}

TEST_F(test_cli_command, every_genre_counts_and_no_track_stands_twice) {
  for (const char* genre : {"{Rock}", "{Jazz}"}) {
    EXPECT_TRUE(Has(
        RunTrova(Generate({"--output", "paths", std::string("genpl where qx_genre = ") + genre}))
            .out,
        "b.mp3\n"))
        << genre;
  }
  const RunResult twice =
      RunTrova(Generate({"-v", "--output", "paths", "genpl where qx_genre != 1"}));
  EXPECT_EQ(twice.out.find("b.mp3"), twice.out.rfind("b.mp3"));
  EXPECT_TRUE(Has(twice.err, "1 of 4 results repeat a track")) << twice.err;
}

// The library knows idents by a hash, under which these two names are one.
TEST_F(test_cli_command, tracks_with_names_of_one_hash_stay_apart) {
  const std::string table = folder_.Write("hash.csv", "path,genre\nAa,Rock\nB@,Jazz\n");
  EXPECT_EQ(RunTrova({"generate", "--library", table, "--output", "paths",
                      "genpl where qx_genre = {Jazz}"})
                .out,
            "B@\n");
}

TEST_F(test_cli_command, a_repeated_ident_adds_its_genres) {
  const std::string table =
      folder_.Write("twice.csv", "path,title,genre\na,First,Rock\na,Second,Jazz\na,Third,Rock\n");
  EXPECT_EQ(RunTrova({"generate", "--library", table, "genpl where qx_genre = {Jazz}"}).out,
            "#  Title  Artist  Album  Year  Genre\n1  First                       Rock, Jazz\n");
}

TEST_F(test_cli_command, an_audio_folder_gives_a_playlist_of_its_files) {
  const TestFolder folder;
  WriteAudio(folder, "x/one.flac", {{"TITLE", "One"}, {"GENRE", "Rock"}, {"DATE", "1975"}});
  WriteAudio(folder, "two.mp3", {{"TITLE", "Two"}, {"DATE", "1985"}});
  folder.Write("bad.mp3", "?");
  const RunResult result =
      RunTrova({"generate", "--library", folder.Path(""), "--output", "m3u8", "--relative-to",
                folder.Path("x"), "genpl where qx_era <= {1985} order 0 - 1 * qx_era like {1975}"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "#EXTM3U\n#EXTINF:1,Two\n../two.mp3\n#EXTINF:1,One\none.flac\n");
  EXPECT_TRUE(Has(result.err, "1 file could not be read and was skipped")) << result.err;
}

TEST_F(test_cli_command, check_and_lists_answer_on_stdout) {
  EXPECT_EQ(RunTrova({"check", "genpl where qx_genre = {Rock}"}).out, "ok\n");
  EXPECT_EQ(RunTrova({"check", "genpl where qx_genre like seed"}).out, "ok, needs a seed\n");
  EXPECT_TRUE(Has(RunTrova({"lists"}).out, "artist-types"));
  EXPECT_TRUE(Has(RunTrova({"lists", "eras", "--tree"}).out, "  1975\n"));
  const RunResult found = RunTrova({"lists", "--search", "progressive rok"});
  EXPECT_TRUE(found.code == 0 && Has(found.out, "genres        Progressive Rock")) << found.out;
  EXPECT_EQ(RunTrova({"--help"}).code, 0);
  EXPECT_TRUE(Has(RunTrova({"generate", "--help"}).out, "--relative-to"));
  EXPECT_TRUE(Has(RunTrova({"--version"}).out, "trova 2.0.0.32"));
}

TEST_F(test_cli_command, colour_and_width_follow_the_terminal) {
  const Words wrong = {"check", "genpl wher)"};
  EXPECT_TRUE(Has(RunOnTerminal(wrong, nullptr), "\x1b["));
  EXPECT_FALSE(Has(RunOnTerminal(wrong, "1"), "\x1b["));
  EXPECT_FALSE(Has(RunTrova(wrong).err, "\x1b["));
  const std::string table = folder_.Write(
      "t.csv", "title,artist,year,genre\n" + std::string(200, 'x') + ",Somebody,1975,Rock\n");
  const std::string shown = RunOnTerminal({"generate", "--library", table, "genpl"}, "1");
  EXPECT_TRUE(Has(shown, "x…  Somebody") && Has(shown, "1975  Rock")) << shown;
}

TEST_F(test_cli_command, a_long_scan_shows_its_progress_on_a_terminal) {
  const std::string pipe = folder_.Path("slow.csv");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread feeder([&] {
    std::ofstream stream(pipe);
    stream << "title,year\na,1975\n" << std::flush;
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    stream << "b,1975\n";
  });
  const std::string shown = RunOnTerminal({"generate", "--library", pipe, "genpl"}, "1");
  feeder.join();
  EXPECT_TRUE(Has(shown, "\r\x1b[K2 tracks read\r\x1b[K")) << shown;
}

}  // namespace
