// What is written to the clipboard as a file. Used by the file layer alone.
#pragma once

#include <cstdint>
#include <span>

#include "base/host.h"

namespace quillmere {

/// Puts an IFF form on the clipboard: the text of a form FTXT, or the picture of a form ILBM.
/// Other data are reported on the debug output and dropped.
void PutOnClipboard(Host& host, std::span<const std::uint8_t> form);

}  // namespace quillmere
