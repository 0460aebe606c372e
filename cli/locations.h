// Locations: how a playlist names the file of a track.
#ifndef TROVA_CLI_LOCATIONS_H
#define TROVA_CLI_LOCATIONS_H

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

namespace trova_cli {

// Names of files are bytes, and bytes they stay: only a URI spells them in another way.
class Locations {
 public:
  // Paths come out as they were read.
  Locations() = default;
  // Paths come out relative to a folder. Throws CommandError when there is no such folder.
  explicit Locations(const std::string& folder);

  // @param path  as a reader gave it: a file or a URI ("scheme://...")
  std::string Path(std::string_view path);
  // A file URI, or a relative reference when paths are relative.
  std::string Uri(std::string_view path);

 private:
  std::filesystem::path Relative(std::string_view path);

  std::filesystem::path base_;  // canonical; empty when paths are not relative
  std::unordered_map<std::string, std::filesystem::path> folders_;  // what is relative to base_
};

}  // namespace trova_cli

#endif
