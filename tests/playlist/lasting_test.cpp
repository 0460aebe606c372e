// lasting_test: collections as bytes, in a store, beside a report and through a data object, each
// with the exact answer, on the strict manager.
#include <gtest/gtest.h>

#include <algorithm>

#include "behaviour.h"
#include "case_file.h"
#include "trova_mock.h"
#include "trova_playlist.h"

using trova_mock::kNotFound;
using trova_mock::mock;
using trova_mock::Object;
using Strings = std::vector<std::string>;

namespace {

constexpr uint32_t kDiskFailure = 0x90100506;
const char kStore[] = "trova_collection.store";

// "ce 11 2*3 'ab'": hexadecimal bytes, and text as it is.
std::string bytes_of(const std::string& spelled) {
  std::string bytes;
  for (size_t i = 0; i < spelled.size(); ++i) {
    if (spelled[i] == ' ') continue;
    if (spelled[i] == '\'') {
      const size_t end = spelled.find('\'', i + 1);
      bytes += spelled.substr(i + 1, end - i - 1);
      i = end;
    } else {
      bytes += static_cast<char>(std::stoi(spelled.substr(i, 2), nullptr, 16));
      ++i;
    }
  }
  return bytes;
}

// The bytes of a spelling in which sections are named.
std::string stream_of(std::string spelled) {
  static const std::vector<Case> sections = read_cases("streams.txt", "section");
  for (size_t i = sections.size(); i-- > 0;) {
    const std::string name = "[" + sections[i][0] + "]";
    for (size_t at; (at = spelled.find(name)) != std::string::npos;) {
      spelled.replace(at, name.size(), sections[i][1]);
    }
  }
  return bytes_of(spelled);
}

// A running library with storage, a genre list, the attributes qx_a to qx_c and a collection.
class Lasting : public ::testing::Test {
 protected:
  Lasting() {
    mock().reset();
    mock().has_storage = true;
    mock().lists.locales["trova_locale_music"] = "eng";
    mock().lists.lists["trova_list_type_genres"].add(1, 0).add(2, 1).add(3, 2);
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    for (int i = 0; i < 3; ++i) {
      g_behaviours[i] = Behaviour{std::string("qx_") + "abc"[i]};
      g_behaviours[i].renders_strings = false;
      const trova_playlist_attribute_provider provider = provider_of(i);
      EXPECT_EQ(trova_playlist_register_attribute_provider(&provider), 0u);
    }
    EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
  }

  ~Lasting() override {
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    EXPECT_EQ(g_open_contexts, 0);
    mock().expect_clean();
  }

  // Adds an ident with a value of qx_a.
  void add(const std::string& ident, const std::string& value = "#1") {
    Object object("trova_ctx_track");
    object.value(g_behaviours[0].key(), value);
    EXPECT_EQ(trova_playlist_collection_ident_add(collection_, ident.c_str(), object.get()), 0u);
  }

  void remove(const std::string& ident) {
    EXPECT_EQ(trova_playlist_collection_ident_remove(collection_, ident.c_str()), 0u);
  }

  static std::string serialize(trova_playlist_collection* collection) {
    uint32_t size = 0;
    EXPECT_EQ(trova_playlist_collection_serialize(collection, nullptr, &size), 0u);
    std::string bytes(size, '\0');
    EXPECT_EQ(trova_playlist_collection_serialize(collection, bytes.data(), &size), 0u);
    return bytes.substr(0, size);
  }

  static uint32_t read(const std::string& bytes, trova_playlist_collection** out) {
    return trova_playlist_collection_deserialize(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                 out);
  }

  // What reading gives: a code, or the bytes that the collection writes again.
  static std::string read_again(const std::string& spelled, uint32_t* out_code) {
    trova_playlist_collection* collection = nullptr;
    *out_code = read(stream_of(spelled), &collection);
    if (*out_code != 0) return "";
    const std::string bytes = serialize(collection);
    EXPECT_EQ(trova_playlist_collection_release(collection), 0u);
    return bytes;
  }

  // The names in the store, and what counting and the end of enumerating answer.
  static Strings stored() {
    Strings names;
    char name[64];
    uint32_t count = 0;
    uint32_t code = 0;
    EXPECT_EQ(trova_playlist_storage_count_collections(&count), 0u);
    for (uint32_t i = 0; code == 0; ++i) {
      code = trova_playlist_storage_enum_collections(i, name, sizeof name);
      if (code == 0) names.push_back(name);
    }
    EXPECT_EQ(code, PLERR_NotFound);
    EXPECT_EQ(names.size(), count);
    return names;
  }

  struct Heard {
    Strings calls;
    size_t stop_after = SIZE_MAX;
    std::function<void(trova_playlist_collection*, const std::string&)> also = {};
  };

  static void hear(void* user_data, trova_playlist_collection* collection, const char* ident,
                   uint32_t status, uint8_t* out_stop) {
    auto* heard = static_cast<Heard*>(user_data);
    EXPECT_EQ(*out_stop, 0);
    heard->calls.push_back(std::to_string(status) + " " + ident);
    if (heard->calls.size() == heard->stop_after) *out_stop = 1;
    if (heard->also) heard->also(collection, ident);
  }

  uint32_t report(const Strings& idents) {
    for (const std::string& ident : idents) {
      const uint32_t code = trova_playlist_collection_sync_ident_add(collection_, ident.c_str());
      if (code != 0) return code;
    }
    return 0;
  }

  // The calls that a report leads to.
  Strings heard(const Strings& reported) { return heard(reported, Heard{}); }
  Strings heard(const Strings& reported, Heard listener) {
    EXPECT_EQ(report(reported), 0u);
    EXPECT_EQ(trova_playlist_collection_sync_process(collection_, hear, &listener), 0u);
    return listener.calls;
  }

  trova_gdo* view(const char* ident) {
    trova_gdo* object = nullptr;
    EXPECT_EQ(trova_playlist_collection_ident_get_gdo(collection_, ident, &object), 0u);
    return object;
  }

  trova_playlist_collection* collection_ = nullptr;
};

}  // namespace

// ---------------------------------------------------------------------------------- Streams

TEST_F(Lasting, streams_are_read_or_refused_item_by_item) {
  for (const Case& each : read_cases("streams.txt", "stream")) {
    const bool is_good = each[1] == "good";
    uint32_t code = 0;
    const std::string found = read_again(each[0], &code);
    EXPECT_EQ(code, is_good                ? 0
                    : each[1] == "corrupt" ? PLERR_CorruptData
                                           : PLERR_InvalidData)
        << each[0];
    EXPECT_EQ(found, is_good ? stream_of(each[2]) : "") << each[0];
  }
}

TEST_F(Lasting, attributes_without_a_provider_are_left_out_with_a_warning) {
  uint32_t code = 0;
  const std::string written = read_again(
      "[header] [idents] ce22222222 01 04 01 a4'QX_A' c2 01 01 [values] [attribute]", &code);
  EXPECT_EQ(code, 0u);
  EXPECT_EQ(written, stream_of("[good]"));
  ASSERT_FALSE(mock().lines.empty());
  EXPECT_EQ(mock().lines.back().package, 0x89u);
  EXPECT_EQ(mock().lines.back().level, VREL_LOG_WARNING);
  EXPECT_EQ(mock().lines.back().text,
            "Collection 'n' has Attribute 'QX_A' for which no support was found. Skipping.");
}

TEST_F(Lasting, serializing_asks_for_its_bound_and_uses_less) {
  add("ident", "#4294967295");
  add("ident", "text");
  uint32_t bound = 0;
  EXPECT_EQ(trova_playlist_collection_serialize_size(collection_, &bound), 0u);
  // Eight attributes of the library, whose names have 76 bytes, and three of the test.
  EXPECT_EQ(bound, 52u + 7 + 6 + 1 + (8 * 20 + 76) + 3 * (20 + 4) + 2 * 12);
  std::string bytes(bound, 'x');
  uint32_t size = bound - 1;
  EXPECT_EQ(trova_playlist_collection_serialize(collection_, bytes.data(), &size),
            PLERR_BufferTooSmall);
  EXPECT_EQ(bytes, std::string(bound, 'x'));
  size = bound;
  EXPECT_EQ(trova_playlist_collection_serialize(collection_, bytes.data(), &size), 0u);
  EXPECT_LT(size, bound);
}

TEST_F(Lasting, the_handle_of_a_collection_is_registered_when_it_comes_from_the_store) {
  const std::string before = mock().usage();
  trova_playlist_collection* from_bytes = nullptr;
  EXPECT_EQ(read(serialize(collection_), &from_bytes), 0u);
  EXPECT_EQ(mock().usage().find("handles 2"), std::string::npos);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  trova_playlist_collection* from_store = nullptr;
  EXPECT_EQ(trova_playlist_storage_load_collection("c", &from_store), 0u);
  EXPECT_NE(mock().usage().find("handles 2"), std::string::npos);
  EXPECT_EQ(trova_playlist_collection_release(from_bytes), 0u);
  EXPECT_EQ(trova_playlist_collection_release(from_store), 0u);
}

// ---------------------------------------------------------------------------------- Storage

TEST_F(Lasting, a_collection_replaces_its_own_record_and_that_of_its_name) {
  EXPECT_EQ(stored(), Strings{});
  add("one");
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  const std::vector<trova_mock::StoreData::Field> fields = {{"coll_name", 1, 3},
                                                            {"coll_data", 3, 0}};
  EXPECT_TRUE(mock().stores[kStore].fields == fields);
  EXPECT_EQ(trova_playlist_collection_update_name(collection_, "renamed"), 0u);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  EXPECT_EQ(stored(), Strings{"renamed"});
  EXPECT_EQ(mock().stores[kStore].records[0]->at("coll_data"), serialize(collection_));

  // One that was loaded knows the name it was loaded under; one that was made does not.
  trova_playlist_collection* loaded = nullptr;
  trova_playlist_collection* made = nullptr;
  EXPECT_EQ(trova_playlist_storage_load_collection("renamed", &loaded), 0u);
  EXPECT_EQ(trova_playlist_collection_update_name(loaded, "again"), 0u);
  EXPECT_EQ(trova_playlist_storage_store_collection(loaded), 0u);
  EXPECT_EQ(trova_playlist_collection_create("again", &made), 0u);
  EXPECT_EQ(trova_playlist_storage_store_collection(made), 0u);
  EXPECT_EQ(stored(), Strings{"again"});
  EXPECT_EQ(trova_playlist_storage_load_collection("renamed", &loaded), PLERR_NotFound);
  EXPECT_EQ(trova_playlist_storage_remove_collection("renamed"), PLERR_NotFound);
  EXPECT_EQ(trova_playlist_storage_remove_collection("again"), 0u);
  EXPECT_EQ(stored(), Strings{});
  for (auto* each : {loaded, made}) EXPECT_EQ(trova_playlist_collection_release(each), 0u);
}

TEST_F(Lasting, stores_of_another_layout_and_services_that_fail_are_told_apart) {
  trova_playlist_collection* loaded = nullptr;
  uint32_t count = 7;
  char name[4];
  const auto codes = [&] {
    return std::vector<uint32_t>{trova_playlist_storage_store_collection(collection_),
                                 trova_playlist_storage_load_collection("c", &loaded),
                                 trova_playlist_storage_count_collections(&count),
                                 trova_playlist_storage_enum_collections(0, name, sizeof name),
                                 trova_playlist_storage_remove_collection("c")};
  };
  EXPECT_EQ(trova_playlist_collection_update_name(collection_, "a long name"), 0u);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  EXPECT_EQ(trova_playlist_storage_enum_collections(0, name, sizeof name), 0u);
  EXPECT_STREQ(name, "a l");

  auto& fields = mock().stores[kStore].fields;
  const auto right = fields;
  for (const auto& wrong : {std::vector{right[0]},
                            {right[1], right[0]},
                            {{"coll_name", 1, 2}, right[1]},
                            {right[0], {"coll_data", 1, 0}},
                            {right[0], right[1], right[1]}}) {
    fields = wrong;
    EXPECT_EQ(codes(), std::vector<uint32_t>(5, PLERR_StoreInvalid));
  }
  fields = right;
  // A store that cannot be opened is created by who writes, and tells who reads.
  mock().fail_slot("storage.open", 1, kDiskFailure);
  EXPECT_EQ(trova_playlist_storage_count_collections(&count), PLERR_ManagerPkgB);
  mock().fail_slot("storage.open", 1, kNotFound);
  EXPECT_EQ(trova_playlist_storage_count_collections(&count), 0u);
  EXPECT_EQ(count, 0u);
  mock().fail_slot("storage.query", 1, kNotFound);
  EXPECT_EQ(trova_playlist_storage_count_collections(&count), 0u);
  mock().fail_slot("storage.field_info", 2, kDiskFailure);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), PLERR_ManagerPkgB);
  mock().fail_slot("storage.open", 1, kDiskFailure);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  EXPECT_EQ(stored(), Strings{"a long name"});
  // A search that fails adds a record, as one that finds nothing does.
  mock().fail_slot("storage.cursor_next", 1, kDiskFailure);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  EXPECT_EQ(stored(), (Strings{"a long name", "a long name"}));
  mock().stores[kStore].records[0]->at("coll_data") = "noise";
  EXPECT_EQ(trova_playlist_storage_load_collection("a long name", &loaded), PLERR_CorruptData);
}

TEST(LastingWithoutStorage, is_refused_by_every_operation_on_the_store) {
  mock().reset();
  EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
  trova_playlist_collection* collection = nullptr;
  uint32_t count = 0;
  char name[4];
  EXPECT_EQ(trova_playlist_collection_create("c", &collection), 0u);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection), PLERR_NoStorage);
  EXPECT_EQ(trova_playlist_storage_load_collection("c", &collection), PLERR_NoStorage);
  EXPECT_EQ(trova_playlist_storage_count_collections(&count), PLERR_NoStorage);
  EXPECT_EQ(trova_playlist_storage_enum_collections(0, name, 4), PLERR_NoStorage);
  EXPECT_EQ(trova_playlist_storage_remove_collection("c"), PLERR_NoStorage);
  EXPECT_EQ(trova_playlist_collection_release(collection), 0u);
  EXPECT_EQ(trova_playlist_shutdown(), 0u);
  mock().expect_clean();
}

// ---------------------------------------------------------------------------------- Reports

TEST_F(Lasting, reports_are_answered_with_what_differs) {
  for (const char* ident : {"b", "a", "d", "c"}) add(ident);
  EXPECT_EQ(heard({"a", "b", "c", "d"}), Strings{});
  // Removals go by age, additions by hash.
  EXPECT_EQ(heard({"new"}), (Strings{"11 b", "11 a", "11 d", "11 c", "10 new"}));
  EXPECT_EQ(heard({"z", "x", "a", "y", "x"}),
            (Strings{"11 b", "11 d", "11 c", "10 x", "10 y", "10 z"}));
  // Reported twice, an ident looks missing; three times, twice so.
  EXPECT_EQ(heard({"a", "b", "c", "d", "a", "d", "d"}), (Strings{"11 a", "11 d", "11 d"}));
  EXPECT_EQ(heard({"x"}, {{}, 1}), Strings{"11 b"});
  EXPECT_EQ(heard({"a", "b", "c", "d", "x", "y"}, {{}, 1}), Strings{"10 x"});
  // A removed ident is present to who reports it, and nameless to who does not.
  remove("d");
  EXPECT_EQ(heard({"a", "b", "c", "d"}), Strings{});
  EXPECT_EQ(heard({"a", "b", "c"}), Strings{"11 "});
}

TEST_F(Lasting, a_report_is_used_up_by_every_processing_that_starts) {
  Heard listener;
  EXPECT_EQ(trova_playlist_collection_sync_process(collection_, hear, &listener),
            PLERR_SyncNotStarted);
  EXPECT_EQ(report({"x"}), 0u);
  EXPECT_EQ(trova_playlist_collection_sync_process(collection_, nullptr, nullptr),
            PLERR_InvalidArg);
  EXPECT_EQ(heard({}), Strings{"10 x"});
  EXPECT_EQ(trova_playlist_collection_sync_process(collection_, hear, &listener),
            PLERR_SyncNotStarted);
  // One that is never processed goes with the collection.
  EXPECT_EQ(report({"y"}), 0u);
}

TEST_F(Lasting, a_callback_may_change_report_and_release_the_collection) {
  for (const char* ident : {"a", "b"}) add(ident);
  EXPECT_EQ(heard({"c"}, {{},
                          SIZE_MAX,
                          [this](trova_playlist_collection*, const std::string& ident) {
                            ident == "c" ? add(ident) : remove(ident);
                            EXPECT_EQ(report({ident, "next"}), 0u);
                          }}),
            (Strings{"11 a", "11 b", "10 c"}));
  // The next report: "next" three times, twice while it was unknown, is new once.
  EXPECT_EQ(heard({}), (Strings{"10 next"}));

  EXPECT_EQ(report({"x"}), 0u);
  Heard listener;
  listener.also = [](trova_playlist_collection* collection, const std::string& ident) {
    if (ident == "c") (void)trova_playlist_collection_release(collection);
  };
  EXPECT_EQ(trova_playlist_collection_sync_process(collection_, hear, &listener), 0u);
  EXPECT_EQ(listener.calls, (Strings{"11 ", "11 ", "11 c", "10 x"}));
  EXPECT_EQ(mock().usage().find("handles"), std::string::npos);
  EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
}

// ------------------------------------------------------------------------------------ Views

TEST_F(Lasting, a_view_answers_by_value_key_and_by_attribute_name) {
  Object track("trova_ctx_track"), album("trova_ctx_album");
  album.value("trova_val_title_display", "Blue Train");
  track.value("_sdkmgr_val_list_genre_id", "3")
      .value("_sdkmgr_val_list_mood_data", "5:100")
      .value("_sdkmgr_val_list_tempo_value", "120")
      .value("trova_val_artist", "John")
      .value(g_behaviours[0].key(), "#1")
      .value(g_behaviours[1].key(), "red")
      .child("trova_ctx_album!", album);
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, "x", track.get()), 0u);
  trova_gdo* const object = view("x");
  const trova_gdo_interface& reads = mock().objects();
  const struct {
    const char* key;
    uint32_t ordinal;
    uint32_t code;
    const char* text = "";
  } cases[] = {
      {"_sdkmgr_val_list_genre_id", 1, 0, "3"},
      {"_sdkmgr_val_list_genre_id", 0, 0, "3"},
      {"_sdkmgr_val_list_genre_id", 2, PLERR_NotFound},
      {"trova_val_list_genremeta", 1, 0, "element 1"},
      {"QX_Genre", 1, 0, "element 2"},
      {"trova_val_list_genremicro", 1, 0, "element 3"},
      {"qx_genre", 1, PLERR_NotFound},  // read, but rendered under its exact name only
      {"trova_val_title_display", 1, 0, "Blue Train"},
      {"qx_albumname", 1, 0, "Blue Train"},
      {"qx_artistname", 1, 0, "John"},
      {"trova_val_artist", 1, PLERR_NotFound},
      {"trova_val_list_mood", 1, PLERR_NotFound},
      {"_sdkmgr_val_list_mood_data", 1, 0, "5:100"},
      {"_sdkmgr_val_list_tempo_value", 1, 0, "120"},
      {"_sdkmgr_val_list_era_id", 1, PLERR_NotFound},
      {"qx_a", 1, 0, "qx_a.qx_a=#1"},
      {"qx_b", 1, PLERR_InvalidData},
      {"no key", 1, PLERR_NotFound},
  };
  for (const auto& [key, ordinal, expected, text] : cases) {
    const char* found = "";
    EXPECT_EQ(reads.gdo_get_value(object, key, ordinal, &found), expected) << key;
    EXPECT_STREQ(found, text) << key;
  }
  const char* context = nullptr;
  trova_gdo* child = nullptr;
  EXPECT_EQ(reads.gdo_get_context(object, &context), 0u);
  EXPECT_STREQ(context, "trova_ctx_extdata");
  EXPECT_EQ(reads.gdo_get_child(object, "trova_ctx_album!", 1, 0, &child), PLERR_NotFound);
  EXPECT_EQ(trova_playlist_collection_ident_get_gdo(collection_, "y", &child), PLERR_NotFound);

  // The view keeps its collection; what it reads is what is held now.
  remove("x");
  const char* text = nullptr;
  EXPECT_EQ(reads.gdo_get_value(object, "QX_Genre", 1, &text), PLERR_NotFound);
  EXPECT_EQ(trova_playlist_collection_ident_add(collection_, "x", track.get()), 0u);
  EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
  EXPECT_EQ(reads.gdo_get_value(object, "QX_Genre", 1, &text), 0u);
  EXPECT_EQ(reads.gdo_release(object), 0u);
  EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
}
