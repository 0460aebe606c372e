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

// LIMITs come last, and of these RESULTS. For two LIMITs of one kind the comparison contradicts
// itself.
int32_t by_action(const Tree& a, const Tree& b) {
  if (a->kind != b->kind) return a->kind < b->kind ? -1 : 1;
  return a->kind == kLimit && a->right->kind == kResults ? 1 : -1;
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
  if (const uint32_t code = identifier.context->create()) return code;
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

  Playlist run(std::vector<Tree>& trees) {
    quicksort(trees, 0, trees.size(), by_action);
    for (const Tree& tree : trees) {
      const uint32_t code = perform(*tree, entries_);
      if (certainty_ == Playlist::kNothing) return {certainty_};
      if (code != 0) throw Failure{code, std::nullopt};
    }
    sort(entries_, by_score);
    Playlist playlist{certainty_};
    for (const Entry& entry : entries_.items) {
      playlist.ids.push_back(entry.record.ident);
      playlist.scores.push_back(entry.score);
    }
    return playlist;
  }

 private:
  using Entries = Array<Entry>;

  // The order of ties among many entries is open, and so is every result that depends on it.
  void doubt(Playlist::Certainty certainty) { certainty_ = std::max(certainty_, certainty); }

  // The entries after a failure depend on the order of evaluation.
  uint32_t ended(uint32_t code) {
    if (certainty_ != Playlist::kEverything) doubt(Playlist::kNothing);
    return code;
  }

  void sort(Entries& entries, Entries::Compare compare) {
    entries.sort(compare);
    if (entries.has_loose_ties) doubt(Playlist::kScores);
    entries.has_loose_ties = false;
  }

  // Keeps the first entry of each ident.
  void remove_duplicates(Entries& entries) {
    if (entries.items.size() < 2) return;
    sort(entries, by_ident);
    const auto are_equal = [](const Entry& a, const Entry& b) { return by_ident(a, b) == 0; };
    const auto end = std::unique(entries.items.begin(), entries.items.end(), are_equal);
    if (end != entries.items.end() && certainty_ != Playlist::kEverything) doubt(Playlist::kIdents);
    entries.items.erase(end, entries.items.end());
  }

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

  // An OR adds in both modes.
  uint32_t where_or(const Node& node, Entries& entries) {
    if (const uint32_t code = where(*node.left, entries, Mode::kAdd)) return code;
    if (const uint32_t code = where(*node.right, entries, Mode::kAdd)) return code;
    remove_duplicates(entries);
    return 0;
  }

  // An AND that adds keeps the entries of its sides even if they fail.
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
    const Context& context = *comparison.left->context;
    if (record.is_text && record.value > collection_.values.buffer().size()) return {0x900d0363, 0};
    const Outcome outcome = record.is_text ? context.score(collection_.values.get(record.value))
                                           : context.score(record.value);
    return failed(outcome.code) ? Outcome{outcome.code, 0} : Outcome{0, outcome.score};
  }

  uint32_t add_matches(const Node& node, Entries& entries) {
    if (!node.left->usable) return 0;
    const Array<Record>& records = node.left->attribute->records;
    if (records.has_loose_ties) doubt(Playlist::kScores);
    const size_t count = records.items.size();
    for (size_t i = 0; i < count && i < records.items.size(); ++i) {
      const Record record = records.items[i];  // the provider may remove it
      const Outcome outcome = evaluate(node, record);
      if (outcome.code != 0) return ended(outcome.code);
      if (outcome.score != 0) entries.add({outcome.score, record, 0});
    }
    return 0;
  }

  // Evaluates the record that added an entry, whichever attribute it belongs to.
  uint32_t filter(const Node& node, Entries& entries) {
    if (certainty_ >= Playlist::kIdents) doubt(Playlist::kNothing);
    if (!node.left->usable) entries.items.clear();
    for (size_t i = 0; i < entries.items.size();) {
      const Outcome outcome = evaluate(node, entries.items[i].record);
      if (outcome.code != 0) return ended(outcome.code);
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
    if (certainty_ >= Playlist::kIdents) doubt(Playlist::kNothing);
    std::vector<Entry> kept;
    for (size_t i = 0; i < entries.items.size(); ++i) {
      if (holds(node.kind, sides[0][i], sides[1][i])) kept.push_back(entries.items[i]);
    }
    entries.items = kept;
    return 0;
  }

  // The index of the first record of an ident, or the count of records.
  static size_t find_records(Attribute& attribute, uint32_t ident) {
    attribute.records.sort(compare_ident);
    const auto& records = attribute.records.items;
    const auto is_of_ident = [&](const Record& record) { return record.ident == ident; };
    return static_cast<size_t>(std::find_if(records.begin(), records.end(), is_of_ident) -
                               records.begin());
  }

  // The highest score of an ident's records that is not 0, and the first failure. If a provider
  // moves records meanwhile, those of the ident at the same indexes are evaluated.
  Outcome best_score(const Node& node, uint32_t ident) {
    const auto& records = node.left->attribute->records.items;
    const size_t first = find_records(*node.left->attribute, ident);
    size_t end = first;
    while (end < records.size() && records[end].ident == ident) ++end;
    Outcome best = {end == first ? kNoMemberCode : 0, 0};
    for (size_t i = first; i < end && i < records.size(); ++i) {
      if (records[i].ident != ident) continue;
      const Outcome one = evaluate(node, Record(records[i]));
      if (best.code == 0) best.code = one.code;
      if (one.score != 0)
        best.score = best.score == 0 ? one.score : std::max(best.score, one.score);
    }
    return best;
  }

  // Scores every entry by the records of its ident; the last entry decides the status.
  uint32_t score(const Node& node, Entries& entries) {
    uint32_t status = 0;
    bool has_failed = false;
    for (Entry& entry : entries.items) {
      entry.score = 0;
      if (!node.left->usable) continue;
      const Outcome outcome = best_score(node, entry.record.ident);
      entry.score = outcome.score;
      status = outcome.code;
      has_failed |= status != 0;
    }
    if (has_failed && certainty_ != Playlist::kEverything) doubt(Playlist::kNothing);
    return status;
  }

  uint32_t order(const Node& node) {
    if (is_comparison(node)) {
      if (certainty_ == Playlist::kIdents) certainty_ = Playlist::kScores;
      return score(node, entries_);
    }
    if (node.kind == kNumber) return kUnsupported;
    if (node.kind == kRand) return score_randomly(node);
    const std::vector<int32_t> left = side(*node.left);
    const std::vector<int32_t> right = side(*node.right);
    for (size_t i = 0; i < entries_.items.size(); ++i) {
      entries_.items[i].score = calculate(node.kind, left[i], right[i]);
    }
    return 0;
  }

  // Arithmetic ignores the codes of its sides.
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
    if (certainty_ != Playlist::kEverything) doubt(Playlist::kNothing);
    for (Entry& entry : entries_.items) {
      const uint32_t number = random(state);
      entry.score = wrap(modulus == 0 ? number : number % modulus);
    }
    return 0;
  }

  uint32_t limit(const Node& node) {
    sort(entries_, by_score);
    const auto& items = entries_.items;
    const uint32_t n = to_u32(*node.left->text);
    const bool cuts = n < items.size();
    if (node.right->kind == kResults) {
      const bool cuts_equals = cuts && n > 0 && items[n - 1].score == items[n].score;
      if (cuts_equals && certainty_ != Playlist::kEverything) doubt(Playlist::kNothing);
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

  // The first integer of an ident, else its first text.
  static uint32_t group_of(Attribute& attribute, uint32_t ident) {
    const auto& records = attribute.records.items;
    const size_t first = find_records(attribute, ident);
    for (size_t i = first; i < records.size() && records[i].ident == ident; ++i) {
      if (!records[i].is_text) return records[i].value;
    }
    return first == records.size() ? 0 : records[first].value;
  }

  void cut_groups(Attribute& attribute, uint32_t n) {
    for (Entry& entry : entries_.items) entry.group = group_of(attribute, entry.record.ident);
    sort(entries_, by_group);
    if (certainty_ != Playlist::kEverything || attribute.records.has_loose_ties) {
      doubt(Playlist::kNothing);
    }
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
  Playlist::Certainty certainty_ = Playlist::kEverything;
};

}  // namespace

uint32_t g_random = 0x12345678;

const char kMoreLikeThis[] =
    "generate playlist where (qx_mood like seed) >= -160 or (qx_genre like seed) >= 600 order "
    "((90 * qx_mood like seed) + (6 * qx_genre like seed) + (2 * qx_origin like seed) + "
    "(1 * qx_era like seed) + (1 * qx_artisttype like seed)) / 100 + RAND(100);";

bool Playlist::allows(const std::vector<std::string>& found) const {
  if (certainty == kNothing) return true;
  if (certainty == kEverything || found.size() != idents.size()) return found == idents;
  auto a = idents;
  auto b = found;
  for (size_t first = 0, last = 0; first < a.size(); first = last) {
    while (last < a.size() && (certainty == kIdents || scores[last] == scores[first])) ++last;
    for (auto* side : {&a, &b}) {
      std::sort(side->begin() + static_cast<ptrdiff_t>(first),
                side->begin() + static_cast<ptrdiff_t>(last));
    }
  }
  return a == b;
}

static Playlist run(const std::string& text, Collection& collection,
                    const trova_mock::ObjectData* seed) {
  Statement statement = parse(text, collection);
  if (statement.seed_used && seed == nullptr) throw Failure{0x90890600, std::nullopt};
  for (const Tree& tree : statement.trees) {
    const uint32_t code = tree->kind == kLimit ? 0 : set_up(*tree, seed);
    if (code != 0) throw Failure{code, std::nullopt};
  }
  return Run(collection).run(statement.trees);
}

Playlist generate(const std::string& text, Collection& collection,
                  const trova_mock::ObjectData* seed) {
  Playlist playlist = run(text, collection, seed);
  for (const uint32_t id : playlist.ids) {
    const bool leads_on = id <= collection.idents.buffer().size();
    playlist.idents.push_back(leads_on ? collection.idents.get(id) : "0x90890363");
  }
  return playlist;
}

}  // namespace model
