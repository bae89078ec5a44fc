#include <algorithm>

#include "qmc/generator.h"
#include "qmc/limits.h"

namespace quillmere::qmc {
namespace {

bool IsCall(const Expr& expr) {
  return expr.kind == ExprKind::Call || expr.kind == ExprKind::Method;
}

/// Values that are built in their register while parts of them are still to be read: a variable
/// that they may name can't serve as that register.
bool IsBuiltInPlace(const Expr& expr) {
  return expr.kind == ExprKind::And || expr.kind == ExprKind::Or;
}

}  // namespace

CompiledCode Generator::Run(FunctionNode& main) {
  CompiledCode result;
  result.main = CompileFunction(main);
  for (const auto& [name, label] : labels_) {
    result.labels.push_back({names_.Text(name), static_cast<std::uint32_t>(label.position)});
  }
  std::ranges::sort(result.labels, {}, &LabelPosition::position);
  return result;
}

ImageFunction Generator::CompileFunction(FunctionNode& node) {
  Frame frame(node, frame_);
  frame_ = &frame;
  ImageFunction& image = frame.builder.image;
  image.lineDefined = static_cast<std::int32_t>(node.line);
  image.paramCount = static_cast<std::uint8_t>(node.parameters.size());
  image.isVarArg = node.surplus != nullptr;
  image.upvalueCount = static_cast<std::uint8_t>(node.upvalues.size());
  for (const UpvalueSource& upvalue : node.upvalues) {
    image.upvalueNames.push_back(names_.Text(upvalue.name));
  }
  code().line = node.line;
  if (node.hasLabels) {
    frame.localTop = code().Take(node.localRegisters) + node.localRegisters;
    frame.staticNames.assign(static_cast<std::size_t>(node.localRegisters), "(hidden)");
  }

  EnterBlock();
  for (LocalVar* parameter : node.parameters) Declare(*parameter, PlaceLocals(1));
  if (node.surplus != nullptr) Declare(*node.surplus, PlaceLocals(1));
  CompileStatements(node.body);
  code().line = node.lastLine;
  code().EmitABC(OP_RETURN, 0, 1, 0);
  PopLocals(0);
  FinishFunction(frame);
  frame_ = frame.outer;
  return std::move(image);
}

void Generator::FinishFunction(Frame& frame) {
  FunctionBuilder& builder = frame.builder;
  if (builder.failure != Error::None) {
    diagnostics_.Report(builder.node.position, builder.failure);
    return;
  }
  builder.ShortenJumps();
  if (!builder.node.hasLabels) return;
  // The registers of such a chunk belong to their variables from the first instruction to the last,
  // and the machine knows a register's name by its place in the list.
  std::vector<ImageLocal>& locals = builder.image.locals;
  locals.clear();
  for (std::string& name : frame.staticNames) locals.push_back({std::move(name), 0, builder.Pc()});
}

void Generator::EnterBlock() {
  frame_->blocks.push_back(frame_->active.size());
}

void Generator::LeaveBlock() {
  const std::size_t first = frame_->blocks.back();
  CloseFrom(first);
  PopLocals(first);
  frame_->blocks.pop_back();
}

void Generator::PopLocals(std::size_t count) {
  std::vector<LocalVar*>& active = frame_->active;
  for (std::size_t i = count; i < active.size(); ++i) {
    code().image.locals[static_cast<std::size_t>(active[i]->debugIndex)].endPc = code().Pc();
  }
  if (!IsStatic() && count < active.size()) frame_->localTop = active[count]->reg;
  active.resize(count);
  code().Release(frame_->localTop);
}

/// The first of `count` registers for locals that are about to be declared.
int Generator::PlaceLocals(int count) {
  if (IsStatic()) {
    frame_->nextStatic += count;
    return frame_->nextStatic - count;
  }
  const int first = code().Take(count);
  frame_->localTop = first + count;
  return first;
}

void Generator::Declare(LocalVar& local, int reg) {
  std::vector<ImageLocal>& debug = code().image.locals;
  local.reg = reg;
  local.debugIndex = static_cast<std::int32_t>(debug.size());
  debug.push_back({names_.Text(local.name), code().Pc(), 0});
  frame_->active.push_back(&local);
  if (IsStatic()) frame_->staticNames[static_cast<std::size_t>(reg)] = names_.Text(local.name);
}

void Generator::DeclareHidden(const char* name, int reg) {
  LocalVar& local = hidden_.emplace_back();
  local.name = names_.Intern(name);
  Declare(local, reg);
}

void Generator::CloseFrom(std::size_t firstLocal) {
  const auto locals = std::span(frame_->active).subspan(firstLocal);
  const auto captured = std::ranges::find_if(locals, &LocalVar::captured);
  if (captured != locals.end()) code().EmitABC(OP_CLOSE, (*captured)->reg, 0, 0);
}

void Generator::CompileBlock(StatementList block) {
  EnterBlock();
  CompileStatements(block);
  LeaveBlock();
}

void Generator::CompileStatements(StatementList block) {
  for (const Statement* statement : block) {
    CompileStatement(*statement);
    code().Release(frame_->localTop);
  }
}

void Generator::CompileStatement(const Statement& statement) {
  code().line = statement.line;
  switch (statement.kind) {
    case StatementKind::Local:
      CompileLocal(As<LocalStatement>(statement));
      break;
    case StatementKind::Assign:
      CompileAssign(As<AssignStatement>(statement));
      break;
    case StatementKind::Call:
      CompileCall(*As<CallStatement>(statement).call, 0);
      break;
    case StatementKind::If:
      CompileIf(As<IfStatement>(statement));
      break;
    case StatementKind::While:
      CompileWhile(As<WhileStatement>(statement));
      break;
    case StatementKind::Repeat:
      CompileRepeat(As<RepeatStatement>(statement));
      break;
    case StatementKind::ForNumber:
      CompileForNumber(As<ForNumberStatement>(statement));
      break;
    case StatementKind::ForIn:
      CompileForIn(As<ForInStatement>(statement));
      break;
    case StatementKind::Switch:
      CompileSwitch(As<SwitchStatement>(statement));
      break;
    case StatementKind::Block:
      CompileBlock(As<BlockStatement>(statement).body);
      break;
    case StatementKind::Break:
    case StatementKind::Continue:
      CompileBreak(As<JumpOutStatement>(statement));
      break;
    case StatementKind::Label:
      CompileLabel(As<LabelStatement>(statement));
      break;
    case StatementKind::Goto:
      CompileJump(As<LabelStatement>(statement), 0);
      break;
    case StatementKind::Gosub:
      CompileJump(As<LabelStatement>(statement), opJumpSubroutine);
      break;
    case StatementKind::Return:
      CompileReturn(As<ReturnStatement>(statement));
      break;
    case StatementKind::ReturnSub:
      if (frame_->blocks.size() > 1) CloseFrom(frame_->blocks[1]);
      code().EmitABC(OP_RETURN, 0, 1, 1);
      break;
  }
}

void Generator::CompileLocal(const LocalStatement& statement) {
  const int count = static_cast<int>(statement.variables.size());
  if (statement.isFunction) {
    // The function may name itself, so its register is its own before it is made.
    const int reg = PlaceLocals(1);
    Declare(*statement.variables[0], reg);
    Value(*statement.values[0], reg);
    return;
  }
  int first = 0;
  if (!IsStatic()) {
    first = CompileList(statement.values, count);
    code().Release(first);
    PlaceLocals(count);
  } else if (count == 1 && statement.values.size() == 1) {
    first = PlaceLocals(1);
    Value(*statement.values[0], first);
  } else {
    const int from = CompileList(statement.values, count);
    first = PlaceLocals(count);
    for (int i = 0; i < count; ++i) code().EmitABC(OP_MOVE, first + i, from + i, 0);
  }
  for (int i = 0; i < count; ++i) {
    Declare(*statement.variables[static_cast<std::size_t>(i)], first + i);
  }
}

void Generator::CompileAssign(const AssignStatement& statement) {
  if (statement.targets.size() == 1 && statement.values.size() == 1) {
    CompileAssignOne(*statement.targets[0], *statement.values[0]);
  } else {
    CompileAssignList(statement);
  }
}

void Generator::CompileAssignOne(Expr& target, Expr& value) {
  if (target.kind == ExprKind::Local) {
    const int reg = As<LocalExpr>(target).local->reg;
    if (IsBuiltInPlace(value)) {
      code().EmitABC(OP_MOVE, reg, Value(value, next), 0);
    } else {
      Value(value, reg);
    }
    return;
  }
  if (target.kind == ExprKind::Index) {
    auto& index = As<IndexExpr>(target);
    const Expr& later = value.depth > 1 ? value : *index.key;
    const int table = AnyRegister(*index.table, later);
    const int key = EarlyOperand(*index.key, value);
    const int from = RegisterOrConstant(value);
    code().line = target.line;
    code().EmitABC(OP_SETTABLE, table, key, from);
    return;
  }
  Store(target, 0, 0, AnyRegister(value));
}

/// All values are worked out before the first variable changes.
void Generator::CompileAssignList(const AssignStatement& statement) {
  struct Place {
    int table = 0;
    int key = 0;
  };
  const auto fixed = [&](Expr& expr) {
    return expr.kind == ExprKind::Local ? Value(expr, next) : RegisterOrConstant(expr);
  };
  std::vector<Place> places;
  for (Expr* target : statement.targets) {
    Place& place = places.emplace_back();
    if (target->kind != ExprKind::Index) continue;
    const auto& index = As<IndexExpr>(*target);
    place.table = Value(*index.table, next);
    place.key = fixed(*index.key);
  }
  const int count = static_cast<int>(statement.targets.size());
  const int first = CompileList(statement.values, count);
  for (int i = count - 1; i >= 0; --i) {
    const auto at = static_cast<std::size_t>(i);
    Store(*statement.targets[at], places[at].table, places[at].key, first + i);
  }
}

void Generator::Store(const Expr& target, int tableReg, int keyRk, int valueReg) {
  code().line = target.line;
  switch (target.kind) {
    case ExprKind::Local:
      code().EmitABC(OP_MOVE, As<LocalExpr>(target).local->reg, valueReg, 0);
      break;
    case ExprKind::Upvalue:
      code().EmitABC(OP_SETUPVAL, valueReg, As<UpvalueExpr>(target).index, 0);
      break;
    case ExprKind::Global: {
      const Name name = As<GlobalExpr>(target).name;
      code().EmitABx(OP_SETGLOBAL, valueReg, code().StringConstant(name, names_.Text(name)));
      break;
    }
    case ExprKind::Index:
      code().EmitABC(OP_SETTABLE, tableReg, keyRk, valueReg);
      break;
    default:
      break;
  }
}

void Generator::CompileIf(const IfStatement& statement) {
  JumpList toEnd;
  for (const IfClause& clause : statement.clauses) {
    const bool isLast = &clause == &statement.clauses.back();
    JumpList toNext;
    if (clause.condition != nullptr) {
      code().line = clause.condition->line;
      CondJump(*clause.condition, false, toNext);
      code().Release(frame_->localTop);
    }
    CompileBlock(clause.body);
    if (!isLast) code().Jump(toEnd);
    code().PatchHere(toNext);
  }
  code().PatchHere(toEnd);
}

void Generator::CompileSwitch(const SwitchStatement& statement) {
  EnterBlock();
  int reg = 0;
  if (statement.value->kind == ExprKind::Local) {
    reg = As<LocalExpr>(*statement.value).local->reg;
    if (IsStatic()) ++frame_->nextStatic;
  } else if (IsStatic()) {
    reg = PlaceLocals(1);
    Value(*statement.value, reg);
    DeclareHidden("(switch)", reg);
  } else {
    reg = Value(*statement.value, next);
    frame_->localTop = reg + 1;
    DeclareHidden("(switch)", reg);
  }
  JumpList toEnd;
  int otherwise = -1;
  for (const SwitchCase& one : statement.cases) {
    if (!one.values.empty()) {
      CompileCase(one, reg, toEnd);
      continue;
    }
    // The tests pass `Default` by; when all have failed they come back to it.
    JumpList past;
    code().Jump(past);
    otherwise = code().Pc();
    CompileBlock(one.body);
    code().Jump(toEnd);
    code().PatchHere(past);
  }
  if (otherwise >= 0) code().JumpBack(otherwise);
  code().PatchHere(toEnd);
  LeaveBlock();
}

void Generator::CompileCase(const SwitchCase& one, int reg, JumpList& toEnd) {
  JumpList toBody;
  JumpList toNext;
  for (Expr* value : one.values) {
    const bool isLast = value == one.values.back();
    code().line = value->line;
    const int operand = RegisterOrConstant(*value);
    code().EmitABC(OP_EQ, isLast ? 0 : 1, reg, operand);
    code().Jump(isLast ? toNext : toBody);
    code().Release(frame_->localTop);
  }
  code().PatchHere(toBody);
  CompileBlock(one.body);
  code().Jump(toEnd);
  code().PatchHere(toNext);
}

/// The condition stands behind the block, so that a turn takes one jump.
void Generator::CompileWhile(const WhileStatement& statement) {
  Loop loop{.outerLocals = frame_->active.size()};
  frame_->loops.push_back(&loop);
  const bool isEndless = statement.condition->kind == ExprKind::Number &&
                         As<NumberExpr>(*statement.condition).value != 0;
  JumpList toCondition;
  if (!isEndless) code().Jump(toCondition);
  const int start = code().Pc();
  CompileBlock(statement.body);
  code().PatchHere(loop.continues);
  code().PatchHere(toCondition);
  code().line = statement.line;
  JumpList back;
  CondJump(*statement.condition, true, back);
  code().Release(frame_->localTop);
  code().Patch(back, start);
  code().PatchHere(loop.breaks);
  frame_->loops.pop_back();
}

void Generator::CompileRepeat(const RepeatStatement& statement) {
  Loop loop{.outerLocals = frame_->active.size()};
  frame_->loops.push_back(&loop);
  const int start = code().Pc();
  EnterBlock();
  CompileStatements(statement.body);
  code().PatchHere(loop.continues);
  code().line = statement.endLine;
  JumpList exit;
  if (statement.condition != nullptr) {
    CondJump(*statement.condition, true, exit);
    code().Release(frame_->localTop);
  }
  const std::size_t first = frame_->blocks.back();
  CloseFrom(first);
  code().JumpBack(start);
  code().PatchHere(exit);
  CloseFrom(first);
  PopLocals(first);
  frame_->blocks.pop_back();
  code().PatchHere(loop.breaks);
  frame_->loops.pop_back();
}

/// When first value, limit and step are numbers known by now, the loop is entered with the first
/// value itself, or passed by. Else the first value goes in one step down, since a turn begins with
/// a step up. Returns whether the entry must go through that first step up.
bool Generator::CompileConstantRange(const ForNumberStatement& statement, int base,
                                     JumpList& toEnd) {
  const auto number = [](const Expr* expr) -> const double* {
    const bool isNumber = expr != nullptr && expr->kind == ExprKind::Number;
    return isNumber ? &As<NumberExpr>(*expr).value : nullptr;
  };
  const double one = 1;
  const double* step = statement.step == nullptr ? &one : number(statement.step);
  const double* first = number(statement.first);
  const double* last = number(statement.last);
  const auto load = [&](Expr* expr, int at) {
    if (expr == nullptr) {
      LoadNumber(1, base + at);
    } else {
      Value(*expr, base + at);
    }
  };
  if (first != nullptr && last != nullptr && step != nullptr) {
    load(statement.first, 0);
    load(statement.last, 1);
    load(statement.step, 2);
    const bool runs = *step > 0 ? *first <= *last : *first >= *last;
    if (!runs) code().Jump(toEnd);
    return false;
  }
  const bool isExact = first != nullptr && step != nullptr && *first - *step + *step == *first;
  if (isExact) {
    LoadNumber(*first - *step, base);
  } else {
    load(statement.first, 0);
  }
  load(statement.last, 1);
  load(statement.step, 2);
  if (!isExact) code().EmitABC(OP_SUB, base, base, base + 2);
  return true;
}

void Generator::CompileForNumber(const ForNumberStatement& statement) {
  Loop loop{.outerLocals = frame_->active.size()};
  frame_->loops.push_back(&loop);
  EnterBlock();
  const int base = PlaceLocals(3);
  const bool stepsFirst = CompileConstantRange(statement, base, loop.breaks);
  JumpList toStep;
  if (stepsFirst) code().Jump(toStep);
  Declare(*statement.variable, base);
  DeclareHidden("(for limit)", base + 1);
  DeclareHidden("(for step)", base + 2);
  const int start = code().Pc();
  const std::size_t bodyLocals = frame_->active.size();
  CompileStatements(statement.body);
  code().line = statement.line;
  CloseFrom(frame_->blocks.back());
  PopLocals(bodyLocals);
  code().PatchHere(loop.continues);
  code().PatchHere(toStep);
  code().PatchLoopJump(code().EmitLoopJump(OP_FORLOOP, base), start);
  PopLocals(frame_->blocks.back());
  frame_->blocks.pop_back();
  code().PatchHere(loop.breaks);
  frame_->loops.pop_back();
}

void Generator::CompileForIn(const ForInStatement& statement) {
  Loop loop{.outerLocals = frame_->active.size()};
  frame_->loops.push_back(&loop);
  EnterBlock();
  const int count = static_cast<int>(statement.variables.size());
  int base = 0;
  if (IsStatic()) {
    const int from = CompileList(statement.values, 3);
    base = PlaceLocals(count + HiddenRegistersOfForIn(statement.variables.size()));
    for (int i = 0; i < 3; ++i) code().EmitABC(OP_MOVE, base + i, from + i, 0);
    code().Release(frame_->localTop);
  } else {
    base = CompileList(statement.values, 3);
    code().Release(base);
    PlaceLocals(2 + count);
    code().Reserve(base + count + HiddenRegistersOfForIn(statement.variables.size()));
  }
  const int prepare = code().EmitLoopJump(OP_TFORPREP, base);
  DeclareHidden("(for function)", base);
  DeclareHidden("(for state)", base + 1);
  for (int i = 0; i < count; ++i) {
    Declare(*statement.variables[static_cast<std::size_t>(i)], base + 2 + i);
  }
  const int start = code().Pc();
  const std::size_t bodyLocals = frame_->active.size();
  CompileStatements(statement.body);
  code().line = statement.line;
  CloseFrom(frame_->blocks.back());
  PopLocals(bodyLocals);
  code().PatchHere(loop.continues);
  code().PatchLoopJump(prepare, code().Pc());
  code().EmitABC(OP_TFORLOOP, base, 0, count - 1);
  code().JumpBack(start);
  PopLocals(frame_->blocks.back());
  frame_->blocks.pop_back();
  code().PatchHere(loop.breaks);
  frame_->loops.pop_back();
}

void Generator::CompileBreak(const JumpOutStatement& statement) {
  const std::size_t at = frame_->loops.size() - static_cast<std::size_t>(statement.loops);
  Loop& loop = *frame_->loops[at];
  CloseFrom(loop.outerLocals);
  code().Jump(statement.kind == StatementKind::Break ? loop.breaks : loop.continues);
}

void Generator::CompileLabel(const LabelStatement& statement) {
  Label& label = labels_[statement.name];
  label.known = true;
  label.position = code().Pc();
  label.locals = frame_->active.size();
  code().PatchHere(label.waiting);
}

void Generator::CompileJump(const LabelStatement& statement, int mode) {
  Label& label = labels_[statement.name];
  if (mode != opJumpSubroutine) {
    // A jump out of blocks, or back over a declaration, ends the life of the variables there.
    const std::size_t nested =
        frame_->blocks.size() > 1 ? frame_->blocks[1] : frame_->active.size();
    CloseFrom(label.known ? std::min(label.locals, nested) : nested);
  }
  if (label.known) {
    code().JumpBack(label.position, mode);
  } else {
    code().Jump(label.waiting, mode);
  }
}

void Generator::CompileReturn(const ReturnStatement& statement) {
  const std::span<Expr*> values = statement.values;
  if (values.empty()) {
    code().EmitABC(OP_RETURN, 0, 1, 0);
    return;
  }
  if (values.size() == 1 && IsCall(*values[0])) {
    const int reg = CompileCall(*values[0], -1, true);
    code().EmitABC(OP_RETURN, reg, 0, 0);
    return;
  }
  if (values.size() == 1) {
    code().EmitABC(OP_RETURN, AnyRegister(*values[0]), 2, 0);
    return;
  }
  const int first = code().FreeRegister();
  const bool isOpen = CompileOpenList(values);
  code().EmitABC(OP_RETURN, first, isOpen ? 0 : static_cast<int>(values.size()) + 1, 0);
}

}  // namespace quillmere::qmc
