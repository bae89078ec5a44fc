#include "random_program.h"

#include <utility>

namespace quillmere::qmc {

std::string RandomProgram::Number() {
  switch (Pick(6)) {
    case 0:
      return std::to_string(Pick(700));
    case 1:
      return std::to_string(Pick(100)) + "." + std::to_string(Pick(100));
    case 2:
      return "$" + std::to_string(Pick(99999));
    case 3:
      return "%10" + std::to_string(Pick(2));
    case 4:
      return std::to_string(Pick(9)) + "e" + std::to_string(Pick(30));
    default:
      return "'" + std::string(1, static_cast<char>('A' + Pick(26))) + "'";
  }
}

std::string RandomProgram::Text() {
  static constexpr const char* texts[] = {"\"\"", "\"abc\"", "\"a\\nb\\\"c\"", "\"\\000x\"",
                                          "\"\xE4\xF6\xFC\""};
  return Chance(50) ? texts[Pick(5)] : "\"t" + std::to_string(Pick(600)) + "\"";
}

std::string RandomProgram::Constant() {
  static constexpr const char* constants[] = {"True", "False", "Nil", "#PI", "#RED", "#SANS"};
  switch (Pick(4)) {
    case 0:
      return Text();
    case 1:
      return constants[Pick(6)];
    default:
      return Number();
  }
}

std::string RandomProgram::Table(int depth) {
  std::string out = "{";
  const int count = Chance(5) ? 30 + Pick(60) : Pick(5);
  for (int i = 0; i < count; ++i) {
    if (i > 0) out += Chance(10) ? ",\n" : ", ";
    const int kind = Pick(4);
    if (kind == 0) out += Name() + " = ";
    if (kind == 1) out += "[" + Value(depth - 1) + "] = ";
    out += count > 10 ? Constant() : Value(depth - 1);
  }
  return out + "}";
}

std::string RandomProgram::Variable(int depth) {
  std::string out = Name();
  for (int i = Pick(3); i > 0 && depth > 0; --i) {
    out += Chance(50) ? "." + Name() : "[" + Value(depth - 1) + "]";
  }
  return out;
}

std::string RandomProgram::Parameters() {
  std::string out = "(";
  const int count = Pick(4);
  for (int i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + FreshName();
  hasSurplus_ = Chance(25);
  if (hasSurplus_) out += count > 0 ? ", ..." : "...";
  return out + ")";
}

/// A function as a value; its block goes to a text of its own.
std::string RandomProgram::Function(int depth) {
  const std::string outer = std::exchange(out_, "");
  const int loops = std::exchange(loops_, 0);
  const int locals = std::exchange(locals_, 0);
  const bool surplus = hasSurplus_;
  ++functions_;
  const std::string parameters = Parameters();
  Block(depth - 1);
  --functions_;
  loops_ = loops;
  locals_ = locals;
  hasSurplus_ = surplus;
  return "Function" + parameters + "\n" + std::exchange(out_, outer) + "EndFunction";
}

std::string RandomProgram::Values(int most, int depth) {
  std::string out;
  const int count = Pick(most + 1);
  for (int i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + Value(depth);
  return out;
}

std::string RandomProgram::Value(int depth) {
  static constexpr const char* operators[] = {"+", "-",  "*", "/",  "\\",  "%",  "<<",  ">>",
                                              "&", "|",  "~", "^",  "..",  "..", "=",   "<>",
                                              "<", "<=", ">", ">=", "And", "Or", "And", "Or"};
  if (depth <= 0) return Chance(50) ? Constant() : Name();
  switch (Pick(14)) {
    case 0:
    case 1:
      return Constant();
    case 2:
      return Table(depth - 1);
    case 3:
      return Chance(30) ? Function(depth - 1) : Name();
    case 4:
      return Variable(depth) + "(" + Values(3, depth - 1) + ")";
    case 5:
      return Name() + "->" + Name() + "(" + Values(2, depth - 1) + ")";
    case 6:
      return "Not " + Value(depth - 1);
    case 7:
      return std::string(Chance(50) ? "-" : "~") + "(" + Value(depth - 1) + ")";
    case 8:
      return "(" + Value(depth - 1) + ")";
    case 9:
      return functions_ > 0 && hasSurplus_ ? "..." : Variable(depth);
    default:
      return "(" + Value(depth - 1) + " " + operators[Pick(24)] + " " + Value(depth - 1) + ")";
  }
}

bool RandomProgram::TakeLocals(int count) {
  const bool isTight = functions_ == 0 && labels_ > 0;
  if (locals_ + count > 50 || (isTight && mainRegisters_ + count > 190)) return false;
  locals_ += count;
  if (isTight) mainRegisters_ += count;
  return true;
}

void RandomProgram::LocalStatement(int depth) {
  const int count = 1 + Pick(3);
  if (!TakeLocals(count)) return Line(Name() + " = " + Value(depth));
  std::string names;
  for (int i = 0; i < count; ++i) names += (i > 0 ? ", " : "") + FreshName();
  Line("Local " + names + (Chance(80) ? " = " + Value(depth) + ", " + Value(depth) : ""));
}

void RandomProgram::Block(int depth) {
  const int locals = locals_;
  ++indent_;
  // A name that blocks inside share with outer ones, sometimes as a new local.
  if (Chance(30) && TakeLocals(1)) {
    Line("Local " + Name() + " = " + Value(1));
  }
  for (int i = 1 + Pick(4); i > 0; --i) Statement(depth);
  --indent_;
  locals_ = locals;
}

void RandomProgram::IfStatement(int depth) {
  if (Chance(25)) {
    return Line("If " + Value(2) + " Then " + Name() + " = " + Value(1) + " : " + Name() + "()" +
                (Chance(50) ? " Else " + Name() + " = 1" : ""));
  }
  Line("If " + Value(3));
  Block(depth - 1);
  for (int i = Pick(3); i > 0; --i) {
    Line("ElseIf " + Value(2));
    Block(depth - 1);
  }
  if (Chance(50)) {
    Line("Else");
    Block(depth - 1);
  }
  Line("EndIf");
}

void RandomProgram::SwitchStatement(int depth) {
  if (!TakeLocals(1)) return Line("Print()");
  Line("Switch " + Value(2));
  const int before = Pick(3);
  const bool hasDefault = Chance(60);
  for (int i = 0; i < 3; ++i) {
    if (i == before && hasDefault) {
      Line("Default:");
      Block(depth - 1);
    }
    Line("Case " + Number() + (Chance(40) ? ", " + Text() : "") + ":");
    Block(depth - 1);
  }
  Line("EndSwitch");
}

void RandomProgram::LoopStatement(int depth) {
  constexpr int mostRegisters = 10;
  if (!TakeLocals(mostRegisters)) return Line("Print()");
  ++loops_;
  switch (Pick(4)) {
    case 0:
      Line("While " + (Chance(10) ? "True" : Value(2)));
      Block(depth - 1);
      Line("Wend");
      break;
    case 1:
      Line("Repeat");
      Block(depth - 1);
      Line(Chance(30) ? "Forever" : "Until " + Value(2));
      break;
    case 2:
      Line("For " + FreshName() + " = " + Value(1) + " To " + Value(1) +
           (Chance(40) ? " Step " + Value(1) : ""));
      Block(depth - 1);
      Line("Next");
      break;
    default:
      Line("For " + FreshName() + (Chance(60) ? ", " + FreshName() : "") +
           (Chance(20) ? ", " + FreshName() + ", " + FreshName() : "") + " In Pairs(" + Value(1) +
           ")");
      Block(depth - 1);
      Line("Next");
      break;
  }
  locals_ -= mostRegisters;
  --loops_;
}

void RandomProgram::FunctionStatement(int depth) {
  std::string value = Function(depth);
  const std::string kinds[] = {" " + Name(), " " + Name() + "." + Name(),
                               " " + Name() + "->" + Name()};
  const bool isLocal = Chance(20) && TakeLocals(1);
  Line((isLocal ? "Local " : "") + value.insert(8, isLocal ? " " + FreshName() : kinds[Pick(3)]));
}

void RandomProgram::JumpStatement() {
  if (loops_ > 0 && Chance(70)) {
    const char* word = Chance(50) ? "Break" : "Continue";
    return Line(word + (Chance(40) ? " " + std::to_string(1 + Pick(loops_)) : std::string()));
  }
  if (functions_ > 0) return Line("Return " + Values(3, 2));
  if (labels_ > 0) {
    const std::string label = "label" + std::to_string(Pick(labels_));
    return Line((Chance(50) ? "Goto " : "Gosub ") + label);
  }
  Line("Return");
}

void RandomProgram::Statement(int depth) {
  const int kind = depth > 0 ? Pick(12) : Pick(6);
  switch (kind) {
    case 0:
      return LocalStatement(2);
    case 1:
    case 2:
      return Line(Variable(2) + (Chance(20) ? ", " + Variable(1) : "") + " = " + Value(3));
    case 3:
      return Line(Variable(1) + "(" + Values(3, 2) + ")");
    case 4:
      return Chance(50) ? Line(Name()) : Line(Name() + "->" + Name() + "(" + Values(2, 2) + ")");
    case 5:
      return JumpStatement();
    case 6:
      return SwitchStatement(depth);
    case 7:
    case 8:
      return IfStatement(depth);
    case 9:
    case 10:
      return LoopStatement(depth);
    default:
      if (Chance(60)) return FunctionStatement(depth);
      Line("Block");
      Block(depth - 1);
      return Line("EndBlock");
  }
}

std::string RandomProgram::Write() {
  const bool hasLabels = Chance(50);
  if (hasLabels) labels_ = 3;
  for (int i = 0; i < 3; ++i) {
    for (int n = 1 + Pick(4); n > 0; --n) Statement(3);
    if (hasLabels) Line("label" + std::to_string(i) + ":");
  }
  Statement(3);
  return std::exchange(out_, "");
}

}  // namespace quillmere::qmc
