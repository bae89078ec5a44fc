// The platform that opens real windows.
#pragma once

#include <memory>

#include "platform/platform.h"

namespace quillmere {

/// Opens the desktop's platform; errors as for `PlatformOpen`.
[[nodiscard]] Result<std::unique_ptr<Platform>> OpenSdlPlatform(Host& host);

}  // namespace quillmere
