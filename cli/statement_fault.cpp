// Statement faults: the library says what is wrong, and is asked again to learn where.
#include "statement_fault.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "error.h"
#include "statement_excerpt.h"
#include "statement_token.h"
#include "text.h"

namespace trova_cli {
namespace {

// The one complaint that comes after the whole statement was read.
constexpr std::string_view kNotSupportedOperator = " does not support operator ";

// A complaint may quote the whole rest of the statement.
constexpr std::size_t kMessageColumns = 400;

// The library cuts longer names.
constexpr std::size_t kMaxProbe = 150;

// The library's message for a code, "" when it has none. Valid until the next failing call.
std::string LastMessage(std::uint32_t code) {
  std::uint32_t last = 0;
  const char* text = "";
  if (trova_manager_last_error(&last, &text) != 0 || last != code || text == nullptr) return {};
  return text;
}

// Finds the token at which the library stops reading a statement.
//
// The library reads tokens from left to right and complains about the first that cannot stand where
// it stands. An unknown name after a stretch that it accepts is therefore what the complaint
// quotes; after a stretch that it does not accept, the complaint quotes something else. So the
// place is the end of the longest stretch of whole tokens after which the name is quoted, found by
// halving.
class FaultFinder {
 public:
  FaultFinder(std::string_view statement, trova_playlist_collection* collection)
      : statement_(statement), collection_(collection) {
    while (statement_.find(probe_) != std::string_view::npos && probe_.size() < kMaxProbe) {
      probe_ += probe_;
    }
    Token token = NextToken(statement_, 0);
    for (; token.kind != TokenKind::kEnd; token = NextToken(statement_, token.end)) {
      starts_.push_back(token.begin);
    }
    starts_.push_back(token.begin);
    refused_ = starts_.size();
  }

  // The end of the statement when the library reads all of it and misses something.
  // @param message  the library's complaint
  std::size_t Find(const std::string& message) {
    const std::size_t guess = Guess(message);
    Look(guess);
    if (accepted_ == guess) Look(guess + 1);
    while (refused_ - accepted_ > 1) Look(accepted_ + (refused_ - accepted_) / 2);
    return starts_[accepted_];
  }

 private:
  // Most complaints quote the statement from the fault to its end, and two looks confirm it.
  std::size_t Guess(const std::string& message) const {
    const std::size_t open = message.find('\'');
    const std::size_t close = message.rfind('\'');
    if (open == close || close == open + 1) return starts_.size() - 1;
    const std::string_view quoted(message.data() + open + 1, close - open - 1);
    if (!statement_.ends_with(quoted)) return starts_.size() / 2;
    const auto start = std::lower_bound(starts_.begin(), std::prev(starts_.end()),
                                        statement_.size() - quoted.size());
    return static_cast<std::size_t>(start - starts_.begin());
  }

  void Look(std::size_t tokens) {
    if (tokens >= refused_) return;
    (Accepts(starts_[tokens]) ? accepted_ : refused_) = tokens;
  }

  bool Accepts(std::size_t length) const {
    const std::string stretch = fmt::format("{} {}", statement_.substr(0, length), probe_);
    const std::uint32_t code =
        trova_playlist_statement_validate(stretch.c_str(), collection_, nullptr);
    return LastMessage(code).find("'" + probe_) != std::string::npos;
  }

  std::string_view statement_;
  trova_playlist_collection* collection_;
  std::string probe_ = "trova_probe_";  // begins no keyword, names no attribute
  std::vector<std::size_t> starts_;     // where tokens begin; last, where the statement ends
  std::size_t accepted_ = 0;            // so many tokens are accepted; no token always is
  std::size_t refused_ = 0;             // so many are not
};

bool IsLiteral(const Token& token) {
  return token.kind == TokenKind::kString || token.kind == TokenKind::kNumber;
}

// A literal as an attribute gets it: without its quotes.
std::string LiteralText(std::string_view text, const Token& token) {
  const std::string_view literal = token.Text(text);
  return std::string(token.kind == TokenKind::kString ? literal.substr(1, literal.size() - 2)
                                                      : literal);
}

// The number that a list attribute reads from a literal; it refuses 0. One beyond 32 bits is the
// nearest within, and no id.
std::uint32_t LiteralNumber(std::string_view text, const Token& token) {
  const long long number = std::strtoll(LiteralText(text, token).c_str(), nullptr, 10);
  constexpr long long kMost = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(number, kMost));
}

// The first comparison, as attribute, operator and value, for which `test` holds.
template <typename Test>
std::optional<Token> FindComparison(std::string_view text, Test test) {
  Token left = NextToken(text, 0);
  Token op = NextToken(text, left.end);
  while (op.kind != TokenKind::kEnd) {
    const Token value = NextToken(text, op.end);
    if (const auto place = test(left, op, value)) return place;
    left = op;
    op = value;
  }
  return std::nullopt;
}

std::optional<Token> FindRefusedLiteral(std::string_view text) {
  return FindComparison(
      text, [&](const Token& left, const Token& op, const Token& value) -> std::optional<Token> {
        const bool compares = op.kind == TokenKind::kComparison ||
                              (op.kind == TokenKind::kWord && IsLike(op.Text(text)));
        if (!compares || !IsLiteral(value) || !ListOfAttribute(left.Text(text))) return {};
        if (LiteralNumber(text, value) != 0) return {};
        return value;
      });
}

// The first LIKE with a number that the attribute's list does not have, and that list. Tempos need
// no list for it.
struct Unlisted {
  Token value;
  ListKind kind;
};

std::optional<Unlisted> FindUnlisted(std::string_view text, NameLists& lists) {
  ListKind kind{};
  const auto value = FindComparison(
      text, [&](const Token& left, const Token& op, const Token& right) -> std::optional<Token> {
        if (op.kind != TokenKind::kWord || !IsLike(op.Text(text)) || !IsLiteral(right)) return {};
        const auto list = ListOfAttribute(left.Text(text));
        if (!list || *list == ListKind::kTempos) return {};
        if (lists.ById(*list, LiteralNumber(text, right))) return {};
        kind = *list;
        return right;
      });
  if (!value) return std::nullopt;
  return Unlisted{*value, kind};
}

// The message quotes the attribute and the operator that it does not support, in this order.
std::optional<Token> FindUnsupported(std::string_view text, const std::string& message) {
  return FindComparison(
      text, [&](const Token& left, const Token& op, const Token& right) -> std::optional<Token> {
        const auto quoted = [&](const Token& attribute) {
          return attribute.kind == TokenKind::kWord &&
                 message == fmt::format("attribute '{}'{}'{}'", attribute.Text(text),
                                        kNotSupportedOperator, op.Text(text));
        };
        if (!quoted(left) && !quoted(right)) return {};
        return op;
      });
}

struct Fault {
  std::string message;
  std::optional<std::size_t> place;  // in the expanded text
};

// A name where a value should be is the most likely mistake; it deserves the right spelling.
std::string BracesHint(std::string_view text, std::size_t place, NameLists& lists) {
  const Token token = NextToken(text, place);
  if (token.kind != TokenKind::kWord) return {};
  for (const ListInfo& info : kListInfos) {
    const auto element = lists.Find(info.kind, token.Text(text));
    if (element) return fmt::format("; a list value is written in braces: {{{}}}", element->name);
  }
  return {};
}

Fault SyntaxFault(const ExpandedStatement& statement, std::string message, NameLists& lists) {
  const std::string& text = statement.text();
  if (message.find(kNotSupportedOperator) != std::string::npos) {
    const std::optional<Token> op = FindUnsupported(text, message);
    return {message, op ? std::optional(op->begin) : std::nullopt};
  }
  const Collection collection = MakeCollection();
  const std::size_t place = FaultFinder(text, collection.get()).Find(message);
  if (message.empty()) message = "a quote that is not closed before the end or a semicolon";
  if (message.starts_with("attribute ")) message += BracesHint(text, place, lists);
  return {message, place};
}

Fault LiteralFault(const ExpandedStatement& statement) {
  Fault fault{"a value that its attribute cannot read", std::nullopt};
  if (const auto literal = FindRefusedLiteral(statement.text())) {
    fault.place = literal->begin;
    fault.message += "; a list value is an id, or a name in braces";
  }
  return fault;
}

// LIKE found no scores: its value is no id of the list, or the manager has no list or no scores.
// The likeliest such value is a plain year, and the list has an era of that name.
Fault ScoresFault(const ExpandedStatement& statement, NameLists& lists) {
  const std::string& text = statement.text();
  const auto unlisted = FindUnlisted(text, lists);
  if (!unlisted) return {"the manager has no scores for a LIKE of the statement", {}};
  const std::string value = LiteralText(text, unlisted->value);
  const auto element = lists.Find(unlisted->kind, value);
  return {fmt::format("LIKE needs an id of the list of {}, and {} is not one{}",
                      InfoOf(unlisted->kind).name, value,
                      element ? fmt::format("; write {{{}}}", element->name) : ""),
          unlisted->value.begin};
}

Fault FaultOf(const ExpandedStatement& statement, std::uint32_t code, NameLists& lists) {
  const std::string message = LastMessage(code);
  switch (code) {
    case PLERR_Syntax:
      return SyntaxFault(statement, message, lists);
    case PLERR_InvalidData:
      return LiteralFault(statement);
    case PLERR_ListUnavailable:
      return ScoresFault(statement, lists);
    case PLERR_StatementMismatch:
      return {"the statement says SEED; name one with --seed", {}};
    case PLERR_NotFound:
      return {"ORDER ended at a track that lacks the attribute; ORDER ... + 0 lets it score 0", {}};
    case PLERR_Unsupported:
      return {"an operation that cannot stand where the statement has it", {}};
    default:
      break;
  }
  if (!message.empty()) return {message, {}};
  return {
      fmt::format("cannot run the statement: {} (0x{:08x})", trova_manager_error_text(code), code),
      {}};
}

}  // namespace

bool CheckStatement(const ExpandedStatement& statement, NameLists& lists) {
  const Collection collection = MakeCollection();
  const char* text = statement.text().c_str();
  std::uint8_t needs_seed = 0;
  std::uint32_t code = trova_playlist_statement_validate(text, collection.get(), &needs_seed);
  if (code != 0) ThrowStatementFault(statement, code, lists);

  // A seed without values disables the comparisons with it, so this run only prepares the others.
  const DataObject seed = MakeDataObject(TROVA_CTX_TRACK);
  trova_playlist_results* results = nullptr;
  code = trova_playlist_generate_playlist(nullptr, text, collection.get(), seed.get(), &results);
  const Results owner(results);
  if (code != 0) ThrowStatementFault(statement, code, lists);
  return needs_seed != 0;
}

void ThrowStatementFault(const ExpandedStatement& statement, std::uint32_t code, NameLists& lists) {
  const Fault fault = FaultOf(statement, code, lists);
  std::string excerpt;
  if (fault.place) {
    excerpt = StatementExcerpt(statement.original(), statement.OriginalPlace(*fault.place));
  }
  throw CommandError(FitStart(Printable(fault.message), kMessageColumns), excerpt);
}

}  // namespace trova_cli
