// The table for people: measured in one pass, written in a second.
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "terminal.h"
#include "text.h"
#include "writers.h"

namespace trova_cli {
namespace {

constexpr std::size_t kColumnCount = 8;
using Row = std::array<std::string, kColumnCount>;
using Widths = std::array<std::size_t, kColumnCount>;

constexpr std::size_t kRank = 0;
constexpr std::size_t kYear = 4;
constexpr std::size_t kMood = 6;
constexpr std::size_t kTempo = 7;
constexpr std::string_view kGap = "  ";
// Rather than make a column narrower than this, a line does without moods and tempo.
constexpr std::size_t kReadableWidth = 10;
// Columns are not made narrower than this, even if lines then break.
constexpr std::size_t kLeastWidth = 4;
// Off a terminal nothing is cut, and one endless title must not pad every row.
constexpr std::size_t kMostPadding = 60;

Row Header() {
  return {"#", "Title", "Artist", "Album", "Year", "Genre", "Mood", "Tempo"};
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
      Join(playlist.NamesOf(ListKind::kMoods, track.moods), ", "),
      track.bpm == 0 ? "" : fmt::to_string(track.bpm),
  };
}

void Measure(const Row& row, Widths& widths) {
  for (std::size_t i = 0; i < kColumnCount; ++i) widths[i] = std::max(widths[i], Columns(row[i]));
}

// A column of width 0 is not shown and has no gap.
std::size_t LineWidth(const Widths& widths) {
  std::size_t total = 0;
  for (const std::size_t width : widths) total += width == 0 ? 0 : width + kGap.size();
  return total - kGap.size();
}

// Takes from the moods, then from the widest column, until a line fits. False when it does not fit
// with columns of the least width.
bool Shrink(Widths& widths, std::size_t columns, std::size_t least) {
  for (std::size_t total = LineWidth(widths); total > columns; --total) {
    const auto widest =
        widths[kMood] > least ? &widths[kMood] : std::max_element(widths.begin() + 1, widths.end());
    if (*widest <= least) return false;
    --*widest;
  }
  return true;
}

void Narrow(Widths& widths, std::size_t columns) {
  for (const std::size_t dispensable : {kMood, kTempo}) {
    Widths narrowed = widths;
    if (Shrink(narrowed, columns, kReadableWidth)) {
      widths = narrowed;
      return;
    }
    widths[dispensable] = 0;
  }
  Shrink(widths, columns, kLeastWidth);
}

std::string Line(const Row& row, const Widths& widths, bool cut) {
  std::string line;
  for (std::size_t i = 0; i < kColumnCount; ++i) {
    if (widths[i] == 0) continue;
    const std::string cell = cut ? FitStart(row[i], widths[i]) : row[i];
    const std::size_t used = Columns(cell);
    const std::string padding(widths[i] - std::min(widths[i], used), ' ');
    const bool right = i == kRank || i == kYear || i == kTempo;
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
