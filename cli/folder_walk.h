// FolderWalk: the audio files below a folder, found but not opened.
#ifndef TROVA_CLI_FOLDER_WALK_H
#define TROVA_CLI_FOLDER_WALK_H

#include <sys/stat.h>

#include <functional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace trova_cli {

// Goes in the order of the names, folder by folder, without recursion: no depth is too deep. Hidden
// files and folders are passed over. Links are followed, but no folder is entered twice.
class FolderWalk {
 public:
  using FileFound = std::function<void(const std::string& path, const struct stat& status)>;
  // A folder or file that cannot be looked at, or an audio name that is no file.
  // @param hides  whether files that nobody sees now may be there all the same
  using Unreadable =
      std::function<void(const std::string& path, const std::string& why, bool hides)>;

  explicit FolderWalk(std::string root) : root_(std::move(root)) {}

  // Throws CommandError when the root itself cannot be read.
  void Run(const FileFound& on_file, const Unreadable& on_unreadable);

 private:
  // Puts what a folder holds on the stack, also when it can be read in part only.
  std::error_code Enter(const std::string& path, const struct stat& status);

  std::string root_;
  std::vector<std::string> pending_;  // the next one is the last
  std::set<std::pair<dev_t, ino_t>> entered_;
};

}  // namespace trova_cli

#endif
