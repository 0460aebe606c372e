// fuzz_csv: the input is a table, of commas when its first byte is even and of tabs else.
//
// Records are those of a reader that is written as plainly as possible, and written with every
// field in quotes they read the same. Tracks keep the rules of fuzz_file.h, and a table that says
// the same in quotes gives the same tracks.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "byte_source.h"
#include "fuzz_file.h"
#include "table_reader.h"

using trova_cli::RecordReader;
using trova_cli::TableForm;

namespace {

struct Record {
  std::vector<std::string> fields = {};
  bool broken = false;
};

std::vector<Record> records_of(const std::string& table, TableForm form) {
  const FuzzFile file(table);
  trova_cli::ByteSource source(file.path());
  RecordReader reader(source, form);
  std::vector<Record> records;
  size_t line = 0;
  while (reader.Next()) {
    FUZZ_REQUIRE(reader.line() > line);
    line = reader.line();
    FUZZ_REQUIRE(!reader.fields().empty());
    records.push_back({reader.fields(), !reader.fault().empty()});
  }
  return records;
}

// The same once more: what ends a field is looked for, not met.
class PlainReader {
 public:
  PlainReader(const std::string& table, bool quotes)
      : table_(table), quotes_(quotes), separator_(quotes ? ',' : '\t') {
    if (table_.compare(0, 3, "\xef\xbb\xbf") == 0) at_ = 3;
  }

  std::vector<Record> read() {
    std::vector<Record> records;
    while (at_ < table_.size()) records.push_back(read_record());
    // An empty one without a line end is the end of the file.
    if (!records.empty() && table_.back() != '\n' && !records.back().broken &&
        records.back().fields == std::vector<std::string>{""}) {
      records.pop_back();
    }
    return records;
  }

 private:
  Record read_record() {
    Record record;
    bool more = true;
    while (more) {
      record.fields.emplace_back();
      const bool quoted = quotes_ && at_ < table_.size() && table_[at_] == '"';
      more = quoted ? read_quoted(&record) : read_plain(&record.fields.back());
    }
    return record;
  }

  // Whether another field follows.
  bool end_field() {
    const bool more = at_ < table_.size() && table_[at_] == separator_;
    if (at_ < table_.size()) ++at_;
    return more;
  }

  bool read_plain(std::string* field) {
    const std::string ends = {separator_, '\n'};
    const size_t end = std::min(table_.find_first_of(ends, at_), table_.size());
    *field = table_.substr(at_, end - at_);
    at_ = end;
    const bool more = end_field();
    if (!more && !field->empty() && field->back() == '\r') field->pop_back();
    return more;
  }

  bool read_quoted(Record* record) {
    std::string& field = record->fields.back();
    for (++at_;; at_ += 2) {
      const size_t quote = std::min(table_.find('"', at_), table_.size());
      field += table_.substr(at_, quote - at_);
      at_ = quote;
      if (at_ == table_.size()) {
        record->broken = true;
        return false;
      }
      if (at_ + 1 >= table_.size() || table_[at_ + 1] != '"') break;
      field += '"';
    }
    ++at_;
    if (at_ < table_.size() && table_[at_] == '\r') ++at_;
    if (at_ == table_.size() || table_[at_] == separator_ || table_[at_] == '\n') {
      return end_field();
    }
    record->broken = true;
    at_ = std::min(table_.find('\n', at_), table_.size());
    return end_field();
  }

  const std::string& table_;
  bool quotes_;
  char separator_;
  size_t at_ = 0;
};

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

bool same(const std::vector<Record>& a, const std::vector<Record>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i].broken != b[i].broken) return false;
    if (!a[i].broken && a[i].fields != b[i].fields) return false;
  }
  return true;
}

FuzzTracks tracks_of(const std::string& table, TableForm form) {
  return fuzz_read(table, [&](const std::string& path, trova_cli::ReadLog& log) {
    return std::make_unique<trova_cli::TableReader>(path, form, log);
  });
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzBytes bytes(data, size);
  const TableForm form = bytes.byte() % 2 == 0 ? TableForm::kCsv : TableForm::kTsv;
  const std::string table = bytes.rest();
  std::vector<Record> records = records_of(table, form);
  FUZZ_REQUIRE(same(records, PlainReader(table, form == TableForm::kCsv).read()));

  const FuzzTracks tracks = tracks_of(table, form);
  FUZZ_REQUIRE(tracks.tracks.size() + tracks.skipped <= records.size());
  // A broken record is left out either way, but for a header.
  if (records.empty() || records.front().broken) return 0;
  std::erase_if(records, [](const Record& record) { return record.broken; });
  const std::string again = quoted(records);
  FUZZ_REQUIRE(same(records, records_of(again, TableForm::kCsv)));
  fuzz_require_same(tracks, tracks_of(again, TableForm::kCsv));
  return 0;
}
