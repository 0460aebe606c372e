// trova: playlists from a music library.
#include <unistd.h>

#include <csignal>

#include "commands.h"

int main(int argc, char** argv) {
  // A reader that goes away, as in "trova ... | head", is met as an error of write(2).
  std::signal(SIGPIPE, SIG_IGN);
  trova_cli::Console console(STDERR_FILENO);
  return trova_cli::RunCommandLine(argc, argv, console);
}
