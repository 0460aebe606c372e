// Readers: tables, JSON Lines and folders become tracks; what is broken is skipped and reported.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "byte_source.h"
#include "case_file.h"
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

TEST(test_cli_readers, libraries_give_these_tracks_and_messages) {
  for (Case item : read_cases("libraries.txt", "library")) {
    SCOPED_TRACE(item[0]);
    item.resize(5);
    const TestFolder folder;
    const ReadResult result = ReadLibrary(folder.Write(item[1], item[2]));
    std::string tracks;
    for (const Track& track : result.tracks) tracks += Summary(track) + "\n";
    EXPECT_EQ(tracks, item[3]);
    EXPECT_NE(result.messages.find(item[4]), std::string::npos) << result.messages;
    EXPECT_EQ(item[4].empty(), result.messages.empty()) << result.messages;
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
  const std::string long_field(kMaxRecordSize + 10, 'x');
  const std::string table = folder.Write(
      "a.csv", "ident,title\n1," + long_field + "\n2" + std::string(100'000, ',') + "\n3,c\n");
  const std::string lines = folder.Write(
      "a.ndjson", std::string(100'000, '[') + "\n" + long_field + "\n{\"ident\":\"3\"}\n");
  for (const std::string& path : {table, lines}) {
    const ReadResult result = ReadLibrary(path);
    ASSERT_EQ(result.tracks.size(), 1u) << path;
    EXPECT_EQ(result.tracks[0].ident, "3");
    EXPECT_EQ(result.skipped, 2u);
  }
}

TEST(test_cli_readers, unused_columns_are_noted_with_verbose_only) {
  const TestFolder folder;
  const std::string path = folder.Write("a.csv", "ident,colour\n1,red\n");
  EXPECT_EQ(ReadLibrary(path).messages, "");
  EXPECT_NE(ReadLibrary(path, true).messages.find("\"colour\" is not used"), std::string::npos);
}

TEST(test_cli_readers, tags_of_each_format_become_fields_and_old_numbers_genres) {
  const TestFolder folder;
  const std::multimap<std::string, std::string> tags = {
      {"TITLE", "Tïtle"},     {"ARTIST", "Artist"}, {"ALBUM", "Album"}, {"ALBUMARTIST", "Various"},
      {"DATE", "1999-05-01"}, {"GENRE", "(17)"},    {"GENRE", "8"},     {"BPM", "120"},
      {"MOOD", "Calm"}};
  for (const char* name : {"a.wav", "a.flac", "a.mp3"}) {
    SCOPED_TRACE(name);
    const std::string path = WriteAudio(folder, name, tags);
    const ReadResult result = ReadLibrary(folder.Path(""));
    ASSERT_EQ(result.tracks.size(), 1u);
    EXPECT_EQ(Summary(result.tracks[0]), path + "|Tïtle|Artist|Album|1999|Rock,Jazz|120");
    EXPECT_EQ(result.tracks[0].album_artist, "Various");
    EXPECT_EQ(result.tracks[0].moods, std::vector<std::string>{"Calm"});
    EXPECT_EQ(result.tracks[0].seconds, 1u);
    std::filesystem::remove(path);
  }
  // Where TagLib does not part number and name itself.
  WriteAudio(folder, "b.flac", {{"GENRE", "(4)Other Disco"}, {"GENRE", "(live) Rock"}});
  EXPECT_EQ(ReadLibrary(folder.Path("")).tracks.at(0).genres,
            (std::vector<std::string>{"Other Disco", "(live) Rock"}));
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
