// replay: runs a fuzzer over the files of folders, so that a corpus is a test with any compiler.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_target.h"

namespace {

// In a fixed order: what an input meets may depend on those before it.
std::vector<std::filesystem::path> files_of(const char* path) {
  std::vector<std::filesystem::path> files;
  if (!std::filesystem::is_directory(path)) return {path};
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// A block of its own, so that a read past its end shows.
void run(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::filesystem::path& path : files_of(argv[i])) {
      // A crash names its input: the last one.
      std::fprintf(stderr, "%s\n", path.c_str());
      run(path);
      ++count;
    }
  }
  std::printf("%zu inputs\n", count);
  return count == 0 ? 1 : 0;
}
