// Statement tokens: spans only; what they mean is the library's business.
#include "statement_token.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace trova_cli {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsWordByte(char c) {
  return IsDigit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsBlank(char c) {
  return static_cast<unsigned char>(c) <= ' ';
}

template <typename Test>
std::size_t RunEnd(std::string_view text, std::size_t at, Test test) {
  while (at < text.size() && test(text[at])) ++at;
  return at;
}

Token StringToken(std::string_view statement, std::size_t at) {
  const char stops[] = {statement[at], ';'};
  const std::size_t close = statement.find_first_of(std::string_view(stops, 2), at + 1);
  if (close == std::string_view::npos || statement[close] == ';') {
    return {TokenKind::kOpenString, at, std::min(close, statement.size())};
  }
  return {TokenKind::kString, at, close + 1};
}

Token BracesToken(std::string_view statement, std::size_t at) {
  const std::size_t close = statement.find('}', at);
  if (close == std::string_view::npos) return {TokenKind::kOpenBraces, at, statement.size()};
  return {TokenKind::kBraces, at, close + 1};
}

Token WordToken(std::string_view statement, std::size_t at) {
  const std::size_t digits = RunEnd(statement, at, IsDigit);
  const std::size_t end = RunEnd(statement, at, IsWordByte);
  return {digits == end ? TokenKind::kNumber : TokenKind::kWord, at, end};
}

Token SymbolToken(std::string_view statement, std::size_t at) {
  const char first = statement[at];
  const char second = at + 1 < statement.size() ? statement[at + 1] : '\0';
  if (first == '-' && IsDigit(second)) {
    return {TokenKind::kNumber, at, RunEnd(statement, at + 1, IsDigit)};
  }
  if (std::string_view("=<>!").find(first) != std::string_view::npos) {
    if (second == '=') return {TokenKind::kComparison, at, at + 2};
    if (first != '!') return {TokenKind::kComparison, at, at + 1};
  }
  return {TokenKind::kOther, at, at + 1};
}

bool Begins(std::string_view word, std::string_view keyword) {
  return word.size() <= keyword.size() && EqualIgnoringCase(word, keyword.substr(0, word.size()));
}

}  // namespace

Token NextToken(std::string_view statement, std::size_t at) {
  at = RunEnd(statement, at, IsBlank);
  if (at >= statement.size() || statement[at] == ';') return {TokenKind::kEnd, at, at};
  switch (statement[at]) {
    case '"':
    case '\'':
      return StringToken(statement, at);
    case '{':
      return BracesToken(statement, at);
    default:
      break;
  }
  return IsWordByte(statement[at]) ? WordToken(statement, at) : SymbolToken(statement, at);
}

bool IsKeyword(std::string_view word) {
  constexpr std::array<std::string_view, 13> kKeywords = {
      "generate", "genpl", "playlist", "where", "like",    "seed", "rand",
      "and",      "or",    "order",    "limit", "results", "per",
  };
  return std::any_of(kKeywords.begin(), kKeywords.end(),
                     [&](std::string_view keyword) { return Begins(word, keyword); });
}

bool IsAnd(std::string_view word) {
  return Begins(word, "and");
}

bool IsLike(std::string_view word) {
  return Begins(word, "like");
}

}  // namespace trova_cli
