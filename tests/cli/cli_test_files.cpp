// Test files: copies of audio/, which holds the smallest content that counts as a second of audio.
#include "cli_test_files.h"

#include <fileref.h>
#include <sys/mman.h>
#include <tpropertymap.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace trova_cli_test {

namespace fs = std::filesystem;

TestFolder::TestFolder() {
  std::string name = (fs::temp_directory_path() / "trova_cli_XXXXXX").native();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
  root_ = name;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::string TestFolder::Write(const std::string& name, const std::string& content) const {
  const fs::path path = root_ / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.native();
}

std::string WriteAudio(const TestFolder& folder, const std::string& name, const Tags& tags) {
  const std::string path = folder.Write(name, "");
  const std::string silence = "silence" + fs::path(name).extension().native();
  fs::copy_file(fs::path(TROVA_AUDIO_FOLDER) / silence, path, fs::copy_options::overwrite_existing);
  TagLib::PropertyMap properties;
  for (const auto& [key, value] : tags) {
    properties[key].append(TagLib::String(value, TagLib::String::UTF8));
  }
  TagLib::FileRef file(path.c_str());
  file.file()->setProperties(properties);
  if (!tags.empty() && !file.save()) throw std::runtime_error("cannot tag " + path);
  return path;
}

std::string ReadBack(int fd) {
  std::string text(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
  if (pread(fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("cannot read back");
  }
  return text;
}

int OpenScratch() {
  return memfd_create("trova_cli", MFD_CLOEXEC);
}

}  // namespace trova_cli_test
