// trova_mock: the allocator, the log and the service tables of the strict manager.
#include "trova_mock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

using namespace trova_mock;

struct trova_user {};

// `data` answers the reads of an ordinary object, `operations` those of a view of the library.
struct trova_gdo {
  static constexpr char kKind[] = "data object";
  std::shared_ptr<const ObjectData> data;
  void* view = nullptr;
  const trova_gdo_operations* operations = nullptr;
  bool application = false;
  std::deque<std::string> texts = {};
};

struct trova_locale {
  static constexpr char kKind[] = "locale";
  std::string language;
  std::string region = "global", descriptor = "detailed";
  unsigned references = 1;
};

struct trova_list_element {
  trova_list* list;
  Element row;
};

struct trova_list {
  static constexpr char kKind[] = "list";
  ListData data;
  std::map<uint32_t, trova_list_element> elements = {};
  std::deque<std::string> texts = {};
};

struct trova_correlates {
  static constexpr char kKind[] = "correlates";
  CorrelateTable table;
};

struct trova_correlate_set {
  static constexpr char kKind[] = "correlate set";
  CorrelateTable table;
  uint32_t id;
};

struct trova_record {
  static constexpr char kKind[] = "record";
  RecordData* stored = nullptr;  // null until inserted
  StoreData* store;
  RecordData data = {};
};

struct trova_cursor {
  static constexpr char kKind[] = "cursor";
  StoreData* store;
  std::vector<RecordData*> matches = {};
  size_t next = 0;
};

struct trova_store {
  static constexpr char kKind[] = "store";
  StoreData* data;
};

namespace {

constexpr size_t kGuard = 16;
constexpr int kFresh = 0xCD, kFreed = 0xDD, kFrontGuard = 0xA5, kRearGuard = 0x5A;

// Guarded by `lock`, as the records of mock() are.
struct State {
  std::recursive_mutex lock;
  std::unordered_map<void*, size_t> blocks;
  size_t bytes = 0, peak_bytes = 0;
  uint32_t memory_users = 0;
  std::unordered_set<const void*> handles, dead_handles;
  std::unordered_map<const void*, std::string> open;  // object to kind
  std::map<const void*, unsigned> tables;             // handed out and not yet released
  std::vector<std::string> problems;
};

// Outlives the static objects of tests.
State& g = *new State;

struct Lock : std::lock_guard<std::recursive_mutex> {
  Lock() : lock_guard(g.lock) {}
};

void require(bool holds, const std::string& rule) {
  Lock lock;
  if (!holds) g.problems.push_back(rule);
}

// Counts a call and answers the fault that is due.
uint32_t enter(const char* slot) {
  Lock lock;
  if (mock().keeps_trace) {
    ++mock().calls[slot];
    mock().trace.push_back(slot);
  }
  return mock().fault_due(slot);
}

template <class T>
T* open_object(T* object) {
  Lock lock;
  g.open[object] = T::kKind;
  return object;
}

template <class T>
bool is_open(const T* object) {
  Lock lock;
  auto found = g.open.find(object);
  return found != g.open.end() && found->second == T::kKind;
}

// Counts a call on an object, which must be open.
template <class T>
uint32_t enter(const char* slot, const T* object) {
  require(is_open(object), std::string(slot) + ": not an open " + T::kKind);
  const uint32_t code = enter(slot);
  return code == 0 && !is_open(object) ? kBadHandle : code;
}

template <class T>
uint32_t give(const char* slot, T* out, T value) {
  const uint32_t code = enter(slot);
  if (code == 0) *out = value;
  return code;
}

// Opens what a name or an id stands for.
template <class T, class Map, class Key>
uint32_t open_named(const char* slot, const Map& from, const Key& key, T** out) {
  if (const uint32_t code = enter(slot)) return code;
  auto found = from.find(key);
  if (found == from.end()) return kNotFound;
  *out = open_object(new T{found->second});
  return 0;
}

template <class T>
uint32_t release_object(const char* slot, T* object) {
  const uint32_t code = object == nullptr ? enter(slot) : enter(slot, object);
  if (object == nullptr || !is_open(object)) return code;
  Lock lock;
  g.open.erase(object);
  delete object;
  return code;
}

// ------------------------------------------------------------------------------- Allocator

void* allocate(size_t size) {
  Lock lock;
  require(g.memory_users > 0, "an allocation while the allocator is down");
  auto* base = mock().refuse_allocation() ? nullptr : std::malloc(size + 2 * kGuard);
  if (base == nullptr) return nullptr;
  auto* block = static_cast<unsigned char*>(base) + kGuard;
  std::memset(base, kFrontGuard, kGuard);
  std::memset(block, kFresh, size);
  std::memset(block + size, kRearGuard, kGuard);
  g.blocks[block] = size;
  g.bytes += size;
  g.peak_bytes = std::max(g.peak_bytes, g.bytes);
  g.dead_handles.erase(block);
  return block;
}

void release_block(void* block) {
  Lock lock;
  auto found = g.blocks.find(block);
  require(found != g.blocks.end(), "a block freed that is not in use");
  if (found == g.blocks.end()) return;
  auto* bytes = static_cast<unsigned char*>(block);
  const auto guard_holds = [](const unsigned char* guard, int byte) {
    return std::all_of(guard, guard + kGuard,
                       [byte](int found_byte) { return found_byte == byte; });
  };
  require(
      guard_holds(bytes - kGuard, kFrontGuard) && guard_holds(bytes + found->second, kRearGuard),
      "a block written outside its bounds");
  std::memset(bytes, kFreed, found->second);
  g.bytes -= found->second;
  g.blocks.erase(found);
  if (g.handles.erase(block) != 0) g.dead_handles.insert(block);
  std::free(bytes - kGuard);
}

uint32_t record_error(uint32_t line, const char* source, uint32_t code, uint32_t extra) {
  Lock lock;
  require((code & 0x80000000u) != 0, "the error log was given a code that is no failure");
  mock().errors.push_back({line, source, code, extra});
  return mock().error_answer.value_or(code);
}

std::optional<std::string> copy_of(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

void record_line(uint32_t line, const char* source, uint32_t package, uint32_t level,
                 const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  Lock lock;
  mock().lines.push_back({line, copy_of(source), package, level, text});
}

}  // namespace

extern "C" {

vrel_log_error_callback g_vrel_log_error_callback = record_error;
vrel_log_callback g_vrel_log_callback = record_line;
uint32_t g_vrel_log_enabled_pkgs[256];

uint32_t vrel_memory_initialize(ManagerHandle* manager) {
  require(manager == nullptr || manager == mock().manager(), "memory.initialize: a foreign handle");
  const uint32_t code = enter("memory.initialize");
  Lock lock;
  if (code == 0) ++g.memory_users;
  return code;
}

uint32_t vrel_memory_shutdown(void) {
  const uint32_t code = enter("memory.shutdown");
  Lock lock;
  require(g.memory_users > 0, "memory.shutdown: the allocator is down");
  if (g.memory_users > 0) --g.memory_users;
  return code;
}

void* vrel_memory_alloc(size_t size) {
  return allocate(size);
}

void* vrel_memory_calloc(size_t count, size_t size) {
  if (size != 0 && count > SIZE_MAX / 2 / size) return nullptr;
  void* block = allocate(count * size);
  return block == nullptr ? nullptr : std::memset(block, 0, count * size);
}

// Always moves the block, so that pointers into the old one are worthless.
void* vrel_memory_realloc(void* block, size_t size) {
  Lock lock;
  require(block == nullptr || g.blocks.count(block) != 0, "realloc of a block not in use");
  void* moved = allocate(size);
  if (moved == nullptr || block == nullptr) return moved;
  std::memcpy(moved, block, std::min(size, g.blocks[block]));
  release_block(block);
  return moved;
}

void vrel_memory_free(void* block) {
  if (block != nullptr) release_block(block);
}

void* vrel_memory_memcpy(void* to, const void* from, size_t size) {
  return size == 0 ? to : std::memcpy(to, from, size);
}

void* vrel_memory_memmove(void* to, const void* from, size_t size) {
  return size == 0 ? to : std::memmove(to, from, size);
}

void* vrel_memory_memset(void* to, int byte, size_t size) {
  return size == 0 ? to : std::memset(to, byte, size);
}

}  // extern "C"

namespace {

// ---------------------------------------------------------------------- Handles and errors

uint32_t handle_add(void* object) {
  Lock lock;
  require(object != nullptr, "handle.handle_add: null");
  g.dead_handles.erase(object);
  if (const uint32_t code = enter("handle.handle_add")) return code;
  require(g.handles.insert(object).second, "handle.handle_add: added twice");
  return 0;
}

uint32_t handle_remove(void* object) {
  Lock lock;
  require(object != nullptr && g.dead_handles.count(object) == 0,
          "handle.handle_remove: null or removed before");
  if (g.handles.erase(object) != 0) g.dead_handles.insert(object);
  return enter("handle.handle_remove");
}

uint32_t handle_validate(const void* handle, uint32_t magic) {
  if (const uint32_t code = enter("handle.handle_validate")) return code;
  Lock lock;
  if (handle == nullptr || g.dead_handles.count(handle) != 0) return kBadHandle;
  uint32_t word;
  std::memcpy(&word, handle, sizeof(word));
  return word == magic ? 0 : kBadHandle;
}

uint32_t handle_validate_user(const trova_user* user) {
  if (const uint32_t code = enter("handle.handle_validate_user")) return code;
  return user == mock().user() ? 0 : kBadHandle;
}

uint32_t handle_validate_object(const trova_gdo* object) {
  if (const uint32_t code = enter("handle.handle_validate_object")) return code;
  return is_open(object) ? 0 : kBadHandle;
}

uint32_t errorinfo_set(uint32_t code, const char* text) {
  if (const uint32_t fault = enter("errorinfo.set")) return fault;
  Lock lock;
  mock().infos.push_back({code, copy_of(text)});
  return 0;
}

// ----------------------------------------------------------------------------------- Lists

uint32_t list_release(trova_list* list) {
  return release_object("list.list_release", list);
}

uint32_t list_load(const char* type, const char* language, const char* region,
                   const char* descriptor, trova_list** out_list) {
  require(language && region && descriptor && std::string(region) + descriptor == "globaldetailed",
          "list.list_load: not the texts of a locale");
  const uint32_t code = open_named("list.list_load", mock().lists.lists, type, out_list);
  if (code != 0) return code;
  for (const auto& [id, row] : (*out_list)->data.elements) {
    (*out_list)->elements[id] = {*out_list, row};
  }
  return 0;
}

uint32_t locale_info(trova_locale* locale, const char** out_language, const char** out_region,
                     const char** out_descriptor) {
  if (const uint32_t code = enter("list.locale_info", locale)) return code;
  *out_language = locale->language.c_str();
  *out_region = locale->region.c_str();
  *out_descriptor = locale->descriptor.c_str();
  return 0;
}

uint32_t element_lookup(trova_list* list, uint32_t id, uint32_t level,
                        trova_list_element** out_element) {
  if (const uint32_t code = enter("list.element_lookup", list)) return code;
  const Element* element = nullptr;
  if (const uint32_t code = list->data.find(id, level, &element)) return code;
  *out_element = &list->elements[element->id];
  return 0;
}

uint32_t element_level(trova_list_element* element, uint32_t* out_level) {
  return give("list.element_level", out_level, element->list->data.level(element->row.id));
}

uint32_t element_id(trova_list_element* element, uint32_t* out_id) {
  return give("list.element_id", out_id, element->row.id);
}

uint32_t element_range(trova_list_element* element, uint32_t* out_lower, uint32_t* out_upper) {
  const uint32_t code = give("list.element_range", out_lower, element->row.lower);
  if (code == 0) *out_upper = element->row.upper;
  return code;
}

uint32_t element_display(trova_list_element* element, const char** out_text) {
  auto& text = element->list->texts.emplace_back("element " + std::to_string(element->row.id));
  return give("list.element_display", out_text, text.c_str());
}

uint32_t correlate_set_release(trova_correlate_set* set) {
  return release_object("list.correlate_set_release", set);
}

uint32_t correlate_set_open(trova_correlates* correlates, uint32_t id,
                            trova_correlate_set** out_set) {
  require(is_open(correlates), "list.correlate_set_open: not an open table");
  if (const uint32_t code = enter("list.correlate_set_open")) return code;
  if (!correlates->table.has(id)) return kNotFound;
  *out_set = open_object(new trova_correlate_set{correlates->table, id});
  return 0;
}

uint32_t correlate_score(trova_correlate_set* set, uint32_t id, int32_t* out_score) {
  if (const uint32_t code = enter("list.correlate_score", set)) return code;
  return set->table.score(set->id, id, out_score);
}

uint32_t correlates_load(const char* name, trova_correlates** out_correlates) {
  return open_named("list.correlates_load", mock().lists.correlates, name, out_correlates);
}

uint32_t correlates_release(trova_correlates* correlates) {
  return release_object("list.correlates_release", correlates);
}

uint32_t locale_load(const char* name, trova_locale** out_locale) {
  return open_named("list.locale_load", mock().lists.locales, name, out_locale);
}

uint32_t locale_addref(trova_locale* locale) {
  Lock lock;
  const uint32_t code = enter("list.locale_addref", locale);
  if (code == 0) ++locale->references;
  return code;
}

uint32_t locale_release(trova_locale* locale) {
  Lock lock;
  if (!is_open(locale) || --locale->references == 0) {
    return release_object("list.locale_release", locale);
  }
  return enter("list.locale_release");
}

// ---------------------------------------------------------------------------- Data objects

uint32_t gdo_create(void* view, const trova_gdo_operations* operations, uint32_t flags,
                    trova_gdo** out_object) {
  const trova_gdo_operations& o = *operations;
  require(flags == 0 && o.addref && o.get_context && o.child_count && o.get_child &&
              o.value_count && o.get_value && !o.unused6 && o.set_locale && o.get_locale &&
              !o.unused9 && o.release,
          "gdo.gdo_create: flags, or an operation missing or too many");
  if (const uint32_t code = enter("gdo.gdo_create")) return code;
  *out_object = open_object(new trova_gdo{nullptr, view, operations});
  return 0;
}

uint32_t gdo_release(trova_gdo* object) {
  const bool open = is_open(object);
  require(!open || !object->application, "gdo.gdo_release: the application's own object");
  if (open && object->application) return kBadHandle;
  if (open && object->operations != nullptr) object->operations->release(object->view);
  return release_object("gdo.gdo_release", object);
}

uint32_t hand_out(trova_gdo* object, const std::string* text, const char** out_text) {
  if (text == nullptr) return kNotFound;
  Lock lock;
  *out_text = object->texts.emplace_back(*text).c_str();
  return 0;
}

uint32_t gdo_get_context(trova_gdo* object, const char** out_text) {
  if (const uint32_t code = enter("gdo.gdo_get_context", object)) return code;
  if (object->operations) return object->operations->get_context(object->view, out_text);
  return hand_out(object, &object->data->context, out_text);
}

uint32_t gdo_get_value(trova_gdo* object, const char* key, uint32_t ordinal,
                       const char** out_text) {
  if (const uint32_t code = enter("gdo.gdo_get_value", object)) return code;
  if (object->operations) {
    return object->operations->get_value(object->view, key, ordinal, out_text);
  }
  require(ordinal > 0, "gdo.gdo_get_value: ordinals count from 1");
  return hand_out(object, object->data->value(key, ordinal), out_text);
}

uint32_t gdo_get_child(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                       trova_gdo** out_child) {
  require(ordinal > 0 && flags == 0, "gdo.gdo_get_child: ordinal or flags");
  if (const uint32_t code = enter("gdo.gdo_get_child", object)) return code;
  if (object->operations) {
    return object->operations->get_child(object->view, key, ordinal, flags, out_child);
  }
  const auto data = object->data->child(key, ordinal);
  if (data == nullptr) return kNotFound;
  *out_child = open_object(new trova_gdo{data});
  return 0;
}

// --------------------------------------------------------------------------------- Storage

uint32_t store_open(const char* name, trova_store** out_store) {
  if (const uint32_t code = enter("storage.open")) return code;
  auto found = mock().stores.find(name);
  if (found == mock().stores.end() || !found->second.finished) return kNotFound;
  *out_store = open_object(new trova_store{&found->second});
  return 0;
}

uint32_t store_create(const char* name, trova_store** out_store) {
  if (const uint32_t code = enter("storage.create")) return code;
  mock().stores[name] = {};
  *out_store = open_object(new trova_store{&mock().stores[name]});
  return 0;
}

uint32_t store_query(trova_store* store, trova_record* criteria, trova_cursor** out_cursor) {
  if (const uint32_t code = enter("storage.query", store)) return code;
  auto* cursor = open_object(new trova_cursor{store->data});
  const auto matches = [&](const RecordData& record) {
    return criteria == nullptr || std::includes(record.begin(), record.end(),
                                                criteria->data.begin(), criteria->data.end());
  };
  for (const auto& record : store->data->records) {
    if (matches(*record)) cursor->matches.push_back(record.get());
  }
  *out_cursor = cursor;
  return 0;
}

uint32_t store_finish(trova_store* store) {
  const uint32_t code = enter("storage.finish", store);
  if (code == 0) store->data->finished = true;
  return code;
}

uint32_t store_close(trova_store* store) {
  return release_object("storage.close", store);
}

uint32_t store_field_count(trova_store* store, uint32_t* out_count) {
  require(is_open(store), "storage.field_count: not an open store");
  return give("storage.field_count", out_count, static_cast<uint32_t>(store->data->fields.size()));
}

uint32_t store_field_info(trova_store* store, uint32_t position, const char** out_name,
                          uint32_t* out_type, uint32_t* out_flags) {
  if (const uint32_t code = enter("storage.field_info", store)) return code;
  const StoreData::Field& field = store->data->fields.at(position);
  *out_name = field.name.c_str();
  *out_type = field.type;
  *out_flags = field.flags;
  return 0;
}

uint32_t store_add_field(trova_store* store, const char* name, uint32_t type, uint32_t flags) {
  const uint32_t code = enter("storage.add_field", store);
  if (code == 0) store->data->fields.push_back({name, type, flags});
  return code;
}

uint32_t store_release(trova_store* store) {
  return release_object("storage.store_release", store);
}

uint32_t record_new(trova_store* store, trova_record** out_record) {
  if (const uint32_t code = enter("storage.record_new", store)) return code;
  *out_record = open_object(new trova_record{nullptr, store->data});
  return 0;
}

uint32_t record_insert(trova_record* record) {
  if (const uint32_t code = enter("storage.record_insert", record)) return code;
  require(record->stored == nullptr, "storage.record_insert: a record that is stored");
  record->store->records.push_back(std::make_unique<RecordData>(record->data));
  return 0;
}

uint32_t record_update(trova_record* record) {
  if (const uint32_t code = enter("storage.record_update", record)) return code;
  require(record->stored != nullptr, "storage.record_update: a record that is not stored");
  *record->stored = record->data;
  return 0;
}

uint32_t record_delete(trova_record* record) {
  if (const uint32_t code = enter("storage.record_delete", record)) return code;
  std::erase_if(record->store->records,
                [&](const auto& stored) { return stored.get() == record->stored; });
  return 0;
}

uint32_t set_binary(trova_record* record, const char* field, const void* bytes, uint32_t length) {
  const uint32_t code = enter("storage.set_binary", record);
  if (code == 0) record->data[field].assign(static_cast<const char*>(bytes), length);
  return code;
}

uint32_t set_string(trova_record* record, const char* field, const char* text) {
  const uint32_t code = enter("storage.set_string", record);
  if (code == 0) record->data[field] = text;
  return code;
}

uint32_t get_binary(trova_record* record, const char* field, const void** out_bytes,
                    uint32_t* out_length) {
  if (const uint32_t code = enter("storage.get_binary", record)) return code;
  *out_bytes = record->data[field].data();
  *out_length = static_cast<uint32_t>(record->data[field].size());
  return 0;
}

uint32_t get_string(trova_record* record, const char* field, const char** out_text) {
  require(is_open(record), "storage.get_string: not an open record");
  return give("storage.get_string", out_text, record->data[field].c_str());
}

uint32_t record_release(trova_record* record) {
  return release_object("storage.record_release", record);
}

uint32_t cursor_next(trova_cursor* cursor, trova_record** out_record) {
  if (const uint32_t code = enter("storage.cursor_next", cursor)) return code;
  if (cursor->next == cursor->matches.size()) return kNotFound;
  RecordData* const stored = cursor->matches[cursor->next++];
  if (out_record != nullptr) {
    *out_record = open_object(new trova_record{stored, cursor->store, *stored});
  }
  return 0;
}

uint32_t cursor_release(trova_cursor* cursor) {
  return release_object("storage.cursor_release", cursor);
}

// ----------------------------------------------------------------------------------- Tables

constexpr char kErrorinfoRelease[] = "errorinfo.release", kHandleRelease[] = "handle.release",
               kUserinfoRelease[] = "userinfo.release", kListRelease[] = "list.release",
               kGdoRelease[] = "gdo.release", kSerializationRelease[] = "serialization.release",
               kStorageRelease[] = "storage.release";

template <const char* slot>
uint32_t release_table(void* table) {
  Lock lock;
  require(g.tables[table] == 1, std::string(slot) + ": a table that is not out");
  g.tables.erase(table);
  return enter(slot);
}

// Slots that nobody has a reason to call stay null.
// clang-format off
trova_errorinfo_interface g_errorinfo = {release_table<kErrorinfoRelease>, errorinfo_set};
trova_handlemanager_interface g_handles = {
    release_table<kHandleRelease>, handle_add, handle_remove, handle_validate,
    nullptr, handle_validate_user, handle_validate_object};
trova_userinfo_interface g_userinfo = {release_table<kUserinfoRelease>};
trova_listmanager_interface g_lists = {
    release_table<kListRelease>, list_release, list_load, nullptr,
    locale_info, element_lookup, nullptr, element_level,
    element_id, element_range, element_display, nullptr,
    nullptr, nullptr, nullptr, nullptr,
    correlate_set_release, correlate_set_open, correlate_score, correlates_load,
    locale_load, correlates_release, locale_addref, locale_release};
trova_gdo_interface g_gdo = {
    release_table<kGdoRelease>, gdo_create, nullptr, gdo_release,
    gdo_get_context, nullptr, gdo_get_value, nullptr, gdo_get_child};
trova_serialization_interface g_serialization = {
    release_table<kSerializationRelease>, nullptr, nullptr, nullptr};
trova_storage_interface g_storage = {
    release_table<kStorageRelease>, store_open, store_create, store_query,
    store_finish, nullptr, store_close, store_field_count,
    store_field_info, store_add_field, nullptr, nullptr,
    store_release, record_new, record_insert, record_update,
    record_delete, set_binary, set_string, nullptr,
    get_binary, get_string, nullptr, record_release,
    cursor_next, cursor_release};
// clang-format on

const std::map<std::string, void*> kTables = {{TROVA_SERVICE_ERRORINFO, &g_errorinfo},
                                              {TROVA_SERVICE_HANDLEMANAGER, &g_handles},
                                              {TROVA_SERVICE_USERINFO, &g_userinfo},
                                              {TROVA_SERVICE_LISTMANAGER, &g_lists},
                                              {TROVA_SERVICE_GDO, &g_gdo},
                                              {TROVA_SERVICE_SERIALIZATION, &g_serialization},
                                              {TROVA_SERVICE_STORAGE, &g_storage}};

uint32_t query_interface(const char* name, void** out_table) {
  if (const uint32_t code = enter("manager.query_interface")) return code;
  Lock lock;
  mock().trace.back() += std::string(" ") + name;
  auto found = kTables.find(name);
  require(found != kTables.end(), "manager.query_interface: an unknown name");
  // The one service that may be missing.
  if (found == kTables.end() || (found->second == &g_storage && !mock().has_storage)) {
    return kNotFound;
  }
  ++g.tables[found->second];
  *out_table = found->second;
  return 0;
}

uint32_t register_package(uint32_t package, const char* tag) {
  const uint32_t code = enter("manager.register_package");
  Lock lock;
  mock().trace.back() += " " + std::to_string(package) + " " + tag;
  return code;
}

template <class Map>
auto nth(const Map& from, const std::string& key, uint32_t ordinal) {
  auto found = from.find(key);
  const bool known = found != from.end() && ordinal > 0 && ordinal <= found->second.size();
  return known ? &found->second[ordinal - 1] : nullptr;
}

}  // namespace

namespace trova_mock {

const std::string* ObjectData::value(const std::string& key, uint32_t ordinal) const {
  return nth(values, key, ordinal);
}

std::shared_ptr<const ObjectData> ObjectData::child(const std::string& key,
                                                    uint32_t ordinal) const {
  const auto* found = nth(children, key, ordinal);
  return found == nullptr ? nullptr : *found;
}

Object::Object(const std::string& context)
    : data_(new ObjectData{context}),
      handle_(open_object(new trova_gdo{data_, nullptr, nullptr, true})) {}

Object::~Object() {
  Lock lock;
  g.open.erase(handle_);
  delete handle_;
}

uint32_t ListData::level(uint32_t id) const {
  uint32_t level = 1;
  for (uint32_t at = id; elements.at(at).parent != 0; at = elements.at(at).parent) ++level;
  return level;
}

uint32_t ListData::find(uint32_t id, uint32_t level, const Element** out_element) const {
  if (const auto found = broken.find(id); found != broken.end()) return found->second;
  if (elements.count(id) == 0 || level > this->level(id)) return kNotFound;
  uint32_t at = id;
  for (uint32_t own = this->level(id); level != 0 && own > level; --own)
    at = elements.at(at).parent;
  *out_element = &elements.at(at);
  return 0;
}

static uint32_t mixed(uint32_t a, uint32_t b) {
  const uint64_t product = (a * 0x9e3779b97f4a7c15u ^ b) * 0xbf58476d1ce4e5b9u;
  return static_cast<uint32_t>(product >> 32);
}

bool CorrelateTable::has(uint32_t id) const {
  return count(id) != 0 || (id - 1 < ids && mixed(mix, id) % 16 != 0);
}

uint32_t CorrelateTable::score(uint32_t id, uint32_t other, int32_t* out_score) const {
  const uint32_t number = mixed(mixed(mix, id), other);
  if (const auto row = find(id); row != end()) {
    const auto found = row->second.find(other);
    if (found != row->second.end()) return *out_score = found->second, 0;
  }
  if (!has(id) || other - 1 >= ids || number % 8 == 0) return kNotFound;
  if (number % 512 == 1) return 0x90100007;
  *out_score = id == other ? 1000 : static_cast<int32_t>(number >> 12 & 0x7ff) - 1000;
  return 0;
}

Mock& mock() {
  static Mock& kept = *new Mock;
  return kept;
}

ManagerHandle* Mock::manager() {
  static ManagerHandle handle = {TROVA_MANAGER_MAGIC, TROVA_MANAGER_VERSION, 0, query_interface, 0,
                                 register_package};
  return &handle;
}

trova_user* Mock::user() {
  static trova_user user;
  return &user;
}

const trova_gdo_interface& Mock::objects() const {
  return g_gdo;
}

const trova_listmanager_interface& Mock::list_service() const {
  return g_lists;
}

const trova_gdo_operations& Mock::operations(const trova_gdo* object, void** out_view) const {
  *out_view = object->view;
  return *object->operations;
}

void Mock::reset() {
  *this = Mock();
  g.problems.clear();
  g.dead_handles.clear();
  std::fill_n(g_vrel_log_enabled_pkgs, 256, 7u);
  g_vrel_log_error_callback = record_error;
  g_vrel_log_callback = record_line;
}

void Mock::fail_slot(const std::string& slot, unsigned n, uint32_t code) {
  faults_.push_back({slot, n, code});
}

void Mock::fail_allocation(unsigned n, bool all_later) {
  allocation_due_ = n;
  allocations_stay_refused_ = all_later;
}

uint32_t Mock::fault_due(const std::string& slot) {
  for (Fault& fault : faults_) {
    if (fault.due != 0 && fault.slot == slot && --fault.due == 0) return fault.code;
  }
  return 0;
}

bool Mock::refuse_allocation() {
  const bool refuses = allocation_due_ == 1;
  if (allocation_due_ > 1 || (refuses && !allocations_stay_refused_)) --allocation_due_;
  return refuses;
}

size_t Mock::blocks() const {
  return g.blocks.size();
}

size_t Mock::bytes() const {
  return g.bytes;
}

size_t Mock::peak_bytes() const {
  return g.peak_bytes;
}

void Mock::watch_peak() {
  g.peak_bytes = g.bytes;
}

std::string Mock::usage() const {
  std::map<std::string, size_t> counts = {
      {"blocks", blocks()}, {"handles", g.handles.size()}, {"tables", g.tables.size()}};
  for (const auto& [object, kind] : g.open) {
    const bool is_gdo = kind == trova_gdo::kKind;
    if (!is_gdo || !static_cast<const trova_gdo*>(object)->application) ++counts[kind];
  }
  std::string text;
  for (const auto& [kind, count] : counts) {
    if (count != 0) text += kind + " " + std::to_string(count) + " ";
  }
  return text;
}

void Mock::expect_no_problems() {
  for (const std::string& problem : g.problems) ADD_FAILURE() << problem;
  g.problems.clear();
}

void Mock::expect_clean() {
  EXPECT_EQ(usage(), "");
  EXPECT_EQ(g.memory_users, 0u);
  expect_no_problems();
}

}  // namespace trova_mock
