// model_language: the model's lexer, parser and binding.
#include <algorithm>
#include <cctype>

#include "model.h"

namespace model {

namespace {

constexpr size_t kLongestText = 299;
constexpr int kDeepestParentheses = 1000;

// In the order of comparison: a word is the first keyword of which it is a prefix.
constexpr std::pair<const char*, Kind> kKeywords[] = {
    {"GENPL", kGenpl}, {"GENERATE", kGenerate}, {"PLAYLIST", kPlaylist}, {"WHERE", kWhere},
    {"LIKE", kLike},   {"SEED", kSeed},         {"RAND", kRand},         {"AND", kAnd},
    {"OR", kOr},       {"ORDER", kOrder},       {"LIMIT", kLimit},       {"RESULTS", kResults},
    {"PER", kPer}};

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
bool is_word(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool is_prefix(const std::string& word, const std::string& keyword) {
  return word.size() <= keyword.size() &&
         std::equal(word.begin(), word.end(), keyword.begin(), [](char a, char b) {
           return std::toupper(static_cast<unsigned char>(a)) == b;
         });
}

class Lexer {
 public:
  explicit Lexer(const std::string& text) : text_(text) {}
  Kind kind() const { return kind_; }
  std::string token() const { return text_.substr(start_, std::min(end_ - start_, kLongestText)); }
  std::string rest() const { return text_.substr(start_); }

  // The text from the token to the next space.
  std::string word() const {
    const auto blank = [](char c) { return static_cast<unsigned char>(c) <= 32; };
    size_t from = start_;
    while (from < text_.size() && blank(text_[from])) ++from;
    size_t to = from;
    while (to < text_.size() && !blank(text_[to])) ++to;
    return text_.substr(from, to - from);
  }

  void next() {
    if (kind_ == kDoubleQuote || kind_ == kSingleQuote)
      return quoted(kind_ == kDoubleQuote ? '"' : '\'');
    while (text_[at_] != '\0' && static_cast<unsigned char>(text_[at_]) <= 32) ++at_;
    static const std::map<char, Kind> kSigns = {
        {'\0', kEnd},   {';', kEnd},   {'!', kUnknown},  {'"', kDoubleQuote}, {'\'', kSingleQuote},
        {'(', kLeft},   {')', kRight}, {'*', kMultiply}, {'+', kPlus},        {',', kComma},
        {'/', kDivide}, {'-', kMinus}, {'<', kLess},     {'>', kGreater},     {'=', kEqual}};
    static const std::map<std::string, Kind> kPairs = {
        {"!=", kNotEqual}, {"<=", kLessOrEqual}, {">=", kGreaterOrEqual}, {"==", kEqual}};
    const auto pair = kPairs.find(text_.substr(at_, 2));
    const auto sign = kSigns.find(text_[at_]);
    if (text_[at_] == '-' && is_digit(text_[at_ + 1])) {
      token_of(kNumber, 1 + run(at_ + 1, is_digit));
    } else if (pair != kPairs.end()) {
      token_of(pair->second, 2);
    } else if (sign != kSigns.end()) {
      token_of(sign->second, text_[at_] == '\0' ? 0 : 1);
    } else if (is_digit(text_[at_])) {
      number();
    } else {
      bare_word();
    }
  }

 private:
  void token_of(Kind kind, size_t length) {
    kind_ = kind;
    start_ = at_;
    end_ = at_ += length;
  }

  size_t run(size_t from, bool (*belongs)(char)) const {
    size_t to = from;
    while (belongs(text_[to])) ++to;
    return to - from;
  }

  void quoted(char quote) {
    const size_t close = text_.find_first_of(std::string(1, quote) + ";", at_);
    if (close == std::string::npos || text_[close] == ';') throw Failure{kSyntax, std::nullopt};
    token_of(kString, close - at_);
    ++at_;
  }

  // Digits followed by a letter are no token: neither the position nor the span moves.
  void number() {
    const size_t length = run(at_, is_digit);
    if (is_word(text_[at_ + length])) {
      kind_ = kUnknown;
    } else {
      token_of(kNumber, length);
    }
  }

  // A character that belongs to no token yields an empty word, which is a prefix of all keywords.
  void bare_word() {
    const size_t length = run(at_, is_word);
    const std::string word = text_.substr(at_, length);
    for (const auto& [keyword, kind] : kKeywords) {
      if (is_prefix(word, keyword)) return token_of(kind, length);
    }
    token_of(kIdentifier, length);
  }

  const std::string& text_;
  Kind kind_ = kUnknown;
  size_t at_ = 0, start_ = 0, end_ = 0;
};

Tree leaf(Kind kind, std::optional<std::string> text = std::nullopt) {
  auto node = std::make_unique<Node>();
  node->kind = kind;
  node->text = std::move(text);
  return node;
}

Tree branch(Tree node, Tree left, Tree right) {
  node->left = std::move(left);
  node->right = std::move(right);
  return node;
}

class Parser {
 public:
  Parser(const std::string& text, const Collection& collection)
      : lexer_(text), collection_(collection) {
    lexer_.next();
  }

  Statement statement() {
    if (!accept(kGenpl)) {
      expect(kGenerate);
      expect(kPlaylist);
    }
    if (accept(kWhere)) {
      add(branch(leaf(kWhere), leaf(kUnknown), where_expression()));
    } else {
      add(branch(leaf(kWhereAll), leaf(kUnknown), leaf(kUnknown)));
    }
    if (accept(kOrder)) add(branch(leaf(kOrder), leaf(kUnknown), order_expression()));
    if (accept(kLimit)) {
      do add(limit());
      while (accept(kComma));
    }
    expect(kEnd);
    return std::move(statement_);
  }

 private:
  void add(Tree tree) { statement_.trees.push_back(std::move(tree)); }
  [[noreturn]] static void fail(const std::string& message) { throw Failure{kSyntax, message}; }

  bool at_comparison() const { return lexer_.kind() >= kEqual && lexer_.kind() <= kGreaterOrEqual; }

  bool accept(Kind kind) {
    if (lexer_.kind() != kind) return false;
    if (kind != kEnd) lexer_.next();
    return true;
  }

  void expect(Kind kind) {
    if (accept(kind)) return;
    if (lexer_.kind() == kEnd) fail("unexpected end of statement");
    if (lexer_.kind() == kRight) fail("unbalanced right parens '" + lexer_.rest() + "'");
    fail("unexpected symbol '" + lexer_.word() + "'");
  }

  // The current token as a node.
  Tree take() {
    Tree node = leaf(lexer_.kind(), lexer_.token());
    lexer_.next();
    return node;
  }

  bool open() {
    if (!accept(kLeft)) return false;
    if (++depth_ > kDeepestParentheses) fail("statement nested too deeply");
    return true;
  }

  void close() {
    expect(kRight);
    --depth_;
  }

  // where expression = where term [ (AND | OR) where expression ]
  Tree where_expression() {
    Tree term = where_term();
    if (lexer_.kind() != kAnd && lexer_.kind() != kOr) return term;
    Tree node = take();
    return branch(std::move(node), std::move(term), where_expression());
  }

  // where term = ( "(" where expression ")" | operand operator operand )
  //              [ comparison (number | where expression) ]
  Tree where_term() {
    Tree term;
    if (open()) {
      term = where_expression();
      close();
    } else {
      Tree left = operand();
      if (!at_comparison() && lexer_.kind() != kLike) fail("bad operator '" + lexer_.token() + "'");
      Tree node = take();
      term = branch(std::move(node), std::move(left), operand());
    }
    if (!at_comparison()) return term;
    Tree node = take();
    return branch(std::move(node), std::move(term),
                  lexer_.kind() == kNumber ? take() : where_expression());
  }

  // order expression = order primary [ ("+" | "-" | "*" | "/") order expression ]
  Tree order_expression() {
    Tree primary = order_primary();
    if (lexer_.kind() < kMultiply || lexer_.kind() > kMinus) return primary;
    Tree node = take();
    return branch(std::move(node), std::move(primary), order_expression());
  }

  Tree order_primary() {
    if (open()) {
      Tree inner = order_expression();
      close();
      return inner;
    }
    if (lexer_.kind() == kNumber) return take();
    if (lexer_.kind() == kRand) return random();
    Tree left = operand();
    if (!at_comparison() && lexer_.kind() != kLike) fail("bad operator '" + lexer_.word() + "'");
    Tree node = take();
    return branch(std::move(node), std::move(left), operand());
  }

  // RAND "(" number [ "," number ] ")"
  Tree random() {
    Tree node = take();
    expect(kLeft);
    Tree modulus = number();
    Tree seed = accept(kComma) ? number() : leaf(kUnknown);
    expect(kRight);
    return branch(std::move(node), std::move(modulus), std::move(seed));
  }

  Tree number() {
    Tree node = leaf(kNumber, lexer_.token());
    expect(kNumber);
    return node;
  }

  // limit item = number ( PER operand | RESULTS )
  Tree limit() {
    if (lexer_.kind() != kNumber) fail("expected number at '" + lexer_.rest() + "'");
    Tree count = take();
    if (accept(kPer)) return branch(leaf(kLimit), std::move(count), operand());
    if (!accept(kResults)) fail("expected RESULTS|PER at '" + lexer_.rest() + "'");
    return branch(leaf(kLimit), std::move(count), leaf(kResults));
  }

  Tree operand() {
    const Kind kind = lexer_.kind();
    if (accept(kDoubleQuote) || accept(kSingleQuote)) return take();
    if (kind == kIdentifier && collection_.find(lexer_.token()) == nullptr) {
      fail("attribute '" + lexer_.token() + "' not supported by collection");
    }
    if (kind == kIdentifier || kind == kNumber) return take();
    if (!accept(kSeed)) fail("expected ident|number at '" + lexer_.rest() + "'");
    statement_.seed_used = true;
    return leaf(kSeed);
  }

  Lexer lexer_;
  const Collection& collection_;
  Statement statement_;
  int depth_ = 0;
};

void bind(Node& node, const Collection& collection);

void bind_side(Node& side, const Node& comparison, bool reversed, const Collection& collection) {
  bind(side, collection);
  if (side.attribute == nullptr) return;
  const uint32_t op = attribute_operator(comparison.kind, reversed);
  if (side.attribute->supports(op)) return;
  throw Failure{kSyntax, "attribute '" + *side.text + "' does not support operator '" +
                             *comparison.text + "'"};
}

// Looks up the attributes of identifiers and checks their operators.
void bind(Node& node, const Collection& collection) {
  if (node.kind == kIdentifier) node.attribute = collection.find(*node.text);
  if (node.kind == kWhere || node.kind == kOrder) bind(*node.right, collection);
  if (is_comparison(node)) {
    bind_side(*node.left, node, false, collection);
    bind_side(*node.right, node, true, collection);
  } else if (joins(node)) {
    bind(*node.left, collection);
    bind(*node.right, collection);
  }
}

}  // namespace

uint32_t attribute_operator(Kind kind, bool reversed) {
  static const uint32_t kFromLeft[] = {10, 11, 14, 15, 12, 13, 20};
  static const uint32_t kFromRight[] = {10, 11, 12, 13, 14, 15, 20};
  return (reversed ? kFromRight : kFromLeft)[kind - kEqual];
}

Statement parse(const std::string& text, const Collection& collection) {
  Statement statement = Parser(text, collection).statement();
  for (size_t i = statement.trees.size(); i-- > 0;) {
    bind(*statement.trees[i], collection);
  }
  return statement;
}

}  // namespace model
