// playlist_coll_stream: a collection as one stream of MessagePack items, written and read.
//
// The format is described in docs/stream.md.
#ifndef PLAYLIST_COLL_STREAM_H
#define PLAYLIST_COLL_STREAM_H

#include <cstdint>

#include "playlist_collection.h"

// The two that write expect the caller to hold collection->lock.

// The most bytes that the stream can take. PLERR_NoMemory when 32 bits cannot count them.
uint32_t playlist_stream_bound(Collection* collection, uint32_t* out_size);

// Writes the stream. `room` is the bound or more, so nothing is allocated and nothing can fail that
// the bound did not tell of.
uint32_t playlist_stream_write(Collection* collection, void* bytes, uint32_t room,
                               uint32_t* out_size);

// Makes a collection of one reference, which the handle manager does not know. The bytes may come
// from anywhere: PLERR_CorruptData, PLERR_InvalidData for a version other than ours,
// PLERR_NoMemory.
uint32_t playlist_stream_read(const void* bytes, uint32_t size, Collection** out_collection);

#endif  // PLAYLIST_COLL_STREAM_H
