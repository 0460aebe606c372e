// Asks before something is lost.
#ifndef TROVA_CLI_CONFIRMATION_H
#define TROVA_CLI_CONFIRMATION_H

#include <string>

namespace trova_cli {

// Returns when the answer is yes. Throws CommandError for any other answer, and where nobody can be
// asked: off a terminal only `yes` counts.
// @param question  ends in a question mark
// @param yes       --yes: the question need not be asked
void Confirm(const std::string& question, bool yes);

}  // namespace trova_cli

#endif
