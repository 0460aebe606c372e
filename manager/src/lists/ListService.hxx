// ListService: lists, locales and correlates as handles, and the table of the list manager.
//
// Lists and correlates are read-only data that the library carries; a handle is an address in a
// fixed array with a count of its users. So loading a list costs no memory, and a stale or foreign
// handle is told from a live one by its address and the count, without touching anything else.
// The users of one list share its handle: it goes stale when the last of them has released it.
#ifndef TROVA_MANAGER_LISTS_LIST_SERVICE_HXX
#define TROVA_MANAGER_LISTS_LIST_SERVICE_HXX

#include <cstdint>

#include "Tables.hxx"
#include "trova_manager.h"

namespace trova::lists {

// The slots answer TROVA_MANAGER_NOT_RUNNING before list_service_start() and BAD_HANDLE to every
// handle from before list_service_stop().
const trova_listmanager_interface& list_service_table() noexcept;

// @param language  "en", "de", also with a country or an encoding behind it ("de_AT.UTF-8"); null:
//                  what LC_ALL, LC_MESSAGES or LANG say; English for every other language
void list_service_start(const char* language) noexcept;

// Handles that are still out go stale, and their memory is freed.
void list_service_stop() noexcept;

// ---- For the exported functions.

// @return TROVA_MANAGER_NOT_RUNNING; TROVA_MANAGER_NOT_FOUND for an unknown type
uint32_t load_list(const char* type, Language language, trova_list** out_list) noexcept;
Language service_language() noexcept;
bool service_running() noexcept;

// @return the data of a live handle; null: not a handle or stale
const ListTable* table_of(const trova_list* list, Language* out_language) noexcept;

}  // namespace trova::lists

#endif
