// trova generate: reads a library, runs a statement, writes the playlist.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "collection_builder.h"
#include "commands.h"
#include "error.h"
#include "handles.h"
#include "library_ident.h"
#include "seed_finder.h"
#include "statement_fault.h"
#include "statement_source.h"
#include "track_reader.h"
#include "writers.h"

namespace trova_cli {
namespace {

constexpr std::string_view kDefaultForm = "table";
constexpr std::string_view kPathsForm = "paths";

struct GenerateOptions {
  std::string library;
  std::optional<std::string> seed;
  std::optional<std::string> output;
  std::optional<std::string> relative_to;
  bool zero = false;
  bool verbose = false;
  StatementSource statement;
};

WritePlaylist WriterOf(const GenerateOptions& options) {
  if (options.zero) {
    if (options.output.value_or(std::string(kPathsForm)) == kPathsForm) return WritePathsZero;
    throw CommandError("-0 goes with --output paths only");
  }
  const std::string name = options.output.value_or(std::string(kDefaultForm));
  const auto writer = std::find_if(Writers().begin(), Writers().end(),
                                   [&](const Writer& row) { return row.name == name; });
  return writer->write;  // the options were checked against the table
}

void ReadLibrary(TrackReader& reader, ReadLog& log, CollectionBuilder& builder) {
  reader.Read([&](Track& track) { builder.Add(track); });
  log.Finish();
}

Results RunStatement(const ExpandedStatement& statement, trova_playlist_collection* collection,
                     trova_gdo* seed, NameLists& lists) {
  trova_playlist_results* results = nullptr;
  const std::uint32_t code = trova_playlist_generate_playlist(nullptr, statement.text().c_str(),
                                                              collection, seed, &results);
  if (code != 0) ThrowStatementFault(statement, code, lists);
  return Results(results);
}

// The tracks of the results, in their order. The library lists a track once for each of its values
// that matches; a playlist has it once, at its best place.
std::vector<std::uint32_t> OrderOf(const Results& results, const TrackStore& tracks,
                                   Console& console) {
  std::uint32_t count = 0;
  Check(trova_playlist_results_count(results.get(), &count), "count the results");
  std::vector<bool> listed(tracks.size());
  std::vector<std::uint32_t> order;
  for (std::uint32_t i = 0; i < count; ++i) {
    const char* ident = nullptr;
    Check(trova_playlist_results_enum(results.get(), i, &ident), "read the results");
    const std::uint32_t index = IndexOfIdent(ident);
    if (listed.at(index)) continue;
    listed[index] = true;
    order.push_back(index);
  }
  if (order.size() < count) {
    console.Note(fmt::format("{} of {} results repeat a track and are left out",
                             count - order.size(), count));
  }
  return order;
}

ExitCode Generate(const GenerateOptions& options, Console& console) {
  console.set_verbose(options.verbose);
  const WritePlaylist write = WriterOf(options);
  const Engine engine;
  NameLists lists;
  // A scan may take minutes, so whatever can be wrong is found before it.
  const ExpandedStatement statement = ExpandBraces(options.statement.Read(), lists);
  const bool needs_seed = CheckStatement(statement, lists);
  if (needs_seed && !options.seed) {
    ThrowStatementFault(statement, PLERR_StatementMismatch, lists);
  }
  if (options.seed && !needs_seed) console.Warn("the statement does not use the seed");
  Locations locations = options.relative_to ? Locations(*options.relative_to) : Locations();
  ReadLog log(console);
  const std::unique_ptr<TrackReader> reader = OpenLibrary(options.library, log);

  const Collection collection = MakeCollection();
  TrackStore tracks;
  NameMapper mapper(lists);
  CollectionBuilder builder(collection.get(), mapper, tracks);
  ReadLibrary(*reader, log, builder);
  mapper.ReportUnknown(console);
  builder.ReportLeftOut(console);

  DataObject seed;
  if (options.seed) seed = DescribeTrack(tracks.Get(FindSeed(tracks, *options.seed)));
  const Results results = RunStatement(statement, collection.get(), seed.get(), lists);
  Playlist playlist(tracks, lists, OrderOf(results, tracks, console), std::move(locations));
  Output output(STDOUT_FILENO);
  write(playlist, output);
  output.Flush();
  if (playlist.size() > 0) return kExitResults;
  console.Warn("no track matches");
  return kExitNone;
}

}  // namespace

Action DefineGenerate(CLI::App& options) {
  const auto values = std::make_shared<GenerateOptions>();
  std::vector<std::string> forms;
  for (const Writer& writer : Writers()) forms.emplace_back(writer.name);
  options
      .add_option("--library", values->library,
                  "Folder of audio files, or a .csv, .tsv, .jsonl or .ndjson file")
      ->required();
  options.add_option("--seed", values->seed, "Track that SEED stands for: ident, file or words");
  options.add_option("--output", values->output, "How to write the playlist; else as a table")
      ->check(CLI::IsMember(forms));
  options.add_flag("-0,--null", values->zero, "Paths, each ended by a zero byte");
  options.add_option("--relative-to", values->relative_to, "Folder that paths are relative to");
  options.add_flag("-v,--verbose", values->verbose, "Say what was skipped or not used");
  values->statement.Define(options);
  return [values](Console& console) { return Generate(*values, console); };
}

}  // namespace trova_cli
