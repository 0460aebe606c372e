// Commands: the table, and what all of them share.
#include "commands.h"

#include <fmt/format.h>
#include <trova_manager.h>
#include <trova_playlist.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <exception>
#include <iterator>
#include <new>
#include <string>

#include "error.h"
#include "output.h"

namespace trova_cli {
namespace {

// Sorted by name: the help shows them in this order.
constexpr Command kCommands[] = {
    {"check", "Check a statement", DefineCheck},
    {"collections", "Show, rename, remove, export and import stored collections",
     DefineCollections},
    {"generate", "Make a playlist by a statement", DefineGenerate},
    {"import", "Store a collection made of a table", DefineImport},
    {"like", "Make a playlist of what is like a track", DefineLike},
    {"lists", "Show the lists of genres, eras and so on", DefineLists},
    {"scan", "Store a collection made of a folder, or bring it up to date", DefineScan},
    {"show", "Show what a stored collection holds of a track", DefineShow},
};

std::string Version() {
  return fmt::format("trova {} ({})\nmanager {}", trova_playlist_get_version(),
                     trova_playlist_get_build_date(), trova_manager_get_version());
}

// "check, generate or lists"
std::string Names() {
  std::string names = std::begin(kCommands)->name;
  for (const Command* row = std::begin(kCommands) + 1; row != std::end(kCommands); ++row) {
    names += fmt::format("{}{}", row + 1 == std::end(kCommands) ? " or " : ", ", row->name);
  }
  return names;
}

ExitCode Print(const std::string& text) {
  Output output(STDOUT_FILENO);
  output.Write(text);
  output.Flush();
  return kExitResults;
}

ExitCode ParseAndRun(int argc, const char* const* argv, Console& console) {
  CLI::App app("Playlists from a music library, by statement.", "trova");
  app.set_version_flag("--version", Version());
  app.footer("Exit codes: 0 results, 1 none, 2 error.");
  Action action;
  for (const Command& command : kCommands) {
    CLI::App* options = app.add_subcommand(command.name, command.summary);
    const Action run = command.define(*options);
    options->final_callback([&action, run] { action = run; });
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& version) {
    return Print(fmt::format("{}\n", version.what()));
  } catch (const CLI::CallForHelp&) {
    return Print(app.help());
  } catch (const CLI::CallForAllHelp&) {
    return Print(app.help());
  } catch (const CLI::ParseError& error) {
    throw CommandError(fmt::format("{} (see --help)", error.what()));
  }
  if (!action) throw CommandError(fmt::format("say what to do: {} (see --help)", Names()));
  return action(console);
}

}  // namespace

ExitCode RunCommandLine(int argc, const char* const* argv, Console& console) {
  try {
    return ParseAndRun(argc, argv, console);
  } catch (const CommandError& error) {
    console.Error(error.what());
    console.Detail(error.detail());
  } catch (const std::bad_alloc&) {
    console.Error("out of memory");
  } catch (const std::exception& error) {
    console.Error(error.what());
  }
  return kExitError;
}

}  // namespace trova_cli
