// XPM pictures are C source. What stands in one is checked and written anew in the one shape that
// SDL2_image reads safely: it trusts lines to be there, to be as long as the header says, and to
// name colours that are there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace quillmere {

/// The same picture in plain shape; nothing when lines are missing or of the wrong length.
[[nodiscard]] std::optional<std::string> NormaliseXpm(std::span<const std::uint8_t> bytes);

}  // namespace quillmere
