// TableReader: records, the header that names their fields, and rows that are wrong.
#include "table_reader.h"

#include <fmt/format.h>

#include "error.h"

namespace trova_cli {
namespace {

// More fields than any table has; beyond them nothing is kept.
constexpr std::size_t kMaxFields = 4096;

bool IsBlank(const std::vector<std::string>& fields) {
  return fields.size() == 1 && fields.front().empty();
}

}  // namespace

RecordReader::RecordReader(ByteSource& source, TableForm form)
    : source_(source),
      separator_(form == TableForm::kCsv ? ',' : '\t'),
      quoting_(form == TableForm::kCsv) {}

bool RecordReader::Next() {
  fault_.clear();
  size_ = 0;
  line_ = source_.line();
  std::size_t count = 0;
  int end = separator_;
  while (end == separator_) {
    if (count == kMaxFields) {
      fault_ = "too many fields";
      --count;
    }
    if (count == fields_.size()) fields_.emplace_back();
    fields_[count].clear();
    end = ReadField(fields_[count++]);
  }
  fields_.resize(count);
  return end != ByteSource::kEnd || !IsBlank(fields_) || !fault_.empty();
}

int RecordReader::ReadField(std::string& field) {
  const int byte = source_.Get();
  return quoting_ && byte == '"' ? ReadQuoted(field) : ReadPlain(field, byte);
}

int RecordReader::ReadPlain(std::string& field, int byte) {
  while (byte != separator_ && byte != '\n' && byte != ByteSource::kEnd) {
    Append(field, byte);
    byte = source_.Get();
  }
  if (byte != separator_ && field.ends_with('\r')) field.pop_back();
  return byte;
}

int RecordReader::ReadQuoted(std::string& field) {
  for (;;) {
    int byte = source_.Get();
    if (byte == ByteSource::kEnd) {
      fault_ = "a quote that opens in this record never closes";
      return byte;
    }
    if (byte == '"') {
      byte = source_.Get();
      if (byte != '"') return ReadAfterQuote(byte);
    }
    Append(field, byte);
  }
}

int RecordReader::ReadAfterQuote(int byte) {
  if (byte == '\r') byte = source_.Get();
  if (byte == separator_ || byte == '\n' || byte == ByteSource::kEnd) return byte;
  fault_ = "text after a closing quote";
  while (byte != '\n' && byte != ByteSource::kEnd) byte = source_.Get();
  return byte;
}

void RecordReader::Append(std::string& field, int byte) {
  if (++size_ <= kMaxRecordSize) {
    field += static_cast<char>(byte);
  } else {
    fault_ = "a record that is too long";
  }
}

TableReader::TableReader(const std::string& path, TableForm form, ReadLog& log)
    : source_(path), records_(source_, form), log_(log) {}

void TableReader::Read(const TrackSink& sink) {
  ReadHeader();
  while (records_.Next()) {
    if (records_.fault().empty() && IsBlank(records_.fields())) continue;
    ReadRow(sink);
  }
}

void TableReader::ReadHeader() {
  if (!records_.Next()) throw CommandError(fmt::format("{}: the file is empty", source_.path()));
  bool names_tracks = false;
  for (const std::string& name : records_.fields()) {
    const std::optional<Field> field = FieldOfName(name);
    columns_.push_back(field);
    if (!field) log_.Note(fmt::format("{}: the column \"{}\" is not used", source_.path(), name));
    names_tracks |= field == Field::kIdent || field == Field::kPath || field == Field::kTitle;
  }
  if (!names_tracks || !records_.fault().empty()) {
    throw CommandError(
        fmt::format("{}:1: the header line names no column ident, path or title", source_.path()));
  }
}

void TableReader::ReadRow(const TrackSink& sink) {
  const std::vector<std::string>& fields = records_.fields();
  const auto skip = [&](std::string_view why) {
    log_.SkipLine(source_.path(), records_.line(), why);
  };
  if (!records_.fault().empty()) return skip(records_.fault());
  if (fields.size() > columns_.size()) {
    return skip(fmt::format("{} fields under {} columns", fields.size(), columns_.size()));
  }
  Track track;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (columns_[i]) SetField(track, *columns_[i], fields[i]);
  }
  if (!CompleteIdent(track)) return skip("no ident, path or title");
  log_.Advance();
  sink(track);
}

}  // namespace trova_cli
