// Stored collections: the storage functions of the library.
#include "stored_collections.h"

#include <fmt/format.h>

#include <algorithm>

#include "error.h"
#include "text.h"

namespace trova_cli {
namespace {

// Longer names come out cut.
constexpr std::size_t kNameRoom = 4096;

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<std::string> StoredNames() {
  std::uint32_t count = 0;
  CheckStorage(trova_playlist_storage_count_collections(&count), "list the collections");
  std::vector<std::string> names;
  std::vector<char> name(kNameRoom);
  for (std::uint32_t i = 0; i < count; ++i) {
    // Another process may have removed one.
    if (!CheckStorage(trova_playlist_storage_enum_collections(i, name.data(), kNameRoom),
                      "list the collections")) {
      break;
    }
    names.emplace_back(name.data());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool IsStored(const std::string& name) {
  return Contains(StoredNames(), name);
}

Collection LoadCollection(const std::string& name) {
  trova_playlist_collection* collection = nullptr;
  const std::uint32_t code = trova_playlist_storage_load_collection(name.c_str(), &collection);
  if (!CheckStorage(code, fmt::format("load the collection \"{}\"", name))) return nullptr;
  return Collection(collection);
}

Collection RequireCollection(const std::string& name) {
  Collection collection = LoadCollection(name);
  if (!collection) throw CommandError(fmt::format("there is no collection \"{}\"", name));
  return collection;
}

void StoreCollection(const Collection& collection) {
  CheckStorage(trova_playlist_storage_store_collection(collection.get()), "store the collection");
}

void RemoveStored(const std::string& name) {
  CheckStorage(trova_playlist_storage_remove_collection(name.c_str()), "remove the collection");
}

std::string ChooseCollection(const std::optional<std::string>& name, const std::string& store) {
  const std::vector<std::string> names = StoredNames();
  if (names.empty()) {
    throw CommandError(
        fmt::format("{} has no collection; make one with: trova scan FOLDER", store));
  }
  if (name && Contains(names, *name)) return *name;
  if (!name && Contains(names, kDefaultCollection)) return kDefaultCollection;
  if (!name && names.size() == 1) return names.front();
  std::string detail;
  for (const std::string& known : names) detail += fmt::format("  {}\n", Printable(known));
  throw CommandError(name ? fmt::format("there is no collection \"{}\"; there are:", *name)
                          : "there are several collections; choose one with --collection:",
                     detail);
}

}  // namespace trova_cli
