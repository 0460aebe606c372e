/*
 * vrel_memory.h: the manager's allocator, the only source of memory of the playlist library.
 *
 * These functions are exported by the manager library. They are safe to call from any thread.
 * Blocks are aligned as malloc() aligns them. A provider may take its memory here too, and should
 * where the manager watches a limit.
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
 * Starts the allocator, or counts one more user of it.
 * @param manager  what the playlist library was given; null from its support modules
 * @return 0; a failure, which fails the start of the library
 */
uint32_t vrel_memory_initialize(ManagerHandle* manager);

/*
 * Counts one user less. Memory stays usable as long as the manager runs.
 * @return 0
 */
uint32_t vrel_memory_shutdown(void);

/*
 * As malloc().
 * @param size  bytes
 * @return a block, freed with vrel_memory_free(); null when there is no memory
 */
void* vrel_memory_alloc(size_t size);

/*
 * As calloc().
 * @param count  number of elements
 * @param size   bytes of each
 * @return a block of zeroes, freed with vrel_memory_free(); null when there is no memory, or when
 * the product does not fit
 */
void* vrel_memory_calloc(size_t count, size_t size);

/*
 * As realloc().
 * @param block  null: a new block
 * @param size   bytes
 * @return the block with its content, at the same place or another; null when there is no memory,
 *         and then the old block stays
 */
void* vrel_memory_realloc(void* block, size_t size);

/*
 * As free().
 * @param block  of one of the three above; null: nothing happens
 */
void vrel_memory_free(void* block);

/*
 * As memcpy().
 * @param to    room for the bytes
 * @param from  the bytes, elsewhere
 * @param size  how many
 * @return `to`
 */
void* vrel_memory_memcpy(void* to, const void* from, size_t size);

/*
 * As memmove().
 * @param to    room for the bytes, which may overlap them
 * @param from  the bytes
 * @param size  how many
 * @return `to`
 */
void* vrel_memory_memmove(void* to, const void* from, size_t size);

/*
 * As memset().
 * @param to    room for the bytes
 * @param byte  what each becomes
 * @param size  how many
 * @return `to`
 */
void* vrel_memory_memset(void* to, int byte, size_t size);

#ifdef __cplusplus
}
#endif

#endif /* VREL_MEMORY_H */
