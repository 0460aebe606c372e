// FolderWalk: one stat(2) for each folder and each audio name.
#include "folder_walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "error.h"
#include "tag_file.h"

namespace trova_cli {
namespace {

namespace fs = std::filesystem;

std::error_code Stat(const std::string& path, struct stat& status) {
  if (stat(path.c_str(), &status) == 0) return {};
  return {errno, std::generic_category()};
}

// What a listing says of an entry is enough to leave out covers, texts and hidden things.
bool IsOfInterest(const fs::directory_entry& entry) {
  const std::string name = entry.path().filename().native();
  if (name.starts_with('.')) return false;
  std::error_code error;
  return IsAudioName(name) || entry.symlink_status(error).type() != fs::file_type::regular;
}

}  // namespace

void FolderWalk::Run(const FileFound& on_file, const Unreadable& on_unreadable) {
  struct stat status {};
  std::error_code error = Stat(root_, status);
  if (!error) error = Enter(root_, status);
  if (error) throw CommandError(fmt::format("{}: {}", root_, error.message()));
  while (!pending_.empty()) {
    const std::string path = std::move(pending_.back());
    pending_.pop_back();
    error = Stat(path, status);
    const bool is_folder = !error && S_ISDIR(status.st_mode);
    if (is_folder) error = Enter(path, status);
    const bool is_gone = error == std::errc::no_such_file_or_directory;
    if (error && !(is_gone && !IsAudioName(path))) {
      on_unreadable(path, error.message(), !is_gone);
    } else if (is_folder || !IsAudioName(path)) {
      continue;
    } else if (S_ISREG(status.st_mode)) {
      on_file(path, status);
    } else {
      // Nothing but a file is ever opened: a pipe of such a name would wait for ever.
      on_unreadable(path, "not a file", false);
    }
  }
}

std::error_code FolderWalk::Enter(const std::string& path, const struct stat& status) {
  if (!entered_.emplace(status.st_dev, status.st_ino).second) return {};
  const std::size_t first = pending_.size();
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end;
       entry.increment(error)) {
    if (IsOfInterest(*entry)) pending_.push_back(entry->path().native());
  }
  std::sort(pending_.begin() + static_cast<std::ptrdiff_t>(first), pending_.end(),
            std::greater<>());
  return error;
}

}  // namespace trova_cli
