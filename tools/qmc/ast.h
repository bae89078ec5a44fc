// The syntax tree of a script. Names are resolved while it is built: every use of a variable knows
// whether it means a local, a local of an enclosing function, or a global. All nodes live in an
// arena and are told apart by their kind.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "qmc/names.h"
#include "qmc/source.h"

namespace quillmere::qmc {

struct FunctionNode;
struct Statement;
using StatementList = std::span<Statement*>;

/// A variable that lives in a register.
struct LocalVar {
  Name name = 0;
  FunctionNode* owner = nullptr;
  /// Used by a function inside: it must be closed when its block ends.
  bool captured = false;
  int reg = 0;
  std::int32_t startPc = 0;
  /// The place of the name in the debug list of its function.
  std::int32_t debugIndex = 0;
};

/// Where a closure takes one of its upvalues from: a local of the enclosing function, or, when
/// `local` is null, the enclosing function's own upvalue of that number.
struct UpvalueSource {
  Name name = 0;
  LocalVar* local = nullptr;
  int outerIndex = 0;
};

// Expressions.

enum class ExprKind : std::uint8_t {
  /// Stands where a fault was reported.
  Error,
  Nil,
  Number,
  String,
  Local,
  Upvalue,
  Global,
  Index,
  Call,
  Method,
  Function,
  Table,
  Unary,
  Binary,
  Compare,
  And,
  Or,
  Not,
  /// A call or anything else in brackets: one value.
  Single
};

enum class UnaryOp : std::uint8_t { Negate, Complement };

/// In the order of the instructions from OP_ADD to OP_POW, and the joining of texts.
enum class BinaryOp : std::uint8_t {
  Add,
  Subtract,
  Multiply,
  Divide,
  DivideInteger,
  Modulo,
  ShiftLeft,
  ShiftRight,
  BitOr,
  BitAnd,
  BitXor,
  Power,
  Concat
};

enum class CompareOp : std::uint8_t { Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual };

struct Expr {
  ExprKind kind = ExprKind::Error;
  std::uint32_t line = 0;
  Position position;
  /// Levels of the tree below and with this node: as deep does the compiler call itself.
  std::uint32_t depth = 1;
};

struct NumberExpr : Expr {
  double value = 0;
};
struct StringExpr : Expr {
  Name text = 0;
};
struct LocalExpr : Expr {
  LocalVar* local = nullptr;
};
struct UpvalueExpr : Expr {
  int index = 0;
};
struct GlobalExpr : Expr {
  Name name = 0;
};
struct IndexExpr : Expr {
  Expr* table = nullptr;
  Expr* key = nullptr;
};
struct CallExpr : Expr {
  Expr* callee = nullptr;
  std::span<Expr*> arguments;
};
struct MethodExpr : Expr {
  Expr* object = nullptr;
  Name name = 0;
  std::span<Expr*> arguments;
};
struct FunctionExpr : Expr {
  FunctionNode* function = nullptr;
};
struct UnaryExpr : Expr {
  UnaryOp op{};
  Expr* operand = nullptr;
};
struct BinaryExpr : Expr {
  BinaryOp op{};
  Expr* left = nullptr;
  Expr* right = nullptr;
};
struct CompareExpr : Expr {
  CompareOp op{};
  Expr* left = nullptr;
  Expr* right = nullptr;
};
/// And, Or.
struct LogicExpr : Expr {
  Expr* left = nullptr;
  Expr* right = nullptr;
};
/// Not, Single.
struct WrapExpr : Expr {
  Expr* operand = nullptr;
};

/// One entry of a table: with a null key the next one of the list.
struct TableItem {
  Expr* key = nullptr;
  Expr* value = nullptr;
};
struct TableExpr : Expr {
  std::span<TableItem> items;
};

// Functions.

struct FunctionNode {
  FunctionNode* parent = nullptr;
  std::span<LocalVar*> parameters;
  /// The table of surplus arguments, null for a fixed list.
  LocalVar* surplus = nullptr;
  StatementList body;
  std::span<UpvalueSource> upvalues;
  std::uint32_t line = 0;
  std::uint32_t lastLine = 0;
  Position position;
  /// Main chunk only: it has labels, so no two of its locals may share a register.
  bool hasLabels = false;
  /// The deepest tree of a value in it.
  std::uint32_t depth = 0;
  /// Registers that all locals of all blocks take together.
  int localRegisters = 0;
};

// Statements.

enum class StatementKind : std::uint8_t {
  Local,
  Assign,
  Call,
  If,
  While,
  Repeat,
  ForNumber,
  ForIn,
  Switch,
  Block,
  Break,
  Continue,
  Label,
  Goto,
  Gosub,
  Return,
  ReturnSub
};

struct Statement {
  StatementKind kind{};
  std::uint32_t line = 0;
  Position position;
};

struct LocalStatement : Statement {
  std::span<LocalVar*> variables;
  std::span<Expr*> values;
  /// `Local Function`: the variable is known inside its own value.
  bool isFunction = false;
};
struct AssignStatement : Statement {
  std::span<Expr*> targets;
  std::span<Expr*> values;
};
struct CallStatement : Statement {
  Expr* call = nullptr;
};
/// A null condition is `Else`.
struct IfClause {
  Expr* condition = nullptr;
  StatementList body;
};
struct IfStatement : Statement {
  std::span<IfClause> clauses;
};
struct WhileStatement : Statement {
  Expr* condition = nullptr;
  StatementList body;
  std::uint32_t endLine = 0;
};
/// A null condition is `Forever`.
struct RepeatStatement : Statement {
  StatementList body;
  Expr* condition = nullptr;
  std::uint32_t endLine = 0;
};
struct ForNumberStatement : Statement {
  LocalVar* variable = nullptr;
  Expr* first = nullptr;
  Expr* last = nullptr;
  /// Null for 1.
  Expr* step = nullptr;
  StatementList body;
  std::uint32_t endLine = 0;
};
struct ForInStatement : Statement {
  std::span<LocalVar*> variables;
  std::span<Expr*> values;
  StatementList body;
  std::uint32_t endLine = 0;
};
/// No values is `Default`.
struct SwitchCase {
  std::span<Expr*> values;
  StatementList body;
};
struct SwitchStatement : Statement {
  Expr* value = nullptr;
  std::span<SwitchCase> cases;
};
struct BlockStatement : Statement {
  StatementList body;
};
/// Break, Continue: how many loops out, from 1.
struct JumpOutStatement : Statement {
  int loops = 1;
};
/// Label, Goto, Gosub.
struct LabelStatement : Statement {
  Name name = 0;
};
struct ReturnStatement : Statement {
  std::span<Expr*> values;
};

template <class T>
[[nodiscard]] T& As(Expr& expr) {
  return static_cast<T&>(expr);
}
template <class T>
[[nodiscard]] const T& As(const Expr& expr) {
  return static_cast<const T&>(expr);
}
template <class T>
[[nodiscard]] const T& As(const Statement& statement) {
  return static_cast<const T&>(statement);
}

}  // namespace quillmere::qmc
