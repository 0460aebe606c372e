// Processes: fork, and a terminal where one is asked for.
#include "cli_test_process.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace trova_cli_test {
namespace {

[[noreturn]] void Execute(const Words& words) {
  std::vector<char*> arguments;
  std::string program = TROVA_BINARY;
  arguments.push_back(program.data());
  Words copies = words;
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  execv(TROVA_BINARY, arguments.data());
  _exit(127);
}

pid_t Start(const Words& words, int in, int out, int err) {
  const pid_t child = fork();
  if (child != 0) return child;
  dup2(in, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  Execute(words);
}

}  // namespace

RunResult RunTrova(const Words& words, const std::string& in, int out) {
  const int input = OpenScratch();
  const int err = OpenScratch();
  if (pwrite(input, in.data(), in.size(), 0) != static_cast<ssize_t>(in.size())) {
    throw std::runtime_error("cannot write the input");
  }
  RunResult result{ExitCodeOf(Start(words, input, out, err)), {}, ReadBack(err)};
  if (lseek(out, 0, SEEK_END) > 0) result.out = ReadBack(out);
  for (const int fd : {input, out, err}) close(fd);
  return result;
}

std::string RunOnTerminal(const Words& words, const char* no_colour, const std::string& typed,
                          const std::function<void(const std::string& text)>& watch) {
  winsize size{24, 60, 0, 0};
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    if (no_colour != nullptr) setenv("NO_COLOR", no_colour, 1);
    Execute(words);
  }
  if (write(terminal, typed.data(), typed.size()) < 0) throw std::runtime_error("cannot type");
  std::string text;
  std::array<char, 4096> block;
  for (ssize_t got = 0; (got = read(terminal, block.data(), block.size())) > 0;) {
    text.append(block.data(), static_cast<std::size_t>(got));
    if (watch) watch(text);
  }
  ExitCodeOf(child);
  close(terminal);
  return text;
}

pid_t StartTrova(const Words& words, int err) {
  static const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  return Start(words, nothing, nothing, err);
}

int ExitCodeOf(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

}  // namespace trova_cli_test
