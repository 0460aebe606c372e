// Statements: names in braces become ids, and a wrong statement shows the place that is wrong.
#include <gtest/gtest.h>
#include <unistd.h>

#include "case_file.h"
#include "cli_test_files.h"
#include "error.h"
#include "handles.h"
#include "name_mapper.h"
#include "statement_excerpt.h"
#include "statement_fault.h"

namespace trova_cli {
namespace {

class test_cli_statements : public testing::Test {
 protected:
  // What the command says about a statement: "" when it is right.
  CommandError FaultOf(const std::string& statement) {
    try {
      CheckStatement(ExpandBraces(statement, lists_), lists_);
    } catch (const CommandError& error) {
      return error;
    }
    return CommandError("");
  }

  std::string IdOf(ListKind kind, const char* name) {
    return std::to_string(lists_.Find(kind, name).value().id);
  }

  Engine engine_;
  NameLists lists_;
};

// The caret as an offset into the statement, or -1.
int CaretOf(const std::string& detail) {
  const std::size_t line = detail.find('\n');
  return line == std::string::npos ? -1 : static_cast<int>(detail.find('^') - line) - 3;
}

TEST_F(test_cli_statements, a_wrong_statement_shows_its_message_and_its_place) {
  for (const Case& item : read_cases("statements.txt", "fault")) {
    SCOPED_TRACE(item[0]);
    const CommandError fault = FaultOf(item[0]);
    EXPECT_TRUE(std::string(fault.what()).starts_with(item[1])) << fault.what();
    EXPECT_EQ(CaretOf(fault.detail()), std::stoi(item[2])) << fault.detail();
  }
}

TEST_F(test_cli_statements, parentheses_too_deep_are_shown_where_they_are) {
  const std::string opening(1001, '(');
  const CommandError fault =
      FaultOf("genpl where " + opening + "qx_era = 5" + std::string(1001, ')'));
  EXPECT_STREQ(fault.what(), "statement nested too deeply");
  EXPECT_NE(fault.detail().find('^'), std::string::npos);
}

TEST_F(test_cli_statements, names_in_braces_become_the_ids_of_the_attribute_on_their_left) {
  for (const Case& item : read_cases("statements.txt", "braces")) {
    EXPECT_EQ(ExpandBraces(item[0], lists_).text(), item[1]);
  }
}

TEST_F(test_cli_statements, names_of_tracks_are_looked_up_whole_and_then_in_parts) {
  NameMapper mapper(lists_);
  for (Case item : read_cases("statements.txt", "genres")) {
    item.resize(2);
    Track track;
    track.genres = {item[0]};
    std::string names;
    for (const std::uint32_t id : mapper.Map(track).genres) {
      names += std::string(names.empty() ? "" : ", ") + lists_.ById(ListKind::kGenres, id)->name;
    }
    EXPECT_EQ(names, item[1]) << item[0];
  }
  Track track;
  track.year = 1975;
  track.origin = "Sweden";
  track.genres = {"Nonesuchgenre", "Nonesuchgenre/Rock"};
  const TrackIds ids = mapper.Map(track);
  EXPECT_EQ(std::to_string(ids.era), IdOf(ListKind::kEras, "1975"));
  EXPECT_EQ(std::to_string(ids.origin), IdOf(ListKind::kOrigins, "Sweden"));

  const int fd = trova_cli_test::OpenScratch();
  Console console(fd);
  mapper.ReportUnknown(console);
  EXPECT_TRUE(trova_cli_test::ReadBack(fd).starts_with(
      "trova: no list knows the genre \"Nonesuchgenre\" (2 tracks)"))
      << trova_cli_test::ReadBack(fd);
  close(fd);
}

TEST(test_cli_excerpt, long_lines_are_cut_and_the_caret_stays_under_its_place) {
  EXPECT_EQ(StatementExcerpt("genpl x", 6), "  genpl x\n        ^\n");
  EXPECT_EQ(StatementExcerpt("a\n\xe6\x97\xa5\tx\nb", 6), "  2: \xe6\x97\xa5 x\n        ^\n");
  EXPECT_EQ(StatementExcerpt("ab", 9), "  ab\n    ^\n");
  const std::string excerpt = StatementExcerpt(std::string(1 << 20, 'a') + "X", 1 << 20);
  const std::size_t line = excerpt.find('\n');
  EXPECT_LT(line, 500u);
  const std::size_t ellipsis_bytes = 3;  // in one column
  EXPECT_EQ(excerpt.find('X') - ellipsis_bytes + 1, excerpt.find('^') - line - 1);
}

}  // namespace
}  // namespace trova_cli
