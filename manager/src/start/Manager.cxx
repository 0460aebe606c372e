// Manager: start and stop, and the handle that the playlist library is given.
#include "start/Manager.hxx"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <string_view>

#include "errors/ErrorInfo.hxx"
#include "handles/HandleService.hxx"
#include "lists/ListService.hxx"
#include "log/Log.hxx"
#include "memory/Memory.hxx"
#include "objects/DataObject.hxx"
#include "serialization/SerializationService.hxx"
#include "storage/StorageService.hxx"
#include "trova_manager.h"
#include "users/User.hxx"
#include "util/Guard.hxx"

namespace trova {

namespace {

// Held by start and stop. Lock order: before every other lock of the manager; no slot takes it.
constinit std::mutex g_lock;
constinit std::atomic<uint32_t> g_starts;

// Tables are constants of this library, handed out for reading only.
template <class Table>
void* hand_out(const Table& table) {
  return const_cast<Table*>(&table);
}

void* storage_table() {
  const trova_storage_interface* const table = storage::service_table();
  return table == nullptr ? nullptr : hand_out(*table);
}

void* service_table(std::string_view name) {
  if (name == TROVA_SERVICE_ERRORINFO) return hand_out(error_service_table());
  if (name == TROVA_SERVICE_HANDLEMANAGER) return hand_out(handle_service_table());
  if (name == TROVA_SERVICE_USERINFO) return hand_out(user_service_table());
  if (name == TROVA_SERVICE_LISTMANAGER) return hand_out(lists::list_service_table());
  if (name == TROVA_SERVICE_GDO) return hand_out(object_service_table());
  if (name == TROVA_SERVICE_SERIALIZATION) return hand_out(serialization_service_table());
  if (name == TROVA_SERVICE_STORAGE) return storage_table();
  return nullptr;
}

uint32_t query_interface(const char* name, void** out_table) noexcept {
  if (name == nullptr || out_table == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (!manager_runs()) return TROVA_MANAGER_NOT_RUNNING;
  void* const table = service_table(name);
  if (table == nullptr) return TROVA_MANAGER_NO_SERVICE;
  *out_table = table;
  return 0;
}

uint32_t register_package(uint32_t package, const char* tag) noexcept {
  return manager_runs() ? set_package_tag(package, tag) : TROVA_MANAGER_NOT_RUNNING;
}

constinit ManagerHandle g_handle = {
    .magic = TROVA_MANAGER_MAGIC,
    .version = TROVA_MANAGER_VERSION,
    .unused2 = 0,
    .query_interface = query_interface,
    .unused4 = 0,
    .register_package = register_package,
};

// What can fail comes first.
void apply(const trova_manager_options& options) {
  storage::start(options.storage_path);
  lists::list_service_start(options.language);
  memory::set_limit(options.memory_limit);
}

// Callers built against an older header know fewer fields; the others keep their defaults.
trova_manager_options known_options(const trova_manager_options* options) {
  trova_manager_options known = {sizeof known, nullptr, 0, nullptr};
  if (options == nullptr) return known;
  std::memcpy(&known, options, std::min(options->size, sizeof known));
  return known;
}

uint32_t start(const trova_manager_options* options, ManagerHandle** out_manager) {
  if (out_manager == nullptr) return TROVA_MANAGER_INVALID_ARG;
  if (options != nullptr && options->size < sizeof options->size) return TROVA_MANAGER_INVALID_ARG;
  const std::lock_guard hold(g_lock);
  if (g_starts.load() == UINT32_MAX) return TROVA_MANAGER_INTERNAL;
  if (!manager_runs()) apply(known_options(options));
  g_starts.fetch_add(1);
  *out_manager = &g_handle;
  return 0;
}

uint32_t stop() {
  const std::lock_guard hold(g_lock);
  if (!manager_runs()) return TROVA_MANAGER_NOT_RUNNING;
  if (g_starts.fetch_sub(1) != 1) return 0;
  storage::stop();
  lists::list_service_stop();
  memory::set_limit(0);
  return 0;
}

}  // namespace

bool manager_runs() noexcept {
  return g_starts.load(std::memory_order_acquire) != 0;
}

}  // namespace trova

using namespace trova;

uint32_t trova_manager_start(const trova_manager_options* options, ManagerHandle** out_manager) {
  return guard_exported(__func__, [&] { return start(options, out_manager); });
}

uint32_t trova_manager_stop(void) {
  return guard_exported(__func__, [] { return stop(); });
}

const char* trova_manager_get_version(void) {
  return TROVA_MANAGER_VERSION;
}
