// playlist_services: the manager's service tables, one global pointer each while the library is up.
#ifndef PLAYLIST_SERVICES_H
#define PLAYLIST_SERVICES_H

#include "trova_manager_services.h"

// Hidden also where they are only declared, so that reading them takes no table of addresses.
#pragma GCC visibility push(hidden)
// Written under the initialisation lock by start and stop only, read without a lock in between.
extern trova_errorinfo_interface* g_playlist_errorinfo_interface;
extern trova_handlemanager_interface* g_playlist_handlemanager_interface;
extern trova_userinfo_interface* g_playlist_userinfo_interface;
extern trova_listmanager_interface* g_playlist_lists_interface;
extern trova_gdo_interface* g_playlist_gdo_interface;
extern trova_serialization_interface* g_playlist_serialization_interface;
// Null when the manager offers no storage.
extern trova_storage_interface* g_playlist_storage_interface;
#pragma GCC visibility pop

#endif  // PLAYLIST_SERVICES_H
