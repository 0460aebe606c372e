// The commands of trova: one row each.
#ifndef TROVA_CLI_COMMANDS_H
#define TROVA_CLI_COMMANDS_H

#include <CLI/App.hpp>
#include <functional>

#include "console.h"
#include "exit_codes.h"

namespace trova_cli {

// Runs a command whose options were read. Throws CommandError.
using Action = std::function<ExitCode(Console& console)>;

struct Command {
  const char* name;
  const char* summary;
  // Adds the command's options to `options` and gives the action that will read them.
  Action (*define)(CLI::App& options);
};

Action DefineCheck(CLI::App& options);
Action DefineCollections(CLI::App& options);
Action DefineGenerate(CLI::App& options);
Action DefineImport(CLI::App& options);
Action DefineLike(CLI::App& options);
Action DefineLists(CLI::App& options);
Action DefineScan(CLI::App& options);
Action DefineShow(CLI::App& options);

// Runs the command line; everything but the result goes to the console.
ExitCode RunCommandLine(int argc, const char* const* argv, Console& console);

}  // namespace trova_cli

#endif
