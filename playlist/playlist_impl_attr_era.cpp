// playlist_impl_attr_era: QX_Era, when a recording is from; compared by years.
#include "playlist_error.h"
#include "playlist_impl_attr_list.h"

namespace {

constexpr ListRenderKey kRenderKeys[] = {
    {"trova_val_desc_era", 0, false},
    {"QX_Era", 0, true},
};

constexpr uint32_t kOperators[] = {
    TROVA_PLAYLIST_OP_EQUAL,         TROVA_PLAYLIST_OP_NOT_EQUAL,        TROVA_PLAYLIST_OP_LIKE,
    TROVA_PLAYLIST_OP_GREATER,       TROVA_PLAYLIST_OP_GREATER_OR_EQUAL, TROVA_PLAYLIST_OP_LESS,
    TROVA_PLAYLIST_OP_LESS_OR_EQUAL,
};

constexpr ListAttribute kAttribute = {
    "QX_Era",
    "playlist_impl_attr_era",
    "_sdkmgr_val_list_era_id",
    "trova_list_type_eras",
    "trova_correlates_era",
    kRenderKeys,
    playlist_count_of(kRenderKeys),
    kOperators,
    playlist_count_of(kOperators),
    PLERR_NotFound,
    true,  // compares_ranges
};

}  // namespace

uint32_t playlist_initialize_attribute_era() {
  return playlist_list_register(kAttribute, ListProvider<kAttribute>::kProvider);
}
