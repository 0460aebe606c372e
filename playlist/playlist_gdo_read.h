// playlist_gdo_read: how attributes read data objects.
#ifndef PLAYLIST_GDO_READ_H
#define PLAYLIST_GDO_READ_H

#include <cstdint>

#include "playlist_owner.h"
#include "trova_manager_services.h"

// Context names of data objects.
#pragma GCC visibility push(hidden)
extern const char kAlbumContext[];
extern const char kTrackContext[];
extern const char kExtdataContext[];
#pragma GCC visibility pop

// Gives a reference on a data object back.
void playlist_gdo_release(trova_gdo* object);
using GdoOwner = PlaylistOwner<trova_gdo, playlist_gdo_release>;

// True when the object's context has that name.
bool playlist_gdo_is(trova_gdo* object, const char* context);

// The first value under a key: borrowed text, or read as an unsigned decimal number.
uint32_t playlist_gdo_get_text(trova_gdo* object, const char* key, const char** out_text);
uint32_t playlist_gdo_get_number(trova_gdo* object, const char* key, uint32_t* out_number);

// The track that speaks for an album; the caller holds a reference.
uint32_t playlist_gdo_get_matched_track(trova_gdo* album, trova_gdo** out_track);

// A track itself, or the one that speaks for an album, which `matched` then owns. Null when the
// album has none, and for any other object.
trova_gdo* playlist_gdo_track_of(trova_gdo* data, GdoOwner* matched);

#endif  // PLAYLIST_GDO_READ_H
