// Collection files: written beside their place and then moved there.
#include "collection_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include "error.h"
#include "output.h"

namespace trova_cli {
namespace {

constexpr std::string_view kStream = "-";

[[noreturn]] void ThrowSystemError(const std::string& path) {
  throw CommandError(fmt::format("{}: {}", path, std::strerror(errno)));
}

class File {
 public:
  explicit File(int fd) : fd_(fd) {}
  ~File() {
    if (fd_ > STDERR_FILENO) close(fd_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int fd() const noexcept { return fd_; }

 private:
  int fd_;
};

void WriteAll(int fd, std::string_view bytes) {
  Output output(fd);
  output.Write(bytes);
  output.Flush();
}

File OpenToWrite(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) ThrowSystemError(path);
  return File(fd);
}

// Beside its place, so that it can be moved there.
void WriteThere(const std::string& path, std::string_view bytes) {
  const std::string draft = path + ".part";
  const File file = OpenToWrite(draft);
  try {
    WriteAll(file.fd(), bytes);
    if (fsync(file.fd()) != 0 || std::rename(draft.c_str(), path.c_str()) != 0) {
      ThrowSystemError(path);
    }
  } catch (...) {
    unlink(draft.c_str());
    throw;
  }
}

// A device or a pipe takes the bytes itself.
bool IsSpecial(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

std::string ReadAll(const std::string& path, int fd) {
  std::string bytes;
  std::array<char, 1 << 16> block;
  for (;;) {
    const ssize_t got = read(fd, block.data(), block.size());
    if (got == 0) return bytes;
    if (got < 0 && errno != EINTR) ThrowSystemError(path);
    if (got > 0) bytes.append(block.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace

std::string SerializeCollection(trova_playlist_collection* collection) {
  std::uint32_t size = 0;
  Check(trova_playlist_collection_serialize_size(collection, &size), "measure the collection");
  std::string bytes(size, '\0');
  Check(trova_playlist_collection_serialize(collection, bytes.data(), &size),
        "write the collection");
  bytes.resize(size);
  return bytes;
}

void WriteCollectionFile(const std::string& path, std::string_view bytes) {
  if (path == kStream) return WriteAll(STDOUT_FILENO, bytes);
  if (IsSpecial(path)) return WriteAll(OpenToWrite(path).fd(), bytes);
  WriteThere(path, bytes);
}

Collection ReadCollectionFile(const std::string& path) {
  const bool from_stream = path == kStream;
  const File file(from_stream ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.fd() < 0) ThrowSystemError(path);
  const std::string bytes = ReadAll(path, file.fd());
  if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw CommandError(fmt::format("{}: not an exported collection", path));
  }
  trova_playlist_collection* collection = nullptr;
  Check(trova_playlist_collection_deserialize(
            bytes.data(), static_cast<std::uint32_t>(bytes.size()), &collection),
        fmt::format("read {} as an exported collection", path));
  return Collection(collection);
}

}  // namespace trova_cli
