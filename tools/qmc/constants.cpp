#include "qmc/constants.h"

#include <string>
#include <unordered_map>

#include "base/fold.h"

namespace quillmere::qmc {
namespace {

constexpr BuiltInConstant rows[] = {
#define N(name, value) {#name, {}, value},
#define T(name, text) {#name, text, 0},
#include "qmc/constants.def"
#undef T
#undef N
};

std::unordered_map<std::string, const BuiltInConstant*> MakeIndex() {
  std::unordered_map<std::string, const BuiltInConstant*> index;
  for (const BuiltInConstant& row : rows) index.emplace(FoldLower(row.name), &row);
  return index;
}

}  // namespace

const BuiltInConstant* FindBuiltInConstant(std::string_view name) {
  static const auto index = MakeIndex();
  const auto found = index.find(std::string(name));
  return found == index.end() ? nullptr : found->second;
}

}  // namespace quillmere::qmc
