// Pictures in: from any file that the program can name to words of pixels. A picture's size is
// learned from its header alone where the format is known; its pixels come from a decoder of the
// format. What a decoder delivers (palette, transparent pen, alpha) is brought to the few forms
// that the scene knows here.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "pixels/planes.h"

namespace quillmere {

/// 256 colours 0x00RRGGBB.
using Palette = std::array<std::uint32_t, 256>;

/// What is done about a picture's alpha channel.
enum class AlphaMode {
  /// It is dropped: the top byte of each pixel has no meaning.
  None = 0,
  /// It must be there, else `Error::NoAlphaChannel`.
  Required = 1,
  /// Pixels are words 0xRRGGBBAA; without an alpha channel the low byte is 255.
  RgbaWords = 2,
  /// It is taken when it is there.
  Optional = 3
};

struct PictureOptions {
  AlphaMode alphaMode = AlphaMode::None;
  /// Colours that replace the first ones of the picture's palette; empty for none.
  std::vector<std::uint32_t> penTable;
  /// The colour of the set pen of a picture with two pens, -1 for none.
  std::int32_t penColor = -1;
  /// A transparent pen of the picture becomes a colour key.
  bool globalAlpha = false;
};

/// A picture in memory.
struct DecodedPicture {
  int width = 0;
  int height = 0;
  /// Bits of a pixel in the file: 1 to 8 with a palette, 24, or 32 with an alpha channel.
  int depth = 0;
  /// Words 0xAARRGGBB, or 0xRRGGBBAA on request. The top byte is 0 when the picture has no alpha
  /// channel. The plane is the caller's own.
  BitmapPtr pixels;
  /// An alpha channel was asked for and is in `pixels`.
  bool hasAlpha = false;
  /// The colours of a picture with at most 256.
  std::optional<Palette> palette;
  /// A colour that stands for transparency, -1 for none.
  std::int32_t transparentKey = -1;
};

/// What the header of a picture tells.
struct PictureSize {
  int width = 0;
  int height = 0;
  bool hasAlpha = false;
};

/// Learns the size of a picture without decoding it, if the format is known.
/// Errors: `CannotReadFile`, `UnknownImageFormat` with the name.
[[nodiscard]] Result<PictureSize> QueryPicture(Host& host, std::string_view name);

/// Reads a picture from a file, a part of a larger file, memory, or the clipboard (virtual names
/// included). Errors: `CannotReadFile`, `UnknownImageFormat` and `NoAlphaChannel` with the name,
/// `OutOfMemory`.
[[nodiscard]] Result<DecodedPicture> ReadPicture(Host& host, std::string_view name,
                                                 const PictureOptions& options = {});

/// The same from bytes in memory; `name` is what an error names.
[[nodiscard]] Result<DecodedPicture> ReadPictureBytes(Host& host,
                                                      std::span<const std::uint8_t> bytes,
                                                      std::string_view name,
                                                      const PictureOptions& options = {});

/// Lets the file layer decode pictures that are written to the clipboard as files. The files room
/// must be open.
void ServeClipboardPictures(Host& host);

}  // namespace quillmere
