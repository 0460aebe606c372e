#include "library.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <unordered_set>

#include "trova_manager.h"

namespace bench {

namespace {

constexpr uint32_t kTracksOfAlbum = 12;
constexpr uint32_t kMissingPercent = 8;
// 1 artist for 30 tracks.
constexpr double kNewArtistOfAlbum = 12.0 / 30.0;
constexpr uint16_t kFirstDecade = 1920;
constexpr double kDecades[] = {1, 1, 2, 4, 8, 14, 16, 17, 18, 13, 6};
constexpr uint8_t kWeights[][kMoods] = {{50, 30, 20}, {60, 25, 15}, {40, 35, 25}, {70, 20, 10}};
constexpr uint32_t kNames = 20;
constexpr uint32_t kRandomStart = 1;
// The seed is the first track behind this one that fits, the same one in libraries of all sizes.
constexpr uint32_t kSeedBehind = 3333;

using Random = std::mt19937_64;

// The standard's distributions differ between its libraries; these do not.
double fraction(Random& random) {
  return static_cast<double>(random() >> 11) * 0x1p-53;
}

uint32_t below(Random& random, size_t limit) {
  return static_cast<uint32_t>(random() % limit);
}

bool missing(Random& random) {
  return below(random, 100) < kMissingPercent;
}

// Draws a place by weight.
class Wheel {
 public:
  explicit Wheel(std::vector<double> weights) : sums_(std::move(weights)) {
    std::partial_sum(sums_.begin(), sums_.end(), sums_.begin());
  }
  size_t draw(Random& random) const {
    const double at = fraction(random) * sums_.back();
    return static_cast<size_t>(std::upper_bound(sums_.begin(), sums_.end(), at) - sums_.begin());
  }

 private:
  std::vector<double> sums_;
};

Elements load(const char* type) {
  trova_list* list = nullptr;
  uint32_t count = 0;
  require(trova_manager_list_load(type, &list), type);
  require(trova_manager_list_count(list, &count), type);
  Elements elements{type, {0}, {0}, {0}};
  for (uint32_t i = 0; i < count; ++i) {
    trova_manager_element element = {};
    require(trova_manager_list_get(list, i, &element), type);
    const auto parent = std::find(elements.ids.begin(), elements.ids.end(), element.parent);
    elements.parents.push_back(static_cast<uint16_t>(parent - elements.ids.begin()));
    elements.ids.push_back(element.id);
    elements.levels.push_back(static_cast<uint8_t>(element.level));
  }
  trova_manager_list_release(list);
  return elements;
}

// Zipf's law over the elements below the top level, in an order of our own.
class Spread {
 public:
  explicit Spread(const Elements& elements) : wheel_({}) {
    for (size_t i = 1; i < elements.ids.size(); ++i) {
      if (elements.levels[i] > 1) order_.push_back(static_cast<uint16_t>(i));
    }
    Random random(order_.size());
    for (size_t i = order_.size(); i > 1; --i) std::swap(order_[i - 1], order_[below(random, i)]);
    std::vector<double> weights;
    for (size_t i = 0; i < order_.size(); ++i) weights.push_back(1.0 / static_cast<double>(i + 1));
    wheel_ = Wheel(std::move(weights));
  }
  uint16_t draw(Random& random) const { return order_[wheel_.draw(random)]; }
  uint16_t ranked(size_t rank) const { return order_[rank]; }

 private:
  std::vector<uint16_t> order_;
  Wheel wheel_;
};

std::string word(Random& random) {
  static const char* const kSyllables[] = {"ba",  "cho", "del", "fi",  "gar", "hun", "jo",
                                           "ka",  "lin", "mer", "nor", "pe",  "qua", "ros",
                                           "sta", "tu",  "va",  "win", "yel", "zo"};
  std::string text;
  for (uint32_t left = 2 + below(random, 2); left > 0; --left) {
    text += kSyllables[below(random, std::size(kSyllables))];
  }
  text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

std::vector<int32_t> score_all(const Elements& elements, uint32_t seed) {
  std::vector<int32_t> scores(elements.ids.size());
  for (size_t i = 1; i < scores.size(); ++i) {
    const char* const type = elements.type.c_str();
    require(trova_manager_list_correlate(type, elements.ids[i], elements.ids[seed], &scores[i]),
            type);
  }
  return scores;
}

}  // namespace

void require(uint32_t code, const char* what) {
  if (code == 0) return;
  std::fprintf(stderr, "%s: 0x%08x %s\n", what, code, trova_manager_error_text(code));
  std::exit(2);
}

uint16_t Elements::ancestor(uint16_t element, uint8_t level) const {
  while (levels[element] > level) element = parents[element];
  return element;
}

Library::Library(uint32_t count)
    : genres(load(TROVA_LIST_GENRES)),
      origins(load(TROVA_LIST_ORIGINS)),
      artist_types(load(TROVA_LIST_ARTIST_TYPES)),
      moods(load(TROVA_LIST_MOODS)),
      count_(count),
      random_(kRandomStart),
      artists_{""},
      traits_{{}} {
  while (tracks_.size() < total()) add_album();
  for (uint32_t i = 0; i < total(); ++i) numbers_.emplace(idents_[i], i);
  choose_questions();
}

void Library::add_album() {
  static const Spread genre_spread(genres), origin_spread(origins), type_spread(artist_types),
      mood_spread(moods);
  static const Wheel decades({std::begin(kDecades), std::end(kDecades)});
  static std::unordered_set<std::string> names;
  if (tracks_.empty()) names.clear();

  uint32_t artist = below(random_, artists_.size());
  if (artist == 0 || fraction(random_) < kNewArtistOfAlbum) {
    artist = artist_count();
    std::string name = word(random_) + " " + word(random_);
    while (!names.insert(name).second) name += " " + word(random_);
    artists_.push_back(name);
    Track traits = {};
    traits.origin = origin_spread.draw(random_);
    traits.artist_type = type_spread.draw(random_);
    traits_.push_back(traits);
  }
  const auto decade = static_cast<uint16_t>(kFirstDecade + 10 * decades.draw(random_));
  const auto year = static_cast<uint16_t>(decade + below(random_, 10));
  const uint16_t genre = genre_spread.draw(random_);
  const std::string folder =
      "/music/" + artists_[artist] + "/" + std::to_string(tracks_.size()) + " " + word(random_);
  for (uint32_t i = 1; i <= kTracksOfAlbum; ++i) {
    Track track = {};
    if (!missing(random_)) track.genre = genre;
    if (track.genre != 0) track.plain_genre = genres.ancestor(genre, 2);
    if (!missing(random_)) track.year = year;
    if (track.year != 0) track.decade = decade;
    if (!missing(random_)) track.origin = traits_[artist].origin;
    if (!missing(random_)) track.artist_type = traits_[artist].artist_type;
    if (!missing(random_)) track.artist = artist;
    // The sum of three draws gathers around the middle.
    const uint32_t tempo = 60 + below(random_, 40) + below(random_, 40) + below(random_, 40);
    if (!missing(random_)) track.tempo = static_cast<uint16_t>(tempo);
    if (!missing(random_)) {
      std::copy_n(kWeights[below(random_, std::size(kWeights))], kMoods, track.weights);
      for (int k = 0; k < kMoods;) {
        track.moods[k] = static_cast<uint8_t>(mood_spread.draw(random_));
        if (std::find(track.moods, track.moods + k, track.moods[k]) == track.moods + k) ++k;
      }
    }
    tracks_.push_back(track);
    idents_.push_back(new_ident(folder + "/" + std::to_string(i) + " "));
  }
}

// The library tells idents apart by this hash, so applications take care that no two share one.
std::string Library::new_ident(const std::string& start) {
  for (;;) {
    std::string ident = start + word(random_) + ".flac";
    uint32_t hash = 5381;
    for (const char c : ident) hash = hash * 33 + static_cast<uint8_t>(c);
    if (hashes_.insert(hash).second) return ident;
  }
}

void Library::choose_questions() {
  std::vector<uint32_t> frequency(genres.ids.size());
  for (uint32_t i = 0; i < count_; ++i) ++frequency[tracks_[i].plain_genre];
  frequency[0] = 0;
  std::vector<uint16_t> ranks(frequency.size());
  std::iota(ranks.begin(), ranks.end(), uint16_t{0});
  std::sort(ranks.begin(), ranks.end(),
            [&](uint16_t a, uint16_t b) { return frequency[a] > frequency[b]; });
  questions_.genres[0] = ranks[1];
  questions_.genres[1] = ranks[9];
  questions_.decade = 1950;
  // The finest elements, so that nothing is rolled up to the seed's level.
  const auto fits = [&](const Track& track) {
    return genres.levels[track.genre] == 3 && track.year != 0 &&
           origins.levels[track.origin] == 3 && track.artist_type != 0 && track.artist != 0 &&
           track.moods[0] != 0 && track.tempo != 0;
  };
  uint32_t seed = std::min(kSeedBehind, count_ / 3);
  while (!fits(tracks_[seed])) ++seed;
  questions_.seed = seed;
  for (uint32_t i = 0; i < kNames; ++i) {
    questions_.names.push_back(artists_[1 + i * (artists_.size() - 1) / kNames]);
  }
}

SeedScores::SeedScores(const Library& library) : years_(2100) {
  const Track& seed = library.seed();
  genres_ = score_all(library.genres, seed.genre);
  origins_ = score_all(library.origins, seed.origin);
  artist_types_ = score_all(library.artist_types, seed.artist_type);
  for (uint32_t year = kFirstDecade; year < kFirstDecade + 10 * std::size(kDecades); ++year) {
    require(trova_manager_list_correlate(TROVA_LIST_ERAS, kYearIds + year, kYearIds + seed.year,
                                         &years_[year]),
            TROVA_LIST_ERAS);
  }
  for (int k = 0; k < kMoods; ++k) axes_[k] = score_all(library.moods, seed.moods[k]);
  for (int k = 0; k < kMoods; ++k) place_[k] = coordinate(k, seed.moods, seed.weights);
}

int32_t SeedScores::coordinate(int axis, const uint8_t* moods, const uint8_t* weights) const {
  int32_t sum = 0;
  for (int k = 0; k < kMoods; ++k) sum += weights[k] * axes_[axis][moods[k]];
  return std::clamp(sum / 1000, -100, 100);
}

int32_t SeedScores::mood(const uint8_t* moods, const uint8_t* weights) const {
  if (moods[0] == 0) return 0;
  float total = 0;
  for (int k = 0; k < kMoods; ++k) {
    const float difference = static_cast<float>(place_[k]) / 100.0f -
                             static_cast<float>(coordinate(k, moods, weights)) / 100.0f;
    total += difference * difference;
  }
  const float distance = std::sqrt(total) / std::sqrt(kMoods * 4.0f) * 2000.0f;
  return static_cast<int32_t>(1000.0f - std::min(distance, 2000.0f));
}

NameScore::NameScore(const std::string& name) : pairs_(pairs(name.c_str())) {}

std::vector<uint32_t> NameScore::pairs(const char* text) {
  const auto fold = [](char c) -> uint32_t {
    return static_cast<uint8_t>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  };
  std::vector<uint32_t> found = {fold(*text)};
  for (; *text != 0; ++text) found.push_back(fold(text[0]) | fold(text[1]) << 16);
  std::sort(found.begin(), found.end());
  return found;
}

int32_t NameScore::operator()(const char* name) const {
  const std::vector<uint32_t> other = pairs(name);
  uint32_t common = 0;
  for (auto a = pairs_.begin(), b = other.begin(); a != pairs_.end() && b != other.end();) {
    if (*a == *b)
      ++common, ++a, ++b;
    else if (*a < *b)
      ++a;
    else
      ++b;
  }
  return static_cast<int32_t>(2000.0f * static_cast<float>(common) /
                              static_cast<float>(pairs_.size() + other.size()));
}

}  // namespace bench
