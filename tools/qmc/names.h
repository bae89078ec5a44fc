// Texts of a script, each kept once and known by a number from then on.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace quillmere::qmc {

/// The number of a text in a `NameTable`.
using Name = std::uint32_t;

/// Holds each different text once. Names come in folded to lower case, string literals as they are.
class NameTable {
 public:
  Name Intern(std::string_view text) {
    if (const auto found = index_.find(text); found != index_.end()) return found->second;
    const std::string& kept = texts_.emplace_back(text);
    const auto name = static_cast<Name>(texts_.size() - 1);
    index_.emplace(kept, name);
    return name;
  }
  [[nodiscard]] const std::string& Text(Name name) const { return texts_[name]; }

 private:
  std::deque<std::string> texts_;
  std::unordered_map<std::string_view, Name> index_;
};

}  // namespace quillmere::qmc
