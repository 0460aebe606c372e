// Files that the tests of the command make for themselves.
#ifndef TROVA_TESTS_CLI_TEST_FILES_H
#define TROVA_TESTS_CLI_TEST_FILES_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace trova_cli_test {

// A folder of its own for each test, gone when the test ends.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string Path(const std::string& name) const { return (root_ / name).native(); }
  // Makes the folders on the way, too.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::filesystem::path root_;
};

using Tags = std::multimap<std::string, std::string>;

// A second of silence, tagged. The name's ending chooses among .wav, .flac, .ogg, .m4a and .mp3.
std::string WriteAudio(const TestFolder& folder, const std::string& name, const Tags& tags);

// Everything that was written to an open file.
std::string ReadBack(int fd);
// A file without a name, open for both.
int OpenScratch();

}  // namespace trova_cli_test

#endif
