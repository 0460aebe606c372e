// trova scan: makes or refreshes a stored collection of a folder of audio files.
#include <fmt/format.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "commands.h"
#include "error.h"
#include "interrupt.h"
#include "output.h"
#include "scan.h"
#include "store.h"
#include "store_options.h"
#include "stored_collections.h"
#include "text.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

struct ScanArguments {
  std::string folder;
  std::string collection = kDefaultCollection;
  StoreOptions store;
  bool dry_run = false;
  bool yes = false;
  bool verbose = false;
};

// As it really lies, so that each file has one name whichever way a scan came to it.
std::string RealFolder(const std::string& folder) {
  std::error_code error;
  const fs::path real = fs::canonical(folder, error);
  if (!error && !fs::is_directory(real)) error = std::make_error_code(std::errc::not_a_directory);
  if (error) throw CommandError(fmt::format("{}: {}", folder, error.message()));
  return real.native();
}

// "Music: 12 tracks; 3 added, 1 changed, 0 removed; 4 files read, 8 as before"
void Report(const ScanOptions& options, const ScanCounts& counts, std::size_t tracks) {
  Output output(STDOUT_FILENO);
  output.Write(fmt::format("{}: {} track{}; ", Printable(options.collection), tracks,
                           tracks == 1 ? "" : "s"));
  if (options.dry_run) {
    output.Write(fmt::format("would read {} new and {} changed files and remove {}", counts.added,
                             counts.changed, counts.removed));
  } else {
    output.Write(fmt::format("{} added, {} changed, {} removed; {} files read", counts.added,
                             counts.changed, counts.removed, counts.opened));
  }
  output.Write(fmt::format(", {} as before\n", counts.unchanged));
  output.Flush();
}

ExitCode RunScan(const ScanArguments& arguments, Console& console) {
  console.set_verbose(arguments.verbose);
  const InterruptScope interrupts;
  const ScanOptions options{.folder = RealFolder(arguments.folder),
                            .collection = arguments.collection,
                            .dry_run = arguments.dry_run,
                            .yes = arguments.yes};
  Store store(arguments.store.Path(), arguments.dry_run ? StoreUse::kDryRun : StoreUse::kWrite,
              console);
  Store::Locked locked{store.catalogue().Find(options.collection).value_or(0), nullptr};
  if (!arguments.dry_run) locked = store.Lock(options.collection);
  NameLists lists;
  Scan scan(options, store.catalogue(), locked.number, lists, console);
  const ScanCounts counts = scan.Run();
  Report(options, counts, scan.tracks());
  return scan.tracks() > 0 || arguments.dry_run ? kExitResults : kExitNone;
}

}  // namespace

Action DefineScan(CLI::App& options) {
  const auto values = std::make_shared<ScanArguments>();
  options.add_option("FOLDER", values->folder, "Folder of audio files")->required();
  DefineCollection(options, values->collection)->capture_default_str();
  values->store.Define(options);
  options.add_flag("--dry-run", values->dry_run, "Say what would be done, and do nothing");
  options.add_flag("--yes", values->yes, "A folder that is empty now takes its tracks along");
  options.add_flag("-v,--verbose", values->verbose, "List what cannot be read");
  return [values](Console& console) { return RunScan(*values, console); };
}

}  // namespace trova_cli
