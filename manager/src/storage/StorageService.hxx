// StorageService: stores, records and cursors behind handles, and the table of the service.
//
//   - A store handle is one being created (fields are added, then it is finished) or one of the
//     file. Nothing is written before finish().
//   - Records and cursors share what they need of their store: they go on working after it was
//     released or closed.
//   - When the manager stops, the file is closed, whatever handles there are. What needs the file
//     is then TROVA_MANAGER_NOT_RUNNING, even if the manager starts again; values that were read
//     stay, and releases work.
//   - A cursor stands for the records that matched when it was made and still do when they are
//     reached. It keeps a batch of ids and no transaction: the application may take its time.
//   - A value that was handed out lives as long as its record, even where the record gets another.
#ifndef TROVA_MANAGER_STORAGE_STORAGE_SERVICE_HXX
#define TROVA_MANAGER_STORAGE_STORAGE_SERVICE_HXX

#include "trova_manager_services.h"

namespace trova::storage {

// First words of a trova_store, a trova_record and a trova_cursor.
inline constexpr uint32_t kStoreMagic = 0x5704e5ed;
inline constexpr uint32_t kRecordMagic = 0x4ec04d5e;
inline constexpr uint32_t kCursorMagic = 0xc0450457;

// Opens the file; with null there is no service. Throws Failure; called while it is closed.
void start(const char* path);
void stop() noexcept;

// @return null while no file is open
const trova_storage_interface* service_table() noexcept;

}  // namespace trova::storage

#endif  // TROVA_MANAGER_STORAGE_STORAGE_SERVICE_HXX
