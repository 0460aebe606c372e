// library: a made-up music library, spread as real ones are and the same on every machine.
#ifndef BENCH_LIBRARY_H
#define BENCH_LIBRARY_H

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace bench {

void require(uint32_t code, const char* what);

// One of the manager's lists. Elements go by their place from 1; 0 is "none".
struct Elements {
  std::string type;
  std::vector<uint32_t> ids;
  std::vector<uint16_t> parents;
  std::vector<uint8_t> levels;

  uint16_t ancestor(uint16_t element, uint8_t level) const;
};

constexpr int kMoods = 3;

// An era's id is one of these and its year, or one of these and the first year of its decade.
constexpr uint32_t kYearIds = 40000;
constexpr uint32_t kDecadeIds = 30000;

// A track with its values as places in the lists; 0 is a value that is missing.
struct Track {
  uint16_t genre;        // a genre or a finer kind
  uint16_t plain_genre;  // the genre that it is, or lies in
  uint16_t year;         // 1975, and not a place
  uint16_t decade;       // 1970
  uint16_t origin;
  uint16_t artist_type;
  uint16_t tempo;
  uint8_t moods[kMoods];    // all 0 when missing
  uint8_t weights[kMoods];  // they sum to 100
  uint32_t artist;          // place among the artists
};

// What the statements ask for.
struct Questions {
  uint16_t genres[2];  // the second and the tenth most frequent ones
  uint16_t decade;
  uint32_t seed;  // number of a track that has every value
  std::vector<std::string> names;
};

class Library {
 public:
  // A smaller library is the beginning of a larger one. Tracks 0 to count - 1 fill a collection;
  // behind them stand two hundredths to add later.
  explicit Library(uint32_t count);

  uint32_t count() const { return count_; }
  uint32_t spare() const { return count_ / 100; }
  uint32_t total() const { return count_ + 2 * spare(); }
  const Track& track(uint32_t number) const { return tracks_[number]; }
  const Track& seed() const { return tracks_[questions_.seed]; }
  const Questions& questions() const { return questions_; }
  const std::string& ident(uint32_t number) const { return idents_[number]; }
  uint32_t number(std::string_view ident) const { return numbers_.at(ident); }
  const std::string& artist(uint32_t place) const { return artists_[place]; }
  uint32_t artist_count() const { return static_cast<uint32_t>(artists_.size()); }

  Elements genres, origins, artist_types, moods;

 private:
  void add_album();
  std::string new_ident(const std::string& start);
  void choose_questions();

  uint32_t count_;
  std::mt19937_64 random_;
  std::vector<Track> tracks_;
  std::vector<std::string> idents_;
  std::unordered_map<std::string_view, uint32_t> numbers_;  // of the tracks, by ident
  std::unordered_set<uint32_t> hashes_;                     // of the idents
  std::vector<std::string> artists_;                        // the first one stands for "missing"
  std::vector<Track> traits_;                               // of each artist: origin and type
  Questions questions_ = {};
};

// LIKE with the library's seed, as docs/language.md defines it: one score for each place.
class SeedScores {
 public:
  explicit SeedScores(const Library& library);

  int32_t genre(uint32_t place) const { return genres_[place]; }
  int32_t origin(uint32_t place) const { return origins_[place]; }
  int32_t artist_type(uint32_t place) const { return artist_types_[place]; }
  int32_t year(uint32_t year) const { return years_[year]; }
  int32_t mood(const uint8_t* moods, const uint8_t* weights) const;

  // The dividend of the built-in "more like this".
  int32_t weighted(const Track& track, int32_t mood) const {
    return 90 * mood + 6 * genres_[track.genre] + 2 * origins_[track.origin] + years_[track.year] +
           artist_types_[track.artist_type];
  }

 private:
  int32_t coordinate(int axis, const uint8_t* moods, const uint8_t* weights) const;

  std::vector<int32_t> genres_, origins_, artist_types_, years_;
  std::vector<int32_t> axes_[kMoods];
  int32_t place_[kMoods];  // of the seed
};

// The pairs of neighbouring letters of one text, to score others against; ASCII only.
class NameScore {
 public:
  explicit NameScore(const std::string& name);
  int32_t operator()(const char* name) const;

 private:
  static std::vector<uint32_t> pairs(const char* text);
  std::vector<uint32_t> pairs_;
};

}  // namespace bench

#endif  // BENCH_LIBRARY_H
