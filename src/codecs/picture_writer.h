// Pictures out: planes of the scene to a picture file of one of five formats.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "pixels/planes.h"
#include "platform/platform.h"

namespace quillmere {

/// The formats that are written; the values are those of the script's IMGFMT constants.
enum class ImageFormat : int { Bmp = 0, Png = 1, Jpeg = 2, Gif = 3, Ilbm = 4 };

struct ImageOptions {
  ImageFormat format = ImageFormat::Bmp;
  /// The colour that pixels outside of the mask get, and in a GIF the colour that is kept out of
  /// the palette and put behind it; -1 for none, which is white outside of a mask.
  std::int32_t transparentColor = -1;
  /// JPEG: 0 to 100.
  int quality = 90;
  /// GIF: colours of the palette, 1 to 256.
  int colors = 256;
  /// GIF: spread the error of each pixel over its neighbours.
  bool dither = false;
};

/// The planes of one picture; they belong to the caller. At most one of mask and alpha is there.
struct PlanesView {
  const qmBitmap& bitmap;
  const qmMask* mask = nullptr;
  const qmAlphaMap* alpha = nullptr;
};

/// Writes a picture into a file. An alpha plane is kept by PNG alone.
/// Errors: `CannotWriteFile` with the name, also when the device is full; `WrongUsage` for a format
/// that is none; `OutOfMemory`.
Status WriteImage(Host& host, std::string_view name, const PlanesView& planes,
                  const ImageOptions& options);

/// Makes the words that a writer takes, 0xAARRGGBB without row padding. With a mask and `mergeMask`
/// the top byte is 255 where the mask is set, else 0; with a mask alone pixels outside become
/// `transparentColor`. With an alpha plane the top byte is the alpha, and where that is 0 the
/// colour is joined (by or) with the transparent colour. With neither the top byte is 255.
[[nodiscard]] Result<std::vector<std::uint32_t>> PrepareSaveCopy(const PlanesView& planes,
                                                                 std::int32_t transparentColor,
                                                                 bool mergeMask);

/// Writes a Windows bitmap of 24 bits. Errors: `CannotWriteFile` with the name, `OutOfMemory`,
/// `CannotWriteAll`.
Status WriteBmp(Host& host, std::string_view name, const PixelView& pixels);

/// Writes a PNG file of 8 bits a channel, RGB or RGBA. The same errors.
Status WritePng(Host& host, std::string_view name, const PixelView& pixels, bool withAlpha);

}  // namespace quillmere
