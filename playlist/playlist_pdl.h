// playlist_pdl: parsed statements of the playlist definition language, and the passes over them.
//
// A statement goes through three passes: parse (text to bound trees), set up (every comparison gets
// its prepared context), perform (the trees select, score and cut the entries of a playlist). The
// passes visit trees through the nodes' parent links, so neither a long chain of operators nor deep
// parentheses use the call stack.
#ifndef PLAYLIST_PDL_H
#define PLAYLIST_PDL_H

#include <cstdint>

#include "playlist_collection.h"
#include "playlist_results.h"
#include "vrel_layout.h"
#include "vrel_vector.h"

// Kinds of tokens and of nodes. Actions run in the order of these numbers.
enum PdlKind : uint32_t {
  kPdlUnknown = 0,  // as a node: an empty place
  kPdlGenerate = 1,
  kPdlPlaylist = 2,
  kPdlGenpl = 3,
  kPdlWhereAll = 4,  // never lexed; stands for an absent WHERE part
  kPdlWhere = 5,
  kPdlAnd = 6,
  kPdlOr = 7,
  kPdlOrder = 8,
  kPdlMultiply = 9,
  kPdlDivide = 10,
  kPdlPlus = 11,
  kPdlMinus = 12,
  kPdlLimit = 13,
  kPdlPer = 14,
  kPdlResults = 15,
  kPdlIdentifier = 16,
  kPdlString = 17,
  kPdlNumber = 18,
  kPdlRand = 19,
  kPdlSeed = 20,
  kPdlDoubleQuote = 21,
  kPdlSingleQuote = 22,
  kPdlComma = 23,
  kPdlLeftParen = 24,
  kPdlRightParen = 25,
  kPdlEqual = 26,
  kPdlNotEqual = 27,
  kPdlLess = 28,
  kPdlLessOrEqual = 29,
  kPdlGreater = 30,
  kPdlGreaterOrEqual = 31,
  kPdlLike = 32,
  kPdlEnd = 33,
};

constexpr bool pdl_is_comparison(uint32_t kind) {
  return kind >= kPdlEqual && kind <= kPdlLike;
}
constexpr bool pdl_is_arithmetic(uint32_t kind) {
  return kind >= kPdlMultiply && kind <= kPdlMinus;
}

// What perform does with entries that do or do not satisfy a node.
constexpr uint32_t kPdlModeAdd = 0;     // add an entry for each ident that satisfies it
constexpr uint32_t kPdlModeFilter = 1;  // remove the entries that fail it

struct PdlNode;
struct PdlScores;

// Prepares one node. Its children are prepared after it, by the walk.
using PdlSetup = uint32_t (*)(PdlNode* node, trova_gdo* seed);

// Performs one node, in steps: it is called with node->run.stage 0 and `child_code` 0, and may name
// a child to perform with pdl_enter(); when the child is done it is called again, with the next
// stage and the child's code. It is always called again, so it can free what it holds. The code of
// a call that enters no child is the node's result.
using PdlPerform = uint32_t (*)(PdlNode* node, uint32_t child_code, PdlNode** enter);

// State of a node while it is performed.
struct PdlRun {
  Results* results;
  uint32_t mode;      // kPdlModeAdd or kPdlModeFilter
  uint32_t stage;     // calls so far
  Results* selected;  // AND in add mode: what its children select; owned
  int32_t* values;    // the left side's values, one per entry; owned
  PdlScores* scores;  // in ORDER: of the entries; owned by the node of ORDER itself
};

struct PdlNode {
  uint32_t kind;
  char* text;                // of the token, owned; null where the kind says it all
  PdlSetup setup;            // null: nothing to prepare, here and below
  PdlPerform perform;        // null: the node cannot be performed
  AttributeInfo* attribute;  // of an identifier, borrowed from the collection
  void* context;             // of an identifier: its provider's comparison context, owned
  uint8_t usable;            // of an identifier: the context holds a value to compare with
  PdlNode* left;             // owned
  PdlNode* right;            // owned
  PdlNode* parent;           // null at the root
  PdlRun run;
};
VREL_LAYOUT_FIELD(PdlNode, kind, 0);
VREL_LAYOUT_FIELD(PdlNode, text, 4);
VREL_LAYOUT_FIELD(PdlNode, setup, 8);
VREL_LAYOUT_FIELD(PdlNode, perform, 12);
VREL_LAYOUT_FIELD(PdlNode, attribute, 16);
VREL_LAYOUT_FIELD(PdlNode, context, 20);
VREL_LAYOUT_FIELD(PdlNode, usable, 24);
VREL_LAYOUT_FIELD(PdlNode, left, 28);
VREL_LAYOUT_FIELD(PdlNode, right, 32);

// Deletes a tree: left, right, then the node itself. Null is accepted.
void playlist_pdl_node_delete(PdlNode* node);

// The next node of a walk that visits every node before its children and left before right; null
// after the last one. With `descend` false the children of `node` are left out.
PdlNode* playlist_pdl_next_node(PdlNode* node, const PdlNode* root, bool descend);

// Parses a statement and binds it to a collection's attributes.
//
// `out_actions` receives the top-level trees in statement order; the vector owns them.
// `out_seed_used` may be null. `out_message` may be null; it receives the reason in words, or null
// when there is none, on success and on failure, and is freed with vrel_string_free(). Caller holds
// collection->lock, and the trees must be deleted before it is left.
uint32_t _playlist_pdl_parse(const char* statement, Collection* collection, uint8_t* out_seed_used,
                             vrel_vector** out_actions, char** out_message);

// The attribute operator of a comparison token. `reversed` when the attribute stands on the right:
// 5 < x asks the attribute for "greater than 5".
uint32_t _playlist_pdl_map_symbol_to_attr_op(uint32_t kind, bool reversed, uint32_t* out_op);

// Prepares every comparison for a seed, which may be null.
uint32_t _playlist_pdl_setup_actions(vrel_vector* actions, trova_gdo* seed);

// Runs the actions and leaves the playlist in order. Sorts `actions` into running order.
uint32_t _playlist_pdl_perform_actions(vrel_vector* actions, Results* results);

// The parser takes the addresses of what follows.
#pragma GCC visibility push(hidden)

// Setup operations that the parser binds.
uint32_t _playlist_pdl_setup_children(PdlNode* node, trova_gdo* seed);
uint32_t _playlist_pdl_setup_ident_op_ident(PdlNode* node, trova_gdo* seed);
uint32_t _playlist_pdl_setup_expr_op_expr(PdlNode* node, trova_gdo* seed);

// Perform operations that the parser binds.
uint32_t _playlist_pdl_perform_where(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_whereall(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_where_op_where(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_where_id_op_id(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_where_expr_op_expr(PdlNode* node, uint32_t child_code,
                                                  PdlNode** enter);
uint32_t _playlist_pdl_perform_order(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_order_op_order(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_score_id_op_id(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_score_rand(PdlNode* node, uint32_t child_code, PdlNode** enter);
uint32_t _playlist_pdl_perform_limit(PdlNode* node, uint32_t child_code, PdlNode** enter);

#pragma GCC visibility pop

#endif  // PLAYLIST_PDL_H
