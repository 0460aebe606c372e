// Correlates: kinship of genres, and distances in time, on the globe and in mood.
#include "Correlates.hxx"

#include <algorithm>
#include <cmath>

namespace trova::lists {
namespace {

constexpr int kNearest = 990;  // the most that a distance between two different elements scores

const Element& element_at(ListKind kind, uint16_t position) {
  return kLists[static_cast<std::size_t>(kind)].elements[0][position];
}

int distance_score(double score) {
  return static_cast<int>(std::lround(std::clamp(score, double{-kSameScore}, double{kNearest})));
}

// 1000 at distance 0, 0 at `half`, towards -1000 far away.
int falling_score(double distance, double half) {
  return distance_score(kSameScore * (half - distance) / (half + distance));
}

// How many levels `below` lies under `above`; 0 when it does not.
int levels_under(const Element& above, const Element& below) {
  if (above.level >= below.level) return 0;
  const int own = above.level - 1;
  return below.path[own] == above.path[own] ? below.level - above.level : 0;
}

// The same whichever of the two is above.
int levels_between(const Element& a, const Element& b) {
  return levels_under(a, b) + levels_under(b, a);
}

// ---------------------------------------------------------------------------------- Genres

constexpr int kMicroOfGenre = 900;
constexpr int kGenreOfMeta = 700;
constexpr int kMicroOfMeta = 640;
constexpr int kSameGenre = 780;
constexpr int kMicroApart = 20;  // what the same meta loses for each of the two that is a micro
constexpr int kStepDown = 40;    // what a kinship loses for each level below the stated pair

// The kinship that is stated for two genres themselves.
const Kin* stated_kin(uint16_t a, uint16_t b) {
  for (uint32_t i = kKinFirst[a]; i < kKinFirst[a + 1u]; ++i) {
    if (kKin[i].position == b) return &kKin[i];
  }
  return nullptr;
}

// What the places in the tree say about two genres of which neither is above the other.
int tree_score(const Element& a, const Element& b) {
  const Element& top_a = element_at(ListKind::kGenres, a.path[0]);
  const Element& top_b = element_at(ListKind::kGenres, b.path[0]);
  const int affinity = kGenreAffinities[top_a.ordinal * kTopGenreCount + top_b.ordinal];
  if (a.path[0] != b.path[0]) return affinity;
  if (a.path[1] == b.path[1]) return kSameGenre;
  return affinity - kMicroApart * ((a.level == 3) + (b.level == 3));
}

// The strongest kinship stated `steps` levels above two genres, counted over both.
const Kin* kin_above(const Element& a, const Element& b, int steps) {
  const Kin* best = nullptr;
  for (int up = std::max(0, steps - b.level + 1); up <= std::min(steps, a.level - 1); ++up) {
    const Kin* kin = stated_kin(a.path[a.level - 1 - up], b.path[b.level - 1 - (steps - up)]);
    if (kin != nullptr && (best == nullptr || kin->score > best->score)) best = kin;
  }
  return best;
}

int genre_score(const Element& a, const Element& b) {
  const int between = levels_between(a, b);
  if (between == 2) return kMicroOfMeta;
  if (between == 1) return a.level + b.level == 3 ? kGenreOfMeta : kMicroOfGenre;
  const int tree = tree_score(a, b);
  for (int steps = 0; steps <= a.level + b.level - 2; ++steps) {
    // The nearest stated pair decides. Below it, its weight fades towards what the tree says.
    const Kin* kin = kin_above(a, b, steps);
    if (kin == nullptr) continue;
    const int fade = kStepDown * steps;
    return kin->score > tree ? std::max(tree, kin->score - fade)
                             : std::min(tree, kin->score + fade);
  }
  return tree;
}

// ------------------------------------------------------------------------------------ Eras

constexpr double kHalfYears = 30;

// How far a year of one range is from a year of the other, on average. Two ranges of the list lie
// apart, or one lies within the other.
double mean_years_between(const Element& a, const Element& b) {
  if (a.upper < b.lower || b.upper < a.lower) {
    return std::abs(0.5 * a.lower + 0.5 * a.upper - 0.5 * b.lower - 0.5 * b.upper);
  }
  const Element& inner = a.level > b.level ? a : b;
  const Element& outer = a.level > b.level ? b : a;
  double sum = 0;
  for (uint32_t year = inner.lower; year <= inner.upper; ++year) {
    const double before = year - outer.lower;
    const double after = outer.upper - year;
    sum += (before * (before + 1) + after * (after + 1)) / 2;
  }
  return sum / (inner.upper - inner.lower + 1) / (outer.upper - outer.lower + 1);
}

// --------------------------------------------------------------------------------- Origins

constexpr double kEarthRadius = 6371;  // km
constexpr double kHalfKilometres = 2000;
constexpr double kSameCountry = 0.4;  // what distance counts within one country
constexpr double kSameRegion = 0.7;
constexpr int kCityOfCountry = 900;
constexpr int kCountryOfRegion = 750;
constexpr int kCityOfRegion = 700;

double kilometres_between(const GlobePoint& a, const GlobePoint& b) {
  const double x = a.x - b.x;
  const double y = a.y - b.y;
  const double z = a.z - b.z;
  const double half_chord = std::sqrt(x * x + y * y + z * z) / (2 * kGlobeRadius);
  return 2 * kEarthRadius * std::asin(std::min(half_chord, 1.0));
}

int origin_score(const Element& a, const Element& b, uint16_t position_a, uint16_t position_b) {
  const int between = levels_between(a, b);
  if (between == 2) return kCityOfRegion;
  if (between == 1) return a.level + b.level == 3 ? kCountryOfRegion : kCityOfCountry;
  double distance = kilometres_between(kGlobePoints[position_a], kGlobePoints[position_b]);
  if (a.path[1] == b.path[1] && a.level == 3) {
    distance *= kSameCountry;
  } else if (a.path[0] == b.path[0]) {
    distance *= kSameRegion;
  }
  return falling_score(distance, kHalfKilometres);
}

// ----------------------------------------------------------------------------------- Moods

// The plane of valence and arousal: opposite ends of the unit circle are 2000 thousandths apart.
int mood_score(const MoodPoint& a, const MoodPoint& b) {
  const double valence = a.valence - b.valence;
  const double arousal = a.arousal - b.arousal;
  return distance_score(kSameScore - std::sqrt(valence * valence + arousal * arousal));
}

}  // namespace

int pair_score(ListKind kind, uint16_t a, uint16_t b) noexcept {
  if (a == b) return kSameScore;
  const Element& element_a = element_at(kind, a);
  const Element& element_b = element_at(kind, b);
  switch (kind) {
    case ListKind::kGenres:
      return genre_score(element_a, element_b);
    case ListKind::kEras:
      return falling_score(mean_years_between(element_a, element_b), kHalfYears);
    case ListKind::kOrigins:
      return origin_score(element_a, element_b, a, b);
    case ListKind::kArtistTypes:
      return kArtistAffinities[a * kLists[static_cast<std::size_t>(kind)].count + b];
    case ListKind::kMoods:
      return mood_score(kMoodPoints[a], kMoodPoints[b]);
    case ListKind::kTempos:
      break;
  }
  return 0;
}

}  // namespace trova::lists
