// The objects and displays that an applet declares ahead of its code: each is made by calling the
// script command that makes it.
#pragma once

#include <vector>

#include "base/error.h"
#include "files/run_info.h"
#include "vm/vm.h"

namespace quillmere {

/// The registry value "script" of a run from an applet.
inline constexpr char appletScriptName[] = ":none:";
/// The name of the command that failed, when there is none.
inline constexpr char noCommand[] = "----";

/// Makes sure that there is a display 1, and gives the displays what the command line asked for.
void CompleteDisplays(qmAppletInfo& applet);

/// Marks pictures that several objects are made from, so that each is decoded once.
void MarkSharedPictures(std::vector<qmPreloadItem>& items);

/// Makes all objects but the displays, in the order of their declaration. The first failure ends
/// it. `Error::FunctionNotFound` names a command that does not exist.
[[nodiscard]] Status PreloadObjects(VmState& state);

/// Makes the displays.
[[nodiscard]] Status CreateDisplays(VmState& state);

}  // namespace quillmere
