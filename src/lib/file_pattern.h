// The patterns by which file requesters choose what they show.
#pragma once

#include <string>
#include <string_view>

namespace quillmere {

/// Turns a script's pattern into the platform's: empty, "*" and "#?" are every file, one that
/// begins with `#` stands, any other is a list of extensions separated by `|`, so that "jpg|.png"
/// gives "#?(.jpg|.png)".
[[nodiscard]] std::string PlatformFilePattern(std::string_view pattern);

}  // namespace quillmere
