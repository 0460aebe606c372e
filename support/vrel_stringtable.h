// vrel_stringtable: strings interned in one text; an id is a byte offset.
//
// The text is a zero byte, then each string with its terminator: adding "ab" and "c" gives the
// bytes 00 61 62 00 63 00 and the ids 1 and 4. An empty table has no text at all. A string is
// known by its 32-bit hash alone: one with the hash of another gets the other's id.
//
// The text lies in blocks that never move. They stay until the table is deleted, whatever happens
// to the table: a string that was handed out stays readable that long.
//
// vrel_stringtable_get_value may run at any time, also while another thread adds strings: it sees
// the table before or after. Removing and restoring change bytes that such a reader may be looking
// at; it then sees the string, nothing, or part of the string. Everything else needs the caller's
// lock.
//
// Errors with bit 31 are logged as "vrel_stringtable". Unless a function says otherwise: null
// arguments give kVrelInvalidArg, a dead table kVrelBadHandle2, `out` parameters are written on
// success only, and a failed call leaves the table as it was.
#ifndef VREL_STRINGTABLE_H
#define VREL_STRINGTABLE_H

#include <cstdint>

#include "vrel_datatypes.h"

struct vrel_stringtable;

// ---- Create and delete ----

// `flags` are kept and mean nothing. Codes: kVrelNotInited, kVrelNoMemory.
uint32_t vrel_stringtable_create(vrel_stringtable** out, uint32_t flags);
uint32_t vrel_stringtable_delete(vrel_stringtable* table);

// ---- Add, find, remove ----

// Interns a string that is not empty. A string that was removed gets its old id back, which goes
// on reading as the empty string until vrel_stringtable_restore_value. More than 4 GiB of text is
// kVrelNoMemory. Codes: kVrelInvalidArg (also an empty string), kVrelNoMemory.
uint32_t vrel_stringtable_add_value(vrel_stringtable* table, const char* string, uint32_t* out_id);

// The string that starts at the id; an id inside a string gives the rest of it, the text's length
// the empty string. The pointer is good until the table is deleted.
// Code: kVrelInvalidId (past the end).
uint32_t vrel_stringtable_get_value(const vrel_stringtable* table, uint32_t id,
                                    const char** out_string);

// The id under which the string is, or would be, interned. Codes: kVrelInvalidArg (also an empty
// string), kVrelNotFound.
uint32_t vrel_stringtable_get_value_ref(const vrel_stringtable* table, const char* string,
                                        uint32_t* out_id);

// Overwrites the string with zero bytes. Its id stays taken, its hash stays known, and the count
// stays as it is. Removing it again changes nothing and returns 0.
// Codes: kVrelInvalidId (past the end, or not the start of a string), kVrelNoMemory.
uint32_t vrel_stringtable_remove_value(vrel_stringtable* table, uint32_t id);

// Writes a string into the place of a removed one: when the place is empty, and the string removed
// from it first had the same length. Codes: kVrelInvalidArg (also an empty string), kVrelNotFound
// when the place is not such a one.
uint32_t vrel_stringtable_restore_value(vrel_stringtable* table, uint32_t id, const char* string);

// How many strings were added since the table was made, cleared or attached to a text; removing
// one does not lower it.
uint32_t vrel_stringtable_count(const vrel_stringtable* table, uint32_t* out_count);

// ---- Bulk ----

// Forgets every string. Those handed out stay readable.
uint32_t vrel_stringtable_clear(vrel_stringtable* table);

// Replaces the contents with a copy of a text, as get_buffer hands it out; a text that does not end
// in a zero byte gets one. The string right behind a run of removed ones is not indexed: it is
// still read by its id, but no longer found by its text.
//
// A failure while the index is built leaves the text in place and the index with what it got; the
// last such failure is returned. Code: kVrelNoMemory.
uint32_t vrel_stringtable_attach_buffer(vrel_stringtable* table, const void* bytes,
                                        uint32_t length);

// The live text in one piece, valid until the table next changes; no bytes and length 0 for an
// empty table. A text in several blocks is first copied into one, so who can work piecewise uses
// vrel_stringtable_span. Code: kVrelNoMemory.
uint32_t vrel_stringtable_get_buffer(vrel_stringtable* table, const char** out_bytes,
                                     uint32_t* out_length);

// The length of the text in bytes, final terminator included.
uint32_t vrel_stringtable_length(const vrel_stringtable* table, uint32_t* out_length);

// Copies `size` bytes of the text, from `offset` on. Code: kVrelOutOfRange when they reach past the
// end; nothing is copied then.
uint32_t vrel_stringtable_copy_text(const vrel_stringtable* table, uint32_t offset, void* to,
                                    uint32_t size);

// ---- Iteration ----

// The string at `index`, in ascending order of the hashes. `out_string` may be null.
// Code: kVrelOutOfRange.
uint32_t vrel_stringtable_enum(const vrel_stringtable* table, uint32_t index, uint32_t* out_id,
                               const char** out_string);

// The ids of `count` strings from `first` on, in that order. Code: kVrelOutOfRange when there are
// fewer; nothing is copied then.
uint32_t vrel_stringtable_copy_ids(const vrel_stringtable* table, uint32_t first, uint32_t count,
                                   uint32_t* to);

// The longest run of the text from `offset` on that lies in one piece. Code: kVrelOutOfRange at the
// end of the text.
uint32_t vrel_stringtable_span(const vrel_stringtable* table, uint32_t offset,
                               const char** out_bytes, uint32_t* out_length);

#endif  // VREL_STRINGTABLE_H
