#include "platform/posix/latin1.h"

namespace quillmere {

std::string Utf8FromLatin1(std::string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8.push_back(c);
    } else {
      utf8.push_back(static_cast<char>(0xC0 | byte >> 6));
      utf8.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
  }
  return utf8;
}

int TakeUtf8(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  text.remove_prefix(1);
  if (first < 0x80) return first;
  const std::size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : first >= 0xC2 ? 1 : 0;
  if (more == 0 || first > 0xF4 || text.size() < more) return -1;
  int code = first & (0x3F >> more);
  for (std::size_t i = 0; i < more; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80) return -1;
    code = code << 6 | (byte & 0x3F);
  }
  constexpr int least[] = {0, 0x80, 0x800, 0x10000};
  if (code < least[more] || code > 0x10FFFF) return -1;
  text.remove_prefix(more);
  return code;
}

std::string Latin1FromUtf8(std::string_view text) {
  std::string latin;
  latin.reserve(text.size());
  while (!text.empty()) {
    const char byte = text.front();
    const int code = TakeUtf8(text);
    if (code < 0) {
      latin.push_back(byte);
    } else {
      latin.push_back(code < 0x100 ? static_cast<char>(code) : '?');
    }
  }
  return latin;
}

}  // namespace quillmere
