// CollectionLock: one process at a time changes a stored collection.
#ifndef TROVA_CLI_COLLECTION_LOCK_H
#define TROVA_CLI_COLLECTION_LOCK_H

#include <cstdint>
#include <string>

#include "console.h"

namespace trova_cli {

// It goes with the process, however that ends. Readers take none.
class CollectionLock {
 public:
  // Waits, and says so, while another process has the collection. Throws CommandError when it
  // cannot be locked or the wait is interrupted.
  // @param store       file of the collections; the locks are on a file beside it
  // @param collection  its number in the catalogue
  CollectionLock(const std::string& store, std::int64_t collection, Console& console);
  ~CollectionLock();
  CollectionLock(const CollectionLock&) = delete;
  CollectionLock& operator=(const CollectionLock&) = delete;

 private:
  bool TryLock(std::int64_t collection) const;

  std::string path_;
  int fd_;
};

}  // namespace trova_cli

#endif
