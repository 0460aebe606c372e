// The command as its users run it: exit codes, streams, terminals.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "cli_test_files.h"
#include "cli_test_process.h"

namespace {

using trova_cli_test::Has;
using trova_cli_test::RunOnTerminal;
using trova_cli_test::RunResult;
using trova_cli_test::RunTrova;
using trova_cli_test::TestFolder;
using trova_cli_test::Words;
using trova_cli_test::WriteAudio;

class test_cli_command : public testing::Test {
 protected:
  // Whoever runs the tests may have collections.
  test_cli_command() { setenv("TROVA_STORE", folder_.Path("none").c_str(), 1); }

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
                    "e.mp3,Blank,,,,,\n");

  // Of kin, in the order of likeness: a, then b; c is alien, d has no mood, e has nothing to go by.
  const std::string moods_ = folder_.Write(
      "moods.csv",
      "ident,title,artist,album,year,genre,country,artist_type,bpm,mood\n"
      "a,Slow Water,Ann Lake,First,1959,Modal Jazz;Cool Jazz,France,Female Solo Artist,68,"
      "Peaceful;Tender\n"
      "b,Still Water,Bob Hill,Second,1962,Cool Jazz,Brazil,Male Solo Artist,75,Peaceful;Tender\n"
      "c,Iron Fist,Crush,Third,1986,Thrash Metal,Germany,Male Group,210,Furious;Angry\n"
      "d,Deep Pond,Dee Moor,Fourth,1960,Modal Jazz,France,Female Solo Artist,,\n"
      "e,Blank,Nobody,,1999,,,,120,\n");

  Words Like(const Words& words) const {
    Words all = {"like", "--library", moods_};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }

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

TEST_F(test_cli_command, like_finds_kin_of_the_track_that_the_query_names) {
  const std::string kin = RunTrova(Like({"ann lake first", "--output", "paths"})).out;
  EXPECT_EQ(kin, RunTrova(Like({"a", "--output", "paths"})).out);
  const RunResult several = RunTrova(Like({"water"}));
  EXPECT_EQ(several.code, 2);
  EXPECT_TRUE(Has(several.err, "Ann Lake - Slow Water  [a]") && Has(several.err, "[b]"))
      << several.err;
  EXPECT_EQ(RunTrova(Like({"a", "--output", "paths", "-0"})).out.size(), 6u);

  const RunResult none = RunTrova(Like({"e"}));
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_TRUE(Has(none.err, "the seed has no mood and no genre")) << none.err;

  for (const Words& words :
       {Like({"a", "-n", "0"}), Like({"a", "-n", "-1"}), Like({"nowhere"}), Like({}),
        Like({"a", "--explain", "--output", "json"}), Like({"a", "--explain", "-0"})}) {
    const RunResult result = RunTrova(words);
    EXPECT_EQ(result.code, 2) << testing::PrintToString(words);
    EXPECT_EQ(result.out, "") << testing::PrintToString(words);
  }
}

TEST_F(test_cli_command, explain_shows_what_is_held_and_how_like_it_is) {
  const RunResult result = RunTrova(Like({"a", "--explain"}));
  EXPECT_EQ(result.code, 0) << result.err;
  const std::size_t picks = result.out.find("\n\n");
  const std::string seed = result.out.substr(0, picks);
  for (const char* held :
       {"seed  Ann Lake - Slow Water  [a]", "QX_Genre       Modal Jazz (1000), Cool Jazz (",
        "QX_Era         1959 (1000)", "QX_Origin      France (1000)", "QX_AlbumName   First",
        "QX_ArtistName  Ann Lake", "QX_ArtistType  Female Solo Artist (1000)",
        "QX_Mood        Peaceful 50 %, Tender 50 %", "QX_Tempo       68 bpm"}) {
    EXPECT_TRUE(Has(seed, held)) << held << " is not in\n" << seed;
  }
  const std::string b = result.out.substr(result.out.find("Bob Hill - Still Water  [b]", picks));
  EXPECT_LT(b.find("QX_Genre       Cool Jazz ("), b.find("QX_Mood        Peaceful 50 %"));
  EXPECT_FALSE(Has(b, "QX_Era         1962 (1000)")) << b;
  EXPECT_TRUE(Has(b, "QX_Tempo       75 bpm")) << b;
  const std::string d = result.out.substr(result.out.find("[d]"));
  EXPECT_TRUE(Has(d.substr(0, d.find("\n\n")), "QX_Mood        -\n")) << d;
}

TEST_F(test_cli_command, an_and_that_tests_another_attributes_value_is_pointed_out) {
  const std::string hint = "AND tests the value that its left side found";
  const RunResult foreign =
      RunTrova(Generate({"genpl where qx_genre = {Jazz} a (QX_Era = {1990s})"}));
  EXPECT_EQ(foreign.code, 1);
  EXPECT_TRUE(Has(foreign.err, hint + "; \"and QX_Era = {1990s} > 0\"")) << foreign.err;
  for (const char* statement : {"genpl where qx_genre = {Jazz} and qx_era = {1920s} > 0",
                                "genpl where qx_era > 1990 and QX_ERA < 1980",
                                "genpl where qx_genre = {Jazz} and (qx_era = {1920s}) > 0",
                                "genpl where qx_era = {1920s}"}) {
    const RunResult own = RunTrova(Generate({statement}));
    EXPECT_EQ(own.code, 1) << statement;
    EXPECT_FALSE(Has(own.err, "AND")) << own.err;
  }
}

// The library knows idents by a hash, under which these two names are one.
TEST_F(test_cli_command, tracks_with_names_of_one_hash_stay_apart) {
  const std::string table = folder_.Write("hash.csv", "path,genre\nAa,Rock\nB@,Jazz\n");
  EXPECT_EQ(RunTrova({"generate", "--library", table, "--output", "paths",
                      "genpl where qx_genre = {Jazz}"})
                .out,
            "B@\n");
}

TEST_F(test_cli_command, a_repeated_ident_adds_its_genres_and_no_track_stands_twice) {
  const std::string table =
      folder_.Write("twice.csv", "path,title,genre\na,First,Rock\na,Second,Jazz\na,Third,Rock\n");
  const RunResult result =
      RunTrova({"generate", "-v", "--library", table, "genpl where qx_genre != 1"});
  EXPECT_EQ(result.out,
            "#  Title  Artist  Album  Year  Genre       Mood  Tempo\n"
            "1  First                       Rock, Jazz\n");
  EXPECT_TRUE(Has(result.err, "1 of 2 results repeat a track")) << result.err;
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
  EXPECT_TRUE(Has(RunTrova(Like({"c"})).out, "Thrash Metal  Furious, Angry    210\n"));
  const std::string narrow = RunOnTerminal(Like({"a"}), "1");
  EXPECT_TRUE(Has(narrow, "Genre") && Has(narrow, "Modal Jazz") && !Has(narrow, "Peace")) << narrow;
}

TEST_F(test_cli_command, a_long_scan_shows_its_progress_on_a_terminal) {
  const std::string pipe = folder_.Path("slow.csv");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::atomic<bool> shown = false;
  std::thread feeder([&] {
    std::ofstream stream(pipe);
    for (stream << "title,year\n"; !shown; stream << "a,1975\n" << std::flush) usleep(20'000);
  });
  const auto watch = [&](const std::string& text) { shown = Has(text, " tracks read\r\x1b[K"); };
  RunOnTerminal({"generate", "--library", pipe, "genpl"}, "1", {}, watch);
  feeder.join();
}

}  // namespace
