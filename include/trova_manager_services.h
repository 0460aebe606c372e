/*
 * trova_manager_services.h: the manager's handle record and its service tables, the binary
 * interface between the playlist library and any manager it runs on.
 *
 * A manager gives the application a ManagerHandle; the application passes it to
 * trova_playlist_initialize(), which asks for each service by name. A service is a table of
 * function pointers addressed by position. Slots that are named `unusedN` are never called and may
 * be null; every other slot must be set unless its comment says otherwise.
 *
 * Rules for every slot:
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
typedef struct trova_user trova_user;
typedef struct trova_gdo trova_gdo; /* a data object: what is known of one track or album */
typedef struct trova_list trova_list;
typedef struct trova_list_element trova_list_element; /* borrowed from its list; no release */
typedef struct trova_locale trova_locale;
typedef struct trova_correlates trova_correlates;
typedef struct trova_correlate_set trova_correlate_set;
typedef struct trova_store trova_store;
typedef struct trova_record trova_record;
typedef struct trova_cursor trova_cursor;

/* A slot that nobody calls. */
typedef void (*trova_unused_slot)(void);

/* ManagerHandle.magic */
#define TROVA_MANAGER_MAGIC UINT32_C(0x1EEEEEE1)
/* ManagerHandle.version that this interface describes */
#define TROVA_MANAGER_VERSION "2.0.0"
/* The warning "there is no such thing" of the manager's own package. */
#define TROVA_MANAGER_NOT_FOUND UINT32_C(0x10100003)

/* Names for query_interface. All but storage are required. */
#define TROVA_SERVICE_ERRORINFO "_trova_errorinfo_interface"
#define TROVA_SERVICE_HANDLEMANAGER "_trova_handlemanager_interface"
#define TROVA_SERVICE_USERINFO "_trova_userinfo_interface"
#define TROVA_SERVICE_LISTMANAGER "_trova_listmanager_interface"
#define TROVA_SERVICE_GDO "_trova_gdo_interface"
#define TROVA_SERVICE_SERIALIZATION "_trova_serialization_interface"
#define TROVA_SERVICE_STORAGE "_trova_storage_interface"

/* What a running manager is to the playlist library. */
typedef struct ManagerHandle {
  uint32_t magic;      /* TROVA_MANAGER_MAGIC */
  const char* version; /* TROVA_MANAGER_VERSION, compared by content */
  uint32_t unused2;
  /* Hands out the table of the service of that name. */
  uint32_t (*query_interface)(const char* name, void** out_table);
  uint32_t unused4;
  /* Announces a package of error codes and log lines. `tag` is static text. */
  uint32_t (*register_package)(uint32_t package, const char* tag);
} ManagerHandle;

/* Error information: what the application reads after a failed statement. */
typedef struct trova_errorinfo_interface {
  uint32_t (*release)(void* table);                 /* 0 */
  uint32_t (*set)(uint32_t code, const char* text); /* 1; text may be null, copied */
} trova_errorinfo_interface;

/*
 * Handle manager: which objects are live handles.
 *
 * An object whose first 32-bit word carries the asked magic validates even if it was never added;
 * removing an object that was never added returns 0. An object that was removed, or whose block
 * was freed while it was registered, no longer validates, and the question must not touch freed
 * memory. An address that the allocator hands out again, or that is added again, is a new object.
 */
typedef struct trova_handlemanager_interface {
  uint32_t (*release)(void* table);                                /* 0 */
  uint32_t (*handle_add)(void* object);                            /* 1 */
  uint32_t (*handle_remove)(void* object);                         /* 2 */
  uint32_t (*handle_validate)(const void* handle, uint32_t magic); /* 3 */
  trova_unused_slot unused4;                                       /* 4 */
  uint32_t (*handle_validate_user)(const trova_user* user);        /* 5 */
  uint32_t (*handle_validate_object)(const trova_gdo* object);     /* 6 */
} trova_handlemanager_interface;

/* User information: obtained and released, nothing else is called. */
typedef struct trova_userinfo_interface {
  uint32_t (*release)(void* table); /* 0 */
} trova_userinfo_interface;

/*
 * List manager: hierarchical lists, locales and correlate tables.
 *
 * Levels count from 1 at the top. Lists are immutable: what a list or a correlate table answers
 * never changes while it is loaded.
 */
typedef struct trova_listmanager_interface {
  uint32_t (*release)(void* table);           /* 0 */
  uint32_t (*list_release)(trova_list* list); /* 1 */
  /* 2: type such as "trova_list_type_genres"; the three texts are those of a locale */
  uint32_t (*list_load)(const char* type, const char* language, const char* region,
                        const char* descriptor, trova_list** out_list);
  trova_unused_slot unused3; /* 3 */
  /* 4: the three texts live as long as the locale */
  uint32_t (*locale_info)(trova_locale* locale, const char** out_language, const char** out_region,
                          const char** out_descriptor);
  /* 5: level 0 is the element itself, level n its ancestor (or itself) at level n; an unknown id
   * or a level below the element's own is "not found" */
  uint32_t (*element_lookup)(trova_list* list, uint32_t id, uint32_t level,
                             trova_list_element** out_element);
  trova_unused_slot unused6;                                                   /* 6 */
  uint32_t (*element_level)(trova_list_element* element, uint32_t* out_level); /* 7 */
  uint32_t (*element_id)(trova_list_element* element, uint32_t* out_id);       /* 8 */
  /* 9: both bounds inclusive */
  uint32_t (*element_range)(trova_list_element* element, uint32_t* out_lower, uint32_t* out_upper);
  /* 10: the text lives as long as the list */
  uint32_t (*element_display)(trova_list_element* element, const char** out_text);
  trova_unused_slot unused11;                                  /* 11 */
  trova_unused_slot unused12;                                  /* 12 */
  trova_unused_slot unused13;                                  /* 13 */
  trova_unused_slot unused14;                                  /* 14 */
  trova_unused_slot unused15;                                  /* 15 */
  uint32_t (*correlate_set_release)(trova_correlate_set* set); /* 16 */
  /* 17: the scores between `id` and every other id */
  uint32_t (*correlate_set_open)(trova_correlates* correlates, uint32_t id,
                                 trova_correlate_set** out_set);
  /* 18: -1000 to 1000; a pair that the table lacks is "not found" */
  uint32_t (*correlate_score)(trova_correlate_set* set, uint32_t id, int32_t* out_score);
  /* 19: name such as "trova_correlates_genre" */
  uint32_t (*correlates_load)(const char* name, trova_correlates** out_correlates);
  uint32_t (*locale_load)(const char* name, trova_locale** out_locale); /* 20 */
  uint32_t (*correlates_release)(trova_correlates* correlates);         /* 21 */
  uint32_t (*locale_addref)(trova_locale* locale);                      /* 22 */
  uint32_t (*locale_release)(trova_locale* locale);                     /* 23 */
} trova_listmanager_interface;

/*
 * Operations of a data object whose reads somebody other than the manager answers: the table that
 * gdo_create() takes. `view` is the context given there. A gdo_create() that fails never calls
 * slot 10.
 */
typedef struct trova_gdo_operations {
  void* (*addref)(void* view);                                               /* 0 */
  uint32_t (*get_context)(void* view, const char** out_text);                /* 1 */
  uint32_t (*child_count)(void* view, const char* key, uint32_t* out_count); /* 2 */
  uint32_t (*get_child)(void* view, const char* key, uint32_t ordinal, uint32_t flags,
                        trova_gdo** out_child);                              /* 3 */
  uint32_t (*value_count)(void* view, const char* key, uint32_t* out_count); /* 4 */
  uint32_t (*get_value)(void* view, const char* key, uint32_t ordinal,
                        const char** out_text);                  /* 5 */
  trova_unused_slot unused6;                                     /* 6: null */
  uint32_t (*set_locale)(void* view, trova_locale* locale);      /* 7 */
  uint32_t (*get_locale)(void* view, trova_locale** out_locale); /* 8 */
  trova_unused_slot unused9;                                     /* 9: null */
  uint32_t (*release)(void* view);                               /* 10 */
} trova_gdo_operations;

/* Data objects. Ordinals count from 1. */
typedef struct trova_gdo_interface {
  uint32_t (*release)(void* table); /* 0 */
  /* 1: `flags` is 0; the object is released with slot 3 */
  uint32_t (*gdo_create)(void* view, const trova_gdo_operations* operations, uint32_t flags,
                         trova_gdo** out_object);
  trova_unused_slot unused2;                                             /* 2 */
  uint32_t (*gdo_release)(trova_gdo* object);                            /* 3 */
  uint32_t (*gdo_get_context)(trova_gdo* object, const char** out_text); /* 4 */
  trova_unused_slot unused5;                                             /* 5 */
  /* 6: the text lives as long as the object */
  uint32_t (*gdo_get_value)(trova_gdo* object, const char* key, uint32_t ordinal,
                            const char** out_text);
  trova_unused_slot unused7; /* 7 */
  /* 8: `flags` is 0; the child holds a reference that the caller gives back with slot 3 */
  uint32_t (*gdo_get_child)(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                            trova_gdo** out_child);
} trova_gdo_interface;

/* Serialization: text that travels enciphered. Obtained and released; nothing else is called. */
typedef struct trova_serialization_interface {
  uint32_t (*release)(void* table); /* 0 */
  /* 1: the text belongs to the caller, freed with vrel_memory_free */
  uint32_t (*encode)(const char* text, uint32_t length, char** out_text);
  /* 2: the text is freed with slot 3 */
  uint32_t (*decode)(const char* text, char** out_text, uint32_t* out_length);
  uint32_t (*free)(char* text); /* 3 */
} trova_serialization_interface;

/*
 * Storage: named stores of records, each with the fields that the store was created with.
 *
 * Opening a store that does not exist fails with a code whose low 16 bits are 3, and a store that
 * create() made and finish() never finished does not exist. A query that matches nothing succeeds
 * with an empty cursor. The end of a cursor is "not found".
 */
typedef struct trova_storage_interface {
  uint32_t (*release)(void* table);                              /* 0 */
  uint32_t (*open)(const char* name, trova_store** out_store);   /* 1 */
  uint32_t (*create)(const char* name, trova_store** out_store); /* 2 */
  /* 3: a null criteria record matches every record */
  uint32_t (*query)(trova_store* store, trova_record* criteria, trova_cursor** out_cursor);
  uint32_t (*finish)(trova_store* store);                           /* 4 */
  trova_unused_slot unused5;                                        /* 5 */
  uint32_t (*close)(trova_store* store);                            /* 6: disposes of the store */
  uint32_t (*field_count)(trova_store* store, uint32_t* out_count); /* 7 */
  /* 8 */
  uint32_t (*field_info)(trova_store* store, uint32_t position, const char** out_name,
                         uint32_t* out_type, uint32_t* out_flags);
  /* 9: type 1 is text, 3 is binary */
  uint32_t (*add_field)(trova_store* store, const char* name, uint32_t type, uint32_t flags);
  trova_unused_slot unused10;                                            /* 10 */
  trova_unused_slot unused11;                                            /* 11 */
  uint32_t (*store_release)(trova_store* store);                         /* 12 */
  uint32_t (*record_new)(trova_store* store, trova_record** out_record); /* 13 */
  uint32_t (*record_insert)(trova_record* record);                       /* 14 */
  uint32_t (*record_update)(trova_record* record);                       /* 15 */
  uint32_t (*record_delete)(trova_record* record);                       /* 16 */
  /* 17 */
  uint32_t (*set_binary)(trova_record* record, const char* field, const void* bytes,
                         uint32_t length);
  uint32_t (*set_string)(trova_record* record, const char* field, const char* text); /* 18 */
  trova_unused_slot unused19;                                                        /* 19 */
  /* 20: the bytes live as long as the record */
  uint32_t (*get_binary)(trova_record* record, const char* field, const void** out_bytes,
                         uint32_t* out_length);
  /* 21 */
  uint32_t (*get_string)(trova_record* record, const char* field, const char** out_text);
  trova_unused_slot unused22;                       /* 22 */
  uint32_t (*record_release)(trova_record* record); /* 23 */
  /* 24: a null out parameter skips the record */
  uint32_t (*cursor_next)(trova_cursor* cursor, trova_record** out_record);
  uint32_t (*cursor_release)(trova_cursor* cursor); /* 25 */
} trova_storage_interface;

#ifdef __cplusplus
}
#endif

#endif /* TROVA_MANAGER_SERVICES_H */
