// Confirmation: the question goes to stderr, the answer comes from stdin.
#include "confirmation.h"

#include <fmt/format.h>
#include <unistd.h>

#include <iostream>

#include "error.h"
#include "output.h"
#include "terminal.h"
#include "text.h"

namespace trova_cli {

void Confirm(const std::string& question, bool yes) {
  if (yes) return;
  if (!IsTerminal(STDIN_FILENO) || !IsTerminal(STDERR_FILENO)) {
    throw CommandError(fmt::format("{} Say --yes if so; nothing was changed", question));
  }
  Output terminal(STDERR_FILENO);
  terminal.Write(fmt::format("{} [y/N] ", Printable(question)));
  terminal.Flush();
  std::string answer;
  std::getline(std::cin, answer);
  answer = LowerAscii(Trim(answer));
  if (answer != "y" && answer != "yes") throw CommandError("nothing was changed");
}

}  // namespace trova_cli
