// golden_test: a stream and playlists that were written once, the same on every machine.
//
// With TROVA_GOLDEN_WRITE set to a folder the test writes the files there instead.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "engine_test.h"

namespace {

std::string read_file(const std::string& name) {
  std::ifstream file(std::string(TROVA_GOLDEN_FOLDER "/") + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Numbers that are the same everywhere.
class Numbers {
 public:
  uint32_t below(uint32_t limit) {
    state_ = state_ * 1664525u + 1013904223u;
    return (state_ >> 8) % limit;
  }

 private:
  uint32_t state_ = 20261121;
};

class Golden : public EngineTest {
 protected:
  // The id of an element of a list, by its position.
  static uint32_t id_at(const char* type, uint32_t index) {
    trova_list* list = nullptr;
    uint32_t count = 0;
    trova_manager_element element = {};
    EXPECT_EQ(trova_manager_list_load(type, &list), 0u);
    EXPECT_EQ(trova_manager_list_count(list, &count), 0u);
    EXPECT_EQ(trova_manager_list_get(list, index % count, &element), 0u);
    trova_manager_list_release(list);
    return element.id;
  }

  static void add_album(trova_gdo* track, const std::string& title) {
    trova_gdo* album = nullptr;
    EXPECT_EQ(trova_manager_gdo_create(TROVA_CTX_ALBUM, &album), 0u);
    EXPECT_EQ(trova_manager_gdo_add_value(album, TROVA_VAL_TITLE, title.c_str()), 0u);
    EXPECT_EQ(trova_manager_gdo_add_child(track, TROVA_CHILD_ALBUM, album), 0u);
    EXPECT_EQ(trova_manager_gdo_release(album), 0u);
  }

  static trova_gdo* make_track(Numbers& numbers) {
    trova_gdo* object = nullptr;
    EXPECT_EQ(trova_manager_gdo_create(TROVA_CTX_TRACK, &object), 0u);
    add_album(object, "Ålbum " + std::to_string(numbers.below(40)));
    const auto text = [&](const char* key, const std::string& value) {
      EXPECT_EQ(trova_manager_gdo_add_value(object, key, value.c_str()), 0u);
    };
    text(TROVA_VAL_ARTIST, "Artist " + std::to_string(numbers.below(30)));
    const std::pair<const char*, const char*> lists[] = {
        {TROVA_VAL_GENRE_ID, TROVA_LIST_GENRES},
        {TROVA_VAL_ERA_ID, TROVA_LIST_ERAS},
        {TROVA_VAL_ORIGIN_ID, TROVA_LIST_ORIGINS},
        {TROVA_VAL_ARTIST_TYPE_ID, TROVA_LIST_ARTIST_TYPES}};
    for (const auto& [key, type] : lists) {
      if (numbers.below(8) != 0) text(key, std::to_string(id_at(type, numbers.below(1000))));
    }
    const uint32_t weight = 1 + numbers.below(99);
    const std::string moods[] = {std::to_string(id_at(TROVA_LIST_MOODS, numbers.below(100))),
                                 std::to_string(id_at(TROVA_LIST_MOODS, numbers.below(100)))};
    text(TROVA_VAL_MOOD_DATA, moods[0] + ":" + std::to_string(weight) + "," + moods[1] + ":" +
                                  std::to_string(100 - weight));
    text(TROVA_VAL_TEMPO, std::to_string(60 + numbers.below(140)));
    return object;
  }

  static trova_playlist_collection* make_collection() {
    trova_playlist_collection* collection = nullptr;
    EXPECT_EQ(trova_playlist_collection_create("golden ♪", &collection), 0u);
    Numbers numbers;
    for (int i = 0; i < 240; ++i) {
      trova_gdo* const track = make_track(numbers);
      const std::string ident = "/music/" + std::to_string(i * 7919 % 1000) + ".flac";
      EXPECT_EQ(trova_playlist_collection_ident_add(collection, ident.c_str(), track), 0u);
      EXPECT_EQ(trova_manager_gdo_release(track), 0u);
      if (i % 16 == 5) {
        EXPECT_EQ(trova_playlist_collection_ident_remove(collection, ident.c_str()), 0u);
      }
    }
    return collection;
  }

  static std::string serialize(trova_playlist_collection* collection) {
    uint32_t size = 0;
    EXPECT_EQ(trova_playlist_collection_serialize(collection, nullptr, &size), 0u);
    std::string bytes(size, '\0');
    EXPECT_EQ(trova_playlist_collection_serialize(collection, bytes.data(), &size), 0u);
    bytes.resize(size);
    return bytes;
  }

  static trova_playlist_collection* deserialize(const std::string& bytes) {
    trova_playlist_collection* collection = nullptr;
    EXPECT_EQ(trova_playlist_collection_deserialize(
                  bytes.data(), static_cast<uint32_t>(bytes.size()), &collection),
              0u);
    return collection;
  }

  // Each statement of the file, and the idents that it gives, a line each.
  static std::string playlists(trova_playlist_collection* collection) {
    std::string text;
    Numbers numbers;
    trova_gdo* const seed = make_track(numbers);
    std::istringstream lines(read_file("playlists.txt"));
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("# ")) continue;
      text += line + "\n";
      trova_playlist_results* results = nullptr;
      const char* ident = nullptr;
      EXPECT_EQ(
          trova_playlist_generate_playlist(nullptr, line.c_str() + 2, collection, seed, &results),
          0u);
      for (uint32_t i = 0; trova_playlist_results_enum(results, i, &ident) == 0; ++i) {
        text += ident + std::string("\n");
      }
      EXPECT_EQ(trova_playlist_results_release(results), 0u);
    }
    EXPECT_EQ(trova_manager_gdo_release(seed), 0u);
    return text;
  }
};

}  // namespace

TEST_F(Golden, streams_and_playlists_are_those_of_every_other_machine) {
  trova_playlist_collection* const made = make_collection();
  const std::string stream = serialize(made);
  trova_playlist_collection* const read = deserialize(stream);
  const std::string lists = playlists(read);
  ASSERT_NE(lists, "");
  if (const char* folder = std::getenv("TROVA_GOLDEN_WRITE")) {
    std::ofstream(std::string(folder) + "/collection.stream", std::ios::binary) << stream;
    std::ofstream(std::string(folder) + "/playlists.txt", std::ios::binary) << lists;
  } else {
    EXPECT_TRUE(stream == read_file("collection.stream"));
    EXPECT_EQ(lists, read_file("playlists.txt"));
  }
  // What was read writes the same texts, and entries in ident order from now on.
  const std::string second = serialize(read);
  EXPECT_EQ(second.size(), stream.size());
  trova_playlist_collection* const again = deserialize(second);
  EXPECT_TRUE(serialize(again) == second);
  for (auto* collection : {made, read, again}) {
    EXPECT_EQ(trova_playlist_collection_release(collection), 0u);
  }
}
