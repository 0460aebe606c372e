// side: what every contender of the comparison can do, each in its own way.
#ifndef BENCH_SIDE_H
#define BENCH_SIDE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "library.h"

namespace bench {

enum class Query {
  kFilter,
  kShuffled,      // kFilter in a seeded random order, the first 50
  kMoreLike,      // all
  kMoreLike50,    // the first 50
  kTwoPerArtist,  // everything in that order, two of each artist, the first 50
  kNamesLike,     // artists whose names share a pair of letters with the seed's, best first
  kNamesEqual,    // the tracks of 20 artists
};

constexpr uint32_t kShort = 50;

// Numbers of tracks.
using Numbers = std::vector<uint32_t>;

class Side {
 public:
  virtual ~Side() = default;

  // Tracks `first` to `last` - 1 of the library.
  virtual void add(uint32_t first, uint32_t last) = 0;
  // One by one, by their idents.
  virtual void remove(const Numbers& tracks) = 0;
  // Is told the idents of all tracks that there are, and becomes so.
  virtual void synchronize(const Numbers& tracks) = 0;
  virtual uint32_t count() = 0;

  // Hands every entry of the answer to the application.
  virtual void run(Query query) = 0;
  // The answer of the last run. Not part of what is measured.
  virtual Numbers answer() = 0;

  // Writes everything as bytes, which stay with this side.
  virtual void write() = 0;
  // From those bytes to a first answer.
  virtual void start_from_bytes(Query query) = 0;
};

enum class Schema { kPlain, kIndexed, kTables };

std::unique_ptr<Side> make_trova(const Library& library);
std::unique_ptr<Side> make_sqlite(const Library& library, Schema schema);
std::unique_ptr<Side> make_limit(const Library& library);

}  // namespace bench

#endif  // BENCH_SIDE_H
