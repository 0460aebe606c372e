// The exit codes of the command.
#ifndef TROVA_CLI_EXIT_CODES_H
#define TROVA_CLI_EXIT_CODES_H

namespace trova_cli {

enum ExitCode : int {
  kExitResults = 0,  // there is something on stdout, or the statement is right
  kExitNone = 1,     // nothing matches
  kExitError = 2,    // wrong arguments, a wrong statement, a library or a disk that fails
};

}  // namespace trova_cli

#endif
