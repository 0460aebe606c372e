// headlines_test: what the documents promise of playlists holds in collections of every size.
#include "headlines.h"

#include <memory>
#include <set>

#include "engine_test.h"
#include "playlist_dsp.h"
#include "vrel_string_fuzzy.h"

namespace {

using namespace headlines;

using Object = std::unique_ptr<trova_gdo, decltype(&trova_manager_gdo_release)>;

Object make_object(const char* context) {
  trova_gdo* object = nullptr;
  EXPECT_EQ(trova_manager_gdo_create(context, &object), 0u);
  return Object(object, trova_manager_gdo_release);
}

// A data object has one genre: the first.
Object describe(const Track& track) {
  constexpr const char* kKeys[] = {TROVA_VAL_GENRE_ID,       TROVA_VAL_ERA_ID,  TROVA_VAL_ORIGIN_ID,
                                   TROVA_VAL_ARTIST_TYPE_ID, TROVA_VAL_MOOD_ID, TROVA_VAL_TEMPO};
  Object object = make_object(TROVA_CTX_TRACK);
  for (size_t i = 0; i < std::size(kKeys); ++i) {
    if (track.ids[i].empty()) continue;
    trova_manager_gdo_add_number(object.get(), kKeys[i], track.ids[i][0]);
  }
  std::string profile;
  for (size_t i = 0; i < track.profile.size(); ++i) {
    profile += (i == 0 ? "" : ",") + std::to_string(track.profile[i]) + ":" +
               std::to_string(weight_of(track.profile, i));
  }
  const auto add_text = [](const Object& to, const char* key, const std::string& text) {
    trova_manager_gdo_add_value(to.get(), key, text.c_str());
  };
  if (!profile.empty()) add_text(object, TROVA_VAL_MOOD_DATA, profile);
  for (const std::string& artist : track.texts[kArtist]) add_text(object, TROVA_VAL_ARTIST, artist);
  for (const std::string& title : track.texts[kAlbum]) {
    const Object album = make_object(TROVA_CTX_ALBUM);
    add_text(album, TROVA_VAL_TITLE, title);
    trova_manager_gdo_add_child(object.get(), TROVA_CHILD_ALBUM, album.get());
  }
  return object;
}

// How like tempos and names are is held against plain arithmetic elsewhere.
void compare_the_rest_with(const Track& seed, std::vector<Track>& tracks) {
  for (Track& track : tracks) {
    track.likes[kTempo].assign(track.has(kTempo) && seed.has(kTempo) ? 1 : 0, 0);
    for (int32_t& score : track.likes[kTempo]) {
      dsp_primary_tempo_similarity(track.ids[kTempo][0], seed.ids[kTempo][0], &score);
    }
    for (const Attribute attribute : {kArtist, kAlbum}) {
      track.likes[attribute].clear();
      if (seed.texts[attribute].empty()) continue;
      for (const std::string& text : track.texts[attribute]) {
        const float share = vrel_string_fuzzycmp(text.c_str(), seed.texts[attribute][0].c_str(), 0);
        track.likes[attribute].push_back(static_cast<int32_t>(share * 1000.0f));
      }
    }
  }
}

class Headlines : public EngineTest, public testing::WithParamInterface<uint32_t> {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    tracks_ = make_tracks(GetParam(), true);
    for (size_t i = 0; i < tracks_.size(); ++i) {
      add(i, describe(tracks_[i]));
      for (size_t genre = 1; genre < tracks_[i].ids[kGenre].size(); ++genre) {
        Track more;
        more.ids[kGenre] = {tracks_[i].ids[kGenre][genre]};
        add(i, describe(more));
      }
    }
  }

  void add(size_t index, const Object& object) {
    const std::string ident = ident_of(index);
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), object.get()), 0u);
  }

  // Without a statement: more like the seed.
  Texts playlist(const std::string& statement, trova_gdo* seed = nullptr) {
    SCOPED_TRACE(statement);
    trova_user* user = nullptr;
    trova_playlist_results* results = nullptr;
    EXPECT_EQ(trova_manager_user_create("listener", &user), 0u);
    const uint32_t code =
        statement.empty() ? trova_playlist_generate_morelikethis(user, collection_, seed, &results)
                          : trova_playlist_generate_playlist(user, statement.c_str(), collection_,
                                                             seed, &results);
    EXPECT_EQ(code, 0u);
    Texts idents;
    const char* ident = nullptr;
    for (uint32_t i = 0; code == 0 && trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
      idents.emplace_back(ident);
    }
    EXPECT_EQ(trova_playlist_results_release(results), 0u);
    EXPECT_EQ(trova_manager_user_release(user), 0u);
    return idents;
  }

  std::vector<Track> tracks_;
};

TEST_P(Headlines, hold_for_seeds_of_every_kind) {
  std::vector<Promise> promises = promises_of_all(tracks_.back());
  for (const uint32_t era : {31970, 41964}) add_promises_of_eras(era, promises);
  for (int attribute = kGenre; attribute <= kAlbum; ++attribute) {
    add_promises_of(static_cast<Attribute>(attribute), promises);
  }
  const size_t seeds = GetParam() < 2000 ? kSeeds : 2;
  for (size_t seed = 0; seed < seeds; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const Object object = describe(tracks_[seed]);
    compare_with(seed, tracks_);
    compare_the_rest_with(tracks_[seed], tracks_);
    for (const Promise& promise : promises) {
      check(promise, tracks_, playlist("genpl " + promise.statement, object.get()), false);
    }
    check_like(tracks_, seed, playlist("", object.get()));
  }
}

TEST_P(Headlines, limits_and_chance_keep_their_word) {
  for (const Attribute attribute : {kEra, kOrigin, kArtistType, kTempo, kArtist}) {
    for (const uint32_t most : {1u, 3u}) {
      const std::string per = std::to_string(most) + " per " + kNames[attribute];
      check_per(tracks_, attribute, most, playlist("genpl order rand(99) limit " + per));
      EXPECT_EQ(playlist("genpl limit 5 results, " + per).size(), 5u);
    }
  }
  const Texts once = playlist("genpl order rand(1000, 7)");
  EXPECT_EQ(std::set<std::string>(once.begin(), once.end()).size(), tracks_.size());
  EXPECT_TRUE(once == playlist("genpl order rand(1000, 7)"));
  EXPECT_FALSE(once == playlist("genpl order rand(1000, 8)"));
  EXPECT_FALSE(playlist("genpl order rand(32768)") == playlist("genpl order rand(32768)"));
}

INSTANTIATE_TEST_SUITE_P(Tracks, Headlines, testing::ValuesIn(kSizes),
                         testing::PrintToStringParamName());

}  // namespace
