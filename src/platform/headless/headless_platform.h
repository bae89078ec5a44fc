// The platform that keeps windows, clock and user in memory.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/headless/input_script.h"
#include "platform/platform.h"

namespace quillmere {

struct HeadlessSettings {
  int screenWidth = 1920;
  int screenHeight = 1080;
  bool virtualClock = true;
  InputScript input;
  /// Where the first window's picture goes when it closes; empty for nowhere.
  std::string shotFile;
  /// The opening step that fails; empty for none.
  std::string missingStep;
  /// Gets each line about requests and pictures, its line feed included, from any task. Without it
  /// they go to standard error.
  std::function<void(std::string_view)> report;
};

/// Opens a headless platform; errors as for `PlatformOpen`.
[[nodiscard]] Result<std::unique_ptr<Platform>> OpenHeadlessPlatform(Host& host,
                                                                     HeadlessSettings settings);

}  // namespace quillmere
