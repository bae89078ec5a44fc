// What the switches mean: the values of a command line weighed, checked and stored.
#pragma once

#include "base/error.h"
#include "base/host.h"
#include "frame/argument_line.h"

namespace quillmere {

/// Stores what a command line says in `FilesState`, in the stated order, up to the first error.
/// Without a file name, and without an applet appended to the program, it is `Error::UserAbort`.
/// The platform and the files room must have been entered; `qmCLArgs::selfPath` is set.
[[nodiscard]] Status EvaluateCommandLine(Host& host, const ArgumentLine& line,
                                         bool appletIsAppended);

/// Sets where debug output goes. The empty name is the console.
void SetDebugDevice(Host& host, std::string device);

}  // namespace quillmere
