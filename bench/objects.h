// objects: the data objects that an application has of its tracks before it does anything with
// them.
#ifndef BENCH_OBJECTS_H
#define BENCH_OBJECTS_H

#include <cstdint>
#include <string>
#include <vector>

#include "library.h"
#include "trova_manager.h"

namespace bench {

// The moods of a track as text.
std::string profile(const Library& library, const Track& track);

trova_gdo* describe(const Library& library, uint32_t number);

// Those of tracks `first` to `last` - 1.
class DataObjects {
 public:
  DataObjects(const Library& library, uint32_t first, uint32_t last);
  ~DataObjects();
  DataObjects(const DataObjects&) = delete;
  DataObjects& operator=(const DataObjects&) = delete;

  uint32_t first() const { return first_; }
  uint32_t last() const { return first_ + static_cast<uint32_t>(objects_.size()); }
  trova_gdo* of(uint32_t number) const { return objects_[number - first_]; }

 private:
  uint32_t first_;
  std::vector<trova_gdo*> objects_;
};

}  // namespace bench

#endif  // BENCH_OBJECTS_H
