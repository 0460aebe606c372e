// Layout: a store's fields, and the catalogue of the stores in the file.
#include "storage/Layout.hxx"

#include <algorithm>

namespace trova::storage {

namespace {

std::string suffix(const Layout& layout, size_t position) {
  return std::to_string(layout.id) + "_" + std::to_string(position);
}

void make_record_table(Database& database, const Layout& layout) {
  std::string columns = "id INTEGER PRIMARY KEY AUTOINCREMENT";
  for (size_t i = 0; i < layout.fields.size(); ++i) {
    const Field& field = layout.fields[i];
    if (field.is_bulk()) continue;
    columns += ", " + column(i) + (field.type == kText ? " TEXT" : " BLOB");
  }
  database.run("CREATE TABLE " + record_table(layout) + "(" + columns + ")");
}

void make_field(Database& database, const Layout& layout, size_t position) {
  const Field& field = layout.fields[position];
  if (field.is_bulk()) {
    database.run("CREATE TABLE " + bulk_table(layout, position) +
                 "(id INTEGER PRIMARY KEY, value BLOB NOT NULL)");
  } else if (field.has_index()) {
    database.run((field.is_unique() ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
                 ("trova_index_" + suffix(layout, position)) + " ON " + record_table(layout) + "(" +
                 column(position) + ")");
  }
  Query(database,
        "INSERT INTO trova_fields(store, position, name, type, flags)"
        " VALUES(?1, ?2, ?3, ?4, ?5)")
      .bind(1, layout.id)
      .bind(2, static_cast<int64_t>(position))
      .bind_text(3, field.name)
      .bind(4, field.type)
      .bind(5, field.flags)
      .step();
}

int64_t enter_name(Database& database, const Layout& layout) {
  Query(database, "INSERT INTO trova_stores(name) VALUES(?1)").bind_text(1, layout.name).step();
  return sqlite3_last_insert_rowid(database.get());
}

}  // namespace

size_t Layout::position_of(std::string_view field) const noexcept {
  const auto is_it = [&](const Field& other) { return other.name == field; };
  const auto found = std::find_if(fields.begin(), fields.end(), is_it);
  return found == fields.end() ? kNowhere : static_cast<size_t>(found - fields.begin());
}

std::string record_table(const Layout& layout) {
  return "trova_store_" + std::to_string(layout.id);
}

std::string bulk_table(const Layout& layout, size_t position) {
  return "trova_bulk_" + suffix(layout, position);
}

std::string column(size_t position) {
  return "f" + std::to_string(position);
}

bool find_store(Database& database, Layout& layout) {
  Query stores(database, "SELECT id FROM trova_stores WHERE name = ?1");
  if (!stores.bind_text(1, layout.name).step()) return false;
  layout.id = stores.number(0);
  Query fields(database,
               "SELECT name, type, flags FROM trova_fields WHERE store = ?1 ORDER BY position");
  fields.bind(1, layout.id);
  while (fields.step()) {
    layout.fields.push_back({.name = String(fields.bytes(0)),
                             .type = static_cast<uint32_t>(fields.number(1)),
                             .flags = static_cast<uint32_t>(fields.number(2))});
  }
  return true;
}

int64_t make_store(Database& database, const Layout& layout) {
  Transaction making(database, Transaction::Kind::kWrite);
  Layout made = {layout.session, 0, layout.name, {}};
  if (find_store(database, made)) {
    if (made.fields == layout.fields) return made.id;
    throw Failure(TROVA_MANAGER_INVALID_ARG,
                  "the store '" + std::string(layout.name) + "' exists with other fields");
  }
  made.fields = layout.fields;
  made.id = enter_name(database, made);
  make_record_table(database, made);
  for (size_t i = 0; i < made.fields.size(); ++i) make_field(database, made, i);
  making.commit();
  return made.id;
}

}  // namespace trova::storage
