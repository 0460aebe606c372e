// FolderReader: a walk without recursion, so no depth of folders is too deep.
#include "folder_reader.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>

#include "error.h"
#include "tag_file.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

bool IsHidden(const fs::path& path) {
  return path.filename().native().starts_with('.');
}

}  // namespace

FolderReader::FolderReader(std::string path, ReadLog& log) : path_(std::move(path)), log_(log) {}

void FolderReader::Read(const TrackSink& sink) {
  const std::error_code failure = Enter(path_);
  if (failure) throw CommandError(fmt::format("{}: {}", path_, failure.message()));
  while (!pending_.empty()) {
    const std::string path = std::move(pending_.back());
    pending_.pop_back();
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
      const std::error_code unreadable = Enter(path);
      if (unreadable) log_.SkipFile(path, unreadable.message());
    } else if (IsAudioName(path)) {
      // Nothing but a file is opened: a pipe of such a name would wait for ever.
      if (fs::is_regular_file(status)) {
        ReadFile(path, sink);
      } else {
        log_.SkipFile(path, error ? error.message() : "not a file");
      }
    }
  }
}

std::error_code FolderReader::Enter(const std::string& path) {
  if (!IsNew(path)) return {};
  const std::size_t first = pending_.size();
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    if (!IsHidden(entry->path())) pending_.push_back(entry->path().native());
  }
  std::sort(pending_.begin() + static_cast<std::ptrdiff_t>(first), pending_.end(),
            std::greater<>());
  return error;
}

void FolderReader::ReadFile(const std::string& path, const TrackSink& sink) {
  Track track;
  try {
    if (!ReadTags(path, track)) return log_.SkipFile(path, "not an audio file that can be read");
  } catch (const std::exception& failure) {
    return log_.SkipFile(path, failure.what());
  }
  if (!CompleteIdent(track)) return;
  log_.Advance();
  sink(track);
}

bool FolderReader::IsNew(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return true;  // reading it will say why
  return entered_.emplace(status.st_dev, status.st_ino).second;
}

}  // namespace trova_cli
