// playlist_pdl_actions: prepares parsed statements and performs them on a collection's entries.
#include <cstddef>

#include "playlist_error.h"
#include "playlist_pdl.h"
#include "playlist_results.h"
#include "playlist_walk.h"
#include "vrel_memory.h"
#include "vrel_random.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_pdl_actions";

// What WHERE-ALL gives every ident.
constexpr int32_t kWhereAllScore = 1000;

uint32_t log_error(uint32_t line, uint32_t code) {
  return vrel_log_error(line, kSource, code);
}

bool has_children(const PdlNode* node) {
  return node->left != nullptr && node->right != nullptr;
}

bool is_number(const PdlNode* node) {
  return node->kind == kPdlNumber;
}

// A comparison of an attribute with an operand, in either clause.
bool is_operand_comparison(const PdlNode* node) {
  return node->setup == _playlist_pdl_setup_ident_op_ident;
}

// Evaluation looks for its identifier on the left: one on the right is prepared, never matches.
bool is_usable(const PdlNode* comparison) {
  return comparison->left->usable != 0;
}

// Makes `child` the next node to perform, on behalf of its parent.
uint32_t enter_child(PdlNode* child, Results* results, uint32_t mode, PdlNode** enter) {
  if (child == nullptr || child->perform == nullptr) {
    return log_error(__LINE__, PLERR_Unsupported);
  }
  child->run = {results, mode, 0, nullptr, nullptr};
  *enter = child;
  return 0;
}

// Performs a tree. Every node is called until it enters no more children, then its parent is called
// with its code.
uint32_t perform_tree(PdlNode* root, Results* results) {
  PdlNode* node = nullptr;
  PL_TRY(enter_child(root, results, kPdlModeAdd, &node));
  uint32_t code = 0;
  for (;;) {
    PdlNode* child = nullptr;
    code = node->perform(node, code, &child);
    ++node->run.stage;
    if (child != nullptr) {
      node = child;
      code = 0;
    } else if (node == root) {
      return code;
    } else {
      node = node->parent;
    }
  }
}

// -------------------------------------------------------------------------------- Setting up

uint32_t set_value(const AttributeProvider* provider, PdlNode* identifier, const PdlNode* operand,
                   uint32_t op, trova_gdo* seed) {
  if (seed != nullptr && operand->kind == kPdlSeed) {
    return playlist_provider_set_value_from_seed(provider, identifier->context, op, seed);
  }
  return playlist_provider_set_value_from_string(provider, identifier->context, op, operand->text);
}

uint32_t setup_comparison(PdlNode* node, trova_gdo* seed) {
  if (!has_children(node)) return PLERR_Unsupported;
  const bool reversed = node->left->kind != kPdlIdentifier;
  PdlNode* const identifier = reversed ? node->right : node->left;
  const PdlNode* const operand = reversed ? node->left : node->right;
  if (identifier->attribute == nullptr) return PLERR_Unsupported;

  uint32_t op = 0;
  PL_TRY(_playlist_pdl_map_symbol_to_attr_op(node->kind, reversed, &op));
  const AttributeProvider* const provider = identifier->attribute->provider;
  PL_TRY(provider->create_context(&identifier->context));

  const uint32_t code = set_value(provider, identifier, operand, op, seed);
  // Nothing to compare with: the comparison is skipped instead of failing the statement.
  const bool no_value = vrel_error_low(code) == vrel_error_low(TROVA_PLAYLIST_NO_VALUE);
  identifier->usable = code == 0 ? 1 : 0;
  return no_value ? 0 : code;
}

// The operands of a comparison are leaves that their comparison has prepared already.
bool sets_up_children(const PdlNode* node) {
  return node->setup != nullptr && !is_operand_comparison(node);
}

uint32_t setup_tree(PdlNode* root, trova_gdo* seed) {
  PdlNode* node = root;
  while (node != nullptr) {
    if (node->setup != nullptr) PL_TRY(node->setup(node, seed));
    node = playlist_pdl_next_node(node, root, sets_up_children(node));
  }
  return 0;
}

// -------------------------------------------------------------------------------- Evaluation

// How well one captured value meets a prepared comparison. Warnings come back with their score.
uint32_t evaluate(const PdlNode* identifier, Collection* collection, const ValueEntry& record,
                  int32_t* out_score) {
  *out_score = 0;
  const AttributeProvider* const provider = identifier->attribute->provider;
  if (record.kind == kValueInteger) {
    return playlist_provider_evaluate_integer(provider, identifier->context, record.value,
                                              out_score);
  }
  const char* text = nullptr;
  PL_TRY(vrel_stringtable_get_value(collection->values, record.value, &text));
  return playlist_provider_evaluate_string(provider, identifier->context, text, out_score);
}

// Adds an entry for every value of the attribute that does not score 0.
uint32_t add_matches(PdlNode* node, Results* results) {
  const PdlNode* const identifier = node->left;
  Collection* const collection = results->collection;
  return playlist_for_each<ValueEntry>(
      identifier->attribute->values, [&](const ValueEntry& record) -> uint32_t {
        int32_t score = 0;
        const uint32_t code = evaluate(identifier, collection, record, &score);
        if (vrel_failed(code)) return code;
        return score == 0 ? 0 : _playlist_results_add_result(results, node, record, score);
      });
}

struct MatchFilter {
  const PdlNode* identifier;
  Collection* collection;
};

// An entry is judged by the record that admitted it, whichever attribute that is of.
uint32_t keep_match(void* element, void* context, uint8_t* out_keep) {
  const auto* const filter = static_cast<const MatchFilter*>(context);
  const ValueEntry& record = static_cast<const ResultEntry*>(element)->record;
  int32_t score = 0;
  const uint32_t code = evaluate(filter->identifier, filter->collection, record, &score);
  *out_keep = score != 0 ? 1 : 0;
  return vrel_failed(code) ? code : 0;
}

uint32_t filter_matches(PdlNode* node, Results* results) {
  if (!is_usable(node)) return vrel_vector2_clear(results->entries);
  MatchFilter filter = {node->left, results->collection};
  return vrel_vector2_retain(results->entries, keep_match, &filter);
}

void clear_scores(Results* results) {
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [](ResultEntry& entry) {
    entry.score = 0;
    return uint32_t{0};
  }));
}

// The record of an ident for an attribute, in a vector sorted by ident.
uint32_t find_record(vrel_vector2* values, uint32_t ident, const ValueEntry** out_record) {
  uint32_t index = 0;
  void* element = nullptr;
  PL_TRY(playlist_attrdata_find_ident(values, ident, &index));
  PL_TRY(vrel_vector2_getindex(values, index, &element));
  *out_record = static_cast<const ValueEntry*>(element);
  return 0;
}

// Gives every entry the score of its ident's record for the compared attribute, 0 where there is
// none. A failure leaves that entry at 0 and the next one is scored; the result is that of the last
// entry: its lookup's, or its evaluation's when that failed.
uint32_t score_entries(PdlNode* node, Results* results) {
  if (!is_usable(node)) {
    clear_scores(results);
    return 0;
  }
  const PdlNode* const identifier = node->left;
  vrel_vector2* const values = identifier->attribute->values;
  // Looking up is what sorts the values, so without entries they stay in the order of capture.
  if (playlist_results_count(results) == 0) return 0;
  PL_TRY(vrel_vector2_sort(values, playlist_attrdata_compare_ident, 0));
  uint32_t last = 0;
  PL_TRY(playlist_for_each<ResultEntry>(results->entries, [&](ResultEntry& entry) {
    entry.score = 0;
    const ValueEntry* record = nullptr;
    last = find_record(values, entry.record.ident, &record);
    if (last != 0) return uint32_t{0};
    int32_t score = 0;
    const uint32_t code = evaluate(identifier, results->collection, *record, &score);
    if (vrel_failed(code)) {
      last = code;
    } else {
      entry.score = score;
    }
    return uint32_t{0};
  }));
  return last;
}

// -------------------------------------------------------------------------------- Two sides
// Comparisons of expressions and arithmetic work on two sides, each a number or the entries'
// scores. The right side's scores stand in the entries; the left side's are copied before the right
// side is performed.

struct Sides {
  const PdlNode* node;
  const int32_t* values;  // of the left side; null: a number, or the scores that stand
  int32_t left_number;
  int32_t right_number;
  uint32_t index;  // of the entry that comes next
};

int32_t number_of(const PdlNode* node) {
  return is_number(node) ? vrel_string_atoi32(node->text) : 0;
}

Sides make_sides(const PdlNode* node, const int32_t* values) {
  return {node, values, number_of(node->left), number_of(node->right), 0};
}

// The values of both sides for the next entry.
void next_values(Sides* sides, const ResultEntry& entry, int32_t* out_left, int32_t* out_right) {
  int32_t left = entry.score;
  if (sides->values != nullptr) left = sides->values[sides->index];
  *out_left = is_number(sides->node->left) ? sides->left_number : left;
  *out_right = is_number(sides->node->right) ? sides->right_number : entry.score;
  ++sides->index;
}

uint32_t copy_scores(Results* results, int32_t** out_values) {
  const size_t count = playlist_results_count(results);
  if (count == 0) return 0;
  auto* const values = static_cast<int32_t*>(vrel_memory_calloc(count, sizeof(int32_t)));
  if (values == nullptr) return PLERR_NoMemory;
  int32_t* next = values;
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [&](const ResultEntry& entry) {
    *next++ = entry.score;
    return uint32_t{0};
  }));
  *out_values = values;
  return 0;
}

void free_values(PdlNode* node) {
  vrel_memory_free(node->run.values);
  node->run.values = nullptr;
}

// Signed arithmetic wraps around.
int32_t wrap(uint32_t value) {
  return static_cast<int32_t>(value);
}

int32_t calculate(uint32_t kind, int32_t left, int32_t right) {
  const auto a = static_cast<uint32_t>(left);
  const auto b = static_cast<uint32_t>(right);
  switch (kind) {
    case kPdlMultiply:
      return wrap(a * b);
    case kPdlPlus:
      return wrap(a + b);
    case kPdlMinus:
      return wrap(a - b);
    default:
      if (right == 0) return 0;
      return right == -1 ? wrap(0u - a) : left / right;
  }
}

bool holds(uint32_t kind, int32_t left, int32_t right) {
  switch (kind) {
    case kPdlEqual:
      return left == right;
    case kPdlNotEqual:
      return left != right;
    case kPdlLess:
      return left < right;
    case kPdlLessOrEqual:
      return left <= right;
    case kPdlGreater:
      return left > right;
    case kPdlGreaterOrEqual:
      return left >= right;
    default:
      return false;  // LIKE between two expressions keeps nothing
  }
}

uint32_t keep_if_holds(void* element, void* context, uint8_t* out_keep) {
  auto* const sides = static_cast<Sides*>(context);
  int32_t left = 0;
  int32_t right = 0;
  next_values(sides, *static_cast<const ResultEntry*>(element), &left, &right);
  *out_keep = holds(sides->node->kind, left, right) ? 1 : 0;
  return 0;
}

// Scores the entries for a side that is a comparison with an operand. A missing record is no reason
// to stop here.
uint32_t score_side(PdlNode* side, Results* results) {
  const uint32_t code = score_entries(side, results);
  return vrel_failed(code) ? code : 0;
}

// Filters by an expression comparison whose side `scored` has its scores in the entries already;
// null: neither side has. A side that is neither a number nor a comparison with an operand takes
// the scores as they stand.
uint32_t filter_by_sides(PdlNode* node, const PdlNode* scored) {
  Results* const results = node->run.results;
  if (node->left != scored && is_operand_comparison(node->left)) {
    PL_TRY(score_side(node->left, results));
  }
  if (node->right != scored && is_operand_comparison(node->right)) {
    if (!is_number(node->left)) PL_TRY(copy_scores(results, &node->run.values));
    PL_TRY(score_side(node->right, results));
  }
  Sides sides = make_sides(node, node->run.values);
  return vrel_vector2_retain(results->entries, keep_if_holds, &sides);
}

// ------------------------------------------------------------------------------------ LIMIT

// Highest score first, by a difference that may wrap around.
int32_t compare_score(const void* a, const void* b, uint32_t /*size*/) {
  const auto score_a = static_cast<uint32_t>(static_cast<const ResultEntry*>(a)->score);
  const auto score_b = static_cast<uint32_t>(static_cast<const ResultEntry*>(b)->score);
  return wrap(score_b - score_a);
}

// Highest group first.
int32_t compare_group(const void* a, const void* b, uint32_t /*size*/) {
  const uint32_t group_a = static_cast<const ResultEntry*>(a)->group.value;
  const uint32_t group_b = static_cast<const ResultEntry*>(b)->group.value;
  if (group_a == group_b) return 0;
  return group_a > group_b ? -1 : 1;
}

struct GroupFilter {
  uint32_t limit;
  uint32_t group;  // value of the group that is being counted
  uint32_t count;  // its entries so far; 0 before the first entry
};

uint32_t keep_within_group(void* element, void* context, uint8_t* out_keep) {
  auto* const filter = static_cast<GroupFilter*>(context);
  const uint32_t group = static_cast<const ResultEntry*>(element)->group.value;
  if (filter->count == 0 || group != filter->group) {
    filter->group = group;
    filter->count = 0;
  }
  *out_keep = filter->count < filter->limit ? 1 : 0;
  ++filter->count;
  return 0;
}

// An ident without a record for the attribute belongs to group 0.
void set_groups(Results* results, vrel_vector2* values) {
  static_cast<void>(playlist_for_each<ResultEntry>(results->entries, [&](ResultEntry& entry) {
    const ValueEntry* record = nullptr;
    entry.group = {};
    if (find_record(values, entry.record.ident, &record) == 0) entry.group = *record;
    return uint32_t{0};
  }));
}

// Which members of a group stay follows the sort by group, not the score.
uint32_t limit_per(const PdlNode* node, Results* results, uint32_t limit, uint32_t count) {
  AttributeInfo* info = nullptr;
  PL_TRY(playlist_collection_get_attrinfo(results->collection, node->right->text, &info));
  PL_TRY(vrel_vector2_sort(info->values, playlist_attrdata_compare_ident, 0));
  if (limit == 0 || limit >= count) return 0;

  set_groups(results, info->values);
  PL_TRY(vrel_vector2_sort(results->entries, compare_group, 0));
  GroupFilter filter = {limit, 0, 0};
  return vrel_vector2_retain(results->entries, keep_within_group, &filter);
}

uint32_t limit_entries(const PdlNode* node, Results* results) {
  if (!has_children(node) || !is_number(node->left)) return PLERR_Unsupported;
  PL_TRY(vrel_vector2_sort(results->entries, compare_score, 0));
  const uint32_t limit = vrel_string_atou32(node->left->text);
  const uint32_t count = playlist_results_count(results);
  if (node->right->kind != kPdlResults) return limit_per(node, results, limit, count);
  if (limit >= count) return 0;
  return vrel_vector2_deleterange(results->entries, limit, count - 1);
}

// --------------------------------------------------------------------------------- Actions

// By kind; of two LIMIT actions the one of RESULTS comes after. The answer for two of one sort
// contradicts itself ("before" both ways round), so where several PER actions end up is decided by
// the sort procedure: after a WHERE alone RESULTS, PER 1, PER 2 runs as PER 2, PER 1, RESULTS, with
// an ORDER between them as PER 1, PER 2, RESULTS.
int32_t compare_actions(uintptr_t a, uintptr_t b) {
  const auto* const action_a = reinterpret_cast<const PdlNode*>(a);
  const auto* const action_b = reinterpret_cast<const PdlNode*>(b);
  if (action_a->kind != action_b->kind) return action_a->kind < action_b->kind ? -1 : 1;
  if (action_a->kind != kPdlLimit) return 0;
  return action_a->right->kind == kPdlResults ? 1 : -1;
}

template <typename Visit>
uint32_t for_each_action(vrel_vector* actions, Visit visit) {
  uint32_t count = 0;
  PL_TRY(vrel_vector_count(actions, &count));
  for (uint32_t i = 0; i < count; ++i) {
    uintptr_t value = 0;
    PL_TRY(vrel_vector_getindex(actions, i, &value));
    PL_TRY(visit(reinterpret_cast<PdlNode*>(value)));
  }
  return 0;
}

// ---------------------------------------------------------------------- Steps of AND and OR

void delete_selected(PdlNode* node) {
  _playlist_results_delete(node->run.selected);
  node->run.selected = nullptr;
}

// What the children selected is added whatever became of them: neither child's outcome is told.
uint32_t merge_selected(PdlNode* node) {
  Results* const results = node->run.results;
  const uint32_t code = _playlist_results_merge(results, node->run.selected);
  delete_selected(node);
  return code == 0 ? _playlist_results_unique(results) : code;
}

// AND that adds: the left child selects into entries of their own, the right child filters those.
uint32_t perform_and_adding(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  PdlRun& run = node->run;
  if (run.stage == 0) {
    PL_TRY(_playlist_results_create(run.results->collection, &run.selected));
    if (enter_child(node->left, run.selected, kPdlModeAdd, enter) == 0) return 0;
    return merge_selected(node);
  }
  if (run.stage == 1 && child_code == 0 &&
      enter_child(node->right, run.selected, kPdlModeFilter, enter) == 0) {
    return 0;
  }
  return merge_selected(node);
}

// Both children work on the entries at hand, in the given mode, one after the other.
uint32_t perform_both(PdlNode* node, uint32_t mode, uint32_t child_code, PdlNode** enter) {
  PL_TRY(child_code);
  switch (node->run.stage) {
    case 0:
      return enter_child(node->left, node->run.results, mode, enter);
    case 1:
      return enter_child(node->right, node->run.results, mode, enter);
    default:
      return _playlist_results_unique(node->run.results);
  }
}

uint32_t perform_where_op_where(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (!has_children(node)) return PLERR_Unsupported;
  // OR adds whatever it is asked for, in a filtering context too.
  if (node->kind == kPdlOr) return perform_both(node, kPdlModeAdd, child_code, enter);
  if (node->kind != kPdlAnd) return PLERR_Unsupported;
  if (node->run.mode == kPdlModeAdd) return perform_and_adding(node, child_code, enter);
  return perform_both(node, kPdlModeFilter, child_code, enter);
}

uint32_t perform_expr_op_expr(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (!has_children(node)) return PLERR_Unsupported;
  if (is_number(node->left) && is_number(node->right)) return PLERR_Unsupported;
  PdlRun& run = node->run;
  if (run.mode == kPdlModeFilter) return filter_by_sides(node, nullptr);

  // In add mode the side that is no number first adds its matches, with their scores.
  PdlNode* const performed = is_number(node->left) ? node->right : node->left;
  if (run.stage == 0) return enter_child(performed, run.results, kPdlModeAdd, enter);
  PL_TRY(child_code);
  if (is_operand_comparison(performed) && !is_usable(performed)) return 0;
  return filter_by_sides(node, performed);
}

// ------------------------------------------------------------------------ Steps of ORDER

void calculate_scores(PdlNode* node) {
  Sides sides = make_sides(node, node->run.values);
  static_cast<void>(
      playlist_for_each<ResultEntry>(node->run.results->entries, [&](ResultEntry& entry) {
        int32_t left = 0;
        int32_t right = 0;
        next_values(&sides, entry, &left, &right);
        entry.score = calculate(node->kind, left, right);
        return uint32_t{0};
      }));
}

// What the children answer is not looked at: an ident that lacks an attribute scores 0 for it and
// keeps the other terms.
uint32_t perform_arithmetic(PdlNode* node, PdlNode** enter) {
  if (!has_children(node)) return PLERR_Unsupported;
  PdlRun& run = node->run;
  if (run.stage == 0 && !is_number(node->left) &&
      enter_child(node->left, run.results, run.mode, enter) == 0) {
    return 0;
  }
  if (run.stage <= 1 && !is_number(node->right)) {
    if (!is_number(node->left)) PL_TRY(copy_scores(run.results, &run.values));
    run.stage = 1;
    if (enter_child(node->right, run.results, run.mode, enter) == 0) return 0;
  }
  calculate_scores(node);
  return 0;
}

uint32_t draw_scores(const PdlNode* node, Results* results) {
  const uint32_t modulus = vrel_string_atou32(node->left->text);
  // Without a seed, or with 0, the numbers come from the state that all draws share.
  uint32_t own_state = vrel_string_atou32(node->right->text);
  uint32_t* const state = own_state != 0 ? &own_state : nullptr;
  return playlist_for_each<ResultEntry>(results->entries, [&](ResultEntry& entry) {
    const uint32_t number = vrel_random_rand(state);
    entry.score = wrap(modulus == 0 ? number : number % modulus);
    return uint32_t{0};
  });
}

}  // namespace

uint32_t _playlist_pdl_setup_actions(vrel_vector* actions, trova_gdo* seed) {
  return for_each_action(actions, [&](PdlNode* action) { return setup_tree(action, seed); });
}

uint32_t _playlist_pdl_setup_children(PdlNode* node, trova_gdo* /*seed*/) {
  return has_children(node) ? 0 : PLERR_Unsupported;
}

uint32_t _playlist_pdl_setup_expr_op_expr(PdlNode* node, trova_gdo* /*seed*/) {
  return has_children(node) ? 0 : PLERR_Unsupported;
}

uint32_t _playlist_pdl_setup_ident_op_ident(PdlNode* node, trova_gdo* seed) {
  return setup_comparison(node, seed);
}

uint32_t _playlist_pdl_perform_actions(vrel_vector* actions, Results* results) {
  PL_TRY(vrel_vector_sort(actions, compare_actions, 0));
  PL_TRY(for_each_action(actions, [&](PdlNode* action) { return perform_tree(action, results); }));
  return log_error(__LINE__, vrel_vector2_sort(results->entries, compare_score, 0));
}

uint32_t _playlist_pdl_perform_where(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (node->run.stage != 0) return child_code;
  return enter_child(node->right, node->run.results, node->run.mode, enter);
}

uint32_t _playlist_pdl_perform_order(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (node->run.stage != 0) return child_code;
  return enter_child(node->right, node->run.results, node->run.mode, enter);
}

uint32_t _playlist_pdl_perform_whereall(PdlNode* node, uint32_t /*child_code*/,
                                        PdlNode** /*enter*/) {
  Results* const results = node->run.results;
  vrel_stringtable* const idents = results->collection->idents;
  uint32_t count = 0;
  PL_TRY(vrel_stringtable_count(idents, &count));
  for (uint32_t i = 0; i < count; ++i) {
    ValueEntry record = {};
    if (vrel_stringtable_enum(idents, i, &record.ident, nullptr) != 0) continue;
    const uint32_t code = _playlist_results_add_result(results, node, record, kWhereAllScore);
    if (code != 0) return log_error(__LINE__, code);
  }
  return 0;
}

uint32_t _playlist_pdl_perform_where_op_where(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  return log_error(__LINE__, perform_where_op_where(node, child_code, enter));
}

uint32_t _playlist_pdl_perform_where_id_op_id(PdlNode* node, uint32_t /*child_code*/,
                                              PdlNode** /*enter*/) {
  Results* const results = node->run.results;
  uint32_t code = 0;
  if (node->run.mode == kPdlModeFilter) {
    code = filter_matches(node, results);
  } else if (is_usable(node)) {
    code = add_matches(node, results);
  }
  return log_error(__LINE__, code);
}

uint32_t _playlist_pdl_perform_where_expr_op_expr(PdlNode* node, uint32_t child_code,
                                                  PdlNode** enter) {
  const uint32_t code = perform_expr_op_expr(node, child_code, enter);
  if (*enter == nullptr) free_values(node);
  return log_error(__LINE__, code);
}

uint32_t _playlist_pdl_perform_order_op_order(PdlNode* node, uint32_t /*child_code*/,
                                              PdlNode** enter) {
  const uint32_t code = perform_arithmetic(node, enter);
  if (*enter == nullptr) free_values(node);
  return log_error(__LINE__, code);
}

uint32_t _playlist_pdl_perform_score_id_op_id(PdlNode* node, uint32_t /*child_code*/,
                                              PdlNode** /*enter*/) {
  return log_error(__LINE__, score_entries(node, node->run.results));
}

uint32_t _playlist_pdl_perform_score_rand(PdlNode* node, uint32_t /*child_code*/,
                                          PdlNode** /*enter*/) {
  if (!has_children(node)) return log_error(__LINE__, PLERR_Unsupported);
  return log_error(__LINE__, draw_scores(node, node->run.results));
}

uint32_t _playlist_pdl_perform_limit(PdlNode* node, uint32_t /*child_code*/, PdlNode** /*enter*/) {
  return log_error(__LINE__, limit_entries(node, node->run.results));
}
