// What the documents promise of playlists, through the command, in libraries of every size.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "cli_test_process.h"
#include "name_lists.h"
#include "playlist/headlines.h"

namespace {

using namespace headlines;
using trova_cli_test::RunResult;
using trova_cli_test::RunTrova;
using trova_cli_test::TestFolder;
using trova_cli_test::Words;

std::string WriteTable(const TestFolder& folder, const std::vector<Track>& tracks) {
  trova_cli::NameLists lists;
  std::string table;
  for (std::size_t i = 0; i < tracks.size(); ++i) {
    const Track& track = tracks[i];
    nlohmann::json row = {{"ident", ident_of(i)},
                          {"artist", track.texts[kArtist]},
                          {"album", track.texts[kAlbum]},
                          {"bpm", track.ids[kTempo]}};
    const auto add = [&](const char* column, Attribute attribute, const Ids& ids) {
      const trova_cli::ListKind kind = *trova_cli::ListOfAttribute(kNames[attribute]);
      for (const uint32_t id : ids) row[column].push_back(lists.ById(kind, id)->name);
    };
    add("genre", kGenre, track.ids[kGenre]);
    add("year", kEra, track.ids[kEra]);
    add("origin", kOrigin, track.ids[kOrigin]);
    add("artist_type", kArtistType, track.ids[kArtistType]);
    add("mood", kMood, track.profile);
    table += row.dump() + "\n";
  }
  return folder.Write("tracks.jsonl", table);
}

Texts Playlist(Words words) {
  words.insert(words.end(), {"--output", "paths"});
  const RunResult result = RunTrova(words);
  EXPECT_EQ(result.code, result.out.empty() ? 1 : 0) << result.err;
  std::istringstream lines(result.out);
  return {std::istream_iterator<std::string>(lines), {}};
}

class test_cli_headlines : public testing::TestWithParam<uint32_t> {
  const trova_cli::Engine engine_;
};

TEST_P(test_cli_headlines, hold_for_a_table_and_for_what_is_stored) {
  const TestFolder folder;
  setenv("TROVA_STORE", folder.Path("trova.db").c_str(), 1);
  std::vector<Track> tracks = make_tracks(GetParam(), false);
  const std::string table = WriteTable(folder, tracks);
  EXPECT_EQ(RunTrova({"import", table, "--collection", "all"}).code, 0);

  compare_with(0, tracks);
  std::vector<Promise> promises = promises_of_all(tracks.back());
  add_promises_of(kMood, promises);
  for (const Promise& promise : promises) {
    const std::string statement = "genpl " + promise.statement;
    check(promise, tracks, Playlist({"generate", "--seed", ident_of(0), statement}), true);
  }
  for (const Attribute attribute : {kMood, kOrigin}) {
    const std::string statement = std::string("genpl limit 2 per ") + kNames[attribute];
    check_per(tracks, attribute, 2, Playlist({"generate", "--library", table, statement}));
  }
  const auto like = [&](const char* most) {
    return Playlist({"like", ident_of(0), "-n", most, "--library", table});
  };
  const Texts kin = like("99999");
  check_like(tracks, 0, kin);
  EXPECT_EQ(like("9"), Texts(kin.begin(), kin.begin() + std::min<ptrdiff_t>(9, std::ssize(kin))));
}

INSTANTIATE_TEST_SUITE_P(Tracks, test_cli_headlines, testing::ValuesIn(kSizes),
                         testing::PrintToStringParamName());

}  // namespace
