// Correlates: how near two elements of one list are, by the rules that docs/lists.md states.
#ifndef TROVA_MANAGER_LISTS_CORRELATES_HXX
#define TROVA_MANAGER_LISTS_CORRELATES_HXX

#include "Tables.hxx"

namespace trova::lists {

inline constexpr int kSameScore = 1000;

/**
 * Symmetric. kSameScore for an element and itself, less for any other pair, never below
 * -kSameScore.
 *
 * @param kind  a list with correlates
 * @param a,b   positions in that list
 */
[[nodiscard]] int pair_score(ListKind kind, uint16_t a, uint16_t b) noexcept;

}  // namespace trova::lists

#endif
