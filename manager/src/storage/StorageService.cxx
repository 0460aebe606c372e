// StorageService: stores, records and cursors behind handles, and the table of the service.
#include "storage/StorageService.hxx"

#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>

#include "handles/Registry.hxx"
#include "storage/RecordTable.hxx"
#include "storage/StorageFile.hxx"
#include "trova_manager.h"
#include "util/Guard.hxx"

using trova::storage::Layout;
using trova::storage::Values;

struct trova_store : trova::Counted {
  explicit trova_store(std::shared_ptr<Layout> its_layout) : layout(std::move(its_layout)) {}

  uint32_t magic = trova::storage::kStoreMagic;
  std::shared_ptr<Layout>
      layout;  // changes only until it is finished, which is before it is shared
};

struct trova_record : trova::Counted {
  trova_record(std::shared_ptr<const Layout> its_layout, int64_t its_id, Values its_values)
      : layout(std::move(its_layout)), id(its_id), values(std::move(its_values)) {}

  uint32_t magic = trova::storage::kRecordMagic;
  std::shared_ptr<const Layout> layout;
  int64_t id;  // 0: not in the file
  Values values;
};

struct trova_cursor : trova::Counted {
  trova_cursor(std::shared_ptr<const Layout> its_layout, int64_t its_last)
      : layout(std::move(its_layout)), criteria(layout->fields.size()), last(its_last) {}

  uint32_t magic = trova::storage::kCursorMagic;
  std::shared_ptr<const Layout> layout;
  Values criteria;
  int64_t last;           // id of the youngest record that may match
  int64_t listed_to = 0;  // ids up to this one have been listed
  size_t at = 0;          // in the batch
  size_t count = 0;       // of the batch
  std::array<int64_t, 256> batch;
};

namespace trova::storage {

namespace {

constexpr size_t kMostFields = 100;

// One lock for the file and for every handle: SQLite lets one thread at a time use a connection,
// and a handle that is released by another thread is then stale and not half gone. Lock order:
// often behind a collection's lock, before the registry of handles; errors are reported without it.
constinit std::mutex g_lock;
constinit StorageFile* g_file;  // owned; null while there is no service
constinit uint64_t g_session;   // counts the files that were opened

// The body of a slot. The lock is given back before a failure is reported.
template <class Body>
uint32_t locked(Body body) noexcept {
  return guard([&] {
    const std::lock_guard hold(g_lock);
    return body();
  });
}

// ---- What every slot begins with

Database& database() {
  if (g_file == nullptr) throw Failure(TROVA_MANAGER_NOT_RUNNING, "no storage file is open");
  g_file->database().restart_patience();
  return g_file->database();
}

Database& database_of(const Layout& layout) {
  if (layout.session != g_session) {
    throw Failure(TROVA_MANAGER_NOT_RUNNING, "the storage file of this handle was closed");
  }
  return database();
}

RecordTable table_of(const Layout& layout) {
  return RecordTable(database_of(layout), layout);
}

bool is_name(const char* text) {
  return text != nullptr && *text != '\0';
}

// A store that is in the file.
uint32_t check_store(trova_store* store) {
  if (const uint32_t code = handles::check(store, kStoreMagic)) return code;
  return store->layout->is_finished() ? 0 : TROVA_MANAGER_INVALID_ARG;
}

uint32_t check_unfinished(trova_store* store) {
  if (const uint32_t code = handles::check(store, kStoreMagic)) return code;
  return store->layout->is_finished() ? TROVA_MANAGER_INVALID_ARG : 0;
}

// Finds a record's field of a type.
uint32_t find_field(trova_record* record, const char* name, uint32_t type, size_t& position) {
  if (const uint32_t code = handles::check(record, kRecordMagic)) return code;
  if (name == nullptr) return TROVA_MANAGER_INVALID_ARG;
  position = record->layout->position_of(name);
  if (position == Layout::kNowhere) return TROVA_MANAGER_NOT_FOUND;
  return record->layout->fields[position].type == type ? 0 : TROVA_MANAGER_INVALID_ARG;
}

template <class Object>
void hand_out(std::unique_ptr<Object> object, Object** out) {
  handles::enter(object.get());
  *out = object.release();
}

template <class Object>
uint32_t dispose(Object* object, uint32_t magic) noexcept {
  return locked([&]() -> uint32_t {
    if (object == nullptr) return 0;
    if (!handles::leave(object, magic)) return TROVA_MANAGER_BAD_HANDLE;
    delete object;
    return 0;
  });
}

std::shared_ptr<Layout> make_layout(const char* name) {
  auto layout = std::allocate_shared<Layout>(Allocator<Layout>());
  layout->session = g_session;
  layout->name = name;
  return layout;
}

// ---- Stores

uint32_t release(void*) noexcept {
  return 0;
}

uint32_t open(const char* name, trova_store** out_store) noexcept {
  return locked([&]() -> uint32_t {
    if (!is_name(name) || out_store == nullptr) return TROVA_MANAGER_INVALID_ARG;
    Database& file = database();
    auto layout = make_layout(name);
    if (!find_store(file, *layout)) return TROVA_MANAGER_NOT_FOUND;
    hand_out(std::make_unique<trova_store>(std::move(layout)), out_store);
    return 0;
  });
}

uint32_t create(const char* name, trova_store** out_store) noexcept {
  return locked([&]() -> uint32_t {
    if (!is_name(name) || out_store == nullptr) return TROVA_MANAGER_INVALID_ARG;
    database();
    hand_out(std::make_unique<trova_store>(make_layout(name)), out_store);
    return 0;
  });
}

void require_known(uint32_t type, uint32_t flags) {
  if (type != kText && type != kBinary) {
    throw Failure(TROVA_MANAGER_INVALID_ARG, "no field has type " + std::to_string(type));
  }
  if ((flags & ~(kSearched | kUnique)) != 0) {
    throw Failure(TROVA_MANAGER_INVALID_ARG, "no field has flags " + std::to_string(flags));
  }
}

uint32_t add_field(trova_store* store, const char* name, uint32_t type, uint32_t flags) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = check_unfinished(store)) return code;
    Layout& layout = *store->layout;
    if (!is_name(name) || layout.fields.size() == kMostFields) return TROVA_MANAGER_INVALID_ARG;
    if (layout.position_of(name) != Layout::kNowhere) return TROVA_MANAGER_INVALID_ARG;
    require_known(type, flags);
    layout.fields.push_back({String(name), type, flags});
    return 0;
  });
}

uint32_t finish(trova_store* store) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = check_unfinished(store)) return code;
    Layout& layout = *store->layout;
    if (layout.fields.empty()) return TROVA_MANAGER_INVALID_ARG;
    layout.id = make_store(database_of(layout), layout);
    return 0;
  });
}

uint32_t release_store(trova_store* store) noexcept {
  return dispose(store, kStoreMagic);
}

uint32_t field_count(trova_store* store, uint32_t* out_count) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = handles::check(store, kStoreMagic)) return code;
    if (out_count == nullptr) return TROVA_MANAGER_INVALID_ARG;
    *out_count = static_cast<uint32_t>(store->layout->fields.size());
    return 0;
  });
}

uint32_t field_info(trova_store* store, uint32_t position, const char** out_name,
                    uint32_t* out_type, uint32_t* out_flags) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = handles::check(store, kStoreMagic)) return code;
    if (out_name == nullptr || out_type == nullptr || out_flags == nullptr) {
      return TROVA_MANAGER_INVALID_ARG;
    }
    const Layout& layout = *store->layout;
    if (position >= layout.fields.size()) return TROVA_MANAGER_NOT_FOUND;
    const Field& field = layout.fields[position];
    *out_name = field.name.c_str();
    *out_type = field.type;
    *out_flags = field.flags;
    return 0;
  });
}

// ---- Records

uint32_t record_new(trova_store* store, trova_record** out_record) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = check_store(store)) return code;
    if (out_record == nullptr) return TROVA_MANAGER_INVALID_ARG;
    Values values(store->layout->fields.size());
    hand_out(std::make_unique<trova_record>(store->layout, 0, std::move(values)), out_record);
    return 0;
  });
}

uint32_t write(trova_record* record, bool is_new) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = handles::check(record, kRecordMagic)) return code;
    if ((record->id == 0) != is_new) return TROVA_MANAGER_INVALID_ARG;
    const int64_t id = table_of(*record->layout).write(record->id, record->values);
    if (id == 0) return TROVA_MANAGER_NOT_FOUND;
    record->id = id;
    record->values.mark_stored();
    return 0;
  });
}

uint32_t record_insert(trova_record* record) noexcept {
  return write(record, true);
}

uint32_t record_update(trova_record* record) noexcept {
  return write(record, false);
}

uint32_t record_delete(trova_record* record) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = handles::check(record, kRecordMagic)) return code;
    if (record->id == 0) return TROVA_MANAGER_INVALID_ARG;
    const bool removed = table_of(*record->layout).remove(record->id);
    record->id = 0;
    record->values.mark_removed();
    return removed ? 0 : TROVA_MANAGER_NOT_FOUND;
  });
}

uint32_t set_value(trova_record* record, const char* field, uint32_t type, const void* bytes,
                   size_t length) noexcept {
  return locked([&]() -> uint32_t {
    size_t position = 0;
    if (const uint32_t code = find_field(record, field, type, position)) return code;
    if (bytes == nullptr && length != 0) return TROVA_MANAGER_INVALID_ARG;
    if (length > kLongestValue) {
      throw Failure(TROVA_MANAGER_INVALID_ARG, "a value may have " + std::to_string(kLongestValue) +
                                                   " bytes, not " + std::to_string(length));
    }
    record->values.set(position, {static_cast<const char*>(bytes), length});
    return 0;
  });
}

uint32_t set_binary(trova_record* record, const char* field, const void* bytes,
                    uint32_t length) noexcept {
  return set_value(record, field, kBinary, bytes, length);
}

uint32_t set_string(trova_record* record, const char* field, const char* text) noexcept {
  if (text == nullptr) return TROVA_MANAGER_INVALID_ARG;
  return set_value(record, field, kText, text, std::strlen(text));
}

// Makes a value known. Caller holds the lock.
uint32_t load(trova_record* record, const char* field, uint32_t type, size_t& position) {
  if (const uint32_t code = find_field(record, field, type, position)) return code;
  Values& values = record->values;
  if (values.state(position) == Values::State::kNotLoaded) {
    table_of(*record->layout).read_bulk(record->id, position, values);
  }
  return values.is_known(position) ? 0 : TROVA_MANAGER_NOT_FOUND;
}

uint32_t get_binary(trova_record* record, const char* field, const void** out_bytes,
                    uint32_t* out_length) noexcept {
  return locked([&]() -> uint32_t {
    size_t position = 0;
    if (out_bytes == nullptr || out_length == nullptr) return TROVA_MANAGER_INVALID_ARG;
    if (const uint32_t code = load(record, field, kBinary, position)) return code;
    *out_length = static_cast<uint32_t>(record->values.bytes(position).size());
    *out_bytes = record->values.hand_out(position);
    return 0;
  });
}

uint32_t get_string(trova_record* record, const char* field, const char** out_text) noexcept {
  return locked([&]() -> uint32_t {
    size_t position = 0;
    if (out_text == nullptr) return TROVA_MANAGER_INVALID_ARG;
    if (const uint32_t code = load(record, field, kText, position)) return code;
    *out_text = record->values.hand_out(position);
    return 0;
  });
}

uint32_t record_release(trova_record* record) noexcept {
  return dispose(record, kRecordMagic);
}

// ---- Cursors

// The criteria of a query are the known values of a record of the same store.
void copy_criteria(const trova_record& record, Values& criteria) {
  const Layout& layout = *record.layout;
  for (size_t i = 0; i < layout.fields.size(); ++i) {
    if (!record.values.is_known(i)) continue;
    if (!layout.fields[i].has_index()) {
      throw Failure(TROVA_MANAGER_INVALID_ARG,
                    "the field '" + std::string(layout.fields[i].name) + "' is not searched");
    }
    criteria.set(i, record.values.bytes(i));
  }
}

// Caller has used up the batch.
void list_next(trova_cursor& cursor) {
  RecordTable table = table_of(*cursor.layout);
  cursor.count = table.list(cursor.criteria, cursor.listed_to, cursor.last, cursor.batch);
  cursor.at = 0;
  const bool is_last = cursor.count < cursor.batch.size();
  cursor.listed_to = is_last ? cursor.last : cursor.batch.back();
}

uint32_t query(trova_store* store, trova_record* criteria, trova_cursor** out_cursor) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = check_store(store)) return code;
    if (out_cursor == nullptr) return TROVA_MANAGER_INVALID_ARG;
    const std::shared_ptr<Layout>& layout = store->layout;
    auto cursor = std::make_unique<trova_cursor>(layout, table_of(*layout).last_id());
    if (criteria != nullptr) {
      if (const uint32_t code = handles::check(criteria, kRecordMagic)) return code;
      const bool is_of_store =
          criteria->layout->session == layout->session && criteria->layout->id == layout->id;
      if (!is_of_store) return TROVA_MANAGER_INVALID_ARG;
      copy_criteria(*criteria, cursor->criteria);
    }
    list_next(*cursor);
    hand_out(std::move(cursor), out_cursor);
    return 0;
  });
}

// @return the record at the cursor, or null when it is gone
std::unique_ptr<trova_record> read_current(trova_cursor& cursor) {
  const int64_t id = cursor.batch[cursor.at];
  std::optional<Values> values = table_of(*cursor.layout).read(id);
  if (!values.has_value()) return nullptr;
  return std::make_unique<trova_record>(cursor.layout, id, std::move(*values));
}

// A failure leaves the cursor where it is.
uint32_t cursor_next(trova_cursor* cursor, trova_record** out_record) noexcept {
  return locked([&]() -> uint32_t {
    if (const uint32_t code = handles::check(cursor, kCursorMagic)) return code;
    for (;; ++cursor->at) {
      if (cursor->at == cursor->count && cursor->listed_to < cursor->last) list_next(*cursor);
      if (cursor->at == cursor->count) return TROVA_MANAGER_NOT_FOUND;
      if (out_record == nullptr) break;
      auto record = read_current(*cursor);
      if (record == nullptr) continue;
      hand_out(std::move(record), out_record);
      break;
    }
    ++cursor->at;
    return 0;
  });
}

uint32_t cursor_release(trova_cursor* cursor) noexcept {
  return dispose(cursor, kCursorMagic);
}

constexpr trova_storage_interface kTable = {
    .release = release,
    .open = open,
    .create = create,
    .query = query,
    .finish = finish,
    .unused5 = nullptr,
    .close = release_store,
    .field_count = field_count,
    .field_info = field_info,
    .add_field = add_field,
    .unused10 = nullptr,
    .unused11 = nullptr,
    .store_release = release_store,
    .record_new = record_new,
    .record_insert = record_insert,
    .record_update = record_update,
    .record_delete = record_delete,
    .set_binary = set_binary,
    .set_string = set_string,
    .unused19 = nullptr,
    .get_binary = get_binary,
    .get_string = get_string,
    .unused22 = nullptr,
    .record_release = record_release,
    .cursor_next = cursor_next,
    .cursor_release = cursor_release,
};

}  // namespace

void start(const char* path) {
  if (path == nullptr) return;
  if (*path == '\0') throw Failure(TROVA_MANAGER_INVALID_ARG, "the storage file has no name");
  auto file = std::make_unique<StorageFile>(path);
  const std::lock_guard hold(g_lock);
  g_file = file.release();
  ++g_session;
}

void stop() noexcept {
  const std::lock_guard hold(g_lock);
  delete g_file;
  g_file = nullptr;
}

const trova_storage_interface* service_table() noexcept {
  const std::lock_guard hold(g_lock);
  return g_file == nullptr ? nullptr : &kTable;
}

}  // namespace trova::storage
