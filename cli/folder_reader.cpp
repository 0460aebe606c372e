// FolderReader: opens what the walk finds.
#include "folder_reader.h"

#include <exception>

#include "tag_file.h"

namespace trova_cli {

void FolderReader::Read(const TrackSink& sink) {
  walk_.Run(
      [&](const std::string& path, const struct stat&) { ReadFile(path, sink); },
      [&](const std::string& path, const std::string& why, bool) { log_.SkipFile(path, why); });
}

void FolderReader::ReadFile(const std::string& path, const TrackSink& sink) {
  Track track;
  try {
    if (!ReadTags(path, track)) return log_.SkipFile(path, kNoAudio);
  } catch (const std::exception& failure) {
    return log_.SkipFile(path, failure.what());
  }
  if (!CompleteIdent(track)) return;
  log_.Advance();
  sink(track);
}

}  // namespace trova_cli
