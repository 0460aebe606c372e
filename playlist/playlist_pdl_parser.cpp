// playlist_pdl_parser: statement text to action trees that are bound to a collection's attributes.
#include <cstddef>

#include "playlist_error.h"
#include "playlist_owner.h"
#include "playlist_pdl.h"
#include "vrel_layout.h"
#include "vrel_memory.h"
#include "vrel_stack.h"
#include "vrel_string.h"

namespace {

const char kSource[] = "playlist_pdl_parser";

// Of a token's text this many bytes are kept, wherever it is kept.
constexpr uint32_t kMaxTokenText = 299;
// How deep parentheses may nest; those of RAND do not count.
constexpr uint32_t kMaxNesting = 1000;

// One parse.
struct PdlParseContext {
  Collection* collection;
  const char* position;     // just past the current token
  vrel_stack* nodes;        // of PdlNode*; what is left on it is deleted with it
  uint32_t kind;            // of the current token
  const char* token_start;  // the current token's span, the end exclusive; both begin at the start
  const char* token_end;    //   of the statement
  uint8_t seed_used;        // SEED was met as an operand
  char* message;            // the first error in words, or null
  uint32_t links[kMaxNesting + 1];  // per open parenthesis: operators that still wait for reduce()
};
VREL_LAYOUT_FIELD(PdlParseContext, collection, 0);
VREL_LAYOUT_FIELD(PdlParseContext, position, 4);
VREL_LAYOUT_FIELD(PdlParseContext, nodes, 8);
VREL_LAYOUT_FIELD(PdlParseContext, kind, 12);
VREL_LAYOUT_FIELD(PdlParseContext, token_start, 16);
VREL_LAYOUT_FIELD(PdlParseContext, token_end, 20);
VREL_LAYOUT_FIELD(PdlParseContext, seed_used, 24);
VREL_LAYOUT_FIELD(PdlParseContext, message, 28);

// ------------------------------------------------------------------------------- Messages

template <typename... Args>
uint32_t fail(PdlParseContext* context, const char* format, Args... args) {
  if (context->message == nullptr) context->message = vrel_string_mprintf(format, args...);
  return PLERR_Syntax;
}

// A required token is missing.
uint32_t fail_unexpected(PdlParseContext* context) {
  switch (context->kind) {
    case kPdlEnd:
      return fail(context, "unexpected end of statement");
    case kPdlRightParen:
      return fail(context, "unbalanced right parens '%s'", context->token_start);
    default:
      return fail(context, "unexpected symbol '%w'", context->token_start);
  }
}

// ---------------------------------------------------------------------------------- Lexer
// Text is bytes: letters and digits are those of ASCII, whatever the locale.

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_word(char c) {
  return is_letter(c) || is_digit(c) || c == '_';
}

bool is_blank(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 1 && byte <= 32;
}

char upper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

struct Keyword {
  char text[9];
  uint32_t kind;
};

// A prefix of a keyword is that keyword, and the first row wins: the order of the rows is part of
// the language ("g" is GENPL, "gene" is GENERATE, "o" is OR, "orde" is ORDER).
constexpr Keyword kKeywords[] = {
    {"GENPL", kPdlGenpl}, {"GENERATE", kPdlGenerate}, {"PLAYLIST", kPdlPlaylist},
    {"WHERE", kPdlWhere}, {"LIKE", kPdlLike},         {"SEED", kPdlSeed},
    {"RAND", kPdlRand},   {"AND", kPdlAnd},           {"OR", kPdlOr},
    {"ORDER", kPdlOrder}, {"LIMIT", kPdlLimit},       {"RESULTS", kPdlResults},
    {"PER", kPdlPer},
};

bool is_prefix(const char* word, size_t length, const char* keyword) {
  for (size_t i = 0; i < length; ++i) {
    if (upper(word[i]) != keyword[i]) return false;  // also at the keyword's terminator
  }
  return true;
}

// The empty word is a prefix of the first row: a character that starts no token lexes as GENPL
// without a text, and the position stays before it.
uint32_t word_kind(const char* word, size_t length) {
  for (const Keyword& keyword : kKeywords) {
    if (is_prefix(word, length, keyword.text)) return keyword.kind;
  }
  return kPdlIdentifier;
}

void set_token(PdlParseContext* context, uint32_t kind, const char* start, const char* end) {
  context->kind = kind;
  context->token_start = start;
  context->token_end = end;
  context->position = end;
}

const char* skip_digits(const char* text) {
  while (is_digit(*text)) ++text;
  return text;
}

// The body of a string: there is no escape, so it cannot hold its own quote, a semicolon or the
// statement's terminator.
uint32_t next_string(PdlParseContext* context, char quote) {
  const char* const start = context->position;
  const char* end = start;
  while (*end != quote) {
    if (*end == '\0' || *end == ';') return PLERR_Syntax;
    ++end;
  }
  set_token(context, kPdlString, start, end);
  context->position = end + 1;
  return 0;
}

// Digits with a letter behind them are no token: the kind is unknown, and neither the position nor
// the span moves, so a message quotes the token before.
void next_number(PdlParseContext* context, const char* start) {
  const char* const end = skip_digits(start);
  if (is_letter(*end) || *end == '_') return;
  set_token(context, kPdlNumber, start, end);
}

void next_word(PdlParseContext* context, const char* start) {
  const char* end = start;
  while (is_word(*end)) ++end;
  set_token(context, word_kind(start, static_cast<size_t>(end - start)), start, end);
}

// A token of one character, or of two when '=' follows.
void next_comparison(PdlParseContext* context, const char* start, uint32_t kind,
                     uint32_t kind_with_equal) {
  const bool with_equal = start[1] == '=';
  set_token(context, with_equal ? kind_with_equal : kind, start, start + (with_equal ? 2 : 1));
}

// A minus sign right before a digit belongs to the number, and then a letter may follow.
void next_minus(PdlParseContext* context, const char* start) {
  if (is_digit(start[1])) {
    set_token(context, kPdlNumber, start, skip_digits(start + 1));
  } else {
    set_token(context, kPdlMinus, start, start + 1);
  }
}

uint32_t single_kind(char c) {
  switch (c) {
    case ';':
      return kPdlEnd;
    case '"':
      return kPdlDoubleQuote;
    case '\'':
      return kPdlSingleQuote;
    case '(':
      return kPdlLeftParen;
    case ')':
      return kPdlRightParen;
    case '*':
      return kPdlMultiply;
    case '+':
      return kPdlPlus;
    case ',':
      return kPdlComma;
    case '/':
      return kPdlDivide;
    default:
      return kPdlUnknown;
  }
}

// Reads the next token. Fails only in a string that is not closed.
uint32_t next_token(PdlParseContext* context) {
  if (context->kind == kPdlDoubleQuote) return next_string(context, '"');
  if (context->kind == kPdlSingleQuote) return next_string(context, '\'');

  while (is_blank(*context->position)) ++context->position;
  const char* const start = context->position;
  context->kind = kPdlUnknown;
  const uint32_t single = single_kind(*start);
  if (single != kPdlUnknown) {
    set_token(context, single, start, start + 1);
    return 0;
  }
  switch (*start) {
    case '\0':
      set_token(context, kPdlEnd, start, start);
      break;
    case '!':
      next_comparison(context, start, kPdlUnknown, kPdlNotEqual);
      break;
    case '<':
      next_comparison(context, start, kPdlLess, kPdlLessOrEqual);
      break;
    case '>':
      next_comparison(context, start, kPdlGreater, kPdlGreaterOrEqual);
      break;
    case '=':
      next_comparison(context, start, kPdlEqual, kPdlEqual);
      break;
    case '-':
      next_minus(context, start);
      break;
    default:
      if (is_digit(*start)) {
        next_number(context, start);
      } else {
        next_word(context, start);
      }
  }
  return 0;
}

uint32_t token_length(const PdlParseContext* context) {
  const ptrdiff_t length = context->token_end - context->token_start;
  return length < ptrdiff_t{kMaxTokenText} ? static_cast<uint32_t>(length) : kMaxTokenText;
}

bool at(const PdlParseContext* context, uint32_t kind) {
  return context->kind == kind;
}

// Takes the current token, which must be of the kind.
uint32_t expect(PdlParseContext* context, uint32_t kind) {
  return at(context, kind) ? next_token(context) : fail_unexpected(context);
}

// ---------------------------------------------------------------------------------- Nodes

using NodeOwner = PlaylistOwner<PdlNode, playlist_pdl_node_delete>;

void delete_value(uintptr_t value) {
  playlist_pdl_node_delete(reinterpret_cast<PdlNode*>(value));
}

// Pushes a node; one that cannot be pushed is deleted.
uint32_t push(PdlParseContext* context, PdlNode* pushed) {
  NodeOwner node(pushed);
  PL_TRY(vrel_stack_push(context->nodes, reinterpret_cast<uintptr_t>(pushed)));
  static_cast<void>(node.take());
  return 0;
}

PdlNode* pop(PdlParseContext* context) {
  uintptr_t value = 0;
  static_cast<void>(vrel_stack_pop(context->nodes, &value));
  return reinterpret_cast<PdlNode*>(value);
}

PdlNode* make_node(uint32_t kind) {
  auto* const node = static_cast<PdlNode*>(vrel_memory_calloc(1, sizeof(PdlNode)));
  if (node != nullptr) node->kind = kind;
  return node;
}

// Pushes a node without a text.
uint32_t push_node(PdlParseContext* context, uint32_t kind) {
  PdlNode* const node = make_node(kind);
  return node == nullptr ? PLERR_NoMemory : push(context, node);
}

// Pushes the current token with its text, and reads the next one.
uint32_t push_token(PdlParseContext* context) {
  NodeOwner node(make_node(context->kind));
  if (!node) return PLERR_NoMemory;
  node->text = vrel_string_strndup(context->token_start, token_length(context));
  if (node->text == nullptr) return PLERR_NoMemory;
  PL_TRY(push(context, node.take()));
  return next_token(context);
}

uint32_t push_with_children(PdlParseContext* context, PdlNode* node, PdlNode* left,
                            PdlNode* right) {
  node->left = left;
  node->right = right;
  left->parent = node;
  right->parent = node;
  return push(context, node);
}

// Left, operator, right: the form of binary operators.
uint32_t reduce_infix(PdlParseContext* context) {
  PdlNode* const right = pop(context);
  PdlNode* const node = pop(context);
  PdlNode* const left = pop(context);
  return push_with_children(context, node, left, right);
}

// Operator, left, right: the form of the clauses and of RAND.
uint32_t reduce_prefix(PdlParseContext* context) {
  PdlNode* const right = pop(context);
  PdlNode* const left = pop(context);
  PdlNode* const node = pop(context);
  return push_with_children(context, node, left, right);
}

// -------------------------------------------------------------------------------- Grammar

// An identifier must name an attribute of the collection.
uint32_t parse_identifier(PdlParseContext* context) {
  PL_TRY(push_token(context));
  uintptr_t node = 0;
  PL_TRY(vrel_stack_top(context->nodes, &node));
  const char* const name = reinterpret_cast<PdlNode*>(node)->text;
  AttributeInfo* info = nullptr;
  if (playlist_collection_get_attrinfo(context->collection, name, &info) == 0) return 0;
  return fail(context, "attribute '%s' not supported by collection", name);
}

uint32_t parse_seed(PdlParseContext* context) {
  context->seed_used = 1;
  PL_TRY(push_node(context, kPdlSeed));
  return next_token(context);
}

// operand := '"' string '"' | "'" string "'" | identifier | SEED | number
uint32_t parse_operand(PdlParseContext* context) {
  switch (context->kind) {
    case kPdlDoubleQuote:
    case kPdlSingleQuote:
      PL_TRY(next_token(context));
      return push_token(context);
    case kPdlIdentifier:
      return parse_identifier(context);
    case kPdlSeed:
      return parse_seed(context);
    case kPdlNumber:
      return push_token(context);
    default:
      return fail(context, "expected ident|number at '%s'", context->token_start);
  }
}

// where comparison := operand (= | == | != | < | <= | > | >= | LIKE) operand
uint32_t parse_where_term(PdlParseContext* context) {
  PL_TRY(parse_operand(context));
  if (!pdl_is_comparison(context->kind)) {
    return fail(context, "bad operator '%.*s'", static_cast<int>(token_length(context)),
                context->token_start);
  }
  PL_TRY(push_token(context));
  PL_TRY(parse_operand(context));
  return reduce_infix(context);
}

// What may follow a complete where term: a comparison (but not LIKE) with a number, which completes
// it again; and then AND, OR or a comparison with the expression to the right.
uint32_t parse_where_link(PdlParseContext* context, bool* out_linked) {
  if (pdl_is_comparison(context->kind) && !at(context, kPdlLike)) {
    PL_TRY(push_token(context));
    if (!at(context, kPdlNumber)) {
      *out_linked = true;
      return 0;
    }
    PL_TRY(push_token(context));
    PL_TRY(reduce_infix(context));
  }
  *out_linked = at(context, kPdlAnd) || at(context, kPdlOr);
  return *out_linked ? push_token(context) : 0;
}

uint32_t parse_number(PdlParseContext* context) {
  return at(context, kPdlNumber) ? push_token(context) : fail_unexpected(context);
}

// rand := RAND "(" number [ "," number ] ")"
uint32_t parse_rand(PdlParseContext* context) {
  PL_TRY(push_node(context, kPdlRand));
  PL_TRY(next_token(context));
  PL_TRY(expect(context, kPdlLeftParen));
  PL_TRY(parse_number(context));
  if (at(context, kPdlComma)) {
    PL_TRY(next_token(context));
    PL_TRY(parse_number(context));
  } else {
    PL_TRY(push_node(context, kPdlUnknown));
  }
  PL_TRY(expect(context, kPdlRightParen));
  return reduce_prefix(context);
}

// order primary := number | rand | operand (LIKE | = | != | < | <= | > | >=) operand
uint32_t parse_order_term(PdlParseContext* context) {
  if (at(context, kPdlNumber)) return push_token(context);
  if (at(context, kPdlRand)) return parse_rand(context);
  PL_TRY(parse_operand(context));
  if (!pdl_is_comparison(context->kind)) {
    return fail(context, "bad operator '%w'", context->token_start);
  }
  PL_TRY(push_token(context));
  PL_TRY(parse_operand(context));
  return reduce_infix(context);
}

uint32_t parse_order_link(PdlParseContext* context, bool* out_linked) {
  *out_linked = pdl_is_arithmetic(context->kind);
  return *out_linked ? push_token(context) : 0;
}

// The two kinds of expression differ in their terms and in what links them.
struct ExpressionRules {
  uint32_t (*term)(PdlParseContext* context);
  uint32_t (*link)(PdlParseContext* context, bool* out_linked);
};
constexpr ExpressionRules kWhereRules = {parse_where_term, parse_where_link};
constexpr ExpressionRules kOrderRules = {parse_order_term, parse_order_link};

uint32_t open_parentheses(PdlParseContext* context, uint32_t* depth) {
  while (at(context, kPdlLeftParen)) {
    if (*depth == kMaxNesting) return fail(context, "statement nested too deeply");
    context->links[++*depth] = 0;
    PL_TRY(next_token(context));
  }
  return 0;
}

// expression := ( "(" expression ")" | term ) [ link expression ]
//
// Every operator takes all that follows as its right side, so operators wait on the node stack and
// are reduced from the right once their parenthesis ends: a loop instead of recursion.
uint32_t parse_expression(PdlParseContext* context, const ExpressionRules& rules) {
  uint32_t depth = 0;
  context->links[0] = 0;
  for (;;) {
    PL_TRY(open_parentheses(context, &depth));
    PL_TRY(rules.term(context));
    for (;;) {
      bool linked = false;
      PL_TRY(rules.link(context, &linked));
      if (linked) break;
      for (; context->links[depth] > 0; --context->links[depth]) PL_TRY(reduce_infix(context));
      if (depth == 0) return 0;
      --depth;
      PL_TRY(expect(context, kPdlRightParen));
    }
    ++context->links[depth];
  }
}

// head := GENPL | GENERATE PLAYLIST
uint32_t parse_head(PdlParseContext* context) {
  if (at(context, kPdlGenpl)) return next_token(context);
  PL_TRY(expect(context, kPdlGenerate));
  return expect(context, kPdlPlaylist);
}

// A clause with an expression: its left place stays empty.
uint32_t parse_clause(PdlParseContext* context, uint32_t kind, const ExpressionRules& rules) {
  PL_TRY(next_token(context));
  PL_TRY(push_node(context, kind));
  PL_TRY(push_node(context, kPdlUnknown));
  PL_TRY(parse_expression(context, rules));
  return reduce_prefix(context);
}

// where part := [ WHERE where_expression ]
uint32_t parse_where(PdlParseContext* context) {
  if (at(context, kPdlWhere)) return parse_clause(context, kPdlWhere, kWhereRules);
  PL_TRY(push_node(context, kPdlWhereAll));
  PL_TRY(push_node(context, kPdlUnknown));
  PL_TRY(push_node(context, kPdlUnknown));
  return reduce_prefix(context);
}

// order part := [ ORDER order_expression ]
uint32_t parse_order(PdlParseContext* context) {
  return at(context, kPdlOrder) ? parse_clause(context, kPdlOrder, kOrderRules) : 0;
}

// limit item := number ( PER operand | RESULTS )
uint32_t parse_limit_item(PdlParseContext* context) {
  if (!at(context, kPdlNumber)) {
    return fail(context, "expected number at '%s'", context->token_start);
  }
  PL_TRY(push_token(context));
  if (at(context, kPdlPer)) {
    PL_TRY(next_token(context));
    return parse_operand(context);
  }
  if (!at(context, kPdlResults)) {
    return fail(context, "expected RESULTS|PER at '%s'", context->token_start);
  }
  PL_TRY(next_token(context));
  return push_node(context, kPdlResults);
}

// limit part := [ LIMIT limit_item { "," limit_item } ]
uint32_t parse_limit(PdlParseContext* context) {
  if (!at(context, kPdlLimit)) return 0;
  do {
    PL_TRY(next_token(context));  // LIMIT, or the comma
    PL_TRY(push_node(context, kPdlLimit));
    PL_TRY(parse_limit_item(context));
    PL_TRY(reduce_prefix(context));
  } while (at(context, kPdlComma));
  return 0;
}

// statement := head where_part order_part limit_part end
uint32_t parse_statement(PdlParseContext* context) {
  PL_TRY(next_token(context));
  PL_TRY(parse_head(context));
  PL_TRY(parse_where(context));
  PL_TRY(parse_order(context));
  PL_TRY(parse_limit(context));
  return at(context, kPdlEnd) ? 0 : fail_unexpected(context);
}

// -------------------------------------------------------------------------------- Binding

// The provider of an identifier that is compared must know the operator, as seen from its side.
uint32_t check_operator(PdlParseContext* context, const PdlNode* identifier) {
  const PdlNode* const comparison = identifier->parent;
  if (!pdl_is_comparison(comparison->kind)) return 0;
  uint32_t op = 0;
  const bool reversed = identifier == comparison->right;
  PL_TRY(_playlist_pdl_map_symbol_to_attr_op(comparison->kind, reversed, &op));
  if (playlist_provider_supports(identifier->attribute->provider, op)) return 0;
  return fail(context, "attribute '%s' does not support operator '%s'", identifier->text,
              comparison->text);
}

uint32_t bind_identifier(PdlParseContext* context, PdlNode* node) {
  PL_TRY(playlist_collection_get_attrinfo(context->collection, node->text, &node->attribute));
  return check_operator(context, node);
}

// A comparison of comparisons filters by their scores; any other compares an attribute with an
// operand.
uint32_t bind_comparison(PdlNode* node, uint32_t root_kind) {
  const bool of_expressions =
      pdl_is_comparison(node->left->kind) || pdl_is_comparison(node->right->kind);
  if (root_kind == kPdlWhere) {
    node->setup =
        of_expressions ? _playlist_pdl_setup_expr_op_expr : _playlist_pdl_setup_ident_op_ident;
    node->perform = of_expressions ? _playlist_pdl_perform_where_expr_op_expr
                                   : _playlist_pdl_perform_where_id_op_id;
    return 0;
  }
  if (root_kind != kPdlOrder || of_expressions) return PLERR_Unsupported;
  node->setup = _playlist_pdl_setup_ident_op_ident;
  node->perform = _playlist_pdl_perform_score_id_op_id;
  return 0;
}

uint32_t bind_operator(PdlNode* node, PdlPerform perform) {
  node->setup = _playlist_pdl_setup_children;
  node->perform = perform;
  return 0;
}

uint32_t bind_leaf(PdlNode* node, PdlPerform perform) {
  node->perform = perform;
  return 0;
}

uint32_t bind_node(PdlParseContext* context, PdlNode* node, uint32_t root_kind) {
  if (pdl_is_comparison(node->kind)) return bind_comparison(node, root_kind);
  switch (node->kind) {
    case kPdlWhereAll:
      return bind_leaf(node, _playlist_pdl_perform_whereall);
    case kPdlWhere:
      return bind_operator(node, _playlist_pdl_perform_where);
    case kPdlAnd:
    case kPdlOr:
      return bind_operator(node, _playlist_pdl_perform_where_op_where);
    case kPdlOrder:
      return bind_operator(node, _playlist_pdl_perform_order);
    case kPdlMultiply:
    case kPdlDivide:
    case kPdlPlus:
    case kPdlMinus:
      return bind_operator(node, _playlist_pdl_perform_order_op_order);
    case kPdlLimit:
      return bind_leaf(node, _playlist_pdl_perform_limit);
    case kPdlRand:
      return bind_leaf(node, _playlist_pdl_perform_score_rand);
    case kPdlIdentifier:
      return bind_identifier(context, node);
    case kPdlGenpl:
    case kPdlString:
    case kPdlNumber:
    case kPdlSeed:
      return 0;
    default:
      return PLERR_Unsupported;
  }
}

// Nodes below RAND are read by it and not bound. Every other inner node has a setup operation.
bool has_bound_children(const PdlNode* node) {
  return node->setup != nullptr;
}

uint32_t bind_tree(PdlParseContext* context, PdlNode* root) {
  PL_TRY(bind_node(context, root, root->kind));
  if (!has_bound_children(root)) return 0;
  // The clauses keep their expression on the right; their left place is empty.
  PdlNode* const top = root->right;
  PdlNode* node = top;
  while (node != nullptr) {
    PL_TRY(bind_node(context, node, root->kind));
    node = playlist_pdl_next_node(node, top, has_bound_children(node));
  }
  return 0;
}

void delete_action_vector(vrel_vector* actions) {
  static_cast<void>(vrel_vector_delete(actions));
}
using ActionsOwner = PlaylistOwner<vrel_vector, delete_action_vector>;

// Trees that are bound but not yet in the action vector, chained through their parent links.
class TreeChain {
 public:
  TreeChain() = default;
  ~TreeChain() {
    while (PdlNode* const tree = take()) playlist_pdl_node_delete(tree);
  }
  TreeChain(const TreeChain&) = delete;
  TreeChain& operator=(const TreeChain&) = delete;

  void put(PdlNode* tree) {
    tree->parent = first_;
    first_ = tree;
  }

  PdlNode* take() {
    PdlNode* const tree = first_;
    if (tree == nullptr) return nullptr;
    first_ = tree->parent;
    tree->parent = nullptr;
    return tree;
  }

 private:
  PdlNode* first_ = nullptr;
};

// Trees come off the stack last first, so that of two errors the one in the later clause is told;
// the vector holds them in statement order.
uint32_t bind_all(PdlParseContext* context, vrel_vector* actions) {
  TreeChain bound;
  uint32_t count = 0;
  PL_TRY(vrel_stack_count(context->nodes, &count));
  for (; count > 0; --count) {
    NodeOwner tree(pop(context));
    PL_TRY(bind_tree(context, tree.get()));
    bound.put(tree.take());
  }
  while (PdlNode* const next = bound.take()) {
    NodeOwner tree(next);
    PL_TRY(vrel_vector_add(actions, reinterpret_cast<uintptr_t>(next)));
    static_cast<void>(tree.take());
  }
  return 0;
}

uint32_t parse_and_bind(PdlParseContext* context, vrel_vector** out_actions) {
  PL_TRY(vrel_stack_create(&context->nodes, 0, delete_value));
  PL_TRY(parse_statement(context));
  ActionsOwner actions;
  PL_TRY(vrel_vector_create(actions.out(), 0, nullptr, delete_value));
  PL_TRY(bind_all(context, actions.get()));
  *out_actions = actions.take();
  return 0;
}

void delete_context(PdlParseContext* context) {
  if (context->nodes != nullptr) static_cast<void>(vrel_stack_delete(context->nodes));
  vrel_string_free(context->message);
  vrel_memory_free(context);
}
using ContextOwner = PlaylistOwner<PdlParseContext, delete_context>;

}  // namespace

uint32_t _playlist_pdl_map_symbol_to_attr_op(uint32_t kind, bool reversed, uint32_t* out_op) {
  switch (kind) {
    case kPdlEqual:
      *out_op = TROVA_PLAYLIST_OP_EQUAL;
      return 0;
    case kPdlNotEqual:
      *out_op = TROVA_PLAYLIST_OP_NOT_EQUAL;
      return 0;
    case kPdlLess:
      *out_op = reversed ? TROVA_PLAYLIST_OP_GREATER : TROVA_PLAYLIST_OP_LESS;
      return 0;
    case kPdlLessOrEqual:
      *out_op = reversed ? TROVA_PLAYLIST_OP_GREATER_OR_EQUAL : TROVA_PLAYLIST_OP_LESS_OR_EQUAL;
      return 0;
    case kPdlGreater:
      *out_op = reversed ? TROVA_PLAYLIST_OP_LESS : TROVA_PLAYLIST_OP_GREATER;
      return 0;
    case kPdlGreaterOrEqual:
      *out_op = reversed ? TROVA_PLAYLIST_OP_LESS_OR_EQUAL : TROVA_PLAYLIST_OP_GREATER_OR_EQUAL;
      return 0;
    case kPdlLike:
      *out_op = TROVA_PLAYLIST_OP_LIKE;
      return 0;
    default:
      return PLERR_Unsupported;
  }
}

uint32_t _playlist_pdl_parse(const char* statement, Collection* collection, uint8_t* out_seed_used,
                             vrel_vector** out_actions, char** out_message) {
  ContextOwner context(
      static_cast<PdlParseContext*>(vrel_memory_calloc(1, sizeof(PdlParseContext))));
  if (!context) return VREL_LOG_HERE(PLERR_NoMemory);
  context->collection = collection;
  set_token(context.get(), kPdlUnknown, statement, statement);

  const uint32_t code = parse_and_bind(context.get(), out_actions);
  if (out_message != nullptr) {
    *out_message = context->message;
    context->message = nullptr;
  }
  if (code == 0 && out_seed_used != nullptr) *out_seed_used = context->seed_used;
  // What is wrong with a statement is its author's business and not the log's.
  return code == PLERR_Syntax ? code : VREL_LOG_HERE(code);
}
