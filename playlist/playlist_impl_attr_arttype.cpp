// playlist_impl_attr_arttype: QX_ArtistType, what kind of artist made the recording.
#include "playlist_error.h"
#include "playlist_impl_attr_list.h"

namespace {

constexpr ListRenderKey kRenderKeys[] = {
    {"trova_val_list_arttype", 0, false},
    {"QX_ArtistType", 0, true},
};

constexpr uint32_t kOperators[] = {
    TROVA_PLAYLIST_OP_EQUAL,
    TROVA_PLAYLIST_OP_NOT_EQUAL,
    TROVA_PLAYLIST_OP_LIKE,
};

constexpr ListAttribute kAttribute = {
    "QX_ArtistType",
    "playlist_impl_attr_arttype",
    "_sdkmgr_val_list_artist_type_id",
    "trova_list_type_artist_types",
    "trova_correlates_arttype",
    kRenderKeys,
    playlist_count_of(kRenderKeys),
    kOperators,
    playlist_count_of(kOperators),
    PLERR_NotFound,
    false,  // compares_ranges
};

}  // namespace

uint32_t playlist_initialize_attribute_arttype() {
  return playlist_list_register(kAttribute, ListProvider<kAttribute>::kProvider);
}
