// FolderReader: tracks from the audio files below a folder.
#ifndef TROVA_CLI_FOLDER_READER_H
#define TROVA_CLI_FOLDER_READER_H

#include <sys/types.h>

#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "track_reader.h"

namespace trova_cli {

// Reads in the order of the names, folder by folder. Hidden files and folders are passed over.
// Links are followed, but no folder is entered twice.
class FolderReader : public TrackReader {
 public:
  FolderReader(std::string path, ReadLog& log);

  // Throws CommandError when the folder itself cannot be read.
  void Read(const TrackSink& sink) override;

 private:
  // Puts what a folder holds on the stack.
  std::error_code Enter(const std::string& path);
  void ReadFile(const std::string& path, const TrackSink& sink);
  bool IsNew(const std::string& path);

  std::string path_;
  ReadLog& log_;
  std::vector<std::string> pending_;  // the next one is the last
  std::set<std::pair<dev_t, ino_t>> entered_;
};

}  // namespace trova_cli

#endif
