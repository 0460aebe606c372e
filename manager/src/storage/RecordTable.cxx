// RecordTable: the records of one store in the file.
#include "storage/RecordTable.hxx"

#include <algorithm>
#include <cstring>
#include <utility>

namespace trova::storage {

namespace {

void bind_value(Query& query, int parameter, const Field& field, std::string_view bytes) {
  if (field.type == kText) {
    query.bind_text(parameter, bytes);
  } else {
    query.bind_bytes(parameter, bytes);
  }
}

std::string parameter(int number) {
  return "?" + std::to_string(number);
}

}  // namespace

// Calls visit(position) for each field that is a column of the record's row.
template <class Visit>
void RecordTable::for_each_column(Visit visit) const {
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    if (!layout_.fields[i].is_bulk()) visit(i);
  }
}

int64_t RecordTable::last_id() {
  return read_number(database_, "SELECT max(id) FROM " + record_table(layout_));
}

size_t RecordTable::list(const Values& criteria, int64_t after, int64_t last,
                         std::span<int64_t> out) {
  SqlText sql = "SELECT id FROM " + record_table(layout_) + " WHERE id > ?1 AND id <= ?2";
  int parameters = 3;
  for_each_column([&](size_t i) {
    if (criteria.is_known(i)) sql += " AND " + column(i) + " = " + parameter(++parameters);
  });
  Query query(database_, sql + " ORDER BY id LIMIT ?3");
  query.bind(1, after).bind(2, last).bind(3, static_cast<int64_t>(out.size()));
  parameters = 3;
  for_each_column([&](size_t i) {
    if (!criteria.is_known(i)) return;
    bind_value(query, ++parameters, layout_.fields[i], criteria.bytes(i));
  });
  size_t count = 0;
  while (query.step()) out[count++] = query.number(0);
  return count;
}

std::optional<Values> RecordTable::read(int64_t id) {
  SqlText columns = "id";
  for_each_column([&](size_t i) { columns += ", " + column(i); });
  Query query(database_, "SELECT " + columns + " FROM " + record_table(layout_) + " WHERE id = ?1");
  if (!query.bind(1, id).step()) return std::nullopt;
  Values values(layout_.fields.size());
  int at = 0;
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    if (layout_.fields[i].is_bulk()) {
      values.set_not_loaded(i);
    } else if (!query.is_null(++at)) {
      values.set(i, query.bytes(at));
    }
  }
  values.mark_stored();
  return values;
}

// The query keeps the state of the file that it saw until the value is read.
bool RecordTable::read_bulk(int64_t id, size_t position, Values& values) {
  const std::string table = bulk_table(layout_, position);
  Query query(database_, "SELECT 1 FROM " + table + " WHERE id = ?1");
  if (!query.bind(1, id).step()) return false;
  Blob blob(database_, table, "value", id, Blob::Mode::kRead);
  const uint32_t length = blob.length();
  Block bytes = make_block(length);
  blob.read(bytes.get());
  values.load(position, std::move(bytes), length);
  return true;
}

// Where a large value finds no room, what it wrote can be given back only if the log holds nothing
// else: on a full disk the file cannot grow to take it in.
void RecordTable::prepare_for(const Values& values) {
  constexpr size_t kLarge = 256 * 1024;
  size_t total = 0;
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    if (values.is_changed(i)) total += values.bytes(i).size();
  }
  if (total >= kLarge) database_.empty_log();
}

int64_t RecordTable::write(int64_t id, const Values& values) {
  prepare_for(values);
  Transaction writing(database_, Transaction::Kind::kWrite);
  const bool is_same = id != 0 && exists(id);
  if (id != 0 && !is_same) {
    for (size_t i = 0; i < layout_.fields.size(); ++i) {
      if (values.state(i) == Values::State::kNotLoaded) return 0;
    }
  }
  const Vector<int64_t> replaced = rivals(id, values);
  int64_t place = is_same ? id : 0;
  for (const int64_t rival : replaced) {
    if (place == 0) {
      place = rival;
    } else if (rival != place) {
      remove_row(rival);
    }
  }
  place = write_row(place, values);
  write_bulk(place, values, is_same);
  writing.commit();
  return place;
}

bool RecordTable::remove(int64_t id) {
  Transaction removing(database_, Transaction::Kind::kWrite);
  const bool removed = remove_row(id);
  removing.commit();
  return removed;
}

bool RecordTable::exists(int64_t id) {
  Query query(database_, "SELECT 1 FROM " + record_table(layout_) + " WHERE id = ?1");
  return query.bind(1, id).step();
}

// Ids of the other records that have one of the record's unique values, oldest first. One record
// may be a rival by several values.
Vector<int64_t> RecordTable::rivals(int64_t id, const Values& values) {
  Vector<int64_t> found;
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    const Field& field = layout_.fields[i];
    if (!field.is_unique() || !values.is_known(i)) continue;
    Query query(database_, "SELECT id FROM " + record_table(layout_) + " WHERE " + column(i) +
                               " = ?2 AND id <> ?1");
    query.bind(1, id);
    bind_value(query, 2, field, values.bytes(i));
    if (query.step()) found.push_back(query.number(0));
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

// @param id  0: a new row
int64_t RecordTable::write_row(int64_t id, const Values& values) {
  SqlText columns = "id", parameters = "?1", changes;
  int count = 1;
  for_each_column([&](size_t i) {
    columns += ", " + column(i);
    parameters += ", " + parameter(++count);
    changes += (changes.empty() ? " UPDATE SET " : ", ") + column(i) + " = excluded." + column(i);
  });
  Query query(database_, "INSERT INTO " + record_table(layout_) + "(" + columns + ") VALUES(" +
                             parameters + ") ON CONFLICT(id) DO" +
                             (changes.empty() ? " NOTHING" : changes));
  if (id != 0) query.bind(1, id);
  count = 1;
  for_each_column([&](size_t i) {
    ++count;
    if (values.is_known(i)) bind_value(query, count, layout_.fields[i], values.bytes(i));
  });
  query.step();
  return id != 0 ? id : sqlite3_last_insert_rowid(database_.get());
}

// @param is_same  the row was the record's own: what did not change is in the file
void RecordTable::write_bulk(int64_t id, const Values& values, bool is_same) {
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    if (!layout_.fields[i].is_bulk() || (is_same && !values.is_changed(i))) continue;
    remove_bulk(id, i);
    if (values.is_known(i)) insert_bulk(id, i, values.bytes(i));
  }
}

// A bound value would be copied into a row of its size; zeroes are not, and the bytes then go from
// the caller's memory to the pages.
void RecordTable::insert_bulk(int64_t id, size_t position, std::string_view bytes) {
  const std::string table = bulk_table(layout_, position);
  Query(database_, "INSERT INTO " + table + "(id, value) VALUES(?1, ?2)")
      .bind(1, id)
      .bind_zeroes(2, bytes.size())
      .step();
  Blob(database_, table, "value", id, Blob::Mode::kWrite).write(bytes);
}

void RecordTable::remove_bulk(int64_t id, size_t position) {
  Query(database_, "DELETE FROM " + bulk_table(layout_, position) + " WHERE id = ?1")
      .bind(1, id)
      .step();
}

bool RecordTable::remove_row(int64_t id) {
  for (size_t i = 0; i < layout_.fields.size(); ++i) {
    if (layout_.fields[i].is_bulk()) remove_bulk(id, i);
  }
  Query(database_, "DELETE FROM " + record_table(layout_) + " WHERE id = ?1").bind(1, id).step();
  return sqlite3_changes(database_.get()) != 0;
}

}  // namespace trova::storage
