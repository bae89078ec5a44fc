// From the tree of a script to the image of its main function.
//
// Locals sit in the registers from 0 up, in the order of their declaration, and values of
// expressions above them. A main chunk with labels is different: a subroutine runs in the middle of
// another block of the same frame, so there each local of each block has a register to itself and
// nothing is shared.
#pragma once

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "qmc/ast.h"
#include "qmc/diagnostics.h"
#include "qmc/function_builder.h"
#include "qmc/names.h"

namespace quillmere::qmc {

/// A label and the instruction of the main chunk that it stands at.
struct LabelPosition {
  std::string name;
  std::uint32_t position = 0;
};

struct CompiledCode {
  ImageFunction main;
  std::vector<LabelPosition> labels;
};

class Generator {
 public:
  Generator(NameTable& names, Diagnostics& diagnostics)
      : names_(names), diagnostics_(diagnostics) {}

  /// Compiles a script without faults. Limits that it passes are reported.
  CompiledCode Run(FunctionNode& main);

 private:
  /// Where a value goes: a register, or the next free one.
  static constexpr int next = -1;

  struct Loop {
    /// The locals that were there before the loop.
    std::size_t outerLocals = 0;
    JumpList breaks = {};
    JumpList continues = {};
  };
  /// What belongs to the function that is being compiled.
  struct Frame {
    explicit Frame(FunctionNode& node, Frame* outerFrame)
        : builder(node, outerFrame == nullptr ? nullptr : &outerFrame->builder),
          outer(outerFrame) {}

    FunctionBuilder builder;
    Frame* outer;
    std::vector<LocalVar*> active;
    std::vector<std::size_t> blocks;
    std::vector<Loop*> loops;
    /// The first register above the locals.
    int localTop = 0;
    /// In a main chunk with labels: the next register that is nobody's.
    int nextStatic = 0;
    /// There, the name of each register.
    std::vector<std::string> staticNames;
  };
  struct Label {
    bool known = false;
    int position = 0;
    std::size_t locals = 0;
    JumpList waiting;
  };

  // Functions and blocks.
  ImageFunction CompileFunction(FunctionNode& node);
  void FinishFunction(Frame& frame);
  void CompileBlock(StatementList block);
  void CompileStatements(StatementList block);
  void EnterBlock();
  void LeaveBlock();
  void PopLocals(std::size_t count);
  [[nodiscard]] bool IsStatic() const { return frame_->builder.node.hasLabels; }
  int PlaceLocals(int count);
  void Declare(LocalVar& local, int reg);
  void DeclareHidden(const char* name, int reg);
  /// Closes captured locals from the given place of the active list on.
  void CloseFrom(std::size_t firstLocal);

  // Statements.
  void CompileStatement(const Statement& statement);
  void CompileLocal(const LocalStatement& statement);
  void CompileAssign(const AssignStatement& statement);
  void CompileAssignOne(Expr& target, Expr& value);
  void CompileAssignList(const AssignStatement& statement);
  void Store(const Expr& target, int tableReg, int keyRk, int valueReg);
  void CompileIf(const IfStatement& statement);
  void CompileWhile(const WhileStatement& statement);
  void CompileRepeat(const RepeatStatement& statement);
  void CompileForNumber(const ForNumberStatement& statement);
  bool CompileConstantRange(const ForNumberStatement& statement, int base, JumpList& toEnd);
  void CompileForIn(const ForInStatement& statement);
  void CompileSwitch(const SwitchStatement& statement);
  void CompileCase(const SwitchCase& one, int reg, JumpList& toEnd);
  void CompileBreak(const JumpOutStatement& statement);
  void CompileLabel(const LabelStatement& statement);
  void CompileJump(const LabelStatement& statement, int mode);
  void CompileReturn(const ReturnStatement& statement);

  // Expressions.
  int Value(Expr& expr, int target);
  int AnyRegister(Expr& expr);
  int AnyRegister(Expr& expr, const Expr& later);
  int RegisterOrConstant(Expr& expr);
  int EarlyOperand(Expr& expr, const Expr& later);
  int ConstantOperand(int index);
  int Target(int target) { return target == next ? code().Take() : target; }
  void LoadNumber(double value, int reg);
  int CompileArithmetic(BinaryExpr& expr, int target);
  int CompileConcat(BinaryExpr& expr, int target);
  int CompileTruth(Expr& expr, int target);
  int CompileLogic(LogicExpr& expr, int target);
  int CompileIndex(IndexExpr& expr, int target);
  int CompileTable(TableExpr& expr);
  int CompileClosure(FunctionNode& node, int target);
  int CompileCall(Expr& expr, int results, bool isTail = false);
  int CompileList(std::span<Expr*> values, int wanted);
  bool CompileOpenList(std::span<Expr*> values);
  void CondJump(Expr& expr, bool when, JumpList& list);
  void CompareJump(CompareExpr& expr, bool when, JumpList& list);

  FunctionBuilder& code() { return frame_->builder; }

  NameTable& names_;
  Diagnostics& diagnostics_;
  Frame* frame_ = nullptr;
  std::unordered_map<Name, Label> labels_;
  std::deque<LocalVar> hidden_;
};

}  // namespace quillmere::qmc
