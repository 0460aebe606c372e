// Text as it comes from tags and tables: UTF-8 that may be broken, made fit for a terminal.
#ifndef TROVA_CLI_TEXT_H
#define TROVA_CLI_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace trova_cli {

// What NextCodePoint() gives for a byte that starts no UTF-8 sequence.
inline constexpr char32_t kMalformed = 0xffffffff;
// Stands where a character cannot be shown.
inline constexpr std::string_view kReplacement = "\xef\xbf\xbd";

// The code point at `at`, which moves past it. A malformed sequence moves one byte.
char32_t NextCodePoint(std::string_view text, std::size_t& at);

// One line that no terminal obeys: line breaks and tabs become spaces; control characters, marks
// that turn the direction of writing and malformed bytes become U+FFFD.
std::string Printable(std::string_view text);

// How many terminal columns a printable text takes; wide characters take two.
std::size_t Columns(std::string_view printable);

// A printable text cut to at most `columns`, with an ellipsis where something is missing.
std::string FitStart(std::string_view printable, std::size_t columns);
// The same, keeping the end of the text.
std::string FitEnd(std::string_view printable, std::size_t columns);

// For searching: letters in lower case and without accents.
std::string Fold(std::string_view text);

std::string_view Trim(std::string_view text);
std::string LowerAscii(std::string_view text);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

}  // namespace trova_cli

#endif
