// Track: what a library says about one piece of music, in the words of the library.
#ifndef TROVA_CLI_TRACK_H
#define TROVA_CLI_TRACK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trova_cli {

struct Track {
  std::string ident;  // tells the tracks of a library apart; see CompleteIdent()
  std::string path;   // file or URI, byte for byte; empty when the library names none
  std::string title;
  std::string artist;
  std::string album_artist;
  std::vector<std::string> albums;
  std::vector<std::string> genres;
  std::vector<std::string> moods;
  std::string origin;
  std::string artist_type;
  std::uint32_t year = 0;     // 0 in this and the next two: not known
  std::uint32_t bpm = 0;      // rounded
  std::uint32_t seconds = 0;  // duration, rounded
};

// How many albums, genres or moods one track can have. Real ones have a handful; a file that lists
// more must not make each track a search through all of them.
inline constexpr std::size_t kMaxValues = 256;

// The columns of a table.
enum class Field {
  kIdent,
  kPath,
  kTitle,
  kArtist,
  kAlbum,
  kAlbumArtist,
  kYear,
  kGenre,
  kOrigin,
  kArtistType,
  kBpm,
  kMood,
  kDuration,
};

// The field that a column is called by, or nothing. Letter case, blanks, "_" and "-" do not count.
std::optional<Field> FieldOfName(std::string_view name);

// Puts text into a field. Albums, genres and moods gather; anything else keeps its first value.
// Text that a field cannot hold (a year without digits) leaves it unknown.
void SetField(Track& track, Field field, std::string_view text);

// Gives a track without an ident its path as ident, else its artist and title. False when there is
// nothing to call it by.
bool CompleteIdent(Track& track);

}  // namespace trova_cli

#endif
