// The sections of an applet as plain data. The container is foreign: each length is held against
// what is left of the file before memory is taken for it.
#pragma once

#include <cstdint>
#include <string>

#include "base/error.h"
#include "files/run_info.h"
#include "files/virtual_file.h"

namespace quillmere {

/// The longest name of an object, with its terminating zero, in bytes.
inline constexpr std::uint32_t objectNameLimit = 1024;

/// Reads all sections of an applet up to the bytecode into `info`, whose screen settings hold what
/// the command line has set. `origin` is where the applet's magic stands in the file, and `path`
/// the file's name, which linked data remember. Errors: `UnexpectedEndOfFile`, `UnknownSection`,
/// `NewerPlayerRequired` with the version as argument, `InternalLimit` for a name that is too long.
[[nodiscard]] Status ParseApplet(qmFile& file, std::int64_t origin, const std::string& path,
                                 qmAppletInfo& info, ErrorContext& errors);

}  // namespace quillmere
