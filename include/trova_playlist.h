/*
 * trova_playlist.h: scored, ordered playlists from collections of tracks.
 *
 * Lifecycle
 *   Start a manager, pass its handle to trova_playlist_initialize(), create collections, add
 *   idents with their data objects, generate, read the results, release, and call
 *   trova_playlist_shutdown() once for each successful initialize. Release results, collections
 *   and data objects before the last shutdown: handles are worthless afterwards.
 *
 * Threads
 *   Every function may be called from any thread. Each collection has a lock that is held for the
 *   whole of a call on it, so calls on one collection run one at a time and calls on different
 *   collections run in parallel. The lock is re-entrant: callbacks may call back on their own
 *   thread. Register providers before other threads use the library.
 *
 * Ownership and lifetime
 *   Handles that arrive through an out parameter belong to the caller and are released with the
 *   release function of their family. Text that arrives through an out parameter is borrowed and
 *   must not be freed: idents live as long as their collection, results keep their collection
 *   alive, attribute names live until the last shutdown. Text passed in is copied.
 *
 * Codes
 *   Every function but the reports returns 0 or a 32-bit code. Bit 31 marks a failure
 *   (TROVA_PLAYLIST_FAILED), a non-zero code without it is a warning. Bits 23 to 16 name the
 *   package, 0x89 for this library; bits 15 to 0 are the code within it. Handles that the manager
 *   does not know give TROVA_PLAYLIST_FAILURE with the manager's own low 16 bits. Out parameters
 *   are written on success only.
 *
 *   Unless a function says otherwise it can return PLERR_NotInited, PLERR_InvalidArg for a null or
 *   empty argument, and a handle failure; these three are not listed again below.
 */
#ifndef TROVA_PLAYLIST_H
#define TROVA_PLAYLIST_H

#include <stdint.h>

#include "trova_manager_services.h"
#include "trova_playlist_provider.h"

#if defined(__GNUC__)
#define TROVA_PLAYLIST_API __attribute__((visibility("default")))
#else
#define TROVA_PLAYLIST_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The one test for failure. */
#define TROVA_PLAYLIST_FAILED(code) ((uint32_t)(code) >= UINT32_C(0x80000000))
/* What a code of this library looks like without its low 16 bits. */
#define TROVA_PLAYLIST_FAILURE UINT32_C(0x90890000)

#define PLERR_InvalidArg UINT32_C(0x90890001)        /* null, empty or out of range */
#define PLERR_NoMemory UINT32_C(0x90890002)          /* an allocation failed */
#define PLERR_NotFound UINT32_C(0x10890003)          /* no such thing; a warning */
#define PLERR_Unexpected UINT32_C(0x90890003)        /* a token or item other than the one due */
#define PLERR_NotInited UINT32_C(0x90890007)         /* the library is not initialised */
#define PLERR_BufferTooSmall UINT32_C(0x90890008)    /* the caller's buffer is too small */
#define PLERR_InitFailed UINT32_C(0x9089000a)        /* start-up against the manager failed */
#define PLERR_InvalidData UINT32_C(0x9089000b)       /* not the kind of data that is needed */
#define PLERR_CorruptData UINT32_C(0x9089000c)       /* a serialized collection is malformed */
#define PLERR_SyncNotStarted UINT32_C(0x9089000d)    /* no idents were reported to sync */
#define PLERR_Unsupported UINT32_C(0x9089003c)       /* operation or operator not supported */
#define PLERR_NoStorage UINT32_C(0x9089003f)         /* the manager has no storage service */
#define PLERR_NoValue UINT32_C(0x908901a4)           /* the data object lacks the attribute */
#define PLERR_ListUnavailable UINT32_C(0x908902d3)   /* the list that is needed is not loaded */
#define PLERR_BadManager UINT32_C(0x90890320)        /* wrong manager handle or version */
#define PLERR_EndOfAttributes UINT32_C(0x90890361)   /* index past the last one; a failure */
#define PLERR_ManagerPkgA UINT32_C(0x90890400)       /* the manager's package 4 or 20 failed */
#define PLERR_ManagerPkgB UINT32_C(0x90890403)       /* the manager's package 16 failed */
#define PLERR_ManagerPkgC UINT32_C(0x90890404)       /* the manager's package 7 failed */
#define PLERR_ManagerPkgD UINT32_C(0x90890405)       /* the manager's package 14 failed */
#define PLERR_StoreInvalid UINT32_C(0x90890500)      /* the store is not laid out as expected */
#define PLERR_StatementMismatch UINT32_C(0x90890600) /* the statement needs a seed */
#define PLERR_Syntax UINT32_C(0x90890601)            /* the statement is wrong */

typedef struct trova_playlist_collection trova_playlist_collection;
typedef struct trova_playlist_results trova_playlist_results;

/* ------------------------------------------------------------------------------- Library */

/*
 * Starts the library, or counts one more user of it.
 * @param manager  handle of a running manager; it must outlive the last shutdown
 * @return 0; PLERR_InvalidArg for null; PLERR_BadManager for a wrong magic word or version;
 *         PLERR_InitFailed when a step of the start fails (nothing stays behind)
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_initialize(ManagerHandle* manager);

/*
 * Counts one user less; the last one stops the library.
 * @return 0; PLERR_NotInited when the library is not initialised
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_shutdown(void);

/* @return the number of users; 0 means that the library is not initialised. Takes no lock. */
TROVA_PLAYLIST_API uint32_t trova_playlist_initchecks(void);

/* @return static text such as "2.0.0.32"; works at any time */
TROVA_PLAYLIST_API const char* trova_playlist_get_version(void);

/* @return static text such as "2011-11-08 04:01 UTC"; works at any time */
TROVA_PLAYLIST_API const char* trova_playlist_get_build_date(void);

/* ---------------------------------------------------------------------------- Attributes */

/* @param[out] out_count  number of registered providers, eight after start-up */
TROVA_PLAYLIST_API uint32_t trova_playlist_attributes_count(uint32_t* out_count);

/*
 * @param index          0 to the count minus 1, in the order of registration
 * @param[out] out_name  static text of the provider
 * @return 0; 0x90890361 at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_attributes_enum(uint32_t index, const char** out_name);

/*
 * Adds an attribute. Collections that exist already do not get it. The last provider of a name
 * (letter case ignored) is the one that new collections use. Not safe while other threads use the
 * library.
 * @param provider  copied; its functions must stay until the last shutdown
 * @return 0; PLERR_InvalidArg for null or when a required operation is missing; the registry's own
 *         code while the library is down
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_register_attribute_provider(const trova_playlist_attribute_provider* provider);

/* --------------------------------------------------------------------------- Collections */

/*
 * Makes an empty collection with every attribute that is registered now.
 * @param name                 any non-empty text; copied
 * @param[out] out_collection  released with trova_playlist_collection_release()
 * @return 0; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_create(const char* name, trova_playlist_collection** out_collection);

/*
 * Gives back the application's reference. Results keep the collection alive until they are
 * released themselves; the handle is worthless at once.
 * @param collection  may be null: nothing happens
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_release(trova_playlist_collection* collection);

/* @param[out] out_name  valid until the next rename or the final release */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_get_name(trova_playlist_collection* collection, const char** out_name);

/*
 * Renames the collection.
 * @return 0; PLERR_NoMemory (the old name stays)
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_update_name(trova_playlist_collection* collection, const char* name);

/* @param[out] out_count  number of attributes of this collection */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_attributes_count(
    trova_playlist_collection* collection, uint32_t* out_count);

/*
 * @param index          0 to the count minus 1
 * @param[out] out_name  static text of the provider
 * @return 0; PLERR_EndOfAttributes (a failure, not a warning) at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_attributes_enum(
    trova_playlist_collection* collection, uint32_t index, const char** out_name);

/* -------------------------------------------------------------------------------- Idents */

/*
 * Captures what each attribute finds in a data object and files it under the ident. Idents are told
 * apart by a 32-bit hash: of a million file names a hundred or so may meet another's hash and then
 * count as one ident with it. Numbers of up to six digits, all of one length, never meet. Adding an
 * ident again adds its values once more beside the first. Data from which no attribute reads
 * anything leaves the ident outside the collection; that is no error.
 * @param ident  non-empty text of the application's choosing; copied
 * @param data   live data object of a track or an album; not kept
 * @return 0; the handle manager's failure
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_add(
    trova_playlist_collection* collection, const char* ident, trova_gdo* data);

/* @param[out] out_exists  1 when the collection has met the ident (a removed one still counts) */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_exists(
    trova_playlist_collection* collection, const char* ident, uint8_t* out_exists);

/* @param[out] out_count  distinct idents since the collection was made, removed ones included */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_ident_count(trova_playlist_collection* collection, uint32_t* out_count);

/*
 * Lists the idents in an order of the collection's own.
 * @param[out] out_ident  valid until the collection is deleted; "" for a removed ident
 * @return 0; 0x90890361 at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_enum(
    trova_playlist_collection* collection, uint32_t index, const char** out_ident);

/*
 * Removes an ident's values and blanks its text. The ident still counts and is still listed, as
 * "", until it is added again. Removing it twice returns 0.
 * @return 0; PLERR_NotFound when the collection never met the ident
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_ident_remove(trova_playlist_collection* collection, const char* ident);

/* ---------------------------------------------------------------------------- Generation */

/*
 * Checks a statement against a collection's attributes.
 * @param[out] out_seed_used  may be null; 1 when the statement needs a seed
 * @return 0; PLERR_Syntax, with the reason as the text of the manager's last error;
 *         PLERR_Unsupported; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_statement_validate(const char* statement,
                                                              trova_playlist_collection* collection,
                                                              uint8_t* out_seed_used);

/*
 * Runs a statement.
 * @param user              not examined; may be null
 * @param seed              data object that SEED stands for; may be null
 * @param[out] out_results  released with trova_playlist_results_release()
 * @return 0, also for an empty playlist; PLERR_Syntax, with the reason as the text of the
 *         manager's last error; PLERR_StatementMismatch when the statement says SEED and there is
 *         none; PLERR_InvalidData for a literal that an attribute cannot read; PLERR_NotFound when
 *         an ORDER part scores a last entry that lacks the attribute; PLERR_Unsupported;
 *         PLERR_ListUnavailable; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_generate_playlist(trova_user* user,
                                                             const char* statement,
                                                             trova_playlist_collection* collection,
                                                             trova_gdo* seed,
                                                             trova_playlist_results** out_results);

/*
 * Runs the built-in statement that finds tracks like the seed, by mood first and genre next.
 * @param user  live user handle
 * @param seed  live data object
 * @return as trova_playlist_generate_playlist()
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_generate_morelikethis(trova_user* user, trova_playlist_collection* collection,
                                     trova_gdo* seed, trova_playlist_results** out_results);

/* ------------------------------------------------------------------------------- Results */

/* @param[out] out_count  number of entries of the playlist */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_count(trova_playlist_results* results,
                                                         uint32_t* out_count);

/*
 * @param index           0 to the count minus 1, in playlist order
 * @param[out] out_ident  valid as long as the results or the collection
 * @return 0; 0x90890361 at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_enum(trova_playlist_results* results,
                                                        uint32_t index, const char** out_ident);

/* @param results  may be null: nothing happens */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_release(trova_playlist_results* results);

#ifdef __cplusplus
}
#endif

#endif /* TROVA_PLAYLIST_H */
