// The block in the executable that tells where an appended applet begins.
#pragma once

#include <cstdint>
#include <optional>

namespace quillmere {

/// The offset of the applet that is appended to this executable; nothing when there is none.
[[nodiscard]] std::optional<std::uint32_t> AppendedAppletOffset();

}  // namespace quillmere
