// ReadLog: counts, and decides what is worth a line.
#include "read_log.h"

#include <fmt/format.h>

namespace trova_cli {
namespace {

constexpr std::size_t kLinesListed = 10;

std::string_view PluralEnd(std::size_t count) {
  return count == 1 ? "" : "s";
}

}  // namespace

void ReadLog::SkipFile(std::string_view path, std::string_view why) {
  ++files_;
  console_.Note(fmt::format("{}: {}; skipped", path, why));
}

void ReadLog::SkipLine(std::string_view path, std::size_t line, std::string_view why) {
  ++lines_;
  if (lines_ <= kLinesListed || console_.verbose()) {
    console_.Warn(fmt::format("{}:{}: {}; skipped", path, line, why));
  }
}

void ReadLog::Finish() {
  console_.EndProgress();
  if (files_ > 0) {
    console_.Warn(fmt::format("{} file{} could not be read and {} skipped{}", files_,
                              PluralEnd(files_), files_ == 1 ? "was" : "were",
                              console_.verbose() ? "" : " (-v lists them)"));
  }
  if (lines_ > kLinesListed && !console_.verbose()) {
    console_.Warn(fmt::format("{} lines were skipped (-v lists them)", lines_));
  }
  if (tracks_ > 0) console_.Note(fmt::format("{} track{} read", tracks_, PluralEnd(tracks_)));
}

void ReportLeftOut(std::size_t count, Console& console) {
  if (count == 0) return;
  console.Warn(fmt::format("{} track{} no genre, year or other value and can be in no playlist",
                           count, count == 1 ? " has" : "s have"));
}

}  // namespace trova_cli
