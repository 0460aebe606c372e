// fuzz_library.h: the playlist library on the embedded manager, with allocations that fail on
// request, tracks that have every attribute, and two attributes of an application.
#ifndef FUZZ_LIBRARY_H
#define FUZZ_LIBRARY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "trova_manager.h"
#include "trova_playlist.h"

// -- faults ---------------------------------------------------------------------------------------

// The n-th allocation of the playlist library from now on fails, counted from 1, or all from it on.
// 0: none.
void fuzz_fail_allocation(uint32_t n, bool all_later = false);
// Whether one has failed since; nothing fails from now on.
bool fuzz_allocation_failed();
// Allocations of the playlist library so far.
uint64_t fuzz_allocations();

// Random numbers that statements draw start anew, so that two runs of one give the same.
void fuzz_rewind_random();

// -- the library ----------------------------------------------------------------------------------

// Starts the manager, with storage in memory, once for the process.
ManagerHandle* fuzz_manager();

// Registers "QX_Rating", a number of the data key "rating", and "QX_Note", a text of "note" that
// takes no seed and no LIKE.
void fuzz_register_attributes();

// -- tracks ---------------------------------------------------------------------------------------

// Data objects, made once for the process: tracks, an album with its matched track, and last some
// that lack most attributes or all.
const std::vector<trova_gdo*>& fuzz_objects();

// A collection of all of them, some twice, as bytes.
const std::string& fuzz_collection_bytes();

trova_playlist_collection* fuzz_collection_of(const std::string& bytes);

// The idents of a playlist, in order, with every rule of an enumeration checked.
std::vector<std::string> fuzz_playlist(trova_playlist_results* results);

#endif  // FUZZ_LIBRARY_H
