// The handles of the playlist library and its manager, owned: each is released exactly once.
#ifndef TROVA_CLI_HANDLES_H
#define TROVA_CLI_HANDLES_H

#include <trova_manager.h>
#include <trova_playlist.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace trova_cli {

template <auto Release>
struct Releaser {
  template <typename Handle>
  void operator()(Handle* handle) const noexcept {
    static_cast<void>(Release(handle));
  }
};

using List = std::unique_ptr<trova_list, Releaser<trova_manager_list_release>>;
using DataObject = std::unique_ptr<trova_gdo, Releaser<trova_manager_gdo_release>>;
using Collection =
    std::unique_ptr<trova_playlist_collection, Releaser<trova_playlist_collection_release>>;
using User = std::unique_ptr<trova_user, Releaser<trova_manager_user_release>>;
using Results = std::unique_ptr<trova_playlist_results, Releaser<trova_playlist_results_release>>;

// Throws CommandError for a failure code; warnings pass. `what` completes "cannot ...".
void Check(std::uint32_t code, std::string_view what);

// The same for what may fail at the file of the stored collections: the manager says which file
// and why. True when the code is 0, false for a warning: not there.
bool CheckStorage(std::uint32_t code, std::string_view what);

// An empty collection with the attributes that are registered.
Collection MakeCollection(const std::string& name = "library");

// A data object of a context such as TROVA_CTX_TRACK.
DataObject MakeDataObject(const char* context);

// Whom the library generates for.
User MakeUser();

// The manager and the library, running. It outlives every handle.
class Engine {
 public:
  // @param storage  file of the stored collections, or null for none
  explicit Engine(const char* storage = nullptr);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
};

}  // namespace trova_cli

#endif
