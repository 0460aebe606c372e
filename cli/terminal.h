// What the command may do to a stream: colour, line width.
#ifndef TROVA_CLI_TERMINAL_H
#define TROVA_CLI_TERMINAL_H

#include <cstddef>

namespace trova_cli {

bool IsTerminal(int fd);

// Colour goes to terminals only, and to none while NO_COLOR is set.
bool WantsColour(int fd);

// Columns of the terminal; 0 when the stream is none.
std::size_t TerminalColumns(int fd);

}  // namespace trova_cli

#endif
