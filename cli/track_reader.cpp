// TrackReader: chooses the reader for a path.
#include "track_reader.h"

#include <fmt/format.h>

#include <filesystem>

#include "error.h"
#include "folder_reader.h"
#include "json_lines_reader.h"
#include "table_reader.h"
#include "text.h"

namespace trova_cli {

std::unique_ptr<TrackReader> OpenLibrary(const std::string& path, ReadLog& log) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) {
    const std::string why = error ? error.message() : "no such file or folder";
    throw CommandError(fmt::format("{}: {}", path, why));
  }
  if (std::filesystem::is_directory(status)) return std::make_unique<FolderReader>(path, log);
  const std::string ending = LowerAscii(std::filesystem::path(path).extension().native());
  if (ending == ".csv") return std::make_unique<TableReader>(path, TableForm::kCsv, log);
  if (ending == ".tsv") return std::make_unique<TableReader>(path, TableForm::kTsv, log);
  if (ending == ".jsonl" || ending == ".ndjson") {
    return std::make_unique<JsonLinesReader>(path, log);
  }
  throw CommandError(
      fmt::format("{}: a library is a folder or a .csv, .tsv, .jsonl or .ndjson file", path));
}

std::unique_ptr<TrackReader> OpenTable(const std::string& path, ReadLog& log) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    throw CommandError(fmt::format("{} is a folder; use: trova scan", path));
  }
  return OpenLibrary(path, log);
}

}  // namespace trova_cli
