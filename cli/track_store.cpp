// TrackStore: records of numbers, texts in pools.
#include "track_store.h"

#include <algorithm>

namespace trova_cli {

TrackView ViewOf(const Track& track, const TrackIds& ids) {
  std::vector<const char*> albums;
  for (const std::string& album : track.albums) albums.push_back(album.c_str());
  return {
      .ident = track.ident.c_str(),
      .path = track.path.c_str(),
      .title = track.title.c_str(),
      .artist = track.artist.c_str(),
      .album_artist = track.album_artist.c_str(),
      .albums = std::move(albums),
      .genres = ids.genres,
      .moods = ids.moods,
      .era = ids.era,
      .origin = ids.origin,
      .artist_type = ids.artist_type,
      .year = track.year,
      .bpm = track.bpm,
      .seconds = track.seconds,
  };
}

TrackStore::TrackStore() : numbers_{0} {
  texts_.Intern("");
}

std::uint32_t TrackStore::Add(const Track& track, const TrackIds& ids) {
  const std::uint32_t index = idents_.Intern(track.ident);
  std::vector<std::uint32_t> albums;
  for (const std::string& album : track.albums) albums.push_back(texts_.Intern(album));
  records_.push_back({
      // The path is nearly always the ident; then it is not kept twice.
      .path = track.path == track.ident ? kSameAsIdent : texts_.Intern(track.path),
      .title = texts_.Intern(track.title),
      .artist = texts_.Intern(track.artist),
      .album_artist = texts_.Intern(track.album_artist),
      .albums = KeepNumbers(albums),
      .genres = KeepNumbers(ids.genres),
      .moods = KeepNumbers(ids.moods),
      .era = ids.era,
      .origin = ids.origin,
      .artist_type = ids.artist_type,
      .seconds = track.seconds,
      .year = static_cast<std::uint16_t>(track.year),
      .bpm = static_cast<std::uint16_t>(track.bpm),
  });
  return index;
}

std::vector<std::uint32_t> TrackStore::AddGenres(std::uint32_t index,
                                                 std::span<const std::uint32_t> genres) {
  const std::span<const std::uint32_t> old = Numbers(records_[index].genres);
  std::vector<std::uint32_t> all(old.begin(), old.end());
  for (const std::uint32_t genre : genres) {
    if (std::find(all.begin(), all.end(), genre) == all.end()) all.push_back(genre);
  }
  std::vector<std::uint32_t> added(all.begin() + static_cast<std::ptrdiff_t>(old.size()),
                                   all.end());
  if (!added.empty()) records_[index].genres = KeepNumbers(all);
  return added;
}

TrackView TrackStore::Get(std::uint32_t index) const {
  const Record& record = records_[index];
  std::vector<const char*> albums;
  for (const std::uint32_t album : Numbers(record.albums)) albums.push_back(texts_.Get(album));
  const char* ident = idents_.Get(index);
  return {
      .ident = ident,
      .path = record.path == kSameAsIdent ? ident : texts_.Get(record.path),
      .title = texts_.Get(record.title),
      .artist = texts_.Get(record.artist),
      .album_artist = texts_.Get(record.album_artist),
      .albums = std::move(albums),
      .genres = Numbers(record.genres),
      .moods = Numbers(record.moods),
      .era = record.era,
      .origin = record.origin,
      .artist_type = record.artist_type,
      .year = record.year,
      .bpm = record.bpm,
      .seconds = record.seconds,
  };
}

std::uint32_t TrackStore::KeepNumbers(std::span<const std::uint32_t> numbers) {
  if (numbers.empty()) return 0;
  const auto place = static_cast<std::uint32_t>(numbers_.size());
  numbers_.push_back(static_cast<std::uint32_t>(numbers.size()));
  numbers_.insert(numbers_.end(), numbers.begin(), numbers.end());
  return place;
}

std::span<const std::uint32_t> TrackStore::Numbers(std::uint32_t place) const {
  return std::span(numbers_).subspan(place + 1, numbers_[place]);
}

}  // namespace trova_cli
