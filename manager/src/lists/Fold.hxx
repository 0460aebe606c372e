// Fold: the form of a name that "the same name, spelled otherwise" has in common.
#ifndef TROVA_MANAGER_LISTS_FOLD_HXX
#define TROVA_MANAGER_LISTS_FOLD_HXX

#include <cstddef>

namespace trova::lists {

// No name of a list comes near this many bytes, so a text that folds to more has no match.
inline constexpr std::size_t kFoldedCapacity = 160;

/**
 * Folds UTF-8 text: letters in lower case, accents off Latin letters, blanks and punctuation
 * dropped. Between two words "&", "and", "n" and "und" all become "&": "Drum'n'Bass" and
 * "Drum and Bass" fold to "drum&bass". Bytes that are not UTF-8 are dropped.
 *
 * @param out  gets the folded text and a NUL; at least kFoldedCapacity bytes
 * @return the length, or kFoldedCapacity when the folded text is longer than fits
 */
[[nodiscard]] std::size_t fold(const char* text, char* out) noexcept;

}  // namespace trova::lists

#endif
