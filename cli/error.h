// CommandError: a failure that ends the command, in words for the person who typed it.
#ifndef TROVA_CLI_ERROR_H
#define TROVA_CLI_ERROR_H

#include <stdexcept>
#include <string>
#include <utility>

namespace trova_cli {

class CommandError : public std::runtime_error {
 public:
  // `detail` is shown below the message as it is: lines that each end in a line feed.
  explicit CommandError(const std::string& message, std::string detail = {})
      : std::runtime_error(message), detail_(std::move(detail)) {}

  const std::string& detail() const noexcept { return detail_; }

 private:
  std::string detail_;
};

}  // namespace trova_cli

#endif
