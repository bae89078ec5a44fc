// A machine for tests, and functions put together from instructions by hand.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "vm/image.h"
#include "vm/state.h"
#include "vm/vm.h"

namespace quillmere {

/// A function whose registers, constants and code are given; a plain return is added behind.
[[nodiscard]] ImageFunction MakeFunction(int maxStack, std::vector<ImageConstant> constants,
                                         std::vector<VmInstruction> code);

class Machine {
 public:
  Machine();
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  [[nodiscard]] VmState& State() { return *state_; }

  /// Enters natives under their names, folded.
  void Register(std::span<const VmCommandEntry> commands);
  /// Pushes the closure of a function that passes the verifier.
  void Load(const ImageFunction& function);
  /// Loads and calls a function without arguments and shows what comes back.
  std::string Run(const ImageFunction& function);
  /// Calls the function below `arguments` values and shows its results joined by blanks, or
  /// "error 1055" with the error argument behind it, if there is one.
  std::string Call(int arguments = 0);
  /// A value as text: numbers as they are written, texts in quotes, other values by their type.
  std::string Show(int index);

  Host host;

 private:
  VmState* state_;
};

}  // namespace quillmere
