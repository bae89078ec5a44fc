#include "lib/string_ops.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/fold.h"
#include "base/number_text.h"

namespace quillmere {
namespace {

/// No string of the machine is longer.
constexpr std::size_t longestString = 0xFFFFFFFD;

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view SkipSpace(std::string_view text) {
  const auto* end = std::ranges::find_if_not(text, IsSpace);
  return text.substr(static_cast<std::size_t>(end - text.begin()));
}

}  // namespace

TextFinder::TextFinder(std::string_view text, std::string_view sought, bool caseSensitive)
    : text_(text), sought_(sought) {
  if (caseSensitive || sought.empty()) return;
  foldedText_ = FoldLower(text);
  foldedSought_ = FoldLower(sought);
  text_ = foldedText_;
  sought_ = foldedSought_;
}

std::size_t TextFinder::Find(std::size_t start) const {
  if (start >= text_.size() || sought_.empty()) return std::string_view::npos;
  const char* from = text_.data() + start;
  const std::size_t left = text_.size() - start;
  const void* match = sought_.size() == 1 ? std::memchr(from, sought_.front(), left)
                                          : memmem(from, left, sought_.data(), sought_.size());
  if (match == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(match) - text_.data());
}

std::size_t TextFinder::Count(std::size_t start) const {
  std::size_t count = 0;
  while ((start = Find(start)) != std::string_view::npos) {
    ++count;
    start += sought_.size();
  }
  return count;
}

Result<std::string> ReplaceText(std::string_view text, std::string_view sought,
                                std::string_view replacement, bool caseSensitive,
                                std::size_t start) {
  const TextFinder finder(text, sought, caseSensitive);
  const std::size_t count = finder.Count(start);
  const std::optional<std::size_t> added = CheckedMul(count, replacement.size());
  const std::size_t kept = text.size() - count * sought.size();
  if (!added || *added > longestString || kept + *added > longestString) {
    return Fail(Error::OutOfMemory);
  }
  std::string out;
  out.reserve(kept + *added);
  std::size_t copied = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t match = finder.Find(start);
    out += text.substr(copied, match - copied);
    out += replacement;
    copied = start = match + sought.size();
  }
  out += text.substr(copied);
  return out;
}

double NumberInBase(std::string_view text, int base) {
  std::string_view rest = SkipSpace(text);
  const bool isNegative = rest.starts_with('-');
  if (isNegative || rest.starts_with('+')) rest.remove_prefix(1);
  if (base == 16 && (rest.starts_with("0x") || rest.starts_with("0X"))) rest.remove_prefix(2);
  const std::optional<NumberText> digits = ParseDigits(rest, base);
  if (!digits || !SkipSpace(rest.substr(digits->length)).empty()) return 0;
  const auto value = static_cast<std::uint32_t>(digits->value);
  const bool isFull = value == 0xFFFFFFFF;
  return isNegative && !isFull ? 0u - value : value;
}

std::string BinaryText(std::uint32_t number, int width) {
  std::string out(static_cast<std::size_t>(width), '0');
  for (auto digit = out.rbegin(); digit != out.rend(); ++digit, number >>= 1) {
    if ((number & 1) != 0) *digit = '1';
  }
  return out;
}

std::string_view CutDecimals(std::string_view number, std::int32_t decimals) {
  const std::size_t point = number.find('.');
  if (point == std::string_view::npos) return number;
  if (decimals == 0) return number.substr(0, point);
  const std::size_t kept = decimals < 0 ? 0 : static_cast<std::size_t>(decimals);
  return number.substr(0, point + 1 + kept);
}

}  // namespace quillmere
