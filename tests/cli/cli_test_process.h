// The command as a process of its own.
#ifndef TROVA_TESTS_CLI_TEST_PROCESS_H
#define TROVA_TESTS_CLI_TEST_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "cli_test_files.h"

namespace trova_cli_test {

using Words = std::vector<std::string>;

struct RunResult {
  int code;
  std::string out;
  std::string err;
};

RunResult RunTrova(const Words& words, const std::string& in = {}, int out = OpenScratch());

// All three streams are one terminal of 60 columns. Gives what stands on it in the end; `watch` sees
// it whenever there is more.
std::string RunOnTerminal(const Words& words, const char* no_colour, const std::string& typed = {},
                          const std::function<void(const std::string& text)>& watch = {});

// Goes on at once. What it says goes to `err`.
pid_t StartTrova(const Words& words, int err);
// 1000 and the number of the signal for a process that one ended.
int ExitCodeOf(pid_t child);

bool Has(const std::string& text, const std::string& part);

}  // namespace trova_cli_test

#endif
