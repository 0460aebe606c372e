// Seed finder: one pass over the tracks.
#include "seed_finder.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "error.h"
#include "text.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMatchesListed = 10;

std::vector<std::string> Words(const std::string& folded) {
  std::istringstream stream(folded);
  return {std::istream_iterator<std::string>(stream), {}};
}

std::string SearchText(const TrackView& track) {
  std::string text = fmt::format("{} {} {}", track.title, track.artist, track.album_artist);
  for (const char* album : track.albums) text += fmt::format(" {}", album);
  return Fold(text);
}

// What one pass over the tracks found.
struct Matches {
  std::vector<std::uint32_t> files;   // the query is another name of the track's file
  std::vector<std::uint32_t> titles;  // the query is the whole title
  std::vector<std::uint32_t> words;   // all its words occur
};

// Whether the query is a file, reached by another way than the library's.
class SameFile {
 public:
  explicit SameFile(const std::string& query) : query_(query) {
    std::error_code error;
    exists_ = fs::is_regular_file(query_, error);
  }

  bool Is(std::string_view path) const {
    std::error_code error;
    return exists_ && path.ends_with(query_.filename().native()) &&
           fs::equivalent(query_, path, error);
  }

 private:
  fs::path query_;
  bool exists_ = false;
};

Matches Search(const TrackStore& tracks, const std::string& query) {
  const SameFile file(query);
  const std::string title = Fold(Trim(query));
  const std::vector<std::string> words = Words(title);
  Matches matches;
  for (std::uint32_t i = 0; i < tracks.size(); ++i) {
    const TrackView track = tracks.Get(i);
    if (file.Is(track.path)) matches.files.push_back(i);
    if (words.empty()) continue;
    if (Fold(track.title) == title) matches.titles.push_back(i);
    const std::string text = SearchText(track);
    const auto occurs = [&](const std::string& word) { return text.find(word) != text.npos; };
    if (std::all_of(words.begin(), words.end(), occurs)) matches.words.push_back(i);
  }
  return matches;
}

std::string Listing(const TrackStore& tracks, const std::vector<std::uint32_t>& matches) {
  std::string lines;
  for (std::size_t i = 0; i < std::min(matches.size(), kMatchesListed); ++i) {
    const TrackView track = tracks.Get(matches[i]);
    const std::string line = fmt::format("{} - {}  [{}]", track.artist, track.title, track.ident);
    lines += fmt::format("  {}\n", Printable(line));
  }
  if (matches.size() > kMatchesListed) {
    lines += fmt::format("  and {} more\n", matches.size() - kMatchesListed);
  }
  return lines;
}

}  // namespace

std::uint32_t FindSeed(const TrackStore& tracks, const std::string& query) {
  if (const auto index = tracks.Find(query)) return *index;
  const Matches matches = Search(tracks, query);
  for (const auto* fit : {&matches.files, &matches.titles, &matches.words}) {
    if (fit->size() == 1) return fit->front();
  }
  if (matches.words.empty())
    throw CommandError(fmt::format("no track fits the seed \"{}\"", query));
  throw CommandError(
      fmt::format("{} tracks fit the seed \"{}\"; add a word or give the name in brackets",
                  matches.words.size(), query),
      Listing(tracks, matches.words));
}

}  // namespace trova_cli
