// Tags: TagLib's properties, one key per field.
#include "tag_file.h"

#include <audioproperties.h>
#include <fileref.h>
#include <id3v1genres.h>
#include <tpropertymap.h>

#include <charconv>
#include <filesystem>
#include <set>

#include "text.h"

namespace trova_cli {
namespace {

struct TagKey {
  const char* key;
  Field field;
};

// Where two keys fill one field, the first that is present wins.
constexpr TagKey kTagKeys[] = {
    {"TITLE", Field::kTitle},
    {"ARTIST", Field::kArtist},
    {"ALBUM", Field::kAlbum},
    {"ALBUMARTIST", Field::kAlbumArtist},
    {"DATE", Field::kYear},
    {"YEAR", Field::kYear},
    {"ORIGINALDATE", Field::kYear},
    {"GENRE", Field::kGenre},
    {"BPM", Field::kBpm},
    {"MOOD", Field::kMood},
    {"ORIGIN", Field::kOrigin},
    {"COUNTRY", Field::kOrigin},
    {"RELEASECOUNTRY", Field::kOrigin},
    {"ARTISTTYPE", Field::kArtistType},
};

std::string Utf8(const TagLib::String& text) {
  return text.to8Bit(true);
}

const std::set<std::string>& AudioEndings() {
  static const std::set<std::string> endings = [] {
    std::set<std::string> all;
    for (const TagLib::String& ending : TagLib::FileRef::defaultFileExtensions()) {
      all.insert(LowerAscii(Utf8(ending)));
    }
    return all;
  }();
  return endings;
}

// Old tags give genres as numbers, alone or in parentheses before a name: "17", "(17)",
// "(17)Rock". The name counts where there is one.
std::string GenreName(std::string_view text) {
  std::string_view digits = text;
  std::string_view name;
  if (text.starts_with('(') && text.find(')') != std::string_view::npos) {
    digits = text.substr(1, text.find(')') - 1);
    name = Trim(text.substr(text.find(')') + 1));
  }
  int number = -1;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || number < 0) return std::string(text);
  if (!name.empty()) return std::string(name);
  const std::string known = Utf8(TagLib::ID3v1::genre(number));
  return known.empty() ? std::string(text) : known;
}

void ReadProperties(const TagLib::PropertyMap& properties, Track& track) {
  for (const TagKey& row : kTagKeys) {
    const auto found = properties.find(row.key);
    if (found == properties.end()) continue;
    for (const TagLib::String& value : found->second) {
      const std::string text = Utf8(value);
      SetField(track, row.field, row.field == Field::kGenre ? GenreName(Trim(text)) : text);
    }
  }
}

bool HoldsAudio(const TagLib::AudioProperties* audio) {
  return audio != nullptr && (audio->sampleRate() > 0 || audio->lengthInMilliseconds() > 0);
}

}  // namespace

bool IsAudioName(std::string_view name) {
  const std::string ending = std::filesystem::path(name).extension().native();
  return !ending.empty() && AudioEndings().contains(LowerAscii(ending).substr(1));
}

bool ReadTags(const std::string& path, Track& track) {
  const TagLib::FileRef file(path.c_str(), true, TagLib::AudioProperties::Fast);
  if (file.isNull()) return false;
  const TagLib::PropertyMap properties = file.file()->properties();
  const TagLib::AudioProperties* audio = file.audioProperties();
  // A file of any content opens as MP3; without a tag and without a frame it is none.
  if (properties.isEmpty() && !HoldsAudio(audio)) return false;
  SetField(track, Field::kPath, path);
  ReadProperties(properties, track);
  if (track.title.empty()) track.title = std::filesystem::path(path).stem().native();
  if (audio != nullptr && audio->lengthInMilliseconds() > 0) {
    track.seconds = (static_cast<std::uint32_t>(audio->lengthInMilliseconds()) + 500) / 1000;
  }
  return true;
}

}  // namespace trova_cli
