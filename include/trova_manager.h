/*
 * trova_manager.h: the embedded manager, for applications that bring none of their own.
 *
 * trova_manager_start() gives the ManagerHandle that trova_playlist_initialize() takes. One manager
 * runs per process; starting it again counts, and the last stop ends it. Stop it after the last
 * trova_playlist_shutdown(), when every user, data object and list has been released.
 *
 * Every function may be called from any thread and returns 0 or an error code of package 16 (see
 * the codes below); bit 31 marks a failure. Out parameters are written on success only. Text passed
 * in is copied. A stale or foreign handle gives TROVA_MANAGER_BAD_HANDLE, never a crash. Memory of
 * the manager itself counts towards the same limit as the playlist library's, except the header of
 * each block and one word per handle.
 */
#ifndef TROVA_MANAGER_H
#define TROVA_MANAGER_H

#include <stddef.h>
#include <stdint.h>

#include "trova_manager_services.h"

#if defined(__GNUC__)
#define TROVA_MANAGER_API __attribute__((visibility("default")))
#else
#define TROVA_MANAGER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* TROVA_MANAGER_NOT_FOUND (0x10100003), a warning, is defined in trova_manager_services.h. */
#define TROVA_MANAGER_INVALID_ARG UINT32_C(0x90100001) /* null, empty or out of range */
#define TROVA_MANAGER_NO_MEMORY UINT32_C(0x90100002)   /* none, or the limit is reached */
#define TROVA_MANAGER_NO_SERVICE UINT32_C(0x90100003)  /* query_interface: no such name */
#define TROVA_MANAGER_NOT_RUNNING UINT32_C(0x90100007) /* not started, or stopped */
#define TROVA_MANAGER_INTERNAL UINT32_C(0x9010000f)    /* something that must not happen */
#define TROVA_MANAGER_BAD_HANDLE UINT32_C(0x90100321)  /* stale, foreign or of another kind */
#define TROVA_MANAGER_UNSUPPORTED UINT32_C(0x9010003c) /* e.g. setting values of a view */

/* The storage service and its file: answers of trova_manager_start() and of the service. The
 * playlist library answers PLERR_ManagerPkgB for them; what went wrong, in words and with the
 * file's name, is then the text of trova_manager_last_error() and a line of the log. Whatever the
 * code is, what was in the file stays. */

/* Damaged, no database, or a database of another program. */
#define TROVA_MANAGER_STORE_BROKEN UINT32_C(0x90100501)
#define TROVA_MANAGER_STORE_NEWER UINT32_C(0x90100502) /* written by a newer version */
/* Another process held it for half a minute. */
#define TROVA_MANAGER_STORE_BUSY UINT32_C(0x90100503)
/* There is no right to write it, or to make a file in its folder. */
#define TROVA_MANAGER_STORE_READ_ONLY UINT32_C(0x90100504)
#define TROVA_MANAGER_STORE_FULL UINT32_C(0x90100505) /* no room on the disk */
/* Any other failure of the disk; also a missing folder, or a path that is no file. */
#define TROVA_MANAGER_STORE_FAILED UINT32_C(0x90100506)

/* Value keys and contexts of data objects that the built-in attributes read. */

#define TROVA_CTX_TRACK "trova_ctx_track"                    /* a track */
#define TROVA_CTX_ALBUM "trova_ctx_album"                    /* an album */
#define TROVA_CTX_EXTDATA "trova_ctx_extdata"                /* a view of a collection's ident */
#define TROVA_CHILD_ALBUM "trova_ctx_album!"                 /* the albums of a track */
#define TROVA_CHILD_MATCHED_TRACK "trova_ctx_track!matching" /* the matched track of an album */
#define TROVA_VAL_TITLE "trova_val_title_display"            /* as text */
#define TROVA_VAL_ARTIST "trova_val_artist"                  /* as text */
#define TROVA_VAL_GENRE_ID "_sdkmgr_val_list_genre_id"       /* id in TROVA_LIST_GENRES */
#define TROVA_VAL_ERA_ID "_sdkmgr_val_list_era_id"           /* id in TROVA_LIST_ERAS */
#define TROVA_VAL_ORIGIN_ID "_sdkmgr_val_list_origin_id"     /* id in TROVA_LIST_ORIGINS */
#define TROVA_VAL_ARTIST_TYPE_ID                                                   \
  "_sdkmgr_val_list_artist_type_id"                  /* in TROVA_LIST_ARTIST_TYPES \
                                                      */
#define TROVA_VAL_MOOD_ID "_sdkmgr_val_list_mood_id" /* id in TROVA_LIST_MOODS */
#define TROVA_VAL_MOOD_DATA \
  "_sdkmgr_val_list_mood_data" /* "id:weight,id:weight", weights sum to 100 */
#define TROVA_VAL_TEMPO "_sdkmgr_val_list_tempo_value" /* beats per minute */

/* List types. */

#define TROVA_LIST_GENRES "trova_list_type_genres"             /* three levels */
#define TROVA_LIST_ERAS "trova_list_type_eras"                 /* down to the year */
#define TROVA_LIST_ORIGINS "trova_list_type_origins"           /* regions, countries, places */
#define TROVA_LIST_ARTIST_TYPES "trova_list_type_artist_types" /* who performs */
#define TROVA_LIST_MOODS "trova_list_type_moods"               /* kinds of mood, moods */
#define TROVA_LIST_TEMPOS "trova_list_type_tempos"             /* classes of beats per minute */

/* ------------------------------------------------------------------------ Start and stop */

/* How the manager starts. Zero, but for the size, is every default. */
typedef struct trova_manager_options {
  size_t size;          /* sizeof(trova_manager_options) of the caller */
  const char* language; /* "en", "de", or null: LC_ALL, LC_MESSAGES, LANG, else English */
  /* Bytes that the allocator may hand out; 0: no limit. Adding idents returns 0 even where values
   * are missing because the limit was reached: compare trova_manager_memory_stats.failures before
   * and after. */
  size_t memory_limit;
  /* The file of the storage service, an SQLite database that is made when it does not exist;
   * ":memory:" for one that ends with the manager; null: no storage service. Several processes may
   * use one file, on a local file system. While it is in use, "-wal" and "-shm" files stand beside
   * it. A process that forks must not use it in the child. Callers compiled before this field
   * existed pass a size without it, which is null. */
  const char* storage_path;
} trova_manager_options;

/*
 * Starts the manager, or counts one more user of it.
 * @param options           may be null: all defaults. Ignored when the manager runs already.
 * @param[out] out_manager  valid until the last stop
 * @return 0; a TROVA_MANAGER_STORE_ code when the storage file cannot be used, and then the manager
 *         does not run
 */
TROVA_MANAGER_API uint32_t trova_manager_start(const trova_manager_options* options,
                                               ManagerHandle** out_manager);

/*
 * Counts one user less; the last one stops the manager.
 *
 * Closes the storage file, too: stores, records and cursors that are left can only be released.
 * @return 0; TROVA_MANAGER_NOT_RUNNING
 */
TROVA_MANAGER_API uint32_t trova_manager_stop(void);

/*
 * Tells the version.
 * @return static text, the version of the embedded manager; works at any time
 */
TROVA_MANAGER_API const char* trova_manager_get_version(void);

/* ------------------------------------------------------------------- Errors, log, memory */

/*
 * The last error that the library recorded for the calling thread: after a statement failed, its
 * code and the reason in words.
 * @param[out] out_code  may be null; 0 when there is none
 * @param[out] out_text  may be null; "" when there is no text; valid until the thread's next error
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_last_error(uint32_t* out_code, const char** out_text);

/*
 * Says what a code means.
 * @param code  any
 * @return static text for a code of the playlist library, the support library or the manager;
 *         never null
 */
TROVA_MANAGER_API const char* trova_manager_error_text(uint32_t code);

/*
 * Levels for the log functions: VREL_LOG_ERROR and so on of vrel_log.h, joined by "or". A line
 * reads "TROVA PL error 0x90890002: out of memory (trova_playlist_collection_create)"; it has at
 * most 4,095 bytes, and control characters in it become blanks.
 *
 * Both functions write the globals of vrel_log.h when they turn the log on or off or change its
 * levels: no other thread may be inside the libraries then. Another descriptor or callback for the
 * same levels may be set at any time; a line that is just being passed on still reaches the old
 * callback.
 */

/*
 * Writes log lines of all packages to a file descriptor, one line per write(2).
 * @param fd      stays the caller's; -1 ends logging
 * @param levels  which lines
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_log_to_fd(int fd, uint32_t levels);

/*
 * Called with each finished log line, without line end, from the thread that logs.
 * @param user_data  as given to trova_manager_log_to_callback()
 * @param package    whose line it is
 * @param level      VREL_LOG_ERROR and so on
 * @param line       valid during the call
 */
typedef void (*trova_manager_log_line)(void* user_data, uint32_t package, uint32_t level,
                                       const char* line);

/*
 * Hands log lines of all packages to a callback.
 * @param callback   null ends logging
 * @param user_data  handed to the callback; may be null
 * @param levels     which lines
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_log_to_callback(trova_manager_log_line callback,
                                                         void* user_data, uint32_t levels);

/* What the allocator has handed out. */
typedef struct trova_manager_memory_stats {
  size_t blocks_in_use; /* not freed yet */
  size_t bytes_in_use;  /* as asked for */
  size_t peak_bytes;    /* the most that were in use */
  uint64_t allocations; /* since the process started */
  uint64_t failures;    /* requests refused because of the limit, or by the system */
} trova_manager_memory_stats;

/*
 * Reads the allocator's counts.
 * @param[out] out_stats  taken one after the other while other threads go on
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_memory_stats_get(trova_manager_memory_stats* out_stats);

/*
 * Changes the limit. When it is reached, most functions return a code for "no memory", but
 * trova_playlist_collection_ident_add() returns 0 and leaves values out, and a statement with AND
 * may give a shorter playlist: trova_manager_memory_stats.failures counts the requests that were
 * refused.
 * @param limit  bytes; 0: no limit. A limit below what is in use refuses every new block.
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_memory_limit_set(size_t limit);

/* --------------------------------------------------------------------------------- Users */

/*
 * Makes a user, whom more-like-this asks for.
 * @param name           any text
 * @param[out] out_user  released with trova_manager_user_release()
 * @return 0; TROVA_MANAGER_NO_MEMORY
 */
TROVA_MANAGER_API uint32_t trova_manager_user_create(const char* name, trova_user** out_user);

/*
 * Gives a user back.
 * @param user  may be null
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_user_release(trova_user* user);

/* -------------------------------------------------------------------------- Data objects */

/*
 * Makes a data object without values.
 * @param context          TROVA_CTX_TRACK, TROVA_CTX_ALBUM or any other text
 * @param[out] out_object  released with trova_manager_gdo_release()
 * @return 0; TROVA_MANAGER_NO_MEMORY
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_create(const char* context, trova_gdo** out_object);

/*
 * Takes one more reference, which is given back with trova_manager_gdo_release().
 * @param object  live handle
 * @return 0; TROVA_MANAGER_NO_MEMORY from 2,147,483,648 references on
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_addref(trova_gdo* object);

/*
 * Gives a reference back. Text that was read lives no longer than the last one.
 * @param object  may be null
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_release(trova_gdo* object);

/*
 * Appends a value under a key: the first has ordinal 1.
 * @param object  live handle, no view of the library's
 * @param key     such as TROVA_VAL_ARTIST, or any other text
 * @param text    the value
 * @return 0; TROVA_MANAGER_NO_MEMORY; TROVA_MANAGER_UNSUPPORTED for a view
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_add_value(trova_gdo* object, const char* key,
                                                       const char* text);

/*
 * The same for a number in decimal.
 * @param object  live handle, no view of the library's
 * @param key     such as TROVA_VAL_GENRE_ID, or any other text
 * @param number  the value
 * @return as trova_manager_gdo_add_value()
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_add_number(trova_gdo* object, const char* key,
                                                        uint32_t number);

/*
 * Appends a child under a key. The parent takes a reference of its own.
 * @param object  live handle, no view of the library's
 * @param key     such as TROVA_CHILD_ALBUM, or any other text
 * @param child   live handle
 * @return as trova_manager_gdo_add_value(); TROVA_MANAGER_INVALID_ARG for a child that is the
 * object itself or holds it
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_add_child(trova_gdo* object, const char* key,
                                                       trova_gdo* child);

/* Reads, of the application's own objects and of views that the playlist library hands out, whose
 * answers are codes of the playlist library. */

/*
 * Reads the context.
 * @param object         live handle
 * @param[out] out_text  lives as long as the object
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_get_context(trova_gdo* object, const char** out_text);

/*
 * Counts the values of a key.
 * @param object          live handle
 * @param key             any text
 * @param[out] out_count  0 when there are none
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_value_count(trova_gdo* object, const char* key,
                                                         uint32_t* out_count);

/*
 * Reads a value.
 * @param object         live handle
 * @param key            any text
 * @param ordinal        from 1
 * @param[out] out_text  lives as long as the object
 * @return 0; TROVA_MANAGER_NOT_FOUND past the last one, PLERR_NotFound of a view
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_get_value(trova_gdo* object, const char* key,
                                                       uint32_t ordinal, const char** out_text);

/*
 * Counts the children of a key.
 * @param object          live handle
 * @param key             any text
 * @param[out] out_count  0 when there are none
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_child_count(trova_gdo* object, const char* key,
                                                         uint32_t* out_count);

/*
 * Reads a child.
 * @param object          live handle
 * @param key             any text
 * @param ordinal         from 1
 * @param[out] out_child  a reference, given back with trova_manager_gdo_release()
 * @return 0; TROVA_MANAGER_NOT_FOUND past the last one, PLERR_NotFound of a view
 */
TROVA_MANAGER_API uint32_t trova_manager_gdo_get_child(trova_gdo* object, const char* key,
                                                       uint32_t ordinal, trova_gdo** out_child);

/* --------------------------------------------------------------------------------- Lists */

/*
 * One element as an application sees it. The texts live as long as the list.
 */
typedef struct trova_manager_element {
  uint32_t id;          /* never 0, and never another's */
  uint32_t parent;      /* id of the element above; 0 at the top level */
  uint32_t level;       /* 1 at the top */
  uint32_t lower;       /* range, both bounds inclusive; 0 and 0 when the list has none */
  uint32_t upper;       /* the other bound */
  const char* name;     /* in the list's language */
  const char* synonyms; /* other accepted spellings, joined by "|"; "" when there are none */
} trova_manager_element;

/*
 * Opens a list.
 * @param type           TROVA_LIST_GENRES and so on
 * @param[out] out_list  in the manager's language; released with trova_manager_list_release()
 * @return 0; TROVA_MANAGER_NOT_FOUND for another type; TROVA_MANAGER_NO_MEMORY
 */
TROVA_MANAGER_API uint32_t trova_manager_list_load(const char* type, trova_list** out_list);

/*
 * Gives a list back, and what was read from it.
 * @param list  may be null
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_list_release(trova_list* list);

/*
 * Counts the elements.
 * @param list            live handle
 * @param[out] out_count  of all levels
 * @return 0
 */
TROVA_MANAGER_API uint32_t trova_manager_list_count(trova_list* list, uint32_t* out_count);

/*
 * Reads an element by its place.
 * @param list              live handle
 * @param index             0 to the count minus 1: parents before their children, a tree read from
 *                          the top
 * @param[out] out_element  its texts live as long as the list
 * @return 0; TROVA_MANAGER_NOT_FOUND at or past the count
 */
TROVA_MANAGER_API uint32_t trova_manager_list_get(trova_list* list, uint32_t index,
                                                  trova_manager_element* out_element);

/*
 * Reads an element by its id.
 * @param list              live handle
 * @param id                the element's
 * @param[out] out_element  its texts live as long as the list
 * @return 0; TROVA_MANAGER_NOT_FOUND when the list has no such id
 */
TROVA_MANAGER_API uint32_t trova_manager_list_element(trova_list* list, uint32_t id,
                                                      trova_manager_element* out_element);

/*
 * Finds an element by name, in any language of the list, or synonym. Case, accents and punctuation
 * are folded, and "&", "and", "'n'" are one word.
 * @param list              live handle
 * @param text              the name
 * @param[out] out_element  its texts live as long as the list
 * @return 0; TROVA_MANAGER_NOT_FOUND when nothing is called so
 */
TROVA_MANAGER_API uint32_t trova_manager_list_find(trova_list* list, const char* text,
                                                   trova_manager_element* out_element);
/*
 * The elements whose names come nearest to a text, best first; a name that contains the text comes
 * before one that is merely spelled alike.
 * @param list               live handle
 * @param text               the name that is looked for
 * @param capacity           room in `out_elements`
 * @param[out] out_elements  their texts live as long as the list
 * @param[out] out_count     how many were written
 * @return 0; TROVA_MANAGER_NO_MEMORY
 */
TROVA_MANAGER_API uint32_t trova_manager_list_search(trova_list* list, const char* text,
                                                     uint32_t capacity,
                                                     trova_manager_element* out_elements,
                                                     uint32_t* out_count);

/*
 * How near two elements are, on the scale of LIKE: -1000 to 1000, 1000 for an element and itself.
 * @param type            list type with correlates: all but tempos
 * @param id_a            an element's id
 * @param id_b            another's, or the same
 * @param[out] out_score  the same whichever of the two comes first
 * @return 0; TROVA_MANAGER_NOT_FOUND for a list without correlates, or an id that it lacks
 */
TROVA_MANAGER_API uint32_t trova_manager_list_correlate(const char* type, uint32_t id_a,
                                                        uint32_t id_b, int32_t* out_score);

#ifdef __cplusplus
}
#endif

#endif /* TROVA_MANAGER_H */
