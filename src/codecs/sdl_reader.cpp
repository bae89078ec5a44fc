// Formats that SDL2_image decodes. Its decoders take memory for the whole picture first, so each
// row of the table also tells whether a file can hold the picture that its header promises.
#include <SDL_image.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/byte_order.h"
#include "codecs/picture_formats.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

struct SurfaceFree {
  void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
};
using SurfacePtr = std::unique_ptr<SDL_Surface, SurfaceFree>;

/// Pictures up to this size are taken whatever their file is long: some formats store an empty area
/// in next to nothing.
constexpr std::uint64_t modestPixels = 4096 * 4096;

/// Whether a compressed picture of that size is believable.
bool IsBelievable(std::uint64_t width, std::uint64_t height, std::uint64_t pixelsPerByte,
                  std::size_t fileSize) {
  if (width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX) return false;
  const std::uint64_t pixels = width * height;
  return pixels <= modestPixels || pixels / pixelsPerByte <= fileSize;
}

/// Whether a file holds rows of that many bits without compression.
bool HoldsRaw(std::uint64_t width, std::uint64_t height, std::uint64_t bitsPerPixel,
              std::size_t fileSize) {
  if (width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX) return false;
  return height <= fileSize && (width * bitsPerPixel + 7) / 8 <= fileSize / height;
}

bool StartsWith(FileBytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

bool IsBmp(FileBytes bytes) {
  return StartsWith(bytes, "BM");
}

bool BmpFits(FileBytes bytes) {
  if (bytes.size() < 26) return false;
  if (LoadLittle<std::uint32_t>(&bytes[14]) == 12) {
    return HoldsRaw(LoadLittle<std::uint16_t>(&bytes[18]), LoadLittle<std::uint16_t>(&bytes[20]),
                    LoadLittle<std::uint16_t>(&bytes[24]), bytes.size());
  }
  if (bytes.size() < 54) return false;
  const std::uint32_t width = LoadLittle<std::uint32_t>(&bytes[18]);
  const auto signedHeight = static_cast<std::int32_t>(LoadLittle<std::uint32_t>(&bytes[22]));
  const std::uint32_t height = signedHeight < 0 ? 0u - static_cast<std::uint32_t>(signedHeight)
                                                : static_cast<std::uint32_t>(signedHeight);
  const std::uint32_t compression = LoadLittle<std::uint32_t>(&bytes[30]);
  const bool runs = compression == 1 || compression == 2;
  if (runs) return IsBelievable(width, height, 128, bytes.size());
  return HoldsRaw(width, height, LoadLittle<std::uint16_t>(&bytes[28]), bytes.size());
}

struct SdlFormat {
  /// The name that SDL2_image has for it.
  const char* type;
  bool (*recognise)(FileBytes bytes);
  /// Whether the picture that the header promises can be in the file.
  bool (*fits)(FileBytes bytes);
  /// The decoder makes an alpha channel up where there is none, so one that is opaque all over does
  /// not count.
  bool inventsAlpha;
};

constexpr SdlFormat sdlFormats[] = {
    {"BMP", IsBmp, BmpFits, true},
};

const SdlFormat* FindFormat(FileBytes bytes) {
  const auto* format = std::ranges::find_if(
      sdlFormats, [&](const SdlFormat& candidate) { return candidate.recognise(bytes); });
  return format == std::end(sdlFormats) ? nullptr : format;
}

Result<SurfacePtr> LoadSurface(FileBytes bytes, const SdlFormat& format) {
  if (bytes.size() > INT32_MAX || !format.fits(bytes)) return Fail(Error::UnknownImageFormat);
  SDL_RWops* source = SDL_RWFromConstMem(bytes.data(), static_cast<int>(bytes.size()));
  if (source == nullptr) return Fail(Error::OutOfMemory);
  SurfacePtr surface(IMG_LoadTyped_RW(source, 1, format.type));
  if (!surface) return Fail(Error::UnknownImageFormat);
  return surface;
}

void TakePens(const SDL_Surface& surface, PictureObject& object) {
  const SDL_Palette& palette = *surface.format->palette;
  const int count = std::clamp(palette.ncolors, 2, 256);
  object.depth = std::bit_width(static_cast<unsigned>(count - 1));
  for (int i = 0; i < std::min(palette.ncolors, 256); ++i) {
    const SDL_Color& color = palette.colors[i];
    object.palette[i] = static_cast<std::uint32_t>(color.r) << 16 |
                        static_cast<std::uint32_t>(color.g) << 8 | color.b;
  }
  for (int y = 0; y < object.height; ++y) {
    std::memcpy(object.pens.data() + y * PenStride(object.width),
                static_cast<const std::uint8_t*>(surface.pixels) + y * surface.pitch,
                static_cast<std::size_t>(object.width));
  }
}

bool IsOpaque(const PictureObject& object) {
  return std::ranges::all_of(object.pixels, [](std::uint32_t word) { return word >> 24 == 255; });
}

/// Takes the words of a surface in the format 0xAARRGGBB.
void TakeWords(const SDL_Surface& surface, PictureObject& object) {
  for (int y = 0; y < object.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        static_cast<const std::uint8_t*>(surface.pixels) + y * surface.pitch);
    std::uint32_t* out = object.pixels.data() + static_cast<std::size_t>(y) * object.width;
    std::copy_n(row, object.width, out);
  }
}

Result<PictureObject> ObjectOfSurface(SurfacePtr surface, const SdlFormat& format) {
  PictureObject object;
  object.width = surface->w;
  object.height = surface->h;
  std::uint32_t key = 0;
  const bool hasKey = SDL_GetColorKey(surface.get(), &key) == 0;
  if (surface->format->palette != nullptr && surface->format->BitsPerPixel == 8) {
    object.pens =
        TRY(MakeArray<std::uint8_t>(static_cast<int>(PenStride(object.width)), object.height));
    TakePens(*surface, object);
    if (hasKey) object.transparentPen = static_cast<std::uint8_t>(key);
    return object;
  }
  // A surface with a key gets its alpha from it in the conversion.
  object.depth = hasKey || surface->format->Amask != 0 ? 32 : 24;
  surface.reset(SDL_ConvertSurfaceFormat(surface.get(), SDL_PIXELFORMAT_ARGB8888, 0));
  if (!surface) return Fail(Error::OutOfMemory);
  object.pixels = TRY(MakeArray<std::uint32_t>(object.width, object.height));
  TakeWords(*surface, object);
  if (object.depth == 32 && format.inventsAlpha && IsOpaque(object)) object.depth = 24;
  if (object.depth == 24) {
    for (std::uint32_t& word : object.pixels) word &= 0xFFFFFF;
  }
  return object;
}

}  // namespace

bool IsSdlPicture(FileBytes bytes) {
  return FindFormat(bytes) != nullptr;
}

Result<PictureObject> DecodeSdlPicture(FileBytes bytes, DecodeScope) {
  const SdlFormat* format = FindFormat(bytes);
  if (format == nullptr) return Fail(Error::UnknownImageFormat);
  return ObjectOfSurface(TRY(LoadSurface(bytes, *format)), *format);
}

}  // namespace quillmere
