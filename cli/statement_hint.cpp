// Statement hint: looks at the attributes on both sides of each AND, token by token.
#include "statement_hint.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "statement_token.h"
#include "text.h"

namespace trova_cli {
namespace {

bool IsAttribute(std::string_view statement, const Token& token) {
  return token.kind == TokenKind::kWord && !IsKeyword(token.Text(statement));
}

// The first token at or after `at` that is not this parenthesis.
Token NextBeyond(std::string_view parenthesis, std::string_view statement, std::size_t at) {
  Token token = NextToken(statement, at);
  while (token.Text(statement) == parenthesis) token = NextToken(statement, token.end);
  return token;
}

// The comparison after an AND, "qx_era = {1970s}", unless its score is compared in turn.
std::optional<std::string_view> ComparisonAfter(std::string_view statement, std::size_t at) {
  const Token attribute = NextBeyond("(", statement, at);
  if (!IsAttribute(statement, attribute)) return std::nullopt;
  const Token compare = NextToken(statement, attribute.end);
  const Token value = NextToken(statement, compare.end);
  const Token next = NextBeyond(")", statement, value.end);
  if (next.kind == TokenKind::kComparison) return std::nullopt;
  return statement.substr(attribute.begin, value.end - attribute.begin);
}

std::string Hint(std::string_view comparison) {
  return fmt::format(
      "AND tests the value that its left side found; \"and {} > 0\" tests the track's own",
      Printable(comparison));
}

}  // namespace

std::optional<std::string> HintForNoMatch(std::string_view statement) {
  std::vector<std::string_view> named;  // the attributes so far
  for (Token token = NextToken(statement, 0); token.kind != TokenKind::kEnd;
       token = NextToken(statement, token.end)) {
    const std::string_view text = token.Text(statement);
    if (IsAttribute(statement, token)) named.push_back(text);
    if (token.kind != TokenKind::kWord || !IsAnd(text)) continue;
    const auto comparison = ComparisonAfter(statement, token.end);
    if (!comparison) continue;
    const std::string_view attribute = NextToken(*comparison, 0).Text(*comparison);
    const auto differs = [&](std::string_view name) { return !EqualIgnoringCase(name, attribute); };
    if (std::any_of(named.begin(), named.end(), differs)) return Hint(*comparison);
  }
  return std::nullopt;
}

}  // namespace trova_cli
