// File names as text: parts of paths, and the names of linked files as users know them.
#pragma once

#include <string_view>

namespace quillmere {

/// Virtual names of parts of larger files begin with this.
inline constexpr std::string_view chunkNamePrefix = ":::chunk";

/// The part behind the last "/", "\\" or ":"; all of a name that has none.
[[nodiscard]] std::string_view NamePart(std::string_view path);

/// The name that stands between the star and the slash of a virtual name; other names as they are.
[[nodiscard]] std::string_view DisplayNameOfChunk(std::string_view name);

/// The short name to show to a user: the display name of a virtual name, else the last part.
[[nodiscard]] std::string_view ShownFileName(std::string_view name);

}  // namespace quillmere
