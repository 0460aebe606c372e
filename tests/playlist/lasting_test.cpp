// lasting_test: collections in a store, each with the exact answer, on the strict manager. Bytes,
// reports and views are tested beside the model.
#include <gtest/gtest.h>

#include "trova_mock.h"
#include "trova_playlist.h"

using trova_mock::kNotFound;
using trova_mock::mock;
using trova_mock::Object;
using Strings = std::vector<std::string>;

namespace {

constexpr uint32_t kDiskFailure = 0x90100506;
const char kStore[] = "trova_collection.store";

// A running library with storage and a collection.
class Lasting : public ::testing::Test {
 protected:
  Lasting() {
    mock().reset();
    mock().has_storage = true;
    EXPECT_EQ(trova_playlist_initialize(mock().manager()), 0u);
    EXPECT_EQ(trova_playlist_collection_create("c", &collection_), 0u);
  }

  ~Lasting() override {
    EXPECT_EQ(trova_playlist_collection_release(collection_), 0u);
    EXPECT_EQ(trova_playlist_shutdown(), 0u);
    mock().expect_clean();
  }

  static std::string serialize(trova_playlist_collection* collection) {
    uint32_t size = 0;
    EXPECT_EQ(trova_playlist_collection_serialize(collection, nullptr, &size), 0u);
    std::string bytes(size, '\0');
    EXPECT_EQ(trova_playlist_collection_serialize(collection, bytes.data(), &size), 0u);
    return bytes.substr(0, size);
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

  trova_playlist_collection* collection_ = nullptr;
};

}  // namespace

TEST_F(Lasting, the_handle_of_a_collection_is_registered_when_it_comes_from_the_store) {
  const std::string before = mock().usage();
  trova_playlist_collection* from_bytes = nullptr;
  const std::string bytes = serialize(collection_);
  const auto size = static_cast<uint32_t>(bytes.size());
  EXPECT_EQ(trova_playlist_collection_deserialize(bytes.data(), size, &from_bytes), 0u);
  EXPECT_EQ(mock().usage().find("handles 2"), std::string::npos);
  EXPECT_EQ(trova_playlist_storage_store_collection(collection_), 0u);
  trova_playlist_collection* from_store = nullptr;
  EXPECT_EQ(trova_playlist_storage_load_collection("c", &from_store), 0u);
  EXPECT_NE(mock().usage().find("handles 2"), std::string::npos);
  EXPECT_EQ(trova_playlist_collection_release(from_bytes), 0u);
  EXPECT_EQ(trova_playlist_collection_release(from_store), 0u);
}

TEST_F(Lasting, a_collection_replaces_its_own_record_and_that_of_its_name) {
  EXPECT_EQ(stored(), Strings{});
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
