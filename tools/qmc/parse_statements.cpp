// The parser's part for commands: blocks, loops, jumps, declarations.
#include <algorithm>

#include "base/fold.h"
#include "qmc/constants.h"
#include "qmc/declarations.h"
#include "qmc/limits.h"
#include "qmc/parser.h"

namespace quillmere::qmc {

bool Parser::IsOpen(Construct construct) const {
  return std::ranges::any_of(
      open_, [=](const OpenConstruct& open) { return open.construct == construct; });
}

/// Whether the current token ends the block that is being read. A word that ends a block of a kind
/// that is not open at all is reported and passed over.
bool Parser::AtBlockEnd() {
  struct Ending {
    TokenKind token;
    Construct construct;
    Error stray;
  };
  static constexpr Ending endings[] = {
      {TokenKind::Else, Construct::If, Error::ElseWithoutIf},
      {TokenKind::ElseIf, Construct::If, Error::ElseWithoutIf},
      {TokenKind::EndIf, Construct::If, Error::EndifWithoutIf},
      {TokenKind::Wend, Construct::While, Error::WendWithoutWhile},
      {TokenKind::Next, Construct::For, Error::NextWithoutFor},
      {TokenKind::Until, Construct::Repeat, Error::UntilWithoutRepeat},
      {TokenKind::Forever, Construct::Repeat, Error::ForeverWithoutRepeat},
      {TokenKind::Case, Construct::Switch, Error::UnexpectedSymbol},
      {TokenKind::Default, Construct::Switch, Error::UnexpectedSymbol},
      {TokenKind::EndSwitch, Construct::Switch, Error::EndswitchWithoutSwitch},
      {TokenKind::EndBlock, Construct::Block, Error::EndblockWithoutBlock},
      {TokenKind::EndFunction, Construct::Function, Error::EndfunctionWithoutFunction},
  };
  if (Is(TokenKind::EndOfFile)) return true;
  const auto ending = std::ranges::find(endings, Current().kind, &Ending::token);
  if (ending == std::end(endings)) return false;
  if (IsOpen(ending->construct)) return true;
  FailHere(ending->stray);
  panic_ = false;
  return false;
}

StatementList Parser::ParseBlock() {
  const std::size_t first = pending_.size();
  for (;;) {
    while (Is(TokenKind::Newline) || Is(TokenKind::Colon)) Advance();
    if (diagnostics_.Full() || AtBlockEnd()) break;
    if (Is(TokenKind::Newline)) continue;
    if (Statement* statement = ParseStatement()) pending_.push_back(statement);
    EndCommand();
  }
  const std::span<Statement* const> list(pending_.data() + first, pending_.size() - first);
  const StatementList block = arena_.Copy<Statement*>(list);
  pending_.resize(first);
  return block;
}

StatementList Parser::ParseScopedBlock() {
  OpenBlock();
  const StatementList block = ParseBlock();
  CloseBlock();
  return block;
}

/// The commands of a short `If`, up to `Else` or the end of the line.
StatementList Parser::ParseInlineBlock(Position opening) {
  const std::size_t first = pending_.size();
  const std::uint32_t line = Current().line;
  OpenBlock();
  for (;;) {
    while (Accept(TokenKind::Colon)) {
    }
    if (Is(TokenKind::Newline) || AtBlockEnd()) break;
    Statement* statement = ParseStatement();
    if (statement != nullptr) {
      pending_.push_back(statement);
      const bool isCommand =
          statement->kind == StatementKind::Call || statement->kind == StatementKind::Assign ||
          statement->kind == StatementKind::Local || statement->kind == StatementKind::Return;
      if (!isCommand && Current().line != line && !Is(TokenKind::EndOfFile) &&
          !(Is(TokenKind::Newline) && tokens_[at_ - 1].line == line)) {
        Fail(opening, Error::ShortIfOnOneLine);
      }
    }
    if (panic_ || Is(TokenKind::Newline) || AtBlockEnd()) break;
    if (!Is(TokenKind::Colon)) {
      FailHere(Error::ColonBetweenCommands);
      break;
    }
  }
  CloseBlock();
  const std::span<Statement* const> list(pending_.data() + first, pending_.size() - first);
  const StatementList block = arena_.Copy<Statement*>(list);
  pending_.resize(first);
  return block;
}

/// The end of the first line of a block.
void Parser::EndHeader() {
  if (panic_ || Is(TokenKind::EndOfFile)) {
    panic_ = false;
    return;
  }
  if (Is(TokenKind::Newline) || Is(TokenKind::Colon)) return;
  // What follows is read all the same, since the end of the block may be on this line.
  diagnostics_.Report(Current().position, Error::ColonBetweenCommands);
}

void Parser::EndCommand() {
  if (panic_) {
    panic_ = false;
    return;
  }
  if (Is(TokenKind::Newline) || Is(TokenKind::Colon) || AtBlockEnd()) return;
  if (Is(TokenKind::Newline)) return;
  const TokenKind kind = Current().kind;
  const bool startsCommand = kind == TokenKind::Identifier || IsKeyword(kind);
  FailHere(kind == TokenKind::CloseBracket ? Error::UnmatchedParentheses
           : startsCommand                 ? Error::ColonBetweenCommands
                                           : Error::UnexpectedSymbol);
  panic_ = false;
}

/// Takes the word that closes a block, or reports the block as open.
void Parser::CloseConstruct(TokenKind end, Error missing, Position opening) {
  if (Accept(end)) return;
  if (!panic_) diagnostics_.Report(opening, missing);
}

/// Reads the block of a loop up to, not including, the word that closes it.
Statement* Parser::ParseLoopBody(Construct construct, Position opening, StatementList& body) {
  open_.push_back({construct, opening});
  ++scope_->loops;
  body = ParseBlock();
  --scope_->loops;
  open_.pop_back();
  return nullptr;
}

bool Parser::AtLabel() const {
  if (!Is(TokenKind::Identifier) || Ahead().kind != TokenKind::Colon) return false;
  if (at_ > 0 && tokens_[at_ - 1].kind != TokenKind::Newline) return false;
  const std::size_t length = names_.Text(Current().name).size();
  return Ahead().position.offset == Current().position.offset + length;
}

Statement* Parser::ParseStatement() {
  if (!EnterLevel()) return LeaveLevel(), nullptr;
  Statement* statement = nullptr;
  if (AtLabel()) {
    statement = ParseLabel();
  } else if (IsKeyword(Current().kind)) {
    statement = ParseKeyword();
  } else if (Is(TokenKind::Directive)) {
    ParseDirective();
  } else {
    statement = ParseAssignmentOrCall();
  }
  LeaveLevel();
  return statement;
}

Statement* Parser::ParseKeyword() {
  switch (Current().kind) {
    case TokenKind::Block:
      return ParseBlockStatement();
    case TokenKind::Break:
      return ParseJumpOut(StatementKind::Break, Error::NoLoopBreak);
    case TokenKind::Const:
      ParseConst();
      return nullptr;
    case TokenKind::Continue:
      return ParseJumpOut(StatementKind::Continue, Error::NoLoopContinue);
    case TokenKind::For:
      return ParseFor();
    case TokenKind::Function:
      return ParseFunction();
    case TokenKind::Gosub:
      return ParseJump(StatementKind::Gosub);
    case TokenKind::Goto:
      return ParseJump(StatementKind::Goto);
    case TokenKind::If:
      return ParseIf();
    case TokenKind::Local:
      return ParseLocal();
    case TokenKind::Repeat:
      return ParseRepeat();
    case TokenKind::Return:
      return ParseReturn();
    case TokenKind::Switch:
      return ParseSwitch();
    case TokenKind::While:
      return ParseWhile();
    default:
      FailHere(Error::CannotUseReservedWordHere);
      return nullptr;
  }
}

Statement* Parser::ParseLocal() {
  const Token& opening = Current();
  Advance();
  if (Is(TokenKind::Function)) return ParseLocalFunction(opening);
  std::vector<LocalVar*> variables;
  std::vector<Position> positions;
  do {
    SkipNewlines();
    positions.push_back(Current().position);
    const auto name = ExpectName(Error::VariableExpected);
    if (!name) return nullptr;
    const auto inBlock = std::span(scope_->active).subspan(scope_->blocks.back());
    const auto isSame = [&](const LocalVar* local) { return local->name == *name; };
    if (std::ranges::any_of(inBlock, isSame) || std::ranges::any_of(variables, isSame)) {
      Fail(positions.back(), Error::VariableAlreadyInitialized);
      return nullptr;
    }
    variables.push_back(MakeLocal(*name));
  } while (Accept(TokenKind::Comma));
  auto* node = Make<LocalStatement>(StatementKind::Local, opening);
  if (Accept(TokenKind::Equal)) node->values = ParseExpressionList();
  for (std::size_t i = 0; i < variables.size(); ++i) Activate(variables[i], positions[i]);
  node->variables = arena_.Copy<LocalVar*>(variables);
  return node;
}

Statement* Parser::ParseLocalFunction(const Token& opening) {
  const Token& functionToken = Current();
  Advance();
  const Position position = Current().position;
  const auto name = ExpectName(Error::SyntaxErrorVariableName);
  LocalVar* local = MakeLocal(name.value_or(0));
  Activate(local, position);
  auto* value = Node<FunctionExpr>(ExprKind::Function, functionToken);
  value->function = ParseFunctionBody(functionToken, false);
  Deepen(value, value->function->depth);
  auto* node = Make<LocalStatement>(StatementKind::Local, opening);
  node->isFunction = true;
  node->variables = arena_.Copy<LocalVar*>(std::span<LocalVar* const>(&local, 1));
  Expr* values[] = {value};
  node->values = arena_.Copy<Expr*>(values);
  return node;
}

/// `Function name(...)`, `Function table.name(...)`, `Function table->name(...)`.
Statement* Parser::ParseFunction() {
  const Token& opening = Current();
  Advance();
  const Token& nameToken = Current();
  const auto name = ExpectName(Error::SyntaxErrorVariableName);
  Expr* target = name ? Variable(*name, nameToken) : ErrorNode();
  bool isMethod = false;
  while (name && !isMethod && (Is(TokenKind::Dot) || Is(TokenKind::Arrow))) {
    isMethod = Is(TokenKind::Arrow);
    Advance();
    const Token& fieldToken = Current();
    const auto field = ExpectFieldName();
    if (!field) break;
    auto* node = Node<IndexExpr>(ExprKind::Index, fieldToken);
    node->table = target;
    node->key = StringNode(fieldToken, *field);
    target = Deepen(node, target->depth);
  }
  auto* value = Node<FunctionExpr>(ExprKind::Function, opening);
  value->function = ParseFunctionBody(opening, isMethod);
  Deepen(value, value->function->depth);
  auto* node = Make<AssignStatement>(StatementKind::Assign, opening);
  Expr* targets[] = {target};
  Expr* values[] = {value};
  node->targets = arena_.Copy<Expr*>(targets);
  node->values = arena_.Copy<Expr*>(values);
  return node;
}

Statement* Parser::ParseIf() {
  const Token& opening = Current();
  std::vector<IfClause> clauses;
  bool isShort = false;
  open_.push_back({Construct::If, opening.position});
  Advance();
  ParseIfClause(clauses, isShort, opening.position);
  while (Is(TokenKind::ElseIf)) {
    Advance();
    ParseIfClause(clauses, isShort, opening.position);
  }
  if (Accept(TokenKind::Else)) {
    IfClause clause;
    clause.body = isShort ? ParseInlineBlock(opening.position) : ParseScopedBlock();
    clauses.push_back(clause);
  }
  open_.pop_back();
  if (isShort) {
    Accept(TokenKind::EndIf);
  } else {
    CloseConstruct(TokenKind::EndIf, Error::IfWithoutEndif, opening.position);
  }
  auto* node = Make<IfStatement>(StatementKind::If, opening);
  node->clauses = arena_.Copy<IfClause>(clauses);
  return node;
}

/// Condition and block of `If` or `ElseIf`. What stands behind the first `Then` decides whether all
/// of it is on one line.
void Parser::ParseIfClause(std::vector<IfClause>& clauses, bool& isShort, Position opening) {
  IfClause clause;
  clause.condition = ParseExpression();
  const bool hasThen = !panic_ && Accept(TokenKind::Then);
  const bool atLineEnd = Is(TokenKind::Newline) || Is(TokenKind::EndOfFile) || Is(TokenKind::Colon);
  if (clauses.empty()) isShort = hasThen && !atLineEnd;
  if (isShort) {
    clause.body = ParseInlineBlock(opening);
  } else {
    if (!panic_ && !atLineEnd && !hasThen) FailHere(Error::TokenExpected, "Then");
    EndHeader();
    clause.body = ParseScopedBlock();
  }
  clauses.push_back(clause);
}

Statement* Parser::ParseSwitch() {
  const Token& opening = Current();
  Advance();
  auto* node = Make<SwitchStatement>(StatementKind::Switch, opening);
  node->value = ParseExpression();
  EndHeader();
  open_.push_back({Construct::Switch, opening.position});
  CountRegisters(1, opening.position);
  std::vector<SwitchCase> cases;
  bool hasDefault = false;
  for (;;) {
    while (Is(TokenKind::Newline) || Is(TokenKind::Colon)) Advance();
    if (Is(TokenKind::Case)) {
      cases.push_back(ParseCase());
    } else if (Is(TokenKind::Default)) {
      if (std::exchange(hasDefault, true)) FailHere(Error::UnexpectedSymbol);
      Advance();
      SwitchCase other;
      EndHeader();
      other.body = ParseScopedBlock();
      cases.push_back(other);
    } else if (diagnostics_.Full() || AtBlockEnd()) {
      break;
    } else if (!Is(TokenKind::Newline)) {
      FailHere(Error::TokenExpected, "Case");
      panic_ = false;
    }
  }
  open_.pop_back();
  CloseConstruct(TokenKind::EndSwitch, Error::SwitchWithoutEndswitch, opening.position);
  node->cases = arena_.Copy<SwitchCase>(cases);
  return node;
}

SwitchCase Parser::ParseCase() {
  Advance();
  std::vector<Expr*> values;
  do {
    SkipNewlines();
    Expr* value = ParseExpression();
    const bool isConstant = value->kind == ExprKind::Number || value->kind == ExprKind::String ||
                            value->kind == ExprKind::Nil;
    if (!isConstant) Fail(value->position, Error::CaseExpressionMustConstant);
    values.push_back(value);
  } while (Accept(TokenKind::Comma));
  if (!panic_ && !Is(TokenKind::Newline) && !Is(TokenKind::Colon)) FailHere(Error::ColonExpected);
  panic_ = false;
  SwitchCase result;
  result.values = arena_.Copy<Expr*>(values);
  result.body = ParseScopedBlock();
  return result;
}

Statement* Parser::ParseWhile() {
  const Token& opening = Current();
  Advance();
  auto* node = Make<WhileStatement>(StatementKind::While, opening);
  node->condition = ParseExpression();
  EndHeader();
  OpenBlock();
  ParseLoopBody(Construct::While, opening.position, node->body);
  CloseBlock();
  node->endLine = Current().line;
  CloseConstruct(TokenKind::Wend, Error::WhileWithoutWend, opening.position);
  return node;
}

Statement* Parser::ParseRepeat() {
  const Token& opening = Current();
  Advance();
  auto* node = Make<RepeatStatement>(StatementKind::Repeat, opening);
  EndHeader();
  OpenBlock();
  ParseLoopBody(Construct::Repeat, opening.position, node->body);
  node->endLine = Current().line;
  if (Accept(TokenKind::Until)) {
    // The condition may use the locals of the block.
    node->condition = ParseExpression();
  } else {
    CloseConstruct(TokenKind::Forever, Error::RepeatWithoutUntil, opening.position);
  }
  CloseBlock();
  return node;
}

Statement* Parser::ParseFor() {
  const Token& opening = Current();
  Advance();
  const Position position = Current().position;
  const auto name = ExpectName(Error::VariableExpected);
  const bool isIn = Is(TokenKind::Comma) || Is(TokenKind::In);
  return isIn ? ParseForIn(opening, *name, position)
              : ParseForNumber(opening, name.value_or(0), position);
}

Statement* Parser::ParseForNumber(const Token& opening, Name name, Position position) {
  auto* node = Make<ForNumberStatement>(StatementKind::ForNumber, opening);
  Expect(TokenKind::Equal, Error::EqualSignExpected);
  node->first = ParseExpression();
  Expect(TokenKind::To, Error::TokenExpected, "To");
  node->last = ParseExpression();
  if (Accept(TokenKind::Step)) node->step = ParseExpression();
  EndHeader();
  OpenBlock();
  node->variable = MakeLocal(name);
  CountRegisters(2, position);
  Activate(node->variable, position);
  panic_ = false;
  ParseLoopBody(Construct::For, opening.position, node->body);
  CloseBlock();
  node->endLine = Current().line;
  ParseNext(name, opening.position);
  return node;
}

Statement* Parser::ParseForIn(const Token& opening, Name first, Position position) {
  auto* node = Make<ForInStatement>(StatementKind::ForIn, opening);
  std::vector<LocalVar*> variables = {MakeLocal(first)};
  while (Accept(TokenKind::Comma)) {
    if (const auto name = ExpectName(Error::VariableExpected))
      variables.push_back(MakeLocal(*name));
  }
  Expect(TokenKind::In, Error::TokenExpected, "In");
  node->values = ParseExpressionList();
  EndHeader();
  OpenBlock();
  CountRegisters(HiddenRegistersOfForIn(variables.size()), position);
  for (LocalVar* variable : variables) Activate(variable, position);
  panic_ = false;
  node->variables = arena_.Copy<LocalVar*>(variables);
  ParseLoopBody(Construct::For, opening.position, node->body);
  CloseBlock();
  node->endLine = Current().line;
  ParseNext(first, opening.position);
  return node;
}

/// `Next`, which may repeat the name of the loop's variable.
void Parser::ParseNext(Name variable, Position opening) {
  CloseConstruct(TokenKind::Next, Error::ForWithoutNext, opening);
  if (!Is(TokenKind::Identifier) || tokens_[at_ - 1].kind != TokenKind::Next) return;
  if (Current().name != variable) {
    FailHere(Error::TokenExpected, names_.Text(variable));
    return;
  }
  Advance();
}

Statement* Parser::ParseBlockStatement() {
  const Token& opening = Current();
  Advance();
  EndHeader();
  open_.push_back({Construct::Block, opening.position});
  auto* node = Make<BlockStatement>(StatementKind::Block, opening);
  node->body = ParseScopedBlock();
  open_.pop_back();
  CloseConstruct(TokenKind::EndBlock, Error::BlockWithoutEndblock, opening.position);
  return node;
}

Statement* Parser::ParseJumpOut(StatementKind kind, Error none) {
  const Token& opening = Current();
  Advance();
  auto* node = Make<JumpOutStatement>(kind, opening);
  const bool hasNumber = !Is(TokenKind::Newline) && !Is(TokenKind::Colon) && !AtBlockEnd();
  if (scope_->loops == 0) {
    Fail(opening.position, none);
    return nullptr;
  }
  if (!hasNumber) return node;
  const Position position = Current().position;
  const Expr* value = ParseExpression();
  if (panic_) return nullptr;
  const double number = value->kind == ExprKind::Number ? As<NumberExpr>(*value).value : 0.5;
  if (number != static_cast<double>(static_cast<long>(number))) {
    Fail(position, Error::IntegerValueExpected);
  } else if (number < 1 || number > scope_->loops) {
    Fail(position, Error::LoopNumberOutRange);
  }
  node->loops = static_cast<int>(number);
  return panic_ ? nullptr : node;
}

Statement* Parser::ParseJump(StatementKind kind) {
  const Token& opening = Current();
  if (!InMain()) {
    FailHere(Error::GotoInFunction);
    return nullptr;
  }
  Advance();
  const Position position = Current().position;
  const auto name = ExpectName(Error::SyntaxErrorVariableName);
  if (!name) return nullptr;
  jumps_.push_back({*name, position});
  auto* node = Make<LabelStatement>(kind, opening);
  node->name = *name;
  return node;
}

Statement* Parser::ParseLabel() {
  const Token& opening = Current();
  if (!InMain()) {
    FailHere(Error::LabelsNotAllowedFunctions);
    return nullptr;
  }
  if (!open_.empty()) {
    switch (open_.back().construct) {
      case Construct::For:
        FailHere(Error::LabelsWithinForLoop);
        break;
      case Construct::While:
        FailHere(Error::LabelsWithinWhileLoop);
        break;
      case Construct::If:
        FailHere(Error::LabelInsideIf);
        break;
      default:
        FailHere(Error::LabelOutsideMain);
        break;
    }
    return nullptr;
  }
  if (!labels_.insert(opening.name).second) {
    FailHere(Error::LabelAlreadyDefined, names_.Text(opening.name));
    return nullptr;
  }
  Advance();
  auto* node = Make<LabelStatement>(StatementKind::Label, opening);
  node->name = opening.name;
  return node;
}

/// In a function it leaves the function; in the main block it comes back from `Gosub`.
Statement* Parser::ParseReturn() {
  const Token& opening = Current();
  Advance();
  const bool hasValues = !Is(TokenKind::Newline) && !Is(TokenKind::Colon) && !AtBlockEnd();
  if (InMain() && hasValues) {
    FailHere(Error::CommandDoesNotReturnAnything);
    return nullptr;
  }
  if (InMain()) return Make<Statement>(StatementKind::ReturnSub, opening);
  auto* node = Make<ReturnStatement>(StatementKind::Return, opening);
  if (hasValues) node->values = ParseExpressionList();
  return node;
}

Statement* Parser::ParseAssignmentOrCall() {
  const Token& opening = Current();
  if (opening.kind == TokenKind::Constant) {
    FailHere(Error::ConstantsNotAllowedHere);
    return nullptr;
  }
  if (opening.kind != TokenKind::Identifier && opening.kind != TokenKind::OpenBracket) {
    FailHere(Error::UnexpectedSymbol);
    return nullptr;
  }
  Expr* first = ParsePostfix();
  if (panic_) return nullptr;
  if (Is(TokenKind::Equal) || Is(TokenKind::Comma)) return ParseAssignment(opening, first);
  auto* node = Make<CallStatement>(StatementKind::Call, opening);
  if (first->kind == ExprKind::Call || first->kind == ExprKind::Method) {
    node->call = first;
    return node;
  }
  // A name alone is a call without arguments.
  if (!Is(TokenKind::Newline) && !Is(TokenKind::Colon) && !AtBlockEnd()) {
    FailHere(Error::OpeningBracketExpected);
    return nullptr;
  }
  node->call = MakeCall(opening, first, {});
  return node;
}

Statement* Parser::ParseAssignment(const Token& opening, Expr* first) {
  std::vector<Expr*> targets = {first};
  while (Accept(TokenKind::Comma)) {
    if (Is(TokenKind::Constant)) {
      FailHere(Error::ConstantsNotAllowedHere);
      return nullptr;
    }
    targets.push_back(ParsePostfix());
  }
  for (const Expr* target : targets) {
    const bool isVariable = target->kind == ExprKind::Local || target->kind == ExprKind::Upvalue ||
                            target->kind == ExprKind::Global || target->kind == ExprKind::Index;
    if (!isVariable) {
      Fail(target->position, Error::VariableExpected);
      return nullptr;
    }
  }
  if (!Expect(TokenKind::Equal, Error::EqualSignExpected)) return nullptr;
  auto* node = Make<AssignStatement>(StatementKind::Assign, opening);
  node->targets = arena_.Copy<Expr*>(targets);
  node->values = ParseExpressionList();
  return node;
}

void Parser::ParseConst() {
  Advance();
  do {
    SkipNewlines();
    const Token& token = Current();
    if (!Expect(TokenKind::Constant, Error::TokenExpected, "#")) return;
    if (!Expect(TokenKind::Equal, Error::EqualSignExpected)) return;
    DeclareConstant(token, ParseExpression());
  } while (Accept(TokenKind::Comma));
}

void Parser::DeclareConstant(const Token& token, Expr* value) {
  const std::string& name = names_.Text(token.name);
  if (panic_) return;
  if (value->kind != ExprKind::Number && value->kind != ExprKind::String) {
    Fail(value->position, Error::ValueExpected);
  } else if (constants_.contains(token.name) || FindBuiltInConstant(name) != nullptr) {
    Fail(token.position, Error::ConstantAlreadyDeclared, name);
  } else {
    constants_.emplace(token.name, value);
    script_.constants.push_back({token.name, value});
  }
}

void Parser::ParseDirective() {
  Directive directive{Current().name, Current().position, Current().line, {}};
  const std::string& name = names_.Text(directive.name);
  if (!Declarations::Knows(name)) {
    Fail(directive.position, Error::UnknownPreprocessorCommand, FoldUpper(name));
    return;
  }
  if (!InMain() || !open_.empty()) {
    FailHere(Error::SyntaxError);
    return;
  }
  Advance();
  if (!Is(TokenKind::Newline) && !Is(TokenKind::EndOfFile)) {
    const std::span<Expr*> arguments = ParseExpressionList();
    directive.arguments.assign(arguments.begin(), arguments.end());
  }
  if (!panic_) script_.directives.push_back(std::move(directive));
}

}  // namespace quillmere::qmc
