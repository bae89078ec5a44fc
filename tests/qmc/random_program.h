// Scripts of chance for tests: every construct of the language, nested at will, without faults.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace quillmere::qmc {

class RandomProgram {
 public:
  explicit RandomProgram(unsigned seed) : random_(seed) {}

  /// A script that compiles. What it does when it runs is not thought of.
  std::string Write();

 private:
  int Pick(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }
  bool Chance(int percent) { return Pick(100) < percent; }

  std::string Name() { return std::string("v") + static_cast<char>('a' + Pick(12)); }
  std::string FreshName() { return "n" + std::to_string(names_++); }
  std::string Number();
  std::string Text();
  std::string Constant();
  std::string Value(int depth);
  std::string Values(int most, int depth);
  std::string Table(int depth);
  std::string Variable(int depth);
  std::string Function(int depth);
  std::string Parameters();

  /// Whether there is room for more locals; if so, they are counted.
  bool TakeLocals(int count);
  void Line(const std::string& text) { out_ += std::string(indent_ * 2, ' ') + text + '\n'; }
  void Block(int depth);
  void Statement(int depth);
  void LocalStatement(int depth);
  void IfStatement(int depth);
  void SwitchStatement(int depth);
  void LoopStatement(int depth);
  void FunctionStatement(int depth);
  void JumpStatement();

  std::mt19937 random_;
  std::string out_;
  std::size_t indent_ = 0;
  int names_ = 0;
  int loops_ = 0;
  int functions_ = 0;
  int labels_ = 0;
  /// Locals of all open blocks of the running function, of which there are not many at once.
  int locals_ = 0;
  /// Registers of all blocks of the main chunk, which are limited when it has labels.
  int mainRegisters_ = 0;
  bool hasSurplus_ = false;
};

}  // namespace quillmere::qmc
