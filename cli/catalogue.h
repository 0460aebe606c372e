// Catalogue: what the command knows of stored tracks and the library does not keep.
#ifndef TROVA_CLI_CATALOGUE_H
#define TROVA_CLI_CATALOGUE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "database.h"
#include "name_mapper.h"
#include "track.h"

namespace trova_cli {

// How a track stands in its collection. Kept as numbers in the file.
enum class TrackState : std::uint8_t {
  kHeld = 0,    // the stored collection holds what was read from a file of this stamp
  kEmpty = 1,   // read, but without anything that an attribute takes
  kBroken = 2,  // a file that could not be read
};

// Tells whether a file changed. The default one is no file's.
struct FileStamp {
  std::int64_t size = -1;
  std::int64_t time = 0;  // of its last change, in nanoseconds
  bool operator==(const FileStamp&) const = default;
};

struct CatalogueRow {
  std::string ident;  // under which the library knows the track; mostly the track's own
  TrackState state = TrackState::kHeld;
  FileStamp stamp;
  Track track;
  TrackIds ids;
};

// Tables of the command's own in the file of the stored collections. They claim less than the
// stored collection holds, never more: the row of what is removed or changed there goes before the
// collection is stored, and the row of what was added comes after it. A process may end
// between the two at any time, and the next scan reads again what is not claimed. A collection that
// is replaced as a whole gets all its rows right after it was stored, see Store::Replace.
class Catalogue {
 public:
  // Throws CommandError, as every function here does when the file cannot be read or written. A
  // file without these tables reads as one with empty ones.
  Catalogue(const std::string& path, Access access, Console& console);
  ~Catalogue();

  // Collections by name; numbers are for good.
  std::optional<std::int64_t> Find(std::string_view name);
  std::int64_t Make(std::string_view name);
  void Rename(std::int64_t collection, std::string_view name);
  void Remove(std::int64_t collection);

  // A collection beside the one of that name, empty, that nobody finds: for the rows that are to
  // take the place of its own. Writing them may fail, giving them their name takes hardly any room.
  std::int64_t MakeDraft(std::string_view name);
  void PublishDraft(std::string_view name);
  void RemoveDraft(std::string_view name);

  // Rows of one collection. Many changes belong into one Transaction.
  void Put(std::int64_t collection, const CatalogueRow& row);
  void RemoveRow(std::int64_t collection, std::string_view ident);
  void RemoveRows(std::int64_t collection);
  std::optional<CatalogueRow> Get(std::int64_t collection, std::string_view ident);
  // The ident under which the library knows the track that the user calls `name`.
  std::optional<std::string> IdentOf(std::int64_t collection, std::string_view name);
  std::uint64_t Count(std::int64_t collection, TrackState state);

  using RowVisitor = std::function<void(const CatalogueRow& row)>;
  // The rows of a state, in the order of their idents.
  void ForEach(std::int64_t collection, TrackState state, const RowVisitor& visit);
  using FileVisitor = std::function<void(const std::string& ident, const std::string& path,
                                         TrackState state, const FileStamp& stamp)>;
  // Every row, without what is known of the music.
  void ForEachFile(std::int64_t collection, const FileVisitor& visit);

  Database& database() noexcept { return database_; }

 private:
  struct Statements;

  Database database_;
  std::unique_ptr<Statements> statements_;  // made once the tables are there
};

}  // namespace trova_cli

#endif
