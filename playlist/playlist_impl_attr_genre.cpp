// playlist_impl_attr_genre: QX_Genre, in three levels from meta genre to micro genre.
#include "playlist_error.h"
#include "playlist_impl_attr_list.h"

namespace {

constexpr ListRenderKey kRenderKeys[] = {
    {"trova_val_list_genremeta", 1, false},
    {"trova_val_list_genre", 2, false},
    {"QX_Genre", 2, false},
    {"trova_val_list_genremicro", 3, false},
};

constexpr uint32_t kOperators[] = {
    TROVA_PLAYLIST_OP_EQUAL,
    TROVA_PLAYLIST_OP_NOT_EQUAL,
    TROVA_PLAYLIST_OP_LIKE,
};

constexpr ListAttribute kAttribute = {
    "QX_Genre",
    "playlist_impl_attr_genre",
    "_sdkmgr_val_list_genre_id",
    "trova_list_type_genres",
    "trova_correlates_genre",
    kRenderKeys,
    playlist_count_of(kRenderKeys),
    kOperators,
    playlist_count_of(kOperators),
    PLERR_NotFound,
    false,  // compares_ranges
};

}  // namespace

uint32_t playlist_initialize_attribute_genre() {
  return playlist_list_register(kAttribute, ListProvider<kAttribute>::kProvider);
}
