/*
 * trova_manager_services.h: the manager's handle record and its service tables, the binary
 * interface between the playlist library and any manager it runs on.
 *
 * A manager gives the application a ManagerHandle; the application passes it to
 * trova_playlist_initialize(), which asks for each service by name. A service is a table of
 * function pointers addressed by position: each comment opens with it. Slots that are named
 * `unusedN` are never called and may be null. A slot that is required is called without a look
 * whether it is set.
 *
 * Rules for every slot
 *   - It returns 0 or an error code. Bit 31 marks a failure; a non-zero code without it is a
 *     warning. Where a thing asked for does not exist the answer is a warning whose low 16 bits
 *     are 3 (TROVA_MANAGER_NOT_FOUND is a ready-made one).
 *   - Out parameters are written on success only.
 *   - Text is NUL-terminated UTF-8. Text handed out is borrowed from the object it was read from
 *     and lives as long as that object, except where a slot says otherwise.
 *   - Slot 0, release(table), is called once for each table that was handed out.
 *   - Every release accepts null and then returns 0.
 *   - Slots may be called from any thread, and no exception may leave them.
 */
#ifndef TROVA_MANAGER_SERVICES_H
#define TROVA_MANAGER_SERVICES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Objects of the manager. The playlist library only passes pointers to them around. */

/* For whom a playlist is made. */
typedef struct trova_user trova_user;
/* A data object: what is known of one track or album. */
typedef struct trova_gdo trova_gdo;
/* Genres, eras and so on, each a tree. */
typedef struct trova_list trova_list;
/* One of a list, borrowed from it; no release. */
typedef struct trova_list_element trova_list_element;
/* Says in which language lists are loaded. */
typedef struct trova_locale trova_locale;
/* How alike the elements of a list are. */
typedef struct trova_correlates trova_correlates;
/* The same for one of them. */
typedef struct trova_correlate_set trova_correlate_set;
/* Records of one layout, by name. */
typedef struct trova_store trova_store;
/* One of them, as it was read or is to be written. */
typedef struct trova_record trova_record;
/* The answer of a query. */
typedef struct trova_cursor trova_cursor;

/* A slot that nobody calls. */
typedef void (*trova_unused_slot)(void);

/* ManagerHandle.magic. */
#define TROVA_MANAGER_MAGIC UINT32_C(0x1EEEEEE1)
/* ManagerHandle.version that this interface describes. */
#define TROVA_MANAGER_VERSION "2.0.0"
/* The warning "there is no such thing" of the manager's own package. */
#define TROVA_MANAGER_NOT_FOUND UINT32_C(0x10100003)

/* Names for query_interface, which hands out a table of the type that stands behind each. All but
 * storage are required. */

#define TROVA_SERVICE_ERRORINFO "_trova_errorinfo_interface" /* trova_errorinfo_interface */
#define TROVA_SERVICE_HANDLEMANAGER \
  "_trova_handlemanager_interface"                               /* trova_handlemanager_interface */
#define TROVA_SERVICE_USERINFO "_trova_userinfo_interface"       /* trova_userinfo_interface */
#define TROVA_SERVICE_LISTMANAGER "_trova_listmanager_interface" /* trova_listmanager_interface */
#define TROVA_SERVICE_GDO "_trova_gdo_interface"                 /* trova_gdo_interface */
#define TROVA_SERVICE_SERIALIZATION \
  "_trova_serialization_interface"                       /* trova_serialization_interface */
#define TROVA_SERVICE_STORAGE "_trova_storage_interface" /* trova_storage_interface */

/* What a running manager is to the playlist library, which reads the record and never writes it. It
 * and its text stay until the last trova_playlist_shutdown(). */
typedef struct ManagerHandle {
  uint32_t magic;      /* TROVA_MANAGER_MAGIC */
  const char* version; /* TROVA_MANAGER_VERSION, compared by content */
  uint32_t unused2;    /* not looked at */
  /* Required: hands out the table of the service of that name, which stays until its release. A
   * service that there is not is any non-zero code. Called once for each service at the start. */
  uint32_t (*query_interface)(const char* name, void** out_table);
  uint32_t unused4; /* not looked at */
  /* Required: announces a package of error codes and log lines. `tag` is static text. Called once
   * at the start; a failure fails it. */
  uint32_t (*register_package)(uint32_t package, const char* tag);
} ManagerHandle;

/* ------------------------------------------------------------------------ Error information */

/* What the application reads after a failed statement. */
typedef struct trova_errorinfo_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, required: the calling thread's last error. Called when a statement is refused or fails; the
   * text says what is wrong with it, or is null, and is valid during the call. The result is
   * ignored. */
  uint32_t (*set)(uint32_t code, const char* text);
} trova_errorinfo_interface;

/* -------------------------------------------------------------------------- Handle manager
 *
 * Which objects are live handles.
 *
 * An object whose first 32-bit word carries the asked magic validates even if it was never added;
 * removing an object that was never added returns 0. An object that was removed, or whose block
 * was freed while it was registered, no longer validates, and the question must not touch freed
 * memory. An address that the allocator hands out again, or that is added again, is a new object.
 */

/* Of a failed validation the low 16 bits reach the application, in a failure of the playlist
 * library. */
typedef struct trova_handlemanager_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, required: the object is a live handle from now on. Called for a new collection and for new
   * results; a failure fails the call that makes them. Called also for a record on the stack of
   * each trova_playlist_collection_ident_add(), where the answer is ignored. */
  uint32_t (*handle_add)(void* object);
  /* 2, required: the object is no handle any more. Called just before results are freed, just
   * before a collection is freed by the release of its handle (or at the end of the call during
   * which a callback released it), and at the end of each trova_playlist_collection_ident_add() for
   * its record. Not called for a collection that results or data views keep alive beyond that: it
   * is freed without notice, and its block then passes through vrel_memory_free(), which must end
   * the handle as well. May come for an object that was never added. */
  uint32_t (*handle_remove)(void* object);
  /* 3, required: 0 for a live handle of that magic. Called for every handle of a collection or of
   * results that an application passes in, and for every value that an attribute captures. */
  uint32_t (*handle_validate)(const void* handle, uint32_t magic);
  /* 4, never called. */
  trova_unused_slot unused4;
  /* 5, required: 0 for a live user. Called for more-like-this alone: a manager without users
   * refuses every one. */
  uint32_t (*handle_validate_user)(const trova_user* user);
  /* 6, required: 0 for a live data object. Called for data of an ident and for seeds. */
  uint32_t (*handle_validate_object)(const trova_gdo* object);
} trova_handlemanager_interface;

/* ------------------------------------------------------------------------- User information */

/* Obtained and released, nothing else is called. */
typedef struct trova_userinfo_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
} trova_userinfo_interface;

/* ---------------------------------------------------------------------------- List manager
 *
 * Hierarchical lists, locales and correlate tables. Levels count from 1 at the top. Lists are
 * immutable: what a list or a correlate table answers never changes while it is loaded.
 *
 * Every slot but the unused ones must be set. Where nothing can be loaded, 2, 19 and 20 answer "not
 * found", and of the others only the releases are called, with null: ids are then compared as they
 * are, LIKE answers PLERR_ListUnavailable where it needs a list, and names are not rendered. */

/* Lists, locales and correlates are asked for whenever a statement compares one of the attributes
 * that have them, and given back with the statement: loading must be cheap the second time. */
typedef struct trova_listmanager_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, required: ends what 2 began. */
  uint32_t (*list_release)(trova_list* list);
  /* 2, required: the list of a type such as "trova_list_type_genres", in the language that the
   * three texts of a locale (slot 4) name. */
  uint32_t (*list_load)(const char* type, const char* language, const char* region,
                        const char* descriptor, trova_list** out_list);
  /* 3, never called. */
  trova_unused_slot unused3;
  /* 4, required: what tells lists of different languages apart. The texts live as long as the
   * locale. */
  uint32_t (*locale_info)(trova_locale* locale, const char** out_language, const char** out_region,
                          const char** out_descriptor);
  /* 5, required: level 0 is the element itself, level n its ancestor (or itself) at level n; an
   * unknown id, or a level below the element's own, is "not found". The element lives as long as
   * the list. */
  uint32_t (*element_lookup)(trova_list* list, uint32_t id, uint32_t level,
                             trova_list_element** out_element);
  /* 6, never called. */
  trova_unused_slot unused6;
  /* 7, required: 1 for the top level. */
  uint32_t (*element_level)(trova_list_element* element, uint32_t* out_level);
  /* 8, required: the id, never 0. */
  uint32_t (*element_id)(trova_list_element* element, uint32_t* out_id);
  /* 9, required: the years of an era, both bounds inclusive. Called for eras alone. */
  uint32_t (*element_range)(trova_list_element* element, uint32_t* out_lower, uint32_t* out_upper);
  /* 10, required: the name in the list's language, which lives as long as the list. Called when
   * values are read back through a data object. */
  uint32_t (*element_display)(trova_list_element* element, const char** out_text);
  /* 11, never called. */
  trova_unused_slot unused11;
  /* 12, never called. */
  trova_unused_slot unused12;
  /* 13, never called. */
  trova_unused_slot unused13;
  /* 14, never called. */
  trova_unused_slot unused14;
  /* 15, never called. */
  trova_unused_slot unused15;
  /* 16, required: ends what 17 began. */
  uint32_t (*correlate_set_release)(trova_correlate_set* set);
  /* 17, required: the scores between `id` and every other id. */
  uint32_t (*correlate_set_open)(trova_correlates* correlates, uint32_t id,
                                 trova_correlate_set** out_set);
  /* 18, required: -1000 to 1000; a pair that the table lacks is "not found". */
  uint32_t (*correlate_score)(trova_correlate_set* set, uint32_t id, int32_t* out_score);
  /* 19, required: a table by name, such as "trova_correlates_genre". */
  uint32_t (*correlates_load)(const char* name, trova_correlates** out_correlates);
  /* 20, required: "trova_locale_playlist", and where that fails "trova_locale_music". */
  uint32_t (*locale_load)(const char* name, trova_locale** out_locale);
  /* 21, required: ends what 19 began. */
  uint32_t (*correlates_release)(trova_correlates* correlates);
  /* 22, required: one more reference on a locale. Called when a manager sets the locale of a data
   * object of the library's. */
  uint32_t (*locale_addref)(trova_locale* locale);
  /* 23, required: gives back what 20 or 22 gave. */
  uint32_t (*locale_release)(trova_locale* locale);
} trova_listmanager_interface;

/* ---------------------------------------------------------------------------- Data objects */

/*
 * Operations of a data object whose reads somebody other than the manager answers: the table that
 * gdo_create() takes. The playlist library fills it and the manager calls it, from any thread.
 * `view` is the context given there.
 */
typedef struct trova_gdo_operations {
  /* 0: answers the view, which counts no references: the data object does. */
  void* (*addref)(void* view);
  /* 1: static text. */
  uint32_t (*get_context)(void* view, const char** out_text);
  /* 2: 0, for any key. */
  uint32_t (*child_count)(void* view, const char* key, uint32_t* out_count);
  /* 3: "not found", for any key. */
  uint32_t (*get_child)(void* view, const char* key, uint32_t ordinal, uint32_t flags,
                        trova_gdo** out_child);
  /* 4: 1 or 0. */
  uint32_t (*value_count)(void* view, const char* key, uint32_t* out_count);
  /* 5: ordinal 0 is read as 1. The text lives until slot 10. */
  uint32_t (*get_value)(void* view, const char* key, uint32_t ordinal, const char** out_text);
  /* 6: null. */
  trova_unused_slot unused6;
  /* 7: the view takes a reference of its own; null leaves it without a locale. */
  uint32_t (*set_locale)(void* view, trova_locale* locale);
  /* 8: borrowed from the view; null when it has none. */
  uint32_t (*get_locale)(void* view, trova_locale** out_locale);
  /* 9: null. */
  trova_unused_slot unused9;
  /* 10: called once, when the last reference on the data object goes. */
  uint32_t (*release)(void* view);
} trova_gdo_operations;

/* Ordinals count from 1. */
typedef struct trova_gdo_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, required: a data object that asks the operations, which stay where they are. `flags` is 0.
   * The object is released with slot 3, by the library or by the application that it was handed to;
   * it owns the view. A failure leaves the view to the library: slot 10 of the operations is not
   * called then. */
  uint32_t (*gdo_create)(void* view, const trova_gdo_operations* operations, uint32_t flags,
                         trova_gdo** out_object);
  /* 2, never called. */
  trova_unused_slot unused2;
  /* 3, required: gives one reference back. */
  uint32_t (*gdo_release)(trova_gdo* object);
  /* 4, required: "trova_ctx_track", "trova_ctx_album", "trova_ctx_extdata" or another text, which
   * lives as long as the object. */
  uint32_t (*gdo_get_context)(trova_gdo* object, const char** out_text);
  /* 5, never called. */
  trova_unused_slot unused5;
  /* 6, required: the text lives as long as the object. */
  uint32_t (*gdo_get_value)(trova_gdo* object, const char* key, uint32_t ordinal,
                            const char** out_text);
  /* 7, never called. */
  trova_unused_slot unused7;
  /* 8, required: `flags` is 0; the child holds a reference that the caller gives back with slot 3.
   */
  uint32_t (*gdo_get_child)(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                            trova_gdo** out_child);
} trova_gdo_interface;

/* --------------------------------------------------------------------------- Serialization */

/* Text that travels enciphered. The playlist library obtains the table and gives it back. */
typedef struct trova_serialization_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, may be null, as nothing calls it today: the text belongs to the caller, freed with
   * vrel_memory_free(). */
  uint32_t (*encode)(const char* text, uint32_t length, char** out_text);
  /* 2, may be null, likewise: the text is freed with slot 3. */
  uint32_t (*decode)(const char* text, char** out_text, uint32_t* out_length);
  /* 3, may be null, likewise. */
  uint32_t (*free)(char* text);
} trova_serialization_interface;

/* --------------------------------------------------------------------------------- Storage
 *
 * Named stores of records, each with the fields that the store was created with. The one service
 * that a manager may do without.
 *
 * Opening a store that does not exist fails with a code whose low 16 bits are 3, and a store that
 * create() made and finish() never finished does not exist. A query that matches nothing succeeds
 * with an empty cursor. The end of a cursor is "not found". */

/* Records and cursors are released before their store. */
typedef struct trova_storage_interface {
  /* 0, required: gives the table back. */
  uint32_t (*release)(void* table);
  /* 1, required: a store that exists; ended with 6 or 12. */
  uint32_t (*open)(const char* name, trova_store** out_store);
  /* 2, required: a new store, to which fields are added before it is finished. Called when 1 fails,
   * whatever the reason: where the store exists after all, refuse it. */
  uint32_t (*create)(const char* name, trova_store** out_store);
  /* 3, required: the records that have what was set in the criteria record; null matches every one.
   * Ended with 25. */
  uint32_t (*query)(trova_store* store, trova_record* criteria, trova_cursor** out_cursor);
  /* 4, required: the fields are complete, the store exists from now on. */
  uint32_t (*finish)(trova_store* store);
  /* 5, never called. */
  trova_unused_slot unused5;
  /* 6, required: disposes of the store as 12 does. Called for one with fields other than due. */
  uint32_t (*close)(trova_store* store);
  /* 7, required. */
  uint32_t (*field_count)(trova_store* store, uint32_t* out_count);
  /* 8, required: positions count from 0, in the order in which fields were added. The name lives as
   * long as the store. */
  uint32_t (*field_info)(trova_store* store, uint32_t position, const char** out_name,
                         uint32_t* out_type, uint32_t* out_flags);
  /* 9, required: type 1 is text, 3 is binary. Flags are given back as they are; 3 says that records
   * are found by the field. */
  uint32_t (*add_field)(trova_store* store, const char* name, uint32_t type, uint32_t flags);
  /* 10, never called. */
  trova_unused_slot unused10;
  /* 11, never called. */
  trova_unused_slot unused11;
  /* 12, required: ends what 1 or 2 began. */
  uint32_t (*store_release)(trova_store* store);
  /* 13, required: an empty record, to be inserted or to be a criteria. */
  uint32_t (*record_new)(trova_store* store, trova_record** out_record);
  /* 14, required: adds a record that 13 made. */
  uint32_t (*record_insert)(trova_record* record);
  /* 15, required: writes a record that a cursor gave, with what was set since. */
  uint32_t (*record_update)(trova_record* record);
  /* 16, required: removes a record that a cursor gave. */
  uint32_t (*record_delete)(trova_record* record);
  /* 17, required: copies the bytes. */
  uint32_t (*set_binary)(trova_record* record, const char* field, const void* bytes,
                         uint32_t length);
  /* 18, required: copies the text. */
  uint32_t (*set_string)(trova_record* record, const char* field, const char* text);
  /* 19, never called. */
  trova_unused_slot unused19;
  /* 20, required: the bytes live as long as the record. */
  uint32_t (*get_binary)(trova_record* record, const char* field, const void** out_bytes,
                         uint32_t* out_length);
  /* 21, required: the text lives as long as the record. */
  uint32_t (*get_string)(trova_record* record, const char* field, const char** out_text);
  /* 22, never called. */
  trova_unused_slot unused22;
  /* 23, required. */
  uint32_t (*record_release)(trova_record* record);
  /* 24, required: the next record, which is released with 23; a null out parameter skips it. */
  uint32_t (*cursor_next)(trova_cursor* cursor, trova_record** out_record);
  /* 25, required. */
  uint32_t (*cursor_release)(trova_cursor* cursor);
} trova_storage_interface;

#ifdef __cplusplus
}
#endif

#endif /* TROVA_MANAGER_SERVICES_H */
