// fuzz_braces: the input is a statement as the command takes it, with names in braces.
//
// Tokens follow each other without gaps that hold anything. A statement without braces stays as it
// is; in one with them each is replaced by a number, and every place of the result leads back to
// its place in the original. What was expanded holds no braces and stays as it is. A refusal says
// why.
#include <map>
#include <string>
#include <vector>

#include "error.h"
#include "fuzz_target.h"
#include "handles.h"
#include "name_lists.h"
#include "statement_braces.h"
#include "statement_token.h"

using trova_cli::Token;
using trova_cli::TokenKind;

namespace {

std::vector<Token> tokens_of(const std::string& statement) {
  std::vector<Token> tokens;
  size_t at = 0;
  for (;;) {
    const Token token = trova_cli::NextToken(statement, at);
    FUZZ_REQUIRE(token.begin >= at && token.end >= token.begin && token.end <= statement.size());
    for (size_t i = at; i < token.begin; ++i) {
      FUZZ_REQUIRE(static_cast<uint8_t>(statement[i]) <= ' ');
    }
    if (token.kind == TokenKind::kEnd) return tokens;
    FUZZ_REQUIRE(token.end > token.begin);
    tokens.push_back(token);
    at = token.end;
  }
}

bool is_braces(const Token& token) {
  return token.kind == TokenKind::kBraces || token.kind == TokenKind::kOpenBraces;
}

// Every byte that is in no braces comes once, in its order; a number stands for the place of its
// braces, and is a word of its own.
void require_places(const trova_cli::ExpandedStatement& expanded,
                    const std::vector<Token>& before) {
  const std::string& text = expanded.text();
  std::string rest;
  std::map<size_t, std::string> numbers;
  for (const Token& token : before) {
    if (is_braces(token)) numbers[token.begin];
  }
  size_t last = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    const size_t place = expanded.OriginalPlace(at);
    FUZZ_REQUIRE(place >= last && place < expanded.original().size());
    last = place;
    const auto number = numbers.find(place);
    (number == numbers.end() ? rest : number->second) += text[at];
  }
  std::string expected = expanded.original();
  for (size_t i = before.size(); i-- > 0;) {
    if (is_braces(before[i])) expected.erase(before[i].begin, before[i].end - before[i].begin);
  }
  FUZZ_REQUIRE(rest == expected);
  for (const auto& [place, number] : numbers) {
    FUZZ_REQUIRE(number.find_first_of("0123456789") != std::string::npos);
    FUZZ_REQUIRE(number.find_first_not_of(" 0123456789") == std::string::npos);
  }
  FUZZ_REQUIRE(tokens_of(text).size() == before.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const trova_cli::Engine engine;
  static trova_cli::NameLists lists;
  const std::string statement(reinterpret_cast<const char*>(data), size);
  const std::vector<Token> tokens = tokens_of(statement);
  bool has_braces = false;
  for (const Token& token : tokens) has_braces = has_braces || is_braces(token);
  try {
    const trova_cli::ExpandedStatement expanded = trova_cli::ExpandBraces(statement, lists);
    FUZZ_REQUIRE(expanded.original() == statement);
    FUZZ_REQUIRE(has_braces || expanded.text() == statement);
    require_places(expanded, tokens);
    for (const Token& token : tokens_of(expanded.text())) FUZZ_REQUIRE(!is_braces(token));
    FUZZ_REQUIRE(trova_cli::ExpandBraces(expanded.text(), lists).text() == expanded.text());
  } catch (const trova_cli::CommandError& error) {
    FUZZ_REQUIRE(has_braces);
    FUZZ_REQUIRE(*error.what() != '\0' && !error.detail().empty());
  }
  return 0;
}
