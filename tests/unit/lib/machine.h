// A machine with the script libraries of this room, for tests that call commands.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

#include "base/host.h"
#include "vm/vm.h"

namespace quillmere {

/// An argument of a command: Nil, a number or a text.
class Value {
 public:
  Value() = default;
  Value(int number) : value_(static_cast<double>(number)) {}
  Value(double number) : value_(number) {}
  Value(const char* text) : value_(std::string_view(text)) {}
  Value(std::string_view text) : value_(text) {}

  void Push(VmState& state) const;

 private:
  std::variant<std::monostate, double, std::string_view> value_;
};

class Machine {
 public:
  Machine();
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// Calls a command and shows its results: numbers as the language writes them, texts in quotes,
  /// "Nil", "table" and so on, joined by blanks; a failure as "error 1055".
  std::string Call(std::string_view name, std::initializer_list<Value> arguments);

  [[nodiscard]] VmState& State() { return *state_; }

  Host host;

 private:
  VmState* state_;
};

/// One call and what it gives.
struct CommandCase {
  const char* command;
  std::initializer_list<Value> arguments;
  std::string result;
};

/// Expects that each call gives its result.
void CheckCommands(std::initializer_list<CommandCase> cases);

}  // namespace quillmere
