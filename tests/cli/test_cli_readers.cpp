// Readers: tables, JSON Lines and folders become tracks; what is broken is skipped and reported.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "byte_source.h"
#include "cli_test_files.h"
#include "error.h"
#include "track_reader.h"

namespace trova_cli {
namespace {

using trova_cli_test::OpenScratch;
using trova_cli_test::ReadBack;
using trova_cli_test::TestFolder;
using trova_cli_test::WriteAudio;

struct ReadResult {
  std::vector<Track> tracks;
  std::size_t skipped = 0;
  std::string messages;
};

ReadResult ReadLibrary(const std::string& path, bool verbose = false) {
  ReadResult result;
  const int fd = OpenScratch();
  {
    Console console(fd, verbose);
    ReadLog log(console);
    OpenLibrary(path, log)->Read([&](Track& track) { result.tracks.push_back(track); });
    log.Finish();
    result.skipped = log.skipped();
  }
  result.messages = ReadBack(fd);
  close(fd);
  return result;
}

// The fields that the cases below look at: "ident|title|artist|album,album|year|genre,genre|bpm".
std::string Summary(const Track& track) {
  const auto join = [](const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : ",") + text;
    return joined;
  };
  return track.ident + "|" + track.title + "|" + track.artist + "|" + join(track.albums) + "|" +
         std::to_string(track.year) + "|" + join(track.genres) + "|" + std::to_string(track.bpm);
}

struct TableCase {
  const char* name;
  const char* file;
  std::string content;
  std::vector<std::string> tracks;
  const char* message;  // part of what is said, or ""
};

TEST(test_cli_readers, tables_and_json_lines_give_these_tracks) {
  const std::vector<TableCase> cases = {
      {"header aliases",
       "a.csv",
       "ID,Name,Album-Artist,GENRES,Tempo\nx,T,AA,Rock,127.6\n",
       {"x|T|||0|Rock|128"},
       ""},
      {"mark, CRLF, blank line, no last line end",
       "a.csv",
       "\xef\xbb\xbf"
       "path,title\r\n\r\na.mp3,T\r\nb.mp3,\"U\"",
       {"a.mp3|T|||0||0", "b.mp3|U|||0||0"},
       ""},
      {"quotes",
       "a.csv",
       "ident,title,year\n1,\"a,\"\"b\"\"\nc\",1975-03-01\n2,5\" vinyl,x\n",
       {"1|a,\"b\"\nc|||1975||0", "2|5\" vinyl|||0||0"},
       ""},
      {"short row, long row",
       "a.csv",
       "ident,title\n1\n2,b,c\n3,c\n",
       {"1||||0||0", "3|c|||0||0"},
       "a.csv:3: 3 fields under 2 columns"},
      {"text after a quote",
       "a.csv",
       "ident,title\n1,\"a\"b\n2,c\n",
       {"2|c|||0||0"},
       "a.csv:2: text after a closing quote"},
      {"open quote names its own line",
       "a.csv",
       "ident,title\n1,a\n2,\"b\n3,c\n",
       {"1|a|||0||0"},
       "a.csv:3: a quote"},
      {"nothing to call it by", "a.csv", "ident,title,artist\n,,A\n", {}, "a.csv:2: no ident"},
      {"ident from artist and title",
       "a.csv",
       "title,artist\nT,A\nU,\n",
       {"A/T|T|A||0||0", "U|U|||0||0"},
       ""},
      {"a zero byte ends nothing",
       "a.csv",
       std::string("ident,title\n1,a\0b\n", 18),
       {"1|a b|||0||0"},
       ""},
      {"tabs do not quote",
       "a.tsv",
       "ident\ttitle\n1\t\"Heroes\" (live)\n",
       {"1|\"Heroes\" (live)|||0||0"},
       ""},
      {"arrays and numbers",
       "a.jsonl",
       "{\"ident\":\"1\",\"title\":\"T\",\"year\":1980,\"bpm\":99.5,\"genre\":[\"A\",\"B\"],"
       "\"album\":[\"X\",\"Y\"],\"artist\":null,\"x\":{\"y\":[[[1]]]}}\n",
       {"1|T||X,Y|1980|A,B|100"},
       ""},
      {"bad lines",
       "a.jsonl",
       "{\"ident\":1}\n{\"ident\"\n[1]\n\n{\"ident\":\"\xff\"}\n{\"bpm\":1}\n",
       {"1||||0||0"},
       "a.jsonl:2: not JSON"},
      {"depth",
       "a.ndjson",
       std::string(100'000, '[') + "\n{\"ident\":\"1\"}\n",
       {"1||||0||0"},
       "a.ndjson:1: not JSON"},
  };
  for (const TableCase& item : cases) {
    SCOPED_TRACE(item.name);
    const TestFolder folder;
    const ReadResult result = ReadLibrary(folder.Write(item.file, item.content));
    std::vector<std::string> tracks;
    for (const Track& track : result.tracks) tracks.push_back(Summary(track));
    EXPECT_EQ(tracks, item.tracks);
    EXPECT_NE(result.messages.find(item.message), std::string::npos) << result.messages;
    EXPECT_EQ(*item.message == '\0', result.messages.empty()) << result.messages;
  }
}

TEST(test_cli_readers, libraries_that_cannot_be_read_at_all_are_refused) {
  const TestFolder folder;
  for (const std::string& path :
       {folder.Path("missing.csv"), folder.Write("list.txt", "x"), folder.Write("empty.csv", ""),
        folder.Write("nothing.csv", "colour,size\n1,2\n")}) {
    EXPECT_THROW(ReadLibrary(path), CommandError) << path;
  }
}

TEST(test_cli_readers, endless_records_are_skipped_with_little_memory) {
  const TestFolder folder;
  const std::string path =
      folder.Write("a.csv", "ident,title\n1," + std::string(kMaxRecordSize + 10, 'x') + "\n2" +
                                std::string(100'000, ',') + "\n3,c\n");
  const ReadResult result = ReadLibrary(path);
  ASSERT_EQ(result.tracks.size(), 1u);
  EXPECT_EQ(result.tracks[0].ident, "3");
  EXPECT_EQ(result.skipped, 2u);
}

TEST(test_cli_readers, unused_columns_are_noted_with_verbose_only) {
  const TestFolder folder;
  const std::string path = folder.Write("a.csv", "ident,colour\n1,red\n");
  EXPECT_EQ(ReadLibrary(path).messages, "");
  EXPECT_NE(ReadLibrary(path, true).messages.find("\"colour\" is not used"), std::string::npos);
}

TEST(test_cli_readers, tags_of_each_format_become_fields) {
  const TestFolder folder;
  for (const char* name : {"a.wav", "a.flac", "a.mp3"}) {
    SCOPED_TRACE(name);
    const std::string path = WriteAudio(folder, name,
                                        {{"TITLE", "Tïtle"},
                                         {"ARTIST", "Artist"},
                                         {"ALBUM", "Album"},
                                         {"ALBUMARTIST", "Various"},
                                         {"DATE", "1999-05-01"},
                                         {"GENRE", "Rock"},
                                         {"GENRE", "Jazz"},
                                         {"BPM", "120"},
                                         {"MOOD", "Calm"}});
    const ReadResult result = ReadLibrary(folder.Path(""));
    ASSERT_EQ(result.tracks.size(), 1u);
    EXPECT_EQ(Summary(result.tracks[0]), path + "|Tïtle|Artist|Album|1999|Rock,Jazz|120");
    EXPECT_EQ(result.tracks[0].album_artist, "Various");
    EXPECT_EQ(result.tracks[0].moods, std::vector<std::string>{"Calm"});
    EXPECT_EQ(result.tracks[0].seconds, 1u);
    std::filesystem::remove(path);
  }
}

TEST(test_cli_readers, old_numeric_genres_become_names) {
  const TestFolder folder;
  WriteAudio(folder, "a.flac",
             {{"TITLE", "a"},
              {"GENRE", "(17)"},
              {"GENRE", "8"},
              {"GENRE", "(4)Other Disco"},
              {"GENRE", "(unplugged) Rock"}});
  EXPECT_EQ(ReadLibrary(folder.Path("")).tracks.at(0).genres,
            (std::vector<std::string>{"Rock", "Jazz", "Other Disco", "(unplugged) Rock"}));
}

TEST(test_cli_readers, folders_are_walked_in_order_and_survive_what_is_broken) {
  const TestFolder folder;
  WriteAudio(folder, "b/2.wav", {});
  WriteAudio(folder, "b/10.wav", {});
  WriteAudio(folder, "a.mp3", {{"TITLE", "First"}});
  WriteAudio(folder, "c/odd\xff\nname.wav", {});
  WriteAudio(folder, ".hidden/x.wav", {});
  folder.Write("garbage.mp3", "this is no audio");
  folder.Write("empty.flac", "");
  folder.Write("cover.jpg", "picture");
  std::filesystem::create_directory_symlink(folder.Path(""), folder.Path("b/loop"));
  std::filesystem::create_symlink("nowhere", folder.Path("c/dangling.ogg"));
  ASSERT_EQ(mkfifo(folder.Path("pipe.wav").c_str(), 0600), 0);

  const ReadResult result = ReadLibrary(folder.Path(""), true);
  std::vector<std::string> paths;
  for (const Track& track : result.tracks) paths.push_back(track.path);
  EXPECT_EQ(paths,
            (std::vector<std::string>{folder.Path("a.mp3"), folder.Path("b/10.wav"),
                                      folder.Path("b/2.wav"), folder.Path("c/odd\xff\nname.wav")}));
  EXPECT_EQ(result.tracks.at(1).title, "10");  // the file's name where there is no title
  EXPECT_EQ(result.skipped, 4u);
  for (const char* name : {"garbage.mp3", "empty.flac", "dangling.ogg", "pipe.wav"}) {
    EXPECT_NE(result.messages.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace trova_cli
