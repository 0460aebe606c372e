// LibrarySession: one run of a command that reads a library and writes a playlist of it.
#ifndef TROVA_CLI_LIBRARY_SESSION_H
#define TROVA_CLI_LIBRARY_SESSION_H

#include <CLI/App.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "console.h"
#include "exit_codes.h"
#include "handles.h"
#include "library.h"
#include "locations.h"
#include "name_lists.h"
#include "playlist.h"
#include "store.h"
#include "store_options.h"
#include "writers.h"

namespace trova_cli {

// The options of every such command.
class LibraryOptions {
 public:
  // Adds the options. The values outlive them.
  void Define(CLI::App& options);

  // Nothing for a stored collection.
  const std::optional<std::string>& library() const noexcept { return library_; }
  // The stored collection; nothing stands for the default one.
  const std::optional<std::string>& collection() const noexcept { return collection_; }
  std::string store() const { return store_.Path(); }
  bool verbose() const noexcept { return verbose_; }
  // Whether the playlist is to be a table.
  bool wants_table() const noexcept;
  // Throws CommandError when the options contradict each other.
  WritePlaylist ChooseWriter() const;
  Locations MakeLocations() const;

 private:
  std::optional<std::string> library_;
  std::optional<std::string> collection_;
  StoreOptions store_;
  std::optional<std::string> output_;
  std::optional<std::string> relative_to_;
  bool zero_ = false;
  bool verbose_ = false;
};

class LibrarySession {
 public:
  // Starts the engine and opens the library or the store, but reads no track: that may take
  // minutes, so whatever can be wrong is found before it.
  // @param console  outlives the session
  LibrarySession(const LibraryOptions& options, Console& console);

  // Makes the collection ready and says what was left out.
  void Read() { library_->Read(lists_); }

  NameLists& lists() noexcept { return lists_; }
  Library& library() noexcept { return *library_; }
  // Null until Read().
  trova_playlist_collection* collection() const noexcept { return library_->collection(); }

  // The tracks of the results, in their order.
  // @param limit  the most that the playlist may hold
  Playlist MakePlaylist(const Results& results, std::size_t limit = SIZE_MAX);

  // Writes to stdout, in the form that the options name or another one, and says so when there is
  // nothing to write.
  ExitCode Write(Playlist& playlist) { return Write(playlist, write_); }
  ExitCode Write(Playlist& playlist, const std::function<void(Playlist&, Output&)>& write);

 private:
  Console& console_;
  WritePlaylist write_;
  Locations locations_;
  // One of the two runs the engine, which outlives what comes after it.
  std::optional<Engine> engine_;
  std::optional<Store> store_;
  NameLists lists_;
  std::unique_ptr<Library> library_;
};

}  // namespace trova_cli

#endif
