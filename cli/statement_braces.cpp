// Braces: one pass over the tokens, with an eye on the attribute on the left.
#include "statement_braces.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "error.h"
#include "statement_excerpt.h"
#include "statement_token.h"
#include "text.h"

namespace trova_cli {
namespace {

constexpr std::uint32_t kNearestShown = 3;

std::string BracedNames(const std::vector<Element>& elements) {
  std::string names;
  for (const Element& element : elements) {
    fmt::format_to(std::back_inserter(names), "{}{{{}}}", names.empty() ? "" : ", ", element.name);
  }
  return names;
}

// Beside a number it would become a part of it, or make it another one.
bool JoinsNumbers(char byte) {
  return byte == '_' || byte == '-' || (byte >= '0' && byte <= '9') ||
         (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

class BraceExpander {
 public:
  BraceExpander(std::string statement, NameLists& lists)
      : statement_(std::move(statement)), lists_(lists) {}

  ExpandedStatement Run() {
    const std::string& original = statement_.original();
    for (Token token = NextToken(original, 0); token.kind != TokenKind::kEnd;
         token = NextToken(original, token.end)) {
      Take(token);
    }
    statement_.Finish();
    return std::move(statement_);
  }

 private:
  void Take(const Token& token) {
    switch (token.kind) {
      case TokenKind::kWord:
        return TakeWord(token.Text(statement_.original()));
      case TokenKind::kBraces:
        return statement_.Replace(token.begin, token.end, IdOf(token));
      case TokenKind::kOpenBraces:
        Fail(token, "this brace is never closed");
      default:
        return;
    }
  }

  // LIKE stands between an attribute and its value; any other keyword ends the comparison.
  void TakeWord(std::string_view word) {
    if (IsLike(word)) return;
    attribute_ = IsKeyword(word) ? std::string_view() : word;
  }

  std::uint32_t IdOf(const Token& token) {
    const std::string_view braces = token.Text(statement_.original());
    const std::string_view name = Trim(braces.substr(1, braces.size() - 2));
    if (name.empty()) Fail(token, "there is no name between these braces");
    if (attribute_.empty()) return IdInAnyList(token, name);
    const std::optional<ListKind> kind = ListOfAttribute(attribute_);
    if (!kind) {
      Fail(token,
           fmt::format("\"{}\" takes its values from no list; write text in quotes", attribute_));
    }
    if (const auto element = lists_.Find(*kind, name)) return element->id;
    FailUnknown(token, name, fmt::format("the list of {}", InfoOf(*kind).name),
                lists_.Nearest(*kind, name, kNearestShown));
  }

  std::uint32_t IdInAnyList(const Token& token, std::string_view name) {
    std::uint32_t id = 0;
    std::string found_in;
    for (const ListInfo& info : kListInfos) {
      if (const auto element = lists_.Find(info.kind, name)) {
        if (!found_in.empty()) {
          Fail(token, fmt::format("\"{}\" is in the lists of {} and {}; write it to the right of "
                                  "its attribute",
                                  name, found_in, info.name));
        }
        found_in = info.name;
        id = element->id;
      }
    }
    if (found_in.empty()) FailUnknown(token, name, "any list", NearestInAnyList(name));
    return id;
  }

  std::vector<Element> NearestInAnyList(std::string_view name) {
    std::vector<Element> nearest;
    for (const ListInfo& info : kListInfos) {
      const std::vector<Element> near = lists_.Nearest(info.kind, name, 1);
      nearest.insert(nearest.end(), near.begin(), near.end());
    }
    return nearest;
  }

  [[noreturn]] void FailUnknown(const Token& token, std::string_view name, std::string_view where,
                                const std::vector<Element>& nearest) {
    Fail(token, fmt::format("\"{}\" is not in {}{}{}", name, where,
                            nearest.empty() ? "" : "; nearest: ", BracedNames(nearest)));
  }

  [[noreturn]] void Fail(const Token& token, const std::string& message) {
    throw CommandError(message, StatementExcerpt(statement_.original(), token.begin));
  }

  ExpandedStatement statement_;
  NameLists& lists_;
  std::string_view attribute_;  // of the comparison at hand; "" outside of one
};

}  // namespace

std::size_t ExpandedStatement::OriginalPlace(std::size_t place) const {
  const auto after = std::upper_bound(
      replacements_.begin(), replacements_.end(), place,
      [](std::size_t at, const Replacement& replacement) { return at < replacement.begin; });
  if (after == replacements_.begin()) return place;
  const Replacement& last = *std::prev(after);
  if (place < last.end) return last.original_begin;
  return place - last.end + last.original_end;
}

void ExpandedStatement::Replace(std::size_t end, std::size_t next, std::uint32_t id) {
  text_.append(original_, copied_, end - copied_);
  const std::size_t begin = text_.size();
  const bool joins_front = begin != 0 && JoinsNumbers(text_.back());
  const bool joins_back = next < original_.size() && JoinsNumbers(original_[next]);
  fmt::format_to(std::back_inserter(text_), "{}{}{}", joins_front ? " " : "", id,
                 joins_back ? " " : "");
  replacements_.push_back({begin, text_.size(), end, next});
  copied_ = next;
}

ExpandedStatement ExpandBraces(std::string statement, NameLists& lists) {
  return BraceExpander(std::move(statement), lists).Run();
}

}  // namespace trova_cli
