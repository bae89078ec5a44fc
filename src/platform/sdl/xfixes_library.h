// The extension library of X11 that tells of changes of the clipboard, loaded when it is needed.
#pragma once

namespace quillmere {

/// Whether the library is installed; loads it. Nothing of it may be called before.
[[nodiscard]] bool XfixesIsThere();

}  // namespace quillmere
