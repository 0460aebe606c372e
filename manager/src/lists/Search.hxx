// Search: elements by name, exactly or nearly.
#ifndef TROVA_MANAGER_LISTS_SEARCH_HXX
#define TROVA_MANAGER_LISTS_SEARCH_HXX

#include "Tables.hxx"

namespace trova::lists {

// The element with that name or synonym in any language, or kNowhere.
[[nodiscard]] uint16_t find_name(const ListTable& list, const char* text) noexcept;

/**
 * The elements whose names are nearest to a text, best first: the name itself, names that start
 * with the text, that contain it, that are spelled much like it. Ties keep the order of the list.
 *
 * @param positions  room for `capacity` positions
 * @return how many were written; -1 without memory
 */
[[nodiscard]] int32_t search_names(const ListTable& list, const char* text, uint32_t capacity,
                                   uint16_t* positions) noexcept;

}  // namespace trova::lists

#endif
