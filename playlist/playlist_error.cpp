// playlist_error: the codes of this package, their mapping and the shell of exported functions.
#include "playlist_error.h"

#include "playlist_services.h"

uint32_t _playlist_map_error(uint32_t code) {
  if (code == 0) return 0;
  const uint32_t package = vrel_error_package(code);
  if (package == kPlaylistPackage) return code;

  // These two win over the package; "not found" becomes a warning even where it was a failure.
  const uint32_t low = vrel_error_low(code);
  if (low == 2) return PLERR_NoMemory;
  if (low == 3) return PLERR_NotFound;

  switch (package) {
    case 4:
    case 20:
      return PLERR_ManagerPkgA;
    case 7:
      return PLERR_ManagerPkgC;
    case 14:
      return PLERR_ManagerPkgD;
    case 16:
      return PLERR_ManagerPkgB;
    default:
      // Always a failure, also for a warning: the end of an enumeration is an error out here.
      return TROVA_PLAYLIST_FAILURE | low;
  }
}

uint32_t playlist_check_handle(uint32_t line, const char* source, const void* handle,
                               uint32_t magic) {
  if (handle == nullptr) return vrel_log_error(line, source, PLERR_InvalidArg);
  const uint32_t code = g_playlist_handlemanager_interface->handle_validate(handle, magic);
  return vrel_log_error(line, source, playlist_handle_error(code));
}

uint32_t playlist_check_object(uint32_t line, const char* source, const trova_gdo* object) {
  if (object == nullptr) return vrel_log_error(line, source, PLERR_InvalidArg);
  const uint32_t code = g_playlist_handlemanager_interface->handle_validate_object(object);
  return vrel_log_error(line, source, playlist_handle_error(code));
}

uint32_t playlist_check_user(uint32_t line, const char* source, const trova_user* user) {
  if (user == nullptr) return vrel_log_error(line, source, PLERR_InvalidArg);
  const uint32_t code = g_playlist_handlemanager_interface->handle_validate_user(user);
  return vrel_log_error(line, source, playlist_handle_error(code));
}
