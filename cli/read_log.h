// ReadLog: what a reader could not take, and how far it is.
#ifndef TROVA_CLI_READ_LOG_H
#define TROVA_CLI_READ_LOG_H

#include <cstddef>
#include <string_view>

#include "console.h"

namespace trova_cli {

class ReadLog {
 public:
  // @param console  outlives the log
  explicit ReadLog(Console& console) : console_(console) {}

  // A file or folder that cannot be read. Counted; listed with -v.
  void SkipFile(std::string_view path, std::string_view why);
  // A line that is not what its format asks for. Counted; the first few are always listed.
  void SkipLine(std::string_view path, std::size_t line, std::string_view why);
  void Note(std::string_view text) { console_.Note(text); }
  // One more track was read.
  void Advance() { console_.Progress(++tracks_); }

  // Says how much was skipped, if anything was.
  void Finish();

  std::size_t tracks() const noexcept { return tracks_; }
  std::size_t skipped() const noexcept { return files_ + lines_; }

 private:
  Console& console_;
  std::size_t tracks_ = 0;
  std::size_t files_ = 0;
  std::size_t lines_ = 0;
};

// Says how many tracks a collection left out, because they carry nothing that an attribute reads.
void ReportLeftOut(std::size_t count, Console& console);

}  // namespace trova_cli

#endif
