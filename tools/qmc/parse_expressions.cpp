// The parser's part for values: operators by precedence, calls, tables, functions.
#include <algorithm>

#include "base/fold.h"
#include "qmc/constants.h"
#include "qmc/folding.h"
#include "qmc/limits.h"
#include "qmc/parser.h"

namespace quillmere::qmc {
namespace {

/// How tightly an operator binds on its left and right side; 0 is no operator. A right side below
/// the left one makes it group from the right.
struct Binding {
  int left = 0;
  int right = 0;
};

constexpr int notLevel = 3;
constexpr int unaryLevel = 12;

constexpr Binding BindingOf(TokenKind kind) {
  switch (kind) {
    case TokenKind::Or:
      return {1, 1};
    case TokenKind::And:
      return {2, 2};
    case TokenKind::Equal:
    case TokenKind::NotEqual:
    case TokenKind::Less:
    case TokenKind::LessEqual:
    case TokenKind::Greater:
    case TokenKind::GreaterEqual:
      return {4, 4};
    case TokenKind::Bar:
      return {5, 5};
    case TokenKind::Tilde:
      return {6, 6};
    case TokenKind::Ampersand:
      return {7, 7};
    case TokenKind::ShiftLeft:
    case TokenKind::ShiftRight:
      return {8, 8};
    case TokenKind::Concat:
      return {9, 9};
    case TokenKind::Plus:
    case TokenKind::Minus:
      return {10, 10};
    case TokenKind::Star:
    case TokenKind::Slash:
    case TokenKind::Backslash:
    case TokenKind::Percent:
      return {11, 11};
    case TokenKind::Caret:
      return {14, 13};
    default:
      return {};
  }
}

constexpr BinaryOp ArithmeticOf(TokenKind kind) {
  switch (kind) {
    case TokenKind::Plus:
      return BinaryOp::Add;
    case TokenKind::Minus:
      return BinaryOp::Subtract;
    case TokenKind::Star:
      return BinaryOp::Multiply;
    case TokenKind::Slash:
      return BinaryOp::Divide;
    case TokenKind::Backslash:
      return BinaryOp::DivideInteger;
    case TokenKind::Percent:
      return BinaryOp::Modulo;
    case TokenKind::ShiftLeft:
      return BinaryOp::ShiftLeft;
    case TokenKind::ShiftRight:
      return BinaryOp::ShiftRight;
    case TokenKind::Bar:
      return BinaryOp::BitOr;
    case TokenKind::Ampersand:
      return BinaryOp::BitAnd;
    case TokenKind::Tilde:
      return BinaryOp::BitXor;
    case TokenKind::Caret:
      return BinaryOp::Power;
    default:
      return BinaryOp::Concat;
  }
}

constexpr CompareOp CompareOf(TokenKind kind) {
  switch (kind) {
    case TokenKind::NotEqual:
      return CompareOp::NotEqual;
    case TokenKind::Less:
      return CompareOp::Less;
    case TokenKind::LessEqual:
      return CompareOp::LessEqual;
    case TokenKind::Greater:
      return CompareOp::Greater;
    case TokenKind::GreaterEqual:
      return CompareOp::GreaterEqual;
    default:
      return CompareOp::Equal;
  }
}

bool IsText(const Expr& expr) {
  return expr.kind == ExprKind::String || expr.kind == ExprKind::Number;
}

}  // namespace

Expr* Parser::NumberNode(const Token& token, double value) {
  auto* node = Node<NumberExpr>(ExprKind::Number, token);
  node->value = value;
  return node;
}

Expr* Parser::StringNode(const Token& token, Name text) {
  auto* node = Node<StringExpr>(ExprKind::String, token);
  node->text = text;
  return node;
}

Expr* Parser::Deepen(Expr* node, std::uint32_t below) {
  node->depth = below + 1;
  scope_->deepest = std::max(scope_->deepest, node->depth);
  if (node->depth <= maxDepth) return node;
  Fail(node->position, Error::ExpressionOrFunctionTooComplex);
  return ErrorNode();
}

std::uint32_t Parser::DepthOf(std::span<Expr* const> list) {
  std::uint32_t depth = 0;
  for (const Expr* expr : list) depth = std::max(depth, expr->depth);
  return depth;
}

Expr* Parser::ParseBinary(int minimum) {
  if (!EnterLevel()) return LeaveLevel(), ErrorNode();
  Expr* left = ParseUnary();
  for (;;) {
    if (brackets_ > 0) SkipNewlines();
    const Token& token = Current();
    const Binding binding = BindingOf(token.kind);
    if (binding.left <= minimum) break;
    Advance();
    SkipNewlines();
    left = MakeBinary(token.kind, token, left, ParseBinary(binding.right));
  }
  LeaveLevel();
  return left;
}

Expr* Parser::ParseUnary() {
  const Token& token = Current();
  switch (token.kind) {
    case TokenKind::Not: {
      Advance();
      auto* node = Node<WrapExpr>(ExprKind::Not, token);
      node->operand = ParseBinary(notLevel);
      return Deepen(node, node->operand->depth);
    }
    case TokenKind::Minus:
      Advance();
      return MakeUnary(UnaryOp::Negate, token, ParseBinary(unaryLevel));
    case TokenKind::Tilde:
      Advance();
      return MakeUnary(UnaryOp::Complement, token, ParseBinary(unaryLevel));
    case TokenKind::Plus:
      Advance();
      return ParseBinary(unaryLevel);
    default:
      return ParseOperand();
  }
}

Expr* Parser::MakeUnary(UnaryOp op, const Token& token, Expr* operand) {
  if (operand->kind == ExprKind::Number) {
    return NumberNode(token, FoldUnary(op, As<NumberExpr>(*operand).value));
  }
  auto* node = Node<UnaryExpr>(ExprKind::Unary, token);
  node->op = op;
  node->operand = operand;
  return Deepen(node, operand->depth);
}

Expr* Parser::MakeBinary(TokenKind op, const Token& token, Expr* left, Expr* right) {
  if (op == TokenKind::And || op == TokenKind::Or) {
    auto* node = Node<LogicExpr>(op == TokenKind::And ? ExprKind::And : ExprKind::Or, token);
    node->left = left;
    node->right = right;
    return Deepen(node, std::max(left->depth, right->depth));
  }
  if (BindingOf(op).left == BindingOf(TokenKind::Equal).left) {
    return MakeCompare(CompareOf(op), token, left, right);
  }
  return MakeArithmetic(ArithmeticOf(op), token, left, right);
}

Expr* Parser::MakeCompare(CompareOp op, const Token& token, Expr* left, Expr* right) {
  if (left->kind == ExprKind::Number && right->kind == ExprKind::Number) {
    const bool result = FoldCompare(op, As<NumberExpr>(*left).value, As<NumberExpr>(*right).value);
    return NumberNode(token, result ? 1 : 0);
  }
  auto* node = Node<CompareExpr>(ExprKind::Compare, token);
  node->op = op;
  node->left = left;
  node->right = right;
  return Deepen(node, std::max(left->depth, right->depth));
}

Expr* Parser::JoinTexts(const Token& token, const Expr& left, const Expr& right) {
  const auto text = [&](const Expr& expr) {
    return expr.kind == ExprKind::String ? names_.Text(As<StringExpr>(expr).text)
                                         : NumberText(As<NumberExpr>(expr).value);
  };
  return StringNode(token, names_.Intern(text(left) + text(right)));
}

Expr* Parser::MakeArithmetic(BinaryOp op, const Token& token, Expr* left, Expr* right) {
  if (op == BinaryOp::Concat && IsText(*right)) {
    if (IsText(*left)) return JoinTexts(token, *left, *right);
    // x .. "a" .. "b" joins its texts here and now as well.
    const bool isChain = left->kind == ExprKind::Binary &&
                         As<BinaryExpr>(*left).op == BinaryOp::Concat &&
                         IsText(*As<BinaryExpr>(*left).right);
    if (isChain) {
      auto& chain = As<BinaryExpr>(*left);
      chain.right = JoinTexts(token, *chain.right, *right);
      return left;
    }
  }
  if (left->kind == ExprKind::Number && right->kind == ExprKind::Number) {
    const auto value = FoldBinary(op, As<NumberExpr>(*left).value, As<NumberExpr>(*right).value);
    if (value) return NumberNode(token, *value);
  }
  auto* node = Node<BinaryExpr>(ExprKind::Binary, token);
  node->op = op;
  node->left = left;
  node->right = right;
  // A chain of texts is joined side by side, however long it is.
  const std::uint32_t leftDepth = op == BinaryOp::Concat ? left->depth - 1 : left->depth;
  return Deepen(node, std::max(leftDepth, right->depth));
}

Expr* Parser::ParseOperand() {
  const Token& token = Current();
  switch (token.kind) {
    case TokenKind::Number:
      Advance();
      return NumberNode(token, token.number);
    case TokenKind::String:
      Advance();
      return StringNode(token, token.name);
    case TokenKind::True:
      Advance();
      return NumberNode(token, 1);
    case TokenKind::False:
      Advance();
      return NumberNode(token, 0);
    case TokenKind::Nil:
      Advance();
      return Node<Expr>(ExprKind::Nil, token);
    case TokenKind::Constant:
      return ParseConstantName();
    case TokenKind::OpenBrace:
      return ParseTable();
    case TokenKind::Function:
      return ParseFunctionExpression();
    case TokenKind::Ellipsis:
      return ParseSurplus();
    default:
      return ParsePostfix();
  }
}

Expr* Parser::ParseConstantName() {
  const Token& token = Current();
  Advance();
  if (const auto found = constants_.find(token.name); found != constants_.end()) {
    const Expr& value = *found->second;
    return value.kind == ExprKind::Number ? NumberNode(token, As<NumberExpr>(value).value)
                                          : StringNode(token, As<StringExpr>(value).text);
  }
  if (const BuiltInConstant* constant = FindBuiltInConstant(names_.Text(token.name))) {
    return constant->text.empty() ? NumberNode(token, constant->value)
                                  : StringNode(token, names_.Intern(constant->text));
  }
  Fail(token.position, Error::ConstantNotFound);
  return ErrorNode();
}

/// `...` is what the caller passed beyond the parameters.
Expr* Parser::ParseSurplus() {
  const Token& token = Current();
  Advance();
  if (scope_->node->surplus == nullptr) {
    Fail(token.position, Error::UnexpectedSymbol);
    return ErrorNode();
  }
  auto* callee = Node<GlobalExpr>(ExprKind::Global, token);
  callee->name = names_.Intern("unpack");
  auto* list = Node<LocalExpr>(ExprKind::Local, token);
  list->local = scope_->node->surplus;
  Expr* arguments[] = {list};
  return MakeCall(token, callee, arena_.Copy<Expr*>(arguments));
}

Expr* Parser::MakeCall(const Token& token, Expr* callee, std::span<Expr*> arguments) {
  auto* node = Node<CallExpr>(ExprKind::Call, token);
  node->callee = callee;
  node->arguments = arguments;
  return Deepen(node, std::max(callee->depth, DepthOf(arguments)));
}

Expr* Parser::ParsePrimary() {
  const Token& token = Current();
  if (token.kind == TokenKind::Identifier) {
    Advance();
    return Variable(token.name, token);
  }
  if (token.kind == TokenKind::OpenBracket) {
    Advance();
    ++brackets_;
    SkipNewlines();
    Expr* inner = ParseExpression();
    SkipNewlines();
    --brackets_;
    ExpectClosing(TokenKind::CloseBracket, Error::ClosingBracketExpected);
    if (inner->kind != ExprKind::Call && inner->kind != ExprKind::Method) return inner;
    auto* node = Node<WrapExpr>(ExprKind::Single, token);
    node->operand = inner;
    return Deepen(node, inner->depth);
  }
  if (at_ > 0 && tokens_[at_ - 1].kind == TokenKind::Newline) {
    // The line that ended with an operator lacks the value, not the one behind it.
    --at_;
    FailHere(Error::ValueExpected);
  } else {
    FailHere(IsKeyword(token.kind) ? Error::CannotUseReservedWordHere : Error::ValueExpected);
  }
  return ErrorNode();
}

Expr* Parser::ParsePostfix() {
  Expr* value = ParsePrimary();
  for (;;) {
    const Token& token = Current();
    switch (token.kind) {
      case TokenKind::Dot: {
        Advance();
        const Token& nameToken = Current();
        const std::optional<Name> name = ExpectFieldName();
        if (!name) return ErrorNode();
        auto* node = Node<IndexExpr>(ExprKind::Index, token);
        node->table = value;
        node->key = StringNode(nameToken, *name);
        value = Deepen(node, value->depth);
        break;
      }
      case TokenKind::OpenSquare: {
        Advance();
        ++brackets_;
        SkipNewlines();
        auto* node = Node<IndexExpr>(ExprKind::Index, token);
        node->table = value;
        node->key = ParseExpression();
        SkipNewlines();
        --brackets_;
        ExpectClosing(TokenKind::CloseSquare, Error::ClosingSquareBracketExpected);
        value = Deepen(node, std::max(value->depth, node->key->depth));
        break;
      }
      case TokenKind::Arrow: {
        Advance();
        const std::optional<Name> name = ExpectFieldName();
        if (!name) return ErrorNode();
        auto* node = Node<MethodExpr>(ExprKind::Method, token);
        node->object = value;
        node->name = *name;
        if (!Is(TokenKind::OpenBracket)) FailHere(Error::OpeningBracketExpected);
        node->arguments = ParseArguments();
        value = Deepen(node, std::max(value->depth, DepthOf(node->arguments)));
        break;
      }
      case TokenKind::OpenBracket:
        value = MakeCall(token, value, ParseArguments());
        break;
      default:
        return value;
    }
  }
}

/// The values between brackets; the opening one is the current token.
std::span<Expr*> Parser::ParseArguments() {
  std::vector<Expr*> list;
  if (!Accept(TokenKind::OpenBracket)) return {};
  ++brackets_;
  SkipNewlines();
  if (!Is(TokenKind::CloseBracket)) {
    do {
      SkipNewlines();
      list.push_back(ParseExpression());
      SkipNewlines();
    } while (Accept(TokenKind::Comma));
  }
  --brackets_;
  ExpectClosing(TokenKind::CloseBracket, Error::MissingCloseBracket);
  return arena_.Copy<Expr*>(list);
}

std::span<Expr*> Parser::ParseExpressionList() {
  std::vector<Expr*> list;
  do {
    SkipNewlines();
    list.push_back(ParseExpression());
  } while (Accept(TokenKind::Comma));
  return arena_.Copy<Expr*>(list);
}

Expr* Parser::ParseTable() {
  const Token& token = Current();
  Advance();
  ++brackets_;
  std::vector<TableItem> items;
  SkipNewlines();
  while (!Is(TokenKind::CloseBrace) && !panic_) {
    ParseTableItem(items);
    SkipNewlines();
    if (!Accept(TokenKind::Comma)) break;
    SkipNewlines();
  }
  --brackets_;
  ExpectClosing(TokenKind::CloseBrace, Error::ClosingBraceExpected);
  if (static_cast<std::size_t>(std::ranges::count(items, nullptr, &TableItem::key)) >
      maxListItems) {
    Fail(token.position, Error::TooManyItemsConstructor);
  }
  auto* node = Node<TableExpr>(ExprKind::Table, token);
  node->items = arena_.Copy<TableItem>(items);
  std::uint32_t below = 0;
  for (const TableItem& item : items) {
    below = std::max({below, item.value->depth, item.key == nullptr ? 0 : item.key->depth});
  }
  return Deepen(node, below);
}

void Parser::ParseTableItem(std::vector<TableItem>& items) {
  const Token& token = Current();
  TableItem item;
  const bool isNamed = (token.kind == TokenKind::Identifier || IsKeyword(token.kind)) &&
                       Ahead().kind == TokenKind::Equal;
  if (isNamed) {
    item.key = StringNode(token, token.name);
    Advance();
    Advance();
  } else if (Accept(TokenKind::OpenSquare)) {
    SkipNewlines();
    item.key = ParseExpression();
    SkipNewlines();
    ExpectClosing(TokenKind::CloseSquare, Error::ClosingSquareBracketExpected);
    Expect(TokenKind::Equal, Error::EqualSignExpected);
  }
  SkipNewlines();
  item.value = ParseExpression();
  items.push_back(item);
}

Expr* Parser::ParseFunctionExpression() {
  const Token& token = Current();
  Advance();
  auto* node = Node<FunctionExpr>(ExprKind::Function, token);
  node->function = ParseFunctionBody(token, false);
  return Deepen(node, node->function->depth);
}

void Parser::ParseParameters(std::vector<LocalVar*>& parameters, LocalVar*& surplus) {
  if (!Expect(TokenKind::OpenBracket, Error::OpeningBracketExpected)) return;
  SkipNewlines();
  if (Accept(TokenKind::CloseBracket)) return;
  do {
    SkipNewlines();
    const Position position = Current().position;
    if (Accept(TokenKind::Ellipsis)) {
      surplus = MakeLocal(names_.Intern("arg"));
      break;
    }
    if (const auto name = ExpectName(Error::ParameterExpected)) {
      parameters.push_back(MakeLocal(*name));
      if (parameters.size() == maxParameters + 1) Fail(position, Error::TooManyParameters);
    }
    SkipNewlines();
  } while (Accept(TokenKind::Comma));
  SkipNewlines();
  ExpectClosing(TokenKind::CloseBracket, Error::ClosingBracketExpected);
}

/// Reads parameters and body up to `EndFunction`; a method has the hidden parameter `self`.
FunctionNode* Parser::ParseFunctionBody(const Token& opening, bool hasSelf) {
  FunctionNode* node = arena_.Make<FunctionNode>();
  node->parent = scope_->node;
  node->line = opening.line;
  node->position = opening.position;
  if (!EnterLevel()) return LeaveLevel(), node;

  FunctionScope scope{.node = node, .outer = scope_};
  scope_ = &scope;
  const int outerBrackets = std::exchange(brackets_, 0);
  std::vector<LocalVar*> parameters;
  if (hasSelf) parameters.push_back(MakeLocal(names_.Intern("self")));
  ParseParameters(parameters, node->surplus);
  OpenBlock();
  for (LocalVar* parameter : parameters) Activate(parameter, opening.position);
  if (node->surplus != nullptr) Activate(node->surplus, opening.position);
  node->parameters = arena_.Copy<LocalVar*>(parameters);

  open_.push_back({Construct::Function, opening.position});
  if (panic_) EndHeader();
  node->body = ParseBlock();
  open_.pop_back();
  node->lastLine = Current().line;
  CloseConstruct(TokenKind::EndFunction, Error::FunctionWithoutEndfunction, opening.position);
  CloseBlock();
  node->upvalues = arena_.Copy<UpvalueSource>(scope.upvalues);
  node->depth = scope.deepest;
  brackets_ = outerBrackets;
  scope_ = scope.outer;
  LeaveLevel();
  return node;
}

}  // namespace quillmere::qmc
