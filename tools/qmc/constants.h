// The constants of the player's libraries: compiled code holds them as plain values.
#pragma once

#include <string_view>

namespace quillmere::qmc {

struct BuiltInConstant {
  std::string_view name;
  /// Empty for a number.
  std::string_view text;
  double value = 0;
};

/// Finds a constant by its name in lower case; null when there is none.
[[nodiscard]] const BuiltInConstant* FindBuiltInConstant(std::string_view name);

}  // namespace quillmere::qmc
