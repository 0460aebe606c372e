// StorageCalls: the calls that store, load and list collections, as the playlist library makes
// them.
#ifndef TROVA_TESTS_MANAGER_STORAGE_CALLS_H
#define TROVA_TESTS_MANAGER_STORAGE_CALLS_H

#include <memory>
#include <string>
#include <vector>

#include "trova_manager.h"

inline const trova_storage_interface* g_storage = nullptr;

struct Releaser {
  void operator()(trova_store* store) const { g_storage->store_release(store); }
  void operator()(trova_record* record) const { g_storage->record_release(record); }
  void operator()(trova_cursor* cursor) const { g_storage->cursor_release(cursor); }
};
template <class T>
using Owner = std::unique_ptr<T, Releaser>;

// Calls a slot whose last argument is an out handle.
template <class T, class... Given, class... Args>
uint32_t acquire(Owner<T>& owner, uint32_t (*slot)(Given...), Args... args) {
  T* raw = nullptr;
  const uint32_t code = slot(args..., &raw);
  if (code == 0) owner.reset(raw);
  return code;
}

inline uint32_t start_storage(const std::string& path) {
  const trova_manager_options options = {sizeof options, "en", 0, path.c_str()};
  ManagerHandle* manager = nullptr;
  void* table = nullptr;
  if (const uint32_t code = trova_manager_start(&options, &manager)) return code;
  const uint32_t code = manager->query_interface(TROVA_SERVICE_STORAGE, &table);
  g_storage = static_cast<const trova_storage_interface*>(table);
  return code;
}

// The store's own code, or that of the first call that fails.
inline uint32_t open_store(Owner<trova_store>& store) {
  return acquire(store, g_storage->open, "trova_collection.store");
}

inline uint32_t open_or_create_store(Owner<trova_store>& store) {
  if (open_store(store) == 0) return 0;
  uint32_t code = acquire(store, g_storage->create, "trova_collection.store");
  if (code == 0) code = g_storage->add_field(store.get(), "coll_name", 1, 3);
  if (code == 0) code = g_storage->add_field(store.get(), "coll_data", 3, 0);
  return code != 0 ? code : g_storage->finish(store.get());
}

inline uint32_t find_record(trova_store* store, const std::string& name,
                            Owner<trova_record>& found) {
  Owner<trova_record> criteria;
  Owner<trova_cursor> cursor;
  uint32_t code = acquire(criteria, g_storage->record_new, store);
  if (code == 0) code = g_storage->set_string(criteria.get(), "coll_name", name.c_str());
  if (code == 0) code = acquire(cursor, g_storage->query, store, criteria.get());
  return code != 0 ? code : acquire(found, g_storage->cursor_next, cursor.get());
}

inline uint32_t fill(trova_record* record, const std::string& name, const std::string& data) {
  const uint32_t code = g_storage->set_string(record, "coll_name", name.c_str());
  const uint32_t length = static_cast<uint32_t>(data.size());
  return code != 0 ? code : g_storage->set_binary(record, "coll_data", data.data(), length);
}

// @param key  the name under which the collection was stored before
inline uint32_t put(const std::string& key, const std::string& name, const std::string& data) {
  Owner<trova_store> store;
  Owner<trova_record> record;
  uint32_t code = open_or_create_store(store);
  if (code != 0) return code;
  const bool is_update = find_record(store.get(), key, record) == 0;
  if (!is_update) code = acquire(record, g_storage->record_new, store.get());
  if (code == 0) code = fill(record.get(), name, data);
  if (code != 0) return code;
  return (is_update ? g_storage->record_update : g_storage->record_insert)(record.get());
}
inline uint32_t put(const std::string& name, const std::string& data) {
  return put(name, name, data);
}

// Data that tells which store it came from and whether it is whole.
inline std::string data_of(const std::string& name, unsigned number) {
  std::string data = std::to_string(number) + " " + name;
  data.resize(number * 7919u % 60'000u + 100u, static_cast<char>('a' + number % 26));
  return data;
}

#endif  // TROVA_TESTS_MANAGER_STORAGE_CALLS_H
