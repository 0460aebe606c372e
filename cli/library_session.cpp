// LibrarySession: from the options to a collection, from results to stdout.
#include "library_session.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "error.h"
#include "file_library.h"
#include "stored_library.h"

namespace trova_cli {
namespace {

constexpr std::string_view kDefaultForm = "table";
constexpr std::string_view kPathsForm = "paths";

// The library lists a track once for each of its values that matches; a playlist has it once, at
// its best place. An ident without text is one that was removed.
std::vector<std::uint32_t> OrderOf(const Results& results, Library& library, Console& console) {
  std::uint32_t count = 0;
  Check(trova_playlist_results_count(results.get(), &count), "count the results");
  std::vector<bool> listed;
  std::vector<std::uint32_t> order;
  std::uint32_t repeated = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    Check(trova_playlist_results_enum(results.get(), i, &ident), "read the results");
    if (*ident == '\0') continue;
    const std::uint32_t index = library.IndexOf(ident);
    if (listed.size() <= index) listed.resize(library.tracks().size());
    if (listed[index]) {
      ++repeated;
      continue;
    }
    listed[index] = true;
    order.push_back(index);
  }
  if (repeated > 0) {
    console.Note(fmt::format("{} of {} results repeat a track and are left out", repeated, count));
  }
  return order;
}

}  // namespace

void LibraryOptions::Define(CLI::App& options) {
  std::vector<std::string> forms;
  for (const Writer& writer : Writers()) forms.emplace_back(writer.name);
  CLI::Option* const library = options.add_option(
      "--library", library_, "Folder of audio files, or a .csv, .tsv, .jsonl or .ndjson file");
  options
      .add_option("--collection", collection_,
                  "Stored collection; without it and --library, the default one")
      ->excludes(library);
  store_.Define(options)->excludes(library);
  options.add_option("--output", output_, "How to write the playlist; else as a table")
      ->check(CLI::IsMember(forms));
  options.add_flag("-0,--null", zero_, "Paths, each ended by a zero byte");
  options.add_option("--relative-to", relative_to_, "Folder that paths are relative to");
  options.add_flag("-v,--verbose", verbose_, "Say what was skipped or not used");
}

bool LibraryOptions::wants_table() const noexcept {
  return !zero_ && (!output_ || *output_ == kDefaultForm);
}

WritePlaylist LibraryOptions::ChooseWriter() const {
  if (zero_) {
    if (output_.value_or(std::string(kPathsForm)) == kPathsForm) return WritePathsZero;
    throw CommandError("-0 goes with --output paths only");
  }
  const std::string name = output_.value_or(std::string(kDefaultForm));
  const auto writer = std::find_if(Writers().begin(), Writers().end(),
                                   [&](const Writer& row) { return row.name == name; });
  return writer->write;  // the options were checked against the table
}

Locations LibraryOptions::MakeLocations() const {
  return relative_to_ ? Locations(*relative_to_) : Locations();
}

LibrarySession::LibrarySession(const LibraryOptions& options, Console& console)
    : console_(console), write_(options.ChooseWriter()), locations_(options.MakeLocations()) {
  console_.set_verbose(options.verbose());
  if (options.library()) {
    engine_.emplace();
    library_ = std::make_unique<FileLibrary>(*options.library(), console_);
  } else {
    store_.emplace(options.store(), StoreUse::kRead, console_);
    library_ = std::make_unique<StoredLibrary>(options.collection(), *store_);
  }
}

Playlist LibrarySession::MakePlaylist(const Results& results, std::size_t limit) {
  std::vector<std::uint32_t> order = OrderOf(results, *library_, console_);
  order.resize(std::min(order.size(), limit));
  return Playlist(library_->tracks(), lists_, std::move(order), locations_);
}

ExitCode LibrarySession::Write(Playlist& playlist,
                               const std::function<void(Playlist&, Output&)>& write) {
  Output output(STDOUT_FILENO);
  write(playlist, output);
  output.Flush();
  if (playlist.size() > 0) return kExitResults;
  console_.Warn("no track matches");
  return kExitNone;
}

}  // namespace trova_cli
