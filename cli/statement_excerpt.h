// Shows a place in a statement.
#ifndef TROVA_CLI_STATEMENT_EXCERPT_H
#define TROVA_CLI_STATEMENT_EXCERPT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace trova_cli {

// Two lines: the line of the statement that holds `place`, and a caret under it. A long line is cut
// around the place. Of a statement with several lines the number of the line comes first.
std::string StatementExcerpt(std::string_view statement, std::size_t place);

}  // namespace trova_cli

#endif
