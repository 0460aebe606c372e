// sqlite_side: SQLite in memory, with integers for all values and prepared statements.
//
// Statements select idents directly: to select ids, and then the idents of what LIMIT leaves, was
// never quicker.
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_map>

#include "side.h"

namespace bench {

namespace {

// What was quicker than the default, as is SQLITE_OPEN_NOMUTEX. A larger cache and temporary tables
// in memory are not.
const char kSettings[] = "PRAGMA journal_mode = OFF";

const char kTables[] =
    "CREATE TABLE artists(id INTEGER PRIMARY KEY, name TEXT COLLATE NOCASE UNIQUE);"
    "CREATE TABLE tracks(id INTEGER PRIMARY KEY, ident TEXT UNIQUE, genre INT, plain_genre INT,"
    " year INT, decade INT, origin INT, type INT, tempo INT, mood INT, artist INT);";
const char kIndexes[] =
    "CREATE INDEX by_genre ON tracks(plain_genre);"
    "CREATE INDEX by_decade ON tracks(decade);"
    "CREATE INDEX by_artist ON tracks(artist);";
const char kLikenesses[] =
    "CREATE TABLE genre_like(id INTEGER PRIMARY KEY, score INT);"
    "CREATE TABLE origin_like(id INTEGER PRIMARY KEY, score INT);"
    "CREATE TABLE type_like(id INTEGER PRIMARY KEY, score INT);"
    "CREATE TABLE year_like(id INTEGER PRIMARY KEY, score INT);";

// A generator that needs no state, so that a statement can be run again.
const char kNumber[] = "((id * 2654435761 & 4294967295) >> 12)";

const char* const kLists[] = {"genre", "origin", "type", "year"};

struct Statement {
  sqlite3_stmt* handle = nullptr;

  Statement() = default;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement() { sqlite3_finalize(handle); }
};

[[noreturn]] void fail(sqlite3* db) {
  std::fprintf(stderr, "SQLite: %s\n", sqlite3_errmsg(db));
  std::exit(2);
}

// Places in a list by the ids of its elements.
class Places {
 public:
  explicit Places(const Elements& elements)
      : places_(*std::max_element(elements.ids.begin(), elements.ids.end()) + 1) {
    for (size_t i = 1; i < elements.ids.size(); ++i) {
      places_[elements.ids[i]] = static_cast<uint16_t>(i);
    }
  }
  uint16_t operator[](uint32_t id) const { return places_[id]; }

 private:
  std::vector<uint16_t> places_;
};

// Null when there is none.
const char* read_text(trova_gdo* object, const char* key) {
  const char* text = nullptr;
  return trova_manager_gdo_get_value(object, key, 1, &text) == 0 ? text : nullptr;
}

// 0 when there is none.
uint32_t read_number(trova_gdo* object, const char* key) {
  const char* const text = read_text(object, key);
  return text == nullptr ? 0 : static_cast<uint32_t>(std::strtoul(text, nullptr, 10));
}

// "id:weight,id:weight" in one integer: a byte for each place and weight.
int64_t packed(const char* profile, const Places& moods) {
  if (profile == nullptr) return 0;
  int64_t number = 0;
  for (int k = 0; k < kMoods; ++k) {
    char* end = nullptr;
    const auto id = static_cast<uint32_t>(std::strtoul(profile, &end, 10));
    const unsigned long weight = std::strtoul(end + 1, &end, 10);
    number = number << 16 | moods[id] << 8 | static_cast<int64_t>(weight);
    profile = end + 1;
  }
  return number;
}

int32_t mood_score(const SeedScores& scores, int64_t profile) {
  uint8_t moods[kMoods];
  uint8_t weights[kMoods];
  for (int k = kMoods - 1; k >= 0; --k, profile >>= 16) {
    weights[k] = static_cast<uint8_t>(profile);
    moods[k] = static_cast<uint8_t>(profile >> 8);
  }
  return scores.mood(moods, weights);
}

using Function = void (*)(sqlite3_context*, int, sqlite3_value**);

template <int32_t (*kScore)(const SeedScores&, int64_t)>
void call(sqlite3_context* context, int, sqlite3_value** values) {
  const auto* const scores = static_cast<const SeedScores*>(sqlite3_user_data(context));
  sqlite3_result_int(context, kScore(*scores, sqlite3_value_int64(values[0])));
}

template <int32_t (SeedScores::*kScore)(uint32_t) const>
int32_t score(const SeedScores& scores, int64_t place) {
  return (scores.*kScore)(static_cast<uint32_t>(place));
}

void name_like(sqlite3_context* context, int, sqlite3_value** values) {
  const auto* const seed = static_cast<const NameScore*>(sqlite3_user_data(context));
  const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(values[0]));
  sqlite3_result_int(context, (*seed)(text));
}

class SqliteSide final : public Side {
 public:
  SqliteSide(const Library& library, Schema schema)
      : library_(library),
        schema_(schema),
        scores_(library),
        name_score_(library.artist(library.seed().artist)),
        genre_places_(library.genres),
        origin_places_(library.origins),
        type_places_(library.artist_types),
        mood_places_(library.moods) {
    for (uint16_t genre = 1; genre < library.genres.ids.size(); ++genre) {
      plain_genres_.push_back(library.genres.ancestor(genre, 2));
    }
    db_ = open();
    execute(kSettings);
    execute(kTables);
    if (schema == Schema::kIndexed) execute(kIndexes);
    fill_likenesses();
    prepare_changes();
  }
  ~SqliteSide() override {
    for (Statement& statement : queries_) finalize(statement);
    for (Statement* statement : {&insert_, &insert_artist_, &delete_, &find_, &delete_id_})
      finalize(*statement);
    sqlite3_close(db_);
    sqlite3_free(bytes_);
  }

  void begin_adding() override { execute("BEGIN"); }

  void add(const DataObjects& objects) override {
    for (uint32_t number = objects.first(); number < objects.last(); ++number) {
      add_one(number, objects.of(number));
    }
  }

  void end_adding() override { execute("COMMIT"); }

  void remove(const Numbers& tracks) override {
    execute("BEGIN");
    for (const uint32_t number : tracks) {
      bind_ident(delete_, number);
      step(delete_);
    }
    execute("COMMIT");
  }

  // Looks every ident up and marks what it finds: cheaper than a table of what was reported.
  void synchronize(const Numbers& tracks, const DataObjects& fresh) override {
    std::vector<bool> present(library_.total());
    Numbers missing;
    for (const uint32_t number : tracks) {
      bind_ident(find_, number);
      if (sqlite3_step(find_.handle) == SQLITE_ROW) {
        present[static_cast<size_t>(sqlite3_column_int64(find_.handle, 0))] = true;
      } else {
        missing.push_back(number);
      }
      sqlite3_reset(find_.handle);
    }
    Numbers gone;
    Statement all;
    prepare(db_, "SELECT id FROM tracks", &all);
    while (sqlite3_step(all.handle) == SQLITE_ROW) {
      const auto id = static_cast<uint32_t>(sqlite3_column_int64(all.handle, 0));
      if (!present[id]) gone.push_back(id);
    }
    finalize(all);
    execute("BEGIN");
    for (const uint32_t id : gone) {
      sqlite3_bind_int64(delete_id_.handle, 1, id);
      step(delete_id_);
    }
    for (const uint32_t number : missing) add_one(number, fresh.of(number));
    execute("COMMIT");
  }

  uint32_t count() override {
    Statement statement;
    prepare(db_, "SELECT count(*) FROM tracks", &statement);
    sqlite3_step(statement.handle);
    const int count = sqlite3_column_int(statement.handle, 0);
    return static_cast<uint32_t>(count);
  }

  void run(Query query) override {
    Statement& statement = queries_[static_cast<size_t>(query)];
    if (statement.handle == nullptr) prepare_query(db_, query, &statement);
    fetch(statement);
  }

  std::vector<std::string_view> answer() override {
    std::vector<std::string_view> answer;
    for (const size_t start : starts_) answer.push_back(texts_.data() + start);
    return answer;
  }

  void write() override {
    sqlite3_free(bytes_);
    bytes_ = sqlite3_serialize(db_, "main", &size_, 0);
    if (bytes_ == nullptr) fail(db_);
  }

  // Reads the bytes where they are: SQLite trusts them.
  void start_from_bytes(Query query) override {
    sqlite3* const db = open();
    if (sqlite3_deserialize(db, "main", bytes_, size_, size_, SQLITE_DESERIALIZE_READONLY) != 0) {
      fail(db);
    }
    {
      Statement statement;
      prepare_query(db, query, &statement);
      fetch(statement);
    }
    sqlite3_close(db);
  }

 private:
  sqlite3* open() {
    sqlite3* db = nullptr;
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(":memory:", &db, kFlags, nullptr) != SQLITE_OK) fail(db);
    const auto add = [&](const char* name, Function function, void* data) {
      if (sqlite3_create_function(db, name, 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, data, function,
                                  nullptr, nullptr) != SQLITE_OK) {
        fail(db);
      }
    };
    add("genre_like", call<score<&SeedScores::genre>>, &scores_);
    add("origin_like", call<score<&SeedScores::origin>>, &scores_);
    add("type_like", call<score<&SeedScores::artist_type>>, &scores_);
    add("year_like", call<score<&SeedScores::year>>, &scores_);
    add("mood_like", call<mood_score>, &scores_);
    add("name_like", name_like, &name_score_);
    return db;
  }

  void execute(const std::string& sql) {
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) fail(db_);
  }

  static void prepare(sqlite3* db, const std::string& sql, Statement* statement) {
    if (sqlite3_prepare_v3(db, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement->handle,
                           nullptr) != SQLITE_OK) {
      fail(db);
    }
  }

  static void finalize(Statement& statement) {
    sqlite3_finalize(statement.handle);
    statement.handle = nullptr;
  }

  void step(Statement& statement) {
    if (sqlite3_step(statement.handle) != SQLITE_DONE) fail(db_);
    sqlite3_reset(statement.handle);
  }

  // A text of SQLite's lives until the next step, so the application copies it.
  void fetch(Statement& statement) {
    starts_.clear();
    texts_.clear();
    while (sqlite3_step(statement.handle) == SQLITE_ROW) {
      const auto* const ident =
          reinterpret_cast<const char*>(sqlite3_column_text(statement.handle, 0));
      const int size = sqlite3_column_bytes(statement.handle, 0);
      starts_.push_back(texts_.size());
      texts_.insert(texts_.end(), ident, ident + size + 1);
    }
    sqlite3_reset(statement.handle);
  }

  // The seed's row of each table of likenesses.
  void fill_likenesses() {
    if (schema_ != Schema::kTables) return;
    execute(kLikenesses);
    const size_t counts[] = {library_.genres.ids.size(), library_.origins.ids.size(),
                             library_.artist_types.ids.size(), 2100};
    for (size_t list = 0; list < std::size(kLists); ++list) {
      const std::string name = std::string(kLists[list]) + "_like";
      const std::string last = std::to_string(counts[list] - 1);
      execute("INSERT INTO " + name + " WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 " +
              "FROM n WHERE i < " + last + ") SELECT i, " + name + "(i) FROM n");
    }
  }

  void prepare_changes() {
    prepare(db_, "INSERT INTO tracks VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", &insert_);
    prepare(db_, "INSERT INTO artists VALUES(?, ?)", &insert_artist_);
    prepare(db_, "DELETE FROM tracks WHERE ident = ?", &delete_);
    prepare(db_, "SELECT id FROM tracks WHERE ident = ?", &find_);
    prepare(db_, "DELETE FROM tracks WHERE id = ?", &delete_id_);
  }

  void add_one(uint32_t number, trova_gdo* object) {
    const uint16_t genre = genre_places_[read_number(object, TROVA_VAL_GENRE_ID)];
    const uint32_t era = read_number(object, TROVA_VAL_ERA_ID);
    const uint32_t year = era == 0 ? 0 : era - kYearIds;
    const int64_t values[] = {genre,
                              plain_genres_[genre],
                              year,
                              year - year % 10,
                              origin_places_[read_number(object, TROVA_VAL_ORIGIN_ID)],
                              type_places_[read_number(object, TROVA_VAL_ARTIST_TYPE_ID)],
                              read_number(object, TROVA_VAL_TEMPO),
                              packed(read_text(object, TROVA_VAL_MOOD_DATA), mood_places_),
                              artist_of(read_text(object, TROVA_VAL_ARTIST))};
    const std::string& ident = library_.ident(number);
    sqlite3_bind_int64(insert_.handle, 1, number);
    sqlite3_bind_text(insert_.handle, 2, ident.c_str(), static_cast<int>(ident.size()),
                      SQLITE_STATIC);
    int at = 3;
    for (const int64_t value : values) sqlite3_bind_int64(insert_.handle, at++, value);
    step(insert_);
  }

  // The application remembers which artists there are: quicker than to ask SQLite.
  int64_t artist_of(const char* name) {
    if (name == nullptr) return 0;
    const auto [at, fresh] = artists_.emplace(name, artists_.size() + 1);
    if (fresh) {
      sqlite3_bind_int64(insert_artist_.handle, 1, at->second);
      sqlite3_bind_text(insert_artist_.handle, 2, name, -1, SQLITE_STATIC);
      step(insert_artist_);
    }
    return at->second;
  }

  void bind_ident(Statement& statement, uint32_t number) {
    const std::string& ident = library_.ident(number);
    sqlite3_bind_text(statement.handle, 1, ident.c_str(), static_cast<int>(ident.size()),
                      SQLITE_STATIC);
  }

  std::string like(const std::string& list) const {
    if (schema_ != Schema::kTables) return list + "_like(" + list + ")";
    return "(SELECT score FROM " + list + "_like l WHERE l.id = t." + list + ")";
  }

  std::string more_like_order() const {
    return " ORDER BY (90 * mood_like(mood) + 6 * " + like("genre") + " + 2 * " + like("origin") +
           " + " + like("year") + " + " + like("type") + ") / (100 + " + kNumber + " % 100) DESC";
  }

  std::string text(Query query) const {
    const std::string filter =
        "SELECT ident FROM tracks WHERE plain_genre IN (?1, ?2) OR decade = ?3";
    const std::string more_like = "SELECT ident FROM tracks t WHERE " + like("genre") +
                                  " >= 600 OR mood_like(mood) >= 600" + more_like_order();
    const std::string limit = " LIMIT " + std::to_string(kShort);
    switch (query) {
      case Query::kFilter:
        return filter;
      case Query::kShuffled:
        return filter + " ORDER BY " + kNumber + limit;
      case Query::kMoreLike:
        return more_like;
      case Query::kMoreLike50:
        return more_like + limit;
      case Query::kTwoPerArtist:
        // Any two of an artist will do, so only those that stay are scored.
        return "SELECT ident FROM (SELECT id, ident, genre, origin, year, type, mood, row_number() "
               "OVER "
               "(PARTITION BY artist) AS place FROM tracks) t WHERE place <= 2" +
               more_like_order() + limit;
      case Query::kNamesLike:
        return "WITH a AS MATERIALIZED (SELECT id, name_like(name) AS score FROM artists WHERE "
               "name_like(name) > 0) SELECT t.ident FROM a JOIN tracks t ON t.artist = a.id ORDER "
               "BY "
               "a.score DESC";
      default:
        return "SELECT ident FROM tracks WHERE artist IN (SELECT id FROM artists WHERE name IN "
               "(?1" +
               rest_of_names() + "))";
    }
  }

  std::string rest_of_names() const {
    std::string text;
    for (size_t i = 2; i <= library_.questions().names.size(); ++i) {
      text += ", ?" + std::to_string(i);
    }
    return text;
  }

  void prepare_query(sqlite3* db, Query query, Statement* statement) {
    const Questions& questions = library_.questions();
    prepare(db, text(query), statement);
    if (query == Query::kFilter || query == Query::kShuffled) {
      sqlite3_bind_int(statement->handle, 1, questions.genres[0]);
      sqlite3_bind_int(statement->handle, 2, questions.genres[1]);
      sqlite3_bind_int(statement->handle, 3, questions.decade);
    } else if (query == Query::kNamesEqual) {
      int at = 1;
      for (const std::string& name : questions.names) {
        sqlite3_bind_text(statement->handle, at++, name.c_str(), -1, SQLITE_STATIC);
      }
    }
  }

  const Library& library_;
  Schema schema_;
  SeedScores scores_;
  NameScore name_score_;
  sqlite3* db_ = nullptr;
  Places genre_places_, origin_places_, type_places_, mood_places_;
  std::vector<uint16_t> plain_genres_ = {0};  // of each genre: the genre that it lies in
  std::unordered_map<std::string, int64_t> artists_;
  Statement insert_, insert_artist_, delete_, find_, delete_id_;
  Statement queries_[static_cast<size_t>(Query::kNamesEqual) + 1];
  std::vector<char> texts_;
  std::vector<size_t> starts_;
  unsigned char* bytes_ = nullptr;
  sqlite3_int64 size_ = 0;
};

}  // namespace

std::unique_ptr<Side> make_sqlite(const Library& library, Schema schema) {
  return std::make_unique<SqliteSide>(library, schema);
}

}  // namespace bench
