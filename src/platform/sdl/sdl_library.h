// SDL2 and Xlib, loaded when the first of them is needed.
#pragma once

namespace quillmere {

/// Whether SDL2 is installed; loads it. Nothing of SDL may be called before.
[[nodiscard]] bool SdlIsThere();

/// The same for Xlib, which an SDL for X11 stands on.
[[nodiscard]] bool XlibIsThere();

}  // namespace quillmere
