// Writers: whatever a title or a file name holds, every form stays well-formed.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "byte_source.h"
#include "cli_test_files.h"
#include "error.h"
#include "table_reader.h"
#include "text.h"
#include "writers.h"

namespace trova_cli {
namespace {

using trova_cli_test::OpenScratch;
using trova_cli_test::ReadBack;
using trova_cli_test::TestFolder;

Track MakeTrack(const std::string& path, const std::string& title) {
  Track track;
  track.path = path;
  track.ident = path.empty() ? title : path;
  track.title = title;
  track.artist = "A";
  track.albums = {"B"};
  track.seconds = 61;
  return track;
}

std::string Write(const std::vector<Track>& tracks, WritePlaylist write,
                  Locations locations = Locations()) {
  TrackStore store;
  NameLists lists;
  std::vector<std::uint32_t> order;
  for (const Track& track : tracks) order.push_back(store.Add(track, {}));
  Playlist playlist(store, lists, order, std::move(locations));
  const int fd = OpenScratch();
  Output output(fd);
  write(playlist, output);
  output.Flush();
  std::string text = ReadBack(fd);
  close(fd);
  return text;
}

std::string Write(const Track& track, WritePlaylist write) {
  return Write(std::vector<Track>{track}, write);
}

const Track kHostile =
    MakeTrack("/m/a b\n#\"\xff.mp3", "x]]>&<b>\"'\x1b[2J\r\n\xe2\x80\xaey\xff\xc3\xa9");

TEST(test_cli_writers, hostile_names_stay_inside_their_form) {
  const std::string uri = "file:///m/a%20b%0A%23%22%FF.mp3";
  EXPECT_EQ(
      Write(kHostile, WriteM3u8),
      "#EXTM3U\n#EXTINF:61,A - x]]>&<b>\"'\xef\xbf\xbd[2J  \xef\xbf\xbdy\xef\xbf\xbd\xc3\xa9\n" +
          uri + "\n");
  EXPECT_EQ(Write(MakeTrack("#1.mp3", "t"), WriteM3u8), "#EXTM3U\n#EXTINF:61,A - t\n./#1.mp3\n");
  EXPECT_EQ(Write(kHostile, WritePaths), uri + "\n");
  EXPECT_EQ(Write(kHostile, WritePathsZero), kHostile.path + '\0');
  const std::string xspf = Write(kHostile, WriteXspf);
  EXPECT_NE(xspf.find("<location>" + uri + "</location>"), std::string::npos) << xspf;
  EXPECT_NE(xspf.find("<title>x]]&#62;&#38;&#60;b&#62;\"'\xef\xbf\xbd[2J&#13;&#10;\xe2\x80\xaey"
                      "\xef\xbf\xbd\xc3\xa9</title>"),
            std::string::npos)
      << xspf;
  EXPECT_NE(xspf.find("<duration>61000</duration>"), std::string::npos) << xspf;
  for (const WritePlaylist write : {WriteTable, WriteM3u8, WritePaths, WriteXspf}) {
    EXPECT_EQ(Write(kHostile, write).find_first_of("\x1b\x07\x7f\xc0\xff"), std::string::npos);
  }
}

TEST(test_cli_writers, json_and_jspf_parse_back) {
  const std::vector<Track> tracks = {kHostile, MakeTrack("", "no file")};
  const auto json = nlohmann::json::parse(Write(tracks, WriteJson));
  ASSERT_EQ(json.size(), 2u);
  EXPECT_EQ(json[0]["location"], "file:///m/a%20b%0A%23%22%FF.mp3");
  EXPECT_EQ(json[0]["title"], "x]]>&<b>\"'\x1b[2J\r\n\xe2\x80\xaey\xef\xbf\xbd\xc3\xa9");
  EXPECT_FALSE(json[1].contains("path") || json[1].contains("location"));
  const auto jspf = nlohmann::json::parse(Write(tracks, WriteJspf))["playlist"]["track"];
  EXPECT_EQ(jspf[0]["location"][0], json[0]["location"]);
  EXPECT_EQ(jspf[1]["title"], "no file");
  EXPECT_EQ(jspf[1]["duration"], 61000);
}

TEST(test_cli_writers, csv_reads_back_as_a_library) {
  const TestFolder folder;
  const std::string path =
      folder.Write("list.csv", Write({kHostile, MakeTrack(" edge", "a,b")}, WriteCsv));
  Console console(-1);
  ReadLog log(console);
  std::vector<Track> tracks;
  OpenLibrary(path, log)->Read([&](Track& track) { tracks.push_back(track); });
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0].path, kHostile.path);
  EXPECT_EQ(tracks[0].title, kHostile.title);
  EXPECT_EQ(tracks[1].path, " edge");
  EXPECT_EQ(tracks[1].title, "a,b");
  EXPECT_EQ(tracks[1].seconds, 61u);
}

TEST(test_cli_writers, nothing_to_write_is_still_the_form) {
  const std::vector<Track> none;
  EXPECT_EQ(Write(none, WriteTable), "");
  EXPECT_EQ(Write(none, WriteM3u8), "#EXTM3U\n");
  EXPECT_TRUE(nlohmann::json::parse(Write(none, WriteJson)).empty());
  EXPECT_TRUE(nlohmann::json::parse(Write(none, WriteJspf))["playlist"]["track"].empty());
}

TEST(test_cli_writers, table_columns_line_up_under_wide_and_broken_text) {
  std::vector<Track> tracks = {MakeTrack("1", "\xe6\x97\xa5\xe6\x9c\xac"), MakeTrack("2", "abc\td"),
                               MakeTrack("3", "e\xcc\x81\xff")};
  tracks[0].year = 1999;
  EXPECT_EQ(Write(tracks, WriteTable),
            "#  Title  Artist  Album  Year  Genre  Mood  Tempo\n"
            "1  \xe6\x97\xa5\xe6\x9c\xac   A       B      1999\n"
            "2  abc d  A       B\n"
            "3  e\xcc\x81\xef\xbf\xbd     A       B\n");
}

TEST(test_cli_writers, paths_are_relative_to_where_the_folder_really_is) {
  const TestFolder folder;
  folder.Write("music/real/a.mp3", "");
  folder.Write("lists/x", "");
  std::filesystem::create_directory_symlink(folder.Path("lists"), folder.Path("music/link"));
  Locations locations(folder.Path("music/link"));
  EXPECT_EQ(locations.Path(folder.Path("music/real/a.mp3")), "../music/real/a.mp3");
  EXPECT_EQ(locations.Path(folder.Path("music/link/a.mp3")), "a.mp3");
  EXPECT_EQ(locations.Uri(folder.Path("lists/b:c.mp3")), "b%3Ac.mp3");
  EXPECT_EQ(locations.Path("http://host/a b"), "http://host/a b");
  EXPECT_EQ(locations.Uri("http://host/a b?q=%20"), "http://host/a%20b?q=%20");
  EXPECT_THROW(Locations(folder.Path("missing")), CommandError);
}

TEST(test_cli_writers, output_fails_on_a_full_disk_and_forgives_a_reader_that_left) {
  const int full = open("/dev/full", O_WRONLY);
  Output output(full);
  output.Write("x");
  EXPECT_THROW(output.Flush(), CommandError);
  close(full);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  signal(SIGPIPE, SIG_IGN);
  Output pipe_output(ends[1]);
  pipe_output.Write(std::string(1 << 20, 'x'));
  EXPECT_NO_THROW(pipe_output.Flush());
  close(ends[1]);
}

TEST(test_cli_text, fits_and_folds_by_characters) {
  EXPECT_EQ(FitStart("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", 4), "\xe6\x97\xa5\xe2\x80\xa6");
  EXPECT_EQ(FitEnd("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", 4), "\xe2\x80\xa6\xe8\xaa\x9e");
  EXPECT_EQ(FitStart("abc", 3), "abc");
  EXPECT_EQ(FitStart("abcd", 1), "\xe2\x80\xa6");
  EXPECT_EQ(Fold("BJÖRK Straße Łódź Mo\xcc\x88tley Ünï Æon ЖУК \xff"),
            "bjork strasse lodz motley uni aeon жук \xff");
  for (const char* bad : {"\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82", "\x80"}) {
    EXPECT_EQ(Printable(bad).substr(0, 3), kReplacement) << bad;
  }
}

}  // namespace
}  // namespace trova_cli
