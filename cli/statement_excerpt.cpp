// Statement excerpt: the caret counts terminal columns, not bytes.
#include "statement_excerpt.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "terminal.h"
#include "text.h"

namespace trova_cli {
namespace {

// Wide enough for any statement typed by hand, where no terminal says otherwise.
constexpr std::size_t kColumnsOffTerminal = 400;
constexpr std::size_t kMinColumns = 20;
constexpr std::string_view kIndent = "  ";

// How much of a line can matter: no character takes more than four bytes per column shown.
constexpr std::size_t kBytesPerColumn = 4;

bool IsTail(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

}  // namespace

std::string StatementExcerpt(std::string_view statement, std::size_t place) {
  place = std::min(place, statement.size());
  const std::size_t before = place == 0 ? std::string_view::npos : statement.rfind('\n', place - 1);
  const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
  const std::size_t end = std::min(statement.find('\n', place), statement.size());

  std::string label(kIndent);
  if (statement.find('\n') != std::string_view::npos) {
    const auto line =
        std::count(statement.begin(), statement.begin() + static_cast<long>(begin), '\n');
    label += fmt::format("{}: ", line + 1);
  }
  std::size_t columns = TerminalColumns(STDERR_FILENO);
  if (columns == 0) columns = kColumnsOffTerminal;
  columns = std::max(columns, kMinColumns + label.size()) - label.size();

  const std::size_t room = columns * kBytesPerColumn;
  std::size_t left = place - begin > room ? place - room : begin;
  while (left > begin && left < place && IsTail(statement[left])) ++left;
  const std::string shown_left =
      FitEnd(Printable(statement.substr(left, place - left)), columns * 2 / 3);
  const std::size_t caret = Columns(shown_left);
  const std::string shown_right =
      FitStart(Printable(statement.substr(place, std::min(end - place, room))), columns - caret);
  return fmt::format("{}{}{}\n{:{}}^\n", label, shown_left, shown_right, "", label.size() + caret);
}

}  // namespace trova_cli
