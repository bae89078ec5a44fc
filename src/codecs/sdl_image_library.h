// SDL2_image, loaded when the first picture needs it.
#pragma once

namespace quillmere {

/// Whether SDL2_image and SDL2 are installed; loads them. Nothing of them may be called before.
[[nodiscard]] bool SdlImageIsThere();

}  // namespace quillmere
