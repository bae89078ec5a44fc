// libtiff, loaded when the first picture needs it.
#pragma once

namespace quillmere {

/// Whether libtiff is installed; loads it. Nothing of it may be called before.
[[nodiscard]] bool TiffIsThere();

}  // namespace quillmere
