// Why a statement that is right may match nothing.
#ifndef TROVA_CLI_STATEMENT_HINT_H
#define TROVA_CLI_STATEMENT_HINT_H

#include <optional>
#include <string>
#include <string_view>

namespace trova_cli {

// What to write instead where an AND tests the value of another attribute than the one on its
// right. Nothing when there is no such AND.
// @param statement  one that the library accepts, with its names in braces
std::optional<std::string> HintForNoMatch(std::string_view statement);

}  // namespace trova_cli

#endif
