/*
 * own_manager.c: a manager of one's own, as small as one can be.
 *
 * It has what the playlist library cannot do without: memory, live handles, data objects, the words
 * of the last error. It has no lists, so genres and the like are compared by their numbers alone;
 * no storage, so collections are kept by other means; no log and no users.
 *
 * Built as libtrova_manager.so.2.0.0, the name under which the playlist library asks for it.
 */
#include "own_manager.h"

#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vrel_log.h"
#include "vrel_memory.h"

#define EXPORT OWN_MANAGER_API

#ifdef __cplusplus
#define THREAD_LOCAL thread_local
#else
#define THREAD_LOCAL _Thread_local
#endif

/* Package 16 is the manager's. Only the low 16 bits of some codes mean something to the library. */
#define NO_MEMORY UINT32_C(0x90100002)
#define BAD_HANDLE UINT32_C(0x90100321)

/* ------------------------------------------------------------------------------- Handles
 *
 * Every address that was ever added is remembered as live or dead, so that a stale handle is
 * refused without a look at memory that is no longer its own. The allocator forgets the dead in
 * what it hands out. Addresses that were never added are believed: their first word tells. */

enum { kBuckets = 1024 };

typedef struct known_handle {
  struct known_handle* next;
  const void* address;
  int is_live;
} known_handle;

static known_handle* g_handles[kBuckets];
static pthread_mutex_t g_handles_lock = PTHREAD_MUTEX_INITIALIZER;

/* The place that points to an address, or to the null where it would stand. Caller holds the lock.
 */
static known_handle** find_handle(const void* address) {
  known_handle** place = &g_handles[((uintptr_t)address >> 4) % kBuckets];
  while (*place != NULL && (*place)->address != address) place = &(*place)->next;
  return place;
}

static uint32_t handle_add(void* object) {
  uint32_t code = 0;
  pthread_mutex_lock(&g_handles_lock);
  known_handle** const place = find_handle(object);
  if (*place == NULL) *place = (known_handle*)calloc(1, sizeof(known_handle));
  if (*place == NULL) {
    code = NO_MEMORY;
  } else {
    (*place)->address = object;
    (*place)->is_live = 1;
  }
  pthread_mutex_unlock(&g_handles_lock);
  return code;
}

/* What was never added is no handle of ours, and removing it is no error. */
static uint32_t handle_remove(void* object) {
  pthread_mutex_lock(&g_handles_lock);
  known_handle** const place = find_handle(object);
  if (*place != NULL) (*place)->is_live = 0;
  pthread_mutex_unlock(&g_handles_lock);
  return 0;
}

static void forget_handle(void* address) {
  pthread_mutex_lock(&g_handles_lock);
  known_handle** const place = find_handle(address);
  if (*place != NULL) {
    known_handle* const gone = *place;
    *place = gone->next;
    free(gone);
  }
  pthread_mutex_unlock(&g_handles_lock);
}

static uint32_t handle_validate(const void* handle, uint32_t magic) {
  uint32_t code = BAD_HANDLE;
  pthread_mutex_lock(&g_handles_lock);
  known_handle* const known = *find_handle(handle);
  if (known == NULL || known->is_live) code = *(const uint32_t*)handle == magic ? 0 : BAD_HANDLE;
  pthread_mutex_unlock(&g_handles_lock);
  return code;
}

/* -------------------------------------------------------------------------------- Memory */

EXPORT uint32_t vrel_memory_initialize(ManagerHandle* manager) {
  (void)manager;
  return 0;
}

EXPORT uint32_t vrel_memory_shutdown(void) {
  return 0;
}

/* A new block is no old handle. */
static void* hand_out(void* block) {
  if (block != NULL) forget_handle(block);
  return block;
}

EXPORT void* vrel_memory_alloc(size_t size) {
  return hand_out(malloc(size != 0 ? size : 1));
}

EXPORT void* vrel_memory_calloc(size_t count, size_t size) {
  return hand_out(count != 0 && size != 0 ? calloc(count, size) : calloc(1, 1));
}

EXPORT void* vrel_memory_realloc(void* block, size_t size) {
  return hand_out(realloc(block, size != 0 ? size : 1));
}

EXPORT void vrel_memory_free(void* block) {
  (void)handle_remove(block);
  free(block);
}

EXPORT void* vrel_memory_memcpy(void* to, const void* from, size_t size) {
  return memcpy(to, from, size);
}

EXPORT void* vrel_memory_memmove(void* to, const void* from, size_t size) {
  return memmove(to, from, size);
}

EXPORT void* vrel_memory_memset(void* to, int byte, size_t size) {
  return memset(to, byte, size);
}

/* ----------------------------------------------------------------------------------- Log
 * Null and zero: nothing is logged until an application sets them. */

EXPORT vrel_log_error_callback g_vrel_log_error_callback;
EXPORT vrel_log_callback g_vrel_log_callback;
EXPORT uint32_t g_vrel_log_enabled_pkgs[256];

/* --------------------------------------------------------------------------------- Errors */

static THREAD_LOCAL char g_last_error[256];

static uint32_t errorinfo_set(uint32_t code, const char* text) {
  (void)code;
  snprintf(g_last_error, sizeof g_last_error, "%s", text != NULL ? text : "");
  return 0;
}

EXPORT const char* own_manager_last_error(void) {
  return g_last_error;
}

/* --------------------------------------------------------------------------- Data objects
 *
 * An object either has values or passes the questions on to a view of the library's. */

typedef struct own_value {
  struct own_value* next;
  const char* key;
  char text[1]; /* as long as it takes */
} own_value;

enum { kObjectMagic = 0x0b1ec700 };

struct trova_gdo {
  uint32_t magic;
  void* view;
  const trova_gdo_operations* operations; /* of the view; null: the object has values */
  own_value* values;
};

static trova_gdo* new_object(void* view, const trova_gdo_operations* operations) {
  trova_gdo* const object = (trova_gdo*)vrel_memory_calloc(1, sizeof(trova_gdo));
  if (object == NULL) return NULL;
  object->magic = kObjectMagic;
  object->view = view;
  object->operations = operations;
  if (handle_add(object) == 0) return object;
  vrel_memory_free(object);
  return NULL;
}

static uint32_t gdo_create(void* view, const trova_gdo_operations* operations, uint32_t flags,
                           trova_gdo** out_object) {
  trova_gdo* const object = new_object(view, operations);
  (void)flags;
  if (object == NULL) return NO_MEMORY;
  *out_object = object;
  return 0;
}

/* Nobody here has a second reference. */
static uint32_t gdo_release(trova_gdo* object) {
  if (object == NULL) return 0;
  if (object->operations != NULL) (void)object->operations->release(object->view);
  while (object->values != NULL) {
    own_value* const value = object->values;
    object->values = value->next;
    vrel_memory_free(value);
  }
  vrel_memory_free(object);
  return 0;
}

static uint32_t gdo_get_context(trova_gdo* object, const char** out_text) {
  if (object->operations != NULL) return object->operations->get_context(object->view, out_text);
  *out_text = "trova_ctx_track";
  return 0;
}

static uint32_t gdo_get_value(trova_gdo* object, const char* key, uint32_t ordinal,
                              const char** out_text) {
  if (object->operations != NULL) {
    return object->operations->get_value(object->view, key, ordinal, out_text);
  }
  for (const own_value* value = object->values; value != NULL; value = value->next) {
    if (strcmp(value->key, key) != 0 || --ordinal != 0) continue;
    *out_text = value->text;
    return 0;
  }
  return TROVA_MANAGER_NOT_FOUND;
}

static uint32_t gdo_get_child(trova_gdo* object, const char* key, uint32_t ordinal, uint32_t flags,
                              trova_gdo** out_child) {
  if (object->operations == NULL) return TROVA_MANAGER_NOT_FOUND;
  return object->operations->get_child(object->view, key, ordinal, flags, out_child);
}

EXPORT trova_gdo* own_object_create(void) {
  return new_object(NULL, NULL);
}

EXPORT uint32_t own_object_add(trova_gdo* object, const char* key, const char* text) {
  const size_t size = strlen(text) + 1;
  own_value* const value = (own_value*)vrel_memory_calloc(1, sizeof(own_value) + size);
  own_value** last = &object->values;
  if (value == NULL) return NO_MEMORY;
  value->key = key;
  memcpy(value->text, text, size);
  while (*last != NULL) last = &(*last)->next;
  *last = value;
  return 0;
}

EXPORT uint32_t own_object_get(trova_gdo* object, const char* key, const char** out_text) {
  return gdo_get_value(object, key, 1, out_text);
}

EXPORT void own_object_release(trova_gdo* object) {
  (void)gdo_release(object);
}

/* ---------------------------------------------------------------------------------- Lists
 * There are none. What cannot be loaded is never looked into; only releases of null come. */

static uint32_t list_release(trova_list* list) {
  (void)list;
  return 0;
}
static uint32_t list_load(const char* type, const char* language, const char* region,
                          const char* descriptor, trova_list** out_list) {
  (void)type, (void)language, (void)region, (void)descriptor, (void)out_list;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t locale_info(trova_locale* locale, const char** out_language,
                            const char** out_region, const char** out_descriptor) {
  (void)locale, (void)out_language, (void)out_region, (void)out_descriptor;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t element_lookup(trova_list* list, uint32_t id, uint32_t level,
                               trova_list_element** out_element) {
  (void)list, (void)id, (void)level, (void)out_element;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t element_number(trova_list_element* element, uint32_t* out_number) {
  (void)element, (void)out_number;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t element_range(trova_list_element* element, uint32_t* out_lower,
                              uint32_t* out_upper) {
  (void)element, (void)out_lower, (void)out_upper;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t element_display(trova_list_element* element, const char** out_text) {
  (void)element, (void)out_text;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t correlate_set_release(trova_correlate_set* set) {
  (void)set;
  return 0;
}
static uint32_t correlate_set_open(trova_correlates* correlates, uint32_t id,
                                   trova_correlate_set** out_set) {
  (void)correlates, (void)id, (void)out_set;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t correlate_score(trova_correlate_set* set, uint32_t id, int32_t* out_score) {
  (void)set, (void)id, (void)out_score;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t correlates_load(const char* name, trova_correlates** out_correlates) {
  (void)name, (void)out_correlates;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t locale_load(const char* name, trova_locale** out_locale) {
  (void)name, (void)out_locale;
  return TROVA_MANAGER_NOT_FOUND;
}
static uint32_t correlates_release(trova_correlates* correlates) {
  (void)correlates;
  return 0;
}
static uint32_t locale_reference(trova_locale* locale) {
  (void)locale;
  return 0;
}

/* --------------------------------------------------------------------------------- Tables */

static uint32_t release_table(void* table) {
  (void)table;
  return 0;
}

/* This manager has no users: more-like-this, which needs one, is refused. */
static uint32_t handle_validate_user(const trova_user* user) {
  (void)user;
  return BAD_HANDLE;
}

static uint32_t handle_validate_object(const trova_gdo* object) {
  return handle_validate(object, kObjectMagic);
}

static trova_errorinfo_interface g_errorinfo = {release_table, errorinfo_set};
static trova_handlemanager_interface g_handlemanager = {release_table,
                                                        handle_add,
                                                        handle_remove,
                                                        handle_validate,
                                                        NULL, /* 4 */
                                                        handle_validate_user,
                                                        handle_validate_object};
static trova_userinfo_interface g_userinfo = {release_table};
static trova_listmanager_interface g_lists = {release_table,
                                              list_release,
                                              list_load,
                                              NULL, /* 3 */
                                              locale_info,
                                              element_lookup,
                                              NULL,           /* 6 */
                                              element_number, /* the level */
                                              element_number, /* the id */
                                              element_range,
                                              element_display,
                                              NULL, /* 11 to 15 */
                                              NULL,
                                              NULL,
                                              NULL,
                                              NULL,
                                              correlate_set_release,
                                              correlate_set_open,
                                              correlate_score,
                                              correlates_load,
                                              locale_load,
                                              correlates_release,
                                              locale_reference,
                                              locale_reference};
static trova_gdo_interface g_gdo = {release_table, gdo_create,
                                    NULL, /* 2 */
                                    gdo_release,   gdo_get_context,
                                    NULL,                /* 5 */
                                    gdo_get_value, NULL, /* 7 */
                                    gdo_get_child};
/* Nothing but its release is ever called. */
static trova_serialization_interface g_serialization = {release_table, NULL, NULL, NULL};

typedef struct service {
  const char* name;
  void* table;
} service;

/* Storage is not among them, which the library takes for an answer. */
static const service kServices[] = {
    {TROVA_SERVICE_ERRORINFO, &g_errorinfo},
    {TROVA_SERVICE_HANDLEMANAGER, &g_handlemanager},
    {TROVA_SERVICE_USERINFO, &g_userinfo},
    {TROVA_SERVICE_LISTMANAGER, &g_lists},
    {TROVA_SERVICE_GDO, &g_gdo},
    {TROVA_SERVICE_SERIALIZATION, &g_serialization},
};

static uint32_t query_interface(const char* name, void** out_table) {
  for (size_t i = 0; i < sizeof kServices / sizeof kServices[0]; ++i) {
    if (strcmp(kServices[i].name, name) != 0) continue;
    *out_table = kServices[i].table;
    return 0;
  }
  return TROVA_MANAGER_NOT_FOUND;
}

static uint32_t register_package(uint32_t package, const char* tag) {
  (void)package, (void)tag;
  return 0;
}

static ManagerHandle g_manager = {TROVA_MANAGER_MAGIC, TROVA_MANAGER_VERSION, 0, query_interface, 0,
                                  register_package};

EXPORT ManagerHandle* own_manager(void) {
  return &g_manager;
}
