// From the words of a script to its tree. A fault ends the command it stands in: the rest of it is
// passed over and parsing goes on, so that one run finds most faults of a script.
#pragma once

#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "qmc/arena.h"
#include "qmc/ast.h"
#include "qmc/diagnostics.h"
#include "qmc/names.h"
#include "qmc/token.h"

namespace quillmere::qmc {

/// A line that begins with `@`: what an applet carries ahead of its code.
struct Directive {
  /// Folded, without the sign.
  Name name = 0;
  Position position;
  std::uint32_t line = 0;
  /// Constant values: numbers, texts, and tables of them.
  std::vector<Expr*> arguments;
};

/// A constant that the script declares.
struct UserConstant {
  Name name = 0;
  /// A number or a text.
  Expr* value = nullptr;
};

/// A parsed script.
struct Script {
  FunctionNode* main = nullptr;
  std::vector<Directive> directives;
  std::vector<UserConstant> constants;
};

class Parser {
 public:
  /// The tokens end with `EndOfFile`. The tree is made in `arena`; faults go to `diagnostics`.
  Parser(const std::vector<Token>& tokens, NameTable& names, Arena& arena, Diagnostics& diagnostics)
      : tokens_(tokens), names_(names), arena_(arena), diagnostics_(diagnostics) {}

  Script Run();

 private:
  // What is open around the current place.
  enum class Construct : std::uint8_t { If, While, For, Repeat, Switch, Block, Function };
  struct OpenConstruct {
    Construct construct;
    Position position;
  };
  struct FunctionScope {
    FunctionNode* node = nullptr;
    FunctionScope* outer = nullptr;
    std::vector<LocalVar*> active = {};
    /// For each open block, where its locals begin in `active`.
    std::vector<std::size_t> blocks = {};
    std::vector<UpvalueSource> upvalues = {};
    int loops = 0;
    /// The deepest tree of a value in the function.
    std::uint32_t deepest = 0;
  };
  struct PendingLabel {
    Name name;
    Position position;
  };

  // Tokens.
  [[nodiscard]] const Token& Current() const { return tokens_[at_]; }
  [[nodiscard]] const Token& Ahead() const {
    return tokens_[std::min(at_ + 1, tokens_.size() - 1)];
  }
  [[nodiscard]] bool Is(TokenKind kind) const { return Current().kind == kind; }
  void Advance() {
    if (!Is(TokenKind::EndOfFile)) ++at_;
  }
  bool Accept(TokenKind kind);
  /// Takes a token or reports its lack.
  bool Expect(TokenKind kind, Error error, std::string argument = {});
  bool ExpectClosing(TokenKind kind, Error error);
  void SkipNewlines();
  void SkipCommand();

  // Faults.
  void Fail(Position position, Error error, std::string argument = {});
  void FailHere(Error error, std::string argument = {});
  bool EnterLevel();
  void LeaveLevel() { --levels_; }

  // Names and scopes.
  void OpenBlock() { scope_->blocks.push_back(scope_->active.size()); }
  void CloseBlock();
  [[nodiscard]] LocalVar* MakeLocal(Name name);
  void Activate(LocalVar* local, Position position);
  void CountRegisters(int count, Position position);
  [[nodiscard]] static LocalVar* FindLocal(const FunctionScope& scope, Name name);
  int FindUpvalue(FunctionScope& scope, Name name);
  int AddUpvalue(FunctionScope& scope, UpvalueSource source);
  [[nodiscard]] Expr* Variable(Name name, const Token& token);
  std::optional<Name> ExpectName(Error error);
  std::optional<Name> ExpectFieldName();

  // Expressions.
  template <class T>
  T* Node(ExprKind kind, const Token& token) {
    T* node = arena_.Make<T>();
    node->kind = kind;
    node->line = token.line;
    node->position = token.position;
    return node;
  }
  /// Notes how deep a node's tree is, which has a limit.
  Expr* Deepen(Expr* node, std::uint32_t below);
  static std::uint32_t DepthOf(std::span<Expr* const> list);
  [[nodiscard]] Expr* ErrorNode() { return Node<Expr>(ExprKind::Error, Current()); }
  [[nodiscard]] Expr* NumberNode(const Token& token, double value);
  [[nodiscard]] Expr* StringNode(const Token& token, Name text);
  Expr* ParseExpression() { return ParseBinary(0); }
  Expr* ParseBinary(int minimum);
  Expr* ParseUnary();
  Expr* ParseOperand();
  Expr* ParsePostfix();
  Expr* ParsePrimary();
  Expr* ParseConstantName();
  Expr* ParseTable();
  void ParseTableItem(std::vector<TableItem>& items);
  Expr* ParseFunctionExpression();
  Expr* ParseSurplus();
  std::span<Expr*> ParseArguments();
  std::span<Expr*> ParseExpressionList();
  Expr* MakeBinary(TokenKind op, const Token& token, Expr* left, Expr* right);
  Expr* JoinTexts(const Token& token, const Expr& left, const Expr& right);
  Expr* MakeArithmetic(BinaryOp op, const Token& token, Expr* left, Expr* right);
  Expr* MakeCompare(CompareOp op, const Token& token, Expr* left, Expr* right);
  Expr* MakeUnary(UnaryOp op, const Token& token, Expr* operand);
  Expr* MakeCall(const Token& token, Expr* callee, std::span<Expr*> arguments);
  FunctionNode* ParseFunctionBody(const Token& opening, bool hasSelf);
  void ParseParameters(std::vector<LocalVar*>& parameters, LocalVar*& surplus);

  // Statements.
  template <class T>
  T* Make(StatementKind kind, const Token& token) {
    T* node = arena_.Make<T>();
    node->kind = kind;
    node->line = token.line;
    node->position = token.position;
    return node;
  }
  StatementList ParseBlock();
  StatementList ParseScopedBlock();
  StatementList ParseInlineBlock(Position opening);
  Statement* ParseStatement();
  Statement* ParseKeyword();
  Statement* ParseLocal();
  Statement* ParseLocalFunction(const Token& opening);
  Statement* ParseFunction();
  Statement* ParseIf();
  void ParseIfClause(std::vector<IfClause>& clauses, bool& isShort, Position opening);
  Statement* ParseWhile();
  Statement* ParseRepeat();
  Statement* ParseFor();
  Statement* ParseForNumber(const Token& opening, Name name, Position position);
  Statement* ParseForIn(const Token& opening, Name first, Position position);
  void ParseNext(Name variable, Position opening);
  Statement* ParseSwitch();
  SwitchCase ParseCase();
  Statement* ParseBlockStatement();
  Statement* ParseJumpOut(StatementKind kind, Error none);
  Statement* ParseJump(StatementKind kind);
  Statement* ParseLabel();
  Statement* ParseReturn();
  Statement* ParseAssignmentOrCall();
  Statement* ParseAssignment(const Token& opening, Expr* first);
  void ParseConst();
  void DeclareConstant(const Token& token, Expr* value);
  void ParseDirective();
  Statement* ParseLoopBody(Construct construct, Position opening, StatementList& body);
  void EndHeader();
  void EndCommand();
  void CloseConstruct(TokenKind end, Error missing, Position opening);
  [[nodiscard]] bool AtBlockEnd();
  [[nodiscard]] bool AtLabel() const;
  [[nodiscard]] bool IsOpen(Construct construct) const;
  [[nodiscard]] bool InMain() const { return scope_->outer == nullptr; }
  void CheckLabels();

  const std::vector<Token>& tokens_;
  NameTable& names_;
  Arena& arena_;
  Diagnostics& diagnostics_;
  Script script_;
  FunctionScope* scope_ = nullptr;
  std::vector<OpenConstruct> open_;
  /// Statements of the blocks that are being read, the innermost block's on top.
  std::vector<Statement*> pending_;
  std::unordered_map<Name, Expr*> constants_;
  std::unordered_set<Name> labels_;
  std::vector<PendingLabel> jumps_;
  std::size_t at_ = 0;
  /// Open brackets: inside them a line may end anywhere.
  int brackets_ = 0;
  int levels_ = 0;
  /// A fault was reported in this command: no more are, until it ends.
  bool panic_ = false;
};

}  // namespace quillmere::qmc
