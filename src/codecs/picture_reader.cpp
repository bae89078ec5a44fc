#include "codecs/picture_reader.h"

#include <algorithm>
#include <bit>
#include <string>

#include "codecs/picture_object.h"
#include "codecs/picture_sniffer.h"
#include "codecs/storage.h"
#include "files/files_state.h"
#include "files/virtual_file.h"
#include "platform/platform.h"

namespace quillmere {
namespace {

bool IsClipboardName(std::string_view name) {
  return name.starts_with(":::clipboard");
}

/// Gives a failure of a decoder the name that its message needs.
std::unexpected<Error> FailWithName(Host& host, Error error, std::string_view name) {
  return host.errors.Fail(error, std::string(name));
}

/// The picture that the clipboard holds.
Result<PictureObject> TakeClipboardPicture(Host& host) {
  const ClipboardContent content = TRY(host.Of<Platform>().clipboard().Read());
  if (content.kind != ClipboardContent::Kind::Image) return Fail(Error::UnknownImageFormat);
  const PixelImage& image = content.image;
  PictureObject object;
  object.width = image.width;
  object.height = image.height;
  object.pixels = TRY(AllocBitmap(image.width, image.height));
  const std::uint32_t* words = image.pixels.data();
  for (int y = 0; y < image.height; ++y, words += image.width) {
    std::copy_n(words, image.width, object.pixels->Row(y));
  }
  const bool hasAlpha = std::ranges::any_of(image.pixels, [](std::uint32_t p) { return p >> 24; });
  object.depth = hasAlpha ? 32 : 24;
  return object;
}

Result<PictureObject> OpenPictureObject(Host& host, std::string_view name) {
  if (IsClipboardName(name)) return TakeClipboardPicture(host);
  const std::vector<std::uint8_t> bytes = TRY(ReadWholeFile(host, name));
  return MakePictureObject(bytes);
}

/// A colour that no entry of the palette has.
std::uint32_t MakeUpColor(const Palette& palette) {
  std::uint32_t color = 0xA8A8A8;
  while (std::ranges::find(palette, color) != palette.end()) color += 15;
  return color;
}

/// Changes the palette as the options ask and gives the colour that stands for transparency, or -1.
std::int32_t ApplyTransparencyRule(PictureObject& object, const PictureOptions& options) {
  Palette& palette = object.palette;
  if (object.depth > 8 || object.hamBits != 0) return -1;
  if (!options.penTable.empty()) {
    const std::size_t count = std::min(options.penTable.size(), palette.size());
    std::copy_n(options.penTable.begin(), count, palette.begin());
    return -1;
  }
  if (options.penColor == -1 && !options.globalAlpha) return -1;
  if (object.depth == 1) {
    if (options.penColor != -1) palette[1] = static_cast<std::uint32_t>(options.penColor);
    return static_cast<std::int32_t>(palette[0]);
  }
  if (object.transparentPen && options.globalAlpha) {
    const std::uint32_t color = MakeUpColor(palette);
    palette[*object.transparentPen] = color;
    return static_cast<std::int32_t>(color);
  }
  return -1;
}

/// Moves alpha from the top of each word to its bottom; a picture without alpha is opaque.
void TurnToRgba(qmBitmap& pixels, bool hasAlpha) {
  const std::uint32_t opaque = hasAlpha ? 0 : 0xFF;
  for (int y = 0; y < pixels.height; ++y) {
    for (std::uint32_t& pixel : RowOf(pixels, y)) pixel = std::rotl(pixel, 8) | opaque;
  }
}

/// Makes the pixels of the transparent pen transparent and all others opaque.
void AddAlphaOfPen(const PictureObject& object, qmBitmap& pixels) {
  for (int y = 0; y < object.height; ++y) {
    const std::uint8_t* pens = object.pens.data() + y * PenStride(object.width);
    std::uint32_t* out = pixels.Row(y);
    for (int x = 0; x < object.width; ++x) {
      if (pens[x] != *object.transparentPen) out[x] |= 0xFF000000;
    }
  }
}

Result<DecodedPicture> Finish(PictureObject object, const PictureOptions& options) {
  const bool wantsAlpha = options.alphaMode != AlphaMode::None;
  DecodedPicture picture;
  picture.width = object.width;
  picture.height = object.height;
  picture.depth = object.depth;
  picture.transparentKey = ApplyTransparencyRule(object, options);
  if (object.depth <= 8) {
    picture.pixels = TRY(AllocBitmap(object.width, object.height));
    PlanarToPixels(object.pens, object.palette, object.hamBits, *picture.pixels);
    picture.palette = object.palette;
    picture.hasAlpha = wantsAlpha && object.penIsAlpha;
    if (picture.hasAlpha) AddAlphaOfPen(object, *picture.pixels);
  } else {
    picture.pixels = std::move(object.pixels);
  }
  picture.hasAlpha |= wantsAlpha && object.depth == 32;
  if (options.alphaMode == AlphaMode::Required && !picture.hasAlpha) {
    return Fail(Error::NoAlphaChannel);
  }
  if (options.alphaMode == AlphaMode::RgbaWords) TurnToRgba(*picture.pixels, picture.hasAlpha);
  return picture;
}

Result<DecodedPicture> FinishNamed(Host& host, Result<PictureObject> object,
                                   const PictureOptions& options, std::string_view name) {
  if (!object) return FailWithName(host, object.error(), name);
  auto picture = Finish(std::move(*object), options);
  if (!picture) return FailWithName(host, picture.error(), name);
  return picture;
}

/// The size that the decoder of the format finds in the header.
Result<PictureSize> ExaminePicture(Host& host, std::string_view name) {
  if (IsClipboardName(name)) {
    const PictureObject object = TRY(TakeClipboardPicture(host));
    return PictureSize{object.width, object.height, object.depth == 32};
  }
  const std::vector<std::uint8_t> bytes = TRY(ReadWholeFile(host, name));
  const PictureHeader header = TRY(ExaminePictureObject(bytes));
  return PictureSize{header.width, header.height, header.depth == 32};
}

}  // namespace

Result<PictureSize> QueryPicture(Host& host, std::string_view name) {
  std::optional<PictureSize> sniffed;
  if (const auto file = OpenFile(host, name, OpenMode::Read)) sniffed = SniffPicture(*file);
  // A size of which one number is missing is a last resort.
  if (sniffed && sniffed->width != 0 && sniffed->height != 0) return *sniffed;
  auto examined = ExaminePicture(host, name);
  if (examined) return *examined;
  if (sniffed) return *sniffed;
  return FailWithName(host, examined.error(), name);
}

Result<DecodedPicture> ReadPicture(Host& host, std::string_view name,
                                   const PictureOptions& options) {
  return FinishNamed(host, OpenPictureObject(host, name), options, name);
}

Result<DecodedPicture> ReadPictureBytes(Host& host, std::span<const std::uint8_t> bytes,
                                        std::string_view name, const PictureOptions& options) {
  return FinishNamed(host, MakePictureObject(bytes), options, name);
}

void ServeClipboardPictures(Host& host) {
  host.Of<FilesState>().decodePicture =
      [](std::span<const std::uint8_t> bytes) -> std::optional<PixelImage> {
    auto object = MakePictureObject(bytes);
    if (!object) return std::nullopt;
    PictureOptions options;
    options.alphaMode = AlphaMode::Optional;
    auto picture = Finish(std::move(*object), options);
    if (!picture) return std::nullopt;
    auto words = PackWords(*picture->pixels);
    if (!words) return std::nullopt;
    return PixelImage{picture->width, picture->height, std::move(*words)};
  };
}

}  // namespace quillmere
