// case_file.h: cases of a table that is kept in a file, beside the tests that read it.
#ifndef CASE_FILE_H
#define CASE_FILE_H

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

using Case = std::vector<std::string>;

// The rows of a kind, without it. Columns are parted by tabs; \r, \n and \t stand for themselves.
// Lines that start with "#" are comments.
inline std::vector<Case> read_cases(const std::string& file, const std::string& kind) {
  std::vector<Case> cases;
  std::ifstream lines(TROVA_CASES_FOLDER "/" + file);
  for (std::string line; std::getline(lines, line);) {
    if (line.compare(0, kind.size() + 1, kind + "\t") != 0) continue;
    Case row(1);
    for (size_t i = kind.size() + 1; i < line.size(); ++i) {
      const size_t escape =
          line[i] == '\\' ? std::string("rnt").find(line[i + 1]) : std::string::npos;
      if (line[i] == '\t') {
        row.emplace_back();
      } else {
        row.back() += escape == std::string::npos ? line[i] : "\r\n\t"[escape];
        if (escape != std::string::npos) ++i;
      }
    }
    cases.push_back(row);
  }
  EXPECT_FALSE(cases.empty()) << file << ": no " << kind;
  return cases;
}

#endif  // CASE_FILE_H
