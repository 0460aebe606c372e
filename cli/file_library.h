// FileLibrary: a folder or a table, read as a whole for one run.
#ifndef TROVA_CLI_FILE_LIBRARY_H
#define TROVA_CLI_FILE_LIBRARY_H

#include <memory>
#include <string>

#include "console.h"
#include "library.h"
#include "read_log.h"
#include "track_reader.h"

namespace trova_cli {

class FileLibrary : public Library {
 public:
  // @param console  outlives the library
  FileLibrary(const std::string& path, Console& console);

  void Read(NameLists& lists) override;
  std::uint32_t IndexOf(const char* ident) override;
  std::optional<std::string> IdentOf(const std::string& name) override;
  void ForEach(const Visitor& visit) override;

 private:
  Console& console_;
  ReadLog log_;
  std::unique_ptr<TrackReader> reader_;
};

}  // namespace trova_cli

#endif
