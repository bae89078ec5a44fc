// The file behind a picture writer: opening and writing with the errors that all writers share.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "files/virtual_file.h"

namespace quillmere {

/// Opens a picture for writing. Error: `CannotWriteFile` with the name.
[[nodiscard]] Result<std::unique_ptr<qmFile>> CreatePictureFile(Host& host, std::string_view name);

/// Writes bytes. Error: `CannotWriteAll` when the system takes less.
Status WriteAll(qmFile& file, std::span<const std::uint8_t> bytes);

/// Writes a whole file.
Status WritePictureFile(Host& host, std::string_view name, std::span<const std::uint8_t> bytes);

}  // namespace quillmere
