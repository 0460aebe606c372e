// JsonLinesReader: tracks from a file with one JSON object per line.
#ifndef TROVA_CLI_JSON_LINES_READER_H
#define TROVA_CLI_JSON_LINES_READER_H

#include <set>
#include <string>

#include "byte_source.h"
#include "track_reader.h"

namespace trova_cli {

class JsonLinesReader : public TrackReader {
 public:
  // Throws CommandError when the file cannot be opened.
  JsonLinesReader(const std::string& path, ReadLog& log);

  void Read(const TrackSink& sink) override;

 private:
  // False at the end of the file. A line that is too long arrives cut, and `too_long` says so.
  bool NextLine(bool& too_long);
  // What is wrong with the line, or "".
  std::string ReadTrack(Track& track);
  void NoteUnused(const std::string& key);

  ByteSource source_;
  ReadLog& log_;
  std::string line_;
  std::set<std::string, std::less<>> unused_keys_;
};

}  // namespace trova_cli

#endif
