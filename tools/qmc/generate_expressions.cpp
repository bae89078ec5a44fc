#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

#include "qmc/generator.h"
#include "qmc/limits.h"

namespace quillmere::qmc {
namespace {

bool IsCall(const Expr& expr) {
  return expr.kind == ExprKind::Call || expr.kind == ExprKind::Method;
}

/// Comparisons and negations, whose value is the number 1 or 0.
bool IsTruth(const Expr& expr) {
  return expr.kind == ExprKind::Compare || expr.kind == ExprKind::Not;
}

constexpr VmOp OpOf(BinaryOp op) {
  return static_cast<VmOp>(static_cast<int>(OP_ADD) + static_cast<int>(op));
}
static_assert(OpOf(BinaryOp::Modulo) == OP_MOD && OpOf(BinaryOp::Power) == OP_POW);

/// The size of a list as NEWTABLE tells it: three bits and a shift, rounded up.
int EncodeListSize(std::size_t size) {
  int shift = 0;
  while (size > 7) {
    size = (size + 1) / 2;
    ++shift;
  }
  return shift << 3 | static_cast<int>(size);
}

/// As much as a table grows by itself for so many keys.
int EncodeHashSize(std::size_t keys) {
  return std::min(static_cast<int>(std::bit_width(keys)), vmMaxTableExponent);
}

/// The value of a condition that is known by now.
std::optional<bool> KnownTruth(const Expr& expr) {
  if (expr.kind == ExprKind::Nil) return false;
  if (expr.kind == ExprKind::Number) return As<NumberExpr>(expr).value != 0;
  return std::nullopt;
}

}  // namespace

int Generator::AnyRegister(Expr& expr) {
  return expr.kind == ExprKind::Local ? As<LocalExpr>(expr).local->reg : Value(expr, next);
}

int Generator::AnyRegister(Expr& expr, const Expr& later) {
  return expr.kind == ExprKind::Local ? EarlyOperand(expr, later) : Value(expr, next);
}

int Generator::ConstantOperand(int index) {
  if (index <= vmMaxRkConstant) return vmRkConstant(index);
  const int reg = code().Take();
  code().EmitABx(OP_LOADK, reg, index);
  return reg;
}

int Generator::RegisterOrConstant(Expr& expr) {
  switch (expr.kind) {
    case ExprKind::Nil:
      return ConstantOperand(code().NilConstant());
    case ExprKind::Number:
      return ConstantOperand(code().NumberConstant(As<NumberExpr>(expr).value));
    case ExprKind::String: {
      const Name text = As<StringExpr>(expr).text;
      return ConstantOperand(code().StringConstant(text, names_.Text(text)));
    }
    default:
      return AnyRegister(expr);
  }
}

/// An operand that is read only after another one has been worked out. When that may change it,
/// through a function that has captured it, it is put aside first.
int Generator::EarlyOperand(Expr& expr, const Expr& later) {
  const bool mayChange =
      expr.kind == ExprKind::Local && As<LocalExpr>(expr).local->captured && later.depth > 1;
  return mayChange ? Value(expr, next) : RegisterOrConstant(expr);
}

void Generator::LoadNumber(double value, int reg) {
  const bool isSmall = value >= 0 && value <= opMaxB && value == std::floor(value);
  if (isSmall && !std::signbit(value)) {
    code().EmitABC(OP_LOADNUM, reg, static_cast<int>(value), 0);
  } else {
    code().EmitABx(OP_LOADK, reg, code().NumberConstant(value));
  }
}

/// Works a value out into a register, which is returned. Registers above the result are free again.
int Generator::Value(Expr& expr, int target) {
  switch (expr.kind) {
    case ExprKind::Error:
    case ExprKind::Nil: {
      const int reg = Target(target);
      code().EmitABC(OP_LOADNIL, reg, reg, 0);
      return reg;
    }
    case ExprKind::Number: {
      const int reg = Target(target);
      LoadNumber(As<NumberExpr>(expr).value, reg);
      return reg;
    }
    case ExprKind::String: {
      const int reg = Target(target);
      const Name text = As<StringExpr>(expr).text;
      code().EmitABx(OP_LOADK, reg, code().StringConstant(text, names_.Text(text)));
      return reg;
    }
    case ExprKind::Local: {
      const int reg = Target(target);
      const int from = As<LocalExpr>(expr).local->reg;
      if (reg != from) code().EmitABC(OP_MOVE, reg, from, 0);
      return reg;
    }
    case ExprKind::Upvalue: {
      const int reg = Target(target);
      code().EmitABC(OP_GETUPVAL, reg, As<UpvalueExpr>(expr).index, 0);
      return reg;
    }
    case ExprKind::Global: {
      const int reg = Target(target);
      const Name name = As<GlobalExpr>(expr).name;
      code().line = expr.line;
      code().EmitABx(OP_GETGLOBAL, reg, code().StringConstant(name, names_.Text(name)));
      return reg;
    }
    case ExprKind::Unary: {
      auto& unary = As<UnaryExpr>(expr);
      const int saved = code().FreeRegister();
      const int from = AnyRegister(*unary.operand);
      code().Release(saved);
      const int reg = Target(target);
      code().line = expr.line;
      code().EmitABC(unary.op == UnaryOp::Negate ? OP_UNM : OP_BNOT, reg, from, 0);
      return reg;
    }
    case ExprKind::Call:
    case ExprKind::Method:
    case ExprKind::Single:
    case ExprKind::Table: {
      int reg = 0;
      if (expr.kind == ExprKind::Table) {
        reg = CompileTable(As<TableExpr>(expr));
      } else {
        Expr& call = expr.kind == ExprKind::Single ? *As<WrapExpr>(expr).operand : expr;
        reg = CompileCall(call, 1);
        code().Take();
      }
      if (target == next || target == reg) return reg;
      code().EmitABC(OP_MOVE, target, reg, 0);
      code().Release(reg);
      return target;
    }
    case ExprKind::Index:
      return CompileIndex(As<IndexExpr>(expr), target);
    case ExprKind::Function:
      return CompileClosure(*As<FunctionExpr>(expr).function, target);
    case ExprKind::Binary:
      return CompileArithmetic(As<BinaryExpr>(expr), target);
    case ExprKind::Compare:
    case ExprKind::Not:
      return CompileTruth(expr, target);
    case ExprKind::And:
    case ExprKind::Or:
      return CompileLogic(As<LogicExpr>(expr), target);
  }
  return 0;
}

int Generator::CompileArithmetic(BinaryExpr& expr, int target) {
  if (expr.op == BinaryOp::Concat) return CompileConcat(expr, target);
  const int saved = code().FreeRegister();
  const int left = EarlyOperand(*expr.left, *expr.right);
  const int right = RegisterOrConstant(*expr.right);
  code().Release(saved);
  const int reg = Target(target);
  code().line = expr.line;
  code().EmitABC(OpOf(expr.op), reg, left, right);
  return reg;
}

/// A chain of texts is laid out side by side and joined at once.
int Generator::CompileConcat(BinaryExpr& expr, int target) {
  std::vector<Expr*> parts;
  Expr* rest = &expr;
  while (rest->kind == ExprKind::Binary && As<BinaryExpr>(*rest).op == BinaryOp::Concat) {
    parts.push_back(As<BinaryExpr>(*rest).right);
    rest = As<BinaryExpr>(*rest).left;
  }
  parts.push_back(rest);
  std::ranges::reverse(parts);
  const int first = code().FreeRegister();
  std::size_t inRow = 0;
  for (Expr* part : parts) {
    if (inRow == maxJoin) {
      code().EmitABC(OP_CONCAT, first, first, first + static_cast<int>(inRow) - 1);
      code().Release(first + 1);
      inRow = 1;
    }
    Value(*part, next);
    ++inRow;
  }
  code().Release(first);
  const int reg = Target(target);
  code().line = expr.line;
  code().EmitABC(OP_CONCAT, reg, first, first + static_cast<int>(inRow) - 1);
  return reg;
}

/// The number 1 or 0 that a condition stands for.
int Generator::CompileTruth(Expr& expr, int target) {
  if (expr.kind == ExprKind::Not && !IsTruth(*As<WrapExpr>(expr).operand)) {
    const int saved = code().FreeRegister();
    const int from = AnyRegister(*As<WrapExpr>(expr).operand);
    code().Release(saved);
    const int reg = Target(target);
    code().EmitABC(OP_NOT, reg, from, 0);
    return reg;
  }
  JumpList whenTrue;
  const int saved = code().FreeRegister();
  CondJump(expr, true, whenTrue);
  code().Release(saved);
  const int reg = Target(target);
  code().EmitABC(OP_LOADNUM, reg, 0, 1);
  code().PatchHere(whenTrue);
  code().EmitABC(OP_LOADNUM, reg, 1, 0);
  return reg;
}

/// `And` gives its left value when that is false, `Or` when that is true, else the right one.
int Generator::CompileLogic(LogicExpr& expr, int target) {
  const int reg = Target(target);
  const int saved = code().FreeRegister();
  const int left = expr.left->kind == ExprKind::Local ? As<LocalExpr>(*expr.left).local->reg
                                                      : Value(*expr.left, reg);
  code().Release(saved);
  JumpList toEnd;
  code().EmitABC(OP_TEST, reg, left, expr.kind == ExprKind::Or ? 1 : 0);
  code().Jump(toEnd);
  Value(*expr.right, reg);
  code().Release(saved);
  code().PatchHere(toEnd);
  return reg;
}

/// Writes a jump that is taken when the condition is true, or when it is false.
void Generator::CondJump(Expr& expr, bool when, JumpList& list) {
  if (const std::optional<bool> known = KnownTruth(expr)) {
    if (*known == when) code().Jump(list);
    return;
  }
  switch (expr.kind) {
    case ExprKind::Not:
      CondJump(*As<WrapExpr>(expr).operand, !when, list);
      return;
    case ExprKind::And:
    case ExprKind::Or: {
      auto& logic = As<LogicExpr>(expr);
      // One side alone decides `Or` to be true and `And` to be false.
      const bool deciding = expr.kind == ExprKind::Or;
      JumpList past;
      const int saved = code().FreeRegister();
      CondJump(*logic.left, deciding, when == deciding ? list : past);
      code().Release(saved);
      CondJump(*logic.right, when, list);
      code().PatchHere(past);
      return;
    }
    case ExprKind::Compare:
      CompareJump(As<CompareExpr>(expr), when, list);
      return;
    default: {
      const int reg = AnyRegister(expr);
      code().EmitABC(OP_TEST, reg, reg, when ? 1 : 0);
      code().Jump(list);
    }
  }
}

void Generator::CompareJump(CompareExpr& expr, bool when, JumpList& list) {
  int left = EarlyOperand(*expr.left, *expr.right);
  int right = RegisterOrConstant(*expr.right);
  const bool isSwapped = expr.op == CompareOp::Greater || expr.op == CompareOp::GreaterEqual;
  if (isSwapped) std::swap(left, right);
  VmOp op = OP_EQ;
  if (expr.op == CompareOp::Less || expr.op == CompareOp::Greater) op = OP_LT;
  if (expr.op == CompareOp::LessEqual || expr.op == CompareOp::GreaterEqual) op = OP_LE;
  const bool wanted = expr.op == CompareOp::NotEqual ? !when : when;
  code().line = expr.line;
  code().EmitABC(op, wanted ? 1 : 0, left, right);
  code().Jump(list);
}

int Generator::CompileIndex(IndexExpr& expr, int target) {
  const int saved = code().FreeRegister();
  const int table = AnyRegister(*expr.table, *expr.key);
  const int key = RegisterOrConstant(*expr.key);
  code().Release(saved);
  const int reg = Target(target);
  code().line = expr.line;
  code().EmitABC(OP_GETTABLE, reg, table, key);
  return reg;
}

/// Makes the table in the next free register, with the entries of its list waiting behind it.
int Generator::CompileTable(TableExpr& expr) {
  const int reg = code().Take();
  const int creation = code().EmitABC(OP_NEWTABLE, reg, 0, 0);
  std::size_t listed = 0;
  std::size_t keyed = 0;
  int waiting = 0;
  bool isOpen = false;
  const auto flush = [&] {
    if (waiting == 0) return;
    const std::size_t base = listed - static_cast<std::size_t>(waiting);
    code().EmitABx(OP_SETLIST, reg, static_cast<int>(base) | (waiting - 1));
    code().Release(reg + 1);
    waiting = 0;
  };
  for (const TableItem& item : expr.items) {
    if (item.key != nullptr) {
      const int saved = code().FreeRegister();
      const int key = EarlyOperand(*item.key, *item.value);
      const int value = RegisterOrConstant(*item.value);
      code().EmitABC(OP_SETTABLE, reg, key, value);
      code().Release(saved);
      ++keyed;
      continue;
    }
    if (waiting == vmListBatch) flush();
    if (&item == &expr.items.back() && IsCall(*item.value)) {
      CompileCall(*item.value, -1);
      code().EmitABx(OP_SETLISTO, reg, static_cast<int>(listed) - waiting);
      code().Release(reg + 1);
      waiting = 0;
      isOpen = true;
    } else {
      Value(*item.value, next);
      ++waiting;
      ++listed;
    }
  }
  flush();
  // The list begins at 0, which is a key like any other; those behind it have places of their own.
  if (listed > 0 || isOpen) ++keyed;
  const std::size_t places = listed > 0 ? listed - 1 : 0;
  code().image.code[static_cast<std::size_t>(creation)] =
      vmEncodeABC(OP_NEWTABLE, reg, EncodeListSize(places), EncodeHashSize(keyed));
  return reg;
}

int Generator::CompileClosure(FunctionNode& node, int target) {
  ImageFunction function = CompileFunction(node);
  const std::size_t index = code().image.functions.size();
  if (index > opMaxBx) code().failure = Error::CodeSizeOverflow;
  code().image.functions.push_back(std::move(function));
  const int reg = Target(target);
  code().EmitABx(OP_CLOSURE, reg, static_cast<int>(index));
  for (const UpvalueSource& upvalue : node.upvalues) {
    if (upvalue.local != nullptr) {
      code().EmitABC(OP_MOVE, 0, upvalue.local->reg, 0);
    } else {
      code().EmitABC(OP_GETUPVAL, 0, upvalue.outerIndex, 0);
    }
  }
  return reg;
}

/// Values side by side from the next free register on. Returns whether the last one is a call whose
/// results reach up to the top.
bool Generator::CompileOpenList(std::span<Expr*> values) {
  for (Expr* value : values) {
    if (value == values.back() && IsCall(*value)) {
      CompileCall(*value, -1);
      return true;
    }
    Value(*value, next);
  }
  return false;
}

/// Exactly `wanted` values side by side: surplus ones are worked out and dropped, missing ones are
/// nil. Returns the first register.
int Generator::CompileList(std::span<Expr*> values, int wanted) {
  const int first = code().FreeRegister();
  int have = 0;
  for (Expr* value : values) {
    if (value == values.back() && IsCall(*value) && have < wanted) {
      CompileCall(*value, wanted - have);
      code().Take(wanted - have);
      have = wanted;
    } else {
      Value(*value, next);
      ++have;
    }
  }
  if (have < wanted) {
    const int nils = code().Take(wanted - have);
    code().EmitABC(OP_LOADNIL, nils, first + wanted - 1, 0);
  }
  code().Release(first + wanted);
  return first;
}

/// Compiles a call; its results, -1 for all of them, begin at the register that is returned, which
/// is free again.
int Generator::CompileCall(Expr& expr, int results, bool isTail) {
  const int base = code().FreeRegister();
  int given = 0;
  std::span<Expr*> arguments;
  if (expr.kind == ExprKind::Method) {
    auto& method = As<MethodExpr>(expr);
    const int object = AnyRegister(*method.object);
    code().Release(base);
    code().Take(2);
    const int name = ConstantOperand(code().StringConstant(method.name, names_.Text(method.name)));
    code().line = expr.line;
    code().EmitABC(OP_SELF, base, object, name);
    code().Release(base + 2);
    given = 1;
    arguments = method.arguments;
  } else {
    auto& call = As<CallExpr>(expr);
    Value(*call.callee, next);
    arguments = call.arguments;
  }
  const bool isOpen = CompileOpenList(arguments);
  given += static_cast<int>(arguments.size());
  code().line = expr.line;
  code().EmitABC(isTail ? OP_TAILCALL : OP_CALL, base, isOpen ? 0 : given + 1, results + 1);
  code().Release(base);
  return base;
}

}  // namespace quillmere::qmc
