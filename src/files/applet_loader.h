// From the name of a file to the applet in it.
#pragma once

#include "base/error.h"
#include "base/host.h"

namespace quillmere {

/// Opens the file that `qmCLArgs::scriptPath` names, makes the path absolute and its directory the
/// current one, unpacks a compressed applet into a temporary file, and reads all sections into
/// `FilesState::applet`. Errors: `FileDoesNotExist` and `CannotReadFile` with the name,
/// `NoApplet` with its last part, those of unpacking and those of `ParseApplet`.
[[nodiscard]] Status ReadApplet(Host& host);

}  // namespace quillmere
