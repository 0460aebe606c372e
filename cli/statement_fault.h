// What is wrong with a statement, and where.
#ifndef TROVA_CLI_STATEMENT_FAULT_H
#define TROVA_CLI_STATEMENT_FAULT_H

#include <cstdint>

#include "handles.h"
#include "statement_braces.h"

namespace trova_cli {

// Throws CommandError when the statement is wrong or could never run. Gives whether it needs a
// seed. It takes no tracks: what an attribute cannot read is found on an empty collection.
bool CheckStatement(const ExpandedStatement& statement, NameLists& lists);

// Throws CommandError for the code that running a statement gave: the library's message, and the
// place in the statement where there is one.
[[noreturn]] void ThrowStatementFault(const ExpandedStatement& statement, std::uint32_t code,
                                      NameLists& lists);

}  // namespace trova_cli

#endif
