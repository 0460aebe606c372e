// case_file.h: cases of a table that is kept in a file, beside the tests that read it.
#ifndef CASE_FILE_H
#define CASE_FILE_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

using Case = std::vector<std::string>;

// The rows of a kind, without it. Columns are parted by tabs; \r, \n, \t and \xHH are escapes.
// Lines that start with "#" are comments.
inline std::vector<Case> read_cases(const std::string& file, const std::string& kind) {
  std::vector<Case> cases;
  std::ifstream lines(TROVA_CASES_FOLDER "/" + file);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, kind.size() + 1, kind + "\t") != 0) continue;
    Case row(1);
    for (size_t i = kind.size() + 1; i < line.size(); ++i) {
      const size_t escape =
          line[i] == '\\' ? std::string("rntx").find(line[i + 1]) : std::string::npos;
      if (line[i] == '\t') {
        row.emplace_back();
      } else if (escape == std::string::npos) {
        row.back() += line[i];
      } else if (line[++i] != 'x') {
        row.back() += "\r\n\t"[escape];
      } else {
        row.back() += static_cast<char>(std::stoul(line.substr(i + 1, 2), nullptr, 16));
        i += 2;
      }
    }
    cases.push_back(row);
  }
  EXPECT_FALSE(cases.empty()) << file << ": no " << kind;
  return cases;
}

#endif  // CASE_FILE_H
