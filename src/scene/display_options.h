// The table of options from which displays are made and changed.
#pragma once

#include <optional>

#include "base/error.h"
#include "scene/display.h"
#include "vm/vm.h"

namespace quillmere {

/// Which options are read.
enum class OptionScope {
  Create,
  Change,
  /// What still counts while a video is recorded: the picture, the size and the fill.
  Recording
};

/// What a table of options said beside the settings that it changed.
struct DisplayOptions {
  DisplaySettings settings;
  /// The picture that was named, or null.
  qmBGPic* bgpic = nullptr;
  bool sizeGiven = false;
  bool fillGiven = false;
  bool xGiven = false;
  bool yGiven = false;
  bool scaleSizeGiven = false;
  bool scaleModeGiven = false;
  bool layers = false;
  std::int32_t private1 = 0;
  std::int32_t private2 = 0;
  std::int32_t private3 = 0;
};

/// Reads the options in the table at `index` (0 for none) over the given settings. `self` is the
/// display that is changed, null for a new one. Errors: `WrongUsage`, `NotEnoughArguments` for an
/// incomplete region, `BGPicInUse`, and those of finding the picture.
[[nodiscard]] Result<DisplayOptions> ReadDisplayOptions(VmState& state, int index,
                                                        OptionScope scope, DisplaySettings settings,
                                                        const qmDisplay* self);

}  // namespace quillmere
