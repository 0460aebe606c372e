// model.h: a second implementation of attributes, collections, the statement language and its
// evaluation, written for clarity. Tests compare the library with it: codes, messages, results,
// their order and provider calls.
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

// The library's quicksort, exchange by exchange: the order of ties depends on each step.
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

// Up to this count a sort leaves ties in the order of the quicksort above. Above it, in any order.
inline constexpr size_t kMostInOrder = 1024;

// A vector that stays sorted after its first sort: add() inserts at the sorted place.
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

  // The result of a binary search that stops at the first equal element it finds.
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

// Strings in one buffer. An id is an offset. Strings of one hash are one string.
class StringTable {
 public:
  uint32_t add(const std::string& text);
  std::optional<uint32_t> find(const std::string& text) const;
  std::string get(uint32_t id) const { return buffer_.c_str() + id; }
  void blank(uint32_t id);
  // Writes a text into a blanked place if it has the length of the first string blanked there.
  void restore(uint32_t id, const std::string& text);
  std::vector<uint32_t> ids() const;  // in the order of their hashes
  const std::string& buffer() const { return buffer_; }
  // Takes over the buffer of another table. find() misses a string behind a run of zeros.
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
  const Behaviour* custom = nullptr;  // null for a built-in attribute
  Array<Record> records = {};

  Attribute(const std::string& built_in_name);
  Attribute(const Behaviour& behaviour) : name(behaviour.name), custom(&behaviour) {}
  bool supports(uint32_t op) const;
  // The values of a data object. "#" and digits are an integer.
  std::vector<std::string> capture(const trova_mock::ObjectData& data) const;
};

// Pairs of a mood id and its weight.
struct MoodProfile {
  uint32_t count = 0;
  uint32_t ids[17] = {}, weights[17] = {};

  explicit MoodProfile(const std::string& text);
};

// The prepared right side of a comparison.
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
  bool has_row_ = false;  // the correlates have scores for value_
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
  void put(const Attribute& attribute);  // replaces the one of its name
  void add(const std::string& ident, const trova_mock::ObjectData& data);
  uint32_t remove(const std::string& ident);
};

// Sorts by ident, the larger first.
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

  // Deletes contexts from left to right.
  ~Node() { left.reset(), right.reset(), context.reset(); }
};
using Tree = std::unique_ptr<Node>;

inline bool is_comparison(const Node& node) {
  return node.kind >= kEqual && node.kind <= kLike;
}
// A comparison whose sides are both operands.
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
// The operator code for an attribute on the left of the operator, or on the right (`reversed`).
uint32_t attribute_operator(Kind kind, bool reversed);

struct Playlist {
  // What the model knows: everything; the score of each ident; the idents; nothing.
  enum Certainty { kEverything, kScores, kIdents, kNothing } certainty = kEverything;
  std::vector<uint32_t> ids = {};
  std::vector<int32_t> scores = {};
  std::vector<std::string> idents = {};  // of the ids, when they are enumerated

  bool allows(const std::vector<std::string>& found) const;
};

// Throws Failure.
Playlist generate(const std::string& text, Collection& collection,
                  const trova_mock::ObjectData* seed);
extern const char kMoreLikeThis[];

// The state of RAND without a seed, shared by all statements.
extern uint32_t g_random;

}  // namespace model

#endif  // MODEL_H
