// playlist_pdl_actions: prepares parsed statements and performs them on a collection's entries.
#include <cstddef>
#include <cstring>

#include "playlist_error.h"
#include "playlist_pdl.h"
#include "playlist_pdl_evaluate.h"
#include "playlist_results.h"
#include "vrel_memory.h"
#include "vrel_random.h"
#include "vrel_string.h"
#include "vrel_tuning.h"

namespace {

const char kSource[] = "playlist_pdl_actions";

// What WHERE-ALL gives every ident.
constexpr int32_t kWhereAllScore = 1000;
constexpr uint32_t kIdBatch = kPlaylistIdentBatch;

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

// Makes `child` the next node to perform, on behalf of its parent.
uint32_t enter_child(PdlNode* child, Results* results, uint32_t mode, PdlScores* scores,
                     PdlNode** enter) {
  if (child == nullptr || child->perform == nullptr) {
    return log_error(__LINE__, PLERR_Unsupported);
  }
  child->run = {results, mode, 0, nullptr, nullptr, scores};
  *enter = child;
  return 0;
}

uint32_t enter_child(PdlNode* child, Results* results, uint32_t mode, PdlNode** enter) {
  return enter_child(child, results, mode, nullptr, enter);
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

// -------------------------------------------------------------------------------- Two sides
// Comparisons of expressions and arithmetic work on two sides, each a number or the entries'
// scores. The left side's scores are copied before the right side is performed.

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

// The values of both sides for the next entry, whose score is the one that stands.
void next_values(Sides* sides, int32_t score, int32_t* out_left, int32_t* out_right) {
  const int32_t left = sides->values != nullptr ? sides->values[sides->index] : score;
  *out_left = is_number(sides->node->left) ? sides->left_number : left;
  *out_right = is_number(sides->node->right) ? sides->right_number : score;
  ++sides->index;
}

uint32_t copy_scores(PdlScores* scores, int32_t** out_values) {
  if (scores->count == 0) return 0;
  auto* const values = static_cast<int32_t*>(vrel_memory_calloc(scores->count, sizeof(int32_t)));
  if (values == nullptr) return scores->failure = PLERR_NoMemory;
  memcpy(values, scores->scores, scores->count * sizeof *values);
  *out_values = values;
  return 0;
}

void free_values(PdlNode* node) {
  vrel_memory_free(node->run.values);
  node->run.values = nullptr;
}

int32_t wrap(uint32_t value) {
  return static_cast<int32_t>(value);
}

uint32_t keep_if_holds(void* element, void* context, uint8_t* out_keep) {
  auto* const sides = static_cast<Sides*>(context);
  int32_t left = 0;
  int32_t right = 0;
  next_values(sides, static_cast<const ResultEntry*>(element)->score, &left, &right);
  *out_keep = playlist_pdl_holds(sides->node->kind, left, right) ? 1 : 0;
  return 0;
}

// A missing record is no reason to stop here.
uint32_t score_side(const PdlNode* side, PdlScores* scores) {
  const uint32_t code = playlist_pdl_score(side, scores);
  return vrel_failed(code) ? code : 0;
}

// Scores the given sides, null for none, the left one's values aside.
uint32_t score_sides(PdlNode* node, const PdlNode* left, const PdlNode* right, PdlScores* scores) {
  if (left != nullptr) PL_TRY(score_side(left, scores));
  if (right == nullptr) return 0;
  if (!is_number(node->left)) PL_TRY(copy_scores(scores, &node->run.values));
  return score_side(right, scores);
}

// Filters by an expression comparison whose side `scored` has its scores in the entries already;
// null: neither side has. A side that is neither a number nor a comparison with an operand takes
// the scores as they stand.
uint32_t filter_by_sides(PdlNode* node, const PdlNode* scored) {
  Results* const results = node->run.results;
  const auto to_score = [=](const PdlNode* side) {
    return side != scored && is_operand_comparison(side) ? side : nullptr;
  };
  const PdlNode* const left = to_score(node->left);
  const PdlNode* const right = to_score(node->right);
  if (left != nullptr || right != nullptr) {
    PdlScores* scores = nullptr;
    PL_TRY(playlist_pdl_scores_create(results, &scores));
    const uint32_t code = score_sides(node, left, right, scores);
    playlist_pdl_scores_store(scores);
    playlist_pdl_scores_delete(scores);
    PL_TRY(code);
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

constexpr vrel_vector2_key kByScore = {offsetof(ResultEntry, score), INT32_MAX, false, false};

// Highest group first.
int32_t compare_group(const void* a, const void* b, uint32_t /*size*/) {
  const uint32_t group_a = static_cast<const ResultEntry*>(a)->group;
  const uint32_t group_b = static_cast<const ResultEntry*>(b)->group;
  if (group_a == group_b) return 0;
  return group_a > group_b ? -1 : 1;
}

constexpr vrel_vector2_key kByGroup = {offsetof(ResultEntry, group), UINT32_MAX, false, false};

struct GroupFilter {
  uint32_t limit;
  uint32_t group;  // value of the group that is being counted
  uint32_t count;  // its entries so far; 0 before the first entry
};

uint32_t keep_within_group(void* element, void* context, uint8_t* out_keep) {
  auto* const filter = static_cast<GroupFilter*>(context);
  const uint32_t group = static_cast<const ResultEntry*>(element)->group;
  if (filter->count == 0 || group != filter->group) {
    filter->group = group;
    filter->count = 0;
  }
  *out_keep = filter->count < filter->limit ? 1 : 0;
  ++filter->count;
  return 0;
}

// Which members of a group stay follows the sort by group, not the score.
uint32_t limit_per(const PdlNode* node, Results* results, uint32_t limit, uint32_t count) {
  AttributeInfo* info = nullptr;
  PL_TRY(playlist_collection_get_attrinfo(results->collection, node->right->text, &info));
  PL_TRY(playlist_attrinfo_sort(info));
  if (limit == 0 || limit >= count) return 0;

  playlist_pdl_set_groups(results, info);
  PL_TRY(vrel_vector2_sort_by_key(results->entries, compare_group, &kByGroup));
  GroupFilter filter = {limit, 0, 0};
  return vrel_vector2_retain(results->entries, keep_within_group, &filter);
}

uint32_t limit_entries(const PdlNode* node, Results* results) {
  if (!has_children(node) || !is_number(node->left)) return PLERR_Unsupported;
  const uint32_t limit = vrel_string_atou32(node->left->text);
  if (node->right->kind == kPdlResults) {
    return vrel_vector2_sort_first(results->entries, compare_score, &kByScore, limit);
  }
  PL_TRY(vrel_vector2_sort_by_key(results->entries, compare_score, &kByScore));
  return limit_per(node, results, limit, playlist_results_count(results));
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

// --------------------------------------------------------------------------------- WHERE-ALL

uint32_t add_idents(Results* results, const uint32_t* ids, uint32_t count) {
  ResultEntry entries[kIdBatch];
  for (uint32_t i = 0; i < count; ++i) entries[i] = {kWhereAllScore, {0, 0, ids[i]}, 0};
  return _playlist_results_append(results, entries, count);
}

uint32_t add_all_idents(Results* results) {
  const vrel_stringtable* const idents = results->collection->idents;
  uint32_t count = 0;
  PL_TRY(vrel_stringtable_count(idents, &count));
  PL_TRY(_playlist_results_reserve(results, count));
  for (uint32_t first = 0; first < count; first += kIdBatch) {
    uint32_t ids[kIdBatch];
    const uint32_t batch = count - first < kIdBatch ? count - first : kIdBatch;
    PL_TRY(vrel_stringtable_copy_ids(idents, first, batch, ids));
    PL_TRY(add_idents(results, ids, batch));
  }
  return 0;
}

// ---------------------------------------------------------------------- Steps of AND and OR

void delete_selected(PdlNode* node) {
  _playlist_results_delete(node->run.selected);
  node->run.selected = nullptr;
}

// Whether nothing is selected or filtered behind the node: all above it in WHERE are ORs whose
// right side it is, or the end of.
bool is_last_of_where(const PdlNode* node) {
  for (; node->parent != nullptr && node->parent->kind != kPdlWhere; node = node->parent) {
    if (node->parent->kind != kPdlOr || node->parent->right != node) return false;
  }
  return true;
}

// Of a chain of ORs only the innermost has something to do, and only it looks up the chain.
uint32_t make_unique(const PdlNode* node) {
  Results* const results = node->run.results;
  if (results->distinct || playlist_results_count(results) < 2) return 0;
  return _playlist_results_unique(results, is_last_of_where(node));
}

// What the children selected is added whatever became of them: neither child's outcome is told.
uint32_t merge_selected(PdlNode* node) {
  Results* const results = node->run.results;
  const uint32_t code = _playlist_results_merge(results, node->run.selected);
  delete_selected(node);
  return code == 0 ? _playlist_results_unique(results, false) : code;
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
      return make_unique(node);
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

// An operand comparison tells of its failures in one place, whether it is performed by itself or in
// one step with what compares its scores.
uint32_t log_operand_failure(uint32_t code) {
  return log_error(__LINE__, code);
}

// Compares with a number in one step what a comparison with an operand would add. False where that
// cannot be done.
bool add_what_holds(const PdlNode* node, PdlNode* performed, uint32_t* out_code) {
  const bool number_left = is_number(node->left);
  const PdlNode* const other = number_left ? node->left : node->right;
  if (!is_number(other) || !is_operand_comparison(performed)) return false;
  if (!playlist_pdl_is_usable(performed)) return false;
  const PdlTest test = {node->kind, number_of(other), number_left};
  if (!playlist_pdl_add_passing(performed, node->run.results, test, out_code)) return false;
  *out_code = log_operand_failure(*out_code);
  return true;
}

uint32_t perform_expr_op_expr(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (!has_children(node)) return PLERR_Unsupported;
  if (is_number(node->left) && is_number(node->right)) return PLERR_Unsupported;
  PdlRun& run = node->run;
  if (run.mode == kPdlModeFilter) return filter_by_sides(node, nullptr);

  // In add mode the side that is no number first adds its matches, with their scores.
  PdlNode* const performed = is_number(node->left) ? node->right : node->left;
  if (run.stage == 0) {
    uint32_t code = 0;
    if (add_what_holds(node, performed, &code)) return code;
    return enter_child(performed, run.results, kPdlModeAdd, enter);
  }
  PL_TRY(child_code);
  if (is_operand_comparison(performed) && !playlist_pdl_is_usable(performed)) return 0;
  return filter_by_sides(node, performed);
}

// ------------------------------------------------------------------------ Steps of ORDER

// One side of the arithmetic for all entries: a number, or an array of values.
struct Operand {
  const int32_t* values;
  uint32_t step;  // 0: the first value stands for all
};

Operand operand_of(const PdlNode* side, const int32_t* values, const int32_t* number) {
  return is_number(side) ? Operand{number, 0} : Operand{values, 1};
}

template <typename Calculate>
void calculate_all(Operand left, Operand right, PdlScores* scores, Calculate calculate) {
  int32_t* const results = scores->scores;
  for (uint32_t i = 0; i < scores->count; ++i) {
    results[i] = calculate(left.values[i * left.step], right.values[i * right.step]);
  }
}

// Signed arithmetic wraps around.
void calculate_scores(PdlNode* node) {
  PdlScores* const scores = node->run.scores;
  const int32_t numbers[] = {number_of(node->left), number_of(node->right)};
  const int32_t* const values = node->run.values != nullptr ? node->run.values : scores->scores;
  const Operand left = operand_of(node->left, values, &numbers[0]);
  const Operand right = operand_of(node->right, scores->scores, &numbers[1]);
  switch (node->kind) {
    case kPdlMultiply:
      return calculate_all(left, right, scores, [](int32_t a, int32_t b) {
        return wrap(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
      });
    case kPdlPlus:
      return calculate_all(left, right, scores, [](int32_t a, int32_t b) {
        return wrap(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
      });
    case kPdlMinus:
      return calculate_all(left, right, scores, [](int32_t a, int32_t b) {
        return wrap(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
      });
    default:
      return calculate_all(left, right, scores, [](int32_t a, int32_t b) {
        if (b == 0) return 0;
        return b == -1 ? wrap(0u - static_cast<uint32_t>(a)) : a / b;
      });
  }
}

// What the children answer is not looked at: an ident that lacks an attribute scores 0 for it and
// keeps the other terms.
uint32_t perform_arithmetic(PdlNode* node, PdlNode** enter) {
  if (!has_children(node)) return PLERR_Unsupported;
  PdlRun& run = node->run;
  if (run.stage == 0 && !is_number(node->left) &&
      enter_child(node->left, run.results, run.mode, run.scores, enter) == 0) {
    return 0;
  }
  if (run.stage <= 1 && !is_number(node->right)) {
    if (!is_number(node->left)) PL_TRY(copy_scores(run.scores, &run.values));
    run.stage = 1;
    if (enter_child(node->right, run.results, run.mode, run.scores, enter) == 0) return 0;
  }
  calculate_scores(node);
  return 0;
}

void draw_scores(const PdlNode* node, PdlScores* scores) {
  const uint32_t modulus = vrel_string_atou32(node->left->text);
  // Without a seed, or with 0, the numbers come from the state that all draws share.
  uint32_t own_state = vrel_string_atou32(node->right->text);
  uint32_t* const state = own_state != 0 ? &own_state : nullptr;
  for (uint32_t i = 0; i < scores->count; ++i) {
    const uint32_t number = vrel_random_rand(state);
    scores->scores[i] = wrap(modulus == 0 ? number : number % modulus);
  }
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
  PL_TRY(for_each_action(actions, [&](const PdlNode* action) {
    results->scored_later = results->scored_later || action->kind == kPdlOrder;
    return uint32_t{0};
  }));
  PL_TRY(for_each_action(actions, [&](PdlNode* action) { return perform_tree(action, results); }));
  return log_error(__LINE__, vrel_vector2_sort_by_key(results->entries, compare_score, &kByScore));
}

uint32_t _playlist_pdl_perform_where(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  if (node->run.stage != 0) return child_code;
  return enter_child(node->right, node->run.results, node->run.mode, enter);
}

uint32_t _playlist_pdl_perform_order(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  PdlRun& run = node->run;
  uint32_t code = child_code;
  if (run.stage == 0) {
    PL_TRY(log_error(__LINE__, playlist_pdl_scores_create(run.results, &run.scores)));
    code = enter_child(node->right, run.results, run.mode, run.scores, enter);
    if (code == 0) return 0;
  }
  if (run.scores->failure != 0) code = run.scores->failure;
  playlist_pdl_scores_store(run.scores);
  playlist_pdl_scores_delete(run.scores);
  run.scores = nullptr;
  return code;
}

uint32_t _playlist_pdl_perform_whereall(PdlNode* node, uint32_t /*child_code*/,
                                        PdlNode** /*enter*/) {
  return log_error(__LINE__, add_all_idents(node->run.results));
}

uint32_t _playlist_pdl_perform_where_op_where(PdlNode* node, uint32_t child_code, PdlNode** enter) {
  return log_error(__LINE__, perform_where_op_where(node, child_code, enter));
}

uint32_t _playlist_pdl_perform_where_id_op_id(PdlNode* node, uint32_t /*child_code*/,
                                              PdlNode** /*enter*/) {
  Results* const results = node->run.results;
  uint32_t code = 0;
  if (node->run.mode == kPdlModeFilter) {
    code = playlist_pdl_filter_matches(node, results);
  } else if (playlist_pdl_is_usable(node)) {
    code = playlist_pdl_add_matches(node, results);
  }
  return log_operand_failure(code);
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
  return log_error(__LINE__, playlist_pdl_score(node, node->run.scores));
}

uint32_t _playlist_pdl_perform_score_rand(PdlNode* node, uint32_t /*child_code*/,
                                          PdlNode** /*enter*/) {
  if (!has_children(node)) return log_error(__LINE__, PLERR_Unsupported);
  draw_scores(node, node->run.scores);
  return 0;
}

uint32_t _playlist_pdl_perform_limit(PdlNode* node, uint32_t /*child_code*/, PdlNode** /*enter*/) {
  return log_error(__LINE__, limit_entries(node, node->run.results));
}
