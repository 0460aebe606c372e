// CollectionLock: a byte of the lock file for each collection.
#include "collection_lock.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "error.h"
#include "interrupt.h"

namespace trova_cli {
namespace {

constexpr std::chrono::milliseconds kPause{50};

}  // namespace

// A file of its own: closing any descriptor of the database would end SQLite's locks on it.
CollectionLock::CollectionLock(const std::string& store, std::int64_t collection, Console& console)
    : path_(store + "-lock"), fd_(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
  if (fd_ < 0) throw CommandError(fmt::format("{}: {}", path_, std::strerror(errno)));
  try {
    for (bool told = false; !TryLock(collection); told = true) {
      if (!told) console.Warn("another trova is changing this collection; waiting for its end");
      if (Interrupted()) throw CommandError("interrupted");
      std::this_thread::sleep_for(kPause);
    }
  } catch (...) {
    close(fd_);
    throw;
  }
}

CollectionLock::~CollectionLock() {
  close(fd_);
}

bool CollectionLock::TryLock(std::int64_t collection) const {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = collection;
  lock.l_len = 1;
  if (fcntl(fd_, F_OFD_SETLK, &lock) == 0) return true;
  if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
    throw CommandError(fmt::format("{}: {}", path_, std::strerror(errno)));
  }
  return false;
}

}  // namespace trova_cli
