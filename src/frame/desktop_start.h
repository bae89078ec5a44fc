// A start without a command line: the program's icon holds the options instead.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/host.h"

namespace quillmere {

/// The command line that the settings of an icon stand for: `NAME=value` becomes `-NAME "value"`, a
/// name alone `-NAME`; a disabled setting, which stands in parentheses, is passed over.
[[nodiscard]] std::string LineOfToolTypes(const std::vector<std::string>& toolTypes);

/// The same of the icon that lies beside the executable (`qmCLArgs::selfPath` and ".info"); empty
/// when there is none.
[[nodiscard]] std::string LineOfProgramIcon(Host& host);

}  // namespace quillmere
