// Handles: how they come to be, and what a failure code reads like.
#include "handles.h"

#include <fmt/format.h>

#include "error.h"

namespace trova_cli {

void Check(std::uint32_t code, std::string_view what) {
  if (!TROVA_PLAYLIST_FAILED(code)) return;
  throw CommandError(
      fmt::format("cannot {}: {} (0x{:08x})", what, trova_manager_error_text(code), code));
}

bool CheckStorage(std::uint32_t code, std::string_view what) {
  if (!TROVA_PLAYLIST_FAILED(code)) return code == 0;
  const char* text = "";
  std::uint32_t reason = 0;
  static_cast<void>(trova_manager_last_error(&reason, &text));
  if (reason == TROVA_MANAGER_STORE_BUSY) {
    throw CommandError(
        fmt::format("cannot {}: another process holds the file; please try again", what));
  }
  if (*text == '\0') Check(code, what);
  throw CommandError(fmt::format("cannot {}: {}", what, text));
}

Collection MakeCollection(const std::string& name) {
  trova_playlist_collection* collection = nullptr;
  Check(trova_playlist_collection_create(name.c_str(), &collection), "create a collection");
  return Collection(collection);
}

DataObject MakeDataObject(const char* context) {
  trova_gdo* object = nullptr;
  Check(trova_manager_gdo_create(context, &object), "create a data object");
  return DataObject(object);
}

User MakeUser() {
  trova_user* user = nullptr;
  Check(trova_manager_user_create("trova", &user), "create a user");
  return User(user);
}

Engine::Engine(const char* storage) {
  trova_manager_options options{};
  options.size = sizeof options;
  options.storage_path = storage;
  ManagerHandle* manager = nullptr;
  CheckStorage(trova_manager_start(&options, &manager), "start the manager");
  const std::uint32_t code = trova_playlist_initialize(manager);
  if (!TROVA_PLAYLIST_FAILED(code)) return;
  static_cast<void>(trova_manager_stop());
  Check(code, "start the playlist library");
}

Engine::~Engine() {
  static_cast<void>(trova_playlist_shutdown());
  static_cast<void>(trova_manager_stop());
}

}  // namespace trova_cli
