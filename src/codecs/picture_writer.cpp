#include "codecs/picture_writer.h"

#include <string>

#include "codecs/gif_writer.h"
#include "codecs/ilbm.h"
#include "codecs/jpeg_writer.h"
#include "codecs/quantizer.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

constexpr std::uint32_t opaque = 0xFF000000;

void CopyRow(const PlanesView& planes, int y, std::uint32_t transparentColor, bool mergeMask,
             std::uint32_t* out) {
  const std::uint32_t* words = planes.bitmap.Row(y);
  const int width = planes.bitmap.width;
  if (planes.mask != nullptr) {
    for (int x = 0; x < width; ++x) {
      const bool visible = planes.mask->Test(x, y);
      const std::uint32_t color = words[x] & ~opaque;
      if (mergeMask) {
        out[x] = visible ? color | opaque : color;
      } else {
        out[x] = visible ? words[x] : transparentColor;
      }
    }
  } else if (planes.alpha != nullptr) {
    const std::uint8_t* alpha = planes.alpha->Row(y);
    for (int x = 0; x < width; ++x) {
      const std::uint32_t joined = alpha[x] == 0 ? transparentColor & ~opaque : 0;
      out[x] = static_cast<std::uint32_t>(alpha[x]) << 24 | (words[x] & ~opaque) | joined;
    }
  } else {
    for (int x = 0; x < width; ++x) out[x] = words[x] | opaque;
  }
}

/// Writes a GIF of one frame. The last entry of its palette is marked transparent.
Status WriteGif(Host& host, std::string_view name, const PixelView& pixels,
                const ImageOptions& options) {
  IndexedImage image =
      TRY(QuantizeImage(pixels, {options.colors, options.transparentColor, false, options.dither}));
  GifWriterPtr writer = TRY(GifOpen(host, name, pixels.width, pixels.height));
  TRY(GifWriteFrame(*writer, {image.indexes, image.palette, image.colors}));
  return GifClose(std::move(writer));
}

/// Writes words without row padding in one of the formats.
Status WriteWords(Host& host, std::string_view name, const PixelView& pixels, bool hasAlpha,
                  const ImageOptions& options) {
  switch (options.format) {
    case ImageFormat::Bmp:
      return WriteBmp(host, name, pixels);
    case ImageFormat::Png:
      return WritePng(host, name, pixels, hasAlpha);
    case ImageFormat::Jpeg:
      return WriteJpeg(host, name, pixels, options.quality);
    case ImageFormat::Gif:
      return WriteGif(host, name, pixels, options);
    case ImageFormat::Ilbm:
      return WriteIlbm(host, name, pixels);
  }
  return Fail(Error::WrongUsage);
}

}  // namespace

Result<std::vector<std::uint32_t>> PrepareSaveCopy(const PlanesView& planes,
                                                   std::int32_t transparentColor, bool mergeMask) {
  auto words = TRY(MakeArray<std::uint32_t>(planes.bitmap.width, planes.bitmap.height));
  for (int y = 0; y < planes.bitmap.height; ++y) {
    CopyRow(planes, y, static_cast<std::uint32_t>(transparentColor), mergeMask,
            words.data() + static_cast<std::size_t>(y) * planes.bitmap.width);
  }
  return words;
}

Status WriteImage(Host& host, std::string_view name, const PlanesView& planes,
                  const ImageOptions& options) {
  const auto words = TRY(PrepareSaveCopy(planes, options.transparentColor, false));
  const int width = planes.bitmap.width;
  const Status written = WriteWords(host, name, {words.data(), width, planes.bitmap.height, width},
                                    planes.alpha != nullptr, options);
  if (written || written.error() == Error::OutOfMemory || written.error() == Error::WrongUsage) {
    return written;
  }
  return host.errors.Fail(Error::CannotWriteFile, std::string(name));
}

}  // namespace quillmere
