// trova import: makes a stored collection of a table.
#include <fmt/format.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "commands.h"
#include "import.h"
#include "interrupt.h"
#include "output.h"
#include "read_log.h"
#include "store.h"
#include "store_options.h"
#include "text.h"

namespace trova_cli {
namespace {

struct ImportArguments {
  std::string file;
  std::string collection;
  StoreOptions store;
  bool dry_run = false;
  bool verbose = false;
};

ExitCode RunImport(const ImportArguments& arguments, Console& console) {
  console.set_verbose(arguments.verbose);
  const InterruptScope interrupts;
  ReadLog log(console);
  const std::unique_ptr<TrackReader> reader = OpenTable(arguments.file, log);
  Store store(arguments.store.Path(), arguments.dry_run ? StoreUse::kDryRun : StoreUse::kWrite,
              console);
  NameLists lists;
  NameMapper mapper(lists);
  Import import(arguments.collection, mapper);
  import.Read(*reader);
  log.Finish();
  mapper.ReportUnknown(console);
  if (!arguments.dry_run) import.StoreIn(store);
  ReportLeftOut(import.left_out(), console);
  Output output(STDOUT_FILENO);
  output.Write(fmt::format("{}: {}{} tracks\n", Printable(arguments.collection),
                           arguments.dry_run ? "would have " : "", import.tracks()));
  output.Flush();
  return kExitResults;
}

}  // namespace

Action DefineImport(CLI::App& options) {
  const auto values = std::make_shared<ImportArguments>();
  options.add_option("FILE", values->file, "A .csv, .tsv, .jsonl or .ndjson file")->required();
  DefineCollection(options, values->collection)->required();
  values->store.Define(options);
  options.add_flag("--dry-run", values->dry_run, "Read the file, but store nothing");
  options.add_flag("-v,--verbose", values->verbose, "Say what was skipped or not used");
  return [values](Console& console) { return RunImport(*values, console); };
}

}  // namespace trova_cli
