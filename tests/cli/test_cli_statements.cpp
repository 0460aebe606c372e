// Statements: names in braces become ids, and a wrong statement shows the place that is wrong.
#include <gtest/gtest.h>
#include <unistd.h>

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
  struct Case {
    const char* statement;
    const char* message;  // how it begins
    int caret;            // -1: no place
  };
  const Case cases[] = {
      {"genpl where", "expected ident|number at ''", 11},
      {"genpl limit 5", "expected RESULTS|PER at ''", 13},
      {"genpl order rand(5", "unexpected end of statement", 18},
      {"genpl where (qx_era > 5;", "unexpected end of statement", 23},
      {"genpl where )", "expected ident|number at ')'", 12},
      {"genpl limit 5 results )", "unbalanced right parens ')'", 22},
      {"gen playlist", "unexpected symbol 'playlist'", 4},
      {"genpl order 10 -3", "unexpected symbol '-3'", 15},
      {"genpl limit 10 results limit 5 results", "unexpected symbol 'limit'", 23},
      {"genpl where qx_era = 5 & qx_era = 6", "unexpected symbol '&'", 23},
      {"genpl where 5 = qx_era & 'x' or", "unexpected symbol '&'", 23},
      {"genpl where qx_era 5", "bad operator '5'", 19},
      {"genpl where qx_era & 5", "bad operator ''", 19},
      {"genpl order qx_era)", "bad operator ')'", 18},
      {"genpl limit results", "expected number at 'results'", 12},
      {"genpl limit 5 x", "expected RESULTS|PER at 'x'", 14},
      {"genpl where qx_era = 1 and x = 2", "attribute 'x' not supported", 27},
      {"genpl where qx_genre = 12abc", "expected ident|number", 23},
      {"genpl where qx_era = 1 or qx_genre < 5", "attribute 'qx_genre' does not support", 35},
      {"genpl where 5 > qx_genre", "attribute 'qx_genre' does not support", 14},
      {"genpl where qx_genre = 'ab", "a quote that is not closed", 23},
      {"genpl where qx_genre = \"a;b\"", "a quote that is not closed", 23},
      {"genpl where qx_genre = 'abc'", "a value that its attribute cannot read", 23},
      {"genpl where qx_era = 5 and qx_genre like 0", "a value that its attribute cannot read", 41},
      {"genpl order 5", "an operation that cannot stand", -1},
      {"genpl where qx_genre = {Rokc}", "\"Rokc\" is not in the list of genres; nearest", 23},
      {"genpl where qx_genre = {Rock", "this brace is never closed", 23},
      {"genpl where qx_genre = { }", "there is no name", 23},
      {"genpl where qx_artistname = {Rock}", "\"qx_artistname\" takes its values from no list", 28},
      {"genpl where qx_genre = {Rock} oops", "unexpected symbol 'oops'", 30},
      {"genpl where qx_genre = Rock", "attribute 'Rock' not supported by collection; a list", 23},
  };
  for (const Case& item : cases) {
    SCOPED_TRACE(item.statement);
    const CommandError fault = FaultOf(item.statement);
    EXPECT_TRUE(std::string(fault.what()).starts_with(item.message)) << fault.what();
    EXPECT_EQ(CaretOf(fault.detail()), item.caret) << fault.detail();
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
  const std::string rock = IdOf(ListKind::kGenres, "Rock");
  const std::string seventies = IdOf(ListKind::kEras, "1970s");
  const struct {
    std::string statement;
    std::string text;
  } cases[] = {
      {"genpl where QX_Genre={ rock }", "genpl where QX_Genre=" + rock},
      {"genpl where (qx_genre like {Rock}) >= 5 and qx_era = {1970s} limit 5 results",
       "genpl where (qx_genre like " + rock + ") >= 5 and qx_era = " + seventies +
           " limit 5 results"},
      {"genpl where qx_genre = '{Rock}'", "genpl where qx_genre = '{Rock}'"},
      {"genpl; {nothing is read here", "genpl; {nothing is read here"},
      {"genpl where {1970s} = qx_era", "genpl where " + seventies + " = qx_era"},
  };
  for (const auto& item : cases) {
    EXPECT_EQ(ExpandBraces(item.statement, lists_).text(), item.text);
  }
}

TEST_F(test_cli_statements, names_of_tracks_are_looked_up_whole_and_then_in_parts) {
  const struct {
    const char* text;
    std::vector<const char*> names;
  } cases[] = {
      {"progressive ROCK", {"Progressive Rock"}},
      {"Rock & Roll", {"Rock & Roll"}},
      {"Rock; Jazz/Pop, Blues|Rock", {"Rock", "Jazz", "Pop", "Blues"}},
      {" ;; / ", {}},
      {"Rock/Nonesuchgenre", {"Rock"}},
  };
  NameMapper mapper(lists_);
  for (const auto& item : cases) {
    Track track;
    track.genres = {item.text};
    std::vector<std::uint32_t> ids;
    for (const char* name : item.names) {
      ids.push_back(lists_.Find(ListKind::kGenres, name).value().id);
    }
    EXPECT_EQ(mapper.Map(track).genres, ids) << item.text;
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
