// fuzz_json_lines: the input is a file of JSON objects, one a line.
//
// Every line that holds more than blanks is a track or is skipped. The tracks keep the rules of
// fuzz_file.h. A line does not depend on those around it.
#include <string>

#include "fuzz_file.h"
#include "json_lines_reader.h"
#include "text.h"

namespace {

FuzzTracks tracks_of(const std::string& lines) {
  return fuzz_read(lines, [&](const std::string& path, trova_cli::ReadLog& log) {
    return std::make_unique<trova_cli::JsonLinesReader>(path, log);
  });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const FuzzTracks whole = tracks_of(text);
  FUZZ_REQUIRE(!whole.refused);

  FuzzTracks by_line;
  size_t at = text.compare(0, 3, "\xef\xbb\xbf") == 0 ? 3 : 0;
  while (at < text.size()) {
    const size_t end = std::min(text.find('\n', at), text.size());
    // The blank line in front keeps a byte order mark from being one.
    const std::string line = text.substr(at, end - at);
    const FuzzTracks read = tracks_of("\n" + line);
    const bool blank = trova_cli::Trim(line).empty();
    FUZZ_REQUIRE(read.tracks.size() + read.skipped == (blank ? 0 : 1));
    by_line.tracks.insert(by_line.tracks.end(), read.tracks.begin(), read.tracks.end());
    by_line.skipped += read.skipped;
    at = end + 1;
  }
  fuzz_require_same(whole, by_line);
  FUZZ_REQUIRE(whole.skipped == by_line.skipped);
  return 0;
}
