// fuzz_library_file: the input is a library of the command; its first byte chooses the format.
//
// Every track has an ident and no more values than it may have, and no record becomes two tracks. A
// CSV or TSV file gives the same records and tracks once each field is written in quotes.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "byte_source.h"
#include "error.h"
#include "fuzz_target.h"
#include "json_lines_reader.h"
#include "table_reader.h"

using trova_cli::TableForm;
using trova_cli::Track;

namespace {

// A file in memory. Readers open it by its path.
class File {
 public:
  explicit File(const std::string& bytes) : fd_(memfd_create("input", MFD_CLOEXEC)) {
    FUZZ_REQUIRE(write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  }
  ~File() { close(fd_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

struct Record {
  std::vector<std::string> fields;
  bool broken;
  bool operator==(const Record&) const = default;
};

std::vector<Record> records_of(const std::string& table, TableForm form) {
  const File file(table);
  trova_cli::ByteSource source(file.path());
  trova_cli::RecordReader reader(source, form);
  std::vector<Record> records;
  for (size_t line = 0; reader.Next(); line = reader.line()) {
    FUZZ_REQUIRE(reader.line() > line);
    FUZZ_REQUIRE(!reader.fields().empty());
    records.push_back({reader.fields(), !reader.fault().empty()});
  }
  return records;
}

std::string quoted(const std::vector<Record>& records) {
  std::string table;
  for (const Record& record : records) {
    for (size_t i = 0; i < record.fields.size(); ++i) {
      table += i == 0 ? "\"" : ",\"";
      for (const char c : record.fields[i]) table += c == '"' ? "\"\"" : std::string(1, c);
      table += '"';
    }
    table += '\n';
  }
  return table;
}

auto values_of(const Track& track) {
  return std::tie(track.ident, track.path, track.title, track.artist, track.album_artist,
                  track.albums, track.genres, track.moods, track.origin, track.artist_type,
                  track.year, track.bpm, track.seconds);
}

// Reads a library of that many records at most; one that is refused as a whole has no tracks.
template <class Reader, class... Form>
std::vector<Track> tracks_of(const std::string& bytes, size_t most, Form... form) {
  static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const File file(bytes);
  trova_cli::Console console(nowhere, true);
  trova_cli::ReadLog log(console);
  std::vector<Track> tracks;
  try {
    Reader(file.path(), form..., log).Read([&](Track& track) {
      FUZZ_REQUIRE(!track.ident.empty());
      for (const auto* values : {&track.albums, &track.genres, &track.moods}) {
        FUZZ_REQUIRE(values->size() <= trova_cli::kMaxValues);
      }
      tracks.push_back(track);
    });
  } catch (const trova_cli::CommandError& error) {
    FUZZ_REQUIRE(*error.what() != '\0' && tracks.empty());
  }
  FUZZ_REQUIRE(tracks.size() + log.skipped() <= most);
  log.Finish();
  return tracks;
}

void require_same_in_quotes(const std::string& table, TableForm form) {
  std::vector<Record> records = records_of(table, form);
  const auto tracks = tracks_of<trova_cli::TableReader>(table, records.size(), form);
  // A broken record is left out either way, but for a header.
  if (records.empty() || records.front().broken) return;
  std::erase_if(records, [](const Record& record) { return record.broken; });
  const std::string again = quoted(records);
  FUZZ_REQUIRE(records_of(again, TableForm::kCsv) == records);
  const auto same =
      tracks_of<trova_cli::TableReader>(again, records.size(), TableForm(TableForm::kCsv));
  FUZZ_REQUIRE(
      std::equal(tracks.begin(), tracks.end(), same.begin(), same.end(),
                 [](const Track& a, const Track& b) { return values_of(a) == values_of(b); }));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzBytes bytes(data, size);
  const uint32_t format = bytes.below(3);
  const std::string text = bytes.rest();
  if (format == 2) {
    const auto ends = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    tracks_of<trova_cli::JsonLinesReader>(text, ends + 1);
  } else {
    require_same_in_quotes(text, format == 0 ? TableForm::kCsv : TableForm::kTsv);
  }
  return 0;
}
