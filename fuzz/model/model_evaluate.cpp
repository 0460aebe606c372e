// model_evaluate: the model's preparation and evaluation of statements.
#include "model.h"

namespace model {

namespace {

struct Entry {
  int32_t score = 0;
  Record record;
  uint32_t group = 0;
};

enum class Mode { kAdd, kFilter };

int32_t wrap(int64_t value) {
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

int32_t by_score(const Entry& a, const Entry& b) {
  return wrap(int64_t{b.score} - a.score);
}
int32_t by_group(const Entry& a, const Entry& b) {
  return a.group > b.group ? -1 : a.group < b.group ? 1 : 0;
}
int32_t by_ident(const Entry& a, const Entry& b) {
  return wrap(int64_t{a.record.ident} - b.record.ident);
}

// LIMITs come last, those for RESULTS behind the others. Two of a sort contradict each other.
int32_t by_action(const Tree& a, const Tree& b) {
  if (a->kind != b->kind) return a->kind < b->kind ? -1 : 1;
  return a->kind == kLimit && a->right->kind == kResults ? 1 : -1;
}

void remove_duplicates(Array<Entry>& entries) {
  if (entries.items.size() < 2) return;
  entries.sort(by_ident);
  for (size_t i = 1; i < entries.items.size();) {
    if (entries.items[i].record.ident == entries.items[i - 1].record.ident) {
      entries.items.erase(entries.items.begin() + static_cast<ptrdiff_t>(i));
    } else {
      ++i;
    }
  }
}

bool holds(Kind op, int32_t left, int32_t right) {
  const bool results[] = {left == right, left != right, left<right, left <= right, left> right,
                          left >= right};
  return op != kLike && results[op - kEqual];
}

int32_t calculate(Kind op, int64_t left, int64_t right) {
  const int64_t results[] = {left * right, right == 0 ? 0 : left / right, left + right,
                             left - right};
  return wrap(results[op - kMultiply]);
}

// The process-wide state of RAND without a seed; nothing ever sets it back.
uint32_t g_random = 0x12345678;

uint32_t random(uint32_t& state) {
  state = state * 214013 + 2531011;
  return (state >> 16) & 0x7fff;
}

// ----------------------------------------------------------------------------- Preparation

uint32_t set_up_operands(Node& node, const trova_mock::ObjectData* seed) {
  const bool reversed = node.left->kind != kIdentifier;
  Node& identifier = reversed ? *node.right : *node.left;
  const Node& operand = reversed ? *node.left : *node.right;
  if (identifier.attribute == nullptr) return kUnsupported;
  const uint32_t op = attribute_operator(node.kind, reversed);
  identifier.context = std::make_unique<Context>(*identifier.attribute);
  const uint32_t code =
      seed != nullptr && operand.kind == kSeed
          ? identifier.context->set_seed(op, *seed)
          : identifier.context->set_text(op, operand.text ? &*operand.text : nullptr);
  identifier.usable = code == 0;
  return (code & 0xffff) == 0x01a4 ? 0 : code;
}

uint32_t set_up(Node& node, const trova_mock::ObjectData* seed) {
  if (is_operand_comparison(node)) return set_up_operands(node, seed);
  const bool leads_on = node.kind == kWhere || node.kind == kOrder;
  if (!leads_on && !joins(node) && !is_comparison(node)) return 0;
  if (const uint32_t code = set_up(*node.left, seed)) return code;
  return set_up(*node.right, seed);
}

// ------------------------------------------------------------------------------ Evaluation

class Run {
 public:
  explicit Run(Collection& collection) : collection_(collection) {}

  uint32_t run(std::vector<Tree>& trees) {
    quicksort(trees, 0, trees.size(), by_action);
    for (const Tree& tree : trees) {
      if (const uint32_t code = perform(*tree, entries_)) return code;
    }
    entries_.sort(by_score);
    return 0;
  }

  const std::vector<Entry>& entries() const { return entries_.items; }

 private:
  using Entries = Array<Entry>;

  uint32_t perform(const Node& tree, Entries& entries) {
    switch (tree.kind) {
      case kWhere:
        return where(*tree.right, entries, Mode::kAdd);
      case kWhereAll:
        return where_all(entries);
      case kOrder:
        return order(*tree.right);
      default:
        return limit(tree);
    }
  }

  uint32_t where_all(Entries& entries) {
    for (const uint32_t id : collection_.idents.ids()) entries.add({1000, {false, 0, id}, 0});
    return 0;
  }

  uint32_t where(const Node& node, Entries& entries, Mode mode) {
    if (node.kind == kOr) return where_or(node, entries);
    if (node.kind == kAnd) return where_and(node, entries, mode);
    if (!is_operand_comparison(node)) return compare_expressions(node, entries, mode);
    return mode == Mode::kAdd ? add_matches(node, entries) : filter(node, entries);
  }

  // An OR adds, whatever is asked of it.
  uint32_t where_or(const Node& node, Entries& entries) {
    if (const uint32_t code = where(*node.left, entries, Mode::kAdd)) return code;
    if (const uint32_t code = where(*node.right, entries, Mode::kAdd)) return code;
    remove_duplicates(entries);
    return 0;
  }

  // An AND that adds keeps what its sides found even where they failed.
  uint32_t where_and(const Node& node, Entries& entries, Mode mode) {
    if (mode == Mode::kFilter) {
      if (const uint32_t code = where(*node.left, entries, mode)) return code;
      if (const uint32_t code = where(*node.right, entries, mode)) return code;
    } else {
      Entries found;
      if (where(*node.left, found, Mode::kAdd) == 0) (void)where(*node.right, found, Mode::kFilter);
      for (const Entry& entry : found.items) entries.add(entry);
    }
    remove_duplicates(entries);
    return 0;
  }

  Outcome evaluate(const Node& comparison, const Record& record) {
    Context& context = *comparison.left->context;
    const Outcome outcome = record.is_text ? context.score(collection_.values.get(record.value))
                                           : context.score(record.value);
    return failed(outcome.code) ? Outcome{outcome.code, 0} : Outcome{0, outcome.score};
  }

  uint32_t add_matches(const Node& node, Entries& entries) {
    if (!node.left->usable) return 0;
    for (const Record& record : node.left->attribute->records.items) {
      const Outcome outcome = evaluate(node, record);
      if (outcome.code != 0) return outcome.code;
      if (outcome.score != 0) entries.add({outcome.score, record, 0});
    }
    return 0;
  }

  // Judges the value that brought an entry in, whichever attribute it belongs to.
  uint32_t filter(const Node& node, Entries& entries) {
    if (!node.left->usable) entries.items.clear();
    for (size_t i = 0; i < entries.items.size();) {
      const Outcome outcome = evaluate(node, entries.items[i].record);
      if (outcome.code != 0) return outcome.code;
      if (outcome.score == 0) {
        entries.items.erase(entries.items.begin() + static_cast<ptrdiff_t>(i));
      } else {
        ++i;
      }
    }
    return 0;
  }

  uint32_t compare_expressions(const Node& node, Entries& entries, Mode mode) {
    const Node* performed = nullptr;
    if (mode == Mode::kAdd) {
      performed = node.left->kind == kNumber ? node.right.get() : node.left.get();
      if (const uint32_t code = where(*performed, entries, Mode::kAdd)) return code;
      if (is_operand_comparison(*performed) && !performed->left->usable) return 0;
    }
    std::vector<int32_t> sides[2];
    for (const Node* side : {node.left.get(), node.right.get()}) {
      if (is_operand_comparison(*side) && side != performed) {
        const uint32_t code = score(*side, entries);
        if (failed(code)) return code;
      }
      auto& values = sides[side == node.right.get()];
      for (const Entry& entry : entries.items) {
        values.push_back(side->kind == kNumber ? to_i32(*side->text) : entry.score);
      }
    }
    std::vector<Entry> kept;
    for (size_t i = 0; i < entries.items.size(); ++i) {
      if (holds(node.kind, sides[0][i], sides[1][i])) kept.push_back(entries.items[i]);
    }
    entries.items = kept;
    return 0;
  }

  const Record* find_record(Attribute& attribute, uint32_t ident) {
    attribute.records.sort(compare_ident);
    for (const Record& record : attribute.records.items) {
      if (record.ident == ident) return &record;
    }
    return nullptr;
  }

  // Scores every entry by its ident's own record; the last entry decides the status.
  uint32_t score(const Node& node, Entries& entries) {
    uint32_t status = 0;
    for (Entry& entry : entries.items) {
      entry.score = 0;
      if (!node.left->usable) continue;
      const Record* record = find_record(*node.left->attribute, entry.record.ident);
      const Outcome outcome = record ? evaluate(node, *record) : Outcome{kNoMemberCode, 0};
      entry.score = outcome.score;
      status = outcome.code;
    }
    return status;
  }

  uint32_t order(const Node& node) {
    if (is_comparison(node)) return score(node, entries_);
    if (node.kind == kNumber) return kUnsupported;
    if (node.kind == kRand) return score_randomly(node);
    const std::vector<int32_t> left = side(*node.left);
    const std::vector<int32_t> right = side(*node.right);
    for (size_t i = 0; i < entries_.items.size(); ++i) {
      entries_.items[i].score = calculate(node.kind, left[i], right[i]);
    }
    return 0;
  }

  // Arithmetic does not ask how its sides ended.
  std::vector<int32_t> side(const Node& node) {
    if (node.kind != kNumber) (void)order(node);
    std::vector<int32_t> values;
    for (const Entry& entry : entries_.items) {
      values.push_back(node.kind == kNumber ? to_i32(*node.text) : entry.score);
    }
    return values;
  }

  uint32_t score_randomly(const Node& node) {
    const uint32_t modulus = to_u32(*node.left->text);
    uint32_t own = node.right->kind == kNumber ? to_u32(*node.right->text) : 0;
    uint32_t& state = own != 0 ? own : g_random;
    for (Entry& entry : entries_.items) {
      const uint32_t number = random(state);
      entry.score = wrap(modulus == 0 ? number : number % modulus);
    }
    return 0;
  }

  uint32_t limit(const Node& node) {
    entries_.sort(by_score);
    const uint32_t n = to_u32(*node.left->text);
    const bool cuts = n < entries_.items.size();
    if (node.right->kind == kResults) {
      if (cuts) entries_.items.resize(n);
      return 0;
    }
    if (!node.right->text || node.right->text->empty()) return 0x900d0001;
    Attribute* attribute = collection_.find(*node.right->text);
    if (attribute == nullptr) return kNoMemberCode;
    attribute->records.sort(compare_ident);
    if (n > 0 && cuts) cut_groups(*attribute, n);
    return 0;
  }

  void cut_groups(Attribute& attribute, uint32_t n) {
    for (Entry& entry : entries_.items) {
      const Record* record = find_record(attribute, entry.record.ident);
      entry.group = record == nullptr ? 0 : record->value;
    }
    entries_.sort(by_group);
    std::vector<Entry> kept;
    uint32_t members = 0;
    for (const Entry& entry : entries_.items) {
      members = !kept.empty() && kept.back().group == entry.group ? members + 1 : 1;
      if (members <= n) kept.push_back(entry);
    }
    entries_.items = kept;
  }

  Collection& collection_;
  Entries entries_;
};

}  // namespace

std::vector<std::string> generate(const std::string& text, Collection& collection,
                                  const trova_mock::ObjectData* seed) {
  Statement statement = parse(text, collection);
  if (statement.seed_used && seed == nullptr) throw Failure{0x90890600, std::nullopt};
  for (const Tree& tree : statement.trees) {
    const uint32_t code = tree->kind == kLimit ? 0 : set_up(*tree, seed);
    if (code != 0) throw Failure{code, std::nullopt};
  }
  Run run(collection);
  if (const uint32_t code = run.run(statement.trees)) throw Failure{code, std::nullopt};
  std::vector<std::string> idents;
  for (const Entry& entry : run.entries())
    idents.push_back(collection.idents.get(entry.record.ident));
  return idents;
}

}  // namespace model
