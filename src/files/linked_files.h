// Files that travel inside an applet: every command that takes a file name asks here first.
#pragma once

#include <string>
#include <string_view>

#include "base/host.h"

namespace quillmere {

/// Looks a name up in the linked files, without case. Returns a virtual name when it is linked,
/// else the name itself. With `isFont` the name is a font's: a final ".font" does not count, and
/// only linked fonts are found, unless the name ends in ".ttf" or ".otf"; `isFontResolved`, when
/// given, tells whether a linked font was found.
[[nodiscard]] std::string ResolveLinkedFile(Host& host, std::string_view name, bool isFont = false,
                                            bool* isFontResolved = nullptr);

}  // namespace quillmere
