// The decoders behind the object service. Each takes the whole file; `headerOnly` asks for width,
// height and depth alone.
#pragma once

#include "codecs/picture_object.h"

namespace quillmere {

using FileBytes = std::span<const std::uint8_t>;

enum class DecodeScope { HeaderOnly, Whole };

/// One format that the object service knows.
struct PictureFormat {
  const char* name;
  /// Whether the bytes begin as a file of this format does.
  bool (*recognise)(FileBytes bytes);
  Result<PictureObject> (*decode)(FileBytes bytes, DecodeScope scope);
};

[[nodiscard]] bool IsPng(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodePng(FileBytes bytes, DecodeScope scope);

[[nodiscard]] bool IsJpeg(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeJpeg(FileBytes bytes, DecodeScope scope);

[[nodiscard]] bool IsIlbm(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeIlbm(FileBytes bytes, DecodeScope scope);

/// Of an animation the first frame, on the background of the whole screen.
[[nodiscard]] bool IsGif(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeGif(FileBytes bytes, DecodeScope scope);

[[nodiscard]] bool IsTiff(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeTiff(FileBytes bytes, DecodeScope scope);

[[nodiscard]] bool IsIcon(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeIcon(FileBytes bytes, DecodeScope scope);

/// Formats that SDL2_image decodes: BMP, WebP, PCX, XPM, PNM, QOI, and TGA, which has no mark of
/// its own and is therefore tried last.
[[nodiscard]] bool IsSdlPicture(FileBytes bytes);
[[nodiscard]] Result<PictureObject> DecodeSdlPicture(FileBytes bytes, DecodeScope scope);

}  // namespace quillmere
