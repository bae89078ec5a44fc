#include "base/fold.h"

#include <algorithm>

namespace quillmere {

std::string FoldLower(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), [](char c) {
    return static_cast<char>(FoldLower(static_cast<unsigned char>(c)));
  });
  return out;
}

std::string FoldUpper(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), [](char c) {
    return static_cast<char>(FoldUpper(static_cast<unsigned char>(c)));
  });
  return out;
}

bool EqualsFolded(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char x, char y) {
    return FoldLower(static_cast<unsigned char>(x)) == FoldLower(static_cast<unsigned char>(y));
  });
}

}  // namespace quillmere
