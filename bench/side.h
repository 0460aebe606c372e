// side: what every contender of the comparison can do, each in its own way.
#ifndef BENCH_SIDE_H
#define BENCH_SIDE_H

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "library.h"
#include "objects.h"

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

  // Adding comes in batches, as an application's data objects do. What a side does between the
  // first batch and the last is part of the adding.
  virtual void begin_adding() {}
  virtual void add(const DataObjects& objects) = 0;
  virtual void end_adding() {}
  // One by one, by their idents.
  virtual void remove(const Numbers& tracks) = 0;
  // Is told the idents of all tracks that there are, and becomes so. `fresh` has those that are
  // new.
  virtual void synchronize(const Numbers& tracks, const DataObjects& fresh) = 0;
  virtual uint32_t count() = 0;

  // Hands the text of every entry's ident to the application, where it stays until the next run.
  virtual void run(Query query) = 0;
  // The texts of the last run. Not part of what is measured.
  virtual std::vector<std::string_view> answer() = 0;
  // Lets go of them.
  virtual void forget() {}

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
