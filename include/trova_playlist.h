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
 *   Handles that arrive through an out parameter belong to the caller, who releases each of them
 *   once, with the release function of its family. Text that arrives through an out parameter is
 *   borrowed and must not be freed: idents live as long as their collection, results keep their
 *   collection alive, attribute names live until the last shutdown. Text passed in is copied.
 *   Idents and names of collections may have any bytes but 0: no encoding is assumed.
 *
 *   Released results, and handles of another kind, are refused with a code. So is a collection that
 *   was deleted. But results and data views keep a collection alive: until they are released, the
 *   collection's released handle is still accepted, and releasing it a second time would take away
 *   their reference. A pointer that never was a handle is the caller's fault: the manager may look
 *   at the memory that it points to.
 *
 * Codes
 *   Every function but the reports returns 0 or a 32-bit code. Bit 31 marks a failure
 *   (TROVA_PLAYLIST_FAILED), a non-zero code without it is a warning. Bits 23 to 16 name the
 *   package, 0x89 for this library; bits 15 to 0 are the code within it. Handles that the manager
 *   does not know give TROVA_PLAYLIST_FAILURE with the manager's own low 16 bits. Out parameters
 *   are written on success only.
 *
 *   Unless a function says otherwise it can return PLERR_NotInited, PLERR_InvalidArg for a null or
 *   empty argument, and a handle failure; these three are not listed again below. Nor are failures
 *   of the manager itself, which can come out of any call that needs it: TROVA_PLAYLIST_FAILURE
 *   with the manager's low 16 bits, or one of the PLERR_ManagerPkg codes.
 *
 *   Every failure but PLERR_NotInited is told to the log (vrel_log.h), if it listens. Its callback
 *   must hand the code on.
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

/* The one test for failure: not for warnings, which are neither failures nor 0. */
#define TROVA_PLAYLIST_FAILED(code) ((uint32_t)(code) >= UINT32_C(0x80000000))
/* What a code of this library looks like without its low 16 bits. */
#define TROVA_PLAYLIST_FAILURE UINT32_C(0x90890000)

#define PLERR_InvalidArg UINT32_C(0x90890001)        /* null, empty or out of range */
#define PLERR_NoMemory UINT32_C(0x90890002)          /* an allocation failed */
#define PLERR_NotFound UINT32_C(0x10890003)          /* no such thing; a warning */
#define PLERR_Unexpected UINT32_C(0x90890003)        /* not the library's own; docs/embedding.md */
#define PLERR_NotInited UINT32_C(0x90890007)         /* the library is not initialised */
#define PLERR_BufferTooSmall UINT32_C(0x90890008)    /* the caller's buffer is too small */
#define PLERR_InitFailed UINT32_C(0x9089000a)        /* start-up against the manager failed */
#define PLERR_InvalidData UINT32_C(0x9089000b)       /* not the kind of data that is needed */
#define PLERR_CorruptData UINT32_C(0x9089000c)       /* a serialized collection is malformed */
#define PLERR_SyncNotStarted UINT32_C(0x9089000d)    /* no idents were reported to sync */
#define PLERR_Unsupported UINT32_C(0x9089003c)       /* operation or operator not supported */
#define PLERR_NoStorage UINT32_C(0x9089003f)         /* the manager has no storage service */
#define PLERR_NoValue UINT32_C(0x908901a4)           /* the data object lacks the attribute */
#define PLERR_ListUnavailable UINT32_C(0x908902d3)   /* LIKE has no scores for its value */
#define PLERR_BadManager UINT32_C(0x90890320)        /* wrong manager handle or version */
#define PLERR_EndOfAttributes UINT32_C(0x90890361)   /* index past the last one, of any list */
#define PLERR_ManagerPkgA UINT32_C(0x90890400)       /* the manager's package 4 or 20 failed */
#define PLERR_ManagerPkgB UINT32_C(0x90890403)       /* the manager's package 16 failed */
#define PLERR_ManagerPkgC UINT32_C(0x90890404)       /* the manager's package 7 failed */
#define PLERR_ManagerPkgD UINT32_C(0x90890405)       /* the manager's package 14 failed */
#define PLERR_StoreInvalid UINT32_C(0x90890500)      /* the store is not laid out as expected */
#define PLERR_StatementMismatch UINT32_C(0x90890600) /* the statement needs a seed */
#define PLERR_Syntax UINT32_C(0x90890601)            /* the statement is wrong */

/* Idents with what the attributes captured for them. */
typedef struct trova_playlist_collection trova_playlist_collection;
/* A playlist: idents of one collection, in order. */
typedef struct trova_playlist_results trova_playlist_results;

/* ------------------------------------------------------------------------------- Library */

/*
 * Starts the library, or counts one more user of it. A second manager is not looked at beyond its
 * magic word and version: the first one stays.
 * @param manager  handle of a running manager; it must outlive the last shutdown
 * @return 0; PLERR_InvalidArg for null; PLERR_BadManager for a wrong magic word or version;
 *         PLERR_InitFailed when a step of the start fails (nothing stays behind)
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_initialize(ManagerHandle* manager);

/*
 * Counts one user less; the last one stops the library. No other thread may be inside it then.
 * @return 0; PLERR_NotInited when the library is not initialised, which the log is told here
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_shutdown(void);

/* @return the number of users; 0 means that the library is not initialised. Takes no lock. */
TROVA_PLAYLIST_API uint32_t trova_playlist_initchecks(void);

/* @return static text such as "2.0.0.32"; works at any time */
TROVA_PLAYLIST_API const char* trova_playlist_get_version(void);

/* @return static text such as "2011-11-08 04:01 UTC"; works at any time */
TROVA_PLAYLIST_API const char* trova_playlist_get_build_date(void);

/* ---------------------------------------------------------------------------- Attributes */

/*
 * Counts the attributes of the library.
 * @param[out] out_count  number of registered providers, eight after start-up
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_attributes_count(uint32_t* out_count);

/*
 * Names an attribute of the library.
 * @param index          0 to the count minus 1, in the order of registration
 * @param[out] out_name  static text of the provider
 * @return 0; PLERR_EndOfAttributes (a failure, not a warning) at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_attributes_enum(uint32_t index, const char** out_name);

/*
 * Adds an attribute. Collections that exist already do not get it. The last provider of a name
 * (letter case ignored) is the one that new collections use. Not safe while other threads use the
 * library.
 * @param provider  copied; its functions must stay until the last shutdown
 * @return 0; PLERR_InvalidArg for null or when one of the operations 0 to 3 is missing;
 *         PLERR_NoMemory; the registry's own code, which is a failure, while the library is down
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
 * Releases the application's reference. Results and data views keep the collection alive until they
 * are released themselves. Do not use the handle again: while they live it is not refused, and a
 * second release would take away their reference.
 * @param collection  may be null: nothing happens
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_release(trova_playlist_collection* collection);

/*
 * Reads the name.
 * @param collection     live handle
 * @param[out] out_name  valid until the next rename or the final release
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_get_name(trova_playlist_collection* collection, const char** out_name);

/*
 * Renames the collection.
 * @param collection  live handle
 * @param name        any non-empty text; copied
 * @return 0; PLERR_NoMemory (the old name stays)
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_update_name(trova_playlist_collection* collection, const char* name);

/*
 * Counts the attributes that were registered when the collection was made.
 * @param collection      live handle
 * @param[out] out_count  number of attributes of this collection
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_attributes_count(
    trova_playlist_collection* collection, uint32_t* out_count);

/*
 * Names an attribute of the collection.
 * @param collection     live handle
 * @param index          0 to the count minus 1, in an order of the collection's own
 * @param[out] out_name  static text of the provider
 * @return 0; PLERR_EndOfAttributes (a failure, not a warning) at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_attributes_enum(
    trova_playlist_collection* collection, uint32_t index, const char** out_name);

/* -------------------------------------------------------------------------------- Idents */

/*
 * Adds a track: each attribute captures its values from the data object (docs/tracks.md), and the
 * collection keeps them under the ident. Adding an ident again adds a second set of values. If no
 * attribute finds a value, the ident is not added; this is not an error.
 *
 * Idents are identified by a 32-bit hash alone: two that share a hash are one ident. Among 100,000
 * file paths there are such two with a probability of 69 %. "Choose idents" in docs/embedding.md
 * says how to avoid that; numbers of six digits, for example, never share a hash.
 *
 * An attribute that fails does not keep the others from capturing, and the function returns 0. So
 * values can be missing when memory is short: the log names each failure, and the embedded manager
 * counts them in trova_manager_memory_stats.failures.
 * @param collection  live handle
 * @param ident       non-empty text of the application's choosing; copied
 * @param data        live data object of a track or an album; not kept
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_add(
    trova_playlist_collection* collection, const char* ident, trova_gdo* data);

/*
 * Asks for an ident.
 * @param collection       live handle
 * @param ident            non-empty text
 * @param[out] out_exists  1 when the collection has met the ident (a removed one still counts),
 *                         else 0
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_exists(
    trova_playlist_collection* collection, const char* ident, uint8_t* out_exists);

/*
 * Counts the idents.
 * @param collection      live handle
 * @param[out] out_count  distinct idents since the collection was made, removed ones included
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_ident_count(trova_playlist_collection* collection, uint32_t* out_count);

/*
 * Lists the idents in an order of the collection's own.
 * @param collection      live handle
 * @param index           0 to the count minus 1
 * @param[out] out_ident  valid until the collection is deleted; "" for a removed ident
 * @return 0; PLERR_EndOfAttributes (a failure, not a warning) at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_enum(
    trova_playlist_collection* collection, uint32_t index, const char** out_ident);

/*
 * Removes an ident's values and blanks its text. The ident still counts and is still listed, as
 * "", until it is added again. Removing it twice returns 0.
 * @param collection  live handle
 * @param ident       non-empty text
 * @return 0; PLERR_NotFound when the collection never met the ident; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_ident_remove(trova_playlist_collection* collection, const char* ident);

/*
 * A data object through which the values held for one ident are read back, by the value keys that
 * describe a track ("_sdkmgr_val_list_genre_id") or by attribute name ("QX_Genre"). Each key has
 * one value at most. The object keeps its collection alive, and reads what the collection holds at
 * the time of reading; a text that it handed out stays until the object is released.
 * @param collection     live handle
 * @param ident          non-empty text
 * @param[out] out_data  released as the manager releases data objects, before the last shutdown
 * @return 0; PLERR_NotFound when the collection never met the ident; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_ident_get_gdo(
    trova_playlist_collection* collection, const char* ident, trova_gdo** out_data);

/* ------------------------------------------------------------------------- Serialization */

/*
 * Measures the collection.
 * @param collection     live handle
 * @param[out] out_size  bytes that trova_playlist_collection_serialize() asks for: a bound
 * @return 0; PLERR_NoMemory for a collection of more than 4 GiB
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_serialize_size(trova_playlist_collection* collection, uint32_t* out_size);

/*
 * Writes the collection as bytes that any machine can read back (docs/stream.md). After idents were
 * removed, fill a new collection first: see trova_playlist_collection_deserialize().
 * @param collection     live handle
 * @param buffer         may be null: only the size is answered
 * @param[in,out] size   room in the buffer; becomes the number of bytes written, or without a
 *                       buffer the bound of trova_playlist_collection_serialize_size()
 * @return 0; PLERR_BufferTooSmall for less room than the bound; PLERR_NoMemory, also for a
 *         collection of more than 4 GiB
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_serialize(
    trova_playlist_collection* collection, void* buffer, uint32_t* size);

/*
 * Creates a collection from such bytes. They are checked, so they may come from anywhere. Values of
 * attributes that nobody registered are left out, and the log says so. Idents and values are those
 * that were written; the order of ties in a playlist may differ.
 *
 * After a removal one more ident suffers: the one that was first added right behind the removed one
 * keeps its values, but is no longer found by its text. It cannot be removed then, and adding it
 * again makes a second ident of the same text. "Store and load" in docs/embedding.md shows how to
 * fill a new collection before serializing or storing.
 * @param bytes                not kept
 * @param size                 how many there are
 * @param[out] out_collection  released with trova_playlist_collection_release()
 * @return 0; PLERR_CorruptData; PLERR_InvalidData for a version that is not known; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_deserialize(
    const void* bytes, uint32_t size, trova_playlist_collection** out_collection);

/* ------------------------------------------------------------------------------- Storage
 *
 * Collections by name, in a store of the manager's. All five answer PLERR_NoStorage when the
 * manager offers no storage, PLERR_StoreInvalid when the store is not laid out for collections, and
 * the manager's failure, mapped, when it cannot read or write. */

/*
 * Stores the collection under its name and replaces what was stored under that name. A collection
 * that was renamed since it was last stored or loaded replaces the record of its old name. After
 * idents were removed, fill a new collection first: see trova_playlist_collection_deserialize().
 *
 * A collection whose name is empty, which only a stream can give it, can be stored, but neither
 * loaded nor removed again: rename it first.
 * @param collection  live handle
 * @return 0; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_storage_store_collection(trova_playlist_collection* collection);

/*
 * Loads a stored collection. The result is a new collection: changes to it do not affect the stored
 * one until it is stored.
 * @param name                 the collection's, not empty
 * @param[out] out_collection  released with trova_playlist_collection_release()
 * @return 0; PLERR_NotFound when there is no such collection; the codes of
 *         trova_playlist_collection_deserialize()
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_storage_load_collection(
    const char* name, trova_playlist_collection** out_collection);

/*
 * Counts what is stored.
 * @param[out] out_count  stored collections; 0 while there is no store yet
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_storage_count_collections(uint32_t* out_count);

/*
 * Names a stored collection.
 * @param index   0 to the count minus 1, in the store's order
 * @param buffer  receives the name with its terminator, cut off to fit
 * @param size    room in the buffer in bytes, not 0
 * @return 0; PLERR_NotFound at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_storage_enum_collections(uint32_t index, char* buffer,
                                                                    uint32_t size);

/*
 * Removes a stored collection. Collections already loaded are not affected.
 * @param name  the collection's, not empty
 * @return 0; PLERR_NotFound when there is no such collection
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_storage_remove_collection(const char* name);

/* ----------------------------------------------------------------------- Synchronisation */

#define TROVA_PLAYLIST_SYNC_ADD UINT32_C(10)    /* reported, and not in the collection */
#define TROVA_PLAYLIST_SYNC_REMOVE UINT32_C(11) /* in the collection, and not reported */

/*
 * Called once for each difference, with the collection's lock held. It may add, remove and report
 * idents of the collection, and release it, on its own thread.
 * @param user_data      as given to trova_playlist_collection_sync_process()
 * @param collection     the collection that is compared
 * @param ident          valid during the call; "" for an ident that was removed before
 * @param status         TROVA_PLAYLIST_SYNC_ADD or TROVA_PLAYLIST_SYNC_REMOVE
 * @param[out] out_stop  0; set it to end the synchronisation
 */
typedef void (*trova_playlist_sync_callback)(void* user_data, trova_playlist_collection* collection,
                                             const char* ident, uint32_t status, uint8_t* out_stop);

/*
 * Reports one ident that the application has. Report each ident once: if an ident of the collection
 * is reported twice, the callback is called to remove it. Two idents that share a 32-bit hash are
 * one ident here, too: reporting both reports one twice, so both tracks are lost. "Choose idents"
 * in docs/embedding.md says how to avoid that.
 * @param collection  live handle
 * @param ident       non-empty text; copied
 * @return 0; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_collection_sync_ident_add(trova_playlist_collection* collection, const char* ident);

/*
 * Compares what was reported with the collection, and calls back for every ident to remove, then
 * for every ident to add. Only the callback changes the collection. The report is used up, whatever
 * the result.
 *
 * An ident that was removed before is still known: reporting it does not lead to a call, so it is
 * not added again, and leaving it out leads to a call to remove "". To synchronise after removals,
 * fill a new collection ("Store and load" in docs/embedding.md). Idents that share a hash: see
 * trova_playlist_collection_sync_ident_add().
 * @param collection  live handle
 * @param callback    must not be null
 * @param user_data   handed to the callback; may be null
 * @return 0; PLERR_SyncNotStarted when nothing was reported; PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_collection_sync_process(
    trova_playlist_collection* collection, trova_playlist_sync_callback callback, void* user_data);

/* ---------------------------------------------------------------------------- Generation */

/*
 * Checks a statement against a collection's attributes.
 * @param statement           as docs/language.md describes them
 * @param collection          live handle
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
 * @param statement         as docs/language.md describes them
 * @param collection        live handle
 * @param seed              data object that SEED stands for; may be null
 * @param[out] out_results  released with trova_playlist_results_release()
 * @return 0, also for an empty playlist; PLERR_Syntax, with the reason as the text of the
 *         manager's last error; PLERR_StatementMismatch when the statement says SEED and there is
 *         none; PLERR_InvalidData for a literal that an attribute cannot read; PLERR_NotFound when
 *         an ORDER part scores a last entry that lacks the attribute, or when the seed's value is
 *         an id that its list does not have; PLERR_Unsupported; PLERR_ListUnavailable when LIKE has
 *         no scores, because its value is not in the list or the manager has no list;
 *         PLERR_NoMemory
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_generate_playlist(trova_user* user,
                                                             const char* statement,
                                                             trova_playlist_collection* collection,
                                                             trova_gdo* seed,
                                                             trova_playlist_results** out_results);

/*
 * Runs the built-in statement that finds tracks like the seed, by mood first and genre next.
 * @param user              live user of the manager
 * @param collection        live handle
 * @param seed              live data object
 * @param[out] out_results  released with trova_playlist_results_release()
 * @return as trova_playlist_generate_playlist()
 */
TROVA_PLAYLIST_API uint32_t
trova_playlist_generate_morelikethis(trova_user* user, trova_playlist_collection* collection,
                                     trova_gdo* seed, trova_playlist_results** out_results);

/* ------------------------------------------------------------------------------- Results */

/*
 * Counts the entries.
 * @param results         live handle
 * @param[out] out_count  number of entries of the playlist
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_count(trova_playlist_results* results,
                                                         uint32_t* out_count);

/*
 * Reads one entry. A WHERE that is a single comparison gives a track one entry for each of its
 * values that match, so a track with several values can come more than once.
 * @param results         live handle
 * @param index           0 to the count minus 1, in playlist order
 * @param[out] out_ident  valid as long as the results or the collection
 * @return 0; PLERR_EndOfAttributes (a failure, not a warning) at or past the count
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_enum(trova_playlist_results* results,
                                                        uint32_t index, const char** out_ident);

/*
 * Gives the results back, and their reference on the collection.
 * @param results  may be null: nothing happens
 * @return 0
 */
TROVA_PLAYLIST_API uint32_t trova_playlist_results_release(trova_playlist_results* results);

#ifdef __cplusplus
}
#endif

#endif /* TROVA_PLAYLIST_H */
