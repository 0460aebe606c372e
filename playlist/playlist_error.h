// playlist_error: the codes of this package, their mapping and the shell of exported functions.
#ifndef PLAYLIST_ERROR_H
#define PLAYLIST_ERROR_H

#include <cstdint>

#include "trova_playlist.h"
#include "vrel_error.h"

constexpr uint32_t kPlaylistPackage = 0x89;

// First words of the objects that cross the boundary.
constexpr uint32_t kCollectionMagic = 0xc011c011u;
constexpr uint32_t kCaptureMagic = 0xa1eea1eeu;
constexpr uint32_t kResultsMagic = 0x65488654u;

// "There is no such thing", whichever package says it.
constexpr bool playlist_not_found(uint32_t code) {
  return vrel_error_low(code) == 3;
}

// Turns a code of a lower package into one of this package. Zero and codes of this package stay.
uint32_t _playlist_map_error(uint32_t code);

// The handle manager's answer about a handle: its low 16 bits in this package.
constexpr uint32_t playlist_handle_error(uint32_t code) {
  return code == 0 ? 0 : (TROVA_PLAYLIST_FAILURE | vrel_error_low(code));
}

// Null is PLERR_InvalidArg; otherwise the handle manager decides. A failure is logged once, for the
// given line and source file, and returned ready to leave the library.
uint32_t playlist_check_handle(uint32_t line, const char* source, const void* handle,
                               uint32_t magic);
uint32_t playlist_check_object(uint32_t line, const char* source, const trova_gdo* object);
uint32_t playlist_check_user(uint32_t line, const char* source, const trova_user* user);

// The shell of an exported function, in this order: initialised? arguments, handles, lock, body,
// unlock, map and log. Handle checks need kSource, the name of the source file.
#define PL_REQUIRE_INITIALIZED()                                  \
  do {                                                            \
    if (trova_playlist_initchecks() == 0) return PLERR_NotInited; \
  } while (0)

#define PL_REQUIRE_ARG(condition)                                           \
  do {                                                                      \
    if (!(condition)) return vrel_report_error(__func__, PLERR_InvalidArg); \
  } while (0)

#define PL_REQUIRE(check)                                 \
  do {                                                    \
    if (const uint32_t pl_code = (check)) return pl_code; \
  } while (0)

#define PL_REQUIRE_COLLECTION(collection) \
  PL_REQUIRE(playlist_check_handle(__LINE__, kSource, (collection), kCollectionMagic))

#define PL_RETURN(code) return vrel_report_error(__func__, _playlist_map_error(code))

// Inside the library: any non-zero code ends the step it came from.
#define PL_TRY(expression)                                     \
  do {                                                         \
    if (const uint32_t pl_code = (expression)) return pl_code; \
  } while (0)

#endif  // PLAYLIST_ERROR_H
