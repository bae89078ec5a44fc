// From the name of a file to the applet in it.
#pragma once

#include <cstdint>

#include "base/error.h"
#include "base/host.h"

namespace quillmere {

/// The most bytes of an unpacked applet. Offsets in it have 32 bits, so that no more of it could be
/// reached.
inline constexpr std::int64_t unpackedAppletLimit = std::int64_t{1} << 32;

/// Opens the file that `qmCLArgs::scriptPath` names, makes the path absolute and its directory the
/// current one, unpacks a compressed applet into a temporary file, and reads all sections into
/// `FilesState::applet`. Errors: `FileDoesNotExist` and `CannotReadFile` with the name,
/// `NoApplet` with its last part, those of unpacking and those of `ParseApplet`.
/// What is unpacked may take `unpackedLimit` bytes; more is `CannotWriteAll`.
[[nodiscard]] Status ReadApplet(Host& host, std::int64_t unpackedLimit = unpackedAppletLimit);

}  // namespace quillmere
