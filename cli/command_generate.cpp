// trova generate: reads a library, runs a statement, writes the playlist.
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "handles.h"
#include "library_session.h"
#include "seed_finder.h"
#include "statement_fault.h"
#include "statement_hint.h"
#include "statement_source.h"
#include "track_description.h"

namespace trova_cli {
namespace {

struct GenerateOptions {
  LibraryOptions library;
  std::optional<std::string> seed;
  StatementSource statement;
};

Results RunStatement(const ExpandedStatement& statement, trova_playlist_collection* collection,
                     trova_gdo* seed, NameLists& lists) {
  trova_playlist_results* results = nullptr;
  const std::uint32_t code = trova_playlist_generate_playlist(nullptr, statement.text().c_str(),
                                                              collection, seed, &results);
  if (code != 0) ThrowStatementFault(statement, code, lists);
  return Results(results);
}

// Throws CommandError when the statement cannot run with the options.
ExpandedStatement ReadStatement(const GenerateOptions& options, NameLists& lists,
                                Console& console) {
  ExpandedStatement statement = ExpandBraces(options.statement.Read(), lists);
  const bool needs_seed = CheckStatement(statement, lists);
  if (needs_seed && !options.seed) {
    ThrowStatementFault(statement, PLERR_StatementMismatch, lists);
  }
  if (options.seed && !needs_seed) console.Warn("the statement does not use the seed");
  return statement;
}

ExitCode Generate(const GenerateOptions& options, Console& console) {
  LibrarySession session(options.library, console);
  const ExpandedStatement statement = ReadStatement(options, session.lists(), console);
  session.Read();
  Library& library = session.library();
  DataObject seed;
  if (options.seed) {
    const std::uint32_t index = FindSeed(library, *options.seed);
    seed = DescribeTrack(library.tracks().Get(index));
  }
  const Results results =
      RunStatement(statement, session.collection(), seed.get(), session.lists());
  Playlist playlist = session.MakePlaylist(results);
  const ExitCode code = session.Write(playlist);
  if (code == kExitNone) {
    if (const auto hint = HintForNoMatch(statement.original())) console.Warn(*hint);
  }
  return code;
}

}  // namespace

Action DefineGenerate(CLI::App& options) {
  const auto values = std::make_shared<GenerateOptions>();
  values->library.Define(options);
  options.add_option("--seed", values->seed, "Track that SEED stands for: ident, file or words");
  values->statement.Define(options);
  return [values](Console& console) { return Generate(*values, console); };
}

}  // namespace trova_cli
