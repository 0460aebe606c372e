// playlist_impl_attr_albumname: QX_AlbumName, the display titles of albums.
#include "playlist_error.h"
#include "playlist_gdo_read.h"
#include "playlist_impl_attr_name.h"
#include "playlist_services.h"
#include "vrel_string.h"

namespace {

const char kTitle[] = "trova_val_title_display";
const char kAlbumChild[] = "trova_ctx_album!";

uint32_t get_album(trova_gdo* object, uint32_t ordinal, trova_gdo** out_album) {
  return g_playlist_gdo_interface->gdo_get_child(object, kAlbumChild, ordinal, 0, out_album);
}

// A track on three albums has three titles.
void capture(void* writer, trova_gdo* data, const trova_playlist_capture_callbacks* callbacks) {
  if (playlist_gdo_is(data, kAlbumContext)) {
    playlist_name_capture_value(writer, data, kTitle, callbacks);
    return;
  }
  for (uint32_t ordinal = 1;; ++ordinal) {
    GdoOwner album;
    if (get_album(data, ordinal, album.out()) != 0) return;
    playlist_name_capture_value(writer, album.get(), kTitle, callbacks);
  }
}

// The text is copied while the object that lends it is still held.
uint32_t copy_title(trova_gdo* object, char** out_text) {
  const char* text = nullptr;
  PL_TRY(playlist_gdo_get_text(object, kTitle, &text));
  *out_text = vrel_string_strdup(text);
  return *out_text == nullptr ? PLERR_NoMemory : 0;
}

// The title of the first album that has one.
uint32_t copy_first_title(trova_gdo* track, char** out_text) {
  for (uint32_t ordinal = 1;; ++ordinal) {
    GdoOwner album;
    PL_TRY(get_album(track, ordinal, album.out()));
    const uint32_t code = copy_title(album.get(), out_text);
    if (!playlist_not_found(code)) return code;
  }
}

uint32_t read_seed(trova_gdo* seed, char** out_text) {
  if (playlist_gdo_is(seed, kAlbumContext)) return copy_title(seed, out_text);
  if (playlist_gdo_is(seed, kTrackContext)) return copy_first_title(seed, out_text);
  return PLERR_NotFound;
}

constexpr NameAttribute kAttribute = {"QX_AlbumName", "playlist_impl_attr_albumname", 0xcddeeffau,
                                      capture, read_seed};

}  // namespace

uint32_t playlist_initialize_attribute_albumname() {
  return playlist_name_register(kAttribute, NameProvider<kAttribute>::kProvider);
}
