// FolderReader: tracks from the audio files below a folder.
#ifndef TROVA_CLI_FOLDER_READER_H
#define TROVA_CLI_FOLDER_READER_H

#include <string>

#include "folder_walk.h"
#include "track_reader.h"

namespace trova_cli {

// Reads in the order of a FolderWalk.
class FolderReader : public TrackReader {
 public:
  FolderReader(std::string path, ReadLog& log) : walk_(std::move(path)), log_(log) {}

  // Throws CommandError when the folder itself cannot be read.
  void Read(const TrackSink& sink) override;

 private:
  void ReadFile(const std::string& path, const TrackSink& sink);

  FolderWalk walk_;
  ReadLog& log_;
};

}  // namespace trova_cli

#endif
