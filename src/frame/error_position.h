// Where in the author's source files a failure happened, and the texts that tell it.
#pragma once

#include <optional>
#include <string>

#include "base/host.h"
#include "vm/vm.h"

namespace quillmere {

/// A place in a source file; a file of "---" and a line of -1 are unknown.
struct ScriptPlace {
  std::string file;
  int line = 0;
};

/// The place of the last failure; nothing while messages carry no position.
[[nodiscard]] std::optional<ScriptPlace> PlaceOfError(VmState& state);

/// The line that tells of a fatal error on the debug output, with its line feed.
[[nodiscard]] std::string DebugLineOfError(VmState& state, std::string_view message);

/// The text of the request that tells of a fatal error: the message with file, line and command
/// below it, or with `plain` the message alone.
[[nodiscard]] std::string RequestTextOfError(VmState& state, std::string_view message, bool plain);

}  // namespace quillmere
