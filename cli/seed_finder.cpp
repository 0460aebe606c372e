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

// After the title.
std::string OtherText(const TrackView& track) {
  std::string text = fmt::format(" {} {}", track.artist, track.album_artist);
  for (const char* album : track.albums) text += fmt::format(" {}", album);
  return text;
}

// The tracks that fit in one way.
struct Fit {
  std::size_t count = 0;
  std::string first;    // what the collection calls the first of them
  std::string listing;  // a line for each of the first few

  void Add(const char* ident, const TrackView& track) {
    if (++count == 1) first = ident;
    if (count > kMatchesListed) return;
    const std::string line = fmt::format("{} - {}  [{}]", track.artist, track.title, track.ident);
    listing += fmt::format("  {}\n", Printable(line));
  }
};

// What one pass over the tracks found.
struct Matches {
  Fit files;   // the query is another name of the track's file
  Fit titles;  // the query is the whole title
  Fit words;   // all its words occur
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

Matches Search(Library& library, const std::string& query) {
  const SameFile file(query);
  const std::string wanted = Fold(Trim(query));
  const std::vector<std::string> words = Words(wanted);
  Matches matches;
  library.ForEach([&](const char* ident, const TrackView& track) {
    if (file.Is(track.path)) matches.files.Add(ident, track);
    if (words.empty()) return;
    const std::string title = Fold(track.title);
    if (title == wanted) matches.titles.Add(ident, track);
    const std::string text = title + Fold(OtherText(track));
    const auto occurs = [&](const std::string& word) { return text.find(word) != text.npos; };
    if (std::all_of(words.begin(), words.end(), occurs)) matches.words.Add(ident, track);
  });
  return matches;
}

}  // namespace

std::string FindTrack(Library& library, const std::string& query) {
  if (const auto ident = library.IdentOf(query)) return *ident;
  const Matches matches = Search(library, query);
  for (const Fit* fit : {&matches.files, &matches.titles, &matches.words}) {
    if (fit->count == 1) return fit->first;
  }
  const Fit& several = matches.words;
  if (several.count == 0) throw CommandError(fmt::format("no track fits the seed \"{}\"", query));
  std::string listing = several.listing;
  if (several.count > kMatchesListed) {
    listing += fmt::format("  and {} more\n", several.count - kMatchesListed);
  }
  throw CommandError(
      fmt::format("{} tracks fit the seed \"{}\"; add a word or give the name in brackets",
                  several.count, query),
      listing);
}

std::uint32_t FindSeed(Library& library, const std::string& query) {
  return library.IndexOf(FindTrack(library, query).c_str());
}

}  // namespace trova_cli
