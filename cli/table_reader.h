// TableReader: tracks from a CSV or TSV file with a header line.
#ifndef TROVA_CLI_TABLE_READER_H
#define TROVA_CLI_TABLE_READER_H

#include <optional>
#include <string>
#include <vector>

#include "byte_source.h"
#include "track_reader.h"

namespace trova_cli {

enum class TableForm {
  kCsv,  // RFC 4180: commas, quoted fields may hold commas, line breaks and doubled quotes
  kTsv,  // tabs; nothing is quoted, so a quote is a character like any other
};

// Splits a table into records.
class RecordReader {
 public:
  // @param source  outlives the reader
  RecordReader(ByteSource& source, TableForm form);

  // Reads one record; false at the end of the file.
  bool Next();

  const std::vector<std::string>& fields() const noexcept { return fields_; }
  // What is wrong with the record, or "".
  const std::string& fault() const noexcept { return fault_; }
  // The line that the record starts on.
  std::size_t line() const noexcept { return line_; }

 private:
  // Each reads to the end of a field and gives what ended it: a separator, a line feed, kEnd.
  int ReadField(std::string& field);
  int ReadPlain(std::string& field, int byte);
  int ReadQuoted(std::string& field);
  int ReadAfterQuote(int byte);
  void Append(std::string& field, int byte);

  ByteSource& source_;
  const int separator_;
  const bool quoting_;
  std::vector<std::string> fields_;
  std::string fault_;
  std::size_t line_ = 0;
  std::size_t size_ = 0;  // bytes of the record so far
};

class TableReader : public TrackReader {
 public:
  // Throws CommandError when the file cannot be opened.
  TableReader(const std::string& path, TableForm form, ReadLog& log);

  // Throws CommandError when the header names no column that tells tracks apart.
  void Read(const TrackSink& sink) override;

 private:
  void ReadHeader();
  void ReadRow(const TrackSink& sink);

  ByteSource source_;
  RecordReader records_;
  ReadLog& log_;
  std::vector<std::optional<Field>> columns_;
};

}  // namespace trova_cli

#endif
