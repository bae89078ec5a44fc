#include "codecs/picture_object.h"

#include <algorithm>

#include "codecs/picture_formats.h"

namespace quillmere {
namespace {

/// In the order in which they are tried: formats with a mark of their own first.
constexpr PictureFormat pictureFormats[] = {
    {"PNG", IsPng, DecodePng},
    {"JPEG", IsJpeg, DecodeJpeg},
    {"ILBM", IsIlbm, DecodeIlbm},
    {"GIF", IsGif, DecodeGif},
    {"TIFF", IsTiff, DecodeTiff},
    {"icon", IsIcon, DecodeIcon},
    {"SDL", IsSdlPicture, DecodeSdlPicture},
};

Result<PictureObject> Decode(FileBytes bytes, DecodeScope scope) {
  for (const PictureFormat& format : pictureFormats) {
    if (format.recognise(bytes)) return format.decode(bytes, scope);
  }
  return Fail(Error::UnknownImageFormat);
}

/// Copies the high digit of each component into the low one.
constexpr std::uint32_t WidenDigits(std::uint32_t color) {
  const std::uint32_t high = color & 0xF0F0F0;
  return high | high >> 4;
}

void HoldAndModify6(const std::uint8_t* pens, const Palette& palette, std::uint32_t* out,
                    int width) {
  std::uint32_t color = WidenDigits(palette[0]);
  for (int x = 0; x < width; ++x) {
    const std::uint32_t value = pens[x] & 15u;
    const std::uint32_t level = value * 17;
    switch (pens[x] >> 4 & 3) {
      case 0:
        color = WidenDigits(palette[value]);
        break;
      case 1:
        color = (color & 0xFFFF00) | level;
        break;
      case 2:
        color = (color & 0x00FFFF) | level << 16;
        break;
      case 3:
        color = (color & 0xFF00FF) | level << 8;
        break;
    }
    out[x] = color;
  }
}

void HoldAndModify8(const std::uint8_t* pens, const Palette& palette, std::uint32_t* out,
                    int width) {
  std::uint32_t color = palette[0];
  for (int x = 0; x < width; ++x) {
    const std::uint32_t value = pens[x] & 63u;
    const std::uint32_t level = value << 2;
    switch (pens[x] >> 6) {
      case 0:
        color = palette[value];
        break;
      case 1:
        color = (color & 0xFFFF03) | level;
        break;
      case 2:
        color = (color & 0x03FFFF) | level << 16;
        break;
      case 3:
        color = (color & 0xFF03FF) | level << 8;
        break;
    }
    out[x] = color;
  }
}

}  // namespace

Result<PictureObject> MakePictureObject(std::span<const std::uint8_t> bytes) {
  return Decode(bytes, DecodeScope::Whole);
}

Result<PictureHeader> ExaminePictureObject(std::span<const std::uint8_t> bytes) {
  const PictureObject object = TRY(Decode(bytes, DecodeScope::HeaderOnly));
  return PictureHeader{object.width, object.height, object.depth};
}

void PlanarToPixels(std::span<const std::uint8_t> pens, const Palette& palette, int hamBits,
                    qmBitmap& pixels) {
  const int width = pixels.width;
  const std::size_t stride = PenStride(width);
  for (int y = 0; y < pixels.height; ++y) {
    const std::uint8_t* row = pens.data() + y * stride;
    std::uint32_t* out = pixels.Row(y);
    if (hamBits == 6) {
      HoldAndModify6(row, palette, out, width);
    } else if (hamBits == 8) {
      HoldAndModify8(row, palette, out, width);
    } else {
      std::transform(row, row + width, out, [&](std::uint8_t pen) { return palette[pen]; });
    }
  }
}

Palette GrayPalette(int bits) {
  Palette palette{};
  const std::uint32_t last = (1u << bits) - 1;
  for (std::uint32_t i = 0; i <= last; ++i) palette[i] = i * 255 / last * 0x010101;
  return palette;
}

}  // namespace quillmere
