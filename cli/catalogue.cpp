// Catalogue: one table of collections, one of tracks.
#include "catalogue.h"

#include <fmt/format.h>

#include <charconv>
#include <span>
#include <vector>

#include "error.h"

namespace trova_cli {
namespace {

constexpr std::int64_t kSchemaVersion = 1;

// {0} says where: in the file, or for this process only. Names of files and of tracks are bytes.
// NULL stands for a name that is the ident, and for a path that is the name.
constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS {0}.trova_cli_schema (version INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS {0}.trova_cli_collections ("
    "  id INTEGER PRIMARY KEY, name BLOB NOT NULL UNIQUE);"
    "CREATE TABLE IF NOT EXISTS {0}.trova_cli_tracks ("
    "  collection INTEGER NOT NULL, ident BLOB NOT NULL, name BLOB, path BLOB,"
    "  state INTEGER NOT NULL, size INTEGER NOT NULL, time INTEGER NOT NULL,"
    "  title TEXT NOT NULL, artist TEXT NOT NULL, album_artist TEXT NOT NULL,"
    "  albums BLOB NOT NULL, genres TEXT NOT NULL, moods TEXT NOT NULL,"
    "  era INTEGER NOT NULL, origin INTEGER NOT NULL, artist_type INTEGER NOT NULL,"
    "  year INTEGER NOT NULL, bpm INTEGER NOT NULL, seconds INTEGER NOT NULL,"
    "  PRIMARY KEY (collection, ident)) WITHOUT ROWID;"
    "CREATE INDEX IF NOT EXISTS {0}.trova_cli_names ON trova_cli_tracks (collection, name)"
    "  WHERE name IS NOT NULL;"
    "INSERT INTO {0}.trova_cli_schema SELECT {1}"
    "  WHERE NOT EXISTS (SELECT * FROM {0}.trova_cli_schema);";

#define TROVA_CLI_COLUMNS                                                                      \
  "ident, name, path, state, size, time, title, artist, album_artist, albums, genres, moods, " \
  "era, origin, artist_type, year, bpm, seconds"

constexpr char kSeveral = '\0';  // between albums; no text holds one

std::string JoinAlbums(const std::vector<std::string>& albums) {
  std::string joined;
  for (const std::string& album : albums) (joined += album) += kSeveral;
  return joined;
}

std::vector<std::string> SplitAlbums(std::string_view joined) {
  std::vector<std::string> albums;
  for (std::size_t at = 0; at < joined.size();) {
    const std::size_t end = std::min(joined.find(kSeveral, at), joined.size());
    albums.emplace_back(joined.substr(at, end - at));
    at = end + 1;
  }
  return albums;
}

std::vector<std::uint32_t> SplitNumbers(std::string_view joined) {
  std::vector<std::uint32_t> numbers;
  const char* end = joined.data() + joined.size();
  for (const char* at = joined.data(); at < end; ++at) {
    std::uint32_t number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc()) break;
    numbers.push_back(number);
    at = stop;
  }
  return numbers;
}

std::uint32_t Number32(const Statement& row, int column) {
  return static_cast<std::uint32_t>(row.Number(column));
}

// From the columns above, at and after `column`: name and path.
void ReadNames(const Statement& row, int column, const std::string& ident, Track& track) {
  track.ident = row.IsNull(column) ? ident : row.Blob(column);
  track.path = row.IsNull(column + 1) ? track.ident : row.Blob(column + 1);
}

CatalogueRow ReadRow(const Statement& row) {
  CatalogueRow read;
  read.ident = row.Blob(0);
  ReadNames(row, 1, read.ident, read.track);
  read.state = static_cast<TrackState>(row.Number(3));
  read.stamp = {row.Number(4), row.Number(5)};
  read.track.title = row.Text(6);
  read.track.artist = row.Text(7);
  read.track.album_artist = row.Text(8);
  read.track.albums = SplitAlbums(row.Blob(9));
  read.ids.genres = SplitNumbers(row.Text(10));
  read.ids.moods = SplitNumbers(row.Text(11));
  read.ids.era = Number32(row, 12);
  read.ids.origin = Number32(row, 13);
  read.ids.artist_type = Number32(row, 14);
  read.track.year = Number32(row, 15);
  read.track.bpm = Number32(row, 16);
  read.track.seconds = Number32(row, 17);
  return read;
}

// No collection has such a name.
std::string DraftName(std::string_view name) {
  return std::string(1, '\0').append(name);
}

bool HasTables(Database& database) {
  Statement tables(database, "SELECT 1 FROM sqlite_master WHERE name = 'trova_cli_schema'");
  return tables.Start().Next();
}

Database& MakeTables(Database& database, Access access) {
  if (!HasTables(database)) {
    // What cannot be written is empty tables of this process.
    const bool write = access == Access::kWrite;
    std::optional<Transaction> transaction;
    if (write) transaction.emplace(database);
    database.Execute(fmt::format(kSchema, write ? "main" : "temp", kSchemaVersion).c_str());
    if (write) transaction->Commit();
  }
  return database;
}

void CheckVersion(Database& database, const std::string& path) {
  Statement version(database, "SELECT max(version) FROM trova_cli_schema");
  if (version.Start().Next() && version.Number(0) > kSchemaVersion) {
    throw CommandError(fmt::format("{}: a newer version of this program wrote it", path));
  }
}

}  // namespace

struct Catalogue::Statements {
  explicit Statements(Database& database)
      : find(database, "SELECT id FROM trova_cli_collections WHERE name = ?"),
        make(database, "INSERT OR IGNORE INTO trova_cli_collections (name) VALUES (?)"),
        rename(database, "UPDATE trova_cli_collections SET name = ?2 WHERE id = ?1"),
        remove(database, "DELETE FROM trova_cli_collections WHERE id = ?"),
        put(database, "INSERT OR REPLACE INTO trova_cli_tracks (collection, " TROVA_CLI_COLUMNS
                      ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
        remove_row(database, "DELETE FROM trova_cli_tracks WHERE collection = ? AND ident = ?"),
        remove_rows(database, "DELETE FROM trova_cli_tracks WHERE collection = ?"),
        get(database, "SELECT " TROVA_CLI_COLUMNS
                      " FROM trova_cli_tracks WHERE collection = ? AND ident = ?"),
        by_name(database,
                "SELECT ident FROM trova_cli_tracks"
                "  WHERE collection = ?1 AND name = ?2 AND state = 0"
                " UNION ALL SELECT ident FROM trova_cli_tracks"
                "  WHERE collection = ?1 AND ident = ?2 AND name IS NULL AND state = 0"),
        count(database, "SELECT count(*) FROM trova_cli_tracks WHERE collection = ? AND state = ?"),
        rows(database, "SELECT " TROVA_CLI_COLUMNS
                       " FROM trova_cli_tracks WHERE collection = ? AND state = ? ORDER BY ident"),
        files(database,
              "SELECT ident, name, path, state, size, time FROM trova_cli_tracks"
              " WHERE collection = ? ORDER BY ident") {}

  Statement find;
  Statement make;
  Statement rename;
  Statement remove;
  Statement put;
  Statement remove_row;
  Statement remove_rows;
  Statement get;
  Statement by_name;
  Statement count;
  Statement rows;
  Statement files;
};

Catalogue::Catalogue(const std::string& path, Access access, Console& console)
    : database_(path, access, console) {
  MakeTables(database_, access);
  CheckVersion(database_, path);
  statements_ = std::make_unique<Statements>(database_);
}

Catalogue::~Catalogue() = default;

std::optional<std::int64_t> Catalogue::Find(std::string_view name) {
  Statement& find = statements_->find;
  if (!find.Start(Bytes{name}).Next()) return std::nullopt;
  const std::int64_t id = find.Number(0);
  find.Finish();
  return id;
}

std::int64_t Catalogue::Make(std::string_view name) {
  statements_->make.Run(Bytes{name});
  return Find(name).value();
}

void Catalogue::Rename(std::int64_t collection, std::string_view name) {
  statements_->rename.Run(collection, Bytes{name});
}

void Catalogue::Remove(std::int64_t collection) {
  RemoveRows(collection);
  statements_->remove.Run(collection);
}

std::int64_t Catalogue::MakeDraft(std::string_view name) {
  const std::int64_t draft = Make(DraftName(name));
  RemoveRows(draft);  // what another process left that came to its end here
  return draft;
}

// The rows that were in force become the draft.
void Catalogue::PublishDraft(std::string_view name) {
  const std::string draft_name = DraftName(name);
  const std::int64_t collection = Make(name);
  const std::int64_t draft = Make(draft_name);
  Transaction transaction(database_);
  Rename(collection, std::string_view());
  Rename(draft, name);
  Rename(collection, draft_name);
  transaction.Commit();
}

void Catalogue::RemoveDraft(std::string_view name) {
  if (const std::optional<std::int64_t> draft = Find(DraftName(name))) Remove(*draft);
}

void Catalogue::Put(std::int64_t collection, const CatalogueRow& row) {
  const Track& track = row.track;
  const std::string albums = JoinAlbums(track.albums);
  const std::string genres = fmt::format("{}", fmt::join(row.ids.genres, ","));
  const std::string moods = fmt::format("{}", fmt::join(row.ids.moods, ","));
  statements_->put.Run(collection, Bytes{row.ident}, BytesUnless(track.ident, row.ident),
                       BytesUnless(track.path, track.ident), static_cast<std::int64_t>(row.state),
                       row.stamp.size, row.stamp.time, track.title, track.artist,
                       track.album_artist, Bytes{albums}, genres, moods, row.ids.era,
                       row.ids.origin, row.ids.artist_type, track.year, track.bpm, track.seconds);
}

void Catalogue::RemoveRow(std::int64_t collection, std::string_view ident) {
  statements_->remove_row.Run(collection, Bytes{ident});
}

void Catalogue::RemoveRows(std::int64_t collection) {
  statements_->remove_rows.Run(collection);
}

std::optional<CatalogueRow> Catalogue::Get(std::int64_t collection, std::string_view ident) {
  Statement& get = statements_->get;
  if (!get.Start(collection, Bytes{ident}).Next()) return std::nullopt;
  CatalogueRow row = ReadRow(get);
  get.Finish();
  return row;
}

std::optional<std::string> Catalogue::IdentOf(std::int64_t collection, std::string_view name) {
  Statement& by_name = statements_->by_name;
  if (!by_name.Start(collection, Bytes{name}).Next()) return std::nullopt;
  std::string ident(by_name.Blob(0));
  by_name.Finish();
  return ident;
}

std::uint64_t Catalogue::Count(std::int64_t collection, TrackState state) {
  Statement& count = statements_->count;
  count.Start(collection, static_cast<std::int64_t>(state)).Next();
  const auto number = static_cast<std::uint64_t>(count.Number(0));
  count.Finish();
  return number;
}

void Catalogue::ForEach(std::int64_t collection, TrackState state, const RowVisitor& visit) {
  Statement& rows = statements_->rows;
  rows.Start(collection, static_cast<std::int64_t>(state));
  while (rows.Next()) visit(ReadRow(rows));
}

void Catalogue::ForEachFile(std::int64_t collection, const FileVisitor& visit) {
  Statement& files = statements_->files;
  Track names;
  files.Start(collection);
  while (files.Next()) {
    const std::string ident(files.Blob(0));
    ReadNames(files, 1, ident, names);
    visit(ident, names.path, static_cast<TrackState>(files.Number(3)),
          {files.Number(4), files.Number(5)});
  }
}

}  // namespace trova_cli
