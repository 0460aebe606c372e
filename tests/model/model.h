// model.h: attributes, collections, the statement language and its evaluation once more, written
// for clarity. Tests compare the library with it: codes, messages, orders and provider calls.
#ifndef MODEL_H
#define MODEL_H

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "behaviour.h"
#include "trova_mock.h"

namespace model {

inline constexpr uint32_t kNoMemberCode = 0x100d0003;
inline constexpr uint32_t kUnsupported = 0x9089003c;
inline constexpr uint32_t kSyntax = 0x90890601;

inline bool failed(uint32_t code) {
  return (code & 0x80000000u) != 0;
}
uint32_t map_error(uint32_t code);
std::string folded(std::string text);  // names that differ in letter case only are one
// Decimal text as a C library with a long of 32 bits reads it.
uint32_t to_u32(const std::string& text);
int32_t to_i32(const std::string& text);

// The library's quicksort, exchange by exchange. Each of its steps is visible in the order of equal
// elements.
template <class T, class Compare>
void quicksort(std::vector<T>& items, size_t lo, size_t hi, Compare compare) {
  while (lo < hi) {
    size_t i = lo + 1;
    size_t j = hi;
    while (j > i) {
      if (compare(items[i], items[lo]) <= 0) {
        ++i;
      } else if (--j != i) {
        std::swap(items[i], items[j]);
      }
    }
    std::swap(items[lo], items[i - 1]);
    quicksort(items, lo, i - 1, compare);
    lo = j;
  }
}

// Of so many elements a sort leaves equals as the quicksort above does; of more, in any order.
inline constexpr size_t kMostInOrder = 1024;

// A vector that stays sorted once it has been: later elements go in before their equals.
template <class T>
struct Array {
  using Compare = int32_t (*)(const T&, const T&);
  std::vector<T> items;
  Compare compare = nullptr;
  bool sorted = false;
  bool has_loose_ties = false;

  void sort(Compare wanted) {
    if (wanted == compare && sorted) return;
    compare = wanted;
    quicksort(items, 0, items.size(), compare);
    sorted = true;
    const auto are_equal = [&](const T& a, const T& b) { return compare(a, b) == 0; };
    has_loose_ties |= items.size() > kMostInOrder &&
                      std::adjacent_find(items.begin(), items.end(), are_equal) != items.end();
  }

  void add(const T& value) {
    items.insert(items.begin() + static_cast<ptrdiff_t>(sorted ? place(value) : items.size()),
                 value);
  }

  // Where a binary search that stops at the first equal element it meets ends.
  size_t place(const T& value) const {
    if (items.empty()) return 0;
    ptrdiff_t lo = -1;
    ptrdiff_t hi = static_cast<ptrdiff_t>(items.size()) - 1;
    while (hi - lo >= 2) {
      const ptrdiff_t mid = (lo + hi) / 2;
      const int32_t order = compare(items[static_cast<size_t>(mid)], value);
      if (order == 0) return static_cast<size_t>(mid);
      (order < 0 ? lo : hi) = mid;
    }
    const auto last = static_cast<size_t>(hi);
    return compare(items[last], value) < 0 ? last + 1 : last;
  }
};

// Strings in one buffer; an id is an offset, and a string is known by its hash alone.
class StringTable {
 public:
  uint32_t add(const std::string& text);
  std::optional<uint32_t> find(const std::string& text) const;
  std::string get(uint32_t id) const { return buffer_.c_str() + id; }
  void blank(uint32_t id);
  // Gives a blanked string its place again if it has the length of what was blanked there first.
  void restore(uint32_t id, const std::string& text);
  std::vector<uint32_t> ids() const;  // in the order of their hashes
  const std::string& buffer() const { return buffer_; }
  // Takes another table's buffer over. A string behind a run of zeros is not found again.
  void attach(const std::string& bytes);

 private:
  struct Entry {
    uint32_t hash, id;
  };
  static int32_t by_hash(const Entry& a, const Entry& b) {
    return a.hash < b.hash ? -1 : a.hash > b.hash;
  }
  Array<Entry> index_ = {{}, by_hash, true};
  std::map<uint32_t, size_t> blanked_;
  std::string buffer_;
};

// One captured value: an integer, or the id of a text in the collection's values.
struct Record {
  bool is_text = false;
  uint32_t value = 0;
  uint32_t ident = 0;
};

struct BuiltIn;  // an attribute of the library's own

struct Attribute {
  std::string name;
  const BuiltIn* built_in = nullptr;
  const Behaviour* custom = nullptr;  // one of the two
  Array<Record> records = {};

  Attribute(const std::string& built_in_name);
  Attribute(const Behaviour& behaviour) : name(behaviour.name), custom(&behaviour) {}
  bool supports(uint32_t op) const;
  // The values of a data object. "#" and digits are an integer.
  std::vector<std::string> capture(const trova_mock::ObjectData& data) const;
};

// Pairs of a mood and its weight.
struct MoodProfile {
  uint32_t count = 0;
  uint32_t ids[17] = {}, weights[17] = {};

  explicit MoodProfile(const std::string& text);
};

// What a comparison compares with.
class Context {
 public:
  explicit Context(const Attribute& attribute) : attribute_(attribute) {}
  Context(const Context&) = delete;
  ~Context();
  uint32_t create();
  uint32_t set_text(uint32_t op, const std::string* literal);
  uint32_t set_seed(uint32_t op, const trova_mock::ObjectData& seed);
  Outcome score(uint32_t value) const;
  Outcome score(const std::string& value) const;

 private:
  uint32_t look_up();
  uint32_t find_row();
  Outcome score_list(uint32_t value) const;
  Outcome score_tempo(uint32_t value) const;
  Outcome score_name(const std::string& text) const;
  Outcome score_profile(const MoodProfile& profile) const;
  int32_t coordinate(uint32_t mood, const MoodProfile& profile) const;

  const Attribute& attribute_;
  bool is_open_ = false;
  Target target_;
  const trova_mock::ListData* list_ = nullptr;
  const trova_mock::CorrelateTable* correlates_ = nullptr;
  bool has_row_ = false;  // of correlates, for the value
  std::optional<MoodProfile> profile_ = {};
  uint32_t value_ = 0, level_ = 0, start_ = 0, end_ = 0;
};

struct Collection {
  std::string title = {};
  std::vector<std::unique_ptr<Attribute>> attributes;
  StringTable idents;
  StringTable values;

  explicit Collection(const std::vector<Attribute>& registry);
  Attribute* find(const std::string& name) const;
  void put(const Attribute& attribute);  // in place of one of its name
  void add(const std::string& ident, const trova_mock::ObjectData& data);
  uint32_t remove(const std::string& ident);
};

// The larger first.
int32_t compare_ident(const Record& a, const Record& b);

// ------------------------------------------------------------------------------- Statements

// clang-format off
enum Kind : int {
  kUnknown = 0, kGenerate, kPlaylist, kGenpl, kWhereAll, kWhere, kAnd, kOr, kOrder, kMultiply,
  kDivide, kPlus, kMinus, kLimit, kPer, kResults, kIdentifier, kString, kNumber, kRand, kSeed,
  kDoubleQuote, kSingleQuote, kComma, kLeft, kRight, kEqual, kNotEqual, kLess, kLessOrEqual,
  kGreater, kGreaterOrEqual, kLike, kEnd
};
// clang-format on

struct Node {
  Kind kind;
  std::optional<std::string> text;
  std::unique_ptr<Node> left, right;
  Attribute* attribute = nullptr;
  std::unique_ptr<Context> context;
  bool usable = false;

  // From left to right.
  ~Node() { left.reset(), right.reset(), context.reset(); }
};
using Tree = std::unique_ptr<Node>;

inline bool is_comparison(const Node& node) {
  return node.kind >= kEqual && node.kind <= kLike;
}
// One whose sides are no comparisons themselves.
inline bool is_operand_comparison(const Node& node) {
  return is_comparison(node) && !is_comparison(*node.left) && !is_comparison(*node.right);
}
// AND, OR and arithmetic.
inline bool joins(const Node& node) {
  return node.kind == kAnd || node.kind == kOr || (node.kind >= kMultiply && node.kind <= kMinus);
}

// How a statement ends early.
struct Failure {
  uint32_t code;
  std::optional<std::string> message;
};

struct Statement {
  std::vector<Tree> trees;
  bool seed_used = false;
};

// Throws Failure.
Statement parse(const std::string& text, const Collection& collection);
// The operator as an attribute sees it that stands left or right of it.
uint32_t attribute_operator(Kind kind, bool reversed);

struct Playlist {
  // What is sure: everything; the score of each ident; the idents; nothing.
  enum Certainty { kOrder, kScores, kIdents, kNothing } certainty = kOrder;
  std::vector<std::string> idents = {};
  std::vector<int32_t> scores = {};

  bool allows(const std::vector<std::string>& found) const;
};

// Throws Failure.
Playlist generate(const std::string& text, Collection& collection,
                  const trova_mock::ObjectData* seed);
extern const char kMoreLikeThis[];

// The state of RAND without a seed, which all statements share.
extern uint32_t g_random;

}  // namespace model

#endif  // MODEL_H
