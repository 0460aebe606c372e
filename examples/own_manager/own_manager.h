/* own_manager.h: what the manager of own_manager.c offers to its application. */
#ifndef OWN_MANAGER_H
#define OWN_MANAGER_H

#include "trova_manager_services.h"

#if defined(__GNUC__)
#define OWN_MANAGER_API __attribute__((visibility("default")))
#else
#define OWN_MANAGER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What trova_playlist_initialize() takes; lives as long as the process. */
OWN_MANAGER_API ManagerHandle* own_manager(void);

/* Why the last statement of this thread was refused; "" without a reason. Lives until the thread's
 * next error. */
OWN_MANAGER_API const char* own_manager_last_error(void);

/* The description of a track; null when there is no memory. Released with own_object_release(). */
OWN_MANAGER_API trova_gdo* own_object_create(void);

/* Adds a value. The key must be static text, the value is copied. */
OWN_MANAGER_API uint32_t own_object_add(trova_gdo* object, const char* key, const char* text);

/* Reads the first value of a key, of the application's objects and of the library's views. */
OWN_MANAGER_API uint32_t own_object_get(trova_gdo* object, const char* key, const char** out_text);

/* Null is accepted. */
OWN_MANAGER_API void own_object_release(trova_gdo* object);

#ifdef __cplusplus
}
#endif

#endif /* OWN_MANAGER_H */
