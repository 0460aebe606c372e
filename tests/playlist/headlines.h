// headlines.h: made-up tracks, statements, and what the documents promise of them by a plain look
// at every track. The library and the command are held against it in collections of several sizes.
#ifndef HEADLINES_H
#define HEADLINES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "trova_manager.h"

namespace headlines {

// A few; more than the values of which all are remembered; more than what is sorted by one plain
// procedure; enough for everything that is done for large collections alone.
constexpr uint32_t kSizes[] = {20, 600, 1500, 20'000};

enum Attribute { kGenre, kEra, kOrigin, kArtistType, kMood, kTempo, kArtist, kAlbum };
constexpr const char* kNames[] = {"qx_genre", "qx_era",   "qx_origin",     "qx_artisttype",
                                  "qx_mood",  "qx_tempo", "qx_artistname", "qx_albumname"};
constexpr const char* kLists[] = {TROVA_LIST_GENRES,       TROVA_LIST_ERAS,  TROVA_LIST_ORIGINS,
                                  TROVA_LIST_ARTIST_TYPES, TROVA_LIST_MOODS, TROVA_LIST_TEMPOS};

using Scores = std::vector<int32_t>;
using Ids = std::vector<uint32_t>;
using Texts = std::vector<std::string>;

struct Track {
  Ids ids[kTempo + 1];  // of elements of the lists; beats per minute
  Ids profile;          // moods, of equal weight
  Texts texts[kAlbum + 1];
  Scores likes[kAlbum + 1];  // of each value, to the seed

  bool has(Attribute attribute) const { return !ids[attribute].empty(); }
  // Of several values the highest score counts that is not 0.
  int32_t best(Attribute attribute) const {
    Scores scores = likes[attribute];
    std::erase(scores, 0);
    return scores.empty() ? 0 : *std::max_element(scores.begin(), scores.end());
  }
};

// Six digits: no two of them meet under one hash.
inline std::string ident_of(size_t index) {
  return std::to_string(100'000 + index);
}
inline size_t index_of(const std::string& ident) {
  return std::stoul(ident) - 100'000;
}

// What is left over of 100 goes to the first.
inline uint32_t weight_of(const Ids& moods, size_t index) {
  const auto count = static_cast<uint32_t>(moods.size());
  return 100 / count + (index == 0 ? 100 % count : 0);
}

// By id or by place; all zero where there is none.
inline trova_manager_element read(decltype(&trova_manager_list_get) read, Attribute attribute,
                                  uint32_t key) {
  trova_list* list = nullptr;
  trova_manager_element element = {};
  EXPECT_EQ(trova_manager_list_load(kLists[attribute], &list), 0u);
  static_cast<void>(read(list, key, &element));
  EXPECT_EQ(trova_manager_list_release(list), 0u);
  return element;
}
// The element, or the one above it, at a level.
inline trova_manager_element above(Attribute attribute, uint32_t id, uint32_t level) {
  trova_manager_element found = read(trova_manager_list_element, attribute, id);
  while (found.level > level) found = read(trova_manager_list_element, attribute, found.parent);
  return found.level < level ? trova_manager_element{} : found;
}

// ------------------------------------------------------------------------------------ Likeness

inline int32_t likeness(Attribute attribute, uint32_t a, uint32_t b) {
  int32_t score = 0;
  EXPECT_EQ(trova_manager_list_correlate(kLists[attribute], a, b, &score), 0u);
  return score;
}

// A profile's place on the axis of a mood.
inline float place(const Ids& moods, uint32_t axis) {
  int32_t sum = 0;
  for (size_t i = 0; i < moods.size(); ++i) {
    sum += static_cast<int32_t>(weight_of(moods, i)) * likeness(kMood, moods[i], axis);
  }
  return static_cast<float>(std::clamp(sum / 1000, -100, 100)) / 100.0f;
}

inline int32_t like_profile(const Ids& moods, const Ids& seed) {
  float total = 0;
  for (const uint32_t axis : seed) {
    const float distance = place(seed, axis) - place(moods, axis);
    total += distance * distance;
  }
  const float most = std::sqrt(static_cast<float>(seed.size()) * 4.0f);
  return static_cast<int32_t>(1000.0f - std::sqrt(total) / most * 2000.0f);
}

// Of each value of a track to the first one of the seed.
inline Scores likes_of(Attribute attribute, const Track& track, const Track& seed) {
  if (attribute == kMood && !seed.profile.empty()) {
    return track.profile.empty() ? Scores{} : Scores{like_profile(track.profile, seed.profile)};
  }
  Scores scores;
  if (!seed.has(attribute)) return scores;
  const uint32_t wanted = seed.ids[attribute][0];
  // Moods are compared as they are, others at the level of the seed's where they lie below it.
  const uint32_t level =
      attribute == kMood ? 0 : read(trova_manager_list_element, attribute, wanted).level;
  for (const uint32_t id : track.ids[attribute]) {
    const uint32_t at_level = level == 0 ? 0 : above(attribute, id, level).id;
    scores.push_back(likeness(attribute, at_level != 0 ? at_level : id, wanted));
  }
  return scores;
}

// -------------------------------------------------------------------------------------- Tracks

// The first seeds: two with everything, one without mood, one without genre, one without both. The
// last track has everything, too. Of `mixed` ones some tell of a mood alone (the second is one) or
// of a profile alone, and some have an era that is no year.
constexpr size_t kSeeds = 5;

inline std::vector<Track> make_tracks(uint32_t count, bool mixed) {
  std::mt19937 numbers(count);
  std::vector<Track> tracks;
  const auto below = [&](uint32_t end) { return static_cast<uint32_t>(numbers() % end); };
  // Half of them are of a few that many tracks share.
  const auto draw = [&](Attribute attribute) {
    constexpr uint32_t kElements[] = {900, 1200, 600, 30, 140};  // each list has more
    const uint32_t few = kElements[attribute] / 8;
    const uint32_t place = below(2) == 0 ? few * below(8) : below(kElements[attribute]);
    return read(trova_manager_list_get, attribute, place).id;
  };
  for (uint32_t i = 0; i < count; ++i) {
    Track track;
    const auto has = [&] { return i < 2 || i + 1 == count || below(8) != 0; };
    const auto gather = [&](Attribute attribute, size_t wanted) {
      Ids ids;
      while (ids.size() < wanted) {
        const uint32_t id = draw(attribute);
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
      }
      return ids;
    };
    if (has() && i != 3 && i != 4) track.ids[kGenre] = gather(kGenre, 1 + below(3));
    if (has() && i != 2 && i != 4) track.profile = gather(kMood, 1 + below(3));
    if (has()) track.ids[kEra] = {41900 + below(120)};  // the number of a year
    if (mixed && i > 1 && below(8) == 0) track.ids[kEra] = {draw(kEra)};
    if (has()) track.ids[kOrigin] = {draw(kOrigin)};
    if (has()) track.ids[kArtistType] = {draw(kArtistType)};
    if (has()) track.ids[kTempo] = {40 + below(200)};
    if (has()) track.texts[kArtist] = {"Band " + std::to_string(below(count))};
    while (has() && track.texts[kAlbum].size() < 2) {
      track.texts[kAlbum].push_back("Album No. " + std::to_string(below(count)));
    }
    if (!track.profile.empty()) track.ids[kMood] = {track.profile[0]};
    if (mixed && i % 5 == 1) track.profile.clear();
    if (mixed && i % 5 == 2) track.ids[kMood].clear();
    tracks.push_back(track);
  }
  return tracks;
}

inline void compare_with(size_t seed, std::vector<Track>& tracks) {
  for (Track& track : tracks) {
    for (const Attribute attribute : {kGenre, kEra, kOrigin, kArtistType, kMood}) {
      track.likes[attribute] = likes_of(attribute, track, tracks[seed]);
    }
  }
}

// ------------------------------------------------------------------------------------ Promises

using Where = std::function<Scores(const Track&)>;

// A statement, the scores that it selects a track with (one for each of the track's entries; none
// where it is left out), what it orders by, and how many entries stay.
struct Promise {
  std::string statement;
  Where where;
  std::function<int32_t(const Track&)> order = nullptr;
  size_t limit = SIZE_MAX;
};

// All that a test holds for.
template <typename Test>
Where those(Test test) {
  return [=](const Track& track) { return test(track) ? Scores{1000} : Scores{}; };
}
inline Scores everything(const Track&) {
  return {1000};
}
// A likeness of 0 selects nothing.
template <typename Test>
Where alike(Attribute attribute, Test test) {
  return [=](const Track& track) {
    Scores scores = track.likes[attribute];
    std::erase_if(scores, [=](int32_t score) { return score == 0 || !test(score); });
    return scores;
  };
}
// An element stands for all below it.
inline Where is_a(Attribute attribute, uint32_t wanted) {
  const uint32_t level = read(trova_manager_list_element, attribute, wanted).level;
  return [=](const Track& track) {
    Scores scores;
    for (const uint32_t id : track.ids[attribute]) {
      if (above(attribute, id, level).id == wanted) scores.push_back(1000);
    }
    return scores;
  };
}

// For each attribute alike.
inline void add_promises_of(Attribute attribute, std::vector<Promise>& promises) {
  const std::string like = std::string("(") + kNames[attribute] + " like seed)";
  const auto best = [=](const Track& track) { return track.best(attribute); };
  const Where kin = alike(attribute, [](int32_t score) { return score >= 600; });
  const Promise rows[] = {
      {"order " + like, everything, best},
      {"order 0 - " + like + " limit 25 results", everything,
       [=](const Track& track) { return -best(track); }, 25},
      {"where " + like, alike(attribute, [](int32_t) { return true; })},
      {"where " + like + " > 999", alike(attribute, [](int32_t score) { return score > 999; })},
      {"where " + like + " < 0 limit 9 results",
       alike(attribute, [](int32_t score) { return score < 0; }), nullptr, 9},
      {"where qx_genre != 1 and " + like + " >= 300",
       those([=](const Track& track) { return track.has(kGenre) && best(track) >= 300; }), best},
      {"where " + like + " >= 600 or qx_genre != 1 order 7 + " + like,
       those([=](const Track& track) { return track.has(kGenre) || !kin(track).empty(); }),
       [=](const Track& track) { return 7 + best(track); }}};
  promises.insert(promises.end(), std::begin(rows), std::end(rows));
}

// Eras compare by years: those of the statement's, s to e, with those of the track's, lo to hi.
inline void add_promises_of_eras(uint32_t wanted, std::vector<Promise>& promises) {
  using Test = bool (*)(uint32_t s, uint32_t e, uint32_t lo, uint32_t hi);
  const std::pair<std::string, Test> rows[] = {
      {"= ", [](auto s, auto e, auto lo, auto hi) { return s <= lo && hi <= e; }},
      {"!= ", [](auto s, auto e, auto lo, auto hi) { return lo < s || hi > e; }},
      {"> ", [](auto s, auto, auto lo, auto) { return s < lo; }},
      {">= ", [](auto s, auto, auto, auto hi) { return s <= hi; }},
      {"< ", [](auto s, auto, auto, auto hi) { return hi < s; }},
      {"<= ", [](auto, auto e, auto, auto hi) { return hi <= e; }}};
  const trova_manager_element era = read(trova_manager_list_element, kEra, wanted);
  for (const auto& [op, test] : rows) {
    const auto holds = [era, test = test](const Track& track) {
      if (!track.has(kEra)) return false;
      const trova_manager_element own = above(kEra, track.ids[kEra][0], era.level);
      return test(era.lower, era.upper, own.lower, own.upper);
    };
    promises.push_back({"where qx_era " + op + std::to_string(wanted), those(holds)});
  }
}

inline std::vector<Promise> promises_of_all(const Track& last) {
  const auto top = [&](Attribute attribute) {
    return above(attribute, last.ids[attribute][0], 1).id;
  };
  const Where genre = is_a(kGenre, top(kGenre));
  const Where mood = is_a(kMood, top(kMood));
  const auto both = [=](const Track& track) {
    return !genre(track).empty() && !mood(track).empty();
  };
  const auto either = [=](const Track& track) {
    return !genre(track).empty() || !mood(track).empty();
  };
  const auto named = [](const Track& track) {
    return track.texts[kArtist] == Texts{"Band 7"} ||
           std::count(track.texts[kAlbum].begin(), track.texts[kAlbum].end(), "Album No. 7") != 0;
  };
  const Where kin = alike(kGenre, [](int32_t score) { return score >= 600; });
  const auto mood_of = [](const Track& track) { return track.best(kMood); };
  const std::string is_genre = "qx_genre = " + std::to_string(top(kGenre));
  const std::string is_mood = "qx_mood = " + std::to_string(top(kMood));
  const std::string like = "where (qx_genre like seed) >= 600 order ";
  return {
      {"", everything},
      {"limit 7 results", everything, nullptr, 7},
      {"where " + is_genre, genre},
      {"where " + is_mood, mood},
      {"where qx_origin = " + std::to_string(top(kOrigin)), is_a(kOrigin, top(kOrigin))},
      {"where qx_tempo = " + std::to_string(top(kTempo)), is_a(kTempo, top(kTempo))},
      {"where qx_artistname = 'BAND 7' or qx_albumname = 'album NO. 7'", those(named)},
      {"where " + is_genre + " and " + is_mood + " > 0", those(both)},
      {"where " + is_mood + " and " + is_genre + " > 0", those(both)},
      {"where qx_era != 1 and " + is_genre + " > 0 and " + is_mood + " > 0",
       those([=](const Track& track) { return track.has(kEra) && both(track); })},
      {"where " + is_genre + " or " + is_mood, those(either)},
      {"where (" + is_genre + " or " + is_mood + ") and qx_tempo >= 120 > 0",
       those([=](const Track& track) {
         return either(track) && track.has(kTempo) && track.ids[kTempo][0] >= 120;
       })},
      {"where (qx_genre like seed) >= (qx_mood like seed)",
       [=](const Track& track) {
         return alike(kGenre, [&](int32_t score) { return score >= mood_of(track); })(track);
       },
       mood_of},
      {like + "qx_era like seed limit 20 results", kin,
       [](const Track& track) { return track.best(kEra); }, 20},
      {like + "(3 * qx_genre like seed) + (qx_era like seed) limit 10 results", kin,
       [](const Track& track) { return 3 * track.best(kGenre) + track.best(kEra); }, 10},
      {"order (rand(1) + 1000 * qx_mood like seed) / 7 limit 99 results", everything,
       [=](const Track& track) { return 1000 * mood_of(track) / 7; }, 99},
  };
}

// Holds a playlist against a promise: the scores of its idents are the best there are, highest
// first. With `once` a track stands in it at the best of its places only.
inline void check(const Promise& promise, const std::vector<Track>& tracks, const Texts& playlist,
                  bool once) {
  SCOPED_TRACE(promise.statement);
  std::vector<Scores> left;
  Scores wanted, found;
  size_t entries = 0;
  for (const Track& track : tracks) {
    Scores scores = promise.where(track);
    if (promise.order && !scores.empty()) scores.assign(scores.size(), promise.order(track));
    std::sort(scores.begin(), scores.end(), std::greater<>());
    entries += scores.size();
    if (once && !scores.empty()) scores.resize(1);
    wanted.insert(wanted.end(), scores.begin(), scores.end());
    left.push_back(std::move(scores));
  }
  std::sort(wanted.begin(), wanted.end(), std::greater<>());
  size_t most = promise.limit;
  if (once && entries > promise.limit) {
    // Some of those that stay may be second and third places.
    EXPECT_TRUE(playlist.size() <= most && playlist.size() * 3 >= most) << playlist.size();
    most = playlist.size();
  }
  wanted.resize(std::min(wanted.size(), most));
  for (const std::string& ident : playlist) {
    Scores& scores = left.at(index_of(ident));
    ASSERT_FALSE(scores.empty()) << ident << " has no place";
    found.push_back(scores.front());
    scores.erase(scores.begin());
  }
  const auto odd = std::mismatch(wanted.begin(), wanted.end(), found.begin(), found.end());
  EXPECT_TRUE(wanted == found) << found.size() << " for " << wanted.size() << ", differ at "
                               << odd.first - wanted.begin();
}

// More like this: a weighted sum is divided by 100 and a number up to 99 that chance adds. Nobody
// stands before one that chance cannot bring behind.
inline void check_like(const std::vector<Track>& tracks, size_t seed, const Texts& playlist) {
  const int32_t least_mood = tracks[seed].has(kGenre) ? 600 : -160;
  const Where of_genre = alike(kGenre, [](int32_t score) { return score >= 600; });
  const Where of_mood = alike(kMood, [=](int32_t score) { return score >= least_mood; });
  std::vector<uint32_t> left;
  for (const Track& track : tracks) {
    left.push_back(!of_genre(track).empty() || !of_mood(track).empty() ? 1 : 0);
  }
  int32_t most = INT32_MAX;
  for (const std::string& ident : playlist) {
    const Track& track = tracks.at(index_of(ident));
    const int32_t sum = 90 * track.best(kMood) + 6 * track.best(kGenre) + 2 * track.best(kOrigin) +
                        track.best(kEra) + track.best(kArtistType);
    most = std::min(most, std::max(sum / 100, sum / 199));
    ASSERT_GE(most, std::min(sum / 100, sum / 199)) << ident << " stands too low";
    ASSERT_EQ(left[index_of(ident)]--, 1u) << ident;
  }
  EXPECT_EQ(std::count(left.begin(), left.end(), 1u), 0);
}

// So many of each value stay, as it is stored; tracks without one are a value of their own.
inline void check_per(const std::vector<Track>& tracks, Attribute attribute, uint32_t most,
                      const Texts& playlist) {
  std::map<std::string, uint32_t> left;
  const auto value_of = [&](const Track& track) {
    if (attribute >= kArtist)
      return track.texts[attribute].empty() ? "" : track.texts[attribute][0];
    return track.has(attribute) ? std::to_string(track.ids[attribute][0]) : "";
  };
  for (const Track& track : tracks) {
    uint32_t& count = left[value_of(track)];
    count = std::min(most, count + 1);
  }
  for (const std::string& ident : playlist) --left[value_of(tracks.at(index_of(ident)))];
  for (const auto& [value, count] : left) {
    EXPECT_EQ(count, 0u) << kNames[attribute] << " '" << value << "'";
  }
}

}  // namespace headlines

#endif  // HEADLINES_H
