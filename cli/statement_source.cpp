// Statement source: "-" and no source at all both mean stdin.
#include "statement_source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "error.h"
#include "text.h"

namespace trova_cli {
namespace {

constexpr std::string_view kStdin = "-";
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

std::string ReadAll(int fd, const std::string& name) {
  std::string text;
  std::array<char, 64 * 1024> block;
  for (;;) {
    const ssize_t got = read(fd, block.data(), block.size());
    if (got == 0) return text;
    if (got > 0) text.append(block.data(), static_cast<std::size_t>(got));
    if (got < 0 && errno != EINTR) {
      throw CommandError(fmt::format("{}: {}", name, std::strerror(errno)));
    }
  }
}

std::string ReadFile(const std::string& name) {
  if (name == kStdin) return ReadAll(STDIN_FILENO, "stdin");
  const int fd = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw CommandError(fmt::format("{}: {}", name, std::strerror(errno)));
  struct Closer {
    int fd;
    ~Closer() { close(fd); }
  } closer{fd};
  return ReadAll(fd, name);
}

}  // namespace

void StatementSource::Define(CLI::App& options) {
  CLI::Option* argument = options.add_option("STATEMENT", argument_, "The statement, in quotes");
  options.add_option("-f,--file", file_, "Read the statement from a file")->excludes(argument);
  options.footer(
      "Without a statement it is read from stdin. A value from a list may be written by name in\n"
      "braces: qx_genre = {Progressive Rock}.");
}

std::string StatementSource::Read() const {
  const bool in_argument = argument_ && *argument_ != kStdin;
  const std::string text = in_argument ? *argument_ : ReadFile(file_.value_or(std::string(kStdin)));
  std::string_view statement = text;
  if (statement.starts_with(kByteOrderMark)) statement.remove_prefix(kByteOrderMark.size());
  statement = Trim(statement);
  if (statement.empty()) throw CommandError("the statement is empty");
  if (statement.find('\0') != std::string_view::npos) {
    throw CommandError("the statement holds a zero byte");
  }
  return std::string(statement);
}

}  // namespace trova_cli
