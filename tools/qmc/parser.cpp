#include "qmc/parser.h"

#include <algorithm>

#include "qmc/limits.h"

namespace quillmere::qmc {

bool Parser::Accept(TokenKind kind) {
  if (!Is(kind)) return false;
  Advance();
  return true;
}

bool Parser::Expect(TokenKind kind, Error error, std::string argument) {
  if (Accept(kind)) return true;
  FailHere(error, std::move(argument));
  return false;
}

/// Takes the closing sign of a pair. When its line ended without it, that end is the place to name.
bool Parser::ExpectClosing(TokenKind kind, Error error) {
  if (Accept(kind)) return true;
  if (at_ > 0 && tokens_[at_ - 1].kind == TokenKind::Newline) --at_;
  FailHere(error);
  return false;
}

void Parser::SkipNewlines() {
  if (panic_) return;
  while (Is(TokenKind::Newline)) Advance();
}

/// Passes over the rest of a faulty command.
void Parser::SkipCommand() {
  while (!Is(TokenKind::Newline) && !Is(TokenKind::Colon) && !Is(TokenKind::EndOfFile)) Advance();
}

void Parser::Fail(Position position, Error error, std::string argument) {
  if (!panic_) diagnostics_.Report(position, error, std::move(argument));
  panic_ = true;
  SkipCommand();
}

void Parser::FailHere(Error error, std::string argument) {
  // What the end of the script lacks is shown behind its last line.
  if (Is(TokenKind::EndOfFile) && at_ > 0 && tokens_[at_ - 1].kind == TokenKind::Newline) --at_;
  Fail(Current().position, error, std::move(argument));
}

bool Parser::EnterLevel() {
  if (++levels_ <= maxSyntaxLevels) return true;
  FailHere(Error::TooManySyntaxLevels);
  return false;
}

LocalVar* Parser::MakeLocal(Name name) {
  LocalVar* local = arena_.Make<LocalVar>();
  local->name = name;
  local->owner = scope_->node;
  return local;
}

void Parser::Activate(LocalVar* local, Position position) {
  scope_->active.push_back(local);
  CountRegisters(1, position);
  if (scope_->active.size() > static_cast<std::size_t>(maxLocals)) {
    Fail(position, Error::TooManyLocalVariables);
  }
}

void Parser::CountRegisters(int count, Position position) {
  const int before = scope_->node->localRegisters;
  scope_->node->localRegisters += count;
  const bool passes = before <= maxLocals && before + count > maxLocals;
  if (passes && scope_->node->hasLabels) Fail(position, Error::TooManyLocalVariables);
}

void Parser::CloseBlock() {
  scope_->active.resize(scope_->blocks.back());
  scope_->blocks.pop_back();
}

LocalVar* Parser::FindLocal(const FunctionScope& scope, Name name) {
  for (auto local = scope.active.rbegin(); local != scope.active.rend(); ++local) {
    if ((*local)->name == name) return *local;
  }
  return nullptr;
}

int Parser::AddUpvalue(FunctionScope& scope, UpvalueSource source) {
  if (scope.upvalues.size() >= maxUpvalues) {
    FailHere(Error::TooManyUpvalues);
    return 0;
  }
  scope.upvalues.push_back(source);
  return static_cast<int>(scope.upvalues.size() - 1);
}

/// The number of an upvalue that brings an outer local into the function; -1 when no function
/// around it has a local of the name.
int Parser::FindUpvalue(FunctionScope& scope, Name name) {
  if (scope.outer == nullptr) return -1;
  LocalVar* local = FindLocal(*scope.outer, name);
  const int outerIndex = local == nullptr ? FindUpvalue(*scope.outer, name) : 0;
  if (outerIndex < 0) return -1;
  const auto same = std::ranges::find_if(scope.upvalues, [&](const UpvalueSource& source) {
    return source.local == local && source.outerIndex == outerIndex;
  });
  if (same != scope.upvalues.end()) return static_cast<int>(same - scope.upvalues.begin());
  if (local != nullptr) local->captured = true;
  return AddUpvalue(scope, {name, local, outerIndex});
}

Expr* Parser::Variable(Name name, const Token& token) {
  if (LocalVar* local = FindLocal(*scope_, name)) {
    auto* node = Node<LocalExpr>(ExprKind::Local, token);
    node->local = local;
    return node;
  }
  if (const int index = FindUpvalue(*scope_, name); index >= 0) {
    auto* node = Node<UpvalueExpr>(ExprKind::Upvalue, token);
    node->index = index;
    return node;
  }
  auto* node = Node<GlobalExpr>(ExprKind::Global, token);
  node->name = name;
  return node;
}

std::optional<Name> Parser::ExpectName(Error error) {
  if (Is(TokenKind::Identifier)) {
    const Name name = Current().name;
    Advance();
    return name;
  }
  FailHere(IsKeyword(Current().kind) ? Error::CannotUseReservedWordHere
           : Is(TokenKind::Constant) ? Error::ConstantsNotAllowedHere
                                     : error);
  return std::nullopt;
}

/// The name behind a dot or an arrow, where reserved words are names as good as any.
std::optional<Name> Parser::ExpectFieldName() {
  if (Is(TokenKind::Identifier) || IsKeyword(Current().kind)) {
    const Name name = Current().name;
    Advance();
    return name;
  }
  FailHere(Error::SyntaxErrorVariableName);
  return std::nullopt;
}

Script Parser::Run() {
  script_.main = arena_.Make<FunctionNode>();
  script_.main->hasLabels = std::ranges::any_of(tokens_, [](const Token& token) {
    return token.kind == TokenKind::Gosub || token.kind == TokenKind::Goto;
  });
  for (std::size_t i = 0; i + 1 < tokens_.size() && !script_.main->hasLabels; ++i) {
    at_ = i;
    script_.main->hasLabels = AtLabel();
  }
  at_ = 0;
  FunctionScope scope{.node = script_.main};
  scope_ = &scope;
  if (Is(TokenKind::EndOfFile) ||
      (Is(TokenKind::Newline) && Ahead().kind == TokenKind::EndOfFile)) {
    diagnostics_.Report({}, Error::ScriptEmpty);
  }
  OpenBlock();
  script_.main->body = ParseBlock();
  CloseBlock();
  script_.main->lastLine = Current().line;
  CheckLabels();
  return std::move(script_);
}

void Parser::CheckLabels() {
  for (const PendingLabel& jump : jumps_) {
    if (!labels_.contains(jump.name)) {
      diagnostics_.Report(jump.position, Error::LabelNotFound, names_.Text(jump.name));
    }
  }
}

}  // namespace quillmere::qmc
