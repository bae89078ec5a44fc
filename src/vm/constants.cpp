#include "vm/constants.h"

#include <algorithm>

#include "base/fold.h"
#include "vm/limits.h"

namespace quillmere {
namespace {

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool StartsName(char c) {
  return IsLetter(c) || c == '_';
}

bool ContinuesName(char c) {
  return StartsName(c) || (c >= '0' && c <= '9') || c == '$' || c == '!';
}

/// Reads an entry of one of the registry's tables of constants.
std::optional<VmConstant> FindIn(VmState& state, std::string_view table, std::string_view key) {
  const int top = vmGetTop(state);
  std::optional<VmConstant> found;
  vmPushStringFast(state, table);
  vmRawGet(state, vmRegistryIndex);
  if (vmType(state, -1) == VmType::Table) {
    vmPushStringFast(state, key);
    vmRawGet(state, -2);
    const VmType type = vmType(state, -1);
    if (type != VmType::Nil) found.emplace();
    if (type == VmType::String) found->text = vmToBytes(state, -1);
    if (type == VmType::Number) found->number = vmToNumber(state, -1);
  }
  vmSetTop(state, top);
  return found;
}

}  // namespace

std::optional<VmConstant> vmFindConstant(VmState& state, std::string_view name) {
  const std::string key = FoldLower(name);
  std::optional<VmConstant> found = FindIn(state, "constants", key);
  return found ? found : FindIn(state, "userconstants", key);
}

Result<VmConstantText> ParseConstantName(VmState& state, std::string_view text) {
  if (!text.starts_with('#')) return Fail(Error::WrongUsage);
  text.remove_prefix(1);
  if (text.empty() || !StartsName(text.front())) return Fail(Error::SyntaxError);
  const auto* end = std::ranges::find_if_not(text, ContinuesName);
  const std::string_view name(text.begin(), end);
  std::optional<VmConstant> constant = vmFindConstant(state, name.substr(0, vmMaxConstantName));
  if (!constant) return Fail(Error::ConstantNotFound);
  return VmConstantText{std::move(*constant), std::min(name.size(), vmMaxConstantName) + 1};
}

}  // namespace quillmere
