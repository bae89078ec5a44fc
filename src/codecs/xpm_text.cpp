#include "codecs/xpm_text.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace quillmere {
namespace {

/// The texts between quotes, comments left out.
std::vector<std::string_view> QuotedTexts(std::string_view source) {
  std::vector<std::string_view> texts;
  for (std::size_t at = 0; at < source.size();) {
    if (source.substr(at, 2) == "/*") {
      const std::size_t end = source.find("*/", at + 2);
      if (end == std::string_view::npos) break;
      at = end + 2;
    } else if (source[at] == '"') {
      const std::size_t end = source.find('"', at + 1);
      if (end == std::string_view::npos) break;
      texts.push_back(source.substr(at + 1, end - at - 1));
      at = end + 1;
    } else {
      ++at;
    }
  }
  return texts;
}

/// Takes an unsigned number off the front of a text; 0 when there is none.
std::size_t TakeNumber(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  std::size_t number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

struct XpmHeader {
  std::size_t width;
  std::size_t height;
  std::size_t colors;
  std::size_t charactersPerPixel;

  explicit XpmHeader(std::string_view text)
      : width(TakeNumber(text)),
        height(TakeNumber(text)),
        colors(TakeNumber(text)),
        charactersPerPixel(TakeNumber(text)) {}

  /// Whether that many texts of that many characters in all can hold the picture.
  [[nodiscard]] bool Fits(std::size_t texts, std::size_t characters) const {
    constexpr std::size_t mostCharacters = 8;
    return width >= 1 && width <= characters && height >= 1 && height < texts && colors >= 1 &&
           colors < texts && 1 + colors + height <= texts && charactersPerPixel >= 1 &&
           charactersPerPixel <= mostCharacters;
  }
};

/// Whether a row names only colours that there are.
bool NamesKnownColors(std::string_view row, std::size_t charactersPerPixel,
                      const std::unordered_set<std::string_view>& keys) {
  for (std::size_t at = 0; at < row.size(); at += charactersPerPixel) {
    if (!keys.contains(row.substr(at, charactersPerPixel))) return false;
  }
  return true;
}

void PutLine(std::string& out, std::string_view text) {
  out += '"';
  out += text;
  out += "\",\n";
}

}  // namespace

std::optional<std::string> NormaliseXpm(std::span<const std::uint8_t> bytes) {
  const auto texts = QuotedTexts({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (texts.empty()) return std::nullopt;
  const XpmHeader header(texts.front());
  if (!header.Fits(texts.size(), bytes.size())) return std::nullopt;

  std::string out = "/* XPM */\n";
  for (const std::size_t number :
       {header.width, header.height, header.colors, header.charactersPerPixel}) {
    out += out.ends_with('\n') ? "\"" : " ";
    out += std::to_string(number);
  }
  out += "\",\n";
  std::unordered_set<std::string_view> keys;
  const std::size_t keySize = header.charactersPerPixel;
  for (std::size_t i = 1; i <= header.colors; ++i) {
    const std::string_view text = texts[i];
    if (text.size() < keySize + 2 || text.find('\0') != text.npos) return std::nullopt;
    keys.insert(text.substr(0, keySize));
    PutLine(out, text);
  }
  for (std::size_t i = 1; i <= header.height; ++i) {
    const std::string_view row = texts[header.colors + i].substr(0, header.width * keySize);
    if (row.size() < header.width * keySize) return std::nullopt;
    if (!NamesKnownColors(row, keySize, keys)) return std::nullopt;
    PutLine(out, row);
  }
  return out;
}

}  // namespace quillmere
