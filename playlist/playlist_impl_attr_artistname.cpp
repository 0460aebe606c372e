// playlist_impl_attr_artistname: QX_ArtistName, the display names of artists.
#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_impl_attr_name.h"
#include "vrel_string.h"

namespace {

const char kArtist[] = "trova_val_artist";

// An album speaks for its matched track first, then for itself.
void capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  if (playlist_gdo_is(data, kAlbumContext)) {
    GdoOwner track;
    if (playlist_gdo_get_matched_track(data, track.out()) == 0) {
      playlist_name_capture_value(writer, track.get(), kArtist, callbacks);
    }
  }
  playlist_name_capture_value(writer, data, kArtist, callbacks);
}

// The text is copied while the object that lends it is still held.
uint32_t copy_artist(trova_gdo* object, char** out_text) {
  const char* text = nullptr;
  PL_TRY(playlist_gdo_get_text(object, kArtist, &text));
  *out_text = vrel_string_strdup(text);
  return *out_text == nullptr ? PLERR_NoMemory : 0;
}

uint32_t copy_matched_artist(trova_gdo* album, char** out_text) {
  GdoOwner track;
  PL_TRY(playlist_gdo_get_matched_track(album, track.out()));
  return copy_artist(track.get(), out_text);
}

uint32_t read_seed(trova_gdo* seed, char** out_text) {
  if (playlist_gdo_is(seed, kAlbumContext)) {
    const uint32_t code = copy_matched_artist(seed, out_text);
    if (!playlist_not_found(code)) return code;
  }
  return copy_artist(seed, out_text);
}

constexpr NameAttribute kAttribute = {"QX_ArtistName", "playlist_impl_attr_artistname", 0xccddeeffu,
                                      capture, read_seed};

}  // namespace

uint32_t playlist_initialize_attribute_artistname() {
  return playlist_name_register(kAttribute, NameProvider<kAttribute>::kProvider);
}
