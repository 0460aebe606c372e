// The tokens of a statement, as far as the command must know them: where each begins and ends.
#ifndef TROVA_CLI_STATEMENT_TOKEN_H
#define TROVA_CLI_STATEMENT_TOKEN_H

#include <cstddef>
#include <string_view>

namespace trova_cli {

enum class TokenKind {
  kEnd,         // the first semicolon, or the end of the text
  kWord,        // letters, digits and "_"; also what begins with a digit and is no number
  kNumber,      // digits, perhaps with "-" before them
  kString,      // with its quotes
  kOpenString,  // a quote without a partner before the end or the next semicolon
  kBraces,      // a name in braces, with them
  kOpenBraces,  // an opening brace without a partner
  kComparison,  // "=", "==", "!=", "<", "<=", ">", ">="
  kOther,       // any other byte
};

struct Token {
  TokenKind kind;
  std::size_t begin;
  std::size_t end;

  std::string_view Text(std::string_view statement) const {
    return statement.substr(begin, end - begin);
  }
};

// The first token at or after `at`.
Token NextToken(std::string_view statement, std::size_t at);

// Whether the language takes a word for one of its own. The beginning of a keyword is that keyword.
bool IsKeyword(std::string_view word);
bool IsAnd(std::string_view word);
bool IsLike(std::string_view word);

}  // namespace trova_cli

#endif
