/*
 * vrel_memory.h: the manager's allocator, the only source of memory of the playlist library.
 *
 * These functions are exported by the manager library. They are safe to call from any thread.
 * Blocks are aligned as malloc() aligns them.
 */
#ifndef VREL_MEMORY_H
#define VREL_MEMORY_H

#include <stddef.h>
#include <stdint.h>

#include "trova_manager_services.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Starts and stops the allocator; the calls are counted. The support modules pass null, the
 * playlist library the handle that it was given.
 */
uint32_t vrel_memory_initialize(ManagerHandle* manager);
uint32_t vrel_memory_shutdown(void);

/* As their C namesakes. A failed allocation returns null; freeing null does nothing. */
void* vrel_memory_alloc(size_t size);
void* vrel_memory_calloc(size_t count, size_t size);
void* vrel_memory_realloc(void* block, size_t size);
void vrel_memory_free(void* block);

/* As memcpy, memmove and memset. */
void* vrel_memory_memcpy(void* to, const void* from, size_t size);
void* vrel_memory_memmove(void* to, const void* from, size_t size);
void* vrel_memory_memset(void* to, int byte, size_t size);

#ifdef __cplusplus
}
#endif

#endif /* VREL_MEMORY_H */
