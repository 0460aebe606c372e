// fuzz_file.h: bytes as a file for the command's readers, and what they make of it.
#ifndef FUZZ_FILE_H
#define FUZZ_FILE_H

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "error.h"
#include "fuzz_target.h"
#include "track_reader.h"

// A file in memory. Readers open it by its path.
class FuzzFile {
 public:
  explicit FuzzFile(const std::string& bytes) : fd_(memfd_create("input", MFD_CLOEXEC)) {
    FUZZ_REQUIRE(fd_ >= 0);
    FUZZ_REQUIRE(write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  }
  ~FuzzFile() { close(fd_); }
  FuzzFile(const FuzzFile&) = delete;
  FuzzFile& operator=(const FuzzFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

struct FuzzTracks {
  std::vector<trova_cli::Track> tracks = {};
  size_t skipped = 0;
  bool refused = false;  // the file as a whole
};

// Reads a file with the reader that `open(path, log)` gives. Every track has an ident, and no more
// values than it may have.
template <class Open>
FuzzTracks fuzz_read(const std::string& bytes, Open open_reader) {
  static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const FuzzFile file(bytes);
  trova_cli::Console console(nowhere, true);
  trova_cli::ReadLog log(console);
  FuzzTracks read;
  try {
    open_reader(file.path(), log)->Read([&](trova_cli::Track& track) {
      FUZZ_REQUIRE(!track.ident.empty());
      FUZZ_REQUIRE(track.albums.size() <= trova_cli::kMaxValues);
      FUZZ_REQUIRE(track.genres.size() <= trova_cli::kMaxValues);
      FUZZ_REQUIRE(track.moods.size() <= trova_cli::kMaxValues);
      read.tracks.push_back(track);
    });
    FUZZ_REQUIRE(log.tracks() == read.tracks.size());
  } catch (const trova_cli::CommandError& error) {
    FUZZ_REQUIRE(*error.what() != '\0');
    read.refused = true;
  }
  read.skipped = log.skipped();
  log.Finish();
  return read;
}

inline bool fuzz_same(const trova_cli::Track& a, const trova_cli::Track& b) {
  return a.ident == b.ident && a.path == b.path && a.title == b.title && a.artist == b.artist &&
         a.album_artist == b.album_artist && a.albums == b.albums && a.genres == b.genres &&
         a.moods == b.moods && a.origin == b.origin && a.artist_type == b.artist_type &&
         a.year == b.year && a.bpm == b.bpm && a.seconds == b.seconds;
}

// Two files say the same.
inline void fuzz_require_same(const FuzzTracks& a, const FuzzTracks& b) {
  FUZZ_REQUIRE(a.refused == b.refused && a.tracks.size() == b.tracks.size());
  for (size_t i = 0; i < a.tracks.size(); ++i) FUZZ_REQUIRE(fuzz_same(a.tracks[i], b.tracks[i]));
}

#endif  // FUZZ_FILE_H
