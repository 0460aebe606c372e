// playlist_impl_attr_origin: QX_Origin, where the artist is from.
#include "playlist_error.h"
#include "playlist_impl_attr_list.h"

namespace {

constexpr ListRenderKey kRenderKeys[] = {
    {"trova_val_list_origin", 0, false},
    {"QX_Origin", 0, true},
};

constexpr uint32_t kOperators[] = {
    TROVA_PLAYLIST_OP_EQUAL,
    TROVA_PLAYLIST_OP_NOT_EQUAL,
    TROVA_PLAYLIST_OP_LIKE,
};

constexpr ListAttribute kAttribute = {
    "QX_Origin",
    "playlist_impl_attr_origin",
    "_sdkmgr_val_list_origin_id",
    "trova_list_type_origins",
    "trova_correlates_origin",
    kRenderKeys,
    playlist_count_of(kRenderKeys),
    kOperators,
    playlist_count_of(kOperators),
    PLERR_InvalidData,
    false,  // compares_ranges
};

}  // namespace

uint32_t playlist_initialize_attribute_origin() {
  return playlist_list_register(kAttribute, ListProvider<kAttribute>::kProvider);
}
