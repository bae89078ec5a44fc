// Texts of the program are Latin-1, texts of the system UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace quillmere {

[[nodiscard]] std::string Utf8FromLatin1(std::string_view text);

/// Characters that Latin-1 does not have become "?". Bytes that are not UTF-8 are taken as they
/// are.
[[nodiscard]] std::string Latin1FromUtf8(std::string_view text);

/// The number of the first character of a UTF-8 text, with `text` cut behind it; -1, with one byte
/// cut, when the bytes are not UTF-8. `text` must not be empty.
[[nodiscard]] int TakeUtf8(std::string_view& text);

}  // namespace quillmere
