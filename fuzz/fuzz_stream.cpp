// fuzz_stream: the input is the bytes of a collection, which are read.
//
// The answer, the warnings and the collection are those of a reader that is written as plainly as
// possible (model/model_stream.h): what the collection holds, the bytes that it writes, and what
// statements and changes make of it. Nothing that the bytes say makes the library take more memory
// than they fill, and when memory ends nothing stays behind.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fuzz_target.h"
#include "random_world.h"
#include "trova_playlist.h"

using model::Collection;
using trova_mock::mock;

namespace {

const char* const kStatements[] = {"genpl", "genpl where mx_num > 7 or mx_text > 'r'",
                                   "genpl where mx_both >= 9 limit 9 results",
                                   "genpl where qx_genre = 3 or qx_era != 5 order mx_num > 100",
                                   "genpl where mx_text != 'x' limit 2 per mx_both, 20 results"};

// Attributes of the library, and three of an application, on lists of twelve elements.
std::vector<model::Attribute> start() {
  mock().reset();
  mock().lists.locales["trova_locale_playlist"] = "eng";
  for (const char* const list : {"genres", "artist_types", "eras", "origins", "moods", "tempos"}) {
    for (uint32_t id = 1; id <= 12; ++id) {
      const uint32_t parent = id <= 3 ? 0 : 1 + id % (id <= 7 ? 3 : 7);
      mock().lists.lists[std::string("trova_list_type_") + list].add(id, parent, id, id + 2);
    }
  }
  FUZZ_REQUIRE(trova_playlist_initialize(mock().manager()) == 0);
  std::vector<model::Attribute> registry = registered_attributes();
  const char* const customs[] = {"mx_num", "MX_Text", "mx_both"};
  for (int i = 0; i < 3; ++i) {
    g_behaviours[i] = Behaviour{customs[i]};
    const trova_playlist_attribute_provider provider = provider_of(i);
    FUZZ_REQUIRE(trova_playlist_register_attribute_provider(&provider) == 0);
    registry.emplace_back(g_behaviours[i]);
  }
  return registry;
}

// What the mock notes of each call.
void forget_notes() {
  mock().lines.clear();
  mock().errors.clear();
  mock().infos.clear();
  mock().trace.clear();
  mock().calls.clear();
  g_calls.clear();
}

void require_texts(trova_playlist_collection* library, const Collection& expected) {
  const char* text = nullptr;
  FUZZ_REQUIRE(trova_playlist_collection_get_name(library, &text) == 0 && expected.title == text);
  const std::vector<uint32_t> ids = expected.idents.ids();
  uint32_t count = 0;
  FUZZ_REQUIRE(trova_playlist_collection_ident_count(library, &count) == 0);
  FUZZ_REQUIRE(count == ids.size());
  for (uint32_t i = 0; i < count; ++i) {
    FUZZ_REQUIRE(trova_playlist_collection_ident_enum(library, i, &text) == 0);
    FUZZ_REQUIRE(expected.idents.get(ids[i]) == text);
  }
  FUZZ_REQUIRE(trova_playlist_collection_attributes_count(library, &count) == 0);
  FUZZ_REQUIRE(count == expected.attributes.size());
  for (uint32_t i = 0; i < count; ++i) {
    FUZZ_REQUIRE(trova_playlist_collection_attributes_enum(library, i, &text) == 0);
    FUZZ_REQUIRE(expected.attributes[i]->name == text);
  }
}

void require_bytes(trova_playlist_collection* library, const Collection& expected) {
  std::string written;
  for (const std::string& item : model::write(expected)) written += item;
  uint32_t size = 0;
  FUZZ_REQUIRE(trova_playlist_collection_serialize_size(library, &size) == 0);
  FUZZ_REQUIRE(size == model::bound(expected));
  std::string bytes(size, '?');
  FUZZ_REQUIRE(trova_playlist_collection_serialize(library, bytes.data(), &size) == 0);
  bytes.resize(size);
  FUZZ_REQUIRE(bytes == written);
}

void require_playlist(trova_playlist_collection* library, Collection* expected,
                      const char* statement) {
  trova_playlist_results* results = nullptr;
  g_calls.clear();
  const uint32_t code =
      trova_playlist_generate_playlist(nullptr, statement, library, nullptr, &results);
  const std::vector<std::string> calls = std::exchange(g_calls, {});
  const std::vector<std::string> idents = take_idents(results);
  try {
    FUZZ_REQUIRE(model::generate(statement, *expected, nullptr).allows(idents));
    FUZZ_REQUIRE(code == 0);
  } catch (const model::Failure& failure) {
    FUZZ_REQUIRE(code == model::map_error(failure.code));
  }
  FUZZ_REQUIRE(calls == g_calls);
}

// Removes some of what there is, and adds as much.
void change(trova_playlist_collection* library, Collection* expected, const std::string& bytes) {
  trova_mock::Object object("trova_ctx_track");
  object.value("_sdkmgr_val_list_genre_id", "3").value("value of mx_both", "#9");
  for (const uint32_t id : expected->idents.ids()) {
    const std::string ident = expected->idents.get(id);
    if (ident.empty() || (id + bytes.size()) % 3 != 0) continue;
    FUZZ_REQUIRE(trova_playlist_collection_ident_remove(library, ident.c_str()) ==
                 model::map_error(expected->remove(ident)));
    const std::string added = id % 2 == 0 ? ident : "new";
    FUZZ_REQUIRE(trova_playlist_collection_ident_add(library, added.c_str(), object.get()) == 0);
    expected->add(added, object.data());
  }
}

uint32_t read(const std::string& bytes, trova_playlist_collection** out_collection) {
  // A block of its own shows a read past its end.
  const std::unique_ptr<char[]> copy(new char[bytes.size() + (bytes.empty() ? 1 : 0)]);
  bytes.copy(copy.get(), bytes.size());
  return trova_playlist_collection_deserialize(copy.get(), static_cast<uint32_t>(bytes.size()),
                                               out_collection);
}

void read_with_less_memory(const std::string& bytes, uint32_t code, uint32_t n) {
  const size_t blocks = mock().blocks();
  trova_playlist_collection* library = nullptr;
  mock().fail_allocation(1 + n % 60);
  const uint32_t found = read(bytes, &library);
  const bool failed = mock().allocation_failed();
  mock().clear_faults();
  // Memory may end before the bytes are seen to be wrong.
  FUZZ_REQUIRE(found == code || (failed && found == PLERR_NoMemory));
  FUZZ_REQUIRE((found == 0) == (library != nullptr));
  FUZZ_REQUIRE(trova_playlist_collection_release(library) == 0);
  FUZZ_REQUIRE(mock().blocks() == blocks);
}

void require_warnings(const std::vector<std::string>& expected) {
  FUZZ_REQUIRE(mock().lines.size() == expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    // The mock keeps that much of a line.
    FUZZ_REQUIRE(mock().lines[i].text == expected[i].substr(0, 1023));
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<model::Attribute>& registry =
      *new std::vector<model::Attribute>(start());
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  forget_notes();
  const size_t blocks = mock().blocks();
  const size_t held = mock().bytes();
  mock().watch_peak();

  trova_playlist_collection* library = nullptr;
  const uint32_t code = read(bytes, &library);
  model::Loaded expected = model::read(bytes, registry);
  FUZZ_REQUIRE(code == expected.code);
  FUZZ_REQUIRE((library == nullptr) == (expected.collection == nullptr));
  FUZZ_REQUIRE(mock().peak_bytes() - held <= 16 * bytes.size() + 4096);
  require_warnings(expected.warnings);
  if (library != nullptr) {
    require_texts(library, *expected.collection);
    require_bytes(library, *expected.collection);
    const char* const statement = kStatements[bytes.size() % 5];
    require_playlist(library, expected.collection.get(), statement);
    change(library, expected.collection.get(), bytes);
    require_texts(library, *expected.collection);
    require_bytes(library, *expected.collection);
  }
  FUZZ_REQUIRE(trova_playlist_collection_release(library) == 0);
  FUZZ_REQUIRE(mock().blocks() == blocks);
  uint32_t n = 0;
  for (const char byte : bytes) n = n * 33 + static_cast<uint8_t>(byte);
  read_with_less_memory(bytes, code, n);
  return 0;
}
