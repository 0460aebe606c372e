// Names in braces: qx_genre = {Progressive Rock} becomes qx_genre = 25321.
#ifndef TROVA_CLI_STATEMENT_BRACES_H
#define TROVA_CLI_STATEMENT_BRACES_H

#include <cstddef>
#include <string>
#include <vector>

#include "name_lists.h"

namespace trova_cli {

// A statement as the user wrote it and as the library reads it.
class ExpandedStatement {
 public:
  explicit ExpandedStatement(std::string original) : original_(std::move(original)) {}

  const std::string& original() const noexcept { return original_; }
  const std::string& text() const noexcept { return text_; }

  // Where a place in text() stands in original(); inside of an id, the brace that opens its name.
  std::size_t OriginalPlace(std::size_t place) const;

  // Appends original text up to `end`, then `id` for what stands between `end` and `next`, as a
  // word of its own.
  void Replace(std::size_t end, std::size_t next, std::uint32_t id);
  // Appends the rest of the original.
  void Finish() { text_.append(original_, copied_); }

 private:
  struct Replacement {
    std::size_t begin;  // in text_
    std::size_t end;
    std::size_t original_begin;
    std::size_t original_end;
  };

  std::string original_;
  std::string text_;
  std::size_t copied_ = 0;  // how much of the original is in text_
  std::vector<Replacement> replacements_;
};

// Replaces every name in braces by the id of its element. The attribute on its left says which list
// is meant; without one the name must be in exactly one list. Throws CommandError, with the place
// in the statement, for a name that no list knows.
ExpandedStatement ExpandBraces(std::string statement, NameLists& lists);

}  // namespace trova_cli

#endif
