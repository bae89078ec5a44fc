#include "lib/file_pattern.h"

namespace quillmere {
namespace {

constexpr std::string_view everyFile = "#?";

}  // namespace

std::string PlatformFilePattern(std::string_view pattern) {
  if (pattern.starts_with('#')) return std::string(pattern);
  if (pattern == "*") return std::string(everyFile);
  std::string out;
  while (!pattern.empty()) {
    const std::size_t end = pattern.find('|');
    const std::string_view extension = pattern.substr(0, end);
    if (!extension.empty()) {
      out += out.empty() ? "#?(" : "|";
      if (!extension.starts_with('.')) out += '.';
      out += extension;
    }
    pattern.remove_prefix(end == std::string_view::npos ? pattern.size() : end + 1);
  }
  return out.empty() ? std::string(everyFile) : out + ')';
}

}  // namespace quillmere
