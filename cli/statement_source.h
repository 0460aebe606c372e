// Where a statement comes from: an argument, a file, or stdin.
#ifndef TROVA_CLI_STATEMENT_SOURCE_H
#define TROVA_CLI_STATEMENT_SOURCE_H

#include <CLI/App.hpp>
#include <optional>
#include <string>

namespace trova_cli {

class StatementSource {
 public:
  // Adds the argument STATEMENT and the option -f. The source outlives the options.
  void Define(CLI::App& options);

  // The statement without blanks around it. Throws CommandError when there is none.
  std::string Read() const;

 private:
  std::optional<std::string> argument_;
  std::optional<std::string> file_;
};

}  // namespace trova_cli

#endif
