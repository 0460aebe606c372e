// TrackStore: every track of the library, small enough to keep a million of them.
#ifndef TROVA_CLI_TRACK_STORE_H
#define TROVA_CLI_TRACK_STORE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "name_mapper.h"
#include "text_pool.h"
#include "track.h"

namespace trova_cli {

// One track as it is kept. The texts are zero-terminated, "" for what is not known, and valid until
// the store takes the next track.
struct TrackView {
  const char* ident;
  const char* path;
  const char* title;
  const char* artist;
  const char* album_artist;
  std::vector<const char*> albums;
  std::span<const std::uint32_t> genres;  // ids of list elements
  std::span<const std::uint32_t> moods;
  std::uint32_t era;
  std::uint32_t origin;
  std::uint32_t artist_type;
  std::uint32_t year;
  std::uint32_t bpm;
  std::uint32_t seconds;
};

// A track that no store keeps. The view borrows from both.
TrackView ViewOf(const Track& track, const TrackIds& ids);

class TrackStore {
 public:
  TrackStore();

  // Keeps a track and gives its index.
  // @param track  its ident is not in the store
  std::uint32_t Add(const Track& track, const TrackIds& ids);
  // Adds to the genres of a track, and gives the ones that it did not have.
  std::vector<std::uint32_t> AddGenres(std::uint32_t index, std::span<const std::uint32_t> genres);

  std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(records_.size()); }
  TrackView Get(std::uint32_t index) const;
  std::optional<std::uint32_t> Find(std::string_view ident) const { return idents_.Find(ident); }

 private:
  // Texts and lists of ids by number; 0 stands for "" and for no ids.
  struct Record {
    std::uint32_t path;
    std::uint32_t title;
    std::uint32_t artist;
    std::uint32_t album_artist;
    std::uint32_t albums;
    std::uint32_t genres;
    std::uint32_t moods;
    std::uint32_t era;
    std::uint32_t origin;
    std::uint32_t artist_type;
    std::uint32_t seconds;
    std::uint16_t year;
    std::uint16_t bpm;
  };

  // Stands in `path`.
  static constexpr std::uint32_t kSameAsIdent = UINT32_MAX;

  std::uint32_t KeepNumbers(std::span<const std::uint32_t> numbers);
  std::span<const std::uint32_t> Numbers(std::uint32_t place) const;

  TextPool idents_;  // a track's index is the number of its ident
  TextPool texts_;
  std::vector<Record> records_;
  std::vector<std::uint32_t> numbers_;  // runs: a length, then that many numbers
};

}  // namespace trova_cli

#endif
