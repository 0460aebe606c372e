// Track: which column is which field, and how text becomes a field's value.
#include "track.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

#include "text.h"

namespace trova_cli {
namespace {

constexpr std::uint32_t kMaxBpm = 999;
constexpr std::uint32_t kMaxSeconds = 1000 * 3600;
constexpr std::size_t kYearDigits = 4;

struct ColumnName {
  std::string_view name;  // lower case, no blanks, "_" or "-"
  Field field;
};

constexpr ColumnName kColumnNames[] = {
    {"album", Field::kAlbum},     {"albumartist", Field::kAlbumArtist},
    {"artist", Field::kArtist},   {"artisttype", Field::kArtistType},
    {"bpm", Field::kBpm},         {"country", Field::kOrigin},
    {"date", Field::kYear},       {"duration", Field::kDuration},
    {"file", Field::kPath},       {"filename", Field::kPath},
    {"genre", Field::kGenre},     {"genres", Field::kGenre},
    {"id", Field::kIdent},        {"ident", Field::kIdent},
    {"length", Field::kDuration}, {"location", Field::kPath},
    {"mood", Field::kMood},       {"moods", Field::kMood},
    {"name", Field::kTitle},      {"origin", Field::kOrigin},
    {"path", Field::kPath},       {"seconds", Field::kDuration},
    {"tempo", Field::kBpm},       {"title", Field::kTitle},
    {"track", Field::kTitle},     {"year", Field::kYear},
};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The first run of exactly four digits: "1975-09-12" and "12.9.1975" both say 1975. A sign in front
// of everything is a year of no recording.
std::uint32_t YearOf(std::string_view text) {
  if (text.starts_with('-')) return 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at;
    while (end < text.size() && IsDigit(text[end])) ++end;
    std::uint32_t year = 0;
    if (end - at == kYearDigits) std::from_chars(text.data() + at, text.data() + end, year);
    if (year != 0) return year;
    at = std::max(end, at + 1);
  }
  return 0;
}

// A decimal number, rounded; a comma may stand for the point. 0 for anything else.
std::uint32_t RoundedNumber(std::string_view text, std::uint32_t limit) {
  std::string digits(Trim(text));
  std::replace(digits.begin(), digits.end(), ',', '.');
  double number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) return 0;
  if (number < 0 || number > limit) return 0;
  return static_cast<std::uint32_t>(std::lround(number));
}

// Seconds, or minutes and seconds as in "3:35", or hours before them.
std::uint32_t SecondsOf(std::string_view text) {
  std::uint32_t above = 0;
  std::size_t colon = text.find(':');
  for (; colon != std::string_view::npos; colon = text.find(':')) {
    above = (above + RoundedNumber(text.substr(0, colon), kMaxSeconds)) * 60;
    if (above > kMaxSeconds) return 0;
    text.remove_prefix(colon + 1);
  }
  return above + RoundedNumber(text, kMaxSeconds);
}

void SetOnce(std::string& value, std::string_view text) {
  if (value.empty()) value = text;
}

void SetOnce(std::uint32_t& value, std::uint32_t number) {
  if (value == 0) value = number;
}

void Gather(std::vector<std::string>& values, std::string_view text) {
  if (values.size() == kMaxValues) return;
  if (std::find(values.begin(), values.end(), text) == values.end()) values.emplace_back(text);
}

void Set(Track& track, Field field, std::string_view text) {
  switch (field) {
    case Field::kIdent:
      return SetOnce(track.ident, text);
    case Field::kPath:
      return SetOnce(track.path, text);
    case Field::kTitle:
      return SetOnce(track.title, text);
    case Field::kArtist:
      return SetOnce(track.artist, text);
    case Field::kAlbum:
      return Gather(track.albums, text);
    case Field::kAlbumArtist:
      return SetOnce(track.album_artist, text);
    case Field::kYear:
      return SetOnce(track.year, YearOf(text));
    case Field::kGenre:
      return Gather(track.genres, text);
    case Field::kOrigin:
      return SetOnce(track.origin, text);
    case Field::kArtistType:
      return SetOnce(track.artist_type, text);
    case Field::kBpm:
      return SetOnce(track.bpm, RoundedNumber(text, kMaxBpm));
    case Field::kMood:
      return Gather(track.moods, text);
    case Field::kDuration:
      return SetOnce(track.seconds, SecondsOf(text));
  }
}

}  // namespace

std::optional<Field> FieldOfName(std::string_view name) {
  std::string plain = LowerAscii(Trim(name));
  std::erase_if(plain, [](char c) { return c == ' ' || c == '_' || c == '-'; });
  for (const ColumnName& column : kColumnNames) {
    if (column.name == plain) return column.field;
  }
  return std::nullopt;
}

void SetField(Track& track, Field field, std::string_view text) {
  // A file name may begin or end with a blank; nothing else means anything by it.
  if (field != Field::kPath) text = Trim(text);
  if (text.empty()) return;
  if (text.find('\0') == std::string_view::npos) return Set(track, field, text);
  std::string visible(text);  // the library's texts end at a zero byte
  std::replace(visible.begin(), visible.end(), '\0', ' ');
  Set(track, field, visible);
}

bool CompleteIdent(Track& track) {
  if (!track.ident.empty()) return true;
  if (!track.path.empty()) {
    track.ident = track.path;
  } else if (!track.title.empty()) {
    track.ident = track.artist.empty() ? track.title : track.artist + "/" + track.title;
  }
  return !track.ident.empty();
}

}  // namespace trova_cli
