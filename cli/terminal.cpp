// Terminal: asks the system what a stream is.
#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace trova_cli {
namespace {

constexpr std::size_t kUsualColumns = 80;

}  // namespace

bool IsTerminal(int fd) {
  return isatty(fd) == 1;
}

bool WantsColour(int fd) {
  const char* no_colour = std::getenv("NO_COLOR");
  const char* term = std::getenv("TERM");
  if (no_colour != nullptr && *no_colour != '\0') return false;
  if (term == nullptr || std::string_view(term) == "dumb") return false;
  return IsTerminal(fd);
}

std::size_t TerminalColumns(int fd) {
  if (!IsTerminal(fd)) return 0;
  winsize size{};
  if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kUsualColumns;
}

}  // namespace trova_cli
