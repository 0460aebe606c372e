// TrackReader: a music library, read one track at a time.
#ifndef TROVA_CLI_TRACK_READER_H
#define TROVA_CLI_TRACK_READER_H

#include <functional>
#include <memory>
#include <string>

#include "read_log.h"
#include "track.h"

namespace trova_cli {

// Takes one track, which has an ident. The reader forgets it afterwards.
using TrackSink = std::function<void(Track& track)>;

class TrackReader {
 public:
  virtual ~TrackReader() = default;
  // Hands over every track. What cannot be read goes to the log; throws CommandError when nothing
  // can.
  virtual void Read(const TrackSink& sink) = 0;
};

// The reader for a folder of audio files, or for a file by its ending: .csv, .tsv, .jsonl, .ndjson.
// Throws CommandError for anything else.
// @param log  outlives the reader
std::unique_ptr<TrackReader> OpenLibrary(const std::string& path, ReadLog& log);

// The same for a file only.
std::unique_ptr<TrackReader> OpenTable(const std::string& path, ReadLog& log);

}  // namespace trova_cli

#endif
