// The table for people: measured in one pass, written in a second.
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "terminal.h"
#include "text.h"
#include "writers.h"

namespace trova_cli {
namespace {

constexpr std::size_t kColumnCount = 6;
using Row = std::array<std::string, kColumnCount>;
using Widths = std::array<std::size_t, kColumnCount>;

constexpr std::size_t kRank = 0;
constexpr std::size_t kYear = 4;
constexpr std::string_view kGap = "  ";
// Columns are not made narrower than this, even if lines then break.
constexpr std::size_t kLeastWidth = 4;
// Off a terminal nothing is cut, and one endless title must not pad every row.
constexpr std::size_t kMostPadding = 60;

Row Header() {
  return {"#", "Title", "Artist", "Album", "Year", "Genre"};
}

Row RowOf(Playlist& playlist, std::size_t index) {
  const TrackView track = playlist.At(index);
  return {
      fmt::to_string(index + 1),
      Printable(track.title),
      Printable(track.artist),
      Printable(track.albums.empty() ? "" : track.albums.front()),
      track.year == 0 ? "" : fmt::to_string(track.year),
      Join(playlist.NamesOf(ListKind::kGenres, track.genres), ", "),
  };
}

void Measure(const Row& row, Widths& widths) {
  for (std::size_t i = 0; i < kColumnCount; ++i) widths[i] = std::max(widths[i], Columns(row[i]));
}

// Takes from the widest column until a line fits.
void Narrow(Widths& widths, std::size_t columns) {
  std::size_t total = kGap.size() * (kColumnCount - 1);
  for (const std::size_t width : widths) total += width;
  while (total > columns) {
    const auto widest = std::max_element(widths.begin() + 1, widths.end());
    if (*widest <= kLeastWidth) return;
    --*widest;
    --total;
  }
}

std::string Line(const Row& row, const Widths& widths, bool cut) {
  std::string line;
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    const std::string cell = cut ? FitStart(row[i], widths[i]) : row[i];
    const std::size_t used = Columns(cell);
    const std::string padding(widths[i] - std::min(widths[i], used), ' ');
    const bool right = i == kRank || i == kYear;
    if (i > 0) line += kGap;
    line += right ? padding + cell : cell + padding;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

void WriteTable(Playlist& playlist, Output& output) {
  if (playlist.size() == 0) return;
  const std::size_t columns = TerminalColumns(output.fd());
  const bool on_terminal = columns > 0;
  Widths widths{};
  Measure(Header(), widths);
  for (std::size_t i = 0; i < playlist.size(); ++i) Measure(RowOf(playlist, i), widths);
  for (std::size_t& width : widths) width = std::min(width, on_terminal ? columns : kMostPadding);
  if (on_terminal) Narrow(widths, columns);

  const std::string header = Line(Header(), widths, on_terminal);
  output.Write(WantsColour(output.fd()) ? fmt::format("\x1b[1m{}\x1b[0m\n", header)
                                        : header + '\n');
  for (std::size_t i = 0; i < playlist.size(); ++i) {
    output.Write(Line(RowOf(playlist, i), widths, on_terminal) + '\n');
  }
}

}  // namespace trova_cli
