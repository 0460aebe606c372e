// trova like: reads a library, finds a track in it, writes what is like that track.
#include <cstddef>
#include <memory>
#include <string>

#include "commands.h"
#include "error.h"
#include "explanation.h"
#include "handles.h"
#include "library_session.h"
#include "seed_finder.h"
#include "track_description.h"

namespace trova_cli {
namespace {

constexpr std::size_t kDefaultLimit = 25;

struct LikeOptions {
  LibraryOptions library;
  std::string query;
  std::size_t limit = kDefaultLimit;
  bool explain = false;
};

Results RunMoreLikeThis(trova_playlist_collection* collection, const TrackView& track) {
  const User user = MakeUser();
  const DataObject seed = DescribeTrack(track);
  trova_playlist_results* results = nullptr;
  Check(trova_playlist_generate_morelikethis(user.get(), collection, seed.get(), &results),
        "find tracks like this one");
  return Results(results);
}

ExitCode WriteExplained(LibrarySession& session, const TrackView& seed, Playlist& playlist) {
  Explanation explanation(session.collection(), session.lists(), seed);
  return session.Write(playlist,
                       [&](Playlist& picks, Output& output) { explanation.Write(picks, output); });
}

ExitCode Like(const LikeOptions& options, Console& console) {
  if (options.explain && !options.library.wants_table()) {
    throw CommandError("--explain goes with --output table only");
  }
  LibrarySession session(options.library, console);
  session.Read();
  Library& library = session.library();
  const std::uint32_t seed_index = FindSeed(library, options.query);
  const Results results = RunMoreLikeThis(session.collection(), library.tracks().Get(seed_index));
  Playlist playlist = session.MakePlaylist(results, options.limit);
  const TrackView seed = library.tracks().Get(seed_index);
  const ExitCode code =
      options.explain ? WriteExplained(session, seed, playlist) : session.Write(playlist);
  if (code == kExitNone && seed.moods.empty() && seed.genres.empty()) {
    console.Warn("the seed has no mood and no genre, so nothing can be found to be like it");
  }
  return code;
}

}  // namespace

Action DefineLike(CLI::App& options) {
  const auto values = std::make_shared<LikeOptions>();
  values->library.Define(options);
  options.add_option("QUERY", values->query, "The track: its ident, file, or words of its title")
      ->required();
  options.add_option("-n", values->limit, "The most tracks to write, the track itself included")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  options.add_flag("--explain", values->explain,
                   "For the track and each one found, show what is known and how alike it is");
  return [values](Console& console) { return Like(*values, console); };
}

}  // namespace trova_cli
