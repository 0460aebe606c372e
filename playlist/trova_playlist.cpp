// trova_playlist: start, stop and version of the library.
#include "trova_playlist.h"

#include <atomic>

#include "playlist_attributes.h"
#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_datatypes.h"
#include "vrel_log.h"
#include "vrel_memory.h"
#include "vrel_random.h"
#include "vrel_spinlock.h"
#include "vrel_string.h"
#include "vrel_thread.h"

trova_errorinfo_interface* g_playlist_errorinfo_interface;
trova_handlemanager_interface* g_playlist_handlemanager_interface;
trova_userinfo_interface* g_playlist_userinfo_interface;
trova_listmanager_interface* g_playlist_lists_interface;
trova_gdo_interface* g_playlist_gdo_interface;
trova_serialization_interface* g_playlist_serialization_interface;
trova_storage_interface* g_playlist_storage_interface;

namespace {

const char kSource[] = "trova_playlist";
const char kVersion[] = "2.0.0.32";
const char kBuildDate[] = "2011-11-08 04:01 UTC";
const char kPackageTag[] = "TROVA PL";

// Where a failed start is logged, whichever step it was.
constexpr uint32_t kStartFailedLine = 176;
// Start and stop are told to the manager's own log package as well.
constexpr uint32_t kManagerLogPackage = 34;
// What the support modules answer to a shutdown without a start; mapped, it is PLERR_NotInited.
constexpr uint32_t kRawNotInited = 7;

// Guards the count and everything that start and stop do. The count is read without it. Lock order:
// first; held while the manager's slots and the support modules are called, never with a
// collection's lock.
vrel_spinlock g_init_lock;
std::atomic<uint32_t> g_init_count;

bool info_enabled(uint32_t package) {
  return g_vrel_log_callback != nullptr && (g_vrel_log_enabled_pkgs[package] & VREL_LOG_INFO) != 0;
}

void log_start(uint32_t package) {
  if (!info_enabled(package)) return;
  g_vrel_log_callback(0, nullptr, package, VREL_LOG_INFO,
                      "Playlist Initialize: Version %s  Built %s", kVersion, kBuildDate);
}

void log_stop(uint32_t package) {
  if (!info_enabled(package)) return;
  g_vrel_log_callback(0, nullptr, package, VREL_LOG_INFO, "Playlist Shutdown");
}

uint32_t start_memory(ManagerHandle* manager) {
  return vrel_memory_initialize(manager);
}
uint32_t start_thread(ManagerHandle*) {
  return vrel_thread_initialize();
}
uint32_t start_string(ManagerHandle*) {
  return vrel_string_initialize();
}
uint32_t start_datatypes(ManagerHandle*) {
  return vrel_datatypes_initialize();
}
uint32_t start_random(ManagerHandle*) {
  return vrel_random_initialize();
}

struct SupportModule {
  uint32_t (*start)(ManagerHandle* manager);
  uint32_t (*stop)();
};

// In the order of starting, which is the order of stopping too: every module only counts its users,
// so memory stays usable while the manager runs.
constexpr SupportModule kModules[] = {
    {start_memory, vrel_memory_shutdown}, {start_thread, vrel_thread_shutdown},
    {start_string, vrel_string_shutdown}, {start_datatypes, vrel_datatypes_shutdown},
    {start_random, vrel_random_shutdown},
};

template <typename Table>
uint32_t query(ManagerHandle* manager, const char* name, Table** global) {
  void* table = nullptr;
  PL_TRY(manager->query_interface(name, &table));
  *global = static_cast<Table*>(table);
  return 0;
}

template <typename Table>
void release(Table** global) {
  if (*global != nullptr) (*global)->release(*global);
  *global = nullptr;
}

uint32_t query_services(ManagerHandle* manager) {
  PL_TRY(query(manager, TROVA_SERVICE_ERRORINFO, &g_playlist_errorinfo_interface));
  PL_TRY(query(manager, TROVA_SERVICE_HANDLEMANAGER, &g_playlist_handlemanager_interface));
  PL_TRY(query(manager, TROVA_SERVICE_USERINFO, &g_playlist_userinfo_interface));
  PL_TRY(query(manager, TROVA_SERVICE_LISTMANAGER, &g_playlist_lists_interface));
  PL_TRY(query(manager, TROVA_SERVICE_GDO, &g_playlist_gdo_interface));
  PL_TRY(query(manager, TROVA_SERVICE_SERIALIZATION, &g_playlist_serialization_interface));
  // A manager without storage is fine: the storage functions say so when they are called.
  static_cast<void>(query(manager, TROVA_SERVICE_STORAGE, &g_playlist_storage_interface));
  return 0;
}

void stop_modules(size_t count) {
  for (size_t i = 0; i < count; ++i) static_cast<void>(kModules[i].stop());
}

// Gives back the registry and the services, and the support modules when the flag is set. Caller
// holds g_init_lock.
uint32_t shutdown_all(bool modules_too) {
  static_cast<void>(playlist_attributes_shutdown());
  if (g_playlist_attribute_mgr != nullptr) {
    static_cast<void>(vrel_vector2_delete(g_playlist_attribute_mgr));
  }
  g_playlist_attribute_mgr = nullptr;

  release(&g_playlist_serialization_interface);
  release(&g_playlist_gdo_interface);
  release(&g_playlist_storage_interface);
  release(&g_playlist_lists_interface);
  release(&g_playlist_handlemanager_interface);
  release(&g_playlist_userinfo_interface);
  release(&g_playlist_errorinfo_interface);

  if (modules_too) stop_modules(sizeof kModules / sizeof kModules[0]);
  return 0;
}

// Caller holds g_init_lock. After a failure nothing is left started.
uint32_t initialize_all(ManagerHandle* manager) {
  uint32_t code = 0;
  size_t started = 0;
  for (const SupportModule& module : kModules) {
    code = module.start(manager);
    if (code != 0) break;
    ++started;
  }
  if (code == 0) code = manager->register_package(kPlaylistPackage, kPackageTag);
  if (code == 0) code = query_services(manager);
  if (code == 0) code = playlist_attributes_initialize();
  if (code == 0) return 0;

  static_cast<void>(shutdown_all(false));
  stop_modules(started);
  return vrel_log_error(kStartFailedLine, kSource, code);
}

bool is_usable(const ManagerHandle* manager) {
  return manager->magic == TROVA_MANAGER_MAGIC &&
         vrel_string_equal(manager->version, TROVA_MANAGER_VERSION, 1);
}

}  // namespace

uint32_t trova_playlist_initialize(ManagerHandle* manager) {
  PL_REQUIRE_ARG(manager != nullptr);
  if (!is_usable(manager)) return vrel_report_error(__func__, PLERR_BadManager);

  vrel_spinlock_lock(&g_init_lock);
  const uint32_t count = g_init_count.load(std::memory_order_relaxed);
  uint32_t code = count == UINT32_MAX ? PLERR_InitFailed : 0;  // one more and nobody would be left
  if (count == 0) code = initialize_all(manager);
  if (code == 0) g_init_count.store(count + 1, std::memory_order_release);
  vrel_spinlock_unlock(&g_init_lock);
  if (code != 0) return vrel_report_error(__func__, PLERR_InitFailed);

  log_start(kPlaylistPackage);
  log_start(kManagerLogPackage);
  return 0;
}

uint32_t trova_playlist_shutdown(void) {
  // Told before the count is looked at, so a shutdown too many is seen in the log as well.
  log_stop(kPlaylistPackage);
  log_stop(kManagerLogPackage);

  vrel_spinlock_lock(&g_init_lock);
  const uint32_t count = g_init_count.load(std::memory_order_relaxed);
  uint32_t code = 0;
  if (count == 0) {
    code = kRawNotInited;
  } else {
    if (count == 1) code = shutdown_all(true);
    if (code == 0) g_init_count.store(count - 1, std::memory_order_release);
  }
  vrel_spinlock_unlock(&g_init_lock);
  PL_RETURN(code);
}

uint32_t trova_playlist_initchecks(void) {
  return g_init_count.load(std::memory_order_acquire);
}

const char* trova_playlist_get_version(void) {
  return kVersion;
}

const char* trova_playlist_get_build_date(void) {
  return kBuildDate;
}
