// playlist_gdo_read: how attributes read data objects.
#include "playlist_gdo_read.h"

#include "playlist_error.h"
#include "playlist_services.h"
#include "vrel_string.h"

const char kAlbumContext[] = "trova_ctx_album";
const char kTrackContext[] = "trova_ctx_track";
const char kExtdataContext[] = "trova_ctx_extdata";

namespace {

const char kMatchedTrack[] = "trova_ctx_track!matching";

}  // namespace

void playlist_gdo_release(trova_gdo* object) {
  static_cast<void>(g_playlist_gdo_interface->gdo_release(object));
}

bool playlist_gdo_is(trova_gdo* object, const char* context) {
  const char* name = nullptr;
  if (g_playlist_gdo_interface->gdo_get_context(object, &name) != 0) return false;
  return vrel_string_equal(name, context, 0);
}

uint32_t playlist_gdo_get_text(trova_gdo* object, const char* key, const char** out_text) {
  return g_playlist_gdo_interface->gdo_get_value(object, key, 1, out_text);
}

uint32_t playlist_gdo_get_number(trova_gdo* object, const char* key, uint32_t* out_number) {
  const char* text = nullptr;
  PL_TRY(playlist_gdo_get_text(object, key, &text));
  *out_number = vrel_string_atou32(text);
  return 0;
}

uint32_t playlist_gdo_get_matched_track(trova_gdo* album, trova_gdo** out_track) {
  return g_playlist_gdo_interface->gdo_get_child(album, kMatchedTrack, 1, 0, out_track);
}

trova_gdo* playlist_gdo_track_of(trova_gdo* data, GdoOwner* matched) {
  if (!playlist_gdo_is(data, kAlbumContext)) {
    return playlist_gdo_is(data, kTrackContext) ? data : nullptr;
  }
  return playlist_gdo_get_matched_track(data, matched->out()) == 0 ? matched->get() : nullptr;
}
